#include "host/znRTTextureSampler.h"
#include "host/osg/Image.h"
#include "host/znLog.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>

namespace {

using Sampler = znRTTextureSampler;

/// Half of a value that IEEE halves hold exactly and normal.
u16 exactHalf(float value)
{
    const u32 bits = std::bit_cast<u32>(value);
    const u32 magnitude = bits & 0x7fffffffu;
    return u16((bits >> 16 & 0x8000u) | (magnitude ? (magnitude - 0x38000000u) >> 13 : 0u));
}

/// One texel of a storage type from four stored components, in R, G, B, A or L, A order.
std::vector<u8> packTexel(int type, const double (&stored)[4])
{
    const int channels = Sampler::getChannelCount(type);
    const int size = Sampler::getTexelSize(type) / channels;
    const bool isHalf = type == Sampler::typeLHalf || type == Sampler::typeLAHalf ||
                        type == Sampler::typeRGBHalf || type == Sampler::typeRGBAHalf;
    const bool blueFirst = type == Sampler::typeBGR8 || type == Sampler::typeBGRA8;
    std::vector<u8> texel(std::size_t(channels) * size);
    for (int c = 0; c < channels; ++c) {
        const double value = stored[blueFirst && c < 3 ? 2 - c : c];
        u8* target = texel.data() + c * size;
        if (size == 1) {
            *target = u8(value);
        } else if (size == 4) {
            const float f = float(value);
            std::memcpy(target, &f, 4);
        } else {
            const u16 word = isHalf ? exactHalf(float(value)) : u16(value);
            std::memcpy(target, &word, 2);
        }
    }
    return texel;
}

osg::Ref<osg::Image> makeImage(u32 format, u32 type, u32 width, u32 height, const void* data,
                               u32 depth = 1, u32 sides = 1, u32 levels = 1)
{
    osg::Ref<osg::Image> image(osg::Image::create());
    EXPECT_TRUE(image->set(format, width, height, depth, levels, 1, data, type, sides));
    return image;
}

void expectColor(const znRTVector4f& c, float r, float g, float b, float a, float tolerance = 0.0f)
{
    EXPECT_NEAR(c.x, r, tolerance);
    EXPECT_NEAR(c.y, g, tolerance);
    EXPECT_NEAR(c.z, b, tolerance);
    EXPECT_NEAR(c.w, a, tolerance);
}

constexpr int s_types[] = {0, 1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 13, 15, 16, 17, 18, 19, 21};

} // namespace

// 2 x 2 texels of known stored values; the expected colours follow from the meaning of the type.
TEST(TextureSampler, ReadsBackEveryStorageType)
{
    for (int type : s_types) {
        const int channels = Sampler::getChannelCount(type);
        const int size = Sampler::getTexelSize(type) / channels;
        const bool isHalf = type == 2 || type == 7 || type == 13 || type == 19;
        const double largest = size == 1 ? 255.0 : size == 2 && !isHalf ? 65535.0 : 1.0;
        // Exact in all types: integers, and floats with few bits.
        const double stored[4][4] = {
            {0, 1, 2, 3}, {10, 20, 30, 40}, {255, 128, 64, 200}, {7, 5, 3, 1}};
        std::vector<u8> texels;
        for (const auto& s : stored) {
            const auto texel = packTexel(type, s);
            texels.insert(texels.end(), texel.begin(), texel.end());
        }
        Sampler sampler;
        ASSERT_TRUE(sampler.setTexels(type, 2, 2, 1, texels.data())) << type;
        for (int i = 0; i < 4; ++i) {
            SCOPED_TRACE("type " + std::to_string(type) + ", texel " + std::to_string(i));
            const auto value = [&](int c) { return float(stored[i][c] / largest); };
            const znRTVector4f expected =
                channels <= 2
                    ? znRTVector4f(value(0), value(0), value(0), channels == 2 ? value(1) : 1.0f)
                    : znRTVector4f(value(0), value(1), value(2), channels == 4 ? value(3) : 1.0f);
            const znRTVector4f read = sampler.getTexel(0, 0, i % 2, i / 2);
            expectColor(read, expected.x, expected.y, expected.z, expected.w, 1e-7f * 255.0f);
            const float s = i % 2 ? 0.75f : 0.25f, t = i / 2 ? 0.75f : 0.25f;
            EXPECT_EQ(sampler.getNearest(s, t), read);
        }
    }
}

TEST(TextureSampler, ReadsZeroForTypesThatDoNotExist)
{
    const u8 texels[64] = {};
    const unsigned warnings = znLog::getCount(znLog::Level::warning);
    for (int type : {3, 8, 14, 20, -1, 22}) {
        Sampler sampler;
        EXPECT_FALSE(sampler.setTexels(type, 1, 1, 1, texels));
        EXPECT_FALSE(sampler.isValid());
        expectColor(sampler.getTexel(0, 0, 0, 0), 0, 0, 0, 0);
    }
    EXPECT_EQ(znLog::getCount(znLog::Level::warning), warnings + 6);
}

TEST(TextureSampler, RefusesImpossibleSizes)
{
    const u8 texel[4] = {};
    Sampler sampler;
    EXPECT_FALSE(sampler.setTexels(16, 0, 1, 1, texel));
    EXPECT_FALSE(sampler.setTexels(16, 1, -1, 1, texel));
    EXPECT_FALSE(sampler.setTexels(16, 1, 1, 0, texel));
    EXPECT_FALSE(sampler.setTexels(16, 1, 1, 1, nullptr));
}

TEST(TextureSampler, IsWhiteWithoutData)
{
    expectColor(Sampler().getNearest(0.5f, 0.5f), 1, 1, 1, 1);
    Sampler sampler;
    EXPECT_FALSE(sampler.prepareData());
}

TEST(TextureSampler, ReadsHalvesByOneShiftAndZeroAsZero)
{
    // 1, -2, 0, -0, smallest normal 2^-14, largest, first denormal as 2^-15 (1 + 2^-10), infinity
    // as 2^16.
    const u16 halves[] = {0x3c00, 0xc000, 0x0000, 0x8000, 0x0400, 0x7bff, 0x0001, 0x7c00};
    const float expected[] = {
        1.0f, -2.0f, 0.0f, 0.0f, 6.103515625e-5f, 65504.0f, 3.0547380447387695e-05f, 65536.0f};
    Sampler sampler;
    ASSERT_TRUE(sampler.setTexels(Sampler::typeLHalf, 8, 1, 1, halves));
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(sampler.getTexel(0, 0, i, 0).x, expected[i]) << i;
}

// sRGB of the standard at three points: (0.5 + 0.055) / 1.055 to 2.4, the linear toe, and white.
TEST(TextureSampler, DecodesStoredIntegersByGamma)
{
    Sampler sampler;
    for (int i : {0, 17, 255}) {
        EXPECT_EQ(sampler.lut8[i], float(i / 255.0));
        EXPECT_EQ(sampler.lut16[i * 257], float(i / 255.0));
    }
    sampler.setGamma(2.2f, false, true);
    EXPECT_FLOAT_EQ(sampler.lut8[10], float(10 / 255.0 / 12.92));
    EXPECT_FLOAT_EQ(sampler.lut8[128], float(std::pow((128 / 255.0 + 0.055) / 1.055, 2.4)));
    EXPECT_EQ(sampler.lut8[255], 1.0f);
    EXPECT_FLOAT_EQ(sampler.lut16[32768], float(std::pow((32768 / 65535.0 + 0.055) / 1.055, 2.4)));
    sampler.setGamma(1.8f, false, true);
    EXPECT_FLOAT_EQ(sampler.lut8[100], float(std::pow(100 / 255.0, double(1.8f))));
    EXPECT_EQ(sampler.lut16[0], 0.0f);
    EXPECT_EQ(sampler.lut16[65535], 1.0f);
    sampler.setGamma(-1.0f, false, true);
    EXPECT_EQ(sampler.getGamma(), 1.0f);
}

TEST(TextureSampler, KeepsAlphaOutOfTheTables)
{
    const u8 texel[] = {128, 128, 128, 128};
    Sampler sampler;
    sampler.setGamma(2.2f, false, true);
    ASSERT_TRUE(sampler.setTexels(Sampler::typeRGBA8, 1, 1, 1, texel));
    const znRTVector4f c = sampler.getTexel(0, 0, 0, 0);
    EXPECT_NEAR(c.x, 0.2158605f, 1e-6f);
    EXPECT_FLOAT_EQ(c.w, 128.0f * 0.003921569f);
}

TEST(TextureSampler, PutsTheCurveIntoFloatTexelsOnlyWhenForced)
{
    const float texel[] = {0.5f, 0.25f, 1.0f, 0.5f};
    const auto image = makeImage(osg::Image::RGBA, osg::Image::Float32, 1, 1, texel);
    Sampler sampler;
    sampler.setGamma(2.0f, false, true);
    sampler.setImage(image);
    ASSERT_TRUE(sampler.prepareData());
    expectColor(sampler.getTexel(0, 0, 0, 0), 0.5f, 0.25f, 1.0f, 0.5f);
    sampler.setGamma(2.0f, true, true);
    ASSERT_TRUE(sampler.prepareData());
    expectColor(sampler.getTexel(0, 0, 0, 0), 0.25f, 0.0625f, 1.0f, 0.5f, 1e-7f);
    sampler.setGamma(2.0f, true, false);
    ASSERT_TRUE(sampler.prepareData());
    EXPECT_FLOAT_EQ(sampler.getTexel(0, 0, 0, 0).w, 0.25f);
}

TEST(TextureSampler, TakesEveryImageFormat)
{
    // Two texels: (1, 0.5, 0.25) and (0, 0.25, 0.75), alpha 0.5 and 1, as far as a format has them.
    const float rgba[2][4] = {{1.0f, 0.5f, 0.25f, 0.5f}, {0.0f, 0.25f, 0.75f, 1.0f}};
    struct Format
    {
        u32 number;
        std::vector<int> order; ///< which of R, G, B, A is stored
    };
    const Format formats[] = {{osg::Image::L, {0}},         {osg::Image::LA, {0, 3}},
                              {osg::Image::RGB, {0, 1, 2}}, {osg::Image::RGBA, {0, 1, 2, 3}},
                              {osg::Image::BGR, {2, 1, 0}}, {osg::Image::BGRA, {2, 1, 0, 3}}};
    for (const Format& format : formats)
        for (u32 type :
             {osg::Image::UInt8, osg::Image::UInt16, osg::Image::Float16, osg::Image::Float32}) {
            SCOPED_TRACE("format " + std::to_string(format.number) + ", type " +
                         std::to_string(type));
            std::vector<u8> data;
            const auto append = [&](auto value) {
                const auto* bytes = reinterpret_cast<const u8*>(&value);
                data.insert(data.end(), bytes, bytes + sizeof value);
            };
            for (const auto& texel : rgba)
                for (int c : format.order)
                    switch (type) {
                    case osg::Image::UInt8:
                        append(u8(texel[c] * 255.0f + 0.5f));
                        break;
                    case osg::Image::UInt16:
                        append(u16(texel[c] * 65535.0f + 0.5f));
                        break;
                    case osg::Image::Float16:
                        append(exactHalf(texel[c]));
                        break;
                    default:
                        append(texel[c]);
                    }
            const auto image = makeImage(format.number, type, 2, 1, data.data());
            Sampler sampler;
            sampler.setImage(image);
            ASSERT_TRUE(sampler.prepareData());
            const bool isGrey = format.order.size() <= 2;
            const bool hasAlpha = format.order.size() % 2 == 0;
            for (int i = 0; i < 2; ++i)
                expectColor(sampler.getTexel(0, 0, i, 0), rgba[i][0], rgba[i][isGrey ? 0 : 1],
                            rgba[i][isGrey ? 0 : 2], hasAlpha ? rgba[i][3] : 1.0f, 0.0021f);
        }
}

TEST(TextureSampler, CopiesAnImageOnceAndAgainOnlyWhenAsked)
{
    const u8 first[] = {10, 20}, second[] = {30, 40};
    const auto image = makeImage(osg::Image::L, osg::Image::UInt8, 2, 1, first);
    Sampler sampler;
    sampler.setImage(image);
    ASSERT_TRUE(sampler.prepareData());
    const u8* texels = sampler.getLayerDataFast(0, 0, 0, 0);
    EXPECT_TRUE(sampler.prepareData());
    sampler.setImage(image);
    EXPECT_TRUE(sampler.prepareData());
    EXPECT_EQ(sampler.getLayerDataFast(0, 0, 0, 0), texels);
    EXPECT_EQ(sampler.getOSGImage(), image.get());

    std::memcpy(image->getData(), second, 2);
    EXPECT_TRUE(sampler.prepareData());
    EXPECT_EQ(*sampler.getLayerDataFast(0, 0, 0, 0), 10);
    sampler.setImage(image, false, true);
    EXPECT_TRUE(sampler.prepareData());
    EXPECT_EQ(*sampler.getLayerDataFast(0, 0, 1, 0), 40);
    sampler.setImage(nullptr);
    EXPECT_FALSE(sampler.prepareData());
}

TEST(TextureSampler, KeepsItsImageAlive)
{
    const u8 texel[] = {9};
    Sampler sampler;
    {
        const auto image = makeImage(osg::Image::L, osg::Image::UInt8, 1, 1, texel);
        sampler.setImage(image);
    }
    EXPECT_TRUE(sampler.prepareData());
    EXPECT_EQ(*sampler.getLayerDataFast(0, 0, 0, 0), 9);
}

TEST(TextureSampler, TurnsRowsOver)
{
    const u8 rows[] = {1, 2, 3};
    const auto image = makeImage(osg::Image::L, osg::Image::UInt8, 1, 3, rows);
    Sampler sampler;
    sampler.setImage(image, true);
    ASSERT_TRUE(sampler.prepareData());
    for (int y = 0; y < 3; ++y)
        EXPECT_EQ(*sampler.getLayerDataFast(0, 0, 0, y), 3 - y);
}

TEST(TextureSampler, LaysOutSidesAndSlicesAsLayers)
{
    std::vector<u8> texels;
    for (int i = 0; i < 6 * 4; ++i)
        texels.push_back(u8(i));
    const auto cubeImage = makeImage(osg::Image::L, osg::Image::UInt8, 2, 2, texels.data(), 1, 6);
    znRTSamplerCube cube;
    cube.setImage(cubeImage);
    ASSERT_TRUE(cube.prepareData());
    EXPECT_EQ(cube.layerCount, 6);
    EXPECT_EQ(*cube.getLayerDataFast(0, 4, 1, 1), 4 * 4 + 3);

    const auto stack = makeImage(osg::Image::L, osg::Image::UInt8, 2, 2, texels.data(), 6);
    znRTSampler3D volume;
    volume.setImage(stack);
    ASSERT_TRUE(volume.prepareData());
    EXPECT_EQ(volume.depth, 6);
    EXPECT_EQ(*volume.getLayerDataFast(0, 5, 0, 1), 5 * 4 + 2);
}

// Each level of one frame and side follows the larger one: 2 x 2 texels, then one.
TEST(TextureSampler, TakesLevelsThatAnImageBringsAlong)
{
    std::vector<u8> texels;
    for (int i = 0; i < 6 * 5; ++i)
        texels.push_back(u8(i));
    const auto image = makeImage(osg::Image::L, osg::Image::UInt8, 2, 2, texels.data(), 1, 6, 2);
    znRTSamplerCube cube;
    cube.setImage(image);
    ASSERT_TRUE(cube.prepareData());
    EXPECT_EQ(cube.levelCount, 1);
    EXPECT_EQ(*cube.getLayerDataFast(0, 2, 0, 0), *image->getData(0, 0, 2));
    EXPECT_EQ(*cube.getLayerDataFast(1, 2, 0, 0), *image->getData(1, 0, 2));
    EXPECT_NE(*cube.getLayerDataFast(1, 2, 0, 0), *cube.getLayerDataFast(0, 2, 0, 0));
}

// Texels 0, 1, 2, 3; what each wrap mode shows follows from its definition.
TEST(TextureSampler, WrapsCoordinates)
{
    const float texels[] = {0, 1, 2, 3};
    Sampler sampler;
    ASSERT_TRUE(sampler.setTexels(Sampler::typeLFloat, 4, 1, 1, texels));
    sampler.borderColor = {7, 8, 9, 0.5f};
    struct Case
    {
        float s, repeat, mirrored, decal, clamped;
    };
    const float infinity = INFINITY;
    const Case cases[] = {{-1.2f, 3, 3, 7, 0},   {-0.01f, 3, 0, 7, 0}, {0.0f, 0, 0, 0, 0},
                          {0.5f, 2, 2, 2, 2},    {0.99f, 3, 3, 3, 3},  {1.0f, 0, 3, 3, 3},
                          {1.01f, 0, 3, 7, 3},   {2.3f, 1, 1, 7, 3},   {NAN, 0, 0, 0, 0},
                          {infinity, 0, 0, 7, 3}};
    for (const Case& c : cases) {
        const float expected[] = {c.repeat, c.mirrored, c.decal, c.clamped};
        for (int mode = 0; mode < 4; ++mode) {
            sampler.setWrap(mode, Sampler::repeat);
            EXPECT_EQ(sampler.getNearest(c.s, 0.0f).x, expected[mode]) << c.s << " mode " << mode;
        }
    }
    sampler.setWrap(Sampler::decal, Sampler::decal);
    expectColor(sampler.getNearest(0.5f, 1.5f), 7, 8, 9, 0.5f);
}

TEST(TextureSampler, TransformsCoordinatesAboutTheShiftedCentre)
{
    const float texels[] = {0, 1, 2, 3};
    Sampler sampler;
    ASSERT_TRUE(sampler.setTexels(Sampler::typeLFloat, 2, 2, 1, texels));
    sampler.repeatU = 2.0f;
    EXPECT_EQ(sampler.getNearest(0.25f, 0.25f).x, 0.0f) << "without the flag nothing happens";
    sampler.setTransform(1.0f, 1.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_FALSE(sampler.hasTransform);
    sampler.setTransform(1.0f, 1.0f, 0.0f, 0.0f, 90.0f);
    EXPECT_TRUE(sampler.hasTransform);
    // s'' = -t', t'' = s': lower left shows what lies lower right.
    EXPECT_EQ(sampler.getNearest(0.25f, 0.25f).x, 1.0f);
    sampler.setTransform(1.0f, 1.0f, 0.5f, 0.0f, 0.0f);
    EXPECT_EQ(sampler.getNearest(0.25f, 0.25f).x, 1.0f);
}

// The mean over the sphere of a latitude-longitude image weighs rows by cosines: of three rows the
// middle one covers cos(60) - cos(120) = 1 of 2.
TEST(TextureSampler, AveragesOverTheSphereBySolidAngle)
{
    const float texels[] = {0, 1, 0};
    znRTSampler2D sampler;
    ASSERT_TRUE(sampler.setTexels(Sampler::typeLFloat, 1, 3, 1, texels));
    EXPECT_NEAR(sampler.calculateSphereAverage().x, 0.5f, 1e-6f);
    EXPECT_NEAR(sampler.averageColor.x, 1.0f / 3.0f, 1e-6f);
}

TEST(TextureSampler, CorrectsColoursByItsMatrixAndClampsBelow)
{
    znRTSamplerCube cube;
    cube.colorMatrix[0][0] = 2.0f;
    cube.colorMatrix[3][1] = -5.0f;
    expectColor(cube.applyColorCorrection({1, 1, 1, 0.25f}), 1, 1, 1, 0.25f);
    cube.useColorMatrix = true;
    expectColor(cube.applyColorCorrection({1, 1, 1, 0.25f}), 2, 0, 1, 1);
}
