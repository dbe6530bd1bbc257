// A million rays per mesh against Embree: nearest hits of packets, lanes and bundles, and shadows.
// Rays that one of the two lets through an edge are the only ones that may differ; they are
// counted.

#ifdef ZN_WITH_EMBREE

#include "core/znRTFloatControl.h"
#include "support/embreeScene.h"
#include "support/treeFixture.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {
void compareMesh(const TestMesh& mesh, bool isCoherent)
{
    const znRTFloatControl floatControl;
    const TestIntersector object(mesh, 3, LeafData::inLeafOrder);
    const EmbreeScene other(mesh);
    RayMaker rays(isCoherent ? 1 : 2);
    constexpr u64 packets = 250000;
    u64 decisions = 0, distances = 0, hits = 0;
    for (u64 i = 0; i < packets; ++i) {
        const znRTRayPacket ray = isCoherent ? rays.coherent() : rays.incoherent();
        znRTHitInfoPacket packet = untouchedHit(), lanes = untouchedHit(), shadow = untouchedHit();
        object.intersectNoTransform(ray, 0.0f, 1e30f, packet, 15);
        for (int lane = 0; lane < 4; ++lane)
            object.intersectNoTransform(ray, lane, 0.0f, 1e30f, lanes);
        object.intersectShadowNoTransform(ray, 0.0f, 1e30f, shadow, 15);
        ASSERT_EQ(packet.hitMask, lanes.hitMask);
        ASSERT_EQ(packet.hitMask, shadow.hitMask);
        for (int lane = 0; lane < 4; ++lane) {
            ASSERT_EQ(packet.t[lane], lanes.t[lane]);
            const float expected = other.trace(ray, lane).t;
            const bool isHit = (packet.hitMask >> lane) & 1;
            hits += isHit;
            if (isHit != std::isfinite(expected))
                ++decisions;
            else if (isHit && std::abs(packet.t[lane] / expected - 1.0f) > 1e-4f)
                ++distances;
        }
    }
    EXPECT_GT(hits, packets / 10);
    EXPECT_LE(double(decisions) / double(4 * packets), 1e-5) << decisions << " hits and misses";
    // Where surfaces cross or are grazed, another one may be taken for the nearest.
    EXPECT_LE(double(distances) / double(4 * packets), 5e-5) << distances << " distances";
}
} // namespace

TEST(EmbreeAgreement, HoldsForCoherentRaysOnASphere)
{
    compareMesh(makeSphere(100), true);
}
TEST(EmbreeAgreement, HoldsForRandomRaysOnASphere)
{
    compareMesh(makeSphere(100), false);
}
TEST(EmbreeAgreement, HoldsForCoherentRaysOnCrossingTriangles)
{
    compareMesh(makeSoup(20000, 0.05f, 1), true);
}
TEST(EmbreeAgreement, HoldsForRandomRaysOnCrossingTriangles)
{
    compareMesh(makeSoup(20000, 0.05f, 1), false);
}

#endif
