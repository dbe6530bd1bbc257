#include "host/znRTColorTransforms.h"

#include "image/colorTable.h"
#include "image/simdMath.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

template <int Lane>
__m128 splat(__m128 v)
{
    return _mm_shuffle_ps(v, v, _MM_SHUFFLE(Lane, Lane, Lane, Lane));
}

__m128 multiplyAdd(__m128 a, __m128 b, __m128 c)
{
    return _mm_add_ps(_mm_mul_ps(a, b), c);
}

__m128 transform(const znColorMatrix& m, __m128 color)
{
    __m128 sum = multiplyAdd(m.column[0], splat<0>(color), m.column[3]);
    sum = multiplyAdd(m.column[1], splat<1>(color), sum);
    return multiplyAdd(m.column[2], splat<2>(color), sum);
}

/// a x^2 + b x over c x^2 + d x + e: the filmic curves are of this form without a constant above,
/// so that 0 is exactly 0.
__m128 rational(__m128 x, float a, float b, float c, float d, float e)
{
    const __m128 above = _mm_mul_ps(x, multiplyAdd(_mm_set1_ps(a), x, _mm_set1_ps(b)));
    const __m128 below =
        multiplyAdd(x, multiplyAdd(_mm_set1_ps(c), x, _mm_set1_ps(d)), _mm_set1_ps(e));
    return _mm_div_ps(above, below);
}

/// x (1 + k x) / (1 + x): k = burn / white^2. With burn 1 the white point reaches 1, with burn 0
/// nothing does. E. Reinhard et al., "Photographic Tone Reproduction for Digital Images", 2002.
__m128 reinhard(__m128 x, const znImagePostprocessor& p)
{
    return rational(x, p.tonemapScale, 1.0f, 0.0f, 1.0f, 1.0f);
}

/// Hable's curve with A .15, B .5, C .1, D .2, E .02, F .3, brought onto one fraction; scaled so
/// that the white point (11.2 at whitepoint 1) becomes 1.
__m128 filmic(__m128 x, const znImagePostprocessor& p)
{
    return _mm_mul_ps(
        rational(_mm_mul_ps(x, _mm_set1_ps(2.0f)), 0.14f, 0.5f / 30.0f, 0.15f, 0.5f, 0.06f),
        _mm_set1_ps(p.tonemapScale));
}

__m128 aces(__m128 x)
{
    return _mm_min_ps(rational(x, 2.51f, 0.03f, 2.43f, 0.59f, 0.14f), _mm_set1_ps(1.0f));
}

/// Drago's eq. 4 with bias 0.85 and a display maximum of 100 cd/m2: the base of the logarithm
/// moves from 2 in the shadows to 10 at the white point, which becomes 1.
__m128 logarithmic(__m128 x, const znImagePostprocessor& p)
{
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 share = _mm_mul_ps(x, _mm_set1_ps(p.tonemapFactor));
    const __m128 bias = simd::powPositive(share, _mm_set1_ps(0.23446525f)); // ln .85 / ln .5
    const __m128 base = multiplyAdd(_mm_set1_ps(8.0f), bias, _mm_set1_ps(2.0f));
    const __m128 value = _mm_div_ps(simd::log2(_mm_add_ps(one, x)), simd::log2(base));
    return _mm_mul_ps(value, _mm_set1_ps(p.tonemapScale));
}

/// Density of film, 1 - 2^(-x / ln 2), with contrast as a power about middle grey before it and
/// saturation about the luminance after it.
__m128 photographic(__m128 x, const znImagePostprocessor& p)
{
    constexpr float middleGrey = 0.18f;
    if (p.contrast != 1.0f)
        x = _mm_mul_ps(simd::powPositive(_mm_mul_ps(x, _mm_set1_ps(1.0f / middleGrey)),
                                         _mm_set1_ps(p.contrast)),
                       _mm_set1_ps(middleGrey));
    const __m128 c =
        _mm_sub_ps(_mm_set1_ps(1.0f), simd::exp2(_mm_mul_ps(x, _mm_set1_ps(-1.44269504f))));
    if (p.saturation == 1.0f)
        return c;
    const __m128 products = _mm_mul_ps(c, _mm_setr_ps(0.2125f, 0.7154f, 0.0721f, 0.0f));
    const __m128 luminance =
        _mm_add_ps(splat<0>(products), _mm_add_ps(splat<1>(products), splat<2>(products)));
    const __m128 saturated =
        multiplyAdd(_mm_set1_ps(p.saturation), _mm_sub_ps(c, luminance), luminance);
    return _mm_max_ps(saturated, _mm_setzero_ps());
}

/// What a surface of reflectance 4 % adds to its colour is taken off again, then colours above 0.76
/// are compressed with their hue kept, and the more they are, the whiter they get.
__m128 neutral(__m128 x)
{
    constexpr float start = 0.8f - 0.04f, desaturation = 0.15f, room = 1.0f - start;
    const __m128 least = _mm_min_ps(splat<0>(x), _mm_min_ps(splat<1>(x), splat<2>(x)));
    const __m128 quadratic =
        _mm_sub_ps(least, _mm_mul_ps(_mm_set1_ps(6.25f), _mm_mul_ps(least, least)));
    const __m128 offset =
        simd::select(_mm_cmplt_ps(least, _mm_set1_ps(0.08f)), quadratic, _mm_set1_ps(0.04f));
    const __m128 color = _mm_sub_ps(x, offset);
    const __m128 peak = _mm_max_ps(splat<0>(color), _mm_max_ps(splat<1>(color), splat<2>(color)));
    const __m128 isSmall = _mm_cmplt_ps(peak, _mm_set1_ps(start));
    if (_mm_movemask_ps(isSmall) == 15)
        return color;
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 newPeak = _mm_sub_ps(
        one, _mm_div_ps(_mm_set1_ps(room * room), _mm_add_ps(peak, _mm_set1_ps(room - start))));
    const __m128 scaled = _mm_mul_ps(color, _mm_div_ps(newPeak, peak));
    const __m128 keep =
        _mm_div_ps(one, multiplyAdd(_mm_set1_ps(desaturation), _mm_sub_ps(peak, newPeak), one));
    return multiplyAdd(keep, _mm_sub_ps(scaled, newPeak), newPeak);
}

__m128 encodeSRGB(__m128 x)
{
    const __m128 power = simd::powPositive(x, _mm_set1_ps(1.0f / 2.4f));
    const __m128 curve = multiplyAdd(_mm_set1_ps(1.055f), power, _mm_set1_ps(-0.055f));
    return simd::select(_mm_cmple_ps(x, _mm_set1_ps(0.0031308f)),
                        _mm_mul_ps(x, _mm_set1_ps(12.92f)), curve);
}

} // namespace

__m128 znRTColorTransforms::applyWhitebalancing(__m128 color,
                                                const znImagePostprocessor& postProcessor)
{
    if (!postProcessor.hasWhiteBalance)
        return color;
    return simd::withAlpha(transform(postProcessor.whiteBalance, color), color);
}

__m128 znRTColorTransforms::applyTonemapper(__m128 color, const znImagePostprocessor& postProcessor)
{
    if (!postProcessor.useTonemapping)
        return color;
    const __m128 x = _mm_mul_ps(color, _mm_set1_ps(postProcessor.exposureScale));
    // The upper end keeps infinity out of the quotients below. The second operand of max is what
    // NaN gives.
    const __m128 positive = _mm_min_ps(_mm_max_ps(x, _mm_setzero_ps()), _mm_set1_ps(1e15f));
    __m128 mapped = x;
    switch (postProcessor.tonemapper) {
    case znImagePostprocessor::tonemapClamp:
        mapped = _mm_min_ps(positive, _mm_set1_ps(1.0f));
        break;
    case znImagePostprocessor::tonemapReinhard:
        mapped = reinhard(positive, postProcessor);
        break;
    case znImagePostprocessor::tonemapFilmic:
        mapped = filmic(positive, postProcessor);
        break;
    case znImagePostprocessor::tonemapACES:
        mapped = aces(positive);
        break;
    case znImagePostprocessor::tonemapLogarithmic:
        mapped = logarithmic(positive, postProcessor);
        break;
    case znImagePostprocessor::tonemapPhotographic:
        mapped = photographic(positive, postProcessor);
        break;
    case znImagePostprocessor::tonemapNeutral:
        mapped = neutral(positive);
        break;
    }
    return simd::withAlpha(mapped, color);
}

__m128 znRTColorTransforms::applyColorCorrection(__m128 color, const __m128& lift,
                                                 const __m128& gamma, const __m128& gain,
                                                 const znColorMatrix& matrix)
{
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 lifted = multiplyAdd(lift, _mm_sub_ps(one, color), color);
    __m128 c = _mm_mul_ps(gain, lifted);
    const __m128 isLinear = _mm_cmpeq_ps(gamma, one);
    if ((_mm_movemask_ps(isLinear) & 7) != 7)
        c = simd::select(isLinear, c, simd::powPositive(c, _mm_div_ps(one, gamma)));
    return simd::withAlpha(transform(matrix, c), color);
}

__m128
znRTColorTransforms::applySceneplateColorCorrection(__m128 color,
                                                    const znImagePostprocessor& postProcessor)
{
    color = applyWhitebalancing(color, postProcessor);
    color = applyTonemapper(color, postProcessor);
    if (postProcessor.useColorCorrection)
        color = applyColorCorrection(color, postProcessor.lift, postProcessor.gamma,
                                     postProcessor.gain, postProcessor.matrix);
    return color;
}

__m128 znRTColorTransforms::applyColorProfile(__m128 color, const znColorProfile& profile)
{
    if (profile.kind == znColorProfile::linear)
        return color;
    const __m128 x = _mm_max_ps(color, _mm_setzero_ps());
    __m128 shown = encodeSRGB(x);
    if (profile.kind == znColorProfile::gamma)
        shown = simd::powPositive(x, _mm_set1_ps(profile.inverseGamma));
    else if (profile.kind == znColorProfile::table && profile.entries)
        shown = lookUpColorTable(profile.entries->data(), znColorProfile::tableSize, shown);
    return simd::withAlpha(shown, color);
}

__m128 znRTColorTransforms::applyNormalCompression(__m128 normal)
{
    const __m128 half = _mm_set1_ps(0.5f);
    return simd::withAlpha(multiplyAdd(normal, half, half), normal);
}

__m128 znRTColorTransforms::applyZDepthHandling(__m128 depth, float nearPlane, float farPlane)
{
    const double n = nearPlane, f = farPlane;
    if (!(f > n && n > 0.0))
        return depth;
    // With z the stored depth: d = n f / ((f - n) z + n), so (d - n) / (f - n) = n (1 - z) / ...
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 z = _mm_min_ps(_mm_max_ps(depth, _mm_setzero_ps()), one);
    const __m128 below = multiplyAdd(_mm_set1_ps(float(f - n)), z, _mm_set1_ps(float(n)));
    const __m128 share = _mm_div_ps(_mm_mul_ps(_mm_set1_ps(float(n)), _mm_sub_ps(one, z)), below);
    return simd::withAlpha(share, depth);
}

u32 znRTColorTransforms::toRGB9_E5(__m128 color)
{
    // EXT_texture_shared_exponent: bias 15, 9 bits of mantissa, largest value 511/512 * 2^16.
    constexpr int bias = 15, mantissaBits = 9;
    constexpr float largest = 65408.0f;
    alignas(16) float c[4];
    _mm_store_ps(c, _mm_min_ps(_mm_max_ps(color, _mm_setzero_ps()), _mm_set1_ps(largest)));
    const float strongest = std::max({c[0], c[1], c[2]});
    const int floorLog2 = int(std::bit_cast<u32>(strongest) >> 23) - 127;
    int exponent = std::max(-bias - 1, floorLog2) + 1 + bias;
    const auto scale = [&] { return std::ldexp(1.0f, exponent - bias - mantissaBits); };
    const auto mantissa = [&](float x) { return u32(x / scale() + 0.5f); };
    if (mantissa(strongest) == (1u << mantissaBits))
        ++exponent;
    return mantissa(c[0]) | mantissa(c[1]) << 9 | mantissa(c[2]) << 18 | u32(exponent) << 27;
}

__m128 znRTColorTransforms::applyDithering(__m128 color, int x, int y)
{
    // Bayer's matrix by interleaving the bits of x ^ y and y, lowest bit first.
    unsigned rank = 0;
    for (unsigned bit = 0, a = unsigned(x ^ y), b = unsigned(y); bit < 3; ++bit)
        rank = rank << 2 | (a >> bit & 1u) << 1 | (b >> bit & 1u);
    const float threshold = (float(rank) + 0.5f) * (1.0f / 64.0f) - 0.5f;
    const __m128 step = _mm_set1_ps(threshold * (1.0f / 255.0f));
    return simd::withAlpha(_mm_add_ps(color, step), color);
}
