#include "gi/radicalInverse.h"

#include "support/lanes.h"

#include <random>
#include <vector>

namespace {

const u32 indices[] = {0,   1,    2,      3,          4,          5,          6,         7,
                       8,   9,    10,     11,         12,         13,         14,        15,
                       255, 1000, 123456, 0x7fffffff, 0x80000000, 0xfffffffe, 0xffffffff};

/// A generator matrix applied bit by bit over GF(2): column k belongs to bit k of the index, and
/// bit 31 - r of it to the digit 2^-(r + 1).
template <class Entry>
u32 byMatrix(u32 index, u32 scramble, Entry entry)
{
    u32 result = scramble;
    for (int r = 0; r < 32; ++r) {
        u32 digit = 0;
        for (int k = 0; k < 32; ++k)
            digit ^= (index >> k & 1) & u32(entry(r, k));
        result ^= digit << (31 - r);
    }
    return result;
}

bool isOdd(int n, int k)
{
    return (k & n) == k; // of the binomial coefficient n over k: E. Lucas, 1878
}

template <class Scalar, class Packet>
void expectLanesAsOneByOne(Scalar scalar, Packet packet)
{
    std::mt19937 random(3);
    for (int i = 0; i < 2000; ++i) {
        const znIntType<2> index(int(random()), int(random() & 255), int(i), int(random() >> 12));
        const znIntType<2> scramble(int(random()), 0, -1, int(random()));
        const znIntType<2> result = packet(index, scramble);
        for (int lane = 0; lane < 4; ++lane)
            ASSERT_EQ(u32(result[lane]), scalar(u32(index[lane]), u32(scramble[lane])))
                << "index " << index[lane];
    }
}

} // namespace

// The identity matrix, mirrored: digit r is bit r of the index.
TEST(BitReverse, MirrorsTheBits)
{
    for (u32 i : indices) {
        EXPECT_EQ(BitReverseRI(i, 0u), byMatrix(i, 0, [](int r, int k) { return r == k; }));
        EXPECT_EQ(BitReverseRI(i, 0xdeadbeefu), BitReverseRI(i, 0u) ^ 0xdeadbeefu);
    }
    EXPECT_EQ(BitReverseRI(1u, 0u), 0x80000000u);
    EXPECT_EQ(BitReverseRI(6u, 0u), 0x60000000u);
}

// Pascal's triangle modulo 2: I. Sobol, "On the Distribution of Points in a Cube", 1967.
TEST(Sobol, IsPascalsMatrix)
{
    for (u32 i : indices)
        for (u32 scramble : {0u, 0x12345678u})
            EXPECT_EQ(SobolRI(i, scramble),
                      byMatrix(i, scramble, [](int r, int k) { return isOdd(k, r); }))
                << "index " << i;
    EXPECT_EQ(SobolRI(1u, 0u), 0x80000000u);
    EXPECT_EQ(SobolRI(2u, 0u), 0xc0000000u);
    EXPECT_EQ(SobolRI(3u, 0u), 0x40000000u);
}

// All ones on and above the diagonal.
TEST(LarcherPillichshammer, IsTheFullTriangle)
{
    for (u32 i : indices)
        for (u32 scramble : {0u, 0x12345678u})
            EXPECT_EQ(LarcherPillichshammerRI(i, scramble),
                      byMatrix(i, scramble, [](int r, int k) { return r <= k; }))
                << "index " << i;
    EXPECT_EQ(LarcherPillichshammerRI(2u, 0u), 0xc0000000u);
    EXPECT_EQ(LarcherPillichshammerRI(4u, 0u), 0xe0000000u);
}

/// Whether the first 2^(a + b) points meet each of the 2^a by 2^b boxes once.
template <class PointX, class PointY>
bool areInDifferentBoxes(int a, int b, PointX x, PointY y)
{
    std::vector<bool> isMet(std::size_t(1) << (a + b), false);
    for (u32 i = 0; i < isMet.size(); ++i) {
        const u64 column = u64(x(i)) << a >> 32, row = u64(y(i)) << b >> 32;
        const std::size_t box = std::size_t(column << b | row);
        if (isMet[box])
            return false;
        isMet[box] = true;
    }
    return true;
}

// H. Niederreiter, 1987: one point in each elementary interval. The scrambles keep that.
TEST(RadicalInverse, OfBitsAndOfSobolMakeASequenceOfElementaryIntervals)
{
    for (int a = 0; a <= 6; ++a)
        for (int b = 0; b <= 6; ++b)
            EXPECT_TRUE(areInDifferentBoxes(
                a, b, [](u32 i) { return BitReverseRI(i, 0x9e3779b9u); },
                [](u32 i) { return SobolRI(i, 0x7f4a7c15u); }))
                << a << " by " << b;
}

TEST(LarcherPillichshammer, FillsElementaryIntervalsBesideARegularGrid)
{
    for (int a = 0; a <= 6; ++a)
        for (int b = 0; b <= 6; ++b)
            EXPECT_TRUE(areInDifferentBoxes(
                a, b, [&](u32 i) { return u32(u64(i) << (32 - a - b)); },
                [](u32 i) { return LarcherPillichshammerRI(i, 0x7f4a7c15u); }))
                << a << " by " << b;
}

TEST(RadicalInverse, LeavesTheScrambleAtIndexZero)
{
    for (u32 scramble : {0u, 1u, 0x80000000u, 0xffffffffu}) {
        EXPECT_EQ(BitReverseRI(0u, scramble), scramble);
        EXPECT_EQ(SobolRI(0u, scramble), scramble);
        EXPECT_EQ(LarcherPillichshammerRI(0u, scramble), scramble);
    }
}

TEST(RadicalInverse, OfFourIndicesEqualsThatOfEach)
{
    expectLanesAsOneByOne([](u32 i, u32 r) { return BitReverseRI(i, r); },
                          [](znIntType<2> i, znIntType<2> r) { return BitReverseRI(i, r); });
    expectLanesAsOneByOne([](u32 i, u32 r) { return SobolRI(i, r); },
                          [](znIntType<2> i, znIntType<2> r) { return SobolRI(i, r); });
    expectLanesAsOneByOne(
        [](u32 i, u32 r) { return LarcherPillichshammerRI(i, r); },
        [](znIntType<2> i, znIntType<2> r) { return LarcherPillichshammerRI(i, r); });
}

TEST(RadicalInverse, BecomesTheNearestFloat)
{
    std::mt19937 random(5);
    for (int i = 0; i < 5000; ++i) {
        const u32 fraction = i == 0 ? 0xffffffffu : i == 1 ? 0u : u32(random()) >> (i % 20);
        const float expected = float(fraction / 4294967296.0);
        EXPECT_EQ(fractionToFloat(fraction), expected);
        EXPECT_EQ(fractionToFloat(znIntType<2>(int(fraction)))[3], expected);
    }
    EXPECT_EQ(fractionToFloat(0xffffffffu), 1.0f);
    EXPECT_EQ(fractionToFloat(0x80000000u), 0.5f);
}
