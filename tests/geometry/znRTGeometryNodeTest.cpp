#include "geometry/znRTGeometryNode.h"

#include "core/rayTypes.h"
#include "host/osg/ClipPlane.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "material/znRTMaterial.h"
#include "support/meshScene.h"

#include <gtest/gtest.h>

namespace {

/// A scene with one square that has a geometry attachment.
class GeometryNode : public testing::Test
{
protected:
    void SetUp() override
    {
        geometry = makeSquare();
        node = scene.add(geometry.get());
        attachment = osg::RaytracingGeoAttachment::create();
        node->addAttachment(attachment.get());
        scene.build();
    }
    void TearDown() override { znRTGeometryNodeBase::s_backplatePresent = false; }

    u32 flags()
    {
        scene.mesh(node).updateVisibilityFlags();
        return scene.mesh(node).getVisibilityFlags();
    }

    MeshScene scene;
    GeometryRef geometry;
    osg::NodePtr node;
    osg::Ref<osg::RaytracingGeoAttachment> attachment;
};

} // namespace

TEST_F(GeometryNode, IsSeenByAllClassesThatTheMaterialLetsThrough)
{
    EXPECT_EQ(flags(), rayType::defaultVisibility);
}

TEST_F(GeometryNode, LosesTheBitsOfEachSwitch)
{
    using A = osg::RaytracingGeoAttachment;
    const auto expectWithout = [&](auto set, u32 bits) {
        set(false);
        EXPECT_EQ(flags(), rayType::defaultVisibility & ~bits);
        set(true);
        EXPECT_EQ(flags(), rayType::defaultVisibility);
    };
    A& a = *attachment;
    expectWithout([&](bool on) { a.setPrimaryVisibility(on); }, 0x0030000Fu);
    expectWithout([&](bool on) { a.setVisibleInReflections(on); }, 0x033C03F3u);
    expectWithout([&](bool on) { a.setVisibleInRefractions(on); }, 0x00303C03u);
    expectWithout([&](bool on) { a.setCastShadows(on); }, 0x0FF0C003u);
    expectWithout([&](bool on) { a.setCastShadowsOnShadowMaterial(on); }, 0x0C000000u);
    expectWithout([&](bool on) { a.setVisibleInGlossyReflections(on); }, 0x00000CF0u);
    expectWithout([&](bool on) { a.setVisibleInPhotons(on); }, 0xF0000000u);
}

TEST_F(GeometryNode, IsHiddenFromRaysWhoseClassItLost)
{
    attachment->setPrimaryVisibility(false);
    flags();
    znRTRayDifferentialPacket rays = downward(0.5f, 0.2f);
    EXPECT_EQ(scene.trace(rays).hitMask, 0u);
    rays.type = znIntType<2>(int(rayType::mirrorReflection));
    EXPECT_EQ(scene.trace(rays).hitMask, 15u);
}

TEST_F(GeometryNode, HasNoFlagsWhileAllIsHidden)
{
    znRTGeometryNode::s_hideAll = true;
    EXPECT_EQ(flags(), 0u);
    znRTGeometryNode::s_hideAll = false;
    EXPECT_EQ(flags(), rayType::defaultVisibility);
}

TEST_F(GeometryNode, ComesAndGoesWithItsVisibility)
{
    node->setHidden(true);
    EXPECT_FALSE(scene.mesh(node).updateVisibility());
    EXPECT_EQ(scene.mesh(node).getVisibilityFlags(), 0u);
    EXPECT_EQ(scene.trace(downward(0.5f, 0.2f)).hitMask, 0u);
    node->setHidden(false);
    EXPECT_TRUE(scene.mesh(node).updateVisibility());
    EXPECT_EQ(scene.trace(downward(0.5f, 0.2f)).hitMask, 15u);
}

TEST_F(GeometryNode, ShowsItsRoleToAProjector)
{
    znRTMesh& mesh = scene.mesh(node);
    mesh.setPBARVisibility(false, true, false);
    EXPECT_EQ(mesh.getVisibilityFlags(), 0xC0000000u);
    mesh.setPBARVisibility(true, false, false);
    EXPECT_EQ(mesh.getVisibilityFlags(), 0x3FCFFFFCu);
    attachment->setCastShadows(false);
    attachment->setVisibleInPhotons(false);
    attachment->setDoubleSided(false);
    mesh.setPBARVisibility(true, false, false);
    EXPECT_EQ(mesh.getVisibilityFlags(), 0x3FCFFFFCu & ~0x0FF0C003u & ~0xF0000000u);
    EXPECT_EQ(scene.intersector(node).getLeaf()->getSideness(), 1);
    mesh.setPBARVisibility(false, false, false);
    EXPECT_EQ(mesh.getVisibilityFlags(), 0u);
}

TEST_F(GeometryNode, TakesItsValuesFromTheAttachment)
{
    attachment->setRoundedEdgeRadius(0.25f);
    attachment->setPhotonTarget(true);
    attachment->setNoClipping(true);
    attachment->setAmbientOcclusionColor(osg::Vec3f(0.1f, 0.2f, 0.3f));
    flags();
    const znRTMesh& mesh = scene.mesh(node);
    EXPECT_EQ(mesh.getRoundedEdgeRadius(), 0.25f);
    EXPECT_TRUE(mesh.isPhotonTarget());
    EXPECT_FALSE(mesh.isClipped());
    EXPECT_EQ(mesh.getAmbientOcclusionColor(), znRTVector3f(0.1f, 0.2f, 0.3f));
    attachment->setNoClipping(false);
    flags();
    EXPECT_TRUE(mesh.isClipped());
}

// Points of the object, taken through the matrix in double, lie inside the box.
TEST(GeometryNodeVolume, ContainsWhatTheMatrixMakesOfTheObject)
{
    MeshScene scene;
    const GeometryRef geometry = makeRandomMesh(500, 5);
    osg::Matrix m;
    m.setTransform({10, -3, 5}, {0.5f, 0.5f, 0.5f, 0.5f}, {1, -2, 0.3f});
    m[1][0] += 0.7f; // shear
    const osg::NodePtr node = scene.add(geometry.get(), m);
    scene.build();
    const znRTBoundingBox& box = scene.mesh(node).getWorldVolume();
    const osg::Matrix4d exact(m);
    const osg::GeoProperty& positions = *geometry->getPositions();
    std::mt19937 engine(1);
    std::uniform_real_distribution<float> weight(0.0f, 1.0f);
    for (int i = 0; i < 100000; ++i) {
        const u32 t = engine() % 500;
        const float a = weight(engine), b = weight(engine) * (1 - a);
        const osg::Vec3f p = positions.getVec3(3 * t) * a + positions.getVec3(3 * t + 1) * b +
                             positions.getVec3(3 * t + 2) * (1 - a - b);
        const auto w = exact.multMatrixPnt({p[0], p[1], p[2]});
        for (int axis = 0; axis < 3; ++axis) {
            ASSERT_GE(w[axis], box.low(axis) - 1e-5);
            ASSERT_LE(w[axis], box.high(axis) + 1e-5);
        }
    }
}

namespace {

class ClippedScene : public znRTDynamicBVH
{
public:
    /// Enters a shape that is only compared, never looked into.
    znRTClippingShape* enter(u32 nodeId)
    {
        return clippingShapesByNode[nodeId] =
                   reinterpret_cast<znRTClippingShape*>(std::uintptr_t(nodeId) << 8);
    }
};

} // namespace

TEST(GeometryNodeClipping, CollectsTheShapesOfAllAncestorsThatAreOn)
{
    ClippedScene scene;
    const auto nodeOf = [](const osg::NodeCorePtr& core) {
        return osg::Ref<osg::Node>(osg::Node::create(core));
    };
    const osg::Ref<osg::ClipPlane> outerPlane = osg::ClipPlane::create();
    const osg::Ref<osg::ClipPlane> innerPlane = osg::ClipPlane::create();
    const auto outer = nodeOf(outerPlane.get()), between = nodeOf(nullptr),
               inner = nodeOf(innerPlane.get());
    const GeometryRef geometry = makeSquare();
    const auto leaf = nodeOf(geometry.get());
    outer->addChild(between);
    between->addChild(inner);
    inner->addChild(leaf);
    znRTClippingShape* const outerShape = scene.enter(outer->getId());
    znRTClippingShape* const innerShape = scene.enter(inner->getId());
    scene.addGeometryNode(leaf, geometry.get());
    znRTGeometryNode& object = *scene.getObject(leaf->getId());
    ASSERT_EQ(object.getClippingShapes().size, 2u);
    EXPECT_EQ(object.getClippingShapes()[0], innerShape);
    EXPECT_EQ(object.getClippingShapes()[1], outerShape);
    innerPlane->setOn(false);
    object.updateConnectedList(scene);
    ASSERT_EQ(object.getClippingShapes().size, 1u);
    EXPECT_EQ(object.getClippingShapes()[0], outerShape);
}
