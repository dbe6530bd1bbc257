#pragma once

// Axis-aligned box as two SSE values, for work: minimum and maximum, each x, y, z and a fourth
// float that nothing reads.

#include "core/znRTBoundingBox.h"

class znRTAlignedBox : public znRTBoxOperations<znRTAlignedBox>
{
public:
    // Inside out, so that what is added first becomes the box.
    znFloatType<2> lowCorner = znFloatType<2>(znRTBoundingBox::s_empty);
    znFloatType<2> highCorner = znFloatType<2>(-znRTBoundingBox::s_empty);

    znRTAlignedBox() = default;
    znRTAlignedBox(znFloatType<2> low, znFloatType<2> high) : lowCorner(low), highCorner(high) {}
    znRTAlignedBox(const znRTVector3f& low, const znRTVector3f& high)
        : lowCorner(low.x, low.y, low.z, 0.0f), highCorner(high.x, high.y, high.z, 0.0f)
    {
    }
    explicit znRTAlignedBox(const znRTBoundingBox& box)
        : znRTAlignedBox(box.getMinimum(), box.getMaximum())
    {
    }
    explicit operator znRTBoundingBox() const { return {getMinimum(), getMaximum()}; }

    float low(int axis) const { return lowCorner[axis]; }
    float high(int axis) const { return highCorner[axis]; }
    void setAxis(int axis, float low, float high)
    {
        lowCorner.set(axis, low);
        highCorner.set(axis, high);
    }
    using znRTBoxOperations::surround;
    void surround(const znRTAlignedBox& other)
    {
        lowCorner = ::minimum(other.lowCorner, lowCorner);
        highCorner = ::maximum(other.highCorner, highCorner);
    }

    /// First packet of [first, last) that meets the box between tMin and the distance of its hit.
    /// @return false if none does; the outputs are then as they were
    bool findFirstActiveCO(const znRTRayPacketBundle& bundle, const znRTHitInfoPacketBundle& hits,
                           const znFloatType<2>* tMin, const int* laneMasks, unsigned first,
                           unsigned last, unsigned& index, int& mask, znFloatType<2>& near,
                           znFloatType<2>& far) const
    {
        for (unsigned i = first; i < last; ++i) {
            znFloatType<2> t0 = tMin[i], t1 = hits.hits[i].t;
            const int lanes = clipRange(bundle.rays[i], t0, t1, laneMasks[i]);
            if (lanes != 0) {
                index = i;
                mask = lanes;
                near = t0;
                far = t1;
                return true;
            }
        }
        return false;
    }

    /// The converse search: the farthest of all far planes at or before the nearest of all near
    /// planes, which holds only where all planes lie at one distance. It finds degenerate boxes
    /// and does not replace findFirstActiveCO.
    bool findFirstActive(const znRTRayPacketBundle& bundle, const znRTHitInfoPacketBundle& hits,
                         const znFloatType<2>* tMin, const int* laneMasks, unsigned first,
                         unsigned last, unsigned& index, int& mask, znFloatType<2>& near,
                         znFloatType<2>& far) const
    {
        for (unsigned i = first; i < last; ++i) {
            const znRTRayPacket& ray = bundle.rays[i];
            znFloatType<2> outer = tMin[i], inner = hits.hits[i].t;
            for (int axis = 0; axis < 3; ++axis) {
                const znFloatType<2> t1 =
                    (znFloatType<2>(low(axis)) - ray.origin[axis]) * ray.invDirection[axis];
                const znFloatType<2> t2 =
                    (znFloatType<2>(high(axis)) - ray.origin[axis]) * ray.invDirection[axis];
                outer = ::maximum(outer, ::maximum(t1, t2));
                inner = ::minimum(inner, ::minimum(t1, t2));
            }
            const int lanes = moveMask(outer <= inner) & laneMasks[i];
            if (lanes != 0) {
                index = i;
                mask = lanes;
                near = inner;
                far = outer;
                return true;
            }
        }
        return false;
    }
};

static_assert(sizeof(znRTAlignedBox) == 32);
