#include "render/pixelStore.h"
#include "render/pixelFormatDispatch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

__m128 colour(float r, float g, float b, float a)
{
    return _mm_setr_ps(r, g, b, a);
}

float fromRGBE(u8 mantissa, u8 exponent)
{
    return exponent ? std::ldexp(float(mantissa), int(exponent) - 136) : 0.0f;
}

} // namespace

// Half a step more reaches the next value: n.5 / 255 rounds up, just below stays.
TEST(ByteConversion, RoundsToTheNearestStep)
{
    for (int n = 0; n < 255; ++n) {
        EXPECT_EQ(toByte((float(n) + 0.502f) / 255.0f), n + 1);
        EXPECT_EQ(toByte((float(n) + 0.498f) / 255.0f), n);
        EXPECT_EQ(toByte(float(n) / 255.0f), n);
    }
}

TEST(ByteConversion, ClampsAndTurnsNaNIntoZero)
{
    EXPECT_EQ(toByte(-1.0f), 0);
    EXPECT_EQ(toByte(2.0f), 255);
    EXPECT_EQ(toByte(infinity), 255);
    EXPECT_EQ(toByte(-infinity), 0);
    EXPECT_EQ(toByte(notANumber), 0);
    // What a mean of white loses to the reciprocal estimate must not show: 0.99976 * 255 = 254.94.
    EXPECT_EQ(toByte(0.99976f), 255);
}

// IEEE 754 binary16: 1 = 0x3c00, the step at 1 is 2^-10, the largest 65504 = 0x7bff, the smallest
// subnormal 2^-24.
TEST(HalfConversion, RoundsToNearestEven)
{
    EXPECT_EQ(toHalf(1.0f), 0x3c00);
    EXPECT_EQ(toHalf(-2.0f), 0xc000);
    EXPECT_EQ(toHalf(1.0f + 0x1p-11f), 0x3c00);     // halfway, even below
    EXPECT_EQ(toHalf(1.0f + 3 * 0x1p-11f), 0x3c02); // halfway, even above
    EXPECT_EQ(toHalf(1.0f + 0x1.01p-11f), 0x3c01);
    EXPECT_EQ(toHalf(65504.0f), 0x7bff);
    EXPECT_EQ(toHalf(0x1p-24f), 0x0001);
    EXPECT_EQ(toHalf(0x1p-25f), 0x0000); // halfway to the smallest, even is 0
    EXPECT_EQ(toHalf(0x1.8p-25f), 0x0001);
    EXPECT_EQ(toHalf(0x1p-14f), 0x0400);
}

TEST(HalfConversion, ClampsAndTurnsNaNIntoZero)
{
    EXPECT_EQ(toHalf(1e6f), 0x7bff);
    EXPECT_EQ(toHalf(infinity), 0x7bff);
    EXPECT_EQ(toHalf(-infinity), 0xfbff);
    EXPECT_EQ(toHalf(notANumber), 0);
}

TEST(HalfConversion, ReturnsEveryHalf)
{
    for (u32 bits = 0; bits < 0x7c00; ++bits) {
        ASSERT_EQ(toHalf(fromHalf(u16(bits))), bits);
        ASSERT_EQ(toHalf(fromHalf(u16(bits | 0x8000))), bits | 0x8000);
    }
}

// Half a unit in the last of 11 bits.
TEST(HalfConversion, StaysWithinHalfAStep)
{
    for (float value = 1e-4f; value < 6e4f; value *= 1.0137f)
        EXPECT_NEAR(fromHalf(toHalf(value)), value, value * 0x1p-11f);
}

TEST(SharedExponent, KeepsTheLargestComponentWithinOneStep)
{
    for (float value = 1e-30f; value < 1e30f; value *= 1.37f) {
        ZN_RGBE pixel;
        store(pixel, colour(value, value * 0.5f, 0.0f, 1.0f));
        EXPECT_GE(pixel.r, 128);
        EXPECT_NEAR(fromRGBE(pixel.r, pixel.e), value, value / 128.0f);
        EXPECT_NEAR(fromRGBE(pixel.g, pixel.e), value * 0.5f, value / 128.0f);
        EXPECT_EQ(pixel.b, 0);
    }
}

// 1 = 128 * 2^(129 - 136); mantissas are cut, not rounded.
TEST(SharedExponent, HasTheBytesOfKnownValues)
{
    ZN_RGBE pixel;
    store(pixel, colour(1.0f, 0.5f, 0.25f, 0.0f));
    EXPECT_EQ(pixel.r, 128);
    EXPECT_EQ(pixel.g, 64);
    EXPECT_EQ(pixel.b, 32);
    EXPECT_EQ(pixel.e, 129);
    store(pixel, colour(0.9f, 0.0f, 0.0f, 0.0f));
    EXPECT_EQ(pixel.r, 230); // 0.9 * 256 = 230.4
    EXPECT_EQ(pixel.e, 128);
}

TEST(SharedExponent, IsZeroForDarkNegativeAndInvalidColours)
{
    ZN_RGBE pixel;
    store(pixel, colour(9e-33f, 0.0f, 0.0f, 0.0f));
    EXPECT_EQ(pixel.e, 0);
    store(pixel, colour(-1.0f, notANumber, -infinity, 0.0f));
    EXPECT_EQ(pixel.r + pixel.g + pixel.b + pixel.e, 0);
    store(pixel, colour(infinity, 1.0f, 1.0f, 0.0f));
    EXPECT_EQ(pixel.r, 255);
    EXPECT_EQ(pixel.e, 255);
}

TEST(PixelStore, PutsChannelsWhereTheFormatHasThem)
{
    const __m128 c = colour(1.0f, 0.0f, 128.0f / 255.0f, 64.0f / 255.0f);
    ZN_RGBA rgba;
    store(rgba, c);
    EXPECT_EQ(std::memcmp(&rgba, "\xff\x00\x80\x40", 4), 0);
    ZN_BGRA bgra;
    store(bgra, c);
    EXPECT_EQ(std::memcmp(&bgra, "\x80\x00\xff\x40", 4), 0);
    ZN_RGB rgb;
    store(rgb, c);
    EXPECT_EQ(std::memcmp(&rgb, "\xff\x00\x80", 3), 0);
    ZN_BGR bgr;
    store(bgr, c);
    EXPECT_EQ(std::memcmp(&bgr, "\x80\x00\xff", 3), 0);
    ZN_RGB32F floats;
    store(floats, colour(-1.0f, 2.0f, 3.0f, 4.0f));
    EXPECT_EQ(floats.r, -1.0f);
    EXPECT_EQ(floats.b, 3.0f);
}

TEST(PixelFormats, HaveTheirSizesAndUnknownNumbersAreSharedExponent)
{
    const u64 sizes[] = {4, 3, 4, 12, 16, 4, 8, 3};
    for (u32 format = 0; format < 8; ++format)
        EXPECT_EQ(pixelSize(format), sizes[format]) << format;
    const bool isRGBE = dispatchPixelFormat(
        77, [](auto format) { return std::is_same_v<typename decltype(format)::type, ZN_RGBE>; });
    EXPECT_TRUE(isRGBE);
}
