#include "io/imageWriter.h"

#include "io/imageReader.h"
#include "support/TemporaryFolder.h"
#include "support/messageOf.h"
#include "support/savedProfile.h"

#include <Imath/half.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

using io::ImageData;
using io::ImageWriteOptions;

namespace {

/// Values that differ everywhere; floats of both signs and above 1.
ImageData pattern(u32 width, u32 height, u32 channels, ImageData::Type type)
{
    ImageData image;
    image.allocate(width, height, channels, type);
    for (u64 i = 0; i < u64(width) * height * channels; ++i) {
        const u32 mixed = u32(i * 2654435761u) ^ u32(i >> 3);
        const float number = float(int(mixed % 4001) - 1000) / 256.0f; // exact in half
        const u16 half = Imath::half(number).bits();
        u8* const at = image.values.data() + i * ImageData::bytes(type);
        if (type == ImageData::Type::byte)
            *at = u8(mixed);
        else if (type == ImageData::Type::word)
            std::memcpy(at, &mixed, 2);
        else if (type == ImageData::Type::half)
            std::memcpy(at, &half, 2);
        else
            std::memcpy(at, &number, 4);
    }
    const bool isFloat = type == ImageData::Type::half || type == ImageData::Type::float32;
    image.gamma = isFloat ? 1.0f : 2.2f;
    return image;
}

ImageData throughFile(const std::string& name, const ImageData& image,
                      const ImageWriteOptions& options = {})
{
    const TemporaryFolder folder;
    io::writeImage(folder.path(name), image, options);
    return io::readImage(folder.path(name));
}

} // namespace

TEST(ImageWriter, LosesNothingInLosslessFormats)
{
    using enum ImageData::Type;
    const std::pair<const char*, std::vector<ImageData::Type>> cases[] = {
        {"a.png", {byte, word}},
        {"a.tif", {byte, word, float32}},
        {"a.TIFF", {byte}},
        {"a.exr", {half, float32}}};
    for (const auto& [name, types] : cases)
        for (const ImageData::Type type : types)
            for (u32 channels = 1; channels <= 4; ++channels)
                for (const u32 width : {1u, 37u}) {
                    const ImageData image = pattern(width, 23, channels, type);
                    const ImageData back = throughFile(name, image);
                    EXPECT_EQ(back.width, width);
                    EXPECT_EQ(back.channels, channels);
                    EXPECT_EQ(back.type, type);
                    EXPECT_EQ(back.gamma, image.gamma);
                    EXPECT_EQ(back.values, image.values) << name << " " << channels;
                }
}

TEST(ImageWriter, KeepsColorAndSignInPfm)
{
    for (const u32 channels : {1u, 3u}) {
        const ImageData image = pattern(7, 5, channels, ImageData::Type::float32);
        EXPECT_EQ(throughFile("a.pfm", image).values, image.values);
    }
}

// Eight bits of mantissa, the largest component normalised to [128, 255]: an error of at most half
// a step of 1/128 of the largest.
TEST(ImageWriter, StaysWithinTheStepOfSharedExponents)
{
    for (const u32 width : {5u, 8u, 300u}) {
        ImageData image = pattern(width, 9, 3, ImageData::Type::float32);
        for (u32 x = 0; x < width; ++x) // a row of runs
            std::memcpy(image.values.data() + x * 12, "\0\0\x80\x3f\0\0\0\x3f\0\0\x80\x3e", 12);
        const ImageData back = throughFile("a.hdr", image);
        ASSERT_EQ(back.width, width);
        for (u32 y = 0; y < image.height; ++y)
            for (u32 x = 0; x < width; ++x) {
                double largest = 0;
                for (u32 c = 0; c < 3; ++c)
                    largest = std::max(largest, image.getValue(x, y, c));
                for (u32 c = 0; c < 3; ++c)
                    EXPECT_NEAR(back.getValue(x, y, c), std::max(0.0, image.getValue(x, y, c)),
                                largest / 255 + 1e-30);
            }
    }
}

TEST(ImageWriter, SurvivesEveryFloatInHdr)
{
    ImageData image;
    image.allocate(12, 1, 3, ImageData::Type::float32);
    const float infinity = std::numeric_limits<float>::infinity();
    const float values[] = {infinity, -infinity, std::nanf(""), 3e38f,  1e-40f, 1e-38f,
                            0.0f,     -0.0f,     -1.0f,         255.6f, 0.999f, 1.0f};
    for (u32 x = 0; x < 12; ++x)
        std::memcpy(image.values.data() + x * 12, &values[x], 4);
    const ImageData back = throughFile("a.hdr", image);
    for (u32 x = 0; x < 12; ++x)
        EXPECT_TRUE(std::isfinite(back.getValue(x, 0, 0)) && back.getValue(x, 0, 0) >= 0);
    EXPECT_NEAR(back.getValue(9, 0, 0), 255.6, 1.0);
}

TEST(ImageWriter, StaysCloseInJpeg)
{
    ImageData image;
    image.allocate(64, 48, 3, ImageData::Type::byte);
    for (u32 y = 0; y < 48; ++y)
        for (u32 x = 0; x < 64; ++x) {
            u8* const pixel = image.values.data() + (y * 64 + x) * 3;
            pixel[0] = u8(x * 4);
            pixel[1] = u8(y * 5);
            pixel[2] = 128;
        }
    ImageWriteOptions options;
    options.jpegQuality = 100;
    const ImageData back = throughFile("a.jpg", image, options);
    ASSERT_EQ(back.values.size(), image.values.size());
    for (std::size_t i = 0; i < back.values.size(); ++i)
        EXPECT_NEAR(back.values[i], image.values[i], 4);
    EXPECT_EQ(throughFile("a.jpeg", pattern(9, 9, 4, ImageData::Type::byte)).channels, 3u);
    EXPECT_EQ(throughFile("a.jpeg", pattern(9, 9, 2, ImageData::Type::byte)).channels, 1u);
}

TEST(ImageWriter, RoundsAndClampsOnTheWayToIntegers)
{
    ImageData image;
    image.allocate(6, 1, 1, ImageData::Type::float32);
    const float values[] = {-1.0f, 0.5f, 1.0f, 7.0f, std::nanf(""), 1.4f / 255};
    std::memcpy(image.values.data(), values, sizeof(values));
    const u8 expected[] = {0, 128, 255, 255, 0, 1};
    const ImageData back = throughFile("a.png", image);
    ASSERT_EQ(back.type, ImageData::Type::byte);
    EXPECT_TRUE(std::equal(back.values.begin(), back.values.end(), expected));
    ImageWriteOptions options;
    options.bits = 16;
    EXPECT_EQ(throughFile("a.png", image, options).getValue(1, 0, 0), 32768);
}

TEST(ImageWriter, ChoosesBitsAndCompressionAsAsked)
{
    const ImageData image = pattern(40, 30, 3, ImageData::Type::float32);
    ImageWriteOptions options;
    options.bits = 16;
    EXPECT_EQ(throughFile("a.exr", image, options).type, ImageData::Type::half);
    EXPECT_EQ(throughFile("a.tif", image, options).type, ImageData::Type::word);
    options.bits = 0;
    for (const char* name : {"none", "rle", "zips", "zip", "piz"}) {
        options.compression = name;
        EXPECT_EQ(throughFile("a.exr", image, options).values, image.values) << name;
    }
    for (const char* name : {"none", "lzw", "deflate"}) {
        options.compression = name;
        EXPECT_EQ(throughFile("a.tif", image, options).values, image.values) << name;
    }
    options.compression = "zap";
    for (const char* name : {"a.exr", "a.tif"})
        EXPECT_NE(messageOf([&] { throughFile(name, image, options); }).find("'zap'"),
                  std::string::npos);
    options = {};
    options.bits = 12;
    for (const char* name : {"a.exr", "a.tif", "a.png", "a.jpg"})
        EXPECT_NE(messageOf([&] { throughFile(name, image, options); }).find("not 12"),
                  std::string::npos)
            << name;
}

TEST(ImageWriter, KeepsTextsAndWindows)
{
    ImageData image = pattern(20, 10, 3, ImageData::Type::half);
    image.metadata = {{"comments", "\xe2\x9d\xa4 second"}, {"owner", "me"}, {"zn/samples", "64"}};
    image.offsetX = 5;
    image.offsetY = -3;
    image.displayWidth = 32;
    image.displayHeight = 16;
    const ImageData exr = throughFile("a.exr", image);
    EXPECT_EQ(exr.metadata, image.metadata);
    EXPECT_EQ(exr.offsetX, 5);
    EXPECT_EQ(exr.offsetY, -3);
    EXPECT_EQ(exr.displayWidth, 32u);
    EXPECT_EQ(exr.displayHeight, 16u);
    EXPECT_EQ(throughFile("a.png", image).metadata, image.metadata);
    EXPECT_EQ(throughFile("a.tif", image).metadata.at("owner"), "me");
    EXPECT_EQ(throughFile("a.jpg", image).metadata.at("comments"), "\xe2\x9d\xa4 second");
    EXPECT_EQ(throughFile("a.hdr", image).metadata.at("zn/samples"), "64");
}

TEST(ImageWriter, EmbedsProfilesThatFit)
{
    ImageData image = pattern(20, 10, 3, ImageData::Type::byte);
    image.iccProfile = savedProfile(cmsCreate_sRGBProfile());
    for (const char* name : {"a.png", "a.tif", "a.jpg"})
        EXPECT_EQ(throughFile(name, image).iccProfile, image.iccProfile) << name;
    image.iccProfile = savedProfile(cmsCreateLab4Profile(nullptr));
    for (const char* name : {"a.png", "a.tif", "a.jpg"})
        EXPECT_NE(messageOf([&] { throughFile(name, image); }).find("is not one for RGB"),
                  std::string::npos);
    image.iccProfile.assign(200, 7);
    for (const char* name : {"a.png", "a.tif", "a.jpg"})
        EXPECT_NE(messageOf([&] { throughFile(name, image); }).find("cannot be read"),
                  std::string::npos);
}

TEST(ImageWriter, MarksCurvesInPng)
{
    ImageData image = pattern(4, 4, 3, ImageData::Type::byte);
    image.gamma = 1.0f;
    EXPECT_EQ(throughFile("a.png", image).gamma, 1.0f);
    const TemporaryFolder folder;
    image.gamma = 2.2f;
    io::writeImage(folder.path("a.png"), image);
    EXPECT_NE(folder.read("a.png").find("sRGB"), std::string::npos);
    ImageWriteOptions options;
    options.writeSrgb = false;
    io::writeImage(folder.path("a.png"), image, options);
    EXPECT_EQ(folder.read("a.png").find("sRGB"), std::string::npos);
}

TEST(ImageWriter, RefusesUnknownSuffixesAndShapes)
{
    const TemporaryFolder folder;
    const ImageData image = pattern(4, 4, 3, ImageData::Type::byte);
    for (const char* name : {"a.xyz", "png", "a.png/b", "a."})
        EXPECT_THROW(io::writeImage(folder.path(name), image), io::OutputError) << name;
    EXPECT_THROW(io::writeImage(folder.path("a.png"), ImageData()), io::OutputError);
    EXPECT_TRUE(io::canWriteImage("x/y.EXR"));
    EXPECT_FALSE(io::canWriteImage("x/y.bmp"));
    EXPECT_TRUE(folder.names().empty());
}

TEST(ImageWriter, ReportsAFullDiskInEveryFormat)
{
    const TemporaryFolder folder;
    const ImageData image = pattern(400, 300, 3, ImageData::Type::float32);
    for (const char* suffix : {"png", "jpg", "tif", "hdr", "exr", "pfm"}) {
        const std::string link = folder.path(std::string("full.") + suffix);
        std::filesystem::create_symlink("/dev/full", link);
        EXPECT_EQ(messageOf([&] { io::writeImage(link, image); }),
                  link + ": cannot be written: No space left on device");
    }
}
