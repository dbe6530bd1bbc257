#include "core/znRTShadingState.h"

#include "support/lanes.h"

#include <algorithm>
#include <iterator>

namespace {

znRTShadingState sample()
{
    znRTShadingState state(znIntType<2>(1, 2, 3, 4), znIntType<2>(5, 6, 7, 8), 9, 10, 11, 12, 13,
                           14);
    state.reservedA = 15;
    state.reservedB = 16;
    state.depthInfo = 17;
    return state;
}

} // namespace

TEST(ShadingState, IsZeroByDefault)
{
    const znRTShadingState state;
    EXPECT_INT_LANES(state.pixelSeed, 0, 0, 0, 0);
    EXPECT_INT_LANES(state.pixelSeed2, 0, 0, 0, 0);
    EXPECT_INT_LANES(state.maskA, 0, 0, 0, 0);
    EXPECT_INT_LANES(state.maskB, 0, 0, 0, 0);
    for (int value : {state.depthInfo, state.sampleIndex, state.counterA, state.counterB,
                      state.counterC, state.counterD, state.dimension, state.tail})
        EXPECT_EQ(value, 0);
}

TEST(ShadingState, TakesSeedsSampleDimensionAndCountersInThisOrder)
{
    const znRTShadingState state = sample();
    EXPECT_INT_LANES(state.pixelSeed, 1, 2, 3, 4);
    EXPECT_INT_LANES(state.pixelSeed2, 5, 6, 7, 8);
    EXPECT_INT_LANES(state.maskA, -1, -1, -1, -1);
    EXPECT_INT_LANES(state.maskB, -1, -1, -1, -1);
    EXPECT_EQ(state.sampleIndex, 9);
    EXPECT_EQ(state.dimension, 10);
    EXPECT_EQ(state.counterA, 11);
    EXPECT_EQ(state.counterB, 12);
    EXPECT_EQ(state.counterC, 13);
    EXPECT_EQ(state.counterD, 14);
    EXPECT_EQ(state.tail, 0);
}

TEST(ShadingState, KeepsDimensionAndDepthInANewLoop)
{
    const znRTShadingState copy(sample(), 100, 200);
    EXPECT_EQ(copy.counterA, 100);
    EXPECT_EQ(copy.counterB, 200);
    EXPECT_EQ(copy.counterC, 13);
    EXPECT_EQ(copy.counterD, 14);
    EXPECT_EQ(copy.dimension, 10);
    EXPECT_EQ(copy.sampleIndex, 9);
    EXPECT_EQ(copy.reservedA, 15u);
    EXPECT_EQ(copy.reservedB, 16u);
    EXPECT_EQ(copy.depthInfo, 17);
    EXPECT_INT_LANES(copy.pixelSeed2, 5, 6, 7, 8);
}

TEST(ShadingState, ReplacesAllCountersForANewRay)
{
    const znRTShadingState copy(sample(), 100, 200, 300, 400);
    EXPECT_EQ(copy.counterA, 100);
    EXPECT_EQ(copy.counterB, 200);
    EXPECT_EQ(copy.counterC, 300);
    EXPECT_EQ(copy.counterD, 400);
    EXPECT_EQ(copy.dimension, 10);
    EXPECT_INT_LANES(znRTShadingState(znRTShadingState(), 1, 2, 3, 4).maskA, -1, -1, -1, -1);
}

TEST(ShadingState, CountsItsDimensionUp)
{
    znRTShadingState state = sample();
    EXPECT_EQ(state.fetchAndIncrementDimension(), 10);
    EXPECT_EQ(state.fetchAndIncrementDimension(), 11);
    state.increaseDimension(5);
    EXPECT_EQ(state.dimension, 17);
}

// Hosts read states by the places of their fields.
TEST(ShadingState, KeepsTheOrderOfItsFields)
{
    const znRTShadingState state;
    const void* const fields[] = {
        &state.pixelSeed, &state.pixelSeed2, &state.maskA,       &state.maskB,    &state.reservedA,
        &state.reservedB, &state.depthInfo,  &state.sampleIndex, &state.counterA, &state.counterB,
        &state.counterC,  &state.counterD,   &state.dimension,   &state.tail};
    EXPECT_EQ(fields[0], &state);
    EXPECT_TRUE(std::is_sorted(std::begin(fields), std::end(fields)));
}
