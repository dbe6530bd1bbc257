#include "render/integrators/roundedEdges.h"

#include "support/lanes.h"

#include <limits>
#include <random>

namespace {

/// A block whose hits lie on planes with the given stored normals, seen along d.
struct Hits
{
    znRTRayDifferentialPacket ray;
    znRTDataBlockPacket block;

    Hits(const znRTVector3fPacket& direction, const znRTVector3fPacket& stored)
        : ray(znRTRayPacket(znRTVector3fPacket(0.0f, 0.0f, 0.0f), direction)), block(1.0f)
    {
        block.hasNodeTransforms = 0;
        block.hit.hitMask = 15;
        block.facedNormal = stored;
        const znFloatType<2> isAway = dot(ray.direction, stored) > znFloatType<2>(0.0f);
        block.shadingNormal() = select(isAway, -stored, stored);
        block.objectNormal = block.shadingNormal();
        block.cosIncidence = -dot(ray.direction, block.shadingNormal());
    }
    /// @param bent  new normals in the stored orientation
    void adopt(const znRTVector3fPacket& bent,
               const znFloatType<2>& changed = znFloatType<2>::allLanes())
    {
        const znFloatType<2> signs = facingSigns(block);
        block.facedNormal.setMasked(bent, changed);
        adoptRoundedNormals(ray, block, signs, changed);
    }
};

znRTVector3fPacket randomDirections(std::mt19937& engine)
{
    std::normal_distribution<float> normal;
    const auto number = [&] { return normal(engine); };
    const auto lanes = [&] { return znFloatType<2>(number(), number(), number(), number()); };
    const znRTVector3fPacket v(lanes(), lanes(), lanes());
    return v.getNormalized();
}

znRTVector3fPacket mirror(const znRTVector3fPacket& d, const znRTVector3fPacket& n)
{
    return d - n * (dot(d, n) * 2.0f);
}

} // namespace

TEST(FacingSign, TellsWhichSideIsSeen)
{
    const znRTVector3fPacket up(0.0f, 0.0f, 1.0f);
    Hits hits({0.0f, 0.0f, znFloatType<2>(-1.0f, 1.0f, -1.0f, 1.0f)}, up);
    hits.block.facedNormal.z.set(2, 0.0f);
    EXPECT_LANES_EQ(facingSigns(hits.block), 1.0f, -1.0f, 0.0f, -1.0f);
}

// A normal that mirrors the ray upward is taken as it is: the half vector of -d and its mirror
// direction is the normal itself.
TEST(RoundedNormal, StaysAsItIsWhereItMirrorsUpward)
{
    Hits hits({0.3f, 0.0f, -1.0f}, {0.0f, 0.0f, 1.0f});
    const znRTVector3fPacket bent = znRTVector3fPacket(-0.1f, 0.2f, 1.0f).getNormalized();
    hits.adopt(bent);
    EXPECT_NEAR(hits.block.shadingNormal().x[0], bent.x[0], 1e-6f);
    EXPECT_NEAR(hits.block.shadingNormal().y[1], bent.y[1], 1e-6f);
    EXPECT_NEAR(hits.block.facedNormal.z[2], bent.z[2], 1e-6f);
    EXPECT_NEAR(hits.block.objectNormal.z[2], bent.z[2], 1e-6f);
    EXPECT_NEAR(hits.block.cosIncidence[3], -dot(hits.ray.direction, bent)[3], 1e-6f);
}

// Whatever the ray and the new normal on the viewer's side of the surface: the mirrored ray never
// goes below the surface, on both sides of it.
TEST(RoundedNormal, NeverMirrorsBelowTheOldSurface)
{
    std::mt19937 engine(7);
    int lifted = 0;
    for (int i = 0; i < 5000; ++i) {
        const znRTVector3fPacket stored = randomDirections(engine), d = randomDirections(engine);
        Hits hits(d, stored);
        const znRTVector3fPacket old = hits.block.shadingNormal();
        const znFloatType<2> signs = facingSigns(hits.block);
        // Near an edge the normal turns by less than a right angle, and still faces the viewer.
        const znRTVector3fPacket n = (old + randomDirections(engine) * 0.8f).getNormalized();
        const znFloatType<2> isSeen = dot(n, hits.ray.direction) < znFloatType<2>(-0.01f);
        hits.adopt(n * signs);
        const znRTVector3fPacket& h = hits.block.shadingNormal();
        const znFloatType<2> height = dot(mirror(hits.ray.direction, h), old);
        for (int lane = 0; lane < 4; ++lane) {
            if (!(moveMask(isSeen) >> lane & 1))
                continue;
            ASSERT_GE(height[lane], -1e-5f) << i << " lane " << lane;
            ASSERT_NEAR(h.getSquareLength()[lane], 1.0f, 1e-5f);
            ASSERT_LT(dot(h, hits.ray.direction)[lane], 0.0f); // still faces the viewer
            ASSERT_EQ(hits.block.facedNormal.x[lane], h.x[lane] * signs[lane]);
            lifted += dot(mirror(hits.ray.direction, n), old)[lane] < -1e-3f;
        }
    }
    EXPECT_GT(lifted, 1000); // the case that the lift is for
}

// Lifted onto the surface and not further: r' . m = 0.
TEST(RoundedNormal, LiftsOntoTheSurface)
{
    Hits hits({1.0f, 0.0f, -0.2f}, {0.0f, 0.0f, 1.0f});
    hits.adopt(znRTVector3fPacket(0.5f, 0.0f, 1.0f).getNormalized()); // tilted along the ray
    // Without the lift: the mirrored ray would point below.
    EXPECT_LT(dot(mirror(hits.ray.direction, znRTVector3fPacket(0.5f, 0.0f, 1.0f).getNormalized()),
                  {0.0f, 0.0f, 1.0f})[0],
              -0.5f);
    EXPECT_NEAR(mirror(hits.ray.direction, hits.block.shadingNormal()).z[0], 0.0f, 1e-6f);
}

TEST(RoundedNormal, KeepsTheOldOneWithoutAFacingSide)
{
    Hits hits({1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f});
    hits.block.facedNormal = znRTVector3fPacket(0.0f, 0.0f, 0.0f); // sign 0
    hits.adopt({0.0f, 1.0f, 0.0f});
    EXPECT_LANES_EQ(hits.block.shadingNormal().z, 1.0f, 1.0f, 1.0f, 1.0f);
    EXPECT_LANES_EQ(hits.block.shadingNormal().y, 0.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(hits.block.objectNormal.z, 1.0f, 1.0f, 1.0f, 1.0f);

    // A ray along both surfaces mirrors into itself.
    Hits grazing({1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f});
    grazing.adopt({0.0f, 0.0f, 1.0f});
    EXPECT_LANES_EQ(grazing.block.shadingNormal().z, 1.0f, 1.0f, 1.0f, 1.0f);
    EXPECT_LANES_EQ(grazing.block.facedNormal.z, 1.0f, 1.0f, 1.0f, 1.0f);
}

TEST(RoundedNormal, LeavesOtherLanesAlone)
{
    Hits hits({0.3f, 0.0f, -1.0f}, {0.0f, 0.0f, 1.0f});
    const float before = hits.block.cosIncidence[1];
    hits.adopt(znRTVector3fPacket(-0.3f, 0.2f, 1.0f).getNormalized(), expandLanes(1));
    EXPECT_LT(hits.block.shadingNormal().x[0], -0.1f);
    EXPECT_LANES_EQ(hits.block.shadingNormal().x & expandLanes(14), 0.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_EQ(hits.block.facedNormal.z[1], 1.0f);
    EXPECT_EQ(hits.block.objectNormal.z[2], 1.0f);
    EXPECT_EQ(hits.block.cosIncidence[1], before);
}

// Under a scale of 2 along x the object's normal of (1, 0, 1) / sqrt(2) is (2, 0, 1) / sqrt(5).
TEST(RoundedNormal, GoesToObjectSpaceAsNormalsDo)
{
    Hits hits({0.0f, 0.0f, -1.0f}, {0.0f, 0.0f, 1.0f});
    znMatrix4x4 toWorld = znMatrix4x4::identity();
    toWorld[0][0] = 2.0f;
    hits.block.hasNodeTransforms = 1;
    hits.block.nodeToWorld = znMatrix4x4Packet(toWorld);
    hits.adopt(znRTVector3fPacket(0.5f, 0.0f, 1.0f).getNormalized());
    const znRTVector3fPacket& n = hits.block.shadingNormal();
    EXPECT_NEAR(hits.block.objectNormal.x[0] / hits.block.objectNormal.z[0], 2.0f * n.x[0] / n.z[0],
                1e-5f);
    EXPECT_NEAR(hits.block.objectNormal.getSquareLength()[0], 1.0f, 1e-5f);
}
