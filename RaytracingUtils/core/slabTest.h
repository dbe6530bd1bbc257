#pragma once

// Ray intervals inside axis-aligned slabs (T. Kay, J. Kajiya, "Ray Tracing Complex Scenes",
// SIGGRAPH 1986), for whole packets.

#include "core/znRTVector3fPacket.h"

/// Narrows [near, far] to the part between two planes of one axis.
/// A ray inside a plane gives 0 times infinity, NaN, for it. Each maximum and minimum has the
/// running value as second operand and thus keeps it where the first is NaN, so such a ray is not
/// culled by this axis. Taking min(t1, t2) first would let a NaN decide the axis.
inline void narrowToSlab(znFloatType<2> low, znFloatType<2> high, znFloatType<2> origin,
                         znFloatType<2> invDirection, znFloatType<2>& near, znFloatType<2>& far)
{
    const znFloatType<2> t1 = (low - origin) * invDirection;
    const znFloatType<2> t2 = (high - origin) * invDirection;
    near = minimum(maximum(t1, near), maximum(t2, near));
    far = maximum(minimum(t1, far), minimum(t2, far));
}

/// The same for one ray, with the comparisons of the SSE instructions.
inline void narrowToSlab(float low, float high, float origin, float invDirection, float& near,
                         float& far)
{
    const auto minimum = [](float a, float b) { return a < b ? a : b; };
    const auto maximum = [](float a, float b) { return a > b ? a : b; };
    const float t1 = (low - origin) * invDirection;
    const float t2 = (high - origin) * invDirection;
    near = minimum(maximum(t1, near), maximum(t2, near));
    far = maximum(minimum(t1, far), minimum(t2, far));
}
