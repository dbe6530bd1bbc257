#include "host/znRTTextureSampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using Sampler = znRTTextureSampler;

znRTVector4f levelMean(const Sampler& sampler, int level, int layer = 0)
{
    znRTVector4f sum;
    const int width = sampler.getLevelWidth(level), height = sampler.getLevelHeight(level);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            sum = sum + sampler.getTexel(level, layer, x, y);
    return sum * (1.0f / float(width * height));
}

std::vector<float> randomTexels(std::size_t count)
{
    std::mt19937 random(23);
    std::uniform_real_distribution<float> value(0.0f, 10.0f);
    std::vector<float> texels(count);
    for (float& x : texels)
        x = value(random);
    return texels;
}

} // namespace

// Weights by covered area keep the mean at every level, for odd sizes too.
TEST(Mipmaps, KeepTheMeanOfTheImage)
{
    const int sizes[][2] = {{8, 8}, {7, 5}, {1, 9}, {13, 2}, {33, 31}};
    for (const auto& size : sizes) {
        const auto texels = randomTexels(std::size_t(size[0]) * size[1] * 4);
        Sampler sampler;
        ASSERT_TRUE(sampler.setTexels(Sampler::typeRGBAFloat, size[0], size[1], 1, texels.data()));
        sampler.createMipmaps();
        const znRTVector4f mean = levelMean(sampler, 0);
        for (int level = 1; level <= sampler.levelCount; ++level) {
            EXPECT_NEAR(levelMean(sampler, level).x, mean.x, 2e-5f) << size[0] << ", " << level;
            EXPECT_NEAR(levelMean(sampler, level).w, mean.w, 2e-5f) << size[0] << ", " << level;
        }
        EXPECT_NEAR(sampler.averageColor.y, mean.y, 2e-5f);
    }
}

TEST(Mipmaps, EndAtOneTexel)
{
    const auto texels = randomTexels(13 * 3);
    Sampler sampler;
    ASSERT_TRUE(sampler.setTexels(Sampler::typeLFloat, 13, 3, 1, texels.data()));
    sampler.createMipmaps();
    EXPECT_EQ(sampler.levelCount, 3); // 13, 6, 3, 1
    EXPECT_EQ(sampler.getLevelWidth(1), 6);
    EXPECT_EQ(sampler.getLevelHeight(1), 1);
    EXPECT_EQ(sampler.getLevelWidth(3), 1);
    EXPECT_EQ(sampler.levelData.size(), 4u);
    sampler.createMipmaps();
    EXPECT_EQ(sampler.levelData.size(), 4u) << "making them twice is making them once";
}

// Two by two texels of black and white: half the light, which sRGB stores as 188, not as 128.
TEST(Mipmaps, AreFilteredInLinearLight)
{
    const u8 texels[] = {0, 255, 255, 0};
    Sampler sampler;
    sampler.setGamma(2.2f, false, true);
    ASSERT_TRUE(sampler.setTexels(Sampler::typeL8, 2, 2, 1, texels));
    sampler.createMipmaps();
    EXPECT_EQ(*sampler.getLayerDataFast(1, 0, 0, 0), 188);
    EXPECT_NEAR(sampler.getTexel(1, 0, 0, 0).x, 0.5f, 0.004f);
}

TEST(Mipmaps, AreMadeForEveryTypeAndLayer)
{
    for (int type : {0, 1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 13, 15, 16, 17, 18, 19, 21}) {
        const std::vector<u8> bytes(std::size_t(Sampler::getTexelSize(type)) * 4 * 4 * 2, 0x3b);
        Sampler sampler(Sampler::kind2DArray);
        ASSERT_TRUE(sampler.setTexels(type, 4, 4, 2, bytes.data()));
        sampler.createMipmaps();
        ASSERT_EQ(sampler.levelCount, 2);
        // A constant image is constant in all levels.
        const znRTVector4f c = sampler.getTexel(0, 0, 0, 0);
        for (int layer = 0; layer < 2; ++layer) {
            const znRTVector4f top = sampler.getTexel(2, layer, 0, 0);
            EXPECT_NEAR(top.x, c.x, 1e-6f * std::fabs(c.x)) << type;
            EXPECT_NEAR(top.w, c.w, 1e-6f * std::fabs(c.w)) << type;
        }
    }
}

TEST(Mipmaps, LeaveBrokenTexelsOut)
{
    const float texels[] = {NAN, INFINITY, 4.0f, 4.0f};
    Sampler sampler;
    ASSERT_TRUE(sampler.setTexels(Sampler::typeLFloat, 2, 2, 1, texels));
    sampler.createMipmaps();
    EXPECT_EQ(sampler.getTexel(1, 0, 0, 0).x, 2.0f);
    EXPECT_EQ(sampler.averageColor.x, 2.0f);
}

// Every half that an average can give reads back within half a step: 2^-11 relative.
TEST(Mipmaps, RoundHalvesToTheNearest)
{
    std::mt19937 random(2);
    std::uniform_real_distribution<float> exponent(-14.0f, 15.9f);
    for (int i = 0; i < 2000; ++i) {
        const float value = std::exp2(exponent(random));
        const float pair[] = {value, value};
        Sampler source;
        ASSERT_TRUE(source.setTexels(Sampler::typeLFloat, 2, 1, 1, pair));
        // One texel of a half sampler, written through the cube's setter.
        const u16 zeros[6] = {};
        znRTSamplerCube cube;
        ASSERT_TRUE(cube.setTexels(Sampler::typeLHalf, 1, 1, 6, zeros));
        cube.setLevelTexel(0, 0, 0, 0, source.getTexel(0, 0, 0, 0));
        EXPECT_NEAR(cube.getTexel(0, 0, 0, 0).x, value, value * 0.00048829f);
    }
}
