#include "gi/znGaussianISFilter.h"
#include "gi/znTriangleISFilter.h"
#include "support/virtualSlot.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

float sampleX(const znPixelfilter& filter, float u)
{
    float dx, dy;
    filter.sample(u, 0.0f, &dx, &dy);
    return dx;
}

} // namespace

// sign(u) 2 r (1 - sqrt(1 - |u|)): the inverse of the tent's distribution function.
TEST(TriangleFilter, InvertsTheTentOfTwiceItsRadius)
{
    const znTriangleISFilter filter(0.5f, 0.25f);
    EXPECT_FLOAT_EQ(sampleX(filter, 0.9375f), 0.75f);
    EXPECT_FLOAT_EQ(sampleX(filter, -0.9375f), -0.75f);
    EXPECT_FLOAT_EQ(sampleX(filter, -0.75f), -0.5f);
    EXPECT_FLOAT_EQ(sampleX(filter, -0.5f), std::sqrt(0.5f) - 1.0f);
    EXPECT_EQ(sampleX(filter, 0.0f), 0.0f);
    EXPECT_FLOAT_EQ(sampleX(filter, 1.0f), 1.0f);
    float dx, dy;
    filter.sample(0.0f, 0.75f, &dx, &dy);
    EXPECT_FLOAT_EQ(dy, 0.25f);
}

// Evenly spread u fall into the cells of [-1, 1] as the tent's area has it.
TEST(TriangleFilter, SpreadsSamplesAsATent)
{
    const znTriangleISFilter filter(0.5f, 0.5f);
    const int samples = 100000, cells = 10;
    int counts[cells] = {};
    for (int i = 0; i < samples; ++i) {
        const float x = sampleX(filter, -1.0f + (i + 0.5f) * 2.0f / samples);
        ++counts[std::min(int((x + 1.0f) * cells / 2.0f), cells - 1)];
    }
    for (int c = 0; c < cells; ++c) {
        const double middle = -1.0 + (c + 0.5) * 2.0 / cells;
        EXPECT_NEAR(double(counts[c]) / samples, (1.0 - std::fabs(middle)) * 2.0 / cells, 2e-4);
    }
}

TEST(TriangleFilter, WeighsByTheProductOfTwoTents)
{
    const znTriangleISFilter filter(0.5f, 0.5f);
    EXPECT_FLOAT_EQ(filter.evaluate(0.0f, 0.0f), 0.25f);
    EXPECT_FLOAT_EQ(filter.evaluate(0.25f, -0.4f), 0.25f * 0.1f);
    EXPECT_EQ(filter.evaluate(0.5f, 0.0f), 0.0f);
    EXPECT_EQ(filter.evaluate(3.0f, 3.0f), 0.0f);
}

TEST(GaussianFilter, SpreadsSamplesWithItsRadiusAsDeviation)
{
    const znGaussianISFilter filter(0.5f, 0.5f);
    const int n = 400;
    double squares = 0.0, mean = 0.0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            float dx, dy;
            filter.sample(-1.0f + (i + 0.5f) * 2.0f / n, -1.0f + (j + 0.5f) * 2.0f / n, &dx, &dy);
            mean += dx;
            squares += double(dx) * dx;
        }
    EXPECT_NEAR(mean / (n * n), 0.0, 1e-3);
    EXPECT_NEAR(std::sqrt(squares / (n * n)), 0.5, 5e-3);
    // The end of the range stays finite.
    EXPECT_NEAR(sampleX(filter, 1.0f), 0.5f * std::sqrt(-2.0f * std::log(1e-7f)) * -1.0f, 1e-5f);
}

// The bell of samples is round: its deviation is the radius in x on both axes.
TEST(GaussianFilter, SpreadsSamplesEquallyOnBothAxes)
{
    const znGaussianISFilter wide(0.5f, 2.0f), round(0.5f, 0.5f);
    for (const float u : {-0.9f, -0.25f, 0.5f, 0.99f}) {
        float dx, dy, roundX, roundY;
        wide.sample(u, -0.3f, &dx, &dy);
        round.sample(u, -0.3f, &roundX, &roundY);
        EXPECT_EQ(dx, roundX);
        EXPECT_EQ(dy, roundY);
    }
}

TEST(GaussianFilter, WeighsByTheProductOfTwoBells)
{
    const znGaussianISFilter filter(0.5f, 0.5f);
    EXPECT_FLOAT_EQ(filter.evaluate(0.0f, 0.0f), 1.0f);
    EXPECT_FLOAT_EQ(filter.evaluate(0.5f, 0.25f), std::exp(-8.0f * 0.3125f));
    // The bell has no rim: beyond the radius it goes on falling.
    EXPECT_FLOAT_EQ(filter.evaluate(1.0f, 0.0f), std::exp(-8.0f));
    EXPECT_EQ(filter.evaluate(20.0f, 0.0f), 0.0f);
}

TEST(PixelFilter, KeepsTheOrderOfItsOperations)
{
    EXPECT_EQ(virtualSlot(&znPixelfilter::evaluate), 0);
    EXPECT_EQ(virtualSlot(&znPixelfilter::sample), 1);
}
