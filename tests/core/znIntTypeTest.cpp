#include "core/znIntType.h"

#include "support/lanes.h"

#include <climits>

// The low 32 bits of a product do not depend on the sign: computed in unsigned arithmetic.
TEST(IntLanes, MultiplyToTheLowBits)
{
    const int a[] = {3, -7, INT_MIN, 123456789, 0x7fffffff, -1};
    for (int x : a)
        for (int y : a) {
            const znIntType<2> product = znIntType<2>(x, y, 5, x) * znIntType<2>(y, x, -6, 1);
            const int expected = int(unsigned(x) * unsigned(y));
            EXPECT_INT_LANES(product, expected, expected, -30, x);
        }
}

TEST(IntLanes, ShiftRightLogically)
{
    EXPECT_INT_LANES(znIntType<2>(-1, 16, INT_MIN, 7) >> 4, 0x0fffffff, 1, 0x08000000, 0);
    EXPECT_INT_LANES(shiftRightArithmetic(znIntType<2>(-1, 16, INT_MIN, 7), 4), -1, 1,
                     int(0xf8000000u), 0);
    EXPECT_INT_LANES(znIntType<2>(-1, 1, 3, 0) << 31, INT_MIN, INT_MIN, INT_MIN, 0);
}

TEST(IntLanes, CompareSigned)
{
    const znIntType<2> a(-1, 2, 3, INT_MIN), b(1, 2, -3, INT_MAX);
    EXPECT_EQ(moveMask(a < b), 0b1001);
    EXPECT_EQ(moveMask(a <= b), 0b1011);
    EXPECT_EQ(moveMask(a > b), 0b0100);
    EXPECT_EQ(moveMask(a >= b), 0b0110);
    EXPECT_EQ(moveMask(a == b), 0b0010);
    EXPECT_EQ(moveMask(a != b), 0b1101);
}

TEST(IntLanes, ConvertTowardZeroAndExactly)
{
    EXPECT_INT_LANES(toInt(znFloatType<2>(1.9f, -1.9f, 0.5f, -0.5f)), 1, -1, 0, 0);
    EXPECT_LANES_EQ(toFloat(znIntType<2>(16777216, -3, 4095, 0)), 16777216.0f, -3.0f, 4095.0f,
                    0.0f);
}

TEST(IntLanes, SetAndReadSingleLanes)
{
    znIntType<2> value(0);
    for (int l = 0; l < 4; ++l)
        value.set(l, 10 * l - 5);
    EXPECT_INT_LANES(value, -5, 5, 15, 25);
    EXPECT_INT_LANES(andNot(znIntType<2>(1), value), -6, 4, 14, 24);
}
