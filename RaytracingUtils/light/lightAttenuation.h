#pragma once

// How light falls off with distance: a kind and a polynomial that it stands for. Distances are in
// scene units.

#include "core/packetMath.h"

struct znRTLightAttenuation
{
    unsigned attenuationType = 2; ///< 0 none, 1 linear, above: inverse square
    /// Constant, linear and quadratic term.
    float attenuationCoefficients[3] = {0.0f, 0.0f, 1.0f};

    /// The falloff of a kind: 1, d or d^2.
    void set(unsigned newType)
    {
        attenuationType = newType;
        for (unsigned power = 0; power < 3; ++power)
            attenuationCoefficients[power] = power == (newType < 2 ? newType : 2) ? 1.0f : 0.0f;
    }

    /// What the intensity is divided by: c + d (l + q d).
    znFloatType<2> denominator(const znFloatType<2>& distance) const
    {
        const float* const c = attenuationCoefficients;
        return distance * (distance * c[2] + c[1]) + c[0];
    }

    /// Brings the strengths of different falloffs to one scale, so that lights can be ranked: at
    /// the distance of one metre all kinds are equal.
    /// @param unit  scene units per metre
    float strengthScale(float unit) const
    {
        return attenuationType == 0 ? unit * unit : attenuationType == 1 ? unit : 1.0f;
    }
};
