#pragma once

// Luminance as a colour.

#include "core/znRTColorPacket.h"

/// Blue, cyan, green, yellow, red for luminances from 0 to 8000, linear in between; NaN counts as
/// 0.
/// @return colour with alpha 1
inline znRTColorPacket falseColor(const znFloatType<2>& luminance)
{
    constexpr float brightest = 8000.0f;
    const znFloatType<2> zero(0.0f), one(1.0f);
    const znFloatType<2> v = clamp(luminance, 0.0f, brightest) * (1.0f / brightest);
    // Just below 4, the end of the last section; just above 0 for the brightest.
    const znFloatType<2> t = maximum(0.001f, (one - v) * 3.999f);
    const znFloatType<2> f = t - floor(t), rest = one - f;
    const znFloatType<2> in0 = t < one, below2 = t < znFloatType<2>(2.0f),
                         below3 = t < znFloatType<2>(3.0f);
    const znFloatType<2> r = select(in0, one, select(below2, rest, zero));
    const znFloatType<2> g = select(in0, f, select(below3, one, rest));
    const znFloatType<2> b = select(below2, zero, select(below3, f, one));
    return {r, g, b, one};
}
