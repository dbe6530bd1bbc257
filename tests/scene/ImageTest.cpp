#include "host/osg/Image.h"

#include <gtest/gtest.h>

using namespace osg;

namespace {

TEST(Image, RefusesLayoutsThatCannotBe)
{
    const Ref<Image> image = Image::create();
    EXPECT_FALSE(image->set(Image::RGB, 0, 4));
    EXPECT_FALSE(image->set(1234, 4, 4));
    EXPECT_FALSE(image->set(Image::RGB, 4, 4, 1, 1, 1, nullptr, 99));
    EXPECT_FALSE(image->set(Image::RGBA, 0xffffffff, 0xffffffff, 0xffffffff));
    EXPECT_FALSE(image->isValid());
    EXPECT_EQ(image->getData(), nullptr);
    EXPECT_FALSE(image->convertToFloat());
}

// Sizes and pixels are fields of their own, so that a file may hold some that do not match.
TEST(Image, IsValidOnlyWithAsManyPixelsAsItsSizesSay)
{
    const osg::Ref<osg::Image> image(osg::Image::create());
    EXPECT_FALSE(image->isValid());
    ASSERT_TRUE(image->set(osg::Image::RGB, 4, 2, 1, 3, 2));
    EXPECT_TRUE(image->isValid()) << "with levels and frames";
    image->setWidth(5);
    EXPECT_FALSE(image->isValid());
    image->setWidth(4);
    image->setDepth(0);
    EXPECT_TRUE(image->isValid()) << "flat";
    image->setMipmapCount(4000000000u);
    EXPECT_FALSE(image->isValid());
    image->setMipmapCount(3);
    for (const auto set : {&osg::Image::setWidth, &osg::Image::setHeight, &osg::Image::setDepth,
                           &osg::Image::setFrameCount, &osg::Image::setSideCount})
        (image.get().get()->*set)(0x80000000u);
    EXPECT_FALSE(image->isValid()) << "the product leaves 64 bits";
}

TEST(Image, ReadsPixelsOfEveryFormatAsRGBA)
{
    const Ref<Image> image = Image::create();
    const u8 bgra[4] = {255, 51, 0, 102};
    ASSERT_TRUE(image->set(Image::BGRA, 1, 1, 1, 1, 1, bgra));
    EXPECT_EQ(image->getPixel(0, 0), Vec4f(0.0f, 0.2f, 1.0f, 0.4f));
    const u16 la[2] = {65535, 0};
    ASSERT_TRUE(image->set(Image::LA, 1, 1, 1, 1, 1, la, Image::UInt16));
    EXPECT_EQ(image->getPixel(0, 0), Vec4f(1, 1, 1, 0));
    // Half floats: 1.5, -2, 65504 (the greatest), 2^-24 (the least).
    const u16 halves[4] = {0x3e00, 0xc000, 0x7bff, 0x0001};
    ASSERT_TRUE(image->set(Image::RGBA, 1, 1, 1, 1, 1, halves, Image::Float16));
    EXPECT_EQ(image->getPixel(7, 7), Vec4f(1.5f, -2.0f, 65504.0f, 5.9604644775390625e-8f));
}

TEST(Image, ConvertsToFloatsOfTheSameValue)
{
    const Ref<Image> image = Image::create();
    const u8 rgb[6] = {0, 51, 255, 102, 153, 204};
    ASSERT_TRUE(image->set(Image::RGB, 2, 1, 1, 1, 1, rgb));
    const Vec4f before = image->getPixel(1, 0);
    ASSERT_TRUE(image->convertToFloat());
    EXPECT_EQ(image->getDataType(), u32(Image::Float32));
    EXPECT_EQ(image->getSize(), 24u);
    EXPECT_EQ(image->getPixel(1, 0), before);
}

TEST(Image, FindsLevelsFramesAndSides)
{
    const Ref<Image> image = Image::create();
    ASSERT_TRUE(image->set(Image::L, 4, 2, 1, 3, 2, nullptr, Image::UInt8, 6));
    // Levels of 8, 2 and 1 bytes.
    EXPECT_EQ(image->getSize(), 11u * 6 * 2);
    EXPECT_EQ(image->getData(2, 0, 0) - image->getData(0, 0, 0), 10);
    EXPECT_EQ(image->getData(0, 1, 1) - image->getData(0, 0, 0), 11 * 7);
    EXPECT_EQ(image->getData(3), nullptr);
    EXPECT_EQ(image->getData(0, 2), nullptr);
}

} // namespace
