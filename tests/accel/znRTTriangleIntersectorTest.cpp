#include "accel/znRTTriangleIntersector.h"
#include "support/bruteForce.h"
#include "support/lanes.h"
#include "support/treeFixture.h"

namespace {
const znFloatType<2> s_start(0.0f);

/// One triangle in the plane z = 0, counter-clockwise seen from +z.
TestMesh rightAngle()
{
    TestMesh mesh;
    mesh.addVertex(0, 0, 0);
    mesh.addVertex(1, 0, 0);
    mesh.addVertex(0, 1, 0);
    mesh.addTriangle(0, 1, 2);
    return mesh;
}

struct Leaf
{
    explicit Leaf(const TestMesh& mesh)
    {
        triangles.reserve(mesh.triangles.size() + 4, true);
        for (u64 i = 0; i < triangles.size; ++i)
            triangles[i] = i < mesh.triangles.size() ? mesh.triangles[i] : znRTTriangle{0, 0, 0};
        positions = mesh.positions;
    }
    std::unique_ptr<znRTTriangleIntersector> make(int sides) const
    {
        if (sides == 1)
            return std::make_unique<znRTSingleSidedTriangleIntersector<1>>(positions.data(),
                                                                           triangles, 5);
        if (sides == 2)
            return std::make_unique<znRTSingleSidedTriangleIntersector<0>>(positions.data(),
                                                                           triangles, 5);
        return std::make_unique<znRTDoubleSidedTriangleIntersector>(positions.data(), triangles, 5);
    }

    znDynArray<znRTTriangle> triangles;
    std::vector<float> positions;
};

znRTRayPacket along(float x, float y, float fromZ, float dz)
{
    return makeRays({x, y, fromZ}, {0.0f, 0.0f, dz});
}
} // namespace

TEST(TriangleLeaf, ReportsItsSide)
{
    const Leaf leaf(rightAngle());
    for (const int sides : {1, 2, 3})
        EXPECT_EQ(leaf.make(sides)->getSideness(), sides);
}

// Seen from +z, against the stored winding's front; u is the weight of the second vertex and v of
// the third, whatever side is asked for. Distances count in lengths of the direction.
TEST(TriangleLeaf, HitsOnlyTheSideAskedFor)
{
    const Leaf leaf(rightAngle());
    for (const int sides : {1, 2, 3})
        for (const float from : {2.0f, -2.0f})
            for (const float length : {0.1f, 1.0f, 10.0f}) {
                const znRTRayPacket ray = along(0.25f, 0.125f, from, -std::copysign(length, from));
                znRTHitInfoPacket hit = untouchedHit();
                leaf.make(sides)->intersect(ray, hit, s_start, 15, 0, 1);
                const bool isFront = from > 0;
                if (!(sides & (isFront ? 1 : 2))) {
                    EXPECT_EQ(hit.hitMask, 0u);
                    continue;
                }
                EXPECT_EQ(hit.hitMask, 15u);
                EXPECT_LANES_NEAR(hit.t / (2.0f / length), 1, 1, 1, 1, 1e-6f);
                EXPECT_LANES_NEAR(hit.u, 0.25f, 0.25f, 0.25f, 0.25f, 1e-6f);
                EXPECT_LANES_NEAR(hit.v, 0.125f, 0.125f, 0.125f, 0.125f, 1e-6f);
                EXPECT_EQ(hit.geometry[2], 5);
                EXPECT_EQ(hit.primitive[2], 0);
            }
}

TEST(TriangleLeaf, LeavesUnusedLanesAlone)
{
    // Three vertices at the origin would be what an unused lane holds; rays go right through it.
    TestMesh mesh = rightAngle();
    for (float& p : mesh.positions)
        p += 10.0f;
    for (int i = 0; i < 3; ++i)
        mesh.addTriangle(0, 1, 2);
    const Leaf leaf(mesh);
    for (const int sides : {1, 2, 3})
        for (u32 count = 0; count <= 4; ++count)
            for (const float dz : {1.0f, -1.0f}) {
                znRTHitInfoPacket hit = untouchedHit();
                leaf.make(sides)->intersect(along(0, 0, -3 * dz, dz), hit, s_start, 15, 0, count);
                EXPECT_EQ(hit.hitMask, 0u);
            }
}

TEST(TriangleLeaf, TakesTheHigherLaneAtEqualDistance)
{
    TestMesh mesh = rightAngle();
    for (int i = 0; i < 3; ++i)
        mesh.addTriangle(0, 1, 2);
    const Leaf leaf(mesh);
    for (u32 count = 1; count <= 4; ++count) {
        znRTHitInfoPacket hit = untouchedHit();
        leaf.make(1)->intersect(along(0.25f, 0.25f, 1, -1), hit, s_start, 15, 0, count);
        EXPECT_EQ(hit.primitive[0], int(count) - 1);
    }
}

TEST(TriangleLeaf, AcceptsDistancesStrictlyInsideTheInterval)
{
    const Leaf leaf(rightAngle());
    const znRTRayPacket ray = along(0.25f, 0.25f, 2, -1);
    znRTHitInfoPacket first = untouchedHit();
    leaf.make(3)->intersect(ray, first, s_start, 15, 0, 1);
    const float t = first.t[0];
    znRTHitInfoPacket hit = untouchedHit(t);
    leaf.make(3)->intersect(ray, hit, s_start, 15, 0, 1);
    EXPECT_EQ(hit.hitMask, 0u) << "t equal to the present distance";
    hit = untouchedHit();
    leaf.make(3)->intersect(ray, hit, znFloatType<2>(t), 15, 0, 1);
    EXPECT_EQ(hit.hitMask, 0u) << "t equal to tMin";
    hit = untouchedHit(std::nextafter(t, 10.0f));
    leaf.make(3)->intersect(ray, hit, znFloatType<2>(std::nextafter(t, 0.0f)), 15, 0, 1);
    EXPECT_EQ(hit.hitMask, 15u);
}

TEST(TriangleLeaf, WritesOnlyTheLanesOfTheMask)
{
    const Leaf leaf(rightAngle());
    for (const int sides : {1, 3})
        for (int mask = 0; mask < 16; ++mask)
            for (const bool isShadow : {false, true}) {
                znRTHitInfoPacket hit = untouchedHit();
                const znRTRayPacket ray = along(0.25f, 0.25f, 2, -1);
                const auto test = leaf.make(sides);
                if (isShadow)
                    test->intersectShadow(ray, hit, s_start, mask, 0, 1);
                else
                    test->intersect(ray, hit, s_start, mask, 0, 1);
                EXPECT_EQ(hit.hitMask, unsigned(mask));
                for (int lane = 0; lane < 4; ++lane)
                    if (!((mask >> lane) & 1)) {
                        EXPECT_EQ(hit.t[lane], 1e30f);
                        EXPECT_EQ(hit.primitive[lane], -7);
                        EXPECT_EQ(hit.geometry[lane], -7);
                        EXPECT_EQ(hit.u[lane], -7.0f);
                    }
            }
}

TEST(TriangleLeaf, MarksOpaqueShadowsByDistanceZero)
{
    const Leaf leaf(rightAngle());
    const auto test = leaf.make(3);
    const znRTRayPacket ray = along(0.25f, 0.25f, 2, -1);
    test->setTransparent(true);
    znRTHitInfoPacket hit = untouchedHit();
    test->intersectShadow(ray, hit, s_start, 15, 0, 1);
    EXPECT_LANES_NEAR(hit.t, 2, 2, 2, 2, 1e-6f);
    EXPECT_EQ(hit.hitMask, 15u);
    EXPECT_EQ(hit.hitFlags, 15u);
    // Something opaque further on: no, only in front counts; from farther away it does.
    test->setTransparent(false);
    hit.t = 10.0f;
    test->intersectShadow(ray, hit, s_start, 5, 0, 1);
    EXPECT_LANES_NEAR(hit.t, 0, 10, 0, 10, 0.0f);
    EXPECT_EQ(hit.hitMask, 15u);
    EXPECT_EQ(hit.hitFlags, 10u);
    EXPECT_EQ(hit.primitive[0], 0);
    EXPECT_EQ(hit.geometry[0], 0);
    EXPECT_EQ(hit.u[0], 0.0f);
}

TEST(TriangleLeaf, NeverHitsDegenerateOrInfiniteTriangles)
{
    const float inf = std::numeric_limits<float>::infinity(),
                nan = std::numeric_limits<float>::quiet_NaN();
    const float bad[][9] = {{0, 0, 0, 0, 0, 0, 0, 0, 0},   {0, 0, 0, 1, 0, 0, 2, 0, 0},
                            {nan, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 0, 0, inf, 0, 0, 0, 1, 0},
                            {0, 0, nan, 1, 0, 0, 0, 1, 0}, {-inf, 0, 0, inf, 0, 0, 0, inf, 0}};
    for (const auto& points : bad) {
        TestMesh mesh;
        for (int v = 0; v < 3; ++v)
            mesh.addVertex(points[3 * v], points[3 * v + 1], points[3 * v + 2]);
        mesh.addTriangle(0, 1, 2);
        const Leaf leaf(mesh);
        for (const int sides : {1, 2, 3})
            for (const float dz : {1.0f, -1.0f}) {
                znRTHitInfoPacket hit = untouchedHit();
                leaf.make(sides)->intersect(along(0, 0, -dz, dz), hit, s_start, 15, 0, 1);
                EXPECT_EQ(hit.hitMask, 0u);
            }
    }
}

// The single-sided tests let a ray pass the shared edge by 1e-8, so one of the two takes it.
TEST(TriangleLeaf, KeepsRaysOnASharedEdgeOfTheFront)
{
    TestMesh mesh = makeGrid(1);
    const Leaf leaf(mesh);
    for (int i = 1; i < 64; ++i) {
        const float x = float(i) / 64.0f;
        znRTHitInfoPacket hit = untouchedHit();
        leaf.make(1)->intersect(along(x, x, 1, -1), hit, s_start, 15, 0, 2);
        EXPECT_EQ(hit.hitMask, 15u) << x;
    }
}

TEST(TriangleLeaf, TestsAPacketAsItTestsEachLaneAlone)
{
    const TestMesh mesh = makeSoup(4, 1.0f, 3);
    const Leaf leaf(mesh);
    RayMaker rays(7);
    for (int i = 0; i < 20000; ++i) {
        const znRTRayPacket ray = rays.incoherent();
        for (const int sides : {1, 2, 3}) {
            const auto test = leaf.make(sides);
            znRTHitInfoPacket packet = untouchedHit(), lanes = untouchedHit();
            test->intersect(ray, packet, s_start, 15, 0, 4);
            for (int lane = 0; lane < 4; ++lane)
                test->intersect(ray, lanes, lane, s_start, 0, 4);
            ASSERT_EQ(packet.hitMask, lanes.hitMask);
            for (int lane = 0; lane < 4; ++lane) {
                ASSERT_EQ(packet.t[lane], lanes.t[lane]);
                ASSERT_EQ(packet.u[lane], lanes.u[lane]);
                ASSERT_EQ(packet.v[lane], lanes.v[lane]);
                ASSERT_EQ(packet.primitive[lane], lanes.primitive[lane]);
            }
        }
    }
}

// Against the same test in double precision; they may differ where a border is closer than 1e-5.
TEST(TriangleLeaf, AgreesWithDoublePrecision)
{
    RayMaker rays(11);
    u64 hits = 0;
    for (int m = 0; m < 500; ++m) {
        const TestMesh mesh = makeSoup(4, 0.7f, 1000 + unsigned(m));
        const Leaf leaf(mesh);
        for (int i = 0; i < 500; ++i) {
            const znRTRayPacket ray = rays.incoherent();
            for (const int sides : {1, 2, 3}) {
                znRTHitInfoPacket hit = untouchedHit();
                leaf.make(sides)->intersect(ray, hit, s_start, 15, 0, 4);
                for (int lane = 0; lane < 4; ++lane) {
                    const znRTVector3f o = ray.origin.getLane(lane),
                                       d = ray.direction.getLane(lane);
                    const OracleHit expected = traceOracle(mesh, &o.x, &d.x, 0, 1e30, sides);
                    if (expected.margin < 1e-5)
                        continue;
                    const bool isHit = (hit.hitMask >> lane) & 1;
                    ASSERT_EQ(isHit, expected.isHit());
                    if (!isHit)
                        continue;
                    ++hits;
                    ASSERT_NEAR(hit.t[lane], expected.t, expected.tError);
                    if (hit.primitive[lane] == int(expected.primitive)) {
                        ASSERT_NEAR(hit.u[lane], expected.u, 2e-3);
                        ASSERT_NEAR(hit.v[lane], expected.v, 2e-3);
                    }
                }
            }
        }
    }
    EXPECT_GT(hits, 100000u);
}
