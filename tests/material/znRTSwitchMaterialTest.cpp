#include "material/znRTSwitchMaterial.h"

#include "accel/znRTAccelerator.h"
#include "surroundedFixture.h"

using namespace materialTest;

namespace {

class Switching : public SurroundedTest
{
protected:
    Switching() { host->setMaterials({red, green}); }
    ~Switching() override { host->setMaterials({}); }

    static PhongPtr make(float r, float g, float transparency = 0.0f)
    {
        const PhongPtr material = makeDiffuse(0.0f);
        material->setDiffuse(osg::ColorComponent(osg::Vec3f(r, g, 0.0f)));
        material->setTransparencyColor(gray(transparency));
        return material;
    }
    znRTSwitchMaterial& add()
    {
        return static_cast<znRTSwitchMaterial&>(addSquare(osg::MaterialPtr(host.get())));
    }
    znRTColorPacket choose(int choice)
    {
        host->setChoice(choice);
        scene.scene->applyMaterialChanges();
        return shade().color;
    }

    // Held here: lists let go of what they lose.
    const osg::Ref<osg::UPhongMaterial> redHolder{make(1.0f, 0.0f)},
        greenHolder{make(0.0f, 1.0f, 0.5f)};
    const PhongPtr red{redHolder.get()}, green{greenHolder.get()};
    osg::Ref<osg::SwitchMaterial> host{osg::SwitchMaterial::create()};
};

} // namespace

TEST_F(Switching, ShowsTheChosenMaterial)
{
    addSun();
    znRTSwitchMaterial& material = add();
    EXPECT_NEAR(choose(0).r[0], 1.0f, 1e-5f);
    EXPECT_EQ(choose(0).g[0], 0.0f);
    EXPECT_FALSE(material.isTransparent());
    choose(1);
    EXPECT_TRUE(material.isTransparent());
    EXPECT_EQ(material.getFirstActiveMaterial()->getHostMaterial(), osg::MaterialPtr(green));
    EXPECT_EQ(shade().layer(ZN_PASS_DIFFUSE_COLOR).g[0], 0.5f) << "half of it passes";
    EXPECT_EQ(material.getActiveIndex(), 1);
}

TEST_F(Switching, ShowsTheFirstForAChoiceBeyondTheList)
{
    addSun();
    znRTSwitchMaterial& material = add();
    for (const int choice : {2, 3, 1000}) {
        EXPECT_NEAR(choose(choice).r[0], 1.0f, 1e-5f) << choice;
        EXPECT_EQ(material.getActiveIndex(), 0);
    }
}

TEST_F(Switching, IsNotThereWithoutMaterials)
{
    host->setMaterials({});
    znRTSwitchMaterial& material = add();
    EXPECT_EQ(material.getActiveIndex(), -1);
    EXPECT_EQ(material.getActiveMaterial(), nullptr);
    EXPECT_EQ(material.getShadingRequirements(), 0u);
    EXPECT_EQ(material.getShadowShadingRequirements(), 0u);
    EXPECT_EQ(material.getMaterialAttributes(), 0u);
    EXPECT_EQ(material.getTransparencyAttributes(), 0u);
    EXPECT_EQ(material.getVisibility(), 0);
    EXPECT_EQ(material.getFirstActiveMaterial(), &material);
    EXPECT_EQ(scene.trace(downward(0.2f, 0.1f), 15).hitMask, 0u);
    host->setMaterials({osg::MaterialPtr()});
    scene.scene->applyMaterialChanges();
    EXPECT_EQ(material.getActiveMaterial(), nullptr) << "a place without a material";
}

TEST_F(Switching, TakesOverTheMasksOfTheChosenOne)
{
    znRTSwitchMaterial& material = add();
    for (const int choice : {0, 1}) {
        choose(choice);
        const znRTMaterial& active = *material.getActiveMaterial();
        EXPECT_EQ(material.getShadingRequirements(), active.getShadingRequirements());
        EXPECT_EQ(material.getMaterialAttributes(), active.getMaterialAttributes());
        EXPECT_EQ(material.getTransparencyAttributes(), active.getTransparencyAttributes());
        EXPECT_EQ(material.getCommonMaterialAttributes(), active.getCommonMaterialAttributes());
        EXPECT_EQ(material.getSideness(), active.getSideness());
        EXPECT_EQ(material.getVisibility(), active.getVisibility());
    }
}

TEST_F(Switching, FollowsChangesOfItsMaterials)
{
    addSun();
    add();
    red->setDiffuse(osg::ColorComponent(osg::Vec3f(0.25f, 0.0f, 0.0f)));
    EXPECT_NEAR(choose(0).r[0], 0.25f, 1e-5f);
}

TEST_F(Switching, MayChooseSwitches)
{
    addSun();
    const osg::Ref<osg::SwitchMaterial> outer(osg::SwitchMaterial::create());
    outer->setMaterials({osg::MaterialPtr(green), osg::MaterialPtr(host.get())});
    outer->setChoice(1);
    znRTMaterial& material = addSquare(osg::MaterialPtr(outer.get()));
    EXPECT_NEAR(shade().color.r[0], 1.0f, 1e-5f);
    EXPECT_EQ(material.getFirstActiveMaterial()->getHostMaterial(), osg::MaterialPtr(red));
    host->setChoice(1);
    scene.scene->applyMaterialChanges();
    EXPECT_TRUE(material.isTransparent());
    outer->setMaterials({});
}

TEST_F(Switching, LeavesItselfOut)
{
    addSun();
    const osg::Ref<osg::SwitchMaterial> outer(osg::SwitchMaterial::create());
    outer->setMaterials({osg::MaterialPtr(host.get())});
    host->setMaterials({osg::MaterialPtr(outer.get()), osg::MaterialPtr(green)});
    znRTSwitchMaterial& material = add();
    EXPECT_EQ(material.getActiveMaterial(), nullptr);
    host->setMaterials({osg::MaterialPtr(host.get()), osg::MaterialPtr(red)});
    scene.scene->applyMaterialChanges();
    EXPECT_EQ(material.getActiveMaterial(), nullptr);
    choose(1);
    scene.build(); // the surface was not there for any ray
    EXPECT_NEAR(shade().color.r[0], 1.0f, 1e-5f);
    outer->setMaterials({});
}

// Scenes share materials; the parts live as long as a switch that shows them.
TEST_F(Switching, KeepsItsMaterialsAsLongAsAnySceneHasIt)
{
    add();
    const u32 part = red->getId();
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(part), 1u);
    MeshScene other;
    znRTMaterial* const shared = other.scene->createMaterial(osg::MaterialPtr(host.get()));
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(host->getId()), 2u);
    scene.scene->clear();
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(part), 1u);
    EXPECT_EQ(static_cast<znRTSwitchMaterial*>(shared)->getActiveIndex(), 0);
    host->setMaterials({osg::MaterialPtr(green)});
    other.scene->updateMaterials();
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(part), 0u);
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(green->getId()), 1u);
    other.scene->clear();
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(green->getId()), 0u);
}

// A switch over environments on a dome: the chosen one lights the scene and is seen.
TEST_F(Switching, ChoosesAmongEnvironments)
{
    const auto dim = environmentOf(greyEnvironment(8, 4, [](int, int) { return 1.0f; }));
    const auto bright = environmentOf(greyEnvironment(8, 4, [](int, int) { return 5.0f; }));
    const osg::Ref<osg::UEnvironmentSwitchMaterial> choice(
        osg::UEnvironmentSwitchMaterial::create());
    choice->setMaterials({osg::MaterialPtr(dim.get()), osg::MaterialPtr(bright.get())});
    setIllumination(0, 0);
    znRTMaterial::updateStaticSettings();
    addSquare(makeDiffuse(0.5f));
    znRTMaterial& dome = addSquare(osg::MaterialPtr(choice.get()), 4.0f);
    EXPECT_TRUE(dome.isEnvironment());
    const znRTRayDifferentialPacket upward(
        znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 1.0f), znRTVector3fPacket(0.0f, 0.0f, 1.0f)));
    const auto expectRadiance = [&](float radiance) {
        scene.scene->applyMaterialChanges();
        znRTRenderUtils::updateEnvironment();
        EXPECT_EQ(shade(upward).color.r[0], radiance);
        EXPECT_NEAR(mean(8), 0.5 * radiance, 0.01 * radiance);
        EXPECT_FALSE(scene.scene->getEnvironmentLight(1u)) << "what is not chosen is no light";
    };
    expectRadiance(1.0f);
    choice->setChoice(1);
    expectRadiance(5.0f);
    choice->setChoice(0);
    expectRadiance(1.0f);
    choice->setMaterials({});
}
