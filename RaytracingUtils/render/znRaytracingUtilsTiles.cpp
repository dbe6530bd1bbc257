// Tiles and render targets of a view.

#include "host/znRTCryptomatte.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "host/znTBBInit.h"
#include "render/copyStage.h"
#include "render/renderTiles.h"
#include "render/znRaytracingUtils.h"

#include <algorithm>
#include <cstring>
#include <tbb/parallel_for.h>

namespace {

/// Fills with zero bytes on all cores.
void clearBuffer(void* buffer, u64 bytes)
{
    constexpr u64 grain = u64(1) << 20;
    if (!buffer)
        return;
    tbb::parallel_for(tbb::blocked_range<u64>(0, bytes, grain), [buffer](const auto& range) {
        std::memset(static_cast<u8*>(buffer) + range.begin(), 0, range.size());
    });
}

u64 pixelCount(const znRaytracerP& view)
{
    return u64(view.m_renderWidth) * view.m_renderHeight;
}

void clearPassBuffers(znRaytracerP& view, int count)
{
    for (int i = 0; i < count; ++i)
        clearBuffer(view.m_passBuffers[i], pixelCount(view) * sizeof(ZN_RGBA32F));
}

/// Pixels that take samples: all, or those of the region.
void fillActivePixels(znRaytracerP& view, const znRTPixelRectangle& rectangle)
{
    if (!view.m_activePixels)
        return;
    const u64 pitch = view.m_renderWidth;
    tbb::parallel_for(0u, view.m_renderHeight, [&](u32 y) {
        u8* const row = view.m_activePixels + y * pitch;
        std::memset(row, 0, pitch);
        if (y >= rectangle.y0 && y < rectangle.y1 && rectangle.x1 > rectangle.x0)
            std::memset(row + rectangle.x0, 1, rectangle.x1 - rectangle.x0);
    });
}

/// What the pixel filter may write to.
void setImageBounds(const znRTPixelRectangle& rectangle)
{
    using Settings = znRTRaytracingSettings;
    Settings::s_imageLeftBound = rectangle.x0;
    Settings::s_imageRightBound = rectangle.x1;
    Settings::s_imageBottomBound = rectangle.y0;
    Settings::s_imageTopBound = rectangle.y1;
}

znRTPixelRectangle activeRectangle(const znRaytracerP& view)
{
    if (!view.m_regionActive)
        return {0, view.m_renderWidth, 0, view.m_renderHeight};
    return regionPixels(view.m_renderRegion.data(), view.m_viewBounds.data(), view.m_fullImageWidth,
                        view.m_fullImageHeight, view.m_renderWidth, view.m_renderHeight);
}

} // namespace

void znRaytracingUtils::generateRenderTiles(znRaytracerP* view, u64 tileSize)
{
    const std::vector<znRTRenderTile> tiles =
        makeSpiralTiles(view->m_renderWidth, view->m_renderHeight, u32(tileSize));
    const auto region = getRaytracingRenderRegion();
    view->m_renderRegion = {region.x, region.y, region.z, region.w};
    view->m_hasRenderRegion =
        region.x > 0.0f || region.y > 0.0f || region.z < 1.0f || region.w < 1.0f;
    view->m_allTiles = tiles;
    view->m_activeTiles = tiles;
    view->m_copyTiles.clear();
    view->m_tileQueue.clear();
    view->m_tileQueue.tiles = view->m_allTiles.data();
    view->m_tileQueue.count = u32(view->m_allTiles.size());
}

void znRaytracingUtils::generateActiveRenderTiles(znRaytracerP* view, float left, float right,
                                                  float bottom, float top, u64 fullWidth,
                                                  u64 fullHeight, u32 tileSize)
{
    constexpr u32 smallestHalved = 4;
    if (!view->m_hasRenderRegion || view->m_iteration != 0)
        return;
    const float bounds[4] = {left, right, bottom, top};
    const znRTPixelRectangle rectangle =
        regionPixels(view->m_renderRegion.data(), bounds, fullWidth, fullHeight,
                     view->m_renderWidth, view->m_renderHeight);
    const u64 cores = u64(znTBBInit::the().getNumAvailableLimitedLogicalCores());
    view->m_activeTiles = makeRowTiles(
        rectangle, halveTileSize(tileSize, rectangle.area(), 2 * cores, smallestHalved));
}

void znRaytracingUtils::updateRendertargets(znRaytracerP* view, bool clearFrameOnly)
{
    if (clearFrameOnly) {
        clearPassBuffers(*view, 1);
        return;
    }
    const bool isStart =
        view->m_iteration == 0 || view->m_iteration == znRaytracerP::preparatoryPass;
    if (!isStart)
        return;
    forgetIterations();
    const int passes = view->m_renderPassesEnabled ? znRenderPassCount : 1;
    if (znRTRaytracingSettings::s_qualityMode != znRTRaytracingSettings::stillFrame) {
        if (view->m_renderPassesEnabled)
            clearPassBuffers(*view, passes);
        return;
    }
    const znRTPixelRectangle rectangle = activeRectangle(*view);
    if (!(view->m_continueAccumulation && view->m_iteration == 0)) {
        clearPassBuffers(*view, passes);
        clearBuffer(view->m_sampleStatistics, pixelCount(*view) * sizeof(float));
        clearBuffer(view->m_filterWeights, pixelCount(*view) * sizeof(float));
        fillActivePixels(*view, rectangle);
        if (view->m_cryptomatte)
            view->m_cryptomatte->clear();
    }
    setImageBounds(rectangle);
}
