#include "light/polarImage.h"

#include "light/environmentFixture.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

constexpr int width = 8, height = 5, layers = 3;

/// Red, green and alpha tell texels, layers and channels apart.
znRTVector4f texel(int x, int y, int layer)
{
    return {float(x), float(10 * y), float(100 * layer), 1.0f + float(x * y)};
}

struct Stack
{
    Stack()
    {
        std::vector<znRTVector4f> texels;
        for (int layer = 0; layer < layers; ++layer)
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    texels.push_back(texel(x, y, layer));
        image.setTexels(znRTTextureSampler::typeRGBAFloat, width, height, layers, texels.data());
    }
    znRTSampler3D image;
};

/// The definition: u repeats, v is clamped, texels have their centres at (i + 0.5) / size.
znRTVector4f bilinear(double u, double v, int layer)
{
    const double x = (u - std::floor(u)) * width - 0.5;
    const double y = std::clamp(v * height - 0.5, 0.0, double(height - 1));
    const int left = int(std::floor(x)), top = int(std::floor(y));
    znRTVector4f sum(0.0f, 0.0f, 0.0f, 0.0f);
    for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 2; ++i) {
            const double w = (i ? x - left : 1.0 - (x - left)) * (j ? y - top : 1.0 - (y - top));
            sum = sum + texel((left + i + width) % width, std::min(top + j, height - 1), layer) *
                            float(w);
        }
    return sum;
}

} // namespace

TEST(PolarImage, ReadsBetweenTexelsAcrossTheSeam)
{
    const Stack stack;
    std::mt19937 random(3);
    std::uniform_real_distribution<float> u(-2.0f, 2.0f), v(-0.2f, 1.2f);
    for (int i = 0; i < 500; ++i) {
        const znFloatType<2> us(u(random), u(random), 0.0f, 1.0f);
        const znFloatType<2> vs(v(random), 0.0f, 1.0f, v(random));
        const znRTPolarPlaces places({us, vs}, width, height);
        const znRTColorPacket c = places.read(stack.image, 1, everyLane4);
        for (int lane = 0; lane < 4; ++lane) {
            const znRTVector4f expected = bilinear(us[lane], vs[lane], 1);
            EXPECT_NEAR(c.r[lane], expected.x, 2e-4f) << us[lane] << " " << vs[lane];
            EXPECT_NEAR(c.g[lane], expected.y, 2e-4f);
            EXPECT_NEAR(c.a[lane], expected.w, 2e-3f);
        }
    }
}

// Lanes off the mask may hold anything.
TEST(PolarImage, StaysInsideForAnyNumber)
{
    const Stack stack;
    const float nan = std::numeric_limits<float>::quiet_NaN(), huge = 3e38f;
    for (const float x : {nan, huge, -huge, std::numeric_limits<float>::infinity()})
        for (const float y : {nan, huge, -huge, 0.5f}) {
            const znRTPolarPlaces places({znFloatType<2>(x), znFloatType<2>(y)}, width, height);
            const znRTColorPacket c = places.read(stack.image, 0, everyLane4);
            EXPECT_TRUE(c.r[0] >= 0.0f && c.r[0] <= float(width));
        }
    const znRTPolarPlaces places({znFloatType<2>(0.5f), znFloatType<2>(0.5f)}, width, height);
    const znRTColorPacket c = places.read(stack.image, 0, expandLanes(5));
    EXPECT_EQ(c.a[1], 0.0f);
    EXPECT_GT(c.a[2], 0.0f);
}
