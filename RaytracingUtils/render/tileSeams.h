#pragma once

// Who adds first where tiles meet. Under a wide pixel filter the samples of a tile also count for
// pixels of its neighbours. Here each tile gets a phase by its place, such that two tiles of one
// phase never reach the same pixel, and a tile adds its samples only after those neighbours of
// lower phases that it shares pixels with. No add is lost, no lock is held, and every pixel sums up
// in an order that follows from the places of the tiles alone: pictures do not depend on the number
// of threads, nor on what the tiles cost.
//
// The list is sorted by phase, and workers claim tiles in its order. So whoever waits does so for
// tiles that are being traced already, by workers that wait for lower phases at most: all of them
// come to an end.

#include "host/znRTRenderTile.h"

#include <atomic>
#include <memory>
#include <vector>

class znPixelfilterSampleSet;

class znRTTileSeams
{
public:
    /// Sorts the tiles of a frame by phase; those of one phase keep their order. Runs before the
    /// first worker starts.
    /// @param tiles           disjoint; they stay where they are until the frame is done
    /// @param reachX, reachY  pixels that samples may be apart and still count for the same pixel
    void arrange(znRTRenderTile* tiles, u32 count, u32 reachX, u32 reachY);
    /// No pixel is shared: nobody waits.
    void clear() { tileCount = 0; }

    /// A worker's turn at the pixels around one tile; it ends with the object. Tiles that are not
    /// in the list have no neighbours to wait for.
    class Turn
    {
    public:
        Turn(znRTTileSeams& seams_, const znRTRenderTile& tile_) : seams(seams_), tile(tile_) {}
        ~Turn() { seams.finish(tile); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        /// Returns when the tile may add its samples.
        void await()
        {
            if (!isHere)
                seams.awaitNeighbours(tile);
            isHere = true;
        }

    private:
        znRTTileSeams& seams;
        const znRTRenderTile& tile;
        bool isHere = false;
    };

private:
    /// The edges of tiles along one axis, each with the number of phases that they take.
    struct Axis
    {
        std::vector<u32> starts, ends; ///< of columns or rows, ascending by start
        u32 phases = 1;

        void build(u32 reach);
        u32 find(u32 start) const;
    };
    struct Cell
    {
        u32 column, row;
    };

    bool isListed(const znRTRenderTile& tile) const
    {
        return &tile >= firstTile && &tile < firstTile + tileCount;
    }
    Cell cellOf(const znRTRenderTile& tile) const
    {
        return {columns.find(tile.x), rows.find(tile.y)};
    }
    u32 phaseOf(const Cell& cell) const
    {
        return cell.row % rows.phases * columns.phases + cell.column % columns.phases;
    }
    u64 indexOf(const Cell& cell) const
    {
        return u64(cell.row) * columns.starts.size() + cell.column;
    }
    void awaitNeighbours(const znRTRenderTile& tile) const;
    void finish(const znRTRenderTile& tile);

    const znRTRenderTile* firstTile = nullptr;
    u32 tileCount = 0;
    Axis columns, rows;
    std::unique_ptr<std::atomic<u8>[]> isDone; ///< by cell; cells without a tile count as done
    u64 cellCapacity = 0;
};

/// Arranges the tiles of a frame as its pixel filter needs it.
void arrangeTiles(znRTTileSeams& seams, const znPixelfilterSampleSet& filter, znRTRenderTile* tiles,
                  u32 count);
