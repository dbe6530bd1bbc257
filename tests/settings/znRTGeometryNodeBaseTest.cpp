#include "settings/SceneFixture.h"

#include "host/osg/RaytracingGeoAttachment.h"

namespace {

using Attachment = osg::RaytracingGeoAttachment;

u32 flagsOf(const Attachment* attachment, int visible = -1, int sideness = 3, int* hidden = nullptr,
            float* radius = nullptr)
{
    float value = -1.0f;
    int primaryHidden = -1;
    u32 flags = 0;
    znRTGeometryNodeBase::evaluateVisibilityFlags({}, attachment, visible, value, primaryHidden,
                                                  flags, sideness);
    if (hidden)
        *hidden = primaryHidden;
    if (radius)
        *radius = value;
    return flags;
}

// Each ray class has two bits, one per eye; a switch hides whole classes. The classes are: camera,
// diffuse, glossy, mirror, glossy transmission, refraction, shadow, environment shadow, shadow seen
// in a reflection, shadow on shadow material, photon.
TEST(VisibilityFlags, LoseTheBitsOfEachSwitch)
{
    struct Row
    {
        void (Attachment::*set)(const bool&);
        u32 bits;
    };
    const Row rows[] = {{&Attachment::setPrimaryVisibility, 0x0030000Fu},
                        {&Attachment::setVisibleInReflections, 0x033C03F3u},
                        {&Attachment::setVisibleInRefractions, 0x00303C03u},
                        {&Attachment::setCastShadows, 0x0FF0C003u},
                        {&Attachment::setCastShadowsOnShadowMaterial, 0x0C000000u},
                        {&Attachment::setVisibleInGlossyReflections, 0x00000CF0u},
                        {&Attachment::setVisibleInPhotons, 0xF0000000u}};
    u32 all = 0;
    const osg::Ref<Attachment> hideAll(Attachment::create());
    for (const Row& row : rows) {
        const osg::Ref<Attachment> attachment(Attachment::create());
        EXPECT_EQ(flagsOf(attachment.get().get()), 0xFFFFFFFFu);
        (attachment.get().get()->*row.set)(false);
        EXPECT_EQ(flagsOf(attachment.get().get()), ~row.bits) << std::hex << row.bits;
        (hideAll.get().get()->*row.set)(false);
        all |= row.bits;
    }
    EXPECT_EQ(flagsOf(hideAll.get().get()), ~all) << "switches add up";
}

TEST(VisibilityFlags, StayCompleteWithoutAnAttachment)
{
    int hidden = -1;
    float radius = -1.0f;
    EXPECT_EQ(flagsOf(nullptr, -1, 3, &hidden, &radius), 0xFFFFFFFFu);
    EXPECT_EQ(hidden, 0);
    EXPECT_EQ(radius, 0.0f);
}

TEST(VisibilityFlags, TellRoundedEdgesAndWhatPrimaryVisibilityHid)
{
    const osg::Ref<Attachment> attachment(Attachment::create());
    attachment->setRoundedEdgeRadius(0.25f);
    attachment->setPrimaryVisibility(false);
    attachment->setCastShadows(false);
    int hidden = -1;
    float radius = -1.0f;
    flagsOf(attachment.get().get(), -1, 3, &hidden, &radius);
    EXPECT_EQ(u32(hidden), 0x0030000Fu);
    EXPECT_EQ(radius, 0.25f);
}

TEST(VisibilityFlags, KeepTheBitsOfTheEyesThatSeeTheNode)
{
    EXPECT_EQ(flagsOf(nullptr, 0x55555555), 0x55555555u);
    EXPECT_EQ(flagsOf(nullptr, 0), 0u);
}

TEST(VisibilityFlags, HideOneSidedObjectsWhoseSideIsNotShown)
{
    znRTGeometryNodeBase::s_showASides = false;
    EXPECT_EQ(flagsOf(nullptr, -1, 1), 0u);
    EXPECT_NE(flagsOf(nullptr, -1, 2), 0u);
    EXPECT_NE(flagsOf(nullptr, -1, 3), 0u);
    znRTGeometryNodeBase::s_showASides = true;
    znRTGeometryNodeBase::s_showBSides = false;
    EXPECT_NE(flagsOf(nullptr, -1, 1), 0u);
    EXPECT_EQ(flagsOf(nullptr, -1, 2), 0u);
    znRTGeometryNodeBase::s_showBSides = true;
}

class GeometryNodeBase : public SceneFixture
{
protected:
    PlainObject object{one.get(), triangleOne};
};

TEST_F(GeometryNodeBase, IsSeenByBothEyesUnlessSomethingAboveIsHidden)
{
    EXPECT_EQ(object.isVisible(), -1);
    group->setHidden(true);
    EXPECT_EQ(object.isVisible(), 0);
    group->setHidden(false);
    root->setActive(false);
    EXPECT_EQ(object.isVisible(), 0);
}

TEST_F(GeometryNodeBase, ReportsAChangeOnceAndFirst)
{
    EXPECT_TRUE(object.update()) << "the first time";
    EXPECT_FALSE(object.update());
    osg::Matrix matrix;
    matrix[3][0] = 5.0f;
    transform->setMatrix(matrix);
    EXPECT_TRUE(object.update());
    EXPECT_EQ(object.getToWorldMatrix()[3][0], 5.0f);
    EXPECT_EQ(object.getToObjectMatrix()[3][0], -5.0f);
    EXPECT_FALSE(object.update());
    group->setHidden(true);
    EXPECT_TRUE(object.update());
    triangleOne->setPositions(osg::GeoProperty::create({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}));
    EXPECT_TRUE(object.update());
    EXPECT_FALSE(object.update());
}

TEST_F(GeometryNodeBase, BelongsToItsShellOrToAnAncestor)
{
    EXPECT_FALSE(object.hasShellParent());
    EXPECT_EQ(object.resolveToObjectNodeId(0), one->getId());
    EXPECT_EQ(object.resolveToObjectNodeId(1), group->getId());
    EXPECT_EQ(object.resolveToObjectNodeId(2), root->getId());
    EXPECT_EQ(object.resolveToObjectNodeId(9), root->getId());
    group->setCore(osg::Shell::create());
    EXPECT_TRUE(object.hasShellParent());
    EXPECT_EQ(object.getShellFieldcontainerId(), group->getId());
    EXPECT_EQ(object.resolveToObjectNodeId(2), group->getId());
}

TEST_F(GeometryNodeBase, TakesOverridesFromTheNodeBeforeTheCore)
{
    const auto overridesOf = [&] {
        Attachment* attachment = nullptr;
        osg::MaterialPtr material;
        znRTGeometryNodeBase::getOverrides(one.get(), triangleOne, attachment, material);
        return std::make_pair(attachment, material);
    };
    EXPECT_EQ(overridesOf().first, nullptr);
    const osg::Ref<Attachment> onCore(Attachment::create()), onNode(Attachment::create());
    const osg::MaterialPtr coreMaterial = osg::UPhongMaterial::create();
    onCore->setOverrideMaterial(coreMaterial);
    triangleOne->addAttachment(onCore.get());
    EXPECT_EQ(overridesOf(), std::make_pair(onCore.get().get(), coreMaterial));
    one->addAttachment(onNode.get());
    EXPECT_EQ(overridesOf(), std::make_pair(onNode.get().get(), osg::MaterialPtr()));
}

TEST_F(GeometryNodeBase, ShowsTheOverrideColourInAFlatMaterial)
{
    znRTGeometryNodeBase::enableMaterialColorOverride(true);
    znRTGeometryNodeBase::setMaterialColorOverride({0.25f, 0.5f, 0.75f});
    Attachment* attachment = nullptr;
    osg::MaterialPtr material;
    znRTGeometryNodeBase::getOverrides(one.get(), triangleOne, attachment, material);
    znRTGeometryNodeBase::enableMaterialColorOverride(false);
    znRTGeometryNodeBase::setMaterialColorOverride({0.5f, 0.5f, 0.5f});
    const auto phong = osg::FCPtr<osg::UPhongMaterial>::dcast(material);
    ASSERT_TRUE(phong);
    EXPECT_EQ(phong->getRaytracingAttributes().diffuse, znRTVector3f(0.25f, 0.5f, 0.75f));
    EXPECT_EQ(phong->getRaytracingAttributes().glossy, znRTVector3f(0.0f, 0.0f, 0.0f));
}

TEST_F(GeometryNodeBase, KnowsWhenItsNodeIsGone)
{
    EXPECT_TRUE(object.isAlive());
    group->subChild(one.get());
    one = nullptr;
    EXPECT_FALSE(object.isAlive());
}

using MaterialAssignment = SceneFixture;

TEST_F(MaterialAssignment, PrefersTheCoreThenTheNearestAncestor)
{
    const auto resolve = [&] {
        return znRTSceneBase::resolveMaterialAssignment(one.get(), triangleOne);
    };
    const osg::MaterialPtr own = triangleOne->getMaterial();
    const auto outer = osg::MaterialGroup::create(), inner = osg::MaterialGroup::create();
    outer->setMaterial(osg::UPhongMaterial::create());
    inner->setMaterial(osg::UPhongMaterial::create());
    root->setCore(outer);
    group->setCore(inner);
    EXPECT_EQ(resolve(), own);
    triangleOne->setMaterial({});
    EXPECT_EQ(resolve(), inner->getMaterial());
    inner->setMaterial({});
    EXPECT_EQ(resolve(), outer->getMaterial());
    outer->setMaterial({});
    EXPECT_FALSE(resolve()) << "the caller's default";
}

TEST_F(MaterialAssignment, VerifiesMaterialsAndData)
{
    EXPECT_TRUE(scene.verifyObjectMaterial(one->getId()));
    EXPECT_TRUE(scene.verifyObjectData(one->getId()));
    EXPECT_FALSE(scene.verifyObjectMaterial(root->getId()));
    triangleOne->setMaterial({});
    EXPECT_FALSE(scene.verifyObjectMaterial(one->getId()));
    const osg::Ref<osg::NodeCore> keep(osg::NodeCorePtr(triangleOne.get()));
    one->setCore(makeTriangle());
    EXPECT_FALSE(scene.verifyObjectData(one->getId())) << "another core";
    scene.asksForRebuild = true;
    EXPECT_EQ(scene.updateObjectMaterialAssignment(group->getId()), 2u);
    EXPECT_EQ(scene.updateObjectMaterialAssignment(two->getId()), 1u);
}

} // namespace
