#pragma once

// What the two kinds of boxes share: they differ only in how they store their corners. Intervals
// are bounded by the caller's values; a flat box is hit (near equal to far), except for clip.

#include "core/slabTest.h"
#include "core/znRTRayPacketBundle.h"

/// @tparam Box  the class deriving from this, with low(axis), high(axis) and setAxis(axis, a, b)
template <class Box>
class znRTBoxOperations
{
public:
    /// Packets of a bundle that meet the box between tMin and the distance of their hits.
    /// @param laneMasks   lanes of each packet that take part
    /// @param outIndices  numbers of the packets that meet the box, ascending
    /// @param outMasks, outNear, outFar  written at the number of each such packet
    /// @return how many packets meet the box; all other outputs stay as they were
    unsigned intersect(const znRTRayPacketBundle& bundle, const znRTHitInfoPacketBundle& hits,
                       const znFloatType<2>* tMin, const int* laneMasks, unsigned count,
                       unsigned* outIndices, int* outMasks, znFloatType<2>* outNear,
                       znFloatType<2>* outFar) const
    {
        unsigned found = 0;
        for (unsigned i = 0; i < count; ++i) {
            znFloatType<2> near = tMin[i], far = hits.hits[i].t;
            const int mask = clipRange(bundle.rays[i], near, far, laneMasks[i]);
            if (mask == 0)
                continue;
            outNear[i] = near;
            outFar[i] = far;
            outMasks[i] = mask;
            outIndices[found++] = i;
        }
        return found;
    }
    /// As intersect, without the intervals.
    unsigned hitTest(const znRTRayPacketBundle& bundle, const znRTHitInfoPacketBundle& hits,
                     const znFloatType<2>* tMin, const int* laneMasks, unsigned count,
                     unsigned* outIndices, int* outMasks) const
    {
        unsigned found = 0;
        for (unsigned i = 0; i < count; ++i) {
            const int mask = hitTest(bundle.rays[i], tMin[i], hits.hits[i].t, laneMasks[i]);
            if (mask == 0)
                continue;
            outMasks[i] = mask;
            outIndices[found++] = i;
        }
        return found;
    }

    /// @return lanes of the mask that meet the box between t0 and t1
    int intersect(const znRTRayPacket& ray, znFloatType<2> t0, znFloatType<2> t1, int mask) const
    {
        return clipRange(ray, t0, t1, mask);
    }
    int hitTest(const znRTRayPacket& ray, znFloatType<2> t0, znFloatType<2> t1, int mask) const
    {
        return clipRange(ray, t0, t1, mask);
    }
    znFloatType<2> hitTest(const znRTRayPacket& ray, znFloatType<2> t0, znFloatType<2> t1,
                           znFloatType<2> mask) const
    {
        return clipRange(ray, t0, t1, mask);
    }
    /// One lane.
    bool hitTest(const znRTRayPacket& ray, int lane, float t0, float t1) const
    {
        for (int axis = 0; axis < 3; ++axis)
            narrowToSlab(box().low(axis), box().high(axis), ray.origin[axis][lane],
                         ray.invDirection[axis][lane], t0, t1);
        return t0 <= t1;
    }

    /// Narrows [t0, t1] to the part inside the box.
    /// @return lanes for which a part of some length is left
    int clip(const znRTRayPacket& ray, znFloatType<2>& t0, znFloatType<2>& t1) const
    {
        narrow(&ray.invDirection.x, &ray.origin.x, t0, t1);
        return moveMask(t0 < t1);
    }
    /// As clip, for the lanes of a mask; a single point is enough.
    int clipRange(const znRTRayPacket& ray, znFloatType<2>& t0, znFloatType<2>& t1, int mask) const
    {
        return clipRange(&ray.invDirection.x, &ray.origin.x, t0, t1) & mask;
    }
    znFloatType<2> clipRange(const znRTRayPacket& ray, znFloatType<2>& t0, znFloatType<2>& t1,
                             znFloatType<2> mask) const
    {
        narrow(&ray.invDirection.x, &ray.origin.x, t0, t1);
        return (t0 <= t1) & mask;
    }
    /// @param invDirection, origin  three values each, x, y, z
    int clipRange(const znFloatType<2>* invDirection, const znFloatType<2>* origin,
                  znFloatType<2>& t0, znFloatType<2>& t1) const
    {
        narrow(invDirection, origin, t0, t1);
        return moveMask(t0 <= t1);
    }

    /// Half of the surface: comparisons of boxes need no more, the factor cancels.
    float calculateSurfaceArea() const
    {
        const float dx = extent(0), dy = extent(1), dz = extent(2);
        return dy * dz + dx * dz + dy * dx;
    }
    /// Whether the box has an inside or is flat; false for a box that nothing was added to.
    bool isValid() const { return extent(0) >= 0.0f && extent(1) >= 0.0f && extent(2) >= 0.0f; }
    float extent(int axis) const { return box().high(axis) - box().low(axis); }
    znRTVector3f getMinimum() const { return {box().low(0), box().low(1), box().low(2)}; }
    znRTVector3f getMaximum() const { return {box().high(0), box().high(1), box().high(2)}; }
    /// Mean of the corners.
    znRTVector3f getCenter() const { return (getMinimum() + getMaximum()) * 0.5f; }

    /// Thickens axes that are thinner than epsilon by epsilon on both sides.
    void fixZeroExtend(float epsilon)
    {
        for (int axis = 0; axis < 3; ++axis)
            if (extent(axis) < epsilon)
                box().setAxis(axis, box().low(axis) - epsilon, box().high(axis) + epsilon);
    }
    void surround(const znRTVector3f& point)
    {
        for (int axis = 0; axis < 3; ++axis)
            surroundAxis(axis, point[axis], point[axis]);
    }
    template <class Other>
    void surround(const znRTBoxOperations<Other>& other)
    {
        for (int axis = 0; axis < 3; ++axis)
            surroundAxis(axis, other.box().low(axis), other.box().high(axis));
    }
    static void swap(Box& a, Box& b)
    {
        const Box kept = a;
        a = b;
        b = kept;
    }

    Box& box() { return static_cast<Box&>(*this); }
    const Box& box() const { return static_cast<const Box&>(*this); }

private:
    void narrow(const znFloatType<2>* invDirection, const znFloatType<2>* origin,
                znFloatType<2>& t0, znFloatType<2>& t1) const
    {
        for (int axis = 0; axis < 3; ++axis)
            narrowToSlab(box().low(axis), box().high(axis), origin[axis], invDirection[axis], t0,
                         t1);
    }
    void surroundAxis(int axis, float low, float high)
    {
        box().setAxis(axis, low < box().low(axis) ? low : box().low(axis),
                      high > box().high(axis) ? high : box().high(axis));
    }
};
