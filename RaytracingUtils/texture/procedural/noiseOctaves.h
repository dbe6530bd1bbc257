#pragma once

// How many octaves of a noise a pixel can tell apart. Each octave is finer than the one before, so
// the finest fade first as the footprint grows, and without a step.

#include "core/znRTVector2fPacket.h"

#include <algorithm>

/// Frequency of an octave over that of the one before: not 2, lest lattices fall on each other.
inline constexpr float noiseLacunarity = 1.9348574f;
/// Amplitude of an octave over that of the one before.
inline constexpr float noiseGain = 0.5f;

struct znNoiseOctaves
{
    /// @param octaves    with a fraction: the last one enters with it
    /// @param footprint  of a pixel, in cells of the first octave; below 1 counts as 1
    znNoiseOctaves(float octaves, const znFloatType<2>& footprint)
    {
        // floor(log2(d)) and the mantissa of d, together a piecewise linear logarithm.
        const znIntType<2> bits = asInt(maximum(footprint, 1.0f));
        const znFloatType<2> exponent = toFloat((bits >> 23) - znIntType<2>(127));
        const znFloatType<2> mantissa =
            asFloat((bits & znIntType<2>(0x007fffff)) | znIntType<2>(0x3f800000));
        left = maximum(znFloatType<2>(octaves) - exponent - (mantissa - 1.0f), 0.0f);
    }

    /// Octaves to add up.
    int getCount() const
    {
        float most = 0.0f;
        for (int lane = 0; lane < 4; ++lane)
            most = std::max(most, left[lane]);
        return int(most) + (most > float(int(most)) ? 1 : 0);
    }
    /// Weight of an octave beside its amplitude, [0, 1].
    znFloatType<2> getWeight(int octave) const { return clamp01(left - float(octave)); }

    znFloatType<2> left; ///< what remains of the octaves, with the fraction of the last
};

/// Sum of octaves.
/// @param noise  noise(p) gives value and slope at p
template <class Noise, class Vector>
auto addOctaves(const Noise& noise, const Vector& p, const znNoiseOctaves& octaves)
{
    auto sum = noise(p);
    const znFloatType<2> first = octaves.getWeight(0);
    sum.value *= first;
    sum.slope *= first;
    float amplitude = 1.0f, frequency = 1.0f;
    const int count = octaves.getCount();
    for (int i = 1; i < count; ++i) {
        amplitude *= noiseGain;
        frequency *= noiseLacunarity;
        const auto octave = noise(p * znFloatType<2>(frequency));
        const znFloatType<2> weight = octaves.getWeight(i) * amplitude;
        sum.value += octave.value * weight;
        sum.slope += octave.slope * (weight * frequency);
    }
    return sum;
}
