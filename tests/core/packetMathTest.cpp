#include "core/packetMath.h"

#include "core/znRTFloatControl.h"
#include "support/lanes.h"

#include <cmath>
#include <limits>

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

float relativeError(float actual, double expected)
{
    return float(std::fabs((double(actual) - expected) / expected));
}

float power(float base, float exponent)
{
    return pow(znFloatType<2>(base), znFloatType<2>(exponent))[0];
}

} // namespace

TEST(LaneMasks, ExpandEveryIntegerToItsLanes)
{
    for (int lanes = 0; lanes < 16; ++lanes) {
        const znIntType<2> mask = asInt(expandLanes(lanes));
        for (int l = 0; l < 4; ++l)
            EXPECT_EQ(mask[l], (lanes >> l) & 1 ? -1 : 0);
        EXPECT_EQ(moveMask(expandLanes(lanes)), lanes);
    }
    EXPECT_EQ(moveMask(expandLanes(0x75)), 5);
    EXPECT_EQ(s_laneMaskTable.size(), 16u);
}

TEST(LaneMasks, ZeroValuesInFalseLanesToPlusZero)
{
    const znFloatType<2> value = znFloatType<2>(-1.0f, -2.0f, -3.0f, -4.0f) & expandLanes(5);
    EXPECT_INT_LANES(asInt(value), int(0xbf800000u), 0, int(0xc0400000u), 0);
}

TEST(MinimumAndMaximum, GiveTheSecondOperandWhenEitherIsNaN)
{
    const znFloatType<2> a(notANumber, 1.0f, notANumber, 2.0f),
        b(3.0f, notANumber, notANumber, 5.0f);
    EXPECT_LANES_EQ(minimum(a, b), 3.0f, notANumber, notANumber, 2.0f);
    EXPECT_LANES_EQ(maximum(a, b), 3.0f, notANumber, notANumber, 5.0f);
    EXPECT_LANES_EQ(minimum(b, a), notANumber, 1.0f, notANumber, 2.0f);
}

TEST(ReciprocalOrInfinity, IsInfiniteWithTheSignOfZero)
{
    EXPECT_LANES_EQ(reciprocalOrInfinity({0.0f, -0.0f, 2.0f, -4.0f}), infinity, -infinity,
                    reciprocalOrInfinity(2.0f)[0], reciprocalOrInfinity(-4.0f)[0]);
}

TEST(ReciprocalOrZero, IsZeroForZero)
{
    const znFloatType<2> r = reciprocalOrZero({0.0f, -0.0f, 2.0f, -4.0f});
    EXPECT_LANES_NEAR(r, 0.0f, 0.0f, 0.5f, -0.25f, 1e-6f);
    EXPECT_EQ(r[0], 0.0f);
    EXPECT_EQ(r[1], 0.0f);
}

// Exact values are 1/x; one Newton step leaves about 1.2e-7 on the processors at hand.
TEST(Reciprocals, AreAccurateDownToTinyValues)
{
    for (float x : {1e-20f, -1e-20f, 3e-30f, -1e-37f, 1e-5f, 0.3f, 1.0f, 3.0f, 1e10f, 1e37f}) {
        EXPECT_LT(relativeError(reciprocalOrInfinity(x)[0], 1.0 / x), 3e-7f) << x;
        EXPECT_LT(relativeError(reciprocalOrZero(x)[0], 1.0 / x), 3e-7f) << x;
    }
}

TEST(Reciprocals, OfInfinityAndNaNAreNaN)
{
    EXPECT_LANES_EQ(reciprocalOrInfinity({infinity, -infinity, notANumber, notANumber}), notANumber,
                    notANumber, notANumber, notANumber);
    EXPECT_LANES_EQ(reciprocalOrZero({infinity, -infinity, notANumber, notANumber}), notANumber,
                    notANumber, notANumber, notANumber);
}

TEST(Reciprocals, ReadDenormalsAsZeroUnderTheFloatControl)
{
    const znRTFloatControl control;
    volatile float tiny = 1e-39f;
    EXPECT_LANES_EQ(reciprocalOrInfinity({tiny, -tiny, tiny, tiny}), infinity, -infinity, infinity,
                    infinity);
    EXPECT_LANES_EQ(reciprocalOrZero(tiny), 0.0f, 0.0f, 0.0f, 0.0f);
}

TEST(ReciprocalSquareRoot, IsAccurateAndNaNWhereThereIsNone)
{
    for (float x : {1e-30f, 1e-6f, 0.25f, 1.0f, 2.0f, 12345.0f, 1e30f})
        EXPECT_LT(relativeError(reciprocalSquareRoot(x)[0], 1.0 / std::sqrt(double(x))), 5e-7f);
    EXPECT_LANES_EQ(reciprocalSquareRoot({0.0f, infinity, -1.0f, notANumber}), notANumber,
                    notANumber, notANumber, notANumber);
}

// Exact values by std::pow in double; the bound covers the rounding of the logarithm, which the
// exponent multiplies.
TEST(Pow, StaysInsideItsErrorBound)
{
    for (float base : {0.001f, 0.1f, 0.5f, 0.999f, 1.0f, 1.5f, 2.0f, 10.0f, 1000.0f})
        for (float e : {-3.0f, -1.0f, -0.25f, 0.0f, 0.4545f, 1.0f, 2.2f, 7.0f})
            EXPECT_LT(relativeError(power(base, e), std::pow(double(base), double(e))),
                      2e-6f + 8e-6f * std::fabs(e))
                << base << "^" << e;
    EXPECT_LT(relativeError(power(0.999f, 1000.0f), std::pow(double(0.999f), 1000.0)), 8.1e-3f);
}

TEST(Pow, OfNothingPositiveIsZero)
{
    EXPECT_LANES_EQ(pow({0.0f, -2.0f, notANumber, -0.0f}, {3.0f, 2.0f, 1.0f, 0.0f}), 0.0f, 0.0f,
                    0.0f, 0.0f);
}

TEST(Pow, OfSpecialArgumentsIsFinite)
{
    EXPECT_LANES_NEAR(pow({1.0f, 1.0f, 7.0f, 0.3f}, {100.0f, -3.0f, 0.0f, 0.0f}), 1.0f, 1.0f, 1.0f,
                      1.0f, 2e-5f);
    // The clamp keeps 2^y inside the range of floats.
    const znFloatType<2> extreme =
        pow({infinity, 10.0f, 10.0f, 2.0f}, {1.0f, 60.0f, -60.0f, notANumber});
    EXPECT_TRUE(std::isfinite(extreme[0]));
    EXPECT_GT(extreme[0], 1e38f);
    EXPECT_TRUE(std::isfinite(extreme[1]));
    EXPECT_LT(extreme[2], 1.2e-38f);
    EXPECT_LT(extreme[3], 1.2e-38f);
}

TEST(Pow, HasNoStepBetweenOctaves)
{
    const float below = std::nextafter(2.0f, 0.0f), above = std::nextafter(2.0f, 3.0f);
    EXPECT_LT(std::fabs(power(below, 1.0f) - power(above, 1.0f)), 2e-6f);
}

TEST(Sincos, StaysInsideItsErrorBound)
{
    for (int i = 0; i <= 100000; ++i) {
        const float x = -1000.0f + 0.02f * float(i);
        znFloatType<2> sine, cosine;
        sincos(x, sine, cosine);
        ASSERT_NEAR(sine[0], std::sin(double(x)), 2e-4) << x;
        ASSERT_NEAR(cosine[0], std::cos(double(x)), 2e-4) << x;
    }
}

TEST(Sincos, HasTheSignsOfEveryQuadrant)
{
    znFloatType<2> sine, cosine;
    sincos({0.5f, 2.0f, 3.5f, 5.5f}, sine, cosine);
    EXPECT_EQ(moveMask(sine), 0b1100);
    EXPECT_EQ(moveMask(cosine), 0b0110);
    sincos({-0.5f, -2.0f, -3.5f, -5.5f}, sine, cosine);
    EXPECT_EQ(moveMask(sine), 0b0011);
    EXPECT_EQ(moveMask(cosine), 0b0110);
    sincos({0.0f, 1.5707964f, 3.1415927f, 4.712389f}, sine, cosine);
    EXPECT_LANES_NEAR(sine, 0.0f, 1.0f, 0.0f, -1.0f, 2e-4f);
    EXPECT_LANES_NEAR(cosine, 1.0f, 0.0f, -1.0f, 0.0f, 2e-4f);
}

TEST(Floor, RoundsDownAndKeepsWhatHasNoFraction)
{
    EXPECT_LANES_EQ(floor({1.5f, -1.5f, -2.0f, 0.999f}), 1.0f, -2.0f, -2.0f, 0.0f);
    EXPECT_LANES_EQ(floor({1e20f, -1e20f, 8388607.5f, -0.25f}), 1e20f, -1e20f, 8388607.0f, -1.0f);
}

TEST(FloatControl, ComesBackAsItWas)
{
    const unsigned before = _mm_getcsr();
    try {
        const znRTFloatControl control;
        EXPECT_EQ(_mm_getcsr() & 0x8040, 0x8040u);
        throw 1;
    } catch (int) {
    }
    EXPECT_EQ(_mm_getcsr() & 0xffc0, before & 0xffc0);
}

// Against the library's functions in double precision.
TEST(ArcCosine, IsWithinItsErrorOverTheWholeRange)
{
    for (int i = -1000; i <= 1000; ++i) {
        const float x = float(i) / 1000.0f;
        EXPECT_NEAR(acos(znFloatType<2>(x))[0], std::acos(double(x)), 7e-5) << x;
    }
    EXPECT_LANES_NEAR(acos({1.5f, -1.5f, 1.0f, -1.0f}), 0.0f, 3.1415927f, 0.0f, 3.1415927f, 1e-6f);
}

TEST(ArcTangent, IsWithinItsErrorAllAround)
{
    for (int i = -1000; i <= 1000; ++i) {
        const double angle = 3.14159265 * i / 1000.0;
        for (double radius : {1e-10, 1.0, 1e10}) {
            const float x = float(radius * std::cos(angle)), y = float(radius * std::sin(angle));
            EXPECT_NEAR(atan2(znFloatType<2>(y), znFloatType<2>(x))[0],
                        std::atan2(double(y), double(x)), 1e-5)
                << x << " " << y;
        }
    }
    EXPECT_EQ(atan2(znFloatType<2>(0.0f), znFloatType<2>(0.0f))[0], 0.0f);
}
