#include "render/tileSeams.h"

#include "host/znPixelfilter.h"

#include <algorithm>
#include <emmintrin.h>
#include <thread>
#include <utility>

void znRTTileSeams::Axis::build(u32 reach)
{
    // One column per start; it ends where its widest tile does.
    std::vector<std::pair<u32, u32>> edges(starts.size());
    for (std::size_t i = 0; i < edges.size(); ++i)
        edges[i] = {starts[i], ends[i]};
    std::sort(edges.begin(), edges.end());
    starts.clear();
    ends.clear();
    for (const auto& [start, end] : edges) {
        if (starts.empty() || starts.back() != start) {
            starts.push_back(start);
            ends.push_back(end);
        }
        ends.back() = std::max(ends.back(), end);
    }
    // Columns with as many others between them are out of each other's reach.
    phases = 1;
    for (std::size_t i = 0; i < starts.size(); ++i)
        while (i + phases < starts.size() && starts[i + phases] < ends[i] + reach)
            ++phases;
}

u32 znRTTileSeams::Axis::find(u32 start) const
{
    return u32(std::lower_bound(starts.begin(), starts.end(), start) - starts.begin());
}

void znRTTileSeams::arrange(znRTRenderTile* tiles, u32 count, u32 reachX, u32 reachY)
{
    firstTile = tiles;
    tileCount = count;
    for (Axis* axis : {&columns, &rows}) {
        axis->starts.resize(count);
        axis->ends.resize(count);
        for (u32 i = 0; i < count; ++i) {
            const bool isX = axis == &columns;
            axis->starts[i] = isX ? tiles[i].x : tiles[i].y;
            axis->ends[i] = axis->starts[i] + (isX ? tiles[i].width : tiles[i].height);
        }
        axis->build(axis == &columns ? reachX : reachY);
    }
    std::vector<std::pair<u32, znRTRenderTile>> byPhase(count);
    for (u32 i = 0; i < count; ++i)
        byPhase[i] = {phaseOf(cellOf(tiles[i])), tiles[i]};
    std::stable_sort(byPhase.begin(), byPhase.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (u32 i = 0; i < count; ++i)
        tiles[i] = byPhase[i].second;
    const u64 cells = u64(columns.starts.size()) * rows.starts.size();
    if (cells > cellCapacity) {
        isDone = std::make_unique<std::atomic<u8>[]>(cells);
        cellCapacity = cells;
    }
    for (u64 i = 0; i < cells; ++i)
        isDone[i].store(1, std::memory_order_relaxed);
    for (u32 i = 0; i < count; ++i)
        isDone[indexOf(cellOf(tiles[i]))].store(0, std::memory_order_relaxed);
}

void znRTTileSeams::awaitNeighbours(const znRTRenderTile& tile) const
{
    if (!isListed(tile))
        return;
    const Cell own = cellOf(tile);
    const u32 phase = phaseOf(own);
    const auto first = [](u32 place, u32 phases) {
        return place < phases ? 0 : place - phases + 1;
    };
    const auto last = [](u32 place, const Axis& axis) {
        return std::min(place + axis.phases, u32(axis.starts.size()));
    };
    for (u32 row = first(own.row, rows.phases); row < last(own.row, rows); ++row)
        for (u32 column = first(own.column, columns.phases); column < last(own.column, columns);
             ++column) {
            const Cell cell{column, row};
            if (phaseOf(cell) >= phase)
                continue;
            const std::atomic<u8>& neighbour = isDone[indexOf(cell)];
            for (u32 tries = 0; !neighbour.load(std::memory_order_acquire); ++tries)
                tries < 64 ? _mm_pause() : std::this_thread::yield();
        }
}

void znRTTileSeams::finish(const znRTRenderTile& tile)
{
    if (isListed(tile))
        isDone[indexOf(cellOf(tile))].store(1, std::memory_order_release);
}

void arrangeTiles(znRTTileSeams& seams, const znPixelfilterSampleSet& filter, znRTRenderTile* tiles,
                  u32 count)
{
    if (filter.isBox())
        seams.clear();
    else
        seams.arrange(tiles, count, u32(filter.maxX - filter.minX), u32(filter.maxY - filter.minY));
}
