#pragma once

// The per-pixel seed: a linear pixel id through Robert Jenkins' 32-bit integer mix. Images wider
// than 1024 repeat ids; neighbours never share one.

#include "core/znIntType.h"
#include "host/znAligned.h"

inline u32 jenkinsMix(u32 a)
{
    a = (a + 0x7ed55d16u) + (a << 12);
    a = (a ^ 0xc761c23cu) ^ (a >> 19);
    a = (a + 0x165667b1u) + (a << 5);
    a = (a + 0xd3a2646cu) ^ (a << 9);
    a = (a + 0xfd7046c5u) + (a << 3);
    a = (a ^ 0xb55a4f09u) ^ (a >> 16);
    return a;
}

inline znIntType<2> jenkinsMix(znIntType<2> a)
{
    a = (a + znIntType<2>(int(0x7ed55d16u))) + (a << 12);
    a = (a ^ znIntType<2>(int(0xc761c23cu))) ^ (a >> 19);
    a = (a + znIntType<2>(int(0x165667b1u))) + (a << 5);
    a = (a + znIntType<2>(int(0xd3a2646cu))) ^ (a << 9);
    a = (a + znIntType<2>(int(0xfd7046c5u))) + (a << 3);
    a = (a ^ znIntType<2>(int(0xb55a4f09u))) ^ (a >> 16);
    return a;
}

/// Hash of four pixels.
inline znIntType<2> hashPixel(znIntType<2> x, znIntType<2> y)
{
    return jenkinsMix(x + (y << 10));
}

/// Rotation of all sample sequences of a pixel: 23 bits in steps of 256 rows of the point table.
inline znIntType<2> scrambleOf(znIntType<2> hash)
{
    return (hash << 8) & znIntType<2>(0x7fffff);
}
