#include "imgdiff/figures.h"

#include "io/imageReader.h"
#include "io/imageWriter.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

Picture constant(int width, int height, float r, float g, float b)
{
    Picture picture;
    const float values[3] = {r, g, b};
    for (int c = 0; c < 3; ++c) {
        picture.channels[c] = Plane(width, height);
        for (float& value : picture.channels[c].values)
            value = values[c];
    }
    return picture;
}

Picture noise(int width, int height, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(0.0f, 1.0f);
    Picture picture = constant(width, height, 0, 0, 0);
    for (Plane& plane : picture.channels)
        for (float& pixel : plane.values)
            pixel = value(random);
    return picture;
}

double flip(const Picture& a, const Picture& b)
{
    return meanOf(perceivedDifference(a, b));
}

} // namespace

TEST(PlainDifference, FindsTheLargestAndItsPlace)
{
    const Picture a = noise(13, 7, 1);
    Picture b = a;
    b.channels[1].at(4, 5) += 0.5f;
    const PlainDifference difference = plainDifference(a, b);
    EXPECT_NEAR(difference.largest, 0.5f, 1e-6f);
    EXPECT_EQ(difference.x, 4);
    EXPECT_EQ(difference.y, 5);
    EXPECT_NEAR(difference.rootMeanSquare, std::sqrt(0.25 / (3 * 13 * 7)), 1e-7);
}

TEST(PlainDifference, CountsWhatIsNotFiniteInOnePictureAlone)
{
    Picture a = constant(4, 4, 1, 1, 1), b = a;
    a.channels[0].at(0, 0) = b.channels[0].at(0, 0) = std::numeric_limits<float>::quiet_NaN();
    a.channels[0].at(1, 0) = b.channels[0].at(1, 0) = std::numeric_limits<float>::infinity();
    EXPECT_EQ(plainDifference(a, b).notFinite, 0u);
    b.channels[2].at(3, 3) = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(plainDifference(a, b).notFinite, 1u);
}

TEST(StructuralSimilarity, IsOneForTheSameAndFallsWithNoise)
{
    const Picture a = noise(40, 30, 1);
    EXPECT_NEAR(structuralSimilarity(a, a), 1.0, 1e-6);
    EXPECT_LT(structuralSimilarity(a, noise(40, 30, 2)), 0.2);
}

// Without structure only the term of the means is left: (2 x y + c1) / (x^2 + y^2 + c1) of the
// coded values.
TEST(StructuralSimilarity, ComparesTheMeansOfFlatPictures)
{
    const double x = 0.6, y = 0.3, c1 = 1e-4;
    const Picture a = constant(20, 20, fromSrgb(0.6f), fromSrgb(0.6f), fromSrgb(0.6f));
    const Picture b = constant(20, 20, fromSrgb(0.3f), fromSrgb(0.3f), fromSrgb(0.3f));
    EXPECT_NEAR(structuralSimilarity(a, b), (2 * x * y + c1) / (x * x + y * y + c1), 1e-4);
}

TEST(PerceivedDifference, IsZeroForTheSameAndOneForTheFarthestColours)
{
    const Picture a = noise(40, 30, 1);
    EXPECT_NEAR(flip(a, a), 0.0, 1e-6);
    // Pure green and blue are the pair of sRGB that is farthest apart: that ends the range.
    EXPECT_NEAR(flip(constant(9, 9, 0, 1, 0), constant(9, 9, 0, 0, 1)), 1.0, 1e-4);
}

// Flat pictures have no features; black and white are 100 apart in lightness. With the range's end
// at (green, blue) = 41.2761 after the power 0.7 (worked out in double precision from the
// published matrices): 0.95 + 0.05 (100^0.7 - 0.4 * 41.2761) / (0.6 * 41.2761).
TEST(PerceivedDifference, FollowsThePublishedCurveForFlatPictures)
{
    const double largest = 41.2761, value = std::pow(100.0, 0.7);
    const double expected = 0.95 + 0.05 * (value - 0.4 * largest) / (0.6 * largest);
    EXPECT_NEAR(flip(constant(9, 9, 0, 0, 0), constant(9, 9, 1, 1, 1)), expected, 1e-3);
}

// Errors that the eye cannot resolve count less than the same errors side by side.
TEST(PerceivedDifference, CountsFineErrorsLessThanCoarseOnes)
{
    const Picture gray = constant(64, 64, 0.5f, 0.5f, 0.5f);
    Picture fine = gray, coarse = gray;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            // Red against green at constant luminance: only colours differ.
            const float fineSign = (x + y) % 2 ? 1.0f : -1.0f, coarseSign = x < 32 ? 1.0f : -1.0f;
            for (const auto& [picture, sign] :
                 {std::pair(&fine, fineSign), {&coarse, coarseSign}}) {
                picture->channels[0].at(x, y) += 0.3f * sign * 0.7152f;
                picture->channels[1].at(x, y) -= 0.3f * sign * 0.2126f;
            }
        }
    EXPECT_LT(flip(gray, fine), 0.25 * flip(gray, coarse));
}

TEST(PerceivedDifference, DependsOnNoOrder)
{
    const Picture a = noise(24, 24, 3), b = noise(24, 24, 4);
    EXPECT_NEAR(flip(a, b), flip(b, a), 1e-6);
}

TEST(PerceivedDifference, TakesThinAndSinglePixelPictures)
{
    for (const auto& [width, height] : {std::pair(1, 1), {1, 50}, {50, 1}}) {
        EXPECT_NEAR(flip(noise(width, height, 1), noise(width, height, 1)), 0.0, 1e-6);
        EXPECT_GT(flip(noise(width, height, 1), noise(width, height, 2)), 0.0);
    }
}

// Exit codes as those of diff: 0 the same or within the bounds, 1 different, 2 trouble.
TEST(ImgDiff, TellsByItsExitCode)
{
    if (!std::filesystem::exists(std::string(ZN_BINARY_DIR) + "/imgdiff"))
        GTEST_SKIP() << "imgdiff was not built";
    const TemporaryFolder folder;
    io::ImageData image;
    image.allocate(16, 8, 3, io::ImageData::Type::byte);
    const std::string a = folder.path("a.png"), b = folder.path("b.png");
    io::writeImage(a, image);
    image.values[3 * (5 * 16 + 7)] = 51; // a fifth of the range
    io::writeImage(b, image);
    const auto run = [](std::vector<std::string> arguments) {
        return support::runProgram("imgdiff", std::move(arguments));
    };
    EXPECT_EQ(run({a, a}).exitCode, 0);
    const support::ProgramResult different = run({a, b});
    EXPECT_EQ(different.exitCode, 1);
    EXPECT_NE(different.out.find("largest    0.2 at pixel 7, 5"), std::string::npos)
        << different.out;
    EXPECT_EQ(run({a, b, "--max", "0.21"}).exitCode, 0);
    EXPECT_EQ(run({a, b, "--max", "0.19"}).exitCode, 1);
    EXPECT_EQ(run({a, b, "--rmse", "0.02"}).exitCode, 0);
    EXPECT_EQ(run({a, b, "--max", "0.21", "--rmse", "0.001"}).exitCode, 1);
    EXPECT_EQ(run({a, b, "--ssim", "0.999999"}).exitCode, 1);

    EXPECT_EQ(run({a, b, "-o", folder.path("map.png"), "--map", "absolute"}).exitCode, 1);
    const io::ImageData map = io::readImage(folder.path("map.png"));
    EXPECT_EQ(map.getValue(6, 5, 0), 0.0);
    EXPECT_GT(map.getValue(7, 5, 0), 0.0);

    image.allocate(8, 8, 3, io::ImageData::Type::byte);
    io::writeImage(folder.path("small.png"), image);
    for (const std::vector<std::string>& wrong :
         {std::vector<std::string>{a, folder.path("small.png")},
          {a, folder.path("none.png")},
          {a},
          {a, b, "--max", "x"},
          {a, b, "-o", folder.path("map.xyz")},
          {a, b, "-o", folder.path("map.png")}}) {
        const support::ProgramResult result = run(wrong);
        EXPECT_EQ(result.exitCode, 2) << result.error;
        EXPECT_EQ(result.errorLines(), 1) << result.error;
    }
}
