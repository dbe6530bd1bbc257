#include "light/znRTInfiniteAreaLight.h"
#include "surroundedFixture.h"

using namespace materialTest;

namespace {

osg::Ref<osg::USphereEnvironmentMaterial> uniform(float radiance)
{
    return environmentOf(greyEnvironment(8, 4, [=](int, int) { return radiance; }));
}

class OwnEnvironment : public SurroundedTest
{
};

} // namespace

TEST_F(OwnEnvironment, LightsItsMaterialAlone)
{
    surround(white(), 0);
    const auto own = uniform(3.0f);
    const PhongPtr plain = makeDiffuse(0.5f), special = makeDiffuse(0.5f);
    special->setEnvironment(osg::MaterialPtr(own.get()));
    addSquare(plain);
    addSquare(special, 1.0f);
    znRTRenderUtils::updateEnvironment();
    EXPECT_NEAR(mean(8), 1.5, 0.01) << "the upper square";
    const znRTRayDifferentialPacket between(
        znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 0.5f), znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    EXPECT_NEAR(mean(between, 8), 0.5, 0.01);
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight()->getId(), surroundings->getId());
}

TEST_F(OwnEnvironment, IsFoundThroughChoices)
{
    surround(white(), 0);
    const auto two = uniform(2.0f), four = uniform(4.0f);
    const osg::Ref<osg::SwitchMaterial> inner(osg::SwitchMaterial::create());
    inner->setMaterials({osg::MaterialPtr(two.get()), osg::MaterialPtr(four.get())});
    const osg::Ref<osg::UEnvironmentSwitchMaterial> outer(
        osg::UEnvironmentSwitchMaterial::create());
    outer->setMaterials({osg::MaterialPtr(inner.get())});
    const PhongPtr material = makeDiffuse(0.5f);
    material->setEnvironment(osg::MaterialPtr(outer.get()));
    addSquare(material);
    const auto shown = [&] {
        scene.scene->applyMaterialChanges();
        znRTRenderUtils::updateEnvironment();
        return mean(8);
    };
    EXPECT_NEAR(shown(), 1.0, 0.01);
    inner->setChoice(1);
    EXPECT_NEAR(shown(), 2.0, 0.01);
    inner->setChoice(7);
    EXPECT_NEAR(shown(), 1.0, 0.01) << "beyond the list the first counts";
    // A circle of switches leads nowhere: the scene's environment lights.
    inner->setMaterials({osg::MaterialPtr(outer.get())});
    EXPECT_NEAR(shown(), 0.5, 0.01);
    inner->setMaterials({});
}

// What the material was given may go before it does.
TEST_F(OwnEnvironment, MayGoBeforeItsMaterial)
{
    surround(white(), 0);
    auto own = uniform(3.0f);
    const PhongPtr material = makeDiffuse(0.5f);
    material->setEnvironment(osg::MaterialPtr(own.get()));
    znRTMaterial& shading = addSquare(material);
    znRTRenderUtils::updateEnvironment();
    ASSERT_NE(shading.getEnvironmentLight(), nullptr);
    const std::unique_ptr<znRTMaterial> copy(shading.getDuplicate());
    EXPECT_TRUE(scene.scene->deleteEnvironmentLight(osg::MaterialPtr(own.get())));
    EXPECT_EQ(shading.getEnvironmentLight(), nullptr);
    EXPECT_EQ(copy->getEnvironmentLight(), nullptr) << "no scene knows of copies";
    EXPECT_EQ(mean(1), 0.0);
    material->setEnvironment(nullptr);
    scene.scene->applyMaterialChanges();
    znRTRenderUtils::updateEnvironment();
    EXPECT_NEAR(mean(8), 0.5, 0.01) << "back to the scene's";
    // With the scene its lights go, and materials that other scenes share forget them.
    material->setEnvironment(osg::MaterialPtr(own.get()));
    scene.scene->applyMaterialChanges();
    znRTRenderUtils::updateEnvironment();
    MeshScene other;
    znRTMaterial* const shared = other.scene->createMaterial(osg::MaterialPtr(material));
    EXPECT_EQ(shared, &shading);
    EXPECT_NE(shared->getEnvironmentLight(), nullptr);
    scene.scene->clear();
    EXPECT_EQ(shared->getEnvironmentLight(), nullptr);
    other.scene->clear();
}
