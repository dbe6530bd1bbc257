#pragma once

// Moves between the lanes of a packet, as the walks need them.

#include "core/znFloatType.h"

/// One lane's value in all lanes.
template <int Lane>
inline znFloatType<2> broadcast(znFloatType<2> a)
{
    return _mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(Lane, Lane, Lane, Lane));
}

inline znFloatType<2> broadcast(const znFloatType<2>& a, int lane)
{
    return _mm_load1_ps(reinterpret_cast<const float*>(&a) + lane);
}

/// Lanes 2, 3, 0, 1.
inline znFloatType<2> swapHalves(znFloatType<2> a)
{
    return _mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(1, 0, 3, 2));
}

/// Lanes 1, 0, 3, 2.
inline znFloatType<2> swapPairs(znFloatType<2> a)
{
    return _mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(2, 3, 0, 1));
}

/// The smallest of the four, in all lanes.
inline znFloatType<2> minimumOfLanes(znFloatType<2> a)
{
    const znFloatType<2> pairs = minimum(a, swapPairs(a));
    return minimum(pairs, swapHalves(pairs));
}

/// The largest of the four, in all lanes.
inline znFloatType<2> maximumOfLanes(znFloatType<2> a)
{
    const znFloatType<2> pairs = maximum(a, swapPairs(a));
    return maximum(pairs, swapHalves(pairs));
}

inline float firstLane(znFloatType<2> a)
{
    return _mm_cvtss_f32(a.v);
}

/// Two floats each into the lower and the upper half.
inline znFloatType<2> loadHalves(const float* low, const float* high)
{
    const __m128 lower = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(low)));
    return _mm_loadh_pi(lower, reinterpret_cast<const __m64*>(high));
}
