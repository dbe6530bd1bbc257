#pragma once

// How an image is cut into tiles.

#include "host/znRTRenderTile.h"

#include <vector>

/// A rectangle of pixels: x0 <= x < x1.
struct znRTPixelRectangle
{
    u32 x0 = 0, x1 = 0, y0 = 0, y1 = 0;

    bool empty() const { return x0 >= x1 || y0 >= y1; }
    u64 area() const { return empty() ? 0 : u64(x1 - x0) * (y1 - y0); }
    bool operator==(const znRTPixelRectangle&) const = default;
};

znRTPixelRectangle intersect(const znRTPixelRectangle& a, const znRTPixelRectangle& b);

/// Tiles of a whole image in an outward square spiral from its centre, so that the middle of a
/// picture appears first. Tiles at the right and upper edge are clipped.
/// @param tileSize  above 0
std::vector<znRTRenderTile> makeSpiralTiles(u32 width, u32 height, u32 tileSize);

/// Tiles of a rectangle, row by row from its lower left corner.
std::vector<znRTRenderTile> makeRowTiles(const znRTPixelRectangle& rectangle, u32 tileSize);

/// Halves a tile size until `tilesWanted` tiles fit into the area or the size falls below
/// `smallest`, so that a small region still occupies all workers.
/// @param smallest  sizes below it are not halved any more
u32 halveTileSize(u32 tileSize, u64 area, u64 tilesWanted, u32 smallest);

/// Pixels of a region in a view that shows a part of a larger image.
/// @param region      x0, y0, x1, y1 in the full image, 0..1
/// @param viewBounds  left, right, bottom, top of the view in the full image, 0..1
/// @return pixels of the view, within width and height
znRTPixelRectangle regionPixels(const float region[4], const float viewBounds[4], u64 fullWidth,
                                u64 fullHeight, u32 width, u32 height);

/// Longest first: no slow tile is left for the end of a frame.
void sortTilesByTime(std::vector<znRTRenderTile>& tiles);
