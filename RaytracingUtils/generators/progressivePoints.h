#pragma once

// A progressive set of points on the unit torus: any prefix is spread like a Poisson disk set of
// its own size, and so is any short run of rows. Best candidates after D. Mitchell, "Spectrally
// Optimal Sampling for Distribution Ray Tracing", SIGGRAPH 1991, with two changes: a candidate
// closer than the floor to an earlier point is never taken, which fixes the smallest distance
// of the whole set, and the score also counts the distance to the rows just before.
//
// The order of the points must look random at larger lags, since decisions of one path read rows
// a fixed step apart: nets and lattices, whose rows are tied to each other, give plainly wrong
// products there.
//
// Coordinates are whole millionths, 1 to 999999, and all arithmetic is of integers: the same set
// on every machine, with every compiler and option.

#include <algorithm>
#include <cstdint>
#include <vector>

/// Sequence of 64-bit numbers of G. Steele, D. Lea, C. Flood, "Fast Splittable Pseudorandom Number
/// Generators", OOPSLA 2014.
class SplitMix
{
public:
    explicit SplitMix(std::uint64_t seed) : state(seed) {}
    std::uint64_t operator()()
    {
        state += 0x9e3779b97f4a7c15u;
        std::uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return z ^ (z >> 31);
    }

private:
    std::uint64_t state;
};

class ProgressivePoints
{
public:
    static constexpr int side = 1000000; ///< of the torus
    static constexpr int candidates = 16;
    /// Least (i + 1) d^2 between point i and all before it, in hundredths of the torus' area.
    static constexpr std::uint64_t floorPercent = 17;
    static constexpr int window = 64; ///< rows before a point whose distances count on their own
    static constexpr std::uint64_t windowWeight = 3;

    struct Point
    {
        std::int32_t x, y;
    };

    explicit ProgressivePoints(std::size_t count, std::uint64_t seed = 1);

    const std::vector<Point>& getPoints() const { return points; }

    /// Squared distance on the torus.
    static std::uint64_t distance2(Point a, Point b)
    {
        return square(shortWay(a.x - b.x)) + square(shortWay(a.y - b.y));
    }

private:
    static std::int64_t shortWay(std::int32_t difference)
    {
        const std::int32_t d = difference < 0 ? -difference : difference;
        return std::min(d, side - d);
    }
    static std::uint64_t square(std::int64_t x) { return std::uint64_t(x * x); }

    void append(Point point);
    void link(std::int32_t index);
    void refineGrid();
    int cellOf(std::int32_t x) const { return int(std::int64_t(x) * cells / side); }
    /// Squared distance to the nearest point so far.
    /// @return 0 when it is below tooClose
    std::uint64_t nearest2(Point point, std::uint64_t tooClose) const;
    void searchCell(int column, int row, Point point, std::uint64_t& best) const;
    std::uint64_t windowScore(Point point, std::uint64_t enough) const;
    Point draw();
    Point bestCandidate();

    SplitMix random;
    std::vector<Point> points;
    int cells = 1;                   ///< per axis of the search grid
    std::vector<std::int32_t> heads; ///< first point of a cell, -1 for none
    std::vector<std::int32_t> next;  ///< next point of the same cell
};

inline ProgressivePoints::ProgressivePoints(std::size_t count, std::uint64_t seed)
    : random(seed), heads(1, -1)
{
    points.reserve(count);
    next.reserve(count);
    while (points.size() < count)
        append(points.empty() ? draw() : bestCandidate());
}

inline void ProgressivePoints::append(Point point)
{
    points.push_back(point);
    next.push_back(-1);
    // About one point per cell or two, whatever the number of points.
    if (points.size() > std::size_t(cells) * cells * 2)
        refineGrid();
    else
        link(std::int32_t(points.size()) - 1);
}

inline void ProgressivePoints::link(std::int32_t index)
{
    const Point point = points[index];
    std::int32_t& head = heads[std::size_t(cellOf(point.y)) * cells + cellOf(point.x)];
    next[index] = head;
    head = index;
}

inline void ProgressivePoints::refineGrid()
{
    cells *= 2;
    heads.assign(std::size_t(cells) * cells, -1);
    for (std::size_t i = 0; i < points.size(); ++i)
        link(std::int32_t(i));
}

inline void ProgressivePoints::searchCell(int column, int row, Point point,
                                          std::uint64_t& best) const
{
    const int x = (column + cells) % cells, y = (row + cells) % cells;
    for (std::int32_t i = heads[std::size_t(y) * cells + x]; i >= 0; i = next[i])
        best = std::min(best, distance2(point, points[i]));
}

inline std::uint64_t ProgressivePoints::nearest2(Point point, std::uint64_t tooClose) const
{
    const int column = cellOf(point.x), row = cellOf(point.y);
    std::uint64_t best = ~std::uint64_t(0);
    searchCell(column, row, point, best);
    // Rings of cells around the point's own; a ring r is at least r - 1 whole cells away.
    for (int r = 1; 2 * r - 1 < cells || r == 1; ++r) {
        const std::uint64_t reach = std::uint64_t(r - 1) * (side / cells);
        if (best <= reach * reach)
            break;
        for (int i = -r; i <= r; ++i) {
            searchCell(column + i, row - r, point, best);
            searchCell(column + i, row + r, point, best);
        }
        for (int i = 1 - r; i < r; ++i) {
            searchCell(column - r, row + i, point, best);
            searchCell(column + r, row + i, point, best);
        }
        if (best < tooClose)
            return 0;
    }
    return best < tooClose ? 0 : best;
}

inline std::uint64_t ProgressivePoints::windowScore(Point point, std::uint64_t enough) const
{
    std::uint64_t least = ~std::uint64_t(0);
    const std::size_t last = std::min<std::size_t>(window, points.size());
    for (std::size_t j = 1; j <= last && least > enough; ++j)
        least = std::min(least, windowWeight * j * distance2(point, points[points.size() - j]));
    return least;
}

inline ProgressivePoints::Point ProgressivePoints::draw()
{
    const std::uint64_t bits = random();
    const auto coordinate = [](std::uint64_t word) {
        return std::int32_t(1 + (word * std::uint64_t(side - 1) >> 32));
    };
    return {coordinate(bits >> 32), coordinate(bits & 0xffffffffu)};
}

inline ProgressivePoints::Point ProgressivePoints::bestCandidate()
{
    const std::uint64_t rank = points.size() + 1;
    const std::uint64_t floorDistance2 =
        (floorPercent * (std::uint64_t(side) * side / 100) + rank - 1) / rank;
    Point best{};
    std::uint64_t bestScore = 0;
    // Rows that no candidate of the first sixteen fits go on drawing until one does.
    for (int drawn = 0; drawn < candidates || bestScore == 0; ++drawn) {
        const Point candidate = draw();
        const std::uint64_t d2 = nearest2(candidate, floorDistance2);
        if (rank * d2 <= bestScore)
            continue;
        const std::uint64_t score = std::min(rank * d2, windowScore(candidate, bestScore));
        if (score > bestScore) {
            bestScore = score;
            best = candidate;
        }
    }
    return best;
}
