#pragma once

// Radical inverses in base 2 with random digit scrambling, as fixed-point fractions of 2^32, one
// value or one per lane. T. Kollig, A. Keller, "Efficient Multidimensional Sampling", Eurographics
// 2002; the second and third columns follow I. Sobol and G. Larcher, F. Pillichshammer. The
// first with the second is a (0, 2)-sequence; each is a (0, 2)-net beside a regular grid, and the
// third the evenest.
//
// The scramble r is the value of index 0. Indices are read as unsigned.

#include "core/znIntType.h"
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

/// Bits of every lane below 2^16 and above, exchanged step by step as in the form above.
inline znIntType<2> BitReverseRI(znIntType<2> i, znIntType<2> r)
{
    const auto exchange = [&](int bits, u32 mask) {
        const znIntType<2> low = znIntType<2>(int(mask));
        i = ((i & low) << bits) | ((i >> bits) & low);
    };
    exchange(16, 0x0000ffffu);
    exchange(8, 0x00ff00ffu);
    exchange(4, 0x0f0f0f0fu);
    exchange(2, 0x33333333u);
    exchange(1, 0x55555555u);
    return i ^ r;
}

/// Adds up the columns of the generator matrix that the bits of i select; nextColumn makes the
/// next one of m.
template <class NextColumn>
inline znIntType<2> sumOfColumns(znIntType<2> i, znIntType<2> r, NextColumn nextColumn)
{
    const znIntType<2> zero(0), one(1);
    for (u32 m = 0x80000000u; moveMask(i == zero) != 15; i = i >> 1, m = nextColumn(m))
        r ^= ((i & one) == one) & znIntType<2>(int(m));
    return r;
}

inline znIntType<2> SobolRI(znIntType<2> i, znIntType<2> r)
{
    return sumOfColumns(i, r, [](u32 m) { return m ^ (m >> 1); });
}

inline znIntType<2> LarcherPillichshammerRI(znIntType<2> i, znIntType<2> r)
{
    return sumOfColumns(i, r, [](u32 m) { return m | (m >> 1); });
}

/// The fraction as a float, [0, 1]: rounding takes the last 128 fractions to 1.
inline float fractionToFloat(u32 fraction)
{
    return float(fraction) * 2.3283064e-10f;
}

/// The same per lane. Halves of 16 bits convert exactly, so their sum rounds once.
inline znFloatType<2> unsignedToFloat(znIntType<2> i)
{
    return toFloat(i >> 16) * 65536.0f + toFloat(i & znIntType<2>(0xffff));
}

inline znFloatType<2> fractionToFloat(znIntType<2> fraction)
{
    return unsignedToFloat(fraction) * 2.3283064e-10f;
}
