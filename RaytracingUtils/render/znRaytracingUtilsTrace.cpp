// One iteration of an image.

#include "core/znRTFloatControl.h"
#include "host/znDenoiseFilter.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "render/copyTasks.h"
#include "render/frameRun.h"
#include "render/renderTiles.h"
#include "render/znRTRenderTask.h"
#include "render/znRaytracingUtils.h"

#include <optional>

namespace {

/// Iterations after which measured times replace the spiral order, and between two sorts.
constexpr u32 spiralIterations = 4, sortInterval = 8;

std::vector<znRTRenderTile>& chooseTiles(znRaytracerP& view)
{
    if (!view.m_regionActive && view.m_iteration < spiralIterations)
        return view.m_allTiles;
    if (view.m_iteration % sortInterval == 0)
        sortTilesByTime(view.m_activeTiles);
    return view.m_activeTiles;
}

/// The display's memory while a frame is traced straight into it.
class DirectPath
{
public:
    explicit DirectPath(znRaytracerP& view) : buffer(view.m_pixelBuffer)
    {
        const u64 needed = u64(view.m_renderWidth) * view.m_renderHeight * sizeof(ZN_RGBA32F);
        if (view.m_pixelBufferSize >= needed)
            memory = buffer.map(znBuffer::pixelUnpackBuffer, 1, view.m_pixelBufferSize,
                                znBuffer::streamDraw, 1);
        znRTRaytracingSettings::s_directToGpu = true;
    }
    ~DirectPath()
    {
        buffer.unmap();
        znRTRaytracingSettings::s_directToGpu = false;
        znRTRaytracingSettings::s_premultipliedAlpha = false;
    }
    DirectPath(const DirectPath&) = delete;
    DirectPath& operator=(const DirectPath&) = delete;

    void* memory = nullptr;

private:
    znBuffer& buffer;
};

void feedDenoiser(znRaytracerP& view)
{
    if (znRaytracingUtilsBase::s_bDenoiseOn && view.m_denoiseFilter &&
        znRTRaytracingSettings::s_qualityMode == znRTRaytracingSettings::stillFrame)
        view.m_denoiseFilter->update(view.m_iteration, view.m_renderWidth, view.m_renderHeight,
                                     view.m_passBuffers[0], false);
}

} // namespace

bool znRaytracingUtils::traceImage(znRaytracerP* view, u32 taskCount, bool softwareCopy)
{
    if (!view || !view->m_traceRootTask)
        return false;
    if (!isReadyToTrace(*view))
        return true;
    const znRTFloatControl flushDenormals;
    ensureRenderTask(view->m_renderTask, *view, znDisplayCopyFlags);
    std::vector<znRTRenderTile>& tiles = chooseTiles(*view);

    znRTRaytracingSettings::s_directToGpu = false;
    znRTRaytracingSettings::s_premultipliedAlpha = false;
    std::optional<DirectPath> directPath;
    if (canTraceDirectly(*view, softwareCopy)) {
        directPath.emplace(*view);
        if (!directPath->memory)
            return true;
        view->m_renderTask->pixelTarget = directPath->memory;
        view->m_renderTask->wroteDisplay = true;
    }
    if (runTiles(*view, tiles.data(), u32(tiles.size()), taskCount))
        return true;
    feedDenoiser(*view);
    directPath.reset();
    if (view->m_iteration == 0)
        sortTilesByTime(view->m_allTiles);
    return false;
}
