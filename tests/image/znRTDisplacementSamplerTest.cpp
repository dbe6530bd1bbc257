#include "host/znRTDisplacementSampler.h"
#include "host/osg/Image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

std::vector<float> randomHeights(int count)
{
    std::mt19937 random(31);
    std::uniform_real_distribution<float> value(-1.0f, 1.0f);
    std::vector<float> heights(count);
    for (float& h : heights)
        h = value(random);
    return heights;
}

/// Index one texel off under the wrap modes that have a neighbour there.
int wrapped(int mode, int i, int size)
{
    return mode == znRTTextureSampler::repeat ? (i + size) % size : std::clamp(i, 0, size - 1);
}

float mix(float a, float b, float t)
{
    return a + (b - a) * t;
}

} // namespace

TEST(DisplacementSampler, StoresTheHeightInItsThirdChannel)
{
    const auto heights = randomHeights(35);
    znRTDisplacementSampler sampler;
    ASSERT_TRUE(sampler.setHeights(7, 5, heights.data()));
    EXPECT_EQ(sampler.pixelType, znRTTextureSampler::typeRGBFloat);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            EXPECT_EQ(sampler.getTexel(0, 0, x, y).z, heights[y * 7 + x]);
}

// Bilinear reads of the bounds enclose a bilinear read of the height anywhere, and all heights
// within one texel of that place: the contract that lets a march skip.
TEST(DisplacementSampler, BoundsBilinearReadsUnderEveryWrapMode)
{
    constexpr int width = 9, height = 6;
    const auto heights = randomHeights(width * height);
    for (int mode : {0, 1, 3}) {
        znRTDisplacementSampler sampler;
        sampler.setWrap(mode, mode);
        ASSERT_TRUE(sampler.setHeights(width, height, heights.data()));
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (float fx : {0.0f, 0.3f, 0.9f})
                    for (float fy : {0.0f, 0.5f}) {
                        const int x1 = wrapped(mode, x + 1, width);
                        const int y1 = wrapped(mode, y + 1, height);
                        const auto read = [&](auto channel) {
                            const auto at = [&](int i, int j) {
                                return channel(sampler.getTexel(0, 0, i, j));
                            };
                            return mix(mix(at(x, y), at(x1, y), fx), mix(at(x, y1), at(x1, y1), fx),
                                       fy);
                        };
                        const float low = read([](const znRTVector4f& c) { return c.x; });
                        const float high = read([](const znRTVector4f& c) { return c.y; });
                        const float h = read([](const znRTVector4f& c) { return c.z; });
                        ASSERT_LE(low, h + 1e-6f);
                        ASSERT_GE(high, h - 1e-6f);
                    }
    }
}

// Oracle: the smallest and largest height over the area of a texel, searched for in level 0.
TEST(DisplacementSampler, BoundsEveryAreaAtEveryLevel)
{
    const int sizes[][2] = {{16, 16}, {13, 7}, {1, 9}, {5, 1}};
    for (const auto& size : sizes) {
        const int width = size[0], height = size[1];
        const auto heights = randomHeights(width * height);
        znRTDisplacementSampler sampler;
        sampler.setWrap(znRTTextureSampler::clamp, znRTTextureSampler::clamp);
        ASSERT_TRUE(sampler.setHeights(width, height, heights.data()));
        for (int level = 0; level <= sampler.levelCount; ++level) {
            const int w = sampler.getLevelWidth(level), h = sampler.getLevelHeight(level);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const znRTVector4f texel = sampler.getTexel(level, 0, x, y);
                    for (int j = y * height / h; j * h < (y + 1) * height; ++j)
                        for (int i = x * width / w; i * w < (x + 1) * width; ++i) {
                            ASSERT_LE(texel.x, heights[j * width + i]);
                            ASSERT_GE(texel.y, heights[j * width + i]);
                        }
                }
        }
        const auto [low, high] = std::minmax_element(heights.begin(), heights.end());
        EXPECT_EQ(sampler.getRange(), znRTVector2f(*low, *high));
    }
}

TEST(DisplacementSampler, LooksAcrossTheSeamOnlyWhenItRepeats)
{
    const float heights[] = {0, 0, 0, 0, 9};
    znRTDisplacementSampler sampler;
    sampler.setWrap(znRTTextureSampler::clamp, znRTTextureSampler::clamp);
    ASSERT_TRUE(sampler.setHeights(5, 1, heights));
    EXPECT_EQ(sampler.getTexel(0, 0, 0, 0).y, 0.0f);
    sampler.setWrap(znRTTextureSampler::repeat, znRTTextureSampler::repeat);
    ASSERT_TRUE(sampler.prepareData()) << "another wrap mode builds anew";
    EXPECT_EQ(sampler.getTexel(0, 0, 0, 0).y, 9.0f);
}

TEST(DisplacementSampler, ReadsAnImageThroughItsCurve)
{
    const u8 texels[] = {0, 128, 255, 64};
    osg::Ref<osg::Image> image(osg::Image::create());
    ASSERT_TRUE(image->set(osg::Image::L, 2, 2, 1, 1, 1, texels, osg::Image::UInt8));
    znRTDisplacementSampler sampler;
    sampler.setImage(image);
    ASSERT_TRUE(sampler.prepareData());
    EXPECT_FLOAT_EQ(sampler.getTexel(0, 0, 1, 0).z, 128.0f / 255.0f);
    EXPECT_EQ(sampler.getRange(), znRTVector2f(0.0f, 1.0f));
    sampler.setGamma(2.0f, false, true);
    ASSERT_TRUE(sampler.prepareData());
    EXPECT_FLOAT_EQ(sampler.getTexel(0, 0, 1, 0).z, float(std::pow(128.0 / 255.0, 2.0)));
}

TEST(DisplacementSampler, IsEmptyWithoutHeights)
{
    znRTDisplacementSampler sampler;
    EXPECT_FALSE(sampler.prepareData());
    EXPECT_EQ(sampler.getRange(), znRTVector2f(0.0f, 0.0f));
    EXPECT_FALSE(sampler.setHeights(0, 3, nullptr));
}
