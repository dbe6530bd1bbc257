#pragma once

// Radical inverses in base 2 with random digit scrambling, as fixed-point fractions of 2^32, shared
// by the samplers of the renderer and the sub-pixel shifts of still frames. T. Kollig, A. Keller,
// "Efficient Multidimensional Sampling", Eurographics 2002. The first with the second is a
// (0, 2)-sequence; each is a (0, 2)-net beside a regular grid, and the third the evenest there.
//
// The scramble r is the value of index 0. Indices are read as unsigned.

#include "host/znAligned.h"

/// Van der Corput: the bits of i in reverse.
inline u32 BitReverseRI(u32 i, u32 r)
{
    i = (i << 16) | (i >> 16);
    i = ((i & 0x00ff00ffu) << 8) | ((i & 0xff00ff00u) >> 8);
    i = ((i & 0x0f0f0f0fu) << 4) | ((i & 0xf0f0f0f0u) >> 4);
    i = ((i & 0x33333333u) << 2) | ((i & 0xccccccccu) >> 2);
    i = ((i & 0x55555555u) << 1) | ((i & 0xaaaaaaaau) >> 1);
    return i ^ r;
}

/// Second dimension of Sobol's sequence.
inline u32 SobolRI(u32 i, u32 r)
{
    for (u32 m = 0x80000000u; i != 0; i >>= 1, m ^= m >> 1)
        if (i & 1)
            r ^= m;
    return r;
}

/// Larcher and Pillichshammer's companion to the regular grid i / n.
inline u32 LarcherPillichshammerRI(u32 i, u32 r)
{
    for (u32 m = 0x80000000u; i != 0; i >>= 1, m |= m >> 1)
        if (i & 1)
            r ^= m;
    return r;
}

/// The fraction as a float, [0, 1]: rounding takes the last 128 fractions to 1.
inline float fractionToFloat(u32 fraction)
{
    return float(fraction) * 2.3283064e-10f;
}
