// Images as densities over the unit square.

#include "texture/textureTasks.h"
#include "textureFixture.h"

#include <cmath>
#include <numbers>
#include <random>

using namespace textureTest;
using F = znRTTextureFunctions;

namespace {

znRTVector2fPacket randomNumbers(std::mt19937& engine)
{
    std::uniform_real_distribution<float> value(0.0f, 1.0f);
    const auto four = [&] {
        return znFloatType<2>(value(engine), value(engine), value(engine), value(engine));
    };
    const znFloatType<2> x = four();
    return {x, four()};
}

template <class Distribution>
Distribution distributionOf(const std::vector<double>& values, int width)
{
    using T = typename Distribution::T;
    const std::vector<T> cells(values.begin(), values.end());
    Distribution distribution;
    distribution.setFunction(cells.data(), width, int(values.size()) / width);
    return distribution;
}

const std::vector<double> uneven = {1, 2, 3, 4, 0, 8, 0, 2, 5, 5, 5, 5};
const std::vector<double> black(12, 0.0);
const std::vector<double> oneCell = {0, 0, 0, 0, 0, 0, 7, 0, 0, 0, 0, 0};

} // namespace

// By hand: rows 10, 10 and 20 of 40; the first number leads to the middle of the second row, the
// second to an eighth of its second cell, which holds eight tenths.
TEST(ImageDistribution, ChoosesTheRowByTheFirstNumberAndThePlaceByTheSecond)
{
    const auto distribution = distributionOf<znDistribution2D>(uneven, 4);
    znFloatType<2> pdf;
    const znRTVector2fPacket uv =
        F::remapSample(distribution, {znFloatType<2>(0.375f), znFloatType<2>(0.1f)}, pdf, allLanes);
    EXPECT_NEAR(uv.y[0], 0.5f, 1e-5f);
    EXPECT_NEAR(uv.x[0], (1.0f + 0.125f) / 4.0f, 1e-5f);
    EXPECT_NEAR(pdf[0], 12.0f * 8.0f / 40.0f, 1e-4f);
}

TEST(ImageDistribution, DrawsPlacesInProportionToTheImage)
{
    std::mt19937 engine(7);
    for (const auto& values : {uneven, oneCell, black}) {
        const auto distribution = distributionOf<znDistribution2D>(values, 4);
        double sum = 0.0;
        for (const double v : values)
            sum += v;
        std::vector<int> counts(12);
        constexpr int draws = 40000;
        for (int i = 0; i < draws / 4; ++i) {
            znFloatType<2> pdf;
            const znRTVector2fPacket uv =
                F::remapSample(distribution, randomNumbers(engine), pdf, allLanes);
            const znFloatType<2> again = F::remapPdf(distribution, uv, allLanes);
            for (int lane = 0; lane < 4; ++lane) {
                const int x = std::min(int(uv.x[lane] * 4.0f), 3);
                const int y = std::min(int(uv.y[lane] * 3.0f), 2);
                ++counts[std::size_t(y * 4 + x)];
                EXPECT_GT(pdf[lane], 0.0f);
                EXPECT_NEAR(again[lane], pdf[lane], 1e-4f * pdf[lane]);
            }
        }
        double chi2 = 0.0;
        for (std::size_t i = 0; i < 12; ++i) {
            const double expected = draws * (sum > 0.0 ? values[i] / sum : 1.0 / 12.0);
            if (expected == 0.0)
                EXPECT_EQ(counts[i], 0);
            else
                chi2 += (counts[i] - expected) * (counts[i] - expected) / expected;
        }
        EXPECT_LT(chi2, 31.3) << "11 degrees of freedom, 1 in 1000";
    }
}

TEST(ImageDistribution, HasADensityOfOneOverTheSquare)
{
    for (const auto& values : {uneven, oneCell, black}) {
        const auto distribution = distributionOf<znDistribution2D>(values, 4);
        double sum = 0.0;
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; x += 4) {
                const znFloatType<2> column(float(x), float(x + 1), float(x + 2), float(x + 3));
                const znFloatType<2> pdf = F::remapPdf(
                    distribution,
                    {(column + 0.5f) * (1.0f / 40.0f), znFloatType<2>((float(y) + 0.5f) / 30.0f)},
                    allLanes);
                sum += double(pdf[0]) + double(pdf[1]) + double(pdf[2]) + double(pdf[3]);
            }
        EXPECT_NEAR(sum / 1200.0, 1.0, 1e-4);
    }
}

TEST(ImageDistribution, IsTheSameInDoubles)
{
    std::mt19937 engine(9);
    const auto single = distributionOf<znDistribution2D>(uneven, 4);
    const auto twice = distributionOf<znDistribution2DDouble>(uneven, 4);
    for (int i = 0; i < 100; ++i) {
        const znRTVector2fPacket numbers = randomNumbers(engine);
        znFloatType<2> pdf, pdfTwice;
        const znRTVector2fPacket a = F::remapSample(single, numbers, pdf, allLanes);
        const znRTVector2fPacket b = F::remapSample(twice, numbers, pdfTwice, allLanes);
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_NEAR(a.x[lane], b.x[lane], 1e-5f);
            EXPECT_NEAR(a.y[lane], b.y[lane], 1e-5f);
            EXPECT_NEAR(pdf[lane], pdfTwice[lane], 1e-4f);
            EXPECT_NEAR(F::remapPdf(twice, b, allLanes)[lane], pdfTwice[lane], 1e-4f);
        }
    }
}

TEST(ImageDistribution, GivesNothingInLanesOffTheMask)
{
    const auto distribution = distributionOf<znDistribution2D>(uneven, 4);
    znFloatType<2> pdf;
    znIntType<2> index;
    const znFloatType<2> none = znFloatType<2>::noLanes();
    const znFloatType<2> place =
        F::getCDFSample2(distribution.marginal, znFloatType<2>(0.7f), pdf, index, none);
    EXPECT_LANES_EQ(place, 0, 0, 0, 0);
    EXPECT_LANES_EQ(pdf, 0, 0, 0, 0);
    const znFloatType<2> some =
        F::getCDFSample2(distribution.marginal, znFloatType<2>(0.75f), pdf, index, expandLanes(4));
    EXPECT_LANES_NEAR(some, 0.0f, 0.0f, 2.5f / 3.0f, 0.0f, 1e-5f);
    EXPECT_LANES_NEAR(pdf, 0.0f, 0.0f, 1.5f, 0.0f, 1e-5f);
    EXPECT_INT_LANES(index, 0, 0, 2, 0);
    F::remapSample(distribution, {znFloatType<2>(0.5f), znFloatType<2>(0.5f)}, pdf, none);
    EXPECT_LANES_EQ(pdf, 0, 0, 0, 0);
}

TEST(ImageDistribution, IsMadeOfATextureAtAnySize)
{
    znRTSampler2D sampler;
    fill(sampler, 16, 8, [](int x, int y) { return grey(float(1 + x + 16 * y)); });
    sampler.setWrap(Sampler::clamp, Sampler::clamp);
    znDistribution2D distribution;
    // As large as the image: texels are read at their middles, so cells are texels.
    ASSERT_TRUE(F::calculateTransformedCdf(sampler, 16, 8, false, distribution));
    EXPECT_EQ(distribution.getWidth(), 16);
    EXPECT_EQ(distribution.getHeight(), 8);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x)
            EXPECT_NEAR(distribution.conditional[std::size_t(y)].function[x], float(1 + x + 16 * y),
                        1e-3f);
    // A width that is no multiple of four, and rows of directions.
    ASSERT_TRUE(F::calculateTransformedCdf(sampler, 7, 5, true, distribution));
    EXPECT_EQ(distribution.getWidth(), 7);
    const float polar = std::numbers::pi_v<float> * 0.5f / 5.0f;
    const float read = F::texture2D(sampler, inAllLanes(6.5f / 7.0f, 0.1f), allLanes).r[0];
    EXPECT_NEAR(distribution.conditional[0].function[6], read * std::sin(polar), 1e-3f);
}

TEST(ImageDistribution, StaysAsItWasAfterACancel)
{
    znRTSampler2D sampler;
    fill(sampler, 16, 8, [](int, int) { return grey(1.0f); });
    auto distribution = distributionOf<znDistribution2D>(uneven, 4);
    znTextureTasks tasks;
    tasks.cancel();
    EXPECT_FALSE(F::calculateTransformedCdf(sampler, 64, 64, false, distribution, &tasks));
    EXPECT_EQ(distribution.getWidth(), 4);
    EXPECT_EQ(distribution.conditional[1].function[1], 8.0f);
}
