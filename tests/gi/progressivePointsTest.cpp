#include "generators/progressivePoints.h"

#include <gtest/gtest.h>

namespace {

using Point = ProgressivePoints::Point;

/// Written out from the published recurrence.
std::uint64_t splitMix(std::uint64_t n)
{
    std::uint64_t z = 1 + n * 0x9e3779b97f4a7c15u;
    z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9u;
    z = (z ^ z >> 27) * 0x94d049bb133111ebu;
    return z ^ z >> 31;
}

/// The n-th draw, n from 1: two halves of a word, scaled to 1..999999.
Point drawn(std::uint64_t n)
{
    const std::uint64_t word = splitMix(n);
    return {int(1 + ((word >> 32) * 999999 >> 32)), int(1 + ((word & 0xffffffffu) * 999999 >> 32))};
}

double torusDistance2(Point a, Point b)
{
    double sum = 0.0;
    for (double d : {std::abs(double(a.x) - b.x), std::abs(double(a.y) - b.y)}) {
        d = std::min(d, 1e6 - d);
        sum += d * d;
    }
    return sum;
}

/// The same choice without a search grid and without any shortcut, in double precision, where
/// all of these products are exact.
std::vector<Point> choose(std::size_t count)
{
    std::uint64_t draws = 0;
    std::vector<Point> points{drawn(++draws)};
    while (points.size() < count) {
        const double rank = double(points.size() + 1);
        double bestScore = -1.0;
        Point best{};
        for (int drawings = 0; drawings < 16 || bestScore < 0.0; ++drawings) {
            const Point candidate = drawn(++draws);
            double nearest = 1e30, score = 1e30;
            for (std::size_t i = 0; i < points.size(); ++i) {
                const double lag = double(points.size() - i);
                const double d2 = torusDistance2(candidate, points[i]);
                nearest = std::min(nearest, d2);
                if (lag <= 64)
                    score = std::min(score, 3 * lag * d2);
            }
            if (rank * nearest < 0.17e12)
                continue;
            score = std::min(score, rank * nearest);
            if (score > bestScore) {
                bestScore = score;
                best = candidate;
            }
        }
        points.push_back(best);
    }
    return points;
}

} // namespace

TEST(ProgressivePoints, AreTheBestCandidatesOfABruteForceSearch)
{
    const std::vector<Point> expected = choose(700);
    const std::vector<Point> points = ProgressivePoints(700).getPoints();
    ASSERT_EQ(points.size(), expected.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(points[i].x, expected[i].x) << "row " << i;
        EXPECT_EQ(points[i].y, expected[i].y) << "row " << i;
    }
}

TEST(ProgressivePoints, OfALongerSetBeginWithThoseOfAShorterOne)
{
    const std::vector<Point> few = ProgressivePoints(300).getPoints();
    const std::vector<Point> many = ProgressivePoints(2000).getPoints();
    for (std::size_t i = 0; i < few.size(); ++i)
        EXPECT_TRUE(few[i].x == many[i].x && few[i].y == many[i].y) << "row " << i;
}

TEST(ProgressivePoints, MeasureTheShorterWayAroundTheTorus)
{
    EXPECT_EQ(ProgressivePoints::distance2({1, 500000}, {999999, 500003}), 4u + 9u);
    EXPECT_EQ(ProgressivePoints::distance2({250000, 1}, {750000, 1}), 250000000000u);
}
