// Frames on their way out: to memory, to images, to the display.

#include "core/znRTFloatControl.h"
#include "host/osg/Image.h"
#include "host/znOptix.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "host/znRaytracingManager.h"
#include "host/znTBBInit.h"
#include "render/copyStage.h"
#include "render/frameRun.h"
#include "render/pixelFormatDispatch.h"
#include "render/renderTiles.h"
#include "render/znRTRenderTask.h"
#include "render/znRaytracingUtils.h"

#include <algorithm>

namespace {

using Settings = znRTRaytracingSettings;

bool isStillFrame()
{
    return Settings::s_qualityMode == Settings::stillFrame;
}

/// The AI denoiser works on still frames, or on all.
bool showsDenoisedImage()
{
    return Settings::s_showDenoisedImage && Settings::s_denoiseFilter >= (isStillFrame() ? 2 : 3);
}

u32 workerCount()
{
    return u32(znTBBInit::the().getNumAvailableLimitedLogicalCores());
}

/// Size of the image that the frame buffers show at the requested resolution.
u32 requestedSize(u32 renderSize, float renderScale)
{
    return std::max(u32(float(renderSize) / std::max(renderScale, 1e-3f) + 0.5f), 1u);
}

/// Whole multiples of pixels only: tiles are given in pixels of the request.
u32 tileScale(const znRaytracerP& view)
{
    return std::max(u32(view.m_renderScale), 1u);
}

znRTPixelRectangle scaled(const znRTPixelRectangle& r, u32 factor, const znRaytracerP& view)
{
    return intersect({r.x0 * factor, r.x1 * factor, r.y0 * factor, r.y1 * factor},
                     {0, view.m_renderWidth, 0, view.m_renderHeight});
}

/// The request as far as it lies in the render region; both in pixels of the request.
znRTPixelRectangle cutToRegion(const znRaytracerP& view, const znRTPixelRectangle& request)
{
    if (!view.m_regionActive)
        return request;
    const u32 width = requestedSize(view.m_renderWidth, view.m_renderScale);
    const u32 height = requestedSize(view.m_renderHeight, view.m_renderScale);
    const znRTPixelRectangle region =
        regionPixels(view.m_renderRegion.data(), view.m_viewBounds.data(),
                     view.m_fullImageWidth / tileScale(view),
                     view.m_fullImageHeight / tileScale(view), width, height);
    return intersect(request, region);
}

/// Traces one iteration with the tiles, formats and flags of a request.
void traceTiles(znRaytracerP& view, std::vector<znRTRenderTile>& tiles, u32 pixelFormat, u32 flags,
                const znRTPixelRectangle& request)
{
    if (!isReadyToTrace(view) || tiles.empty())
        return;
    ensureRenderTask(view.m_renderTask, view, flags, pixelFormat);
    znRTRenderTask& task = *view.m_renderTask;
    task.gridX0 = request.x0;
    task.gridX1 = request.x1;
    task.gridY0 = request.y0;
    task.gridY1 = request.y1;
    task.gridWidth = request.x1 - request.x0;
    task.gridHeight = request.y1 - request.y0;
    runTiles(view, tiles.data(), u32(tiles.size()), workerCount());
}

znRTCopyRequest makeCopyRequest(const znRaytracerP& view, u32 pass, u32 pixelFormat, u32 flags)
{
    znRTCopyRequest request;
    request.source = view.m_passBuffers[pass];
    request.pixelFormat = pixelFormat;
    request.imageWidth = requestedSize(view.m_renderWidth, view.m_renderScale);
    request.imageHeight = requestedSize(view.m_renderHeight, view.m_renderScale);
    request.rectangle = {0, 0, request.imageWidth, request.imageHeight};
    request.pass = pass;
    request.copyFlags = flags;
    request.denoised = pass == 0 && showsDenoisedImage();
    return request;
}

/// Copies a rectangle of the beauty to the start of the output block.
void copyToOutput(znRaytracerP& view, const znRTPixelRectangle& r, u32 pixelFormat, u32 flags)
{
    znRTCopyRequest request = makeCopyRequest(view, 0, pixelFormat, flags);
    request.rectangle = {int(r.x0), int(r.y0), r.x1 - r.x0, r.y1 - r.y0};
    request.destination = view.m_frameOutput;
    copyFrame(view, request);
}

znRTPixelRectangle rectangleOf(const znRTRenderTile& tile)
{
    return {tile.x, tile.x + tile.width, tile.y, tile.y + tile.height};
}

/// What a sub frame copies: the last request of the region form, else the whole image.
znRTPixelRectangle subFrameRectangle(const znRaytracerP& view)
{
    if (view.m_copyTiles.empty())
        return {0, requestedSize(view.m_renderWidth, view.m_renderScale), 0,
                requestedSize(view.m_renderHeight, view.m_renderScale)};
    znRTPixelRectangle bounds = rectangleOf(view.m_copyTiles[0]);
    for (const znRTRenderTile& tile : view.m_copyTiles) {
        const znRTPixelRectangle r = rectangleOf(tile);
        bounds = {std::min(bounds.x0, r.x0), std::max(bounds.x1, r.x1), std::min(bounds.y0, r.y0),
                  std::max(bounds.y1, r.y1)};
    }
    return bounds;
}

/// Once per iteration: sorts, cuts to the region, traces, tests.
void traceSubFrame(znRaytracerP& view, u32 pixelFormat, u32 flags)
{
    constexpr u32 sortInterval = 8, regionIteration = 4;
    if (!beginSubFrame(view))
        return;
    std::vector<znRTRenderTile>& tiles = view.m_activeTiles;
    if (view.m_iteration % sortInterval == 0)
        sortTilesByTime(tiles);
    if (view.m_iteration == regionIteration && view.m_regionActive) {
        const znRTPixelRectangle region = regionPixels(
            view.m_renderRegion.data(), view.m_viewBounds.data(), view.m_fullImageWidth,
            view.m_fullImageHeight, view.m_renderWidth, view.m_renderHeight);
        for (znRTRenderTile& tile : tiles) {
            const znRTPixelRectangle r = intersect(rectangleOf(tile), region);
            tile.x = r.x0;
            tile.y = r.y0;
            tile.width = r.empty() ? 0 : u16(r.x1 - r.x0);
            tile.height = r.empty() ? 0 : u16(r.y1 - r.y0);
        }
        std::erase_if(tiles, [](const znRTRenderTile& tile) { return tile.width == 0; });
    }
    traceTiles(view, tiles, pixelFormat, flags, subFrameRectangle(view));
    runAdaptiveTest(view);
}

/// Interactive region: everything in one go.
void getInteractiveFrame(znRaytracerP& view, const znRTPixelRectangle& request, u32 pixelFormat,
                         u32 tileSize, u32 flags)
{
    constexpr u32 smallestHalved = 5;
    const u64 samples = u64(std::clamp(Settings::s_interactiveImageSamples, 1, 16));
    const u32 t =
        halveTileSize(tileSize, request.area(), (samples + 2) * workerCount(), smallestHalved);
    const u32 factor = tileScale(view);
    view.m_copyTiles = makeRowTiles(scaled(request, factor, view), t * factor);
    traceTiles(view, view.m_copyTiles, pixelFormat, flags, request);
    // Tasks that fill layers leave the copy to this stage even where others finish pixels.
    if (!view.m_traceAndCopy || view.m_renderPassesEnabled)
        copyToOutput(view, request, pixelFormat, flags);
}

/// First iteration of a still frame: the request decides what is traced from now on.
void beginStillFrame(znRaytracerP& view, const znRTPixelRectangle& request, u32 pixelFormat,
                     bool copies, u32 tileSize, u32 flags)
{
    constexpr u32 smallestHalved = 5;
    view.m_activeTiles.clear();
    view.m_copyTiles.clear();
    beginSubFrame(view);
    const znRTPixelRectangle rectangle = cutToRegion(view, request);
    if (!rectangle.empty()) {
        const u32 t =
            halveTileSize(tileSize, rectangle.area(), u64(3) * workerCount(), smallestHalved);
        const u32 factor = tileScale(view);
        view.m_activeTiles = makeRowTiles(scaled(rectangle, factor, view), t * factor);
        view.m_copyTiles = makeRowTiles(request, 0xffff); // a tile holds 16-bit sizes
        traceTiles(view, view.m_activeTiles, pixelFormat, flags, request);
    }
    if (copies)
        copyToOutput(view, request, pixelFormat, flags);
}

/// Format number of an image, or -1 when it is none of those that are written.
int formatOf(const osg::Image& image)
{
    const u32 type = image.getDataType(), format = image.getPixelFormat();
    if (type == osg::Image::Float32)
        return format == osg::Image::RGBA  ? int(ZN_FORMAT_RGBA32F)
               : format == osg::Image::RGB ? int(ZN_FORMAT_RGB32F)
                                           : -1;
    if (type != osg::Image::UInt8)
        return -1;
    switch (format) {
    case osg::Image::RGB:
        return ZN_FORMAT_RGB;
    case osg::Image::RGBA:
        return ZN_FORMAT_RGBA;
    case osg::Image::BGR:
        return ZN_FORMAT_BGR;
    case osg::Image::BGRA:
        return ZN_FORMAT_BGRA;
    default:
        return -1;
    }
}

bool hasAlpha(u32 pixelFormat)
{
    return pixelFormat == ZN_FORMAT_RGBA || pixelFormat == ZN_FORMAT_BGRA ||
           pixelFormat == ZN_FORMAT_RGBA32F;
}

/// Straight alpha where the image can hold it and the caller does not want it opaque.
u32 imageCopyFlags(u32 pixelFormat, bool opaque)
{
    const bool isFloat = pixelFormat == ZN_FORMAT_RGBA32F || pixelFormat == ZN_FORMAT_RGB32F;
    const bool keepsAlpha = hasAlpha(pixelFormat) && !opaque;
    if (isFloat)
        return floatImageCopyFlags(currentPostprocessor()) |
               (keepsAlpha ? u32(ZN_COPY_KEEP_ALPHA) : 0u);
    return keepsAlpha ? znAlphaCopyFlags : znDisplayCopyFlags;
}

void copyToImage(znRaytracerP& view, osg::Image& image, u32 pass, bool opaque)
{
    const int format = formatOf(image);
    if (format < 0 || !image.getData() || pass >= u32(znRenderPassCount))
        return;
    znRTCopyRequest request =
        makeCopyRequest(view, pass, u32(format), imageCopyFlags(u32(format), opaque));
    request.imageWidth = image.getWidth();
    request.imageHeight = image.getHeight();
    request.rectangle = {0, 0, image.getWidth(), image.getHeight()};
    request.destination = image.getData();
    copyFrame(view, request);
}

/// Finished images of all wanted passes, one after the other in the output block.
std::vector<void*> copyPasses(znRaytracerP& view, u64 passMask, const znRTPixelRectangle& r,
                              u32 pixelFormat, u32 flags)
{
    std::vector<u32> passes;
    for (u32 pass = 0; pass < u32(znRenderPassCount); ++pass) {
        const bool isMatte = pass >= znFirstCryptomattePass && pass <= znLastCryptomattePass;
        const bool exists =
            isMatte ? view.m_cryptomatte != nullptr : view.m_passBuffers[pass] != nullptr;
        if ((passMask >> pass & 1) && exists)
            passes.push_back(pass);
    }
    constexpr u64 alignment = 16;
    const u64 bytes = (r.area() * pixelSize(pixelFormat) + alignment - 1) / alignment * alignment;
    std::vector<void*> images;
    if (!reserveFrameOutput(view, bytes * passes.size()))
        return images;
    for (const u32 pass : passes) {
        znRTCopyRequest request = makeCopyRequest(view, pass, pixelFormat, flags);
        request.rectangle = {int(r.x0), int(r.y0), r.x1 - r.x0, r.y1 - r.y0};
        request.destination = static_cast<u8*>(view.m_frameOutput) + bytes * images.size();
        copyFrame(view, request);
        images.push_back(request.destination);
    }
    return images;
}

} // namespace

void* znRaytracingUtils::getFrame(znRaytracerP* view, u32 x, u32 y, u32 width, u32 height,
                                  u32 pixelFormat, bool wholeImage, u32 tileSize, u32 flags)
{
    const znRTFloatControl flushDenormals;
    try {
        if (!reserveFrameOutput(*view, u64(width) * height * pixelSize(pixelFormat)))
            return nullptr;
        if (view->m_iteration == znRaytracerP::preparatoryPass) {
            tracePhotons(view);
            return nullptr;
        }
        const znRTPixelRectangle request{x, x + width, y, y + height};
        const bool copies = wholeImage || isCopyRound(view->m_iteration);
        if (!isStillFrame()) {
            getInteractiveFrame(*view, request, pixelFormat, tileSize, flags);
        } else if (view->m_iteration == 0) {
            beginStillFrame(*view, request, pixelFormat, copies, tileSize, flags);
        } else {
            traceSubFrame(*view, pixelFormat, flags);
            if (copies)
                copyToOutput(*view, request, pixelFormat, flags);
        }
    } catch (...) {
        znRaytracingUtilsBase* const managed = znRaytracingManager::getRaytracingUtils();
        (managed ? managed : this)->handleExceptions(view);
    }
    return view->m_frameOutput;
}

void* znRaytracingUtils::getFrame(znRaytracerP* view, std::vector<osg::ImagePtr>& images, bool,
                                  bool opaque)
{
    const znRTFloatControl flushDenormals;
    runAdaptiveTest(*view);
    for (std::size_t pass = 0; pass < images.size(); ++pass)
        if (images[pass])
            copyToImage(*view, *images[pass], u32(pass), opaque);
    return images.empty() || !images[0] ? nullptr : images[0]->getData();
}

void* znRaytracingUtils::getFrame(znRaytracerP* view)
{
    if (!view->m_frameOutput)
        return nullptr;
    const znRTFloatControl flushDenormals;
    znRTCopyRequest request = makeCopyRequest(*view, 0, ZN_FORMAT_RGBE, 0);
    request.imageWidth = view->m_outputWidth;
    request.imageHeight = view->m_outputHeight;
    request.rectangle = {0, 0, view->m_outputWidth, view->m_outputHeight};
    const u64 bytes = u64(view->m_outputWidth) * view->m_outputHeight * sizeof(ZN_RGBE);
    request.destination = reserveFrameOutput(*view, bytes);
    runAdaptiveTest(*view);
    copyFrame(*view, request);
    return request.destination;
}

void* znRaytracingUtils::getSubFrame(znRaytracerP* view, u32 pixelFormat, bool force, u32 flags)
{
    const znRTFloatControl flushDenormals;
    const znRTPixelRectangle r = subFrameRectangle(*view);
    if (!reserveFrameOutput(*view, r.area() * pixelSize(pixelFormat)))
        return nullptr;
    traceSubFrame(*view, pixelFormat, flags);
    if (force || isCopyRound(view->m_iteration))
        copyToOutput(*view, r, pixelFormat, flags);
    return view->m_frameOutput;
}

std::vector<void*> znRaytracingUtils::getRenderpassesFrame(znRaytracerP* view, u64 passMask, u64,
                                                           u32 x, u32 y, u32 width, u32 height,
                                                           u32 pixelFormat, bool wholeImage,
                                                           u32 tileSize, u32 flags)
{
    const bool copies = wholeImage || !isStillFrame() || isCopyRound(view->m_iteration);
    getFrame(view, x, y, width, height, pixelFormat, false, tileSize, flags);
    if (!copies || view->m_iteration == znRaytracerP::preparatoryPass)
        return {};
    const znRTFloatControl flushDenormals;
    return copyPasses(*view, passMask, {x, x + width, y, y + height}, pixelFormat, flags);
}

std::vector<void*> znRaytracingUtils::getRenderpassesSubFrame(znRaytracerP* view, u64 passMask,
                                                              u32 pixelFormat, bool force,
                                                              u32 flags)
{
    const znRTFloatControl flushDenormals;
    traceSubFrame(*view, pixelFormat, flags);
    if (!force && !isCopyRound(view->m_iteration))
        return {};
    return copyPasses(*view, passMask, subFrameRectangle(*view), pixelFormat, flags);
}

void znRaytracingUtils::applyImageProcessing(znRaytracerP* view, const ZN_RGBA32F* source,
                                             void* destination, u32 pixelFormat, bool, u32 x0,
                                             u32 x1, u32 y0, u32 y1, u32 pass, u32 flags,
                                             bool denoised)
{
    if (x1 <= x0 || y1 <= y0)
        return;
    const znRTFloatControl flushDenormals;
    znRTCopyRequest request = makeCopyRequest(*view, 0, pixelFormat, flags);
    request.source = source;
    request.destination = destination;
    request.imageWidth = view->m_renderWidth;
    request.imageHeight = view->m_renderHeight;
    request.rectangle = {int(x0), int(y0), x1 - x0, y1 - y0};
    request.pass = pass;
    request.denoised = denoised;
    copyFrame(*view, request);
}

namespace {

/// What the AI denoiser makes of the frame goes to the texture as it is.
bool wantsDenoisedDisplay(const znRaytracerP& view, bool force)
{
    return showsDenoisedImage() && !view.m_forceSoftwareCopy && !force && znOptix::isAvailable();
}

/// Copies the frame into the pixel buffer.
/// @return false when the buffer cannot be written
bool copyToPixelBuffer(znRaytracerP& view, u32 flags, bool denoised, u32 rowGrain)
{
    void* const memory = view.m_pixelBuffer.map(znBuffer::pixelUnpackBuffer, 1,
                                                view.m_pixelBufferSize, znBuffer::streamDraw, 1);
    const u64 bytes = u64(view.m_renderWidth) * view.m_renderHeight * sizeof(ZN_RGBA32F);
    const bool fits = memory && view.m_pixelBufferSize >= bytes;
    if (fits) {
        znRTCopyRequest request = makeCopyRequest(view, 0, ZN_FORMAT_RGBA32F, flags);
        request.imageWidth = view.m_renderWidth;
        request.imageHeight = view.m_renderHeight;
        request.rectangle = {0, 0, view.m_renderWidth, view.m_renderHeight};
        request.destination = memory;
        request.denoised = denoised;
        request.rowGrain = rowGrain;
        copyFrame(view, request);
    }
    view.m_pixelBuffer.unmap();
    return fits;
}

void showPixelBuffer(znRaytracerP& view)
{
    if (view.m_noDisplayUpload && *view.m_noDisplayUpload)
        return;
    view.m_pixelBuffer.bind();
    view.m_frameTexture.bindTexture();
    view.m_frameTexture.resize(int(view.m_renderWidth), int(view.m_renderHeight));
    view.m_frameTexture.subImage(int(view.m_renderWidth), int(view.m_renderHeight));
    view.m_frameTexture.unbindTexture();
    view.m_pixelBuffer.unbind();
}

} // namespace

void znRaytracingUtils::uploadImage(znRaytracerP* view, u32 taskCount, bool force, bool)
{
    constexpr u32 plateFlags = ZN_COPY_BACKPLATES | ZN_COPY_FRONTPLATES;
    constexpr u32 softwareFlags = plateFlags | ZN_COPY_COLOR_CORRECTION;
    const znRTFloatControl flushDenormals;
    const u32 rows = std::max(view->m_renderHeight / (8 * std::max(taskCount, 1u)), 1u);
    const u32 iteration = view->m_iteration;
    const bool software = view->m_forceSoftwareCopy || force;
    runAdaptiveTest(*view);
    if (software) {
        const bool isDue =
            iteration == 0 || isCopyRound(iteration) || iteration + 1 == view->m_iterationCount;
        if (!isStillFrame() || !isDue)
            return;
    }
    const u32 flags = software ? softwareFlags : Settings::s_useSoftwareBackground ? plateFlags : 0;
    const bool isThere = view->m_renderTask && view->m_renderTask->wroteDisplay;
    if (!isThere && !copyToPixelBuffer(*view, flags, wantsDenoisedDisplay(*view, force), rows))
        return;
    showPixelBuffer(*view);
}
