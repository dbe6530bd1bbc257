#include "host/znDistribution2D.h"
#include "host/znRTTextureSampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

znDistribution2D makeTable(const std::vector<float>& f, int width, int height)
{
    znDistribution2D table;
    table.setFunction(f.data(), width, height);
    return table;
}

} // namespace

// Rows 1 + 3 and 4 + 0 weigh the same; along each row the shares are 1/4, 3/4 and 1, 0.
TEST(Distribution2D, HoldsRowSumsAndSharesAlongRows)
{
    const znDistribution2D table = makeTable({1, 3, 4, 0}, 2, 2);
    EXPECT_EQ(table.marginal.cdf[1], 0.5f);
    EXPECT_EQ(table.conditional[0].cdf[1], 0.25f);
    EXPECT_EQ(table.conditional[1].cdf[1], 1.0f);
    EXPECT_EQ(table.getAverage(), 2.0f);
    EXPECT_EQ(table.getMaximum(), 4.0f);
    EXPECT_EQ(table.getPdf(0.25f, 0.25f), 0.5f);
    EXPECT_EQ(table.getPdf(0.25f, 0.75f), 2.0f);
    EXPECT_EQ(table.getPdf(0.75f, 0.75f), 0.0f);
}

// chi^2 over 8 x 6 cells, 47 degrees of freedom: 82.7 is exceeded once in a thousand.
TEST(Distribution2D, DrawsPointsByTheReportedDensity)
{
    constexpr int width = 8, height = 6, draws = 200000;
    std::vector<float> f;
    for (int i = 0; i < width * height; ++i)
        f.push_back(float(1 + i * 29 % 13));
    const znDistribution2D table = makeTable(f, width, height);
    std::mt19937_64 random(5);
    std::uniform_real_distribution<float> uniform(0.0f, 1.0f);
    std::vector<int> counts(f.size());
    for (int i = 0; i < draws; ++i) {
        float u, v;
        const float pdf = table.getSample(uniform(random), uniform(random), u, v);
        const int x = std::min(int(u * width), width - 1),
                  y = std::min(int(v * height), height - 1);
        ++counts[y * width + x];
        ASSERT_NEAR(pdf, f[y * width + x] / table.getAverage(), 1e-5f * pdf);
        ASSERT_NEAR(pdf, table.getPdf(u, v), 1e-5f * pdf);
    }
    double sum = 0.0, chiSquare = 0.0;
    for (float x : f)
        sum += x;
    for (std::size_t i = 0; i < f.size(); ++i) {
        const double expected = draws * f[i] / sum;
        chiSquare += (counts[i] - expected) * (counts[i] - expected) / expected;
    }
    EXPECT_LT(chiSquare, 82.7);
}

TEST(Distribution2D, IsUniformForBlack)
{
    const znDistribution2D table = makeTable({0, 0, 0, 0, 0, 0}, 3, 2);
    float u, v;
    EXPECT_EQ(table.getSample(0.25f, 0.5f, u, v), 1.0f);
    EXPECT_EQ(v, 0.25f);
    EXPECT_EQ(u, 0.5f);
    EXPECT_EQ(table.getAverage(), 0.0f);
}

TEST(Distribution2D, NeverDrawsFromAnEmptyRow)
{
    const znDistribution2D table = makeTable({0, 0, 1, 1, 0, 0}, 2, 3);
    for (int i = 0; i <= 100; ++i) {
        float u, v;
        EXPECT_GT(table.getSample(float(i) / 100.0f, 0.5f, u, v), 0.0f);
        EXPECT_GE(v, 1.0f / 3.0f - 1e-6f);
        EXPECT_LE(v, 2.0f / 3.0f + 1e-6f);
    }
}

// Luminance of pure red, green, blue and white by the weights 0.2125, 0.7154, 0.0721.
TEST(Distribution2D, ReadsTheLuminanceOfASampler)
{
    const float texels[] = {1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1};
    znRTSampler2D sampler;
    ASSERT_TRUE(sampler.setTexels(znRTTextureSampler::typeRGBFloat, 2, 2, 1, texels));
    znDistribution2D table;
    table.calculateDistributions(sampler);
    EXPECT_FLOAT_EQ(table.getAverage(), 0.5f);
    EXPECT_FLOAT_EQ(table.getPdf(0.25f, 0.25f), 0.425f);
    EXPECT_FLOAT_EQ(table.getPdf(0.75f, 0.25f), 1.4308f);
    EXPECT_FLOAT_EQ(table.getPdf(0.25f, 0.75f), 0.1442f);
    EXPECT_FLOAT_EQ(table.getPdf(0.75f, 0.75f), 2.0f);

    znDistribution2DDouble precise;
    precise.calculateDistributions(sampler);
    EXPECT_NEAR(precise.getPdf(0.75, 0.25), 1.4308, 1e-12);

    table.calculateDistributions(znRTSampler2D());
    EXPECT_FALSE(table.isValid());
}
