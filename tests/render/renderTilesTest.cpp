#include "render/renderTiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

using Places = std::vector<std::pair<u32, u32>>;

Places placesOf(const std::vector<znRTRenderTile>& tiles)
{
    Places places;
    for (const znRTRenderTile& tile : tiles)
        places.emplace_back(tile.x, tile.y);
    return places;
}

/// Pixels of the image that do not belong to exactly one tile.
std::size_t countBadPixels(const std::vector<znRTRenderTile>& tiles, u32 width, u32 height)
{
    std::vector<int> owners(std::size_t(width) * height, 0);
    for (const znRTRenderTile& tile : tiles)
        for (u32 y = tile.y; y < tile.y + tile.height; ++y)
            for (u32 x = tile.x; x < tile.x + tile.width; ++x) {
                if (x >= width || y >= height)
                    return owners.size();
                ++owners[std::size_t(y) * width + x];
            }
    return std::count_if(owners.begin(), owners.end(), [](int n) { return n != 1; });
}

/// The rule of halving by the way it is told: test, halve, test again.
u32 halveStepByStep(u32 t, u64 area, u64 cores)
{
    if (t < 4 || area / (u64(t) * t) >= 2 * cores)
        return t;
    while (true) {
        const u32 half = t >> 1;
        if (t < 8 || area / (u64(half) * half) >= 2 * cores)
            return half;
        t = half;
    }
}

} // namespace

// Drawn by hand: right 1, up 1, left 2, down 2, right 3, from the tile of the centre.
TEST(SpiralTiles, WindOutwardFromTheCentre)
{
    const Places expected = {{32, 32}, {48, 32}, {48, 48}, {32, 48}, {16, 48}, {16, 32},
                             {16, 16}, {32, 16}, {48, 16}, {0, 48},  {0, 32},  {0, 16},
                             {0, 0},   {16, 0},  {32, 0},  {48, 0}};
    EXPECT_EQ(placesOf(makeSpiralTiles(64, 64, 16)), expected);
}

TEST(SpiralTiles, AreASingleOneForAnImageSmallerThanATile)
{
    const auto tiles = makeSpiralTiles(5, 3, 16);
    ASSERT_EQ(tiles.size(), 1u);
    EXPECT_EQ(tiles[0].width, 5);
    EXPECT_EQ(tiles[0].height, 3);
}

// The first turn around the upper tile misses the image on all sides but the last: a walk that
// ends with the first barren turn leaves half the image blank.
TEST(SpiralTiles, FindBothTilesOfAColumnOfTwo)
{
    const Places expected = {{0, 16}, {0, 0}};
    EXPECT_EQ(placesOf(makeSpiralTiles(16, 32, 16)), expected);
}

TEST(SpiralTiles, HaveNoSliverAtTheEdgeOfAWholeNumberOfTiles)
{
    for (const znRTRenderTile& tile : makeSpiralTiles(48, 32, 16)) {
        EXPECT_EQ(tile.width, 16);
        EXPECT_EQ(tile.height, 16);
    }
}

TEST(SpiralTiles, CoverEachPixelOfEverySizeOnce)
{
    for (u32 width = 1; width <= 200; ++width)
        for (u32 height = 1; height <= 200; height += 1 + width % 3)
            ASSERT_EQ(countBadPixels(makeSpiralTiles(width, height, 16), width, height), 0u)
                << width << " x " << height;
}

TEST(SpiralTiles, CoverOddTileSizesToo)
{
    for (u32 tileSize : {1u, 2u, 3u, 7u, 33u, 64u})
        EXPECT_EQ(countBadPixels(makeSpiralTiles(101, 33, tileSize), 101, 33), 0u) << tileSize;
}

TEST(RowTiles, RunRowByRowFromTheLowerLeftAndAreClipped)
{
    const auto tiles = makeRowTiles({10, 15, 20, 23}, 2);
    const Places expected = {{10, 20}, {12, 20}, {14, 20}, {10, 22}, {12, 22}, {14, 22}};
    EXPECT_EQ(placesOf(tiles), expected);
    EXPECT_EQ(tiles[2].width, 1);
    EXPECT_EQ(tiles[5].height, 1);
    EXPECT_TRUE(makeRowTiles({5, 5, 0, 9}, 4).empty());
}

TEST(TileHalving, AgreesWithTheRuleTakenStepByStep)
{
    for (u32 t = 1; t <= 129; ++t)
        for (u64 area : {0, 1, 16, 100, 1000, 4096, 50000, 2000000})
            for (u64 cores : {1, 2, 8, 64})
                ASSERT_EQ(halveTileSize(t, area, 2 * cores, 4), halveStepByStep(t, area, cores))
                    << t << ", " << area << ", " << cores;
}

TEST(TileHalving, EndsAtTwoPixelsAndLeavesTinyTilesAlone)
{
    EXPECT_EQ(halveTileSize(64, 1, 1000, 4), 2u);
    EXPECT_EQ(halveTileSize(3, 1, 1000, 4), 3u);
    EXPECT_EQ(halveTileSize(4, 1, 1000, 5), 4u);
    EXPECT_EQ(halveTileSize(64, 1, 1000, 5), 4u);
    EXPECT_EQ(halveTileSize(64, 64 * 64 * 8, 8, 4), 64u);
}

// Edges go to the nearest pixel border: 0.25 * 100 = 25, 0.5 * 51 = 25.5 -> 26.
TEST(RegionPixels, RoundEdgesToPixelBorders)
{
    const float region[4] = {0.25f, 0.0f, 0.75f, 0.5f}, whole[4] = {0, 1, 0, 1};
    EXPECT_EQ(regionPixels(region, whole, 100, 51, 100, 51), (znRTPixelRectangle{25, 75, 0, 26}));
}

// The view is the right half of the image, 100 of 200 pixels: the region 0.4..0.75 begins left of
// it and covers its left half.
TEST(RegionPixels, CountFromTheEdgesOfTheView)
{
    const float region[4] = {0.4f, 0.0f, 0.75f, 1.0f}, view[4] = {0.5f, 1.0f, 0, 1};
    EXPECT_EQ(regionPixels(region, view, 200, 60, 100, 60), (znRTPixelRectangle{0, 50, 0, 60}));
}

TEST(RegionPixels, StayInsideTheFrameBuffers)
{
    const float region[4] = {0, 0, 1, 1}, whole[4] = {0, 1, 0, 1};
    EXPECT_EQ(regionPixels(region, whole, 101, 51, 100, 50), (znRTPixelRectangle{0, 100, 0, 50}));
    // A preview of half the resolution shows the same part.
    const float half[4] = {0.5f, 0, 1, 1};
    EXPECT_EQ(regionPixels(half, whole, 200, 100, 100, 50), (znRTPixelRectangle{50, 100, 0, 50}));
}

TEST(SortedTiles, BeginWithTheSlowest)
{
    std::vector<znRTRenderTile> tiles = {{0, 0, 5, 1, 1}, {1, 0, 9, 1, 1}, {2, 0, 7, 1, 1}};
    sortTilesByTime(tiles);
    EXPECT_EQ(placesOf(tiles), (Places{{1, 0}, {2, 0}, {0, 0}}));
}
