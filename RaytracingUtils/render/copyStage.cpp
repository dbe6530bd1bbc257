#include "render/copyStage.h"

#include "camera/znRTCamera.h"
#include "core/packetMath.h"
#include "host/znOptix.h"
#include "host/znPostProcessHandler.h"
#include "host/znRTCryptomatte.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "render/activeViewport.h"
#include "render/pixelFormatDispatch.h"
#include "render/znRTRenderTask.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <utility>

namespace {

/// Denoise settings from this one on ask for the AI denoiser in still frames.
constexpr int denoiseStillFrames = 2;
constexpr int adaptiveOff = 5;

bool isStillFrame()
{
    return znRTRaytracingSettings::s_qualityMode == znRTRaytracingSettings::stillFrame;
}

using PixelBuffer = std::unique_ptr<ZN_RGBA32F[]>;

/// The image that the copy tasks read: the frame itself, or what became of it.
struct Source
{
    const ZN_RGBA32F* pixels = nullptr;
    const float* filterWeights = nullptr; ///< null: the pixels are means already
    u32 width = 0, height = 0;
    bool isDenoised = false; ///< pixels belong to the denoiser until they are unmapped
    PixelBuffer owned;

    Source() = default;
    Source(Source&&) = default;
    Source& operator=(Source&&) = default;
    ~Source()
    {
        if (isDenoised)
            znOptix::unmapAIDenoisedBuffer();
    }
};

template <class Function>
void forEachRow(u32 height, Function&& f)
{
    tbb::parallel_for(0u, height, f, tbb::static_partitioner());
}

void takeOver(Source& source, PixelBuffer pixels)
{
    source.owned = std::move(pixels);
    source.pixels = source.owned.get();
    source.filterWeights = nullptr;
}

void normalize(Source& source)
{
    if (!source.filterWeights)
        return;
    PixelBuffer means(new ZN_RGBA32F[u64(source.width) * source.height]);
    forEachRow(source.height, [&](u32 y) {
        for (u64 i = u64(y) * source.width, end = i + source.width; i < end; ++i) {
            const znFloatType<2> factor = reciprocalOrZero(znFloatType<2>(source.filterWeights[i]));
            _mm_store_ps(&means[i].r,
                         (znFloatType<2>(_mm_load_ps(&source.pixels[i].r)) * factor).v);
        }
    });
    takeOver(source, std::move(means));
}

void denoise(Source& source)
{
    if (!znOptix::isAvailable())
        return;
    normalize(source);
    if (const ZN_RGBA32F* result = znOptix::getAIDenoisedBuffer(
            source.pixels, source.width, source.height, 0, nullptr, nullptr, 4, nullptr)) {
        source.pixels = result;
        source.isDenoised = true;
    }
}

/// The first effect reads the frame, every further one what its predecessor wrote.
void postProcess(Source& source, const znRaytracerP& view)
{
    const auto effects = znPostProcessHandler::getPostProcesses(activeViewport());
    if (effects.empty() || !view.m_postProcessBuffers[0] ||
        (effects.size() > 1 && !view.m_postProcessBuffers[1]))
        return;
    normalize(source);
    const ZN_RGBA32F* in = source.pixels;
    int next = 0;
    for (const auto& effect : effects) {
        ZN_RGBA32F* const out = view.m_postProcessBuffers[next];
        effect->apply(in, out, int(source.width), int(source.height));
        in = out;
        next = 1 - next;
    }
    source.pixels = in;
}

/// Mean of the pixels that an output pixel covers, each by its covered share.
void scale(Source& source, u32 width, u32 height)
{
    if (width == source.width && height == source.height)
        return;
    normalize(source);
    PixelBuffer scaled(new ZN_RGBA32F[u64(width) * height]);
    const double stepX = double(source.width) / width, stepY = double(source.height) / height;
    const auto share = [](double low, double high, u32 pixel) {
        return float(std::min(high, pixel + 1.0) - std::max(low, double(pixel)));
    };
    forEachRow(height, [&](u32 y) {
        const double low = y * stepY, high = low + stepY;
        const u32 yEnd = std::min(u32(std::ceil(high)), source.height);
        for (u32 x = 0; x < width; ++x) {
            const double left = x * stepX, right = left + stepX;
            const u32 xEnd = std::min(u32(std::ceil(right)), source.width);
            __m128 sum = _mm_setzero_ps();
            float total = 0.0f;
            for (u32 sy = u32(low); sy < yEnd; ++sy)
                for (u32 sx = u32(left); sx < xEnd; ++sx) {
                    const float weight = share(low, high, sy) * share(left, right, sx);
                    const float* pixel = &source.pixels[u64(sy) * source.width + sx].r;
                    sum = _mm_add_ps(sum, _mm_mul_ps(_mm_set1_ps(weight), _mm_load_ps(pixel)));
                    total += weight;
                }
            _mm_store_ps(&scaled[u64(y) * width + x].r,
                         _mm_div_ps(sum, _mm_set1_ps(std::max(total, 1e-12f))));
        }
    });
    PixelBuffer old = std::move(source.owned); // read until here
    takeOver(source, std::move(scaled));
    source.width = width;
    source.height = height;
}

/// The pixel in the middle of what an output pixel covers, for values that have no mean.
void pickMiddle(Source& source, u32 width, u32 height)
{
    if (width == source.width && height == source.height)
        return;
    PixelBuffer picked(new ZN_RGBA32F[u64(width) * height]);
    forEachRow(height, [&](u32 y) {
        const u64 row = u64((y + 0.5) * source.height / height) * source.width;
        for (u32 x = 0; x < width; ++x)
            picked[u64(y) * width + x] = source.pixels[row + u64((x + 0.5) * source.width / width)];
    });
    takeOver(source, std::move(picked));
    source.width = width;
    source.height = height;
}

Source prepareSource(const znRaytracerP& view, const znRTCopyRequest& request)
{
    Source source;
    source.pixels = request.source;
    source.width = view.m_renderWidth;
    source.height = view.m_renderHeight;
    const bool isWeighted = isStillFrame() && request.pass <= znFirstDataPass;
    source.filterWeights = isWeighted ? view.m_filterWeights : nullptr;
    if (!request.source) {
        // Id mattes are looked up pixel by pixel, at the place in the frame.
        source.width = request.imageWidth;
        source.height = request.imageHeight;
        return source;
    }
    const bool isLight = request.pass < znFirstDataPass;
    if (isLight && request.denoised &&
        znRTRaytracingSettings::s_denoiseFilter >= denoiseStillFrames)
        denoise(source);
    if (request.pass == 0)
        postProcess(source, view);
    if (request.pass <= znFirstDataPass)
        scale(source, request.imageWidth, request.imageHeight);
    else
        pickMiddle(source, request.imageWidth, request.imageHeight);
    return source;
}

template <class Task>
void run(const Task& task, const znRTCopyRequest& request)
{
    const znRTCopyRange range(0, request.rectangle.height, std::max(request.rowGrain, 1u), 0,
                              request.rectangle.width, std::max(request.rectangle.width, 1u));
    tbb::parallel_for(range, task, tbb::static_partitioner());
}

template <class P>
void runCopy(const znRaytracerP& view, const znRTCopyRequest& request, const Source& source,
             const znRTPixelPipeline& pipeline)
{
    const auto fill = [&](auto& task) {
        task.source = source.pixels;
        task.destination = static_cast<P*>(request.destination);
        task.pipeline = pipeline;
        task.rectangle = request.rectangle;
        task.width = source.width;
        task.height = source.height;
        task.pass = request.pass;
    };
    const auto fillLayer = [&](auto& task) {
        fill(task);
        task.cryptomatte = view.m_cryptomatte;
        if (pipeline.camera) {
            task.nearClip = pipeline.camera->nearClip;
            task.farClip = pipeline.camera->farClip;
        }
    };
    if (request.pass == 0 && source.filterWeights) {
        znRTHQAdaptiveCopyTask<ZN_RGBA32F, P> task;
        fill(task);
        task.filterWeights = source.filterWeights;
        run(task, request);
    } else if (request.pass == 0) {
        znRTCopyTask<ZN_RGBA32F, P> task;
        fill(task);
        run(task, request);
    } else if (source.filterWeights) {
        znRTHQRenderpassesCopyTask<ZN_RGBA32F, P> task;
        fillLayer(task);
        task.filterWeights = source.filterWeights;
        run(task, request);
    } else {
        znRTRenderpassesCopyTask<ZN_RGBA32F, P> task;
        fillLayer(task);
        run(task, request);
    }
}

/// While an image is copied the camera counts in pixels of the full image.
class FullStride
{
public:
    explicit FullStride(znRTCamera* camera_) : camera(camera_)
    {
        if (camera) {
            rowStride = camera->rowStride;
            camera->rowStride = camera->fullImageStride;
        }
    }
    ~FullStride()
    {
        if (camera)
            camera->rowStride = rowStride;
    }
    FullStride(const FullStride&) = delete;
    FullStride& operator=(const FullStride&) = delete;

private:
    znRTCamera* camera;
    unsigned rowStride = 0;
};

} // namespace

znImagePostprocessor currentPostprocessor()
{
    const znRTCamera* camera = znRTRenderUtils::getCamera();
    if (camera && camera->getOSGCamera())
        return znImagePostprocessor::getImagePostprocessor(camera->getOSGCamera());
    return znImagePostprocessor::getImagePostprocessor(activeViewport());
}

void copyFrame(znRaytracerP& view, const znRTCopyRequest& request)
{
    const bool isMatte =
        request.pass >= znFirstCryptomattePass && request.pass <= znLastCryptomattePass;
    if ((!request.source && !isMatte) || !request.destination)
        return;
    if (isMatte && view.m_cryptomatte)
        view.m_cryptomatte->sort();
    const FullStride fullStride(znRTRenderUtils::getCamera());
    const Source source = prepareSource(view, request);
    const znImagePostprocessor postProcessor = currentPostprocessor();
    znRTPixelPipeline pipeline{&postProcessor, znRTRenderUtils::getCamera(),
                               maskCopyFlags(reduceCopyFlags(request.copyFlags, request.pass))};
    const bool staysLinear = isStillFrame() && request.pixelFormat == ZN_FORMAT_RGBA32F;
    if (staysLinear) // however the weights were taken care of
        pipeline.copyFlags &= ~u32(ZN_COPY_COLOR_PROFILE);
    if (source.width)
        pipeline.pixelScale = float(view.m_renderWidth) / float(source.width);
    dispatchPixelFormat(request.pixelFormat, [&](auto format) {
        runCopy<typename decltype(format)::type>(view, request, source, pipeline);
    });
}

bool isAdaptive()
{
    using Settings = znRTRaytracingSettings;
    // Photons that are looked up directly change from pass to pass: contrast never settles.
    const bool isProgressive =
        Settings::s_photonMode > 0 && Settings::s_stillFrameFinalGatherQuality == 0;
    return isStillFrame() && Settings::s_adaptiveAAThresholdQuality != adaptiveOff &&
           !isProgressive;
}

namespace {

void detectEdges(znRaytracerP& view, u32 pass, const znImagePostprocessor& postProcessor)
{
    if (!view.m_passBuffers[pass])
        return;
    znRTEdgeDetectionTask<ZN_RGBA32F> task;
    task.frame = view.m_passBuffers[pass];
    // Data layers hold plain samples.
    task.filterWeights = pass <= znFirstDataPass ? view.m_filterWeights : nullptr;
    task.activePixels = view.m_activePixels;
    task.statistics = view.m_sampleStatistics;
    task.postProcessor = &postProcessor;
    task.width = view.m_renderWidth;
    task.height = view.m_renderHeight;
    const int quality = znRTRaytracingSettings::s_adaptiveAAThresholdQuality;
    task.radius = quality == 3 || quality == 4 ? 2 : 1;
    task.thresholdLow = znRTRaytracingSettings::adaptiveThresholdLow();
    task.thresholdHigh = znRTRaytracingSettings::adaptiveThresholdHigh();
    task.pass = pass;
    tbb::parallel_for(znRTCopyRange(0, task.height, 1, 0, task.width, std::max(task.width, 1u)),
                      task, tbb::static_partitioner());
}

/// An iteration of a view. One view at a time renders, so the last one is enough to remember.
struct Moment
{
    const znRaytracerP* view = nullptr;
    u32 iteration = 0;
    bool operator==(const Moment&) const = default;
};

Moment s_lastTest, s_lastSubFrame;

} // namespace

void forgetIterations()
{
    s_lastTest = s_lastSubFrame = {};
}

bool beginSubFrame(const znRaytracerP& view)
{
    const Moment now{&view, view.m_iteration};
    return std::exchange(s_lastSubFrame, now) != now;
}

void runAdaptiveTest(znRaytracerP& view)
{
    const bool hasBuffers = view.m_filterWeights && view.m_activePixels && view.m_sampleStatistics;
    const Moment now{&view, view.m_iteration};
    if (!isAdaptive() || !isCopyRound(view.m_iteration) || !hasBuffers || s_lastTest == now)
        return;
    s_lastTest = now;
    const znImagePostprocessor postProcessor = currentPostprocessor();
    detectEdges(view, 0, postProcessor);
    for (u32 pass = 1; view.m_renderPassesEnabled && pass < u32(znRenderPassCount); ++pass)
        detectEdges(view, pass, postProcessor);
}

void* reserveFrameOutput(znRaytracerP& view, u64 bytes)
{
    constexpr u64 alignment = 16;
    if (view.m_frameOutput && bytes <= view.m_frameOutputSize)
        return view.m_frameOutput;
    void* const grown = zn_aligned_realloc(view.m_frameOutput, bytes, alignment);
    if (!grown)
        return nullptr;
    view.m_frameOutput = grown;
    view.m_frameOutputSize = bytes;
    return grown;
}
