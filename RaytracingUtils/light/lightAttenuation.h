#pragma once

// How light falls off with distance: a kind and a polynomial that it stands for. Distances are in
// scene units.

#include "core/packetMath.h"

struct znRTLightAttenuation
{
    unsigned type = 2; ///< 0 none, 1 linear, above: inverse square
    float constant = 0.0f, linear = 0.0f, quadratic = 1.0f;

    /// The falloff of a kind: 1, d or d^2.
    void set(unsigned newType)
    {
        type = newType;
        constant = newType == 0 ? 1.0f : 0.0f;
        linear = newType == 1 ? 1.0f : 0.0f;
        quadratic = newType >= 2 ? 1.0f : 0.0f;
    }

    /// What the intensity is divided by: c + d (l + q d).
    znFloatType<2> denominator(const znFloatType<2>& distance) const
    {
        return distance * (distance * quadratic + linear) + constant;
    }

    /// Brings the strengths of different falloffs to one scale, so that lights can be ranked: at
    /// the distance of one metre all kinds are equal.
    /// @param unit  scene units per metre
    float strengthScale(float unit) const
    {
        return type == 0 ? unit * unit : type == 1 ? unit : 1.0f;
    }
};
