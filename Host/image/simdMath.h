#pragma once

// Powers and logarithms of four floats in SSE2, good to about 1e-6 relative. Arguments are
// positive and finite; the callers clamp.

#include <emmintrin.h>

namespace simd {

inline __m128 select(__m128 mask, __m128 a, __m128 b)
{
    return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
}

/// log2 of x in [2^-126, 2^127]. With m in [sqrt(1/2), sqrt(2)) and s = (m - 1) / (m + 1), the
/// series 2 / ln 2 (s + s^3 / 3 + ... + s^9 / 9) is off by less than 1e-9.
inline __m128 log2(__m128 x)
{
    const __m128i bits = _mm_castps_si128(x);
    // The exponent for which the mantissa comes out around 1.
    const __m128i sqrtHalf = _mm_set1_epi32(0x3f3504f3);
    const __m128i exponent = _mm_srai_epi32(_mm_sub_epi32(bits, sqrtHalf), 23);
    const __m128 m = _mm_castsi128_ps(_mm_sub_epi32(bits, _mm_slli_epi32(exponent, 23)));
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 s = _mm_div_ps(_mm_sub_ps(m, one), _mm_add_ps(m, one));
    const __m128 s2 = _mm_mul_ps(s, s);
    __m128 series = _mm_set1_ps(0.32059890f); // 2 / (9 ln 2)
    series = _mm_add_ps(_mm_mul_ps(series, s2), _mm_set1_ps(0.41219859f));
    series = _mm_add_ps(_mm_mul_ps(series, s2), _mm_set1_ps(0.57707802f));
    series = _mm_add_ps(_mm_mul_ps(series, s2), _mm_set1_ps(0.96179669f));
    series = _mm_add_ps(_mm_mul_ps(series, s2), _mm_set1_ps(2.88539008f));
    return _mm_add_ps(_mm_cvtepi32_ps(exponent), _mm_mul_ps(series, s));
}

/// 2^x, x clamped to [-126, 126]: Taylor series of degree 7 on [-1/2, 1/2], times a power of two.
inline __m128 exp2(__m128 x)
{
    x = _mm_max_ps(_mm_min_ps(x, _mm_set1_ps(126.0f)), _mm_set1_ps(-126.0f));
    const __m128i whole = _mm_cvtps_epi32(x); // to nearest
    const __m128 f = _mm_mul_ps(_mm_sub_ps(x, _mm_cvtepi32_ps(whole)), _mm_set1_ps(0.69314718f));
    __m128 series = _mm_set1_ps(1.0f / 5040.0f);
    for (const float factor :
         {1.0f / 720.0f, 1.0f / 120.0f, 1.0f / 24.0f, 1.0f / 6.0f, 0.5f, 1.0f, 1.0f})
        series = _mm_add_ps(_mm_mul_ps(series, f), _mm_set1_ps(factor));
    const __m128i scale = _mm_slli_epi32(_mm_add_epi32(whole, _mm_set1_epi32(127)), 23);
    return _mm_mul_ps(series, _mm_castsi128_ps(scale));
}

/// x^y with 0 for x of 0 and below (and for NaN).
inline __m128 powPositive(__m128 x, __m128 y)
{
    const __m128 smallest = _mm_set1_ps(1.17549435e-38f);
    const __m128 isPositive = _mm_cmpge_ps(x, smallest);
    const __m128 safe = _mm_min_ps(select(isPositive, x, _mm_set1_ps(1.0f)), _mm_set1_ps(1e38f));
    return _mm_and_ps(isPositive, exp2(_mm_mul_ps(y, log2(safe))));
}

/// First three lanes of a, fourth of b.
inline __m128 withAlpha(__m128 a, __m128 b)
{
    const __m128 rgb = _mm_castsi128_ps(_mm_setr_epi32(-1, -1, -1, 0));
    return select(rgb, a, b);
}

} // namespace simd
