#include "host/znRTEnvironmentImages.h"
#include "host/osg/Image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

using Images = znRTEnvironmentImages;
constexpr double pi = std::numbers::pi;

/// Stored values that tell the six directions apart.
constexpr u8 s_right = 10, s_left = 20, s_front = 30, s_back = 40, s_top = 50, s_bottom = 60;

osg::Ref<osg::Image> makeGrey(u32 width, u32 height, const std::vector<u8>& texels, u32 sides = 1)
{
    osg::Ref<osg::Image> image(osg::Image::create());
    EXPECT_TRUE(
        image->set(osg::Image::L, width, height, 1, 1, 1, texels.data(), osg::Image::UInt8, sides));
    return image;
}

/// A cross drawn as rows of sides from the top, each side size x size texels.
osg::Ref<osg::Image> makeCross(const std::vector<std::vector<u8>>& rows, int size)
{
    const int columns = int(rows[0].size()), height = int(rows.size()) * size;
    std::vector<u8> texels(std::size_t(columns) * size * height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < columns * size; ++x)
            texels[std::size_t(height - 1 - y) * columns * size + x] = rows[y / size][x / size];
    return makeGrey(u32(columns * size), u32(height), texels);
}

float lookUp(const znRTSampler2D& sampler, float x, float y, float z)
{
    const znRTVector2f uv = Images::toCoordinates(znRTVector3f(x, y, z).getNormalized());
    return sampler.getNearest(uv.x, std::min(uv.y, 0.9999f)).x * 255.0f;
}

void expectSixDirections(const znRTSampler2D& sampler)
{
    EXPECT_NEAR(lookUp(sampler, 1, 0, 0), s_right, 0.01f);
    EXPECT_NEAR(lookUp(sampler, -1, 0, 0), s_left, 0.01f);
    EXPECT_NEAR(lookUp(sampler, 0, 1, 0), s_front, 0.01f);
    EXPECT_NEAR(lookUp(sampler, 0, -1, 0), s_back, 0.01f);
    EXPECT_NEAR(lookUp(sampler, 0, 0, 1), s_top, 0.01f);
    EXPECT_NEAR(lookUp(sampler, 0, 0, -1), s_bottom, 0.01f);
}

} // namespace

// Axes by the two formulas.
TEST(EnvironmentImages, MapDirectionsToLongitudeAndLatitude)
{
    EXPECT_EQ(Images::toCoordinates({0, 0, 1}).y, 0.0f);
    EXPECT_FLOAT_EQ(Images::toCoordinates({0, 0, -1}).y, 1.0f);
    EXPECT_FLOAT_EQ(Images::toCoordinates({1, 0, 0}).x, 0.25f);
    EXPECT_FLOAT_EQ(Images::toCoordinates({-1, 0, 0}).x, 0.75f);
    EXPECT_EQ(Images::toCoordinates({0, 1, 0}).x, 0.0f);
    EXPECT_FLOAT_EQ(Images::toCoordinates({0, -1, 0}).x, 0.5f);
    for (float u : {0.05f, 0.3f, 0.62f, 0.98f})
        for (float v : {0.1f, 0.5f, 0.93f}) {
            const znRTVector2f back = Images::toCoordinates(Images::toDirection(u, v));
            EXPECT_NEAR(back.x, u, 1e-5f);
            EXPECT_NEAR(back.y, v, 1e-5f);
        }
}

TEST(EnvironmentImages, PutTheTopRowOfAPictureAtTheZenith)
{
    // Row 0 of an image is the bottom one.
    const auto image = makeGrey(1, 2, {s_bottom, s_top});
    znRTSampler2D sampler;
    ASSERT_TRUE(Images::prepare(image, Images::latitudeLongitude, 1.0f, sampler));
    EXPECT_EQ(sampler.pixelType, znRTTextureSampler::typeRGBAFloat);
    EXPECT_NEAR(lookUp(sampler, 0, 0, 1), s_top, 0.01f);
    EXPECT_NEAR(lookUp(sampler, 0, 0, -1), s_bottom, 0.01f);
}

TEST(EnvironmentImages, UnfoldACube)
{
    std::vector<u8> texels;
    for (u8 side : {s_right, s_left, s_front, s_back, s_top, s_bottom})
        texels.insert(texels.end(), 16, side);
    znRTSampler2D sampler;
    ASSERT_TRUE(Images::prepare(makeGrey(4, 4, texels, 6), Images::cube, 1.0f, sampler));
    EXPECT_EQ(sampler.width, 16);
    EXPECT_EQ(sampler.height, 8);
    expectSixDirections(sampler);
    EXPECT_FALSE(Images::prepare(makeGrey(4, 4, std::vector<u8>(16)), Images::cube, 1.0f, sampler));
    EXPECT_FALSE(sampler.isValid());
}

TEST(EnvironmentImages, FoldBothKindsOfCross)
{
    znRTSampler2D sampler;
    ASSERT_TRUE(Images::prepare(
        makeCross({{0, s_top, 0, 0}, {s_left, s_front, s_right, s_back}, {0, s_bottom, 0, 0}}, 4),
        Images::cross, 1.0f, sampler));
    expectSixDirections(sampler);
    ASSERT_TRUE(Images::prepare(
        makeCross({{0, s_top, 0}, {s_left, s_front, s_right}, {0, s_bottom, 0}, {0, s_back, 0}}, 4),
        Images::cross, 1.0f, sampler));
    expectSixDirections(sampler);
    EXPECT_FALSE(
        Images::prepare(makeGrey(5, 4, std::vector<u8>(20)), Images::cross, 1.0f, sampler));
    EXPECT_FALSE(Images::prepare(nullptr, Images::latitudeLongitude, 1.0f, sampler));
}

// A cross is the world around the viewer: the picture must go on over the edges of its sides. A
// ramp over the front's height goes on where top and bottom touch it.
TEST(EnvironmentImages, KeepCrossesContinuousWhereSidesTouch)
{
    // Rows of texels count up from the bottom over the three sides of the middle column.
    constexpr int size = 8;
    std::vector<u8> texels(std::size_t(4 * size) * 3 * size);
    for (int y = 0; y < 3 * size; ++y)
        for (int x = 0; x < 4 * size; ++x)
            texels[std::size_t(y) * 4 * size + x] = u8(8 * y);
    znRTSampler2D sampler;
    ASSERT_TRUE(
        Images::prepare(makeGrey(4 * size, 3 * size, texels), Images::cross, 1.0f, sampler));
    // Just below and above the edge between front and top, and between front and bottom.
    EXPECT_NEAR(lookUp(sampler, 0, 1, 0.9f), lookUp(sampler, 0, 1, 1.1f), 20.0f);
    EXPECT_NEAR(lookUp(sampler, 0, 1, -0.9f), lookUp(sampler, 0, 1, -1.1f), 20.0f);
    EXPECT_GT(lookUp(sampler, 0, 1, 2.0f), lookUp(sampler, 0, 1, 0.5f));
    EXPECT_LT(lookUp(sampler, 0, 1, -2.0f), lookUp(sampler, 0, 1, -0.5f));
}

TEST(EnvironmentStack, KeepsAConstantSkyInEverySlice)
{
    const std::vector<float> texels(32 * 16 * 3, 0.75f);
    znRTSampler2D sky;
    ASSERT_TRUE(sky.setTexels(znRTTextureSampler::typeRGBFloat, 32, 16, 1, texels.data()));
    znRTSampler3D stack;
    ASSERT_TRUE(Images::buildStack(sky, stack, 5, 16));
    ASSERT_EQ(stack.depth, 5);
    for (int slice = 0; slice < 5; ++slice)
        for (int y = 0; y < 16; y += 5)
            EXPECT_NEAR(stack.getTexel(0, slice, 3, y).y, 0.75f, 1e-6f) << slice;
}

// Under a white upper half the cosine-weighted mean at polar angle theta is (1 + cos theta) / 2.
TEST(EnvironmentStack, HoldsTheCosineMeanInItsFirstSlice)
{
    std::vector<float> texels(64 * 32, 0.0f);
    std::fill_n(texels.begin(), 64 * 16, 1.0f);
    znRTSampler2D sky;
    ASSERT_TRUE(sky.setTexels(znRTTextureSampler::typeLFloat, 64, 32, 1, texels.data()));
    znRTSampler3D stack;
    ASSERT_TRUE(Images::buildStack(sky, stack, 9, 32));
    for (int y = 0; y < 32; ++y)
        EXPECT_NEAR(stack.getTexel(0, 0, 5, y).x, 0.5 * (1.0 + std::cos(pi * (y + 0.5) / 32)),
                    0.004)
            << y;
}

// A single bright texel of solid angle A seen at angle gamma by a lobe of exponent e:
// L A (e + 1) / (2 pi) cos(gamma)^e, as long as the texel is small against the lobe.
TEST(EnvironmentStack, SpreadsABrightSpotByItsExponent)
{
    constexpr int width = 128, height = 64, row = 20, column = 37;
    std::vector<float> texels(width * height, 0.0f);
    texels[row * width + column] = 1000.0f;
    znRTSampler2D sky;
    ASSERT_TRUE(sky.setTexels(znRTTextureSampler::typeLFloat, width, height, 1, texels.data()));
    znRTSampler3D stack;
    ASSERT_TRUE(Images::buildStack(sky, stack, 9, 32)); // exponents 1, 4, 16, 64, ...
    const double solidAngle =
        2.0 * pi / width * (std::cos(pi * row / height) - std::cos(pi * (row + 1) / height));
    const znRTVector3f spot = Images::toDirection((column + 0.5f) / width, (row + 0.5f) / height);
    for (int slice = 0; slice < 4; ++slice) {
        const double e = std::pow(4.0, slice);
        const double peak = 1000.0 * solidAngle * (e + 1.0) / (2.0 * pi);
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 64; x += 3) {
                const double cosine =
                    dot(spot, Images::toDirection((float(x) + 0.5f) / 64, (float(y) + 0.5f) / 32));
                const double expected = cosine > 0.0 ? peak * std::pow(cosine, e) : 0.0;
                ASSERT_NEAR(stack.getTexel(0, slice, x, y).x, expected, 0.06 * peak)
                    << "exponent " << e << " at " << x << ", " << y;
            }
    }
}

TEST(EnvironmentStack, EndsWithTheSharpPicture)
{
    std::vector<float> texels;
    for (int i = 0; i < 16 * 8; ++i)
        texels.push_back(float(i % 7));
    znRTSampler2D sky;
    ASSERT_TRUE(sky.setTexels(znRTTextureSampler::typeLFloat, 16, 8, 1, texels.data()));
    znRTSampler3D stack;
    ASSERT_TRUE(Images::buildStack(sky, stack, 3, 8));
    for (int i = 0; i < 16 * 8; ++i)
        EXPECT_NEAR(stack.getTexel(0, 2, i % 16, i / 16).x, texels[i], 1e-6f);
    EXPECT_FALSE(Images::buildStack(znRTSampler2D(), stack));
    EXPECT_FALSE(stack.isValid());
    EXPECT_FALSE(Images::buildStack(sky, stack, 1, 8));
}
