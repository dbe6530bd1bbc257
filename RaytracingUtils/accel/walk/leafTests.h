#pragma once

// The leaf tests as the walks of a geometry's tree see them: one policy for plain triangles with
// positions in leaf order, where everything is inlined, and one that calls the leaf object. A
// policy knows the rays and the hit packet; a walk only hands it leaf references.

#include "accel/walk/triangleTest.h"
#include "accel/znRTBVHNode.h"
#include "accel/znRTLeafIntersector.h"
#include "core/znRTHitInfoPacket.h"
#include "core/znRTRayPacket.h"

inline void writeLane(znFloatType<2>& packet, int lane, float value)
{
    reinterpret_cast<float*>(&packet)[lane] = value;
}

inline void writeLane(znIntType<2>& packet, int lane, u32 value)
{
    reinterpret_cast<u32*>(&packet)[lane] = value;
}

inline float readLane(const znFloatType<2>& packet, int lane)
{
    return reinterpret_cast<const float*>(&packet)[lane];
}

/// Records a hit of one lane.
inline void writeHit(znRTHitInfoPacket& hit, int lane, const znRTGroupHit& found, u32 primitive,
                     u32 geometry, bool transparent)
{
    writeLane(hit.t, lane, found.t);
    writeLane(hit.primitive, lane, primitive);
    writeLane(hit.geometry, lane, geometry);
    writeLane(hit.u, lane, found.u);
    writeLane(hit.v, lane, found.v);
    hit.hitMask |= 1u << lane;
    hit.hitFlags = (hit.hitFlags & ~(1u << lane)) | (unsigned(transparent) << lane);
}

/// Records that something opaque stands between: no later surface can be in front of t 0.
inline void writeOpaqueShadow(znRTHitInfoPacket& hit, int lane)
{
    writeHit(hit, lane, {0.0f, 0.0f, 0.0f, 0}, 0, 0, false);
}

/// Tests of the rays of a packet against one group, with their hits written.
/// @tparam Sides   1 front, 2 back, 3 both
/// @tparam Shadow  opaque hits are written as shadows
template <int Sides, bool Shadow>
class znRTTriangleTest
{
public:
    znRTTriangleTest(const znRTVector3fPacket& rayOrigin, const znRTVector3fPacket& rayDirection,
                     const znFloatType<2>& rayTMin, const znRTLeafIntersector& leafObject,
                     znRTHitInfoPacket& hitPacket)
        : origin(rayOrigin), direction(rayDirection), tMin(rayTMin),
          geometry(leafObject.getGeometryIndex()), transparent(leafObject.isTransparent()),
          hit(hitPacket)
    {
    }

    /// @param mask  lanes to test, lowest first
    void run(const znRTTriangleGroup& group, int mask, u32 first)
    {
        for (; mask; mask &= mask - 1) {
            const int lane = std::countr_zero(unsigned(mask));
            const znRTVector3fPacket o(broadcast(origin.x, lane), broadcast(origin.y, lane),
                                       broadcast(origin.z, lane));
            const znRTVector3fPacket d(broadcast(direction.x, lane), broadcast(direction.y, lane),
                                       broadcast(direction.z, lane));
            run(group, lane, first, o, d);
        }
    }

    /// @param o, d  the lane's ray in all lanes
    void run(const znRTTriangleGroup& group, int lane, u32 first, const znRTVector3fPacket& o,
             const znRTVector3fPacket& d)
    {
        const znFloatType<2> near = broadcast(tMin, lane), far = broadcast(hit.t, lane);
        if (Shadow && !transparent) {
            if (findAny<Sides>(group, group.a - o, d, near, far))
                writeOpaqueShadow(hit, lane);
            return;
        }
        znRTGroupHit found;
        if (findNearest<Sides>(group, group.a - o, d, near, far, found))
            writeHit(hit, lane, found, first + found.lane, geometry, transparent);
    }

    znFloatType<2> getT() const { return hit.t; }
    float getT(int lane) const { return readLane(hit.t, lane); }

private:
    const znRTVector3fPacket& origin;
    const znRTVector3fPacket& direction;
    const znFloatType<2>& tMin;
    const u32 geometry;
    const bool transparent;
    znRTHitInfoPacket& hit;
};

/// Brings near what a child reference points to: of a leaf, the three lines of memory that its
/// positions fill; of a node, itself and the two that follow it down the left side.
inline void prefetchChild(const float* leafPositions, u64 reference)
{
    const u64 leaf = reinterpret_cast<u64>(leafPositions) + 9 * sizeof(float) * (reference >> 32);
    const char* const place = reinterpret_cast<const char*>(reference & 1 ? leaf : reference);
    _mm_prefetch(place, _MM_HINT_T0);
    _mm_prefetch(place + 64, _MM_HINT_T0);
    _mm_prefetch(place + 128, _MM_HINT_T0);
}

/// Plain triangles from positions in leaf order.
template <int Sides, bool Shadow>
class znRTTriangleLeafTest : private znRTTriangleTest<Sides, Shadow>
{
public:
    using Test = znRTTriangleTest<Sides, Shadow>;

    znRTTriangleLeafTest(const float* leafPositions, const znRTVector3fPacket& rayOrigin,
                         const znRTVector3fPacket& rayDirection, const znFloatType<2>& rayTMin,
                         const znRTLeafIntersector& leafObject, znRTHitInfoPacket& hitPacket)
        : Test(rayOrigin, rayDirection, rayTMin, leafObject, hitPacket), positions(leafPositions)
    {
    }

    using Test::getT;

    void prefetch(u64 reference) const { prefetchChild(positions, reference); }

    void test(u64 reference, int mask)
    {
        const u32 first = znRTBVHNode::getFirst(reference);
        if (const u32 count = znRTBVHNode::getCount(reference))
            Test::run(loadLeafOrder<Sides>(positions + 9 * u64(first), count), mask, first);
    }

    void test(u64 reference, int lane, const znRTVector3fPacket& origin,
              const znRTVector3fPacket& direction)
    {
        const u32 first = znRTBVHNode::getFirst(reference);
        if (const u32 count = znRTBVHNode::getCount(reference))
            Test::run(loadLeafOrder<Sides>(positions + 9 * u64(first), count), lane, first, origin,
                      direction);
    }

private:
    const float* const positions;
};

/// Any leaf, through its virtual operations.
template <bool Shadow>
class znRTObjectLeafTest
{
public:
    znRTObjectLeafTest(const znRTRayPacket& objectRay, const znFloatType<2>& rayTMin,
                       const znRTLeafIntersector& leafObject, znRTHitInfoPacket& hitPacket)
        : ray(objectRay), tMin(rayTMin), leaf(leafObject), hit(hitPacket)
    {
    }

    znFloatType<2> getT() const { return hit.t; }
    float getT(int lane) const { return readLane(hit.t, lane); }

    void prefetch(u64 reference) const
    {
        if (!(reference & 1))
            _mm_prefetch(reinterpret_cast<const char*>(reference), _MM_HINT_T0);
    }

    void test(u64 reference, int mask)
    {
        const u32 first = znRTBVHNode::getFirst(reference),
                  count = znRTBVHNode::getCount(reference);
        if constexpr (Shadow)
            leaf.intersectShadow(ray, hit, tMin, mask, first, count);
        else
            leaf.intersect(ray, hit, tMin, mask, first, count);
    }

    void test(u64 reference, int lane, const znRTVector3fPacket&, const znRTVector3fPacket&)
    {
        const u32 first = znRTBVHNode::getFirst(reference),
                  count = znRTBVHNode::getCount(reference);
        if constexpr (Shadow)
            leaf.intersectShadow(ray, hit, lane, tMin, first, count);
        else
            leaf.intersect(ray, hit, lane, tMin, first, count);
    }

private:
    const znRTRayPacket& ray;
    const znFloatType<2>& tMin;
    const znRTLeafIntersector& leaf;
    znRTHitInfoPacket& hit;
};
