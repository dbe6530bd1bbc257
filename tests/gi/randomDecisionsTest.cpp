#include "gi/randomDecisions.h"

#include "support/lanes.h"

#include <cstdlib>
#include <set>
#include <utility>

namespace {

class RandomDecisions : public testing::Test
{
protected:
    void SetUp() override { znRTPoisson::init(0, 0); }
    void TearDown() override { znRTPoisson::destroy(); }

    static float entry(u32 row, int component)
    {
        return znRTPoisson::s_randomValues[2 * (row & 0x3ffff) + u32(component)];
    }
    static znRTShadingState stateOf(int sampleIndex, int counterB)
    {
        return {znIntType<2>(0, 256, 512, 0x7fff00),
                znIntType<2>(0),
                sampleIndex,
                5,
                1,
                counterB,
                2,
                3};
    }
};

} // namespace

TEST_F(RandomDecisions, TakeConsecutiveRowsForTheSamplesOfAPixel)
{
    u32 row = 0;
    for (int sampleIndex = 0; sampleIndex < 3; ++sampleIndex)
        for (int i = 0; i < 5; ++i, ++row) {
            const znRTVector2fPacket pair =
                drawPair(stateOf(sampleIndex, 0), RandomDecision::lightPoint, 5, i, 15);
            const u32 decision = 3 * 773;
            EXPECT_LANES_EQ(pair.x, entry(row + decision, 0), entry(256 + row + decision, 0),
                            entry(512 + row + decision, 0), entry(0x7fff00 + row + decision, 0));
            EXPECT_LANES_EQ(pair.y, entry(row + decision, 1), entry(256 + row + decision, 1),
                            entry(512 + row + decision, 1), entry(0x7fff00 + row + decision, 1));
        }
}

TEST_F(RandomDecisions, GiveZeroInLanesOffTheMask)
{
    const znRTVector2fPacket pair = drawPair(stateOf(7, 0), RandomDecision::gather, 1, 0, 4);
    const u32 row = 512 + 7 + 9 * 773;
    EXPECT_LANES_EQ(pair.x, 0.0f, 0.0f, entry(row, 0), 0.0f);
    EXPECT_LANES_EQ(pair.y, 0.0f, 0.0f, entry(row, 1), 0.0f);
}

TEST_F(RandomDecisions, OfADeeperRayHaveRowsOfTheirOwn)
{
    const znRTShadingState deeper = deeperState(stateOf(2, 16));
    EXPECT_EQ(deeper.counterA, 0);
    EXPECT_EQ(deeper.counterB, 32);
    EXPECT_EQ(deeper.counterC, 3);
    EXPECT_EQ(deeper.counterD, 3);
    EXPECT_EQ(deeper.sampleIndex, 2);
    EXPECT_EQ(deeper.dimension, 5);
    const znRTVector2fPacket pair = drawPair(deeper, RandomDecision::lobeChoice, 1, 0, 1);
    EXPECT_EQ(pair.x[0], entry(2 + 33 * 773, 0));
}

// Rows within a window of 64 repel each other: decisions of one path never come that close, even
// around the end of the table, for paths of 128 rays.
TEST_F(RandomDecisions, StayApartForLongPaths)
{
    for (int k = 1; k < 128 * decisionsPerDepth; ++k) {
        const int row = k * 773 % 262144;
        EXPECT_GT(std::min(row, 262144 - row), 64) << "decision " << k;
    }
}

TEST_F(RandomDecisions, OfRaysOfOnePointAreSamplesOfTheirOwn)
{
    std::set<std::pair<int, int>> seen;
    for (int sampleIndex = 0; sampleIndex < 3; ++sampleIndex)
        for (int i = 0; i < 4; ++i)
            for (int branch = 0; branch < 2; ++branch) {
                const znRTShadingState split = splitState(stateOf(sampleIndex, 16), 4, i, branch);
                EXPECT_EQ(split.sampleIndex, 4 * sampleIndex + i);
                EXPECT_EQ(split.counterC, 3);
                EXPECT_TRUE(seen.insert({split.sampleIndex, split.counterB}).second);
            }
    EXPECT_EQ(splitState(stateOf(2, 16), 1, 0, 0).counterB, deeperState(stateOf(2, 16)).counterB);
}

// Two decisions in a row of one path: the mean of the product of two uniform numbers is 1/4, for
// each pair of decisions and any pair of bounces.
TEST_F(RandomDecisions, OfTwoBouncesAreIndependent)
{
    for (const RandomDecision decision : {RandomDecision::gather, RandomDecision::transparency})
        for (int bounces = 1; bounces < 4; ++bounces) {
            double sum = 0.0;
            constexpr int samples = 4096;
            for (int i = 0; i < samples; ++i) {
                const znRTShadingState first = stateOf(i, 0);
                znRTShadingState second = first;
                for (int bounce = 0; bounce < bounces; ++bounce)
                    second = deeperState(second);
                sum += double(drawPair(first, decision, 1, 0, 1).x[0]) *
                       double(drawPair(second, decision, 1, 0, 1).x[0]);
            }
            EXPECT_NEAR(sum / samples, 0.25, 0.004) << bounces;
        }
}
