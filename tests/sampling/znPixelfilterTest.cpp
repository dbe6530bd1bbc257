#include "host/znPixelfilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <set>

namespace {

using Factory = znPixelfilterFactory;

std::unique_ptr<znPixelfilter> makeFilter(int type, float sizeX, float sizeY)
{
    return std::unique_ptr<znPixelfilter>(Factory::getPixelfilter(type, sizeX, sizeY));
}

znPixelfilterSampleSet makeSet(int type, float size)
{
    znPixelfilterSampleSet set;
    set.setFilter(Factory::getPixelfilter(type, size, size));
    return set;
}

constexpr float s_shifts[][2] = {{0, 0}, {-1, -1}, {1, 1}, {0.5f, -0.25f}, {-0.9f, 0.3f}};

} // namespace

TEST(Pixelfilter, HasItsPeakOfOneAtTheCentre)
{
    for (int type = 0; type <= 6; ++type) {
        const auto filter = makeFilter(type, 4.0f, 4.0f);
        EXPECT_NEAR(filter->evaluate(0.0f, 0.0f), 1.0f, 1e-6f) << type;
        EXPECT_EQ(filter->evaluate(2.001f, 0.0f), 0.0f) << type;
        EXPECT_EQ(filter->evaluate(0.0f, -2.001f), 0.0f) << type;
        EXPECT_TRUE(filter->separable);
    }
}

TEST(Pixelfilter, IsEvenInBothAxes)
{
    for (int type = 2; type <= 6; ++type) {
        const auto filter = makeFilter(type, 4.0f, 6.0f);
        for (float x : {0.1f, 0.7f, 1.3f, 1.9f})
            for (float y : {0.2f, 1.1f, 2.9f}) {
                EXPECT_EQ(filter->evaluate(x, y), filter->evaluate(-x, y)) << type;
                EXPECT_EQ(filter->evaluate(x, y), filter->evaluate(x, -y)) << type;
            }
    }
}

// Closed forms at single points: Gaussian (exp(-8 / 4) - exp(-8)) / (1 - exp(-8)) at half the
// radius; Mitchell with B = C = 1/3 is 1/18 over 8/9 at one unit; sinc(1) = 0; the four
// Blackman-Harris terms at half the radius are a0 - a2.
TEST(Pixelfilter, FollowsThePublishedProfiles)
{
    EXPECT_NEAR(makeFilter(Factory::triangle, 4, 4)->evaluate(0.5f, 1.0f), 0.75f * 0.5f, 1e-6f);
    EXPECT_NEAR(makeFilter(Factory::gaussian, 4, 4)->evaluate(1.0f, 0.0f),
                (std::exp(-2.0) - std::exp(-8.0)) / (1.0 - std::exp(-8.0)), 1e-6);
    EXPECT_NEAR(makeFilter(Factory::mitchell, 4, 4)->evaluate(1.0f, 0.0f), 1.0 / 16.0, 1e-6);
    EXPECT_NEAR(makeFilter(Factory::lanczos, 6, 6)->evaluate(1.0f, 0.0f), 0.0, 1e-6);
    EXPECT_NEAR(makeFilter(Factory::blackmanHarris, 4, 4)->evaluate(1.0f, 0.0f), 0.35875 - 0.14128,
                1e-6);
}

TEST(Pixelfilter, HasNegativeLobesWhereItShould)
{
    EXPECT_LT(makeFilter(Factory::mitchell, 4, 4)->evaluate(1.5f, 0.0f), 0.0f);
    EXPECT_LT(makeFilter(Factory::lanczos, 6, 6)->evaluate(1.5f, 0.0f), 0.0f);
    for (int type : {0, 1, 2, 3, 6})
        for (float x = -2.0f; x <= 2.0f; x += 0.0625f)
            EXPECT_GE(makeFilter(type, 4, 4)->evaluate(x, 0.0f), 0.0f) << type;
}

// chi^2 of the offsets along x against the profile's magnitude, 32 bins; 61.1 is exceeded once in
// a thousand with 31 degrees of freedom.
TEST(Pixelfilter, SamplesOffsetsLikeItsMagnitude)
{
    constexpr int bins = 32, draws = 100000;
    for (int type = 1; type <= 6; ++type) {
        const auto filter = makeFilter(type, 4.0f, 2.0f);
        std::mt19937 random(17);
        std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
        std::vector<int> counts(bins);
        for (int i = 0; i < draws; ++i) {
            float dx, dy;
            filter->sample(uniform(random), uniform(random), &dx, &dy);
            ASSERT_LE(std::fabs(dx), 2.0f);
            ASSERT_LE(std::fabs(dy), 1.0f);
            ++counts[std::min(int((dx + 2.0f) * (bins / 4.0f)), bins - 1)];
        }
        std::vector<double> mass(bins);
        double total = 0.0;
        for (int i = 0; i < bins * 64; ++i) {
            const double value =
                std::fabs(filter->evaluate((float(i) + 0.5f) * (4.0f / (bins * 64)) - 2.0f, 0.0f));
            mass[i / 64] += value;
            total += value;
        }
        double chiSquare = 0.0;
        for (int i = 0; i < bins; ++i) {
            const double expected = draws * mass[i] / total;
            if (expected > 5.0)
                chiSquare += (counts[i] - expected) * (counts[i] - expected) / expected;
        }
        EXPECT_LT(chiSquare, 61.1) << type;
    }
}

TEST(PixelfilterFactory, GivesTheBoxOfOnePixelToStartWith)
{
    const auto filter = makeFilter(1, 1.0f, 1.0f);
    EXPECT_EQ(filter->radiusX, 0.5f);
    EXPECT_EQ(filter->radiusY, 0.5f);
    EXPECT_TRUE(makeSet(1, 1.0f).isBox());
    EXPECT_TRUE(makeSet(0, 7.0f).isBox());
    EXPECT_TRUE(makeSet(99, 3.0f).isBox());
    EXPECT_TRUE(makeSet(-1, 3.0f).isBox());
    EXPECT_TRUE(znPixelfilterSampleSet().isBox());
    EXPECT_FALSE(makeSet(1, 3.0f).isBox());
    EXPECT_FALSE(makeSet(2, 1.0f).isBox());
}

TEST(PixelfilterFactory, KeepsSizesInRange)
{
    EXPECT_EQ(makeFilter(2, -4.0f, 1e9f)->radiusX, 0.5f);
    EXPECT_EQ(makeFilter(2, -4.0f, 1e9f)->radiusY, 16.0f);
    EXPECT_EQ(makeFilter(2, NAN, 2.0f)->radiusX, 0.5f);
}

TEST(PixelfilterSampleSet, CountsOneForTheOwnPixelInTheBoxState)
{
    znPixelfilterSampleSet set;
    for (const auto& shift : s_shifts) {
        set.updateFilter(1.0f, 1.0f, shift[0], shift[1]);
        EXPECT_TRUE(set.isBox());
        EXPECT_EQ(set.minX, 0);
        EXPECT_EQ(set.maxY, 0);
        EXPECT_EQ(set.getWeight(0, 0), 1.0f);
        EXPECT_EQ(set.getSum(), 1.0f);
    }
}

// Box of n pixels: n per axis cover a sample. Tent of radius r: the weights along one axis sum to
// r wherever the sample lies.
TEST(PixelfilterSampleSet, DividesEachSampleWithoutLossForBoxAndTriangle)
{
    for (int n : {2, 3, 4, 5})
        for (const auto& shift : s_shifts) {
            znPixelfilterSampleSet set = makeSet(Factory::box, float(n));
            set.updateFilter(0.0f, 0.0f, shift[0], shift[1]);
            EXPECT_FLOAT_EQ(set.getSum(), float(n * n)) << n << " at " << shift[0];
        }
    for (int r : {1, 2, 3})
        for (const auto& shift : s_shifts) {
            znPixelfilterSampleSet set = makeSet(Factory::triangle, 2.0f * float(r));
            set.updateFilter(0.0f, 0.0f, shift[0], shift[1]);
            EXPECT_NEAR(set.getSum(), float(r * r), 1e-5f) << r << " at " << shift[0];
        }
}

// The reference is the definition: the filter at the target's centre minus the sample's place.
TEST(PixelfilterSampleSet, TabulatesTheFilterAroundTheShiftedSample)
{
    for (int type = 1; type <= 6; ++type)
        for (const auto& shift : s_shifts) {
            znPixelfilterSampleSet set = makeSet(type, 3.0f);
            set.updateFilter(5.0f, 3.0f, shift[0], shift[1]);
            const auto filter = makeFilter(type, 5.0f, 3.0f);
            double sum = 0.0;
            for (int j = -4; j <= 4; ++j)
                for (int i = -4; i <= 4; ++i) {
                    const float expected =
                        filter->evaluate(float(i) - 0.5f * shift[0], float(j) - 0.5f * shift[1]);
                    const bool isInside =
                        i >= set.minX && i <= set.maxX && j >= set.minY && j <= set.maxY;
                    if (!isInside) {
                        EXPECT_EQ(expected, 0.0f) << type << ": " << i << ", " << j;
                        continue;
                    }
                    EXPECT_EQ(set.getWeight(i, j), expected) << type << ": " << i << ", " << j;
                    EXPECT_EQ(set.weights[(i + set.offset) + (j + set.offset) * set.stride],
                              expected);
                    sum += expected;
                }
            EXPECT_NEAR(set.getSum(), sum, 1e-5) << type;
        }
}

// Cameras hold a size for all kinds; without a filter it must not matter.
TEST(PixelfilterSampleSet, StaysInTheBoxStateWithoutAFilterWhateverTheSize)
{
    znPixelfilterSampleSet set = makeSet(Factory::none, 5.0f);
    set.updateFilter(5.0f, 5.0f, 0.5f, -0.5f);
    EXPECT_TRUE(set.isBox());
    set.setFilter(Factory::getPixelfilter(Factory::box, 5.0f, 5.0f));
    set.updateFilter(5.0f, 5.0f, 0.5f, -0.5f);
    EXPECT_FALSE(set.isBox());
}

TEST(PixelfilterSampleSet, KeepsItsTableWhenMoved)
{
    znPixelfilterSampleSet set = makeSet(Factory::triangle, 4.0f);
    const znPixelfilterSampleSet moved = std::move(set);
    EXPECT_FLOAT_EQ(moved.getWeight(1, 0), 0.5f);
}

TEST(PixelfilterSampleSet, StartsNextToTheCentreOfThePixel)
{
    const znRTVector2f shift = znPixelfilterSampleSet::getSampleShift(0);
    EXPECT_LT(std::max(std::abs(shift.x), std::abs(shift.y)), 2.0f / 32.0f);
}

// Edges of squares that are seen straight on run along these lines. In units of the net's cells the
// samples stay 1/31 away from all of them.
TEST(PixelfilterSampleSet, KeepsSamplesOffLinesOfSmallWholeSlopes)
{
    for (unsigned k = 0; k < 1024; ++k) {
        const znRTVector2f shift = znPixelfilterSampleSet::getSampleShift(k);
        for (int i = -3; i <= 3; ++i)
            for (int j = 0; j <= 3; ++j) {
                if (i == 0 && j == 0)
                    continue;
                // 32 cells of the finest net that 1024 samples make, where a cell is 1/1024.
                const double place = 0.5 * (i * double(shift.x) + j * double(shift.y)) * 1024 * 32;
                EXPECT_GT(std::abs(place - std::round(place / 32.0) * 32.0), 0.9)
                    << k << ": " << i << ", " << j;
            }
    }
}

// A (0, 2)-sequence: the first 2^n points put one into each elementary interval of area 2^-n.
TEST(PixelfilterSampleSet, FillsThePixelEvenlyFromTheFirstSample)
{
    for (int n = 0; n <= 8; ++n)
        for (int a = 0; a <= n; ++a) {
            const int columns = 1 << a, rows = 1 << (n - a);
            std::set<int> cells;
            for (unsigned k = 0; k < (1u << n); ++k) {
                const znRTVector2f shift = znPixelfilterSampleSet::getSampleShift(k);
                ASSERT_GE(shift.x, -1.0f);
                ASSERT_LT(shift.x, 1.0f);
                const int x = int((shift.x + 1.0f) * 0.5f * float(columns));
                const int y = int((shift.y + 1.0f) * 0.5f * float(rows));
                cells.insert(y * columns + x);
            }
            EXPECT_EQ(cells.size(), 1u << n) << columns << " x " << rows;
        }
}
