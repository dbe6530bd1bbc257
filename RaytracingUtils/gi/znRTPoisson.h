#pragma once

// The random numbers of everything inside a frame: a fixed table of 262,144 points of the unit
// square, of which every prefix and every short run is well spread (generators/progressivePoints.h
// makes it). A pixel starts at its own row, consecutive samples of one decision read consecutive
// rows, and decisions lie 773 rows apart:
//
//     row = (seed + sample + 773 * decision) mod 262144
//
// Nothing but that step separates two decisions of a path. Two that stand within 64 rows of each
// other are not independent: neighbours repel.
//
// All lookups wrap, so any seed and any dimension is valid. Between init() and destroy() they may
// run on any number of threads.

#include "core/znRTShadingState.h"
#include "core/znRTVector2fPacket.h"

class znRTPoisson
{
public:
    static constexpr u32 rowMask = 0x3ffff;
    static constexpr u32 rowStep = 773; ///< rows between decisions

    /// Pairs one after the other: entries 2 p and 2 p + 1 belong to row p. Multiples of 1e-6 inside
    /// (0, 1). Null outside of init() and destroy().
    static const float* s_randomValues;
    static u32 s_samples; ///< number of floats
    static u32 s_num;     ///< number of floats less one

    /// Installs the table; a second call changes nothing. The table has one size, whatever is
    /// asked for.
    static void init(u32 imageSamples, u32 dimensions);
    static void destroy();

    // Dimensions: 2 k and 2 k + 1 are the two components of row seed + 773 k.

    static float random(u32 seed, u32 dim, u32 spare);
    /// The same in all four lanes.
    static znFloatType<2> random(u32 seed, u32 dim, const znIntType<2>& spare);
    /// One seed per lane.
    static znFloatType<2> random(const znIntType<2>& seeds, u32 dim);
    /// The same; neither mask nor spare is looked at.
    static znFloatType<2> random(const znIntType<2>& seeds, u32 dim, const znFloatType<2>& mask,
                                 const znIntType<2>& spare);
    /// @param laneMask  bit l for lane l
    /// @return 0 in lanes off the mask; without any lane the table is not read
    static znFloatType<2> randomMasked(const znIntType<2>& seeds, u32 dim, int laneMask);

    /// Takes one dimension of the state. Fills all lanes, whatever the mask.
    static znFloatType<2> getValue(const znIntType<2>& seeds, znRTShadingState& state,
                                   const znFloatType<2>& mask);
    /// Takes two dimensions d and d + 1 of the state: y is of d and x of d + 1. Fills all lanes.
    static znRTVector2fPacket getVec2f(const znIntType<2>& seeds, znRTShadingState& state,
                                       const znFloatType<2>& mask);

    // Indices: row seed + 773 (a + b), for loops that count their samples and decisions themselves.
    // The sum a + b keeps 31 bits. The second seeds are not looked at.

    /// First component of the row, in all lanes.
    static znFloatType<2> getValue(const znIntType<2>& seeds, const znIntType<2>& otherSeeds, int a,
                                   int b, int laneMask);
    static znFloatType<2> getValue(const znIntType<2>& seeds, const znIntType<2>& otherSeeds, int a,
                                   int b, const znFloatType<2>& mask);
    /// Both components of the row; 0 in lanes off the mask.
    static znRTVector2fPacket getValue02(const znIntType<2>& seeds, const znIntType<2>& otherSeeds,
                                         int a, int b, int laneMask);
    static znRTVector2fPacket getValue02(const znIntType<2>& seeds, const znIntType<2>& otherSeeds,
                                         int a, int b, const znFloatType<2>& mask);

    /// Both components of any rows, one per lane.
    static znRTVector2fPacket getRows(const znIntType<2>& rows);

    /// There are no integers in the table.
    static u32 randomUInt(u32, u32, u32) { return 0; }

private:
    static znIntType<2> indexedRows(const znIntType<2>& seeds, int a, int b);
};

inline float znRTPoisson::random(u32 seed, u32 dim, u32)
{
    const u32 row = ((dim >> 1) * rowStep + seed) & rowMask;
    return s_randomValues[2 * row + (dim & 1)];
}

inline znFloatType<2> znRTPoisson::random(u32 seed, u32 dim, const znIntType<2>&)
{
    return random(seed, dim, 0u);
}

inline znFloatType<2> znRTPoisson::random(const znIntType<2>& seeds, u32 dim)
{
    const znIntType<2> rows =
        (seeds + znIntType<2>(int((dim >> 1) * rowStep))) & znIntType<2>(int(rowMask));
    const float* const component = s_randomValues + (dim & 1);
    return {component[2 * rows[0]], component[2 * rows[1]], component[2 * rows[2]],
            component[2 * rows[3]]};
}

inline znFloatType<2> znRTPoisson::random(const znIntType<2>& seeds, u32 dim, const znFloatType<2>&,
                                          const znIntType<2>&)
{
    return random(seeds, dim);
}

inline znFloatType<2> znRTPoisson::randomMasked(const znIntType<2>& seeds, u32 dim, int laneMask)
{
    if ((laneMask & 15) == 0)
        return 0.0f;
    return random(seeds, dim) & expandLanes(laneMask);
}

inline znFloatType<2> znRTPoisson::getValue(const znIntType<2>& seeds, znRTShadingState& state,
                                            const znFloatType<2>&)
{
    return random(seeds, u32(state.fetchAndIncrementDimension()));
}

inline znRTVector2fPacket znRTPoisson::getVec2f(const znIntType<2>& seeds, znRTShadingState& state,
                                                const znFloatType<2>& mask)
{
    const znFloatType<2> earlier = getValue(seeds, state, mask);
    const znFloatType<2> later = getValue(seeds, state, mask);
    return {later, earlier};
}

inline znRTVector2fPacket znRTPoisson::getRows(const znIntType<2>& rows)
{
    const znIntType<2> wrapped = rows & znIntType<2>(int(rowMask));
    // A pair is 8 bytes at a multiple of 8: one load each, then components apart.
    const auto pair = [&](int lane) {
        return reinterpret_cast<const __m64*>(s_randomValues + 2 * wrapped[lane]);
    };
    const __m128 zero = _mm_setzero_ps();
    const __m128 low = _mm_loadh_pi(_mm_loadl_pi(zero, pair(0)), pair(1));
    const __m128 high = _mm_loadh_pi(_mm_loadl_pi(zero, pair(2)), pair(3));
    return {_mm_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0)),
            _mm_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1))};
}

inline znIntType<2> znRTPoisson::indexedRows(const znIntType<2>& seeds, int a, int b)
{
    const u32 decision = (u32(a) + u32(b)) & 0x7fffffffu;
    return seeds + znIntType<2>(int(decision * rowStep));
}

inline znFloatType<2> znRTPoisson::getValue(const znIntType<2>& seeds, const znIntType<2>&, int a,
                                            int b, int)
{
    return random(indexedRows(seeds, a, b), 0);
}

inline znFloatType<2> znRTPoisson::getValue(const znIntType<2>& seeds,
                                            const znIntType<2>& otherSeeds, int a, int b,
                                            const znFloatType<2>&)
{
    return getValue(seeds, otherSeeds, a, b, 15);
}

inline znRTVector2fPacket znRTPoisson::getValue02(const znIntType<2>& seeds, const znIntType<2>&,
                                                  int a, int b, int laneMask)
{
    const znRTVector2fPacket pairs = getRows(indexedRows(seeds, a, b));
    const znFloatType<2> mask = expandLanes(laneMask);
    return {pairs.x & mask, pairs.y & mask};
}

inline znRTVector2fPacket znRTPoisson::getValue02(const znIntType<2>& seeds,
                                                  const znIntType<2>& otherSeeds, int a, int b,
                                                  const znFloatType<2>& mask)
{
    return getValue02(seeds, otherSeeds, a, b, moveMask(mask));
}
