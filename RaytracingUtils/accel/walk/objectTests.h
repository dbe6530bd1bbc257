#pragma once

// The leaves of trees over intersectors, as the walks see them: visibility first, then clipping
// where it applies, then the object's own walk.

#include "accel/walk/leafTests.h"
#include "accel/znRTDynamicBVHNode.h"
#include "accel/znRTIntersector.h"
#include "core/znRTHitInfoPacket.h"
#include "core/znRTRayPacket.h"

/// Interval of a packet in front of an object with connected clipping shapes.
class znRTClippedInterval
{
public:
    /// Lets the shapes narrow the interval and prepares the hit packet for the object's walk.
    znRTClippedInterval(const znRTIntersector& object, const znRTRayPacket& ray,
                        const znFloatType<2>& rayTMin, znRTHitInfoPacket& hitPacket);
    /// Gives lanes that the object's walk did not hit their distance back.
    ~znRTClippedInterval();
    znRTClippedInterval(const znRTClippedInterval&) = delete;
    znRTClippedInterval& operator=(const znRTClippedInterval&) = delete;

    znFloatType<2> tMin;

private:
    znRTHitInfoPacket& hit;
    const znFloatType<2> savedT;
    const unsigned savedMask;
};

/// @tparam Shadow     asks objects for shadows
/// @tparam Transform  false where the objects share the space of the tree, as in shells
template <bool Shadow, bool Transform>
class znRTObjectTest
{
public:
    /// @param clip  whether clipping shapes count
    znRTObjectTest(const znRTRayPacket& rays, const znFloatType<2>& rayTMin,
                   znRTHitInfoPacket& hitPacket, bool clip)
        : ray(rays), tMin(rayTMin), hit(hitPacket), clipping(clip)
    {
    }

    znFloatType<2> getT() const { return hit.t; }
    float getT(int lane) const { return readLane(hit.t, lane); }

    void prefetch(u64 reference) const
    {
        _mm_prefetch(reinterpret_cast<const char*>(reference & ~u64(1)), _MM_HINT_T0);
    }

    void test(u64 reference, int mask)
    {
        const znRTIntersector* const object = znRTDynamicBVHNode::getLeafNode(reference);
        if (!object)
            return;
        mask = ray.applyFilter(object, mask);
        if (!mask)
            return;
        if (clipping && object->isClippingEnable()) {
            const znRTClippedInterval interval(*object, ray, tMin, hit);
            call(*object, interval.tMin, mask);
        } else
            call(*object, tMin, mask);
    }

    void test(u64 reference, int lane, const znRTVector3fPacket&, const znRTVector3fPacket&)
    {
        const znRTIntersector* const object = znRTDynamicBVHNode::getLeafNode(reference);
        if (!object || !ray.applyFilterSingle(object, lane))
            return;
        if (clipping && object->isClippingEnable()) {
            const znRTClippedInterval interval(*object, ray, tMin, hit);
            callLane(*object, interval.tMin, lane);
        } else
            callLane(*object, tMin, lane);
    }

private:
    void call(const znRTIntersector& object, const znFloatType<2>& near, int mask)
    {
        if constexpr (Shadow && Transform)
            object.intersectShadow(ray, near, hit.t, hit, mask);
        else if constexpr (Shadow)
            object.intersectShadowNoTransform(ray, near, hit.t, hit, mask);
        else if constexpr (Transform)
            object.intersect(ray, near, hit.t, hit, mask);
        else
            object.intersectNoTransform(ray, near, hit.t, hit, mask);
    }
    void callLane(const znRTIntersector& object, const znFloatType<2>& near, int lane)
    {
        if constexpr (Shadow && Transform)
            object.intersectShadow(ray, lane, near, hit.t, hit);
        else if constexpr (Shadow)
            object.intersectShadowNoTransform(ray, lane, near, hit.t, hit);
        else if constexpr (Transform)
            object.intersect(ray, lane, near, hit.t, hit);
        else
            object.intersectNoTransform(ray, lane, near, hit.t, hit);
    }

    const znRTRayPacket& ray;
    const znFloatType<2>& tMin;
    znRTHitInfoPacket& hit;
    const bool clipping;
};
