#include "render/znRTRenderTask.h"

#include "core/znRTFloatControl.h"
#include "host/znRaytracerP.h"
#include "render/tickCounter.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

namespace {

constexpr u32 backplatesPass = 28, frontplatesPass = 29;

} // namespace

bool znRTRenderTaskKey::needsSameTaskAs(const znRTRenderTaskKey& other) const
{
    const bool showsPlates = singlePass == backplatesPass || singlePass == frontplatesPass;
    return (showsPlates || integratorSelector == other.integratorSelector) &&
           qualityMode == other.qualityMode && renderMode == other.renderMode &&
           sampleClamp == other.sampleClamp && singlePass == other.singlePass &&
           passesEnabled == other.passesEnabled && traceAndCopy == other.traceAndCopy &&
           copyFlags == other.copyFlags && pixelFormat == other.pixelFormat &&
           sceneOffers == other.sceneOffers;
}

znRTRenderTask::~znRTRenderTask() = default;

void znRTRenderTask::bind(znRaytracerP& view)
{
    target = view.m_passBuffers[0];
    pixelTarget = target;
    wroteDisplay = false;
    camera = znRTRenderUtils::getCamera();
    workingClamp = sampleClamp;
    tileQueue = &view.m_tileQueue;
    gridTiles.clear();
}

void znRTRenderTask::runTileList()
{
    const znRTFloatControl flushDenormals;
    znTicks before = readTicks();
    for (u32 index; (index = tileQueue->next.fetch_add(1)) < tileQueue->count;) {
        znRTRenderTile& tile = tileQueue->tiles[index];
        traceTile(tile);
        const znTicks now = readTicks();
        tile.time = u32(now - before);
        before = now;
    }
}

void znRTRenderTask::runTileGrid()
{
    const znRTFloatControl flushDenormals;
    const u32 count = std::min(getGridTileCount(), tileQueue->count);
    const bool isPrepared = gridTiles.size() == getGridTileCount();
    for (u32 index; (index = tileQueue->next.fetch_add(1)) < count;) {
        // The prepared tile itself: copies have no turn at the pixels that tiles share.
        if (isPrepared)
            traceTile(gridTiles[index]);
        else
            traceTile(getGridTile(index));
    }
}

void znRTRenderTask::prepareGrid()
{
    gridTiles.resize(getGridTileCount());
    for (u32 i = 0; i < gridTiles.size(); ++i)
        gridTiles[i] = getGridTile(i);
    prepareTiles(gridTiles.data(), u32(gridTiles.size()));
}

u32 znRTRenderTask::getGridTileCount() const
{
    const u32 perRow = (gridWidth + gridTileSize - 1) / gridTileSize;
    const u32 rows = (gridHeight + gridTileSize - 1) / gridTileSize;
    return perRow * rows;
}

znRTRenderTile znRTRenderTask::getGridTile(u32 index) const
{
    const u32 perRow = (gridWidth + gridTileSize - 1) / gridTileSize;
    const u32 x = index % perRow * gridTileSize + gridX0;
    const u32 y = index / perRow * gridTileSize + gridY0;
    return {x, y, 0, u16(std::min(gridTileSize, gridX1 - x)),
            u16(std::min(gridTileSize, gridY1 - y))};
}
