#pragma once

// Which rows of the random table a path reads. A decision that is sampled N times per pixel sample
// takes N consecutive rows, and the next pixel sample the next N, so that the samples of a decision
// are a run of the table; decisions lie 773 rows apart:
//
//     row = seed + sampleIndex N + i + 773 (counterB + decision)
//
// counterB grows by decisionsPerDepth with each ray, so that no two decisions of a path share rows.

#include "gi/znRTPoisson.h"

/// The number is part of the row: a new decision takes the next free one.
enum class RandomDecision : int {
    translucency,
    lobeChoice,
    lightChoice,
    lightPoint, ///< on the light chosen: a row of its own, not the choice's
    transparency,
    multipass,
    environment,
    lobeSample,
    roulette,
    gather,
    gatherGlossy,
    roundedEdge,
    roundedEdgeFrame,
    lampByLobe,
    subsurface,    ///< where light enters a body
    subsurfaceWay, ///< how that place is looked for
    count
};

inline constexpr int decisionsPerDepth = 16;
static_assert(int(RandomDecision::count) <= decisionsPerDepth);

/// Two numbers inside (0, 1) per lane for sample i of N of a decision.
/// @param samples    N, at least 1
/// @param i          0 to N - 1
/// @param laneMask   bit l for lane l
/// @return 0 in lanes off the mask
inline znRTVector2fPacket drawPair(const znRTShadingState& state, RandomDecision decision,
                                   int samples, int i, int laneMask)
{
    const u32 sample = u32(state.sampleIndex) * u32(samples) + u32(i);
    return znRTPoisson::getValue02(state.pixelSeed + znIntType<2>(int(sample)), state.pixelSeed2,
                                   state.counterB, int(decision), laneMask);
}

/// State of a new ray one bounce deeper: new decisions, a new splitting loop.
inline znRTShadingState deeperState(const znRTShadingState& state)
{
    return {state, 0, state.counterB + decisionsPerDepth, state.counterC + 1, state.counterD};
}

/// State of ray i of N that one point sends out for one purpose: samples of its own, so that the N
/// rays do not all take the same decisions at what they hit.
/// @param branch  rays of one point for different purposes take different ones, from 0
inline znRTShadingState splitState(const znRTShadingState& state, int samples, int i, int branch)
{
    // Branches start behind all bounces that a path may have, 100.
    constexpr int decisionsPerBranch = 128 * decisionsPerDepth;
    znRTShadingState split = deeperState(state);
    split.sampleIndex = int(u32(state.sampleIndex) * u32(samples) + u32(i));
    split.counterB += branch * decisionsPerBranch;
    return split;
}
