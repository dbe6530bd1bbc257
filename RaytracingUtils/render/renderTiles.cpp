#include "render/renderTiles.h"

#include <algorithm>
#include <cmath>

znRTPixelRectangle intersect(const znRTPixelRectangle& a, const znRTPixelRectangle& b)
{
    return {std::max(a.x0, b.x0), std::min(a.x1, b.x1), std::max(a.y0, b.y0), std::min(a.y1, b.y1)};
}

std::vector<znRTRenderTile> makeSpiralTiles(u32 width, u32 height, u32 tileSize)
{
    std::vector<znRTRenderTile> tiles;
    const u64 columns = (u64(width) + tileSize - 1) / tileSize;
    const u64 rows = (u64(height) + tileSize - 1) / tileSize;
    // The count is known, so it ends the walk: a turn of the spiral may well miss the image (one
    // column of two tiles) although tiles are still to come.
    const u64 wanted = columns * rows;
    tiles.reserve(wanted);
    u32 x = width / 2 - width / 2 % tileSize, y = height / 2 - height / 2 % tileSize;
    // Unsigned steps off the left or lower edge wrap to values beyond the image and are skipped.
    const auto visit = [&] {
        if (x < width && y < height)
            tiles.push_back(
                {x, y, 0, u16(std::min(tileSize, width - x)), u16(std::min(tileSize, height - y))});
    };
    if (wanted)
        visit();
    for (u32 leg = 0, length = 1; tiles.size() < wanted; ++leg) {
        const u32 direction = leg % 4; // right, up, left, down
        for (u32 step = 0; step < length && tiles.size() < wanted; ++step) {
            x += direction == 0 ? tileSize : direction == 2 ? 0u - tileSize : 0u;
            y += direction == 1 ? tileSize : direction == 3 ? 0u - tileSize : 0u;
            visit();
        }
        length += leg & 1;
    }
    return tiles;
}

std::vector<znRTRenderTile> makeRowTiles(const znRTPixelRectangle& rectangle, u32 tileSize)
{
    std::vector<znRTRenderTile> tiles;
    for (u32 y = rectangle.y0; y < rectangle.y1; y += tileSize)
        for (u32 x = rectangle.x0; x < rectangle.x1; x += tileSize)
            tiles.push_back({x, y, 0, u16(std::min(tileSize, rectangle.x1 - x)),
                             u16(std::min(tileSize, rectangle.y1 - y))});
    return tiles;
}

u32 halveTileSize(u32 tileSize, u64 area, u64 tilesWanted, u32 smallest)
{
    while (tileSize >= smallest && area / (u64(tileSize) * tileSize) < tilesWanted)
        tileSize /= 2;
    return tileSize;
}

namespace {

u32 edgePixel(float regionEdge, float viewLow, float viewHigh, u64 fullSize, u32 size)
{
    const float extent = std::max(viewHigh - viewLow, 0.0f);
    const float value = std::clamp(regionEdge - viewLow, 0.0f, extent);
    // Frame buffers of another resolution than the full image (a preview) scale along.
    const double viewPixels = double(extent) * double(fullSize);
    const double scale =
        viewPixels > 0.0 && std::abs(viewPixels - size) >= 1.0 ? size / viewPixels : 1.0;
    const u64 pixel = u64(double(value) * double(fullSize) * scale + 0.5);
    return u32(std::min<u64>(pixel, size));
}

} // namespace

znRTPixelRectangle regionPixels(const float region[4], const float viewBounds[4], u64 fullWidth,
                                u64 fullHeight, u32 width, u32 height)
{
    const auto column = [&](float edge) {
        return edgePixel(edge, viewBounds[0], viewBounds[1], fullWidth, width);
    };
    const auto row = [&](float edge) {
        return edgePixel(edge, viewBounds[2], viewBounds[3], fullHeight, height);
    };
    return {column(region[0]), column(region[2]), row(region[1]), row(region[3])};
}

void sortTilesByTime(std::vector<znRTRenderTile>& tiles)
{
    std::sort(tiles.begin(), tiles.end(),
              [](const znRTRenderTile& a, const znRTRenderTile& b) { return a.time > b.time; });
}
