// The random table as data: what every estimate in a frame relies on.

#include "gi/znRTPoisson.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

constexpr u32 rows = 262144;

class PointTable : public testing::Test
{
protected:
    void SetUp() override { znRTPoisson::init(0, 0); }
    void TearDown() override { znRTPoisson::destroy(); }

    static double u(u32 row) { return znRTPoisson::s_randomValues[2 * (row & (rows - 1))]; }
    static double v(u32 row) { return znRTPoisson::s_randomValues[2 * (row & (rows - 1)) + 1]; }
    static double distance(u32 a, u32 b) { return std::hypot(u(a) - u(b), v(a) - v(b)); }
};

/// Distance of every point to its nearest neighbour, through a grid of 512 x 512 cells. Cells are
/// wider than 0.0019, so that a neighbour nearer than that is in the 3 x 3 cells around; the
/// others answer 0.0019.
std::vector<double> nearestDistances(const std::vector<std::pair<double, double>>& points)
{
    const int n = 512;
    std::vector<std::vector<u32>> cells(std::size_t(n) * n);
    const auto cellOf = [&](double x) { return std::min(int(x * n), n - 1); };
    for (u32 i = 0; i < points.size(); ++i)
        cells[std::size_t(cellOf(points[i].second)) * n + cellOf(points[i].first)].push_back(i);
    std::vector<double> result;
    for (u32 i = 0; i < points.size(); ++i) {
        const auto [x, y] = points[i];
        double best = 0.0019;
        for (int row = cellOf(y) - 1; row <= cellOf(y) + 1; ++row)
            for (int column = cellOf(x) - 1; column <= cellOf(x) + 1; ++column)
                if (row >= 0 && row < n && column >= 0 && column < n)
                    for (u32 j : cells[std::size_t(row) * n + column])
                        if (j != i)
                            best = std::min(best,
                                            std::hypot(points[j].first - x, points[j].second - y));
        result.push_back(best);
    }
    return result;
}

/// Squared L2 star discrepancy of n points. T. Warnock, "Computational Investigations of
/// Low-Discrepancy Point Sets", 1972.
double discrepancy2(const std::vector<std::pair<double, double>>& points)
{
    const double n = double(points.size());
    double single = 0.0, pairs = 0.0;
    for (const auto& a : points) {
        single += (1.0 - a.first * a.first) * (1.0 - a.second * a.second);
        for (const auto& b : points)
            pairs += (1.0 - std::max(a.first, b.first)) * (1.0 - std::max(a.second, b.second));
    }
    return 1.0 / 9.0 - single / (2.0 * n) + pairs / (n * n);
}

} // namespace

// FNV-1a over the bits of all floats. Whoever changes the points changes every image: do so on
// purpose, and together with this number.
TEST_F(PointTable, IsTheSameOnEveryMachine)
{
    u64 hash = 0xcbf29ce484222325u;
    for (u32 i = 0; i < 2 * rows; ++i)
        for (u32 bits = std::bit_cast<u32>(znRTPoisson::s_randomValues[i]), byte = 0; byte < 4;
             ++byte)
            hash = (hash ^ (bits >> 8 * byte & 255)) * 0x100000001b3u;
    EXPECT_EQ(hash, 3447577945545009372u);
}

TEST_F(PointTable, HoldsMillionthsStrictlyInsideTheUnitInterval)
{
    for (u32 i = 0; i < 2 * rows; ++i) {
        const float value = znRTPoisson::s_randomValues[i];
        const long millionths = std::lround(double(value) * 1e6);
        ASSERT_TRUE(millionths >= 1 && millionths <= 999999) << "entry " << i << ": " << value;
        ASSERT_EQ(value, float(millionths / 1e6)) << "entry " << i;
    }
}

TEST_F(PointTable, KeepsItsPointsApart)
{
    std::vector<std::pair<double, double>> points;
    for (u32 row = 0; row < rows; ++row)
        points.emplace_back(u(row), v(row));
    std::vector<double> nearest = nearestDistances(points);
    EXPECT_GE(*std::min_element(nearest.begin(), nearest.end()), 0.00079);
    std::nth_element(nearest.begin(), nearest.begin() + rows / 2, nearest.end());
    EXPECT_NEAR(nearest[rows / 2], 0.00137, 0.00002);
}

TEST_F(PointTable, KeepsThePointsOfItsFirstRowsFurtherApart)
{
    for (const auto& [count, least] : {std::pair(256u, 0.020), std::pair(1024u, 0.0071)})
        for (u32 a = 0; a < count; ++a)
            for (u32 b = 0; b < a; ++b)
                ASSERT_GE(distance(a, b), least) << "rows " << a << " and " << b;
}

// Random points have a mean squared discrepancy of (1/4 - 1/9) / n. Pixels start at multiples of
// 256 rows; their samples are a run from there.
TEST_F(PointTable, SpreadsRunsOfRowsBetterThanChance)
{
    std::mt19937 random(7);
    for (u32 count : {64u, 256u, 1024u}) {
        double sum = 0.0;
        const int runs = 50;
        for (int run = 0; run < runs; ++run) {
            const u32 start = 256 * (random() & 1023);
            std::vector<std::pair<double, double>> points;
            for (u32 i = 0; i < count; ++i)
                points.emplace_back(u(start + i), v(start + i));
            sum += discrepancy2(points);
        }
        const double ratio = std::sqrt(sum / runs / ((0.25 - 1.0 / 9.0) / count));
        RecordProperty("ratio" + std::to_string(count), std::to_string(ratio));
        EXPECT_LT(ratio, 0.75) << count << " rows";
    }
}

// Two decisions of a path are k steps apart. In 16 cells of one by 16 of the other, a chi-square
// with 255 degrees of freedom divided by them is 1 +- 0.09 for independent points.
TEST_F(PointTable, JoinsDecisionsAsIfTheyWereIndependent)
{
    const auto cellOf = [](u32 row) { return int(u(row) * 4.0) * 4 + int(v(row) * 4.0); };
    for (u32 k = 1; k <= 16; ++k) {
        std::vector<double> counts(256, 0.0);
        int bothLow = 0;
        for (u32 row = 0; row < rows; ++row) {
            ++counts[std::size_t(cellOf(row) * 16 + cellOf(row + 773 * k))];
            bothLow += u(row) < 0.5 && u(row + 773 * k) < 0.5;
        }
        double chi2 = 0.0;
        for (double count : counts)
            chi2 += (count - rows / 256.0) * (count - rows / 256.0) / (rows / 256.0);
        EXPECT_LT(chi2 / 255.0, 1.4) << "step " << k;
        EXPECT_NEAR(double(bothLow) / rows, 0.25, 0.004) << "step " << k;
    }
}
