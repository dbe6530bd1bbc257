#pragma once

// The radical inverses of host/radicalInverse.h for four indices at once; every lane equals the
// scalar form.

#include "core/znIntType.h"
#include "host/radicalInverse.h"

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

/// Unsigned lanes. Halves of 16 bits convert exactly, so their sum rounds once.
inline znFloatType<2> unsignedToFloat(znIntType<2> i)
{
    return toFloat(i >> 16) * 65536.0f + toFloat(i & znIntType<2>(0xffff));
}

inline znFloatType<2> fractionToFloat(znIntType<2> fraction)
{
    return unsignedToFloat(fraction) * 2.3283064e-10f;
}
