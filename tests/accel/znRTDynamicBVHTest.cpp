#include "accel/znRTDynamicBVH.h"
#include "camera/znRTClippingShape.h"
#include "core/znRTFloatControl.h"
#include "core/znRTRayFilter.h"
#include "host/osg/ClipPlane.h"
#include "host/osg/nodeCores.h"
#include "support/meshScene.h"
#include "support/treeFixture.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {
osg::Matrix makeMatrix(float angle, const float (&scale)[3], const float (&shift)[3])
{
    osg::Matrix m;
    const float c = std::cos(angle), s = std::sin(angle);
    const float rotation[3][3] = {{c, 0, -s}, {0, 1, 0}, {s, 0, c}};
    for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row)
            m[column][row] = rotation[column][row] * scale[column];
    for (int row = 0; row < 3; ++row)
        m[3][row] = shift[row];
    return m;
}

/// A scene of scattered instances of two meshes, some of them mirrored or squeezed.
void fill(MeshScene& scene, u32 count)
{
    const GeometryRef meshes[] = {makeRandomMesh(200, 1), makeRandomMesh(30, 2)};
    std::mt19937 random(5);
    std::uniform_real_distribution<float> place(-8.0f, 8.0f);
    for (u32 i = 0; i < count; ++i) {
        const float mirror = i % 5 == 0 ? -1.0f : 1.0f;
        scene.add(meshes[i % 2].get(),
                  makeMatrix(float(i), {mirror, i % 3 == 0 ? 0.3f : 1.0f, 1.5f},
                             {place(random), place(random), place(random)}));
    }
    scene.add(meshes[0].get()); // without a transform
    scene.build();
}

znRTRayPacket makeRay(RayMaker& rays, bool isCoherent)
{
    if (!isCoherent) {
        const znRTVector3fPacket from = rays.point(-10.0f, 10.0f);
        return makeRays(from, rays.point(-8.0f, 8.0f) - from);
    }
    const znRTVector3fPacket from(rays.point(-12.0f, 12.0f).getLane(0));
    const znRTVector3fPacket at(rays.point(-6.0f, 6.0f).getLane(0));
    return makeRays(from, at + rays.point(-0.05f, 0.05f) - from);
}

/// All objects one after the other: what a walk through the tree has to find.
znRTHitInfoPacket traceEach(const MeshScene& scene, const znRTRayPacket& ray, int mask)
{
    znRTHitInfoPacket hit = untouchedHit();
    for (const znRTGeometryNode* node : scene.scene->getSceneNodes())
        node->getCurrentIntersector()->intersect(ray, 0.0f, 1e30f, hit, mask);
    return hit;
}

void expectSame(const znRTHitInfoPacket& a, const znRTHitInfoPacket& b)
{
    ASSERT_EQ(a.hitMask, b.hitMask);
    for (int lane = 0; lane < 4; ++lane)
        ASSERT_EQ(a.t[lane], b.t[lane]);
}

class PlaneShape : public znRTClippingShape
{
public:
    static inline const znRTTypeId s_type{"PlaneShape"};

    PlaneShape(const znRTVector3f& n, float offset)
        : znRTClippingShape(s_type), normal(n), d(offset)
    {
    }
    void update() override {}
    void updateTransform() override {}
    void clipRay(const znRTVector3f&, const znRTVector3f&, float t0, float t1, float& t0Out,
                 float& t1Out) const override
    {
        t0Out = t0;
        t1Out = t1;
    }
    /// Keeps where dot(p, normal) + d is above 0.
    void clipPacket(const znRTVector3fPacket& origin, const znRTVector3fPacket& direction,
                    const znFloatType<2>& t0, const znFloatType<2>& t1, znFloatType<2>& t0Out,
                    znFloatType<2>& t1Out) const override
    {
        for (int lane = 0; lane < 4; ++lane) {
            const znRTVector3f o = origin.getLane(lane), v = direction.getLane(lane);
            const float dn = v.x * normal.x + v.y * normal.y + v.z * normal.z;
            const float on = o.x * normal.x + o.y * normal.y + o.z * normal.z + d;
            const float t = dn != 0 ? -on / dn : 0;
            const float near = t0[lane], far = t1[lane];
            t0Out.set(lane, dn < 0 ? near : std::max(near, t));
            t1Out.set(lane, dn < 0 ? std::min(far, t) : far);
        }
    }

private:
    znRTVector3f normal;
    float d;
};

/// Sheets at z = 0, 1 and 2, of which some stand below a clip plane.
class ClippedScene : public MeshScene
{
public:
    struct Accelerator : znRTDynamicBVH
    {
        void enter(u32 nodeId, znRTClippingShape* shape) { clippingShapesByNode[nodeId] = shape; }
        void leave() { clippingShapesByNode.clear(); }
    };

    ClippedScene() { scene.reset(new Accelerator); }
    ~ClippedScene() { accelerator().leave(); }
    Accelerator& accelerator() { return static_cast<Accelerator&>(*scene); }

    osg::NodePtr addSheet(float z, const std::vector<znRTClippingShape*>& shapes)
    {
        const GeometryRef geometry =
            makeMesh({{-5, -5, z}, {5, -5, z}, {5, 5, z}, {-5, 5, z}}, {0, 1, 2, 0, 2, 3});
        osg::NodePtr parent = root.get();
        for (znRTClippingShape* shape : shapes) {
            const auto plane = osg::ClipPlane::create();
            plane->setOn(true);
            const osg::NodePtr node = osg::Node::create(plane);
            parent->addChild(node);
            accelerator().enter(node->getId(), shape);
            parent = node;
        }
        const osg::NodePtr node = osg::Node::create(geometry.get());
        parent->addChild(node);
        scene->addGeometryNode(node, geometry.get());
        return node;
    }
    znRTHitInfoPacket traceClipped(const znRTRayPacket& ray, int mask, bool isShadow = false)
    {
        znRTHitInfoPacket hit = untouchedHit();
        if (isShadow)
            scene->intersectShadow(ray, 0.0f, 1e30f, hit, mask, true);
        else
            scene->intersect(ray, 0.0f, 1e30f, hit, mask, true);
        return hit;
    }
};

class OddLanes : public znRTRayFilter
{
public:
    int filter(const znRTIntersector* const, int mask) const override { return mask & 10; }
    bool filterSingle(const znRTIntersector* const, int lane) const override { return lane & 1; }
};

/// A bundle that looks at a square about the middle of the scene.
std::unique_ptr<znRTRayPacketBundle> makeBundle(RayMaker& rays, unsigned count, float spread)
{
    auto bundle = std::make_unique<znRTRayPacketBundle>();
    const znRTVector3f from = rays.point(-12.0f, 12.0f).getLane(0);
    const znRTVector3f at = rays.point(-5.0f, 5.0f).getLane(0);
    const znRTVector3fPacket origin(from);
    bundle->count = count;
    const auto target = [&](float x, float y) {
        return znRTVector3f{at.x + spread * (x - 0.5f), at.y + spread * (y - 0.5f), at.z};
    };
    for (unsigned i = 0; i < count; ++i) {
        znRTVector3fPacket at4(at);
        for (int lane = 0; lane < 4; ++lane)
            at4.setLane(lane, target(float(2 * (i % 8) + unsigned(lane & 1)) / 15.0f,
                                     float(2 * (i / 8) + unsigned(lane >> 1)) / 15.0f));
        static_cast<znRTRayPacket&>(bundle->rays[i]) = makeRays(origin, at4 - origin);
    }
    const znRTVector3fPacket corners(target(0, 0), target(1, 0), target(0, 1), target(1, 1));
    static_cast<znRTRayPacket&>(bundle->getRepresentative()) = makeRays(origin, corners - origin);
    bundle->coherent = bundle->getRepresentative().isValid();
    return bundle;
}
} // namespace

TEST(SceneWalk, FindsWhatAskingEachObjectFinds)
{
    const znRTFloatControl floatControl;
    for (const u32 count : {1u, 2u, 64u, 300u}) {
        MeshScene scene;
        fill(scene, count);
        ASSERT_TRUE(scene.scene->isValid());
        RayMaker rays(count);
        u64 hits = 0;
        for (int i = 0; i < 1500; ++i) {
            const znRTRayPacket ray = makeRay(rays, i % 2);
            const int mask = i % 16;
            znRTHitInfoPacket hit = untouchedHit();
            scene.scene->intersect(ray, 0.0f, 1e30f, hit, mask, false);
            expectSame(hit, traceEach(scene, ray, mask));
            hits += u64(std::popcount(hit.hitMask));
            znRTHitInfoPacket lanes = untouchedHit();
            for (int lane = 0; lane < 4; ++lane)
                scene.scene->intersect(ray, 0.0f, 1e30f, lanes, mask & (1 << lane), false);
            expectSame(hit, lanes);
        }
        EXPECT_GT(hits, 30u);
    }
}

TEST(SceneWalk, FindsTheSameInBundles)
{
    const znRTFloatControl floatControl;
    MeshScene scene;
    fill(scene, 200);
    RayMaker rays(77);
    u64 hits = 0, bundles = 0;
    for (int i = 0; i < 400; ++i) {
        const unsigned counts[] = {64, 4, 37, 16};
        const auto bundle = makeBundle(rays, counts[i % 4], i % 3 ? 0.3f : 5.0f);
        if (!bundle->coherent)
            continue;
        ++bundles;
        auto found = std::make_unique<znRTHitInfoPacketBundle>();
        znFloatType<2> tMin[64], tMax[64];
        int masks[64];
        found->count = bundle->count;
        for (unsigned k = 0; k < bundle->count; ++k) {
            tMin[k] = 0.0f;
            tMax[k] = 1e30f;
            masks[k] = i % 5 == 0 ? int(rays.random() % 16) : 15;
            found->hits[k] = untouchedHit();
        }
        scene.scene->intersectCO(*bundle, tMin, tMax, *found, masks, false);
        for (unsigned k = 0; k < bundle->count; ++k) {
            znRTHitInfoPacket expected = untouchedHit();
            scene.scene->intersect(bundle->rays[k], 0.0f, 1e30f, expected, masks[k], false);
            expectSame(found->hits[k], expected);
            hits += u64(std::popcount(expected.hitMask));
        }
    }
    EXPECT_GT(bundles, 100u);
    EXPECT_GT(hits, 5000u);
}

TEST(SceneWalk, WritesNothingForAnEmptyMask)
{
    MeshScene scene;
    fill(scene, 10);
    const znRTRayPacket ray = makeRays({0.0f, 0.0f, 20.0f}, {0.0f, 0.0f, -1.0f});
    znRTHitInfoPacket hit = untouchedHit();
    scene.scene->intersect(ray, 0.0f, 1e30f, hit, 0, false);
    scene.scene->intersectShadow(ray, 0.0f, 1e30f, hit, 0, true);
    scene.scene->intersectSelection(ray, 0.0f, 1e30f, hit, 15, false); // nothing is selected
    for (const unsigned tree : {1u, 2u, 3u, 4u, 99u})
        scene.scene->intersectHierarchy(ray, 0.0f, 1e30f, hit, 15, false, tree);
    EXPECT_EQ(hit.hitMask, 0u);
    EXPECT_EQ(hit.t[0], 1e30f);
    EXPECT_EQ(hit.primitive[0], -7);
}

TEST(SceneWalk, AsksTheFilterOfTheRays)
{
    MeshScene scene;
    const GeometryRef square = makeSquare();
    scene.add(square.get());
    scene.build();
    const OddLanes filter;
    znRTRayPacket ray = downward(0.25f, 0.125f);
    ray.auxiliary = &filter;
    EXPECT_EQ(scene.trace(ray).hitMask, 10u);
    EXPECT_EQ(scene.trace(ray, 1).hitMask, 0u);
    EXPECT_EQ(scene.trace(ray, 2).hitMask, 2u);
    ray.auxiliary = nullptr;
    EXPECT_EQ(scene.trace(ray).hitMask, 15u);
    ray.type = znIntType<2>(0, ray.type[1], 0, ray.type[3]);
    EXPECT_EQ(scene.trace(ray).hitMask, 10u) << "a ray without class bits sees nothing";
}

TEST(SceneWalk, EndsShadowsAtOpaqueObjectsInAllLanes)
{
    const znRTFloatControl floatControl;
    MeshScene scene;
    fill(scene, 100);
    RayMaker rays(3);
    for (int i = 0; i < 1000; ++i) {
        const znRTRayPacket ray = makeRay(rays, i % 2);
        const int mask = i % 16;
        znRTHitInfoPacket shadow = untouchedHit();
        scene.scene->intersectShadow(ray, 0.0f, 1e30f, shadow, mask, false);
        const znRTHitInfoPacket nearest = traceEach(scene, ray, mask);
        ASSERT_EQ(shadow.hitMask, nearest.hitMask);
        for (int lane = 0; lane < 4; ++lane)
            ASSERT_EQ(shadow.t[lane], (nearest.hitMask >> lane) & 1 ? 0.0f : 1e30f);
    }
}

// The plane keeps x above 0.5 of the upper sheet: elsewhere rays reach the sheet below it, whose
// hit must not be disturbed by the clipped one in front.
TEST(SceneWalk, ClipsOnlyTheObjectsBelowAClipPlane)
{
    PlaneShape right({1, 0, 0}, -0.5f), up({0, 1, 0}, -0.5f);
    ClippedScene scene;
    scene.addSheet(1.0f, {&right});
    scene.addSheet(0.0f, {});
    scene.addSheet(2.0f, {&right, &up});
    scene.build();
    // A little slanted: a ray parallel to a plane is not clipped by it.
    const znRTRayPacket ray = makeRays(
        {znFloatType<2>(0.1f, 1.2f, 1.3f, 0.2f), znFloatType<2>(0.05f, 0.1f, 1.1f, 1.4f), 5.0f},
        {0.01f, 0.007f, -1.0f});
    for (const int mask : {15, 1, 2, 4, 8, 6}) {
        const znRTHitInfoPacket hit = scene.traceClipped(ray, mask);
        EXPECT_EQ(hit.hitMask, unsigned(mask));
        const float expected[4] = {5, 4, 3, 5};
        for (int lane = 0; lane < 4; ++lane)
            if ((mask >> lane) & 1) {
                EXPECT_NEAR(hit.t[lane], expected[lane], 1e-5f) << "lane " << lane;
            }
    }
    znRTHitInfoPacket unclipped = untouchedHit();
    scene.scene->intersect(ray, 0.0f, 1e30f, unclipped, 15, false);
    EXPECT_NEAR(unclipped.t[0], 3.0f, 1e-5f);
    // Rays that nothing is left for keep their far end.
    znRTHitInfoPacket beyond = untouchedHit(2.5f);
    scene.scene->intersect(ray, 0.0f, 2.5f, beyond, 15, true);
    EXPECT_EQ(beyond.hitMask, 0u);
    EXPECT_EQ(beyond.t[2], 2.5f);
}

TEST(SceneWalk, ClipsBundlesAndShadowsAsPackets)
{
    PlaneShape right({1, 0, 0}, -0.01f), left({-1, 0, 0}, 0.3f);
    ClippedScene scene;
    scene.addSheet(1.0f, {&right});
    scene.addSheet(0.0f, {&left});
    scene.addSheet(-1.0f, {});
    scene.build();
    RayMaker rays(5);
    for (int i = 0; i < 100; ++i) {
        const auto bundle = makeBundle(rays, 64, 1.0f);
        if (!bundle->coherent)
            continue;
        auto found = std::make_unique<znRTHitInfoPacketBundle>();
        znFloatType<2> tMin[64], tMax[64];
        int masks[64];
        for (unsigned k = 0; k < 64; ++k) {
            tMin[k] = 0.0f;
            tMax[k] = 1e30f;
            masks[k] = 15;
            found->hits[k] = untouchedHit();
        }
        scene.scene->intersectCO(*bundle, tMin, tMax, *found, masks, true);
        for (unsigned k = 0; k < 64; ++k) {
            const znRTHitInfoPacket packet = scene.traceClipped(bundle->rays[k], 15);
            expectSame(found->hits[k], packet);
            const znRTHitInfoPacket shadow = scene.traceClipped(bundle->rays[k], 15, true);
            ASSERT_EQ(shadow.hitMask, packet.hitMask);
        }
    }
}

TEST(SceneWalk, IsNotValidWithoutObjects)
{
    MeshScene scene;
    EXPECT_FALSE(scene.scene->isValid());
    float unused = 0;
    EXPECT_FALSE(scene.scene->optimize(&unused));
    fill(scene, 3);
    EXPECT_TRUE(scene.scene->optimize(&unused));
    scene.scene->clear();
    EXPECT_FALSE(scene.scene->isValid());
    EXPECT_EQ(scene.trace(downward(0.0f, 0.0f)).hitMask, 0u);
}
