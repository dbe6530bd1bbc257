#include "render/tileSeams.h"

#include "render/renderTiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <random>
#include <thread>

namespace {

/// Pixels that samples of a tile count for, as intervals of the axes.
bool sharePixels(const znRTRenderTile& a, const znRTRenderTile& b, u32 reachX, u32 reachY)
{
    const auto meet = [](u32 startA, u32 sizeA, u32 startB, u32 sizeB, u32 reach) {
        return startA < startB + sizeB + reach && startB < startA + sizeA + reach;
    };
    return meet(a.x, a.width, b.x, b.width, reachX) && meet(a.y, a.height, b.y, b.height, reachY);
}

/// Lets workers claim tiles in their order and note when each has its turn; a tile's turn begins
/// and ends with a tick of a common clock.
struct Visits
{
    Visits(std::vector<znRTRenderTile>& tiles_, u32 reachX, u32 reachY, int workers) : tiles(tiles_)
    {
        begins.resize(tiles.size());
        ends.resize(tiles.size());
        seams.arrange(tiles.data(), u32(tiles.size()), reachX, reachY);
        std::vector<std::thread> threads;
        for (int i = 0; i < workers; ++i)
            threads.emplace_back([this] {
                for (u32 index; (index = next.fetch_add(1)) < tiles.size();) {
                    znRTTileSeams::Turn turn(seams, tiles[index]);
                    turn.await();
                    begins[index] = ++clock;
                    std::this_thread::yield();
                    ends[index] = ++clock;
                }
            });
        for (std::thread& thread : threads)
            thread.join();
    }
    std::vector<znRTRenderTile>& tiles;
    znRTTileSeams seams;
    std::atomic<u32> next{0}, clock{0};
    std::vector<u32> begins, ends;
};

/// Tiles of an odd image, in the order of the spiral.
std::vector<znRTRenderTile> spiral(u32 tileSize)
{
    return makeSpiralTiles(101, 67, tileSize);
}

/// The same cut to a rectangle, so that edges do not lie on the grid any more.
std::vector<znRTRenderTile> cut(std::vector<znRTRenderTile> tiles)
{
    const znRTPixelRectangle region{13, 77, 5, 61};
    for (znRTRenderTile& tile : tiles) {
        const znRTPixelRectangle r =
            intersect({tile.x, tile.x + tile.width, tile.y, tile.y + tile.height}, region);
        tile = {r.x0, r.y0, 0, u16(r.empty() ? 0 : r.x1 - r.x0), u16(r.empty() ? 0 : r.y1 - r.y0)};
    }
    std::erase_if(tiles, [](const znRTRenderTile& tile) { return tile.width == 0; });
    return tiles;
}

} // namespace

// Against the definition, pair by pair: no two tiles that share pixels have their turns at once,
// and which of the two comes first does not depend on the order that the list came in.
TEST(TileSeams, LetNeighboursAddOneAfterTheOtherInAFixedOrder)
{
    std::mt19937 random(7);
    for (const u32 tileSize : {4u, 16u})
        for (const auto& [reachX, reachY] : {std::pair<u32, u32>{1, 1}, {2, 4}, {11, 3}, {32, 32}})
            for (const bool isCut : {false, true}) {
                SCOPED_TRACE(testing::Message() << tileSize << ", " << reachX << ", " << isCut);
                std::vector<znRTRenderTile> tiles =
                    isCut ? cut(spiral(tileSize)) : spiral(tileSize);
                const auto place = [](const znRTRenderTile& tile) {
                    return u64(tile.y) << 32 | tile.x;
                };
                std::map<std::pair<u64, u64>, bool> isFirst;
                for (int run = 0; run < 2; ++run) {
                    const Visits visits(tiles, reachX, reachY, 3);
                    for (std::size_t a = 0; a < tiles.size(); ++a)
                        for (std::size_t b = 0; b < tiles.size(); ++b) {
                            if (a == b || !sharePixels(tiles[a], tiles[b], reachX, reachY))
                                continue;
                            const bool aFirst = visits.ends[a] < visits.begins[b];
                            ASSERT_NE(aFirst, visits.ends[b] < visits.begins[a]) << "both at once";
                            const auto known =
                                isFirst.try_emplace({place(tiles[a]), place(tiles[b])}, aFirst);
                            ASSERT_EQ(known.first->second, aFirst);
                        }
                    std::shuffle(tiles.begin(), tiles.end(), random);
                }
            }
}

TEST(TileSeams, KeepTheOrderOfTilesThatShareNothing)
{
    std::vector<znRTRenderTile> tiles = spiral(16);
    for (u32 i = 0; i < tiles.size(); ++i)
        tiles[i].time = i;
    znRTTileSeams seams;
    seams.arrange(tiles.data(), u32(tiles.size()), 2, 2);
    // Four phases: each is in the order of the spiral.
    u32 descents = 0;
    for (std::size_t i = 1; i < tiles.size(); ++i)
        descents += tiles[i].time < tiles[i - 1].time;
    EXPECT_EQ(descents, 3u);
}

TEST(TileSeams, DoNotHoldUpTilesOfNoList)
{
    znRTTileSeams seams;
    const znRTRenderTile alone{0, 0, 0, 16, 16};
    {
        znRTTileSeams::Turn turn(seams, alone);
        turn.await();
    }
    std::vector<znRTRenderTile> tiles = spiral(16);
    seams.arrange(tiles.data(), u32(tiles.size()), 2, 2);
    znRTTileSeams::Turn turn(seams, alone);
    turn.await();
    seams.clear();
    znRTTileSeams::Turn last(seams, tiles.back());
    last.await(); // nobody has finished, and nobody is asked
}
