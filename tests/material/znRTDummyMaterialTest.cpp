#include "material/znRTDummyMaterial.h"

#include "materialFixture.h"

using namespace materialTest;

namespace {

class MaterialWithoutClass : public MaterialTest
{
};

} // namespace

// Seen from both sides, whatever lights it.
TEST_F(MaterialWithoutClass, IsOpaqueAndBlack)
{
    const auto glow = osg::UGlowMaterial::create();
    glow->setMaterialIDColor(osg::Vec4f(0.25f, 0.5f, 0.75f, 1.0f));
    znRTMaterial& material = addSquare(glow);
    ASSERT_TRUE(material.isOfType(znRTDummyMaterial::id));
    addSun();
    const znRTRayDifferentialPacket upward(
        znRTRayPacket({0.2f, 0.1f, -1.0f}, znRTVector3fPacket(0.0f, 0.0f, 1.0f)));
    for (const znRTRayDifferentialPacket& ray : {downward(0.2f, 0.1f), upward}) {
        const znRTColorPacket seen = shade(ray).color;
        EXPECT_LANES_EQ(seen.r, 0, 0, 0, 0);
        EXPECT_LANES_EQ(seen.g, 0, 0, 0, 0);
        EXPECT_LANES_EQ(seen.b, 0, 0, 0, 0);
        EXPECT_LANES_EQ(seen.a, 1, 1, 1, 1);
    }
    EXPECT_FALSE(material.isTransparent());
    EXPECT_FALSE(material.isLightSource());
    const znRTColorPacket idColor = material.getMaterialIDColor();
    EXPECT_EQ(idColor.r[0], 0.25f);
    EXPECT_EQ(idColor.b[3], 0.75f);
    glow->setMaterialIDColor(osg::Vec4f(1.0f, 0.5f, 0.75f, 1.0f));
    material.update();
    EXPECT_EQ(material.getMaterialIDColor().r[0], 1.0f);
}

TEST_F(MaterialWithoutClass, StandsForObjectsWithoutMaterial)
{
    znRTDummyMaterial* const shared = znRTDummyMaterial::getShared();
    EXPECT_EQ(shared, znRTDummyMaterial::getShared());
    EXPECT_FALSE(shared->isTransparent());
    const std::unique_ptr<znRTMaterial> copy(shared->getDuplicate());
    EXPECT_TRUE(copy->isOfType(znRTDummyMaterial::id));
    EXPECT_NE(copy.get(), shared);
}
