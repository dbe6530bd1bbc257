#include "core/znRTDataBlockPacket.h"

#include "core/znRTRayPacket.h"
#include "support/lanes.h"

#include <cstring>

namespace {

znRTHitInfoPacket hitAt(float distance, unsigned mask)
{
    znRTHitInfoPacket hit{};
    hit.reset(znFloatType<2>(distance));
    hit.hitMask = mask;
    return hit;
}

/// Rays from (0, 0, 0) with neighbours that start beside them and are turned a little.
znRTRayDifferentialPacket differentialRays()
{
    znRTRayDifferentialPacket ray(
        znRTRayPacket(znRTVector3fPacket(0.0f, 0.0f, 0.0f),
                      znRTVector3fPacket(znFloatType<2>(0.0f, 0.1f, -0.2f, 0.3f),
                                         znFloatType<2>(0.0f, 0.2f, 0.1f, -0.1f), -1.0f)));
    ray.rxOrigin = ray.origin + znRTVector3fPacket(1e-4f, 0.0f, 0.0f);
    ray.ryOrigin = ray.origin;
    ray.rxDirection = ray.direction + znRTVector3fPacket(1e-3f, 0.0f, 0.0f);
    ray.ryDirection = ray.direction + znRTVector3fPacket(0.0f, 1e-3f, 1e-4f);
    ray.hasDifferentials = 1;
    return ray;
}

znRTVector3fPacket onPlane(const znRTVector3fPacket& origin, const znRTVector3fPacket& direction,
                           const znRTVector3fPacket& point, const znRTVector3fPacket& normal)
{
    const znFloatType<2> t = dot(point - origin, normal) / dot(direction, normal);
    return origin + direction * t;
}

} // namespace

TEST(DataBlock, ClearsBakedValuesForANewHitOnly)
{
    znRTDataBlockPacket block;
    std::memset(static_cast<void*>(&block), 0x5a, sizeof(block));
    new (&block) znRTDataBlockPacket(hitAt(3.0f, 5));
    EXPECT_EQ(block.hit.hitMask, 5u);
    EXPECT_LANES_EQ(block.hit.t, 3.0f, 3.0f, 3.0f, 3.0f);
    for (int channel = 0; channel < 4; ++channel) {
        EXPECT_LANES_EQ(block.bakedIrradiance[channel], 0.0f, 0.0f, 0.0f, 0.0f);
        EXPECT_LANES_EQ(block.bakedColor[channel], 0.0f, 0.0f, 0.0f, 0.0f);
    }
    EXPECT_EQ(block.materialCount, 0u);
    EXPECT_EQ(block.nodes[3], nullptr);

    block.bakedColor = znRTColorPacket(znFloatType<2>(7.0f));
    block.bakedIrradiance = znRTColorPacket(znFloatType<2>(8.0f));
    block.set(hitAt(4.0f, 2));
    EXPECT_EQ(block.hit.hitMask, 2u);
    EXPECT_LANES_EQ(block.bakedColor.g, 7.0f, 7.0f, 7.0f, 7.0f);
    EXPECT_LANES_EQ(block.bakedIrradiance.a, 8.0f, 8.0f, 8.0f, 8.0f);
}

TEST(DataBlock, GroupsLanesByMaterialInTheOrderOfTheFirst)
{
    char materials[2];
    auto* const first = reinterpret_cast<znRTMaterial*>(&materials[0]);
    auto* const second = reinterpret_cast<znRTMaterial*>(&materials[1]);
    znRTDataBlockPacket block(hitAt(1.0f, 15));
    EXPECT_EQ(block.addMaterial(first, 1), 0u);
    EXPECT_EQ(block.addMaterial(second, 2), 1u);
    EXPECT_EQ(block.addMaterial(first, 12), 0u);
    EXPECT_EQ(block.materialCount, 2u);
    EXPECT_EQ(moveMask(block.materialLanes[0]), 13);
    EXPECT_EQ(moveMask(block.materialLanes[1]), 2);
    block.clearMaterials();
    EXPECT_EQ(block.materialCount, 0u);
}

TEST(DataBlock, PutsASavedSurfaceBack)
{
    znRTDataBlockPacket block(hitAt(1.0f, 15));
    block.position() = znRTVector3fPacket(1.0f, 2.0f, 3.0f);
    block.shadingNormal() = znRTVector3fPacket(0.0f, 1.0f, 0.0f);
    block.geometricNormal() = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    block.saveSurface();
    block.shadingNormal() = -block.shadingNormal();
    block.position() += znRTVector3fPacket(9.0f, 9.0f, 9.0f);
    block.restoreSurface();
    EXPECT_LANES_EQ(block.dg.shadingNormal.y, 1.0f, 1.0f, 1.0f, 1.0f);
    EXPECT_LANES_EQ(block.dg.position.z, 3.0f, 3.0f, 3.0f, 3.0f);
}

// The footprint is the first derivative of the intersection of the neighbouring rays with the
// tangent plane; with small offsets it equals their distance up to second order.
TEST(DataBlock, HasTheFootprintOfNeighbouringRaysOnThePlane)
{
    const znRTRayDifferentialPacket ray = differentialRays();
    znRTDataBlockPacket block(hitAt(0.0f, 15));
    const znRTVector3fPacket normal =
        znRTVector3fPacket(znFloatType<2>(0.0f, 0.5f, 0.3f, -0.4f), 0.2f, 1.0f).getNormalized();
    const znRTVector3fPacket anchor(0.0f, 0.0f, -5.0f);
    block.hit.t = dot(anchor - ray.origin, normal) / dot(ray.direction, normal);
    block.dg.geometricNormal = normal;
    block.dg.position = ray.pointAt(block.hit.t);
    block.computeCommonDifferentialData(ray);

    const znRTVector3fPacket dx =
        onPlane(ray.rxOrigin, ray.rxDirection, anchor, normal) - block.dg.position;
    const znRTVector3fPacket dy =
        onPlane(ray.ryOrigin, ray.ryDirection, anchor, normal) - block.dg.position;
    for (int lane = 0; lane < 4; ++lane) {
        const float size = dx.getLane(lane).getLength() + dy.getLane(lane).getLength();
        EXPECT_LT((dx - block.dg.dPdx).getLane(lane).getLength(), 5e-3f * size) << "lane " << lane;
        EXPECT_LT((dy - block.dg.dPdy).getLane(lane).getLength(), 5e-3f * size) << "lane " << lane;
    }
}

TEST(DataBlock, HasNoFootprintWithoutDifferentials)
{
    znRTRayDifferentialPacket ray = differentialRays();
    ray.hasDifferentials = 0;
    znRTDataBlockPacket block(hitAt(2.0f, 15));
    block.dg.geometricNormal = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    block.computeCommonDifferentialData(ray);
    EXPECT_LANES_EQ(block.dg.dPdx.x, 0.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(block.dg.dPdy.y, 0.0f, 0.0f, 0.0f, 0.0f);
}

TEST(DataBlock, MeasuresIncidenceBackAlongTheRay)
{
    const znRTRayDifferentialPacket ray = differentialRays();
    znRTDataBlockPacket block(hitAt(2.0f, 15));
    block.dg.shadingNormal = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    block.cosIncidence = znFloatType<2>(-7.0f);
    block.updateCosIncidence(ray, expandLanes(1));
    EXPECT_LANES_NEAR(block.cosIncidence, 1.0f, -7.0f, -7.0f, -7.0f, 1e-6f);
}

TEST(DataBlock, ProjectsInObjectSpaceOnlyInItsObjectLanes)
{
    znRTDataBlockPacket block(hitAt(1.0f, 15));
    std::memset(static_cast<void*>(&block.dg), 0, sizeof(block.dg));
    block.dg.position = znRTVector3fPacket(1.0f, 1.0f, 1.0f);
    block.dg.shadingNormal = block.dg.geometricNormal = znRTVector3fPacket(0.6f, 0.0f, 0.8f);
    block.dg.dPdx = znRTVector3fPacket(0.5f, 0.0f, 0.0f);
    block.dg.dPdy = znRTVector3fPacket(1.5f, 3.0f, 0.0f);
    block.dg.dPdu = znRTVector3fPacket(2.5f, 0.0f, 0.0f);
    block.dg.dPdv = znRTVector3fPacket(3.5f, 0.0f, 5.0f);
    block.objectPosition = znRTVector3fPacket(2.0f, 2.0f, 2.0f);
    block.objectNormal = znRTVector3fPacket(1.0f, 0.0f, 0.0f);
    // The node stretches x by two.
    znMatrix4x4 toWorld = znMatrix4x4::identity();
    toWorld[0][0] = 2.0f;
    block.nodeToWorld = znMatrix4x4Packet(toWorld);
    block.worldToNode = znMatrix4x4Packet(toWorld.inverted());

    znRTDifferentialGeometry out;
    block.objectLanes = expandLanes(2);
    block.setupTriplanarDifferentialGeometry(out);
    EXPECT_LANES_EQ(out.position.x, 1.0f, 2.0f, 1.0f, 1.0f);
    EXPECT_LANES_EQ(out.shadingNormal.x, 0.6f, 1.0f, 0.6f, 0.6f);
    // Normals take the transposed matrix: (1.2, 0, 0.8), made unit.
    const float length = std::sqrt(1.2f * 1.2f + 0.8f * 0.8f);
    EXPECT_LANES_NEAR(out.geometricNormal.x, 0.6f, 1.2f / length, 0.6f, 0.6f, 1e-6f);
    EXPECT_LANES_NEAR(out.geometricNormal.z, 0.8f, 0.8f / length, 0.8f, 0.8f, 1e-6f);
    EXPECT_LANES_EQ(out.dPdx.x, 0.5f, 0.25f, 0.5f, 0.5f);
    EXPECT_LANES_EQ(out.dPdy.x, 1.5f, 0.75f, 1.5f, 1.5f);
    EXPECT_LANES_EQ(out.dPdy.y, 3, 3, 3, 3);
    EXPECT_LANES_EQ(out.dPdu.x, 2.5f, 1.25f, 2.5f, 2.5f);
    EXPECT_LANES_EQ(out.dPdv.x, 3.5f, 1.75f, 3.5f, 3.5f);
    EXPECT_LANES_EQ(out.dPdv.z, 5, 5, 5, 5);
}

TEST(DataBlock, IsEmptyAtADistance)
{
    for (bool isPacket : {false, true}) {
        znRTDataBlockPacket block;
        std::memset(static_cast<void*>(&block), 0x5a, sizeof(block));
        if (isPacket)
            block.reset(znFloatType<2>(1.0f, 2.0f, 3.0f, 4.0f));
        else
            block.reset(2.0f);
        EXPECT_LANES_EQ(block.hit.t, isPacket ? 1 : 2, 2, isPacket ? 3 : 2, isPacket ? 4 : 2);
        EXPECT_EQ(block.hit.hitMask, 0u);
        EXPECT_EQ(block.materialCount, 0u);
        EXPECT_EQ(block.hasNodeTransforms, 0u);
        EXPECT_LANES_EQ(block.coverage, 0, 0, 0, 0);
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_EQ(block.nodes[lane], nullptr);
            EXPECT_EQ(block.localLights[lane], nullptr);
        }
        for (int channel = 0; channel < 4; ++channel) {
            EXPECT_LANES_EQ(block.bakedIrradiance[channel], 0, 0, 0, 0);
            EXPECT_LANES_EQ(block.bakedColor[channel], 0, 0, 0, 0);
        }
    }
}
