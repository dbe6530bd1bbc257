#include "gi/randomDecisions.h"

#include "support/lanes.h"

#include <cstdlib>

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
