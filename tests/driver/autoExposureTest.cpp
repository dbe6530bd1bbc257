#include "driver/autoExposure.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace {

io::ImageData pictureOf(const std::function<std::array<float, 4>(u32)>& pixel, u32 count = 100)
{
    io::ImageData image;
    image.allocate(count, 1, 4, io::ImageData::Type::float32);
    float* const values = reinterpret_cast<float*>(image.values.data());
    for (u32 i = 0; i < count; ++i) {
        const std::array<float, 4> p = pixel(i);
        std::copy(p.begin(), p.end(), values + 4 * u64(i));
    }
    return image;
}

io::ImageData grey(float value)
{
    return pictureOf([value](u32) { return std::array{value, value, value, 1.0f}; });
}

} // namespace

// Middle grey of 0.18 over the value, in powers of two, to a tenth.
TEST(LightMeter, BringsAnEvenPictureToMiddleGrey)
{
    for (const float value : {1e-4f, 0.01f, 2.0f, 1000.0f, 1e6f}) {
        const double expected = std::log2(0.18 / value);
        const auto stops = meterExposure(grey(value));
        ASSERT_TRUE(stops);
        EXPECT_NEAR(*stops, expected, 0.051) << value;
    }
}

TEST(LightMeter, LeavesAPictureThatIsNearlyRightAsItIs)
{
    EXPECT_EQ(meterExposure(grey(0.18f)), 0.0);
    EXPECT_EQ(meterExposure(grey(0.45f)), 0.0);
    EXPECT_EQ(meterExposure(grey(0.08f)), 0.0);
    EXPECT_NE(meterExposure(grey(0.9f)), 0.0);
}

// The log average of 2^-6 and 2^-2 is 2^-4.
TEST(LightMeter, AveragesLogarithms)
{
    const auto stops = meterExposure(pictureOf([](u32 i) {
        const float value = i % 2 ? 0.015625f : 0.25f;
        return std::array{value, value, value, 1.0f};
    }));
    EXPECT_NEAR(*stops, std::log2(0.18 * 16.0), 0.051);
}

TEST(LightMeter, TellsHowMuchOfWhatIsThereIsLit)
{
    // A quarter is empty; of the rest every third pixel is lit.
    const io::ImageData image = pictureOf(
        [](u32 i) {
            const float value = i % 3 == 0 ? 1e-6f : 0.0f;
            return std::array{value, value, value, i < 90 ? 1.0f : 0.0f};
        },
        120);
    EXPECT_NEAR(litShare(image), 1.0 / 3.0, 1e-9);
    EXPECT_EQ(litShare(grey(0.0f)), 0.0);
    EXPECT_EQ(litShare(pictureOf([](u32) { return std::array{1.0f, 1.0f, 1.0f, 0.0f}; })), 0.0);
}

TEST(LightMeter, LooksOnlyAtWhatIsLit)
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const auto stops = meterExposure(pictureOf([](u32 i) {
        switch (i % 5) {
        case 0:
            return std::array{0.0f, 0.0f, 0.0f, 1.0f};
        case 1:
            return std::array{900.0f, 900.0f, 900.0f, 0.2f}; // hardly covered
        case 2:
            return std::array{nan, 1.0f, 1.0f, 1.0f};
        case 3:
            return std::array{-1.0f, -1.0f, -1.0f, 1.0f};
        default:
            return std::array{0.01f, 0.01f, 0.01f, 1.0f};
        }
    }));
    EXPECT_NEAR(*stops, std::log2(18.0), 0.051);
    EXPECT_FALSE(meterExposure(grey(0.0f)));
}

// Four lamps of a hundred pixels lie in the twentieth that is left out.
TEST(LightMeter, IsNotBlindedByLamps)
{
    const auto stops = meterExposure(pictureOf([](u32 i) {
        const float value = i < 4 ? 1e6f : 0.01f;
        return std::array{value, value, value, 1.0f};
    }));
    EXPECT_NEAR(*stops, std::log2(18.0), 0.051);
}
