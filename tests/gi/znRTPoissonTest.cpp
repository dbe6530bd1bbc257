#include "gi/znRTPoisson.h"

#include "support/lanes.h"

namespace {

class Poisson : public testing::Test
{
protected:
    void SetUp() override { znRTPoisson::init(64, 8); }
    void TearDown() override { znRTPoisson::destroy(); }

    /// Component of a row, by the layout of the table.
    static float entry(u64 row, int component)
    {
        return znRTPoisson::s_randomValues[2 * (row % 262144) + component];
    }
    static znRTShadingState stateAt(int dimension)
    {
        return {seeds(), znIntType<2>(0), 0, dimension, 0, 0, 0, 0};
    }
    static znIntType<2> seeds() { return {0, 256, 0x7fffff, 12345}; }
    /// Expected component of all four lanes, d rows of 773 from the seeds.
    static znFloatType<2> expected(u64 d, int component)
    {
        return {entry(0 + 773 * d, component), entry(256 + 773 * d, component),
                entry(0x7fffff + 773 * d, component), entry(12345 + 773 * d, component)};
    }
};

#define EXPECT_SAME_LANES(actual, expected)                                                        \
    EXPECT_PRED_FORMAT3(lanesNear, (actual), (expected), 0.0f)

} // namespace

TEST_F(Poisson, IsInstalledOnceWhateverIsAskedFor)
{
    const float* const table = znRTPoisson::s_randomValues;
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(znRTPoisson::s_samples, 0x80000u);
    EXPECT_EQ(znRTPoisson::s_num, 0x7ffffu);
    znRTPoisson::init(1, 2);
    EXPECT_EQ(znRTPoisson::s_randomValues, table);
    EXPECT_EQ(znRTPoisson::s_samples, 0x80000u);
    EXPECT_EQ(znRTPoisson::s_num, 0x7ffffu);
}

TEST_F(Poisson, IsGoneAfterDestroyAndComesBackTheSame)
{
    const float first = znRTPoisson::random(5, 0, 0u);
    znRTPoisson::destroy();
    EXPECT_EQ(znRTPoisson::s_randomValues, nullptr);
    EXPECT_EQ(znRTPoisson::s_samples, 0u);
    EXPECT_EQ(znRTPoisson::s_num, 0u);
    znRTPoisson::destroy();
    znRTPoisson::init(0, 0);
    EXPECT_EQ(znRTPoisson::random(5, 0, 0u), first);
}

TEST_F(Poisson, ReadsTheComponentsOfOneRowInAPairOfDimensions)
{
    for (u32 seed : {0u, 1u, 77u, 256u, 100000u}) {
        EXPECT_EQ(znRTPoisson::random(seed, 6, 0u), entry(3 * 773 + seed, 0));
        EXPECT_EQ(znRTPoisson::random(seed, 7, 0u), entry(3 * 773 + seed, 1));
    }
}

TEST_F(Poisson, WrapsSeedsAndDimensions)
{
    EXPECT_EQ(znRTPoisson::random(0x7fffff, 0, 0u), entry(0x3ffff, 0));
    EXPECT_EQ(znRTPoisson::random(0x7fffff, 1, 0u), entry(0x3ffff, 1));
    // 2^31 - 1 pairs of dimensions: modulo 2^18 that is one step back.
    EXPECT_EQ(znRTPoisson::random(773, 0xfffffffe, 0u), entry(0, 0));
    EXPECT_EQ(znRTPoisson::random(0xffffffff, 0, 0u), entry(0x3ffff, 0));
}

TEST_F(Poisson, ReadsFourSeedsAtOnceAsOneByOne)
{
    for (u32 dim : {0u, 1u, 6u, 7u, 1000u, 0x80000001u, 0xffffffffu}) {
        const znFloatType<2> packet = znRTPoisson::random(seeds(), dim);
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_EQ(packet[lane], znRTPoisson::random(u32(seeds()[lane]), dim, 0u));
        EXPECT_SAME_LANES(
            znRTPoisson::random(seeds(), dim, znFloatType<2>::noLanes(), znIntType<2>(9)), packet);
        EXPECT_SAME_LANES(znRTPoisson::random(12345u, dim, znIntType<2>(9)),
                          znFloatType<2>(packet[3]));
    }
}

TEST_F(Poisson, IgnoresTheThirdArgumentOfASingleLookup)
{
    EXPECT_EQ(znRTPoisson::random(9, 4, 0u), znRTPoisson::random(9, 4, 0xffffffffu));
}

TEST_F(Poisson, GivesZeroInLanesOffAnIntegerMask)
{
    const znFloatType<2> all = znRTPoisson::random(seeds(), 5);
    EXPECT_LANES_EQ(znRTPoisson::randomMasked(seeds(), 5, 5), all[0], 0.0f, all[2], 0.0f);
    EXPECT_SAME_LANES(znRTPoisson::randomMasked(seeds(), 5, 15), all);
}

TEST_F(Poisson, ReadsNothingWithoutAnyLane)
{
    znRTPoisson::destroy(); // a read would be one through null
    EXPECT_LANES_EQ(znRTPoisson::randomMasked(seeds(), 5, 0), 0.0f, 0.0f, 0.0f, 0.0f);
}

TEST_F(Poisson, TakesADimensionOfTheStatePerValue)
{
    znRTShadingState state = stateAt(6);
    EXPECT_SAME_LANES(znRTPoisson::getValue(seeds(), state, znFloatType<2>::noLanes()),
                      expected(3, 0));
    EXPECT_EQ(state.dimension, 7);
    EXPECT_SAME_LANES(znRTPoisson::getValue(seeds(), state, znFloatType<2>::allLanes()),
                      expected(3, 1));
    EXPECT_EQ(state.dimension, 8);
}

TEST_F(Poisson, PutsTheLaterOfTwoDimensionsIntoX)
{
    znRTShadingState even = stateAt(6);
    const znRTVector2fPacket ofOneRow =
        znRTPoisson::getVec2f(seeds(), even, znFloatType<2>::noLanes());
    EXPECT_EQ(even.dimension, 8);
    EXPECT_SAME_LANES(ofOneRow.x, expected(3, 1));
    EXPECT_SAME_LANES(ofOneRow.y, expected(3, 0));

    znRTShadingState odd = stateAt(7);
    const znRTVector2fPacket ofTwoRows =
        znRTPoisson::getVec2f(seeds(), odd, znFloatType<2>::allLanes());
    EXPECT_EQ(odd.dimension, 9);
    EXPECT_SAME_LANES(ofTwoRows.x, expected(4, 0));
    EXPECT_SAME_LANES(ofTwoRows.y, expected(3, 1));
}

TEST_F(Poisson, ReadsTheRowOfAnIndexAndADecision)
{
    const znIntType<2> ignored(99, -1, 7, 0);
    const znRTVector2fPacket pair = znRTPoisson::getValue02(seeds(), ignored, 5, 9, 15);
    EXPECT_SAME_LANES(pair.x, expected(14, 0));
    EXPECT_SAME_LANES(pair.y, expected(14, 1));
    EXPECT_SAME_LANES(znRTPoisson::getValue(seeds(), ignored, 5, 9, 0), expected(14, 0));
    EXPECT_SAME_LANES(znRTPoisson::getValue(seeds(), ignored, 9, 5, znFloatType<2>::noLanes()),
                      expected(14, 0));
}

// The sum of index and decision keeps 31 bits.
TEST_F(Poisson, MasksSumsThatAreNegativeOrOverflow)
{
    const znIntType<2> none(0);
    EXPECT_SAME_LANES(znRTPoisson::getValue(seeds(), none, -3, 2, 15), expected(0x7fffffff, 0));
    const znRTVector2fPacket over =
        znRTPoisson::getValue02(seeds(), none, 0x7fffffff, 0x7fffffff, 15);
    EXPECT_SAME_LANES(over.x, expected(0x7ffffffe, 0));
    EXPECT_SAME_LANES(over.y, expected(0x7ffffffe, 1));
    const znRTVector2fPacket least =
        znRTPoisson::getValue02(seeds(), none, int(0x80000000u), 0, 15);
    EXPECT_SAME_LANES(least.x, expected(0, 0));
}

TEST_F(Poisson, GivesZeroPairsInLanesOffTheMask)
{
    const znIntType<2> none(0);
    const znRTVector2fPacket all = znRTPoisson::getValue02(seeds(), none, 1, 2, 15);
    for (int mask = 0; mask < 16; ++mask) {
        const znRTVector2fPacket pair = znRTPoisson::getValue02(seeds(), none, 1, 2, mask);
        // Signs decide in a float mask, not whether all bits are set.
        const znFloatType<2> signs(mask & 1 ? -1.0f : 1.0f, mask & 2 ? -0.0f : 0.0f,
                                   mask & 4 ? -5.0f : 2.0f, mask & 8 ? -1e-9f : 0.5f);
        const znRTVector2fPacket bySigns = znRTPoisson::getValue02(seeds(), none, 1, 2, signs);
        for (int lane = 0; lane < 4; ++lane) {
            const bool isOn = mask >> lane & 1;
            EXPECT_EQ(pair.x[lane], isOn ? all.x[lane] : 0.0f);
            EXPECT_EQ(pair.y[lane], isOn ? all.y[lane] : 0.0f);
            EXPECT_EQ(bySigns.x[lane], pair.x[lane]);
            EXPECT_EQ(bySigns.y[lane], pair.y[lane]);
        }
    }
}

TEST_F(Poisson, ReadsAnyRowsAndWrapsThem)
{
    const znRTVector2fPacket pairs = znRTPoisson::getRows(znIntType<2>(0, 262143, 262144, -1));
    EXPECT_LANES_EQ(pairs.x, entry(0, 0), entry(262143, 0), entry(0, 0), entry(262143, 0));
    EXPECT_LANES_EQ(pairs.y, entry(0, 1), entry(262143, 1), entry(0, 1), entry(262143, 1));
}

TEST_F(Poisson, HasNoIntegers)
{
    EXPECT_EQ(znRTPoisson::randomUInt(0, 0, 0), 0u);
    EXPECT_EQ(znRTPoisson::randomUInt(0xffffffff, 5, 17), 0u);
}
