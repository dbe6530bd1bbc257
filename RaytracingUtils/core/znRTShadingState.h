#pragma once

// The random stream and the place in the ray tree of four shading points. Travels by reference
// through one worker's chain of calls; never shared.

#include "core/znIntType.h"

#include "host/znAligned.h"

class znRTShadingState : public znAlignedBase16
{
public:
    /// All fields zero.
    znRTShadingState();

    /// @param seed, seed2   per lane; the first picks the row of the point table
    /// @param sample        index of the pixel sample
    /// @param runningDimension  first dimension that getValue and getVec2f will take
    /// @param a, b, c, d    the four counters
    znRTShadingState(const znIntType<2>& seed, const znIntType<2>& seed2, int sample,
                     int runningDimension, int a, int b, int c, int d);

    /// Same depth, new loop: keeps all but the first two counters.
    znRTShadingState(const znRTShadingState& other, int a, int b);
    /// New ray: keeps all but the four counters.
    znRTShadingState(const znRTShadingState& other, int a, int b, int c, int d);

    void increaseDimension(int n) { dimension += n; }
    int fetchAndIncrementDimension() { return dimension++; }

    znIntType<2> pixelSeed;
    znIntType<2> pixelSeed2;   ///< carried along; the table lookups do not read it
    znIntType<2> maskA, maskB; ///< all ones but in the default state
    u64 reservedA = 0, reservedB = 0;
    int depthInfo = 0;
    int sampleIndex = 0;
    int counterA = 0; ///< index inside the current splitting loop (light, gather, environment)
    int counterB = 0; ///< dimension index of indexed lookups, in steps of 773 rows
    int counterC = 0; ///< ray depth: reflections, refractions, gather rays
    int counterD = 0; ///< depth of straight continuations; they stop at 32
    int dimension = 0;
    int tail = 0;
};

inline znRTShadingState::znRTShadingState() : pixelSeed(0), pixelSeed2(0), maskA(0), maskB(0) {}

inline znRTShadingState::znRTShadingState(const znIntType<2>& seed, const znIntType<2>& seed2,
                                          int sample, int runningDimension, int a, int b, int c,
                                          int d)
    : pixelSeed(seed), pixelSeed2(seed2), maskA(-1), maskB(-1), sampleIndex(sample), counterA(a),
      counterB(b), counterC(c), counterD(d), dimension(runningDimension)
{
}

inline znRTShadingState::znRTShadingState(const znRTShadingState& other, int a, int b)
    : znRTShadingState(other, a, b, other.counterC, other.counterD)
{
}

inline znRTShadingState::znRTShadingState(const znRTShadingState& other, int a, int b, int c, int d)
    : znRTShadingState(other)
{
    maskA = znIntType<2>(-1);
    maskB = znIntType<2>(-1);
    counterA = a;
    counterB = b;
    counterC = c;
    counterD = d;
}
