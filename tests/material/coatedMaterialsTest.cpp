#include "materialFixture.h"

#include "host/znRenderPasses.h"
#include "material/standInMaterials.h"
#include "material/znRTTriplanarMaterial.h"

using namespace materialTest;

namespace {

osg::ColorComponent color(float r, float g, float b)
{
    return osg::ColorComponent(osg::Vec3f(r, g, b));
}

template <class Host>
osg::FCPtr<Host> makePlastic()
{
    const auto material = Host::create();
    material->setDiffuse(color(0.5f, 0.4f, 0.3f));
    material->setGlossy(color(0.9f, 0.8f, 0.7f));
    material->setRoughness(0.4f);
    return material;
}

class CoatedMaterials : public MaterialTest
{
protected:
    ~CoatedMaterials() override { setBackground(0.0f); }
    static void setBackground(float value)
    {
        znRTRenderUtils::s_backgroundColor = {value, value, value, 0.0f};
    }
    /// What rays see of a square of a material, alone under a light.
    Shaded seenAlone(const osg::MaterialPtr& material, const znRTRayDifferentialPacket& ray)
    {
        scene.scene->clear();
        addSun(25.0);
        addSquare(material);
        return shade(ray);
    }
    /// Rays onto the middle, 60 degrees from the vertical.
    static znRTRayDifferentialPacket slanting()
    {
        const float s = std::sqrt(0.75f);
        return znRTRayDifferentialPacket(
            znRTRayPacket({0.1f - 2.0f * s, 0.2f, 1.0f}, znRTVector3fPacket(s, 0.0f, -0.5f)));
    }
};

} // namespace

TEST_F(CoatedMaterials, AreTheBaseAloneWithoutACoat)
{
    const auto coated = makePlastic<osg::UReflectivePlasticMaterial>();
    coated->setClearcoatReflectance(0.0f);
    setBackground(3.0f);
    const znRTColorPacket withCoat = seenAlone(coated, slanting()).color;
    const znRTColorPacket without =
        seenAlone(makePlastic<osg::UPlasticMaterial>(), slanting()).color;
    EXPECT_GT(without.r[0], 0.1f);
    for (int channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(withCoat[channel][0], without[channel][0], 1e-6f);
}

// F = f0 + (1 - f0) (1 - cos)^5 of the background in the coat, 1 - F of the base below it.
TEST_F(CoatedMaterials, MirrorMoreTowardTheRimAndDarkenWhatIsBelow)
{
    constexpr double f0 = 0.1;
    const auto bare = makePlastic<osg::UReflectivePlasticMaterial>();
    bare->setClearcoatReflectance(0.0f);
    const auto coated = makePlastic<osg::UReflectivePlasticMaterial>();
    coated->setClearcoatReflectance(float(f0));
    coated->setClearcoat(color(1.0f, 0.5f, 1.0f));
    setBackground(2.0f);
    for (const bool isSteep : {true, false}) {
        const znRTRayDifferentialPacket ray = isSteep ? downward(0.1f, 0.2f) : slanting();
        const double f = f0 + (1.0 - f0) * std::pow(1.0 - (isSteep ? 1.0 : 0.5), 5.0);
        const Shaded top = seenAlone(coated, ray);
        const znRTColorPacket base = seenAlone(bare, ray).color;
        EXPECT_GT(base.r[0], 0.05f);
        EXPECT_NEAR(top.color.r[0], f * 2.0 + (1.0 - f) * double(base.r[0]), 2e-4) << isSteep;
        EXPECT_NEAR(top.color.g[0], 0.5 * f * 2.0 + (1.0 - f) * double(base.g[0]), 2e-4);
        EXPECT_NEAR(top.layer(ZN_PASS_SPECULAR_REFLECTION).r[0], f * 2.0, 2e-4);
    }
}

// A coat of a quarter leaves three quarters of what a full one takes, at any angle.
TEST_F(CoatedMaterials, LeaveTheBaseWhereTheCoatIsThin)
{
    setBackground(2.0f);
    const znRTRayDifferentialPacket ray = slanting();
    const auto seen = [&](float f0, float cover) {
        const auto material = makePlastic<osg::UReflectivePlasticMaterial>();
        material->setClearcoatReflectance(f0);
        material->setClearcoat(color(cover, cover, cover));
        return double(seenAlone(material, ray).color.g[0]);
    };
    const double bare = seen(0.0f, 1.0f), full = seen(0.2f, 1.0f);
    EXPECT_GT(std::abs(full - bare), 0.05);
    EXPECT_NEAR(seen(0.2f, 0.0f), bare, 1e-5);
    EXPECT_NEAR(seen(0.2f, 0.25f), 0.75 * bare + 0.25 * full, 2e-4);
}

TEST_F(CoatedMaterials, EnterTheCoatAsAMirrorAboveTheBase)
{
    const auto coated = makePlastic<osg::UReflectivePlasticMaterial>();
    coated->setClearcoatReflectance(0.1f);
    znRTMaterial& shading = addSquare(coated);
    znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data = blockOf(ray);
    znRTSurfaceProperties surface;
    surface.reset();
    znRTShadingState state = stateOf(0);
    shading.evaluateMaterial(ray, data, surface, znFloatType<2>::allLanes(), state, -1,
                             znRTMaterial::gather);
    ASSERT_EQ(surface.groups[0].count, 1u);
    ASSERT_EQ(surface.groups[1].count, 1u);
    ASSERT_EQ(surface.groups[2].count, 1u);
    EXPECT_LANES_NEAR(surface.groups[0].slots[0].color.r, 0.45f, 0.45f, 0.45f, 0.45f, 1e-5f);
    EXPECT_LANES_NEAR(surface.groups[2].slots[0].color.r, 0.1f, 0.1f, 0.1f, 0.1f, 1e-5f);
}

// Triplanar kinds without textures are the plastics.
TEST_F(CoatedMaterials, ShadeTriplanarKindsAsPlastics)
{
    const auto projected = makePlastic<osg::UReflectiveTriplanarMaterial>();
    const auto plain = makePlastic<osg::UReflectivePlasticMaterial>();
    setBackground(1.0f);
    const znRTColorPacket first = seenAlone(projected, slanting()).color;
    const znRTColorPacket second = seenAlone(plain, slanting()).color;
    EXPECT_TRUE(
        scene.scene->createMaterial(projected)->isOfType(znRTReflectiveTriplanarMaterial::id));
    for (int channel = 0; channel < 3; ++channel)
        EXPECT_EQ(first[channel][0], second[channel][0]);
}

// Each stand-in shows the colours of its own record: red, never the grey of a default.
TEST_F(CoatedMaterials, StandInWithTheColorsOfTheRecord)
{
    const auto red = color(0.8f, 0.1f, 0.05f);
    const auto velvet = osg::UVelvetMaterial::create();
    velvet->setDiffuse(red);
    const auto cloth = osg::UWovenClothMaterial::create();
    cloth->setWarpColor(red);
    cloth->setWeftColor(red);
    const auto metallic = osg::UMetallicPaintMaterial::create();
    metallic->setBase(red);
    metallic->setFlake(red);
    const auto unicolor = osg::UUnicolorPaintMaterial::create();
    unicolor->setBase(red);
    const auto flipflop = osg::UFlipflopMaterial::create();
    flipflop->setPaintA(red);
    const auto carbon = osg::UCarbonMaterial::create();
    carbon->setBase(red);
    carbon->setGlossy(gray(0.0f));
    const auto tire = osg::UTireMaterial::create();
    tire->setDiffuse(red);
    const auto mapped = osg::USVBRDFMaterial::create();
    mapped->setDiffuse(red);
    mapped->setSpecular(gray(0.0f));
    const auto measured = osg::UMeasuredCarpaintMaterial::create();
    measured->setDiffuse(red);
    const osg::MaterialPtr hosts[] = {velvet, cloth, metallic, unicolor, flipflop,
                                      carbon, tire,  mapped,   measured};
    for (const osg::MaterialPtr& host : hosts) {
        const znRTColorPacket seen = seenAlone(host, downward(0.2f, 0.1f)).color;
        EXPECT_GT(seen.r[0], 0.2f) << host->getType().getName();
        EXPECT_GT(seen.r[0], 3.0f * seen.g[0]) << host->getType().getName();
    }
    const auto lined = osg::ULineChromeMaterial::create();
    lined->setFresnelTable(255);
    lined->setReflectance(1.0f);
    lined->setReflection(red);
    setBackground(1.0f);
    const znRTColorPacket seen = seenAlone(lined, downward(0.2f, 0.1f)).color;
    EXPECT_GT(seen.r[0], 5.0f * seen.g[0]);
}

// Waves of 20 mm on the coat tilt its mirror; the body below stays even. The gradient of a simplex
// noise stays below 4 where its values stay below 1.
TEST_F(CoatedMaterials, MayHaveAnOrangePeel)
{
    const auto coated = makePlastic<osg::UReflectivePlasticMaterial>();
    coated->setClearcoatBumpSize(20.0f);
    const znRTMaterial& shading = addSquare(coated);
    const auto leansOf = [&](float amount) {
        coated->setClearcoatBumpAmount(amount);
        scene.scene->applyMaterialChanges();
        znRTVector2f most, sum;
        for (int i = 0; i < 100; ++i) {
            znRTRayDifferentialPacket ray = downward(0.013f * float(i) - 0.6f, 0.1f);
            znRTDataBlockPacket data = blockOf(ray);
            znRTSurfaceProperties surface;
            surface.reset();
            znRTShadingState state = stateOf(0);
            shading.evaluateMaterial(ray, data, surface, znFloatType<2>::allLanes(), state, -1,
                                     znRTMaterial::photon);
            EXPECT_NEAR(surface.groups[0].onb.n.z[0], 1.0f, 1e-6f);
            EXPECT_NEAR(surface.groups[1].onb.n.z[0], 1.0f, 1e-6f);
            const znRTVector3fPacket n = surface.groups[2].onb.n;
            EXPECT_NEAR(n.getSquareLength()[0], 1.0f, 1e-5f);
            most.x = std::max(most.x, std::abs(n.x[0] / n.z[0]));
            most.y = std::max(most.y, std::abs(n.y[0] / n.z[0]));
            sum.x += n.x[0];
            sum.y += n.y[0];
        }
        EXPECT_LE(std::abs(sum.x) / 100.0f, 0.4f * most.x + 1e-6f);
        EXPECT_LE(std::abs(sum.y) / 100.0f, 0.4f * most.y + 1e-6f);
        return most;
    };
    const znRTVector2f even = leansOf(0.0f), little = leansOf(0.02f), much = leansOf(0.04f);
    EXPECT_LT(even.x, 1e-6f);
    EXPECT_LT(even.y, 1e-6f);
    EXPECT_GT(little.x, 0.02f);
    EXPECT_LT(little.x, 0.16f);
    EXPECT_NEAR(much.x / little.x, 2.0f, 0.02f);
    EXPECT_NEAR(much.y / little.y, 2.0f, 0.02f);
}
