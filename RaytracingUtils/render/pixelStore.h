#pragma once

// Conversion of a finished linear or display colour into the pixel formats of the host.

#include "host/pixelFormats.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <emmintrin.h>

/// Nearest of 256 steps of [0, 1], halves upward; values outside are clamped, NaN gives 0.
inline u8 toByte(float value)
{
    // The comparison order sends NaN to 0.
    const float clamped = value > 0.0f ? std::min(value, 1.0f) : 0.0f;
    return u8(clamped * 255.0f + 0.5f);
}

/// IEEE half, round to nearest even. Clamped to +-65504, NaN gives 0; tiny values become
/// subnormal halves whether or not the processor flushes denormal floats.
inline u16 toHalf(float value)
{
    if (value != value)
        return 0;
    u32 bits;
    std::memcpy(&bits, &value, sizeof bits);
    const u32 sign = (bits >> 16) & 0x8000u;
    const u32 magnitude = std::min(bits & 0x7fffffffu, 0x477fe000u); // 65504
    const u32 exponent = magnitude >> 23;
    if (exponent < 102) // below half of the smallest subnormal half, 2^-25
        return u16(sign);
    const u32 mantissa = (magnitude & 0x7fffffu) | 0x800000u;
    // Subnormal halves (below 2^-14) keep fewer bits the smaller they are.
    const u32 shift = exponent < 113 ? 126 - exponent : 13;
    const u32 kept = mantissa >> shift;
    const u32 rest = mantissa & ((1u << shift) - 1);
    const u32 half = 1u << (shift - 1);
    const u32 rounded = kept + (rest > half || (rest == half && (kept & 1)));
    // In a normal half the leading bit of the mantissa adds one to the exponent field; a carry of
    // the rounding runs into the exponent by itself.
    return u16(sign | (exponent < 113 ? rounded : ((exponent - 113) << 10) + rounded));
}

inline float fromHalf(u16 half)
{
    const int exponent = (half >> 10) & 31;
    const float mantissa = float(half & 1023);
    const float magnitude = exponent == 31  ? (mantissa > 0.0f ? NAN : INFINITY)
                            : exponent == 0 ? std::ldexp(mantissa, -24)
                                            : std::ldexp(1024.0f + mantissa, exponent - 25);
    return half & 0x8000 ? -magnitude : magnitude;
}

inline void store(ZN_RGBA32F& pixel, __m128 c)
{
    _mm_storeu_ps(&pixel.r, c);
}

inline void store(ZN_RGB32F& pixel, __m128 c)
{
    alignas(16) float v[4];
    _mm_store_ps(v, c);
    pixel = {v[0], v[1], v[2]};
}

inline void store(ZN_RGBA16F& pixel, __m128 c)
{
    alignas(16) float v[4];
    _mm_store_ps(v, c);
    pixel = {toHalf(v[0]), toHalf(v[1]), toHalf(v[2]), toHalf(v[3])};
}

inline void store(ZN_RGBA& pixel, __m128 c)
{
    alignas(16) float v[4];
    _mm_store_ps(v, c);
    pixel = {toByte(v[0]), toByte(v[1]), toByte(v[2]), toByte(v[3])};
}

inline void store(ZN_BGRA& pixel, __m128 c)
{
    alignas(16) float v[4];
    _mm_store_ps(v, c);
    pixel = {toByte(v[2]), toByte(v[1]), toByte(v[0]), toByte(v[3])};
}

inline void store(ZN_RGB& pixel, __m128 c)
{
    alignas(16) float v[4];
    _mm_store_ps(v, c);
    pixel = {toByte(v[0]), toByte(v[1]), toByte(v[2])};
}

inline void store(ZN_BGR& pixel, __m128 c)
{
    alignas(16) float v[4];
    _mm_store_ps(v, c);
    pixel = {toByte(v[2]), toByte(v[1]), toByte(v[0])};
}

/// Shared exponent of the largest component. G. Ward, "Real Pixels", Graphics Gems II, 1991.
/// Negative components and NaN become 0, the largest representable value is 255 * 2^119.
inline void store(ZN_RGBE& pixel, __m128 c)
{
    constexpr float largest = 255.0f * 0x1p119f, smallest = 1e-32f;
    alignas(16) float v[4];
    _mm_store_ps(v, c);
    for (float& component : v)
        component = component > 0.0f ? std::min(component, largest) : 0.0f;
    const float maximum = std::max({v[0], v[1], v[2]});
    if (maximum < smallest) {
        pixel = {0, 0, 0, 0};
        return;
    }
    int exponent;
    std::frexp(maximum, &exponent);
    const float scale = std::ldexp(1.0f, 8 - exponent);
    pixel = {u8(v[0] * scale), u8(v[1] * scale), u8(v[2] * scale), u8(exponent + 128)};
}
