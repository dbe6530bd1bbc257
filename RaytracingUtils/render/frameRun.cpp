#include "render/frameRun.h"

#include "camera/znRTCamera.h"
#include "core/znRTFloatControl.h"
#include "host/znPostProcessHandler.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "render/activeViewport.h"
#include "render/notAvailable.h"
#include "render/tickCounter.h"
#include "render/znRTRenderTask.h"
#include "render/znRTRenderUtils.h"
#include "render/znRTRootTask.h"
#include "render/znRaytracingUtils.h"

#include <algorithm>
#include <exception>

namespace {

constexpr znTicks abortInterval = znTicksPerSecond * 4 / 10;
/// Denoise settings from this one on also denoise interactive frames.
constexpr int denoiseAlways = 3;

/// Counts the time of a worker, however it ends.
class RuntimeCounter
{
public:
    RuntimeCounter() : start(readTicks()) {}
    ~RuntimeCounter() { znRaytracingUtils::s_taskRuntime += ticksToRuntime(readTicks() - start); }
    RuntimeCounter(const RuntimeCounter&) = delete;
    RuntimeCounter& operator=(const RuntimeCounter&) = delete;

private:
    znTicks start;
};

bool isAborted(const znRaytracerP& view)
{
    return view.m_abortCallback && view.m_abortCallback(view.m_abortData);
}

/// The calling thread's share: as any worker, and it asks the host from time to time.
void traceOnCallingThread(znRaytracerP& view)
{
    const RuntimeCounter runtime;
    znRTTileQueue& queue = view.m_tileQueue;
    znTicks before = readTicks(), lastAsked = before;
    for (u32 index; (index = queue.next.fetch_add(1)) < queue.count;) {
        znRTRenderTile& tile = queue.tiles[index];
        view.m_renderTask->traceTile(tile);
        const znTicks now = readTicks();
        tile.time = u32(now - before);
        before = now;
        if (now - lastAsked >= abortInterval) {
            lastAsked = now;
            if (isAborted(view))
                queue.close();
        }
    }
}

} // namespace

bool canTraceDirectly(const znRaytracerP& view, bool softwareCopy)
{
    using Settings = znRTRaytracingSettings;
    return Settings::s_qualityMode != Settings::stillFrame && !softwareCopy &&
           !Settings::s_useSoftwareBackground && Settings::s_denoiseFilter < denoiseAlways &&
           !view.m_forceSoftwareCopy && !view.m_renderPassesEnabled && !view.m_traceAndCopy &&
           znPostProcessHandler::getPostProcesses(activeViewport()).empty();
}

namespace {

/// A master camera writes rows of the full image; buffers of a part of it are too small for them.
bool fitsBuffers(const znRTCamera& camera, const znRaytracerP& view)
{
    static znRTOnceWarning tooLong(
        "The rows of the camera are longer than those of the frame buffers: nothing is rendered.");
    const bool fits = camera.rowStride <= view.m_renderWidth;
    if (!fits)
        tooLong();
    return fits;
}

} // namespace

bool isReadyToTrace(const znRaytracerP& view)
{
    const bool isStillFrame =
        znRTRaytracingSettings::s_qualityMode == znRTRaytracingSettings::stillFrame;
    return view.m_traceRootTask && view.m_passBuffers[0] && znRTRenderUtils::getCamera() &&
           znRTRenderUtils::getCamera()->getLensShader() &&
           fitsBuffers(*znRTRenderUtils::getCamera(), view) &&
           (!isStillFrame || (view.m_activePixels && view.m_filterWeights));
}

void znRTTraceImageTask::operator()() const
{
    const RuntimeCounter runtime;
    if (grid)
        renderTask->runTileGrid();
    else
        renderTask->runTileList();
}

bool runTiles(znRaytracerP& view, znRTRenderTile* tiles, u32 count, u32 taskCount)
{
    const znRTFloatControl flushDenormals;
    znRTTileQueue& queue = view.m_tileQueue;
    queue.tiles = tiles;
    queue.count = count;
    queue.next = 0;
    queue.finished = 0;
    if (isAborted(view))
        return true;
    view.m_renderTask->prepareTiles(tiles, count);

    taskCount = std::max(taskCount, 1u);
    znRTRootTask& root = *view.m_traceRootTask;
    root.setRefCount(int(taskCount));
    for (u32 worker = 1; worker < taskCount; ++worker)
        root.spawn(znRTTraceImageTask(*view.m_renderTask, worker, false));
    try {
        traceOnCallingThread(view);
    } catch (...) {
        // The workers use the view's buffers: they end before anybody hears of the failure.
        const std::exception_ptr failure = std::current_exception();
        queue.close();
        try {
            root.waitForAll();
        } catch (...) {
            // One failure is enough to tell.
        }
        std::rethrow_exception(failure);
    }
    root.waitForAll();
    return false;
}
