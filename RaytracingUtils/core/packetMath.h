#pragma once

// Mathematics of packets that everything shares. Each approximation has its name and its error
// here, and nobody writes one inline. Denormals are read as zero where the float control is set
// as in workers (znRTFloatControl).

#include "core/znIntType.h"

#include <array>

/// Full-width masks by lane integer: entry b has all ones in lane l when bit l of b is set.
alignas(16) inline constexpr auto s_laneMaskTable = [] {
    std::array<std::array<std::uint32_t, 4>, 16> table{};
    for (unsigned b = 0; b < 16; ++b)
        for (unsigned lane = 0; lane < 4; ++lane)
            table[b][lane] = (b >> lane & 1) ? ~0u : 0u;
    return table;
}();

/// Lanes of an integer mask as a full-width mask.
/// @param lanes  bit l for lane l; higher bits are not read
inline znFloatType<2> expandLanes(int lanes)
{
    const std::uint32_t* const entry = s_laneMaskTable[std::size_t(lanes & 15)].data();
    return asFloat(znIntType<2>(_mm_load_si128(reinterpret_cast<const __m128i*>(entry))));
}

inline znFloatType<2> square(znFloatType<2> x)
{
    return x * x;
}

inline znFloatType<2> absolute(znFloatType<2> x)
{
    return andNot(znFloatType<2>(-0.0f), x);
}

/// min(max(x, low), high); NaN gives low.
inline znFloatType<2> clamp(znFloatType<2> x, znFloatType<2> low, znFloatType<2> high)
{
    return minimum(maximum(x, low), high);
}

inline znFloatType<2> clamp01(znFloatType<2> x)
{
    return clamp(x, 0.0f, 1.0f);
}

/// a + t (b - a)
inline znFloatType<2> mix(znFloatType<2> a, znFloatType<2> b, znFloatType<2> t)
{
    return a + t * (b - a);
}

/// All ones in lanes that are NaN.
inline znFloatType<2> isNaN(znFloatType<2> x)
{
    return _mm_cmpunord_ps(x.v, x.v);
}

/// 1/x for ray directions: the hardware estimate with one Newton step, 1.2e-7 relative.
/// A zero keeps the infinite estimate with the sign of the zero, which slab tests rely on.
/// +-infinity gives NaN; above 1.7e38 the result is 0.
inline znFloatType<2> reciprocalOrInfinity(znFloatType<2> x)
{
    const znFloatType<2> r = _mm_rcp_ps(x.v);
    // r * (r * x): the other grouping overflows for small x and turns the sign around.
    const znFloatType<2> correction = r * (r * x);
    return r + r - ((x != znFloatType<2>(0.0f)) & correction);
}

/// 1/x for divisions: one Newton step, 1.2e-7 relative, 0 for 0. +-infinity gives NaN.
inline znFloatType<2> reciprocalOrZero(znFloatType<2> x)
{
    const znFloatType<2> r = _mm_rcp_ps(x.v);
    return (x != znFloatType<2>(0.0f)) & (r + r - r * (r * x));
}

/// 1/x as the hardware estimates it, without refinement: 3e-4 relative.
inline znFloatType<2> reciprocalEstimate(znFloatType<2> x)
{
    return _mm_rcp_ps(x.v);
}

/// 1/sqrt(x): the hardware estimate with one Newton step, 2.4e-7 relative. NaN for 0, for
/// infinity and below 0.
inline znFloatType<2> reciprocalSquareRoot(znFloatType<2> x)
{
    const znFloatType<2> three(3.0f), half(0.5f);
    const znFloatType<2> r = _mm_rsqrt_ps(x.v);
    return (three - r * (r * x)) * (half * r);
}

/// Largest integer at or below x; x itself where it has no fraction bits left.
inline znFloatType<2> floor(znFloatType<2> x)
{
    const znFloatType<2> truncated = toFloat(toInt(x));
    const znFloatType<2> lowered = truncated - ((truncated > x) & znFloatType<2>(1.0f));
    return select(absolute(x) < znFloatType<2>(8388608.0f), lowered, x);
}

/// log2(x) by a rational form in (m - 1) / (m + 1), S. Moshier's Cephes log; x at or below the
/// smallest normal number counts as that number.
inline znFloatType<2> log2(znFloatType<2> x)
{
    const znFloatType<2> one(1.0f), log2e(1.442695f);
    const znFloatType<2> positive = maximum(x, asFloat(znIntType<2>(0x00800000)));
    const znIntType<2> bits = asInt(positive);
    const znFloatType<2> e = toFloat((bits >> 23) - znIntType<2>(127));
    const znFloatType<2> m = asFloat((bits & znIntType<2>(int(0x807fffffu))) | asInt(one));

    const znFloatType<2> ratio = (m - one) * reciprocalOrZero(m + one);
    const znFloatType<2> t = ratio + ratio;
    const znFloatType<2> s = t * t;
    const znFloatType<2> p = ((znFloatType<2>(-0.7895803f) * s + 16.386665f) * s - 64.141f) * s;
    const znFloatType<2> q = ((s - 35.67228f) * s + 312.09378f) * s - 769.69196f;
    return p * reciprocalOrZero(q) * t * log2e + (t * log2e + e);
}

/// 2^x by a rational form, S. Moshier's Cephes exp2; x is held inside +-127.49999, NaN gives the
/// lower end.
inline znFloatType<2> exp2(znFloatType<2> x)
{
    const znFloatType<2> limit(127.49999f), half(0.5f);
    const znFloatType<2> y = minimum(maximum(x, -limit), limit);
    const znFloatType<2> shifted = y + half;
    const znIntType<2> k = toInt(shifted) + asInt(~(shifted > znFloatType<2>(0.0f)));
    const znFloatType<2> f = y - toFloat(k);
    const znFloatType<2> s = f * f;
    const znFloatType<2> a = ((znFloatType<2>(0.023093348f) * s + 20.202066f) * s + 1513.9069f) * f;
    const znFloatType<2> b = (s + 233.1842f) * s + 4368.2114f - a;
    const znFloatType<2> quotient = a * reciprocalOrZero(b);
    const znIntType<2> scale = (k << 23) + znIntType<2>(0x3f800000);
    return (quotient + quotient + 1.0f) * asFloat(scale);
}

/// base^exponent, relative error about 4e-7 (1 + |exponent|); 0 for a base at or below 0 or NaN,
/// and for results below the smallest normal number. pow(x, 0) is 1 for x above 0.
inline znFloatType<2> pow(znFloatType<2> base, znFloatType<2> exponent)
{
    const znFloatType<2> result = exp2(log2(base) * exponent);
    return result & (base > znFloatType<2>(0.0f));
}

/// e^x through exp2
inline znFloatType<2> exp(znFloatType<2> x)
{
    return exp2(x * 1.442695f);
}

/// Sine and cosine by an odd polynomial over a quadrant: absolute error below 2e-4 for |x| below
/// 1000. The squares sum to 1 within 4e-4 only: who needs a unit vector normalizes it.
inline void sincos(znFloatType<2> x, znFloatType<2>& sine, znFloatType<2>& cosine)
{
    const znFloatType<2> one(1.0f), c1(asFloat(znIntType<2>(int(0xbf255de7u)))),
        c2(asFloat(znIntType<2>(0x3da335e3))), c3(-0.004681754f), halfPi(1.5707964f);
    const auto polynomial = [&](znFloatType<2> w) {
        const znFloatType<2> s = w * w;
        return w * (((c3 * s + c2) * s + c1) * s + halfPi);
    };
    const znFloatType<2> quarters = absolute(x) * znFloatType<2>(0.63661975f);
    const znIntType<2> quadrant = toInt(quarters);
    const znFloatType<2> f = minimum(quarters - toFloat(quadrant), one);
    const znFloatType<2> rising = polynomial(f), falling = polynomial(one - f);

    const znFloatType<2> isEven = asFloat((quadrant & znIntType<2>(1)) == znIntType<2>(0));
    const znIntType<2> bit0 = quadrant << 31;
    const znIntType<2> bit1 = (quadrant >> 1) << 31;
    const znFloatType<2> signOfX = x & znFloatType<2>(-0.0f);
    sine = select(isEven, rising, falling) ^ asFloat(bit1) ^ signOfX;
    cosine = select(isEven, falling, rising) ^ asFloat(bit0 ^ bit1);
}

/// Arc cosine, [0, pi]: absolute error below 7e-5; outside [-1, 1] as at the nearer end.
/// M. Abramowitz, I. Stegun, "Handbook of Mathematical Functions", 1964, 4.4.45.
inline znFloatType<2> acos(znFloatType<2> x)
{
    const znFloatType<2> one(1.0f), a = minimum(absolute(x), one);
    const znFloatType<2> polynomial =
        ((znFloatType<2>(-0.0187293f) * a + 0.074261f) * a - 0.2121144f) * a + 1.5707288f;
    const znFloatType<2> angle = polynomial * squareRoot(one - a);
    return select(x < znFloatType<2>(0.0f), znFloatType<2>(3.1415927f) - angle, angle);
}

/// Angle of the point (x, y), [-pi, pi]: a continued fraction on the octant, absolute error below
/// 1e-5. 0 for the origin.
inline znFloatType<2> atan2(znFloatType<2> y, znFloatType<2> x)
{
    const znFloatType<2> absX = absolute(x), absY = absolute(y);
    const znFloatType<2> isSteep = absY > absX;
    const znFloatType<2> t = minimum(absX, absY) * reciprocalOrZero(maximum(absX, absY));
    const znFloatType<2> s = t * t;
    znFloatType<2> fraction = s + 1.2797564f;
    fraction = s + 2.197217f - znFloatType<2>(0.09164612f) * reciprocalOrZero(fraction);
    fraction = s + 6.8193064f - znFloatType<2>(1.3956946f) * reciprocalOrZero(fraction);
    fraction = s + 28.205206f - znFloatType<2>(94.39393f) * reciprocalOrZero(fraction);
    znFloatType<2> angle = t * 12.888383f * reciprocalOrZero(fraction);
    angle = select(isSteep, znFloatType<2>(1.5707964f) - angle, angle);
    angle = select(x < znFloatType<2>(0.0f), znFloatType<2>(3.1415927f) - angle, angle);
    return angle ^ (y & znFloatType<2>(-0.0f));
}
