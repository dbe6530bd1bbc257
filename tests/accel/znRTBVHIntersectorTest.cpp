#include "accel/znRTBVHIntersector.h"
#include "core/znRTFloatControl.h"
#include "support/bruteForce.h"
#include "support/treeFixture.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {
const LeafData s_bothLeafData[] = {LeafData::indexed, LeafData::inLeafOrder};

/// The mesh with its triangles in the tree's order, as primitive numbers count them.
TestMesh inTreeOrder(const TestIntersector& object)
{
    TestMesh mesh = object.mesh;
    std::copy_n(object.triangles.data, mesh.triangles.size(), mesh.triangles.data());
    return mesh;
}

znRTHitInfoPacket traceLanes(const TestIntersector& object, const znRTRayPacket& ray, int mask,
                             float tMin = 0.0f, float tMax = 1e30f)
{
    znRTHitInfoPacket hit = untouchedHit(tMax);
    for (int lane = 0; lane < 4; ++lane)
        if ((mask >> lane) & 1)
            object.intersectNoTransform(ray, lane, tMin, tMax, hit);
    return hit;
}

znRTHitInfoPacket tracePacket(const TestIntersector& object, const znRTRayPacket& ray, int mask,
                              float tMin = 0.0f, float tMax = 1e30f)
{
    znRTHitInfoPacket hit = untouchedHit(tMax);
    object.intersectNoTransform(ray, tMin, tMax, hit, mask);
    return hit;
}

/// Lanes outside of the mask are as they were; inside both agree in distance bit for bit.
void expectSameDistances(const znRTHitInfoPacket& a, const znRTHitInfoPacket& b, int mask)
{
    ASSERT_EQ(a.hitMask, b.hitMask);
    ASSERT_EQ(a.hitMask & ~unsigned(mask), 0u);
    for (int lane = 0; lane < 4; ++lane) {
        ASSERT_EQ(a.t[lane], b.t[lane]);
        if (!((mask >> lane) & 1)) {
            ASSERT_EQ(a.primitive[lane], -7);
            ASSERT_EQ(a.u[lane], -7.0f);
        }
    }
}

struct Disagreements
{
    u64 rays = 0, hits = 0, wrong = 0, explained = 0;
};

/// Counts lanes whose hit differs from the oracle; those with a border within rounding are
/// explained.
void compare(const TestMesh& mesh, const znRTRayPacket& ray, const znRTHitInfoPacket& hit,
             int sides, Disagreements& sum)
{
    for (int lane = 0; lane < 4; ++lane) {
        const znRTVector3f o = ray.origin.getLane(lane), d = ray.direction.getLane(lane);
        const OracleHit expected = traceOracle(mesh, &o.x, &d.x, 0, 1e30, sides);
        const bool isHit = (hit.hitMask >> lane) & 1;
        ++sum.rays;
        sum.hits += isHit;
        if (isHit == expected.isHit() &&
            (!isHit || std::abs(hit.t[lane] - expected.t) < expected.tError))
            continue;
        ++(expected.margin < 1e-5 ? sum.explained : sum.wrong);
    }
}
} // namespace

TEST(GeometryWalk, FindsWhatALoopOverAllTrianglesFinds)
{
    const znRTFloatControl floatControl;
    for (const u32 n : {1u, 2u, 3u, 4u, 5u, 64u, 65u, 1000u}) {
        const TestMesh mesh = makeSoup(n, n < 10 ? 0.8f : 0.15f, n);
        for (const int sides : {1, 2, 3})
            for (const LeafData data : s_bothLeafData) {
                const TestIntersector object(mesh, sides, data);
                const TestMesh ordered = inTreeOrder(object);
                RayMaker rays(n + unsigned(sides));
                Disagreements sum;
                for (int i = 0; i < 600; ++i) {
                    const znRTRayPacket ray = i % 2 ? rays.incoherent() : rays.coherent();
                    compare(ordered, ray, tracePacket(object, ray, 15), sides, sum);
                }
                EXPECT_EQ(sum.wrong, 0u) << n << " triangles, sides " << sides;
                EXPECT_LE(sum.explained, 3u);
                EXPECT_GT(sum.hits, 50u);
            }
    }
}

TEST(GeometryWalk, FindsTheSameInLanesAndPackets)
{
    const znRTFloatControl floatControl;
    const TestMesh meshes[] = {makeSoup(2000, 0.1f, 1), makeSphere(30), makeGrid(20)};
    for (const TestMesh& mesh : meshes)
        for (const int sides : {1, 2, 3}) {
            const TestIntersector object(mesh, sides, LeafData::inLeafOrder);
            const TestIntersector indexed(mesh, sides, LeafData::indexed);
            RayMaker rays(5);
            for (int i = 0; i < 3000; ++i) {
                const znRTRayPacket ray = i % 2 ? rays.incoherent() : rays.coherent();
                const int mask = i % 16;
                const znRTHitInfoPacket lanes = traceLanes(object, ray, mask);
                expectSameDistances(tracePacket(object, ray, mask), lanes, mask);
                expectSameDistances(tracePacket(indexed, ray, mask), lanes, mask);
                expectSameDistances(traceLanes(indexed, ray, mask), lanes, mask);
            }
        }
}

TEST(GeometryWalk, WritesNothingForAnEmptyMask)
{
    const TestIntersector object(makeSphere(10), 3, LeafData::inLeafOrder);
    const znRTRayPacket ray = makeRays({0.0f, 0.0f, 3.0f}, znRTVector3fPacket(0.01f, 0.01f, -1.0f));
    znRTHitInfoPacket hit = untouchedHit();
    object.intersectNoTransform(ray, 0.0f, 1e30f, hit, 0);
    object.intersect(ray, 0.0f, 1e30f, hit, 0);
    object.intersectShadow(ray, 0.0f, 1e30f, hit, 0);
    object.intersectShadowNoTransform(ray, 0.0f, 1e30f, hit, 0);
    EXPECT_EQ(hit.hitMask, 0u);
    EXPECT_EQ(hit.t[0], 1e30f);
    EXPECT_EQ(hit.primitive[0], -7);
}

TEST(GeometryWalk, PassesEmptyTreesAndMissingLeaves)
{
    const znRTRayPacket ray = makeRays({0.0f, 0.0f, 3.0f}, {0.0f, 0.0f, -1.0f});
    const TestMesh nothing;
    const TestIntersector empty(nothing, 3, LeafData::inLeafOrder);
    EXPECT_FALSE(empty.isValid());
    EXPECT_EQ(tracePacket(empty, ray, 15).hitMask, 0u);
    EXPECT_EQ(traceLanes(empty, ray, 15).hitMask, 0u);
    const TestMesh sphere = makeSphere(8);
    TestIntersector leafless(sphere, 3, LeafData::inLeafOrder);
    leafless.setLeaf(nullptr);
    EXPECT_EQ(tracePacket(leafless, ray, 15).hitMask, 0u);
    EXPECT_EQ(traceLanes(leafless, ray, 15).hitMask, 0u);
}

// A ray inside a face plane of a box must not be culled by that axis, whatever the sign of its
// zero component. The cube's faces are the outer planes of the tree's boxes.
TEST(GeometryWalk, AcceptsDirectionsWithZeroAndTinyComponents)
{
    const znRTFloatControl floatControl;
    const TestMesh mesh = makeSoup(300, 0.2f, 8);
    for (const LeafData data : s_bothLeafData) {
        const TestIntersector object(mesh, 3, data);
        const TestMesh ordered = inTreeOrder(object);
        RayMaker rays(21);
        Disagreements sum;
        for (int i = 0; i < 2000; ++i) {
            znRTVector3fPacket direction = rays.point(-1.0f, 1.0f);
            const float small[] = {0.0f, -0.0f, 1e-20f, -1e-20f, 1e-30f, -1e-30f};
            const int axis = i % 3;
            for (int lane = 0; lane < 4; ++lane) {
                direction[axis].set(lane, small[(i / 3 + lane) % 6]);
                if (i & 1)
                    direction[(axis + 1) % 3].set(lane, small[(i / 5 + lane) % 6]);
            }
            const znRTRayPacket ray = makeRays(rays.point(0.2f, 0.8f), direction);
            const znRTHitInfoPacket hit = tracePacket(object, ray, 15);
            compare(ordered, ray, hit, 3, sum);
            expectSameDistances(hit, traceLanes(object, ray, 15), 15);
        }
        EXPECT_EQ(sum.wrong, 0u);
        EXPECT_GT(sum.hits, 1000u);
    }
}

TEST(GeometryWalk, KeepsRaysThatRunInAFaceOfABox)
{
    // Two walls that stand on the face planes x = 0 and x = 1 of everything's box; rays in those
    // planes meet the third wall at z = 1.
    TestMesh mesh;
    const auto addQuad = [&](const float(&p)[4][3]) {
        u32 v[4];
        for (int i = 0; i < 4; ++i)
            v[i] = mesh.addVertex(p[i][0], p[i][1], p[i][2]);
        mesh.addTriangle(v[0], v[1], v[2]);
        mesh.addTriangle(v[0], v[2], v[3]);
    };
    addQuad({{0, -1, 1}, {1, -1, 1}, {1, 2, 1}, {0, 2, 1}});
    addQuad({{-1, 0, 2}, {2, 0, 2}, {2, 1, 2}, {-1, 1, 2}});
    addQuad({{0, 0, -3}, {1, 0, -3}, {1, 1, -3}, {0, 1, -3}});
    for (const LeafData data : s_bothLeafData) {
        const TestIntersector object(mesh, 3, data);
        for (const float x : {0.0f, 1.0f, 0.5f})
            for (const float y : {0.25f, 0.75f})
                for (const float zero : {0.0f, -0.0f}) {
                    const znRTRayPacket ray =
                        makeRays({x, y, 0.0f}, znRTVector3fPacket(zero, zero, 1.0f));
                    // On the border of the near wall either wall may be the first.
                    const float farthest = x == 0.5f ? 1.0f : 2.0f;
                    const znRTHitInfoPacket lanes = traceLanes(object, ray, 15),
                                            packet = tracePacket(object, ray, 15);
                    EXPECT_EQ(packet.hitMask, 15u);
                    EXPECT_LE(packet.t[1], farthest + 1e-5f);
                    expectSameDistances(packet, lanes, 15);
                }
    }
}

TEST(GeometryWalk, ShadowsStopAtOpaqueSurfaces)
{
    const znRTFloatControl floatControl;
    const TestMesh mesh = makeSoup(2000, 0.1f, 4);
    for (const LeafData data : s_bothLeafData) {
        TestIntersector object(mesh, 3, data);
        RayMaker rays(31);
        u64 hits = 0;
        for (int i = 0; i < 3000; ++i) {
            const znRTRayPacket ray = i % 2 ? rays.incoherent() : rays.coherent();
            const float tMax = 0.6f;
            const int mask = i % 16;
            const znRTHitInfoPacket nearest = tracePacket(object, ray, mask, 0.0f, tMax);
            for (const bool isTransparent : {false, true}) {
                object.setTransparent(isTransparent);
                znRTHitInfoPacket packet = untouchedHit(tMax), lanes = untouchedHit(tMax);
                object.intersectShadowNoTransform(ray, 0.0f, tMax, packet, mask);
                for (int lane = 0; lane < 4; ++lane)
                    if ((mask >> lane) & 1)
                        object.intersectShadowNoTransform(ray, lane, 0.0f, tMax, lanes);
                ASSERT_EQ(packet.hitMask, nearest.hitMask);
                ASSERT_EQ(packet.hitFlags, isTransparent ? nearest.hitMask : 0u);
                expectSameDistances(packet, lanes, mask);
                for (int lane = 0; lane < 4; ++lane)
                    if ((nearest.hitMask >> lane) & 1) {
                        ++hits;
                        ASSERT_EQ(packet.t[lane], isTransparent ? nearest.t[lane] : 0.0f);
                    }
            }
            object.setTransparent(false);
        }
        EXPECT_GT(hits, 1000u);
    }
}

// Moving tMin behind each transparent hit meets every sheet once, in order.
TEST(GeometryWalk, CountsTransparentSheets)
{
    TestMesh mesh;
    for (int sheet = 0; sheet < 9; ++sheet) {
        const float z = float(sheet);
        const u32 a = mesh.addVertex(-5, -5, z), b = mesh.addVertex(9, -5, z),
                  c = mesh.addVertex(-5, 9, z);
        mesh.addTriangle(a, b, c);
    }
    TestIntersector object(mesh, 3, LeafData::inLeafOrder);
    object.setTransparent(true);
    const znRTRayPacket ray = makeRays({0.0f, 0.0f, -1.0f}, {0.01f, 0.02f, 1.0f});
    float tMin = 0.0f;
    for (int sheet = 0; sheet < 9; ++sheet) {
        znRTHitInfoPacket hit = untouchedHit();
        object.intersectShadowNoTransform(ray, tMin, 1e30f, hit, 15);
        ASSERT_EQ(hit.hitFlags, 15u);
        EXPECT_NEAR(hit.t[3], float(sheet + 1), 1e-5f);
        tMin = hit.t[3];
    }
    znRTHitInfoPacket hit = untouchedHit();
    object.intersectShadowNoTransform(ray, tMin, 1e30f, hit, 15);
    EXPECT_EQ(hit.hitMask, 0u);
}

TEST(GeometryWalk, LeaksNothingThroughClosedMeshes)
{
    const znRTFloatControl floatControl;
    for (const u32 rings : {10u, 100u}) {
        const TestMesh mesh = makeSphere(rings);
        const TestIntersector object(mesh, 3, LeafData::inLeafOrder);
        RayMaker rays(3);
        u64 leaks = 0;
        const u64 packets = 100000;
        for (u64 i = 0; i < packets; ++i) {
            const znRTVector3fPacket from = rays.point(-0.3f, 0.3f);
            const znRTRayPacket ray = makeRays(from, rays.point(-1.0f, 1.0f));
            const unsigned hits = tracePacket(object, ray, 15).hitMask;
            leaks += u64(4 - std::popcount(hits));
        }
        EXPECT_LE(double(leaks) / double(4 * packets), 1e-5);
    }
}

namespace {
/// A bundle that looks from one point at a square of directions.
struct TestBundle
{
    TestBundle(RayMaker& rays, unsigned count, float spread, bool holes)
    {
        const znRTVector3f from = rays.point(-2.0f, 3.0f).getLane(0),
                           at = rays.point(0.2f, 0.8f).getLane(0);
        bundle.count = hits.count = count;
        bundle.coherent = 1;
        for (unsigned i = 0; i < count; ++i) {
            znRTVector3fPacket target(at);
            for (int lane = 0; lane < 4; ++lane) {
                const float x = float(2 * (i % 8) + unsigned(lane & 1)) / 16.0f - 0.5f;
                const float y = float(2 * (i / 8) + unsigned(lane >> 1)) / 16.0f - 0.5f;
                target.setLane(lane, {at.x + spread * x, at.y + spread * y, at.z});
            }
            const znRTVector3fPacket origin(from);
            static_cast<znRTRayPacket&>(bundle.rays[i]) = makeRays(origin, target - origin);
            tMin[i] = 0.0f;
            masks[i] = holes ? int(rays.random() % 16) : 15;
            if (holes && rays.random() % 3 == 0)
                masks[i] = 0;
        }
        reset();
    }
    void reset(float tMax = 1e30f)
    {
        for (unsigned i = 0; i < bundle.count; ++i) {
            hits.hits[i] = untouchedHit(tMax);
            this->tMax[i] = tMax;
        }
    }

    znRTRayPacketBundle bundle;
    znRTHitInfoPacketBundle hits;
    znFloatType<2> tMin[64], tMax[64];
    int masks[64];
};
} // namespace

TEST(GeometryWalk, FindsTheSameInBundlesAndPackets)
{
    const znRTFloatControl floatControl;
    const TestMesh meshes[] = {makeSoup(3000, 0.05f, 1), makeSphere(40), makeSoup(2, 0.5f, 1)};
    u64 hits = 0;
    for (const TestMesh& mesh : meshes)
        for (const int sides : {1, 2, 3})
            for (const LeafData data : s_bothLeafData) {
                TestIntersector object(mesh, sides, data);
                RayMaker rays(17u * unsigned(sides));
                for (int i = 0; i < 300; ++i) {
                    const unsigned counts[] = {64, 4, 1, 37, 16};
                    const float spreads[] = {0.02f, 0.3f, 1.5f, 6.0f};
                    const auto set = std::make_unique<TestBundle>(rays, counts[i % 5],
                                                                  spreads[i % 4], i % 3 == 0);
                    const unsigned first = i % 7 == 0 ? set->bundle.count / 2 : 0;
                    if (i % 4 == 0)
                        set->reset(2.0f); // cuts some of the hits off
                    const float tMax = i % 4 == 0 ? 2.0f : 1e30f;
                    object.intersectNoTransform(set->bundle, set->tMin, set->tMax, set->hits,
                                                set->masks, first);
                    for (unsigned k = 0; k < set->bundle.count; ++k) {
                        const int mask = k < first ? 0 : set->masks[k];
                        const znRTHitInfoPacket expected =
                            tracePacket(object, set->bundle.rays[k], mask, 0.0f, tMax);
                        expectSameDistances(set->hits.hits[k], expected, mask);
                        if (testing::Test::HasFatalFailure())
                            return;
                        hits += u64(std::popcount(expected.hitMask));
                    }
                }
            }
    EXPECT_GT(hits, 50000u);
}

TEST(GeometryWalk, FallsBackForBundlesWithoutCommonOrigin)
{
    const znRTFloatControl floatControl;
    const TestMesh mesh = makeSoup(1000, 0.1f, 1);
    const TestIntersector object(mesh, 3, LeafData::inLeafOrder);
    RayMaker rays(9);
    for (int i = 0; i < 50; ++i) {
        const auto set = std::make_unique<TestBundle>(rays, 64, 0.5f, false);
        for (unsigned k = 0; k < 64; ++k)
            static_cast<znRTRayPacket&>(set->bundle.rays[k]) =
                k % 2 ? rays.incoherent() : rays.coherent();
        object.intersectNoTransform(set->bundle, set->tMin, set->tMax, set->hits, set->masks, 0);
        for (unsigned k = 0; k < 64; ++k)
            expectSameDistances(set->hits.hits[k], tracePacket(object, set->bundle.rays[k], 15),
                                15);
    }
}
