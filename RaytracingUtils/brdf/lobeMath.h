#pragma once

// Constants and small formulas that lobes share.

#include "core/packetMath.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lobeMath {

inline constexpr float pi = std::numbers::pi_v<float>;
inline constexpr float invPi = std::numbers::inv_pi_v<float>;
inline constexpr float twoPi = 2.0f * pi;
inline constexpr float invTwoPi = 0.5f * invPi;

/// Above this an exponent is a mirror for every purpose, and the error of the fast power grows.
inline constexpr float maxExponent = 1e5f;
/// Smallest slope of a facet distribution: below it the peak leaves the range of floats.
inline constexpr float minSlope = 1e-4f;

/// A parameter inside its range; the lower end for one that is not a number, since one such lobe
/// would blacken all pixels that its light reaches.
inline float held(float x, float low, float high)
{
    return std::min(std::max(low, x), high);
}

inline znFloatType<2> fifthPower(znFloatType<2> x)
{
    const znFloatType<2> x2 = x * x;
    return x2 * x2 * x;
}

/// (1 - cos)^5, how far Schlick's formula has risen from normal incidence to the rim.
inline znFloatType<2> schlickRise(znFloatType<2> cosTheta)
{
    return fifthPower(znFloatType<2>(1.0f) - cosTheta);
}

/// Schlick's formula.
/// @param rise  schlickRise of the angle
inline znFloatType<2> schlick(znFloatType<2> f0, znFloatType<2> rise)
{
    return f0 + (znFloatType<2>(1.0f) - f0) * rise;
}

/// x or 0, and 0 for NaN
inline znFloatType<2> positive(znFloatType<2> x)
{
    return maximum(x, 0.0f);
}

/// Place of an exponent in a stack of environment images filtered by lobes: log2(e) / 16 by
/// linear pieces between powers of two. 0 is the cosine lobe (e = 1), 1 the sharp image (65536).
inline float environmentLevel(float exponent)
{
    int power = 0;
    const float mantissa = 2.0f * std::frexp(std::max(exponent, 1.0f), &power);
    return (mantissa + float(power - 1) - 1.0f) * (1.0f / 16.0f);
}

inline znFloatType<2> environmentLevel(znFloatType<2> exponent)
{
    const znIntType<2> bits = asInt(maximum(exponent, 1.0f));
    const znFloatType<2> power = toFloat((bits >> 23) - znIntType<2>(127));
    const znFloatType<2> mantissa =
        asFloat((bits & znIntType<2>(0x007fffff)) | znIntType<2>(0x3f800000));
    return (mantissa + power - 1.0f) * (1.0f / 16.0f);
}

} // namespace lobeMath
