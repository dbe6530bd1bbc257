#include "host/znRTLightBase.h"
#include "host/osg/Group.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/Transform.h"
#include "host/osg/UberLight.h"
#include "host/znRTLensFlare.h"

#include <gtest/gtest.h>

namespace {

class PlainLight : public znRTLightBase
{
public:
    static inline const znRTTypeId typeId{"PlainLight"};
    PlainLight(const osg::NodePtr& node, const osg::NodeCorePtr& core)
        : znRTLightBase(typeId, node, core)
    {
    }
};

class LightBase : public testing::Test
{
protected:
    LightBase()
    {
        root->addChild(node.get());
        osg::Matrix m;
        m[3][0] = 4.0f;
        rootTransform->setMatrix(m);
        root->setCore(rootTransform);
    }

    osg::FCPtr<osg::Transform> rootTransform = osg::Transform::create();
    osg::Ref<osg::Node> root{osg::Node::create(osg::Group::create())};
    osg::FCPtr<osg::URectangularLight> core = osg::URectangularLight::create();
    osg::Ref<osg::Node> node{osg::Node::create(osg::NodeCorePtr(core))};
};

TEST_F(LightBase, StandsWhereItsNodeOrItsBeaconStands)
{
    PlainLight light(node.get(), core);
    EXPECT_TRUE(light.update()) << "the first time";
    ASSERT_EQ(light.getTransforms().size(), 1u);
    EXPECT_EQ(light.getTransforms()[0][3][0], 4.0f);
    EXPECT_EQ(light.getWorldToLightMatrix()[3][0], -4.0f);
    EXPECT_FALSE(light.update());
    const osg::Ref<osg::Node> beacon(osg::Node::create(osg::Group::create()));
    core->setBeacon(beacon.get());
    EXPECT_TRUE(light.update());
    EXPECT_TRUE(light.getTransforms()[0].isIdentity());
    EXPECT_EQ(light.getId(), node->getId());
}

TEST_F(LightBase, IsUnusedWhileItsNodeIsHidden)
{
    PlainLight light(node.get(), core);
    light.update();
    root->setHidden(true);
    EXPECT_TRUE(light.update());
    EXPECT_TRUE(light.getTransforms().empty());
    root->setHidden(false);
    core->setOn(false);
    core->setLocalLighting(true);
    EXPECT_TRUE(light.update());
    EXPECT_FALSE(light.isOn());
    EXPECT_TRUE(light.getLocalLighting());
}

TEST_F(LightBase, TakesSwitchesFromTheAttachmentAndTheAreaLight)
{
    PlainLight light(node.get(), core);
    light.update();
    EXPECT_EQ(light.getRayVisibility(), 0xFFFFFFFFu);
    EXPECT_FALSE(light.getDirectWithPhotons()) << "without attachment";
    EXPECT_TRUE(light.emitsCausticPhotons());
    const auto onCore = osg::RaytracingLightAttachment::create();
    onCore->setDirectWithPhotons(true);
    onCore->setEmitCausticPhotons(false);
    onCore->setPrimaryVisibility(false);
    core->addAttachment(onCore);
    core->setVisibleInReflections(false);
    EXPECT_TRUE(light.update());
    EXPECT_TRUE(light.getDirectWithPhotons());
    EXPECT_FALSE(light.emitsCausticPhotons());
    EXPECT_EQ(light.getRayVisibility(), ~(0x0030000Fu | 0x033C03F3u));
    const auto onNode = osg::RaytracingLightAttachment::create();
    node->addAttachment(onNode);
    light.update();
    EXPECT_EQ(light.getLightAttachment(), onNode.get()) << "the node's comes first";
}

TEST_F(LightBase, TellsItsLensFlareWhereItStands)
{
    znRTLensFlare flare;
    core->setLensFlare(&flare);
    PlainLight light(node.get(), core);
    light.update();
    EXPECT_EQ(light.getLensFlare(), &flare);
    EXPECT_EQ(flare.getToWorldMatrix()[3][0], 4.0f) << "place of the root";
    osg::TransformationMatrix<float> toCamera;
    toCamera[3][1] = -2.0f;
    light.setWorldToLightMatrix(toCamera);
    EXPECT_EQ(flare.getToWorldMatrix()[3][1], 2.0f) << "inverse of the camera's";
    EXPECT_TRUE(flare.isEnabled());
    flare.setEnabled(false);
    light.update();
    EXPECT_FALSE(flare.isEnabled()) << "the switch is not the base's";
}

TEST_F(LightBase, FollowsTheCameraWhenBoundToIt)
{
    PlainLight light(node.get(), core);
    osg::Matrix worldToLight;
    worldToLight[3][2] = -7.0f;
    light.setWorldToLightMatrix(worldToLight);
    EXPECT_EQ(light.getWorldToLightMatrix(), worldToLight);
    ASSERT_EQ(light.getTransforms().size(), 1u);
    EXPECT_EQ(light.getTransforms()[0][3][2], 7.0f);
}

} // namespace
