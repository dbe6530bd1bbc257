#pragma once

// What a build moves around instead of a primitive: its box, as two registers, and its number.

#include "core/packetMath.h"
#include "host/znAligned.h"

#include <limits>

struct alignas(32) znRTBuildReference
{
    float low[3];
    u32 primitive;
    float high[3];
    u32 unused;

    znFloatType<2> getLow() const { return znFloatType<2>::load(low); }
    znFloatType<2> getHigh() const { return znFloatType<2>::load(high); }
    /// Middle per axis; the fourth lane means nothing.
    znFloatType<2> getCenter() const { return (getLow() + getHigh()) * znFloatType<2>(0.5f); }
};

static_assert(sizeof(znRTBuildReference) == 32);

/// A box as two registers (x, y, z and a lane without meaning); starts inside out.
struct znRTBuildBox
{
    znFloatType<2> low = std::numeric_limits<float>::infinity();
    znFloatType<2> high = -std::numeric_limits<float>::infinity();

    void grow(const znRTBuildReference& r)
    {
        low = minimum(r.getLow(), low);
        high = maximum(r.getHigh(), high);
    }
    /// Grows in case of a full mask; a lane of ones is NaN, which loses against the second operand.
    void growIf(znFloatType<2> mask, znFloatType<2> rLow, znFloatType<2> rHigh)
    {
        low = minimum(rLow | ~mask, low);
        high = maximum(rHigh | ~mask, high);
    }
};

/// Where to cut a node; what a split search fills.
struct znRTSplit
{
    float cost = std::numeric_limits<float>::infinity();
    float position = 0.0f;
    int axis = 0;
    bool found = false;

    /// Takes a split over if it is strictly better, so that of equal ones the first stays.
    void improve(float newCost, float newPosition, int newAxis)
    {
        if (newCost < cost)
            *this = {newCost, newPosition, newAxis, true};
    }
};

/// Extents below this do not get split.
inline constexpr float s_degenerateExtent = 1e-6f;

/// Half the surface of a node's box as a function of its extent w along one axis: w (p + q) + p q,
/// with the extents p and q of the other two. The cost compares boxes, so the factor cancels.
struct znRTHalfSurface
{
    znFloatType<2> sum, product; ///< of the other two extents, per axis

    explicit znRTHalfSurface(znFloatType<2> extents)
    {
        const znFloatType<2> p = _mm_shuffle_ps(extents.v, extents.v, _MM_SHUFFLE(3, 0, 0, 1));
        const znFloatType<2> q = _mm_shuffle_ps(extents.v, extents.v, _MM_SHUFFLE(3, 1, 2, 2));
        sum = p + q;
        product = p * q;
    }
    znFloatType<2> of(znFloatType<2> w) const { return w * sum + product; }
};
