#include "host/osg/Group.h"
#include "host/osg/UberLight.h"
#include "host/znRTLensFlare.h"
#include "light/znRTUDirectionalLight.h"
#include "light/znRTUDiskLight.h"
#include "light/znRTURectangularLight.h"
#include "light/znRTUSphericalLight.h"
#include "light/znRTUSpotLight.h"
#include "render/znRTRenderUtils.h"
#include "support/meshScene.h"

#include <gtest/gtest.h>

namespace {

class SceneLights : public testing::Test
{
protected:
    template <class Core>
    osg::NodePtr add()
    {
        const osg::NodePtr node = osg::Node::create(osg::NodeCorePtr(Core::create()));
        scene.root->addChild(node);
        scene.scene->addLight(node);
        return node;
    }
    const znRTLight& light(u64 i) { return *scene.scene->getLights()[i]; }

    MeshScene scene;
};

TEST_F(SceneLights, HaveAnObjectForEveryKind)
{
    add<osg::UPointLight>();
    add<osg::USpotLight>();
    add<osg::UDirectionalLight>();
    add<osg::UDiskLight>();
    add<osg::URectangularLight>();
    add<osg::USphericalLight>();
    ASSERT_EQ(scene.scene->getLights().size, 6u);
    EXPECT_TRUE(light(0).isOfType(znRTUPointLight::id));
    EXPECT_TRUE(light(1).isOfType(znRTUSpotLight::id));
    EXPECT_TRUE(light(2).isOfType(znRTUDirectionalLight::id));
    EXPECT_TRUE(light(3).isOfType(znRTUDiskLight::id));
    EXPECT_TRUE(light(4).isOfType(znRTURectangularLight::id));
    EXPECT_TRUE(light(5).isOfType(znRTUSphericalLight::id));
}

TEST_F(SceneLights, AreReportedWhenTheyAreNone)
{
    const osg::Ref<osg::Node> group(osg::Node::create(osg::Group::create()));
    scene.scene->addLight(group.get());
    scene.scene->addLight(nullptr);
    EXPECT_EQ(scene.scene->getLights().size, 0u);
    EXPECT_EQ(std::count(scene.log.begin(), scene.log.end(), "Bad Light"), 2);
}

TEST_F(SceneLights, ComeAndGoByTheirNodes)
{
    const osg::NodePtr first = add<osg::UPointLight>(), second = add<osg::USpotLight>();
    scene.scene->addLight(first);
    ASSERT_EQ(scene.scene->getLights().size, 2u) << "a light that is there stays as it is";
    EXPECT_TRUE(scene.scene->deleteLight(first->getId()));
    EXPECT_FALSE(scene.scene->deleteLight(first->getId()));
    ASSERT_EQ(scene.scene->getLights().size, 1u);
    EXPECT_EQ(light(0).getId(), second->getId());
    scene.scene->clear();
    EXPECT_EQ(scene.scene->getLights().size, 0u);
}

TEST_F(SceneLights, FollowTheirCores)
{
    const osg::NodePtr node = add<osg::UPointLight>();
    EXPECT_EQ(light(0).getMaxIntensity(), 1.0f);
    osg::FCPtr<osg::UPointLight>::dcast(node->getCore())->setIntensity(5.0f);
    EXPECT_EQ(light(0).getMaxIntensity(), 1.0f);
    scene.scene->updateLights();
    EXPECT_EQ(light(0).getMaxIntensity(), 5.0f);
}

TEST_F(SceneLights, ListFlaresOfLightsThatComeFromAPoint)
{
    znRTLensFlare pointFlare, diskFlare;
    osg::FCPtr<osg::UPointLight>::dcast(add<osg::UPointLight>()->getCore())
        ->setLensFlare(&pointFlare);
    osg::FCPtr<osg::UDiskLight>::dcast(add<osg::UDiskLight>()->getCore())->setLensFlare(&diskFlare);
    scene.scene->updateLights();
    ASSERT_EQ(scene.scene->getLensFlares().size, 1u);
    EXPECT_EQ(scene.scene->getLensFlares()[0], &pointFlare);
}

TEST_F(SceneLights, KnowTheHeadlight)
{
    EXPECT_EQ(scene.scene->getHeadlight(), nullptr);
    const osg::NodePtr node = osg::Node::create(osg::NodeCorePtr(osg::UHeadLight::create()));
    scene.root->addChild(node);
    scene.scene->setHeadlight(node);
    ASSERT_EQ(scene.scene->getLights().size, 1u);
    EXPECT_EQ(scene.scene->getHeadlight(), scene.scene->getLights()[0]);
    EXPECT_FALSE(light(0).isOn()) << "headlights start switched off";
    scene.scene->deleteLight(node->getId());
    EXPECT_EQ(scene.scene->getHeadlight(), nullptr);
}

// A local light reaches the geometry below its own parent.
TEST_F(SceneLights, ReachTheirNeighboursAloneWhenTheyAreLocal)
{
    znRTAccelerator* const previous = znRTRenderUtils::s_currentAccelerator;
    znRTRenderUtils::s_currentAccelerator = scene.scene.get();
    const GeometryRef square = makeSquare();
    const osg::NodePtr inside = scene.add(square.get()), outside = scene.add(square.get());
    const osg::NodePtr lamp = osg::Node::create(osg::NodeCorePtr(osg::UPointLight::create()));
    inside->getParent()->addChild(lamp);
    osg::FCPtr<osg::UPointLight>::dcast(lamp->getCore())->setLocalLighting(true);
    scene.scene->addLight(lamp);
    add<osg::UPointLight>();
    scene.build();
    znRTRenderUtils::updateLocalLights();
    ASSERT_EQ(scene.mesh(inside).getLocalLights().size, 1u);
    EXPECT_EQ(scene.mesh(inside).getLocalLights()[0], scene.scene->getLights()[0]);
    EXPECT_EQ(scene.mesh(outside).getLocalLights().size, 0u);
    osg::FCPtr<osg::UPointLight>::dcast(lamp->getCore())->setLocalLighting(false);
    scene.scene->updateLights();
    znRTRenderUtils::updateLocalLights();
    EXPECT_EQ(scene.mesh(inside).getLocalLights().size, 0u);
    znRTRenderUtils::s_currentAccelerator = previous;
}

} // namespace
