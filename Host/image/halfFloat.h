#pragma once

// Half floats as the ray tracer reads them: one shift and one addition, without the special cases
// of IEEE 754. Zero is zero; denormals read as if they were normal (up to 6.1e-5) and infinity as
// 65536.

#include "host/znAligned.h"

#include <bit>

inline float halfToFloat(u16 half)
{
    const u32 magnitude = half & 0x7fffu;
    if (magnitude == 0)
        return 0.0f;
    return std::bit_cast<float>(((magnitude << 13) + 0x38000000u) | (u32(half & 0x8000u) << 16));
}

/// The half that halfToFloat turns into the nearest value (ties to even); beyond 65504 the end of
/// the range, NaN gives 0.
inline u16 floatToHalf(float value)
{
    const u32 bits = std::bit_cast<u32>(value);
    const u32 sign = (bits >> 16) & 0x8000u, magnitude = bits & 0x7fffffffu;
    if (magnitude > 0x7f800000u)
        return 0;
    if (magnitude >= 0x477fe000u)
        return u16(sign | 0x7bffu);
    // Half of the smallest value, 2^-15 (1 + 2^-10), divides it from zero.
    if (magnitude < 0x37801000u + 0x1000u)
        return u16(sign);
    const u32 least = 0x38002000u; // reads back from 1
    const u32 shifted = (magnitude < least ? least : magnitude) - 0x38000000u;
    return u16(sign | ((shifted + 0x0fffu + ((shifted >> 13) & 1u)) >> 13));
}
