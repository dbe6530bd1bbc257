#pragma once

// A cone of light with a smooth rim.

#include "core/packetMath.h"

struct znRTLightCone
{
    float outerCos = 0.0f, innerCos = 1.0f; ///< [0, 1]: no cone is wider than a hemisphere
    /// Integral of the falloff over all directions, which is the mean of the two cones' solid
    /// angles for the cubic that falloff uses.
    float solidAngle = 0.0f;

    static constexpr float s_leastPenumbra = 0.0001f; ///< degrees

    /// @param coneAngle, penumbraAngle  degrees, half angles from the axis
    void set(float coneAngle, float penumbraAngle);

    /// Share of light that leaves in a direction: 3 t^2 - 2 t^3 between the two cones.
    /// @param cosine  between the direction and the axis
    znFloatType<2> falloff(const znFloatType<2>& cosine) const
    {
        const znFloatType<2> outer(outerCos), one(1.0f);
        // Narrow cones have one cosine for both rims in single precision: a hard edge then.
        if (!(innerCos > outerCos))
            return (cosine > outer) & one;
        const znFloatType<2> t =
            clamp01((cosine - outer) * znFloatType<2>(1.0f / (innerCos - outerCos)));
        return t * t * (znFloatType<2>(3.0f) - (t + t));
    }
};
