#include "driver/FrameDriver.h"

#include "host/znImagePostprocessor.h"
#include "host/znPixelfilter.h"
#include "host/znRTColorTransforms.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneHandler.h"
#include "host/znRaytracingManager.h"
#include "host/znRaytracingUtilsBase.h"
#include "host/znTBBInit.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A sample of a still frame is spread over this many passes, each with a quarter of the pixels.
constexpr int passesPerSample = 4;

/// Between two tests of which pixels are finished: eight samples.
constexpr u32 testInterval = 32;

constexpr int interactiveMode = 1, stillMode = 2;

// What the copy stage does to a frame: white balance and correction (16), backplates (32),
// frontplates (128), tonemapper (4). The display profile is applied here for all kinds of frames.
constexpr u32 linearCopyFlags = 32 + 128;
constexpr u32 displayCopyFlags = 4 + 16 + 32 + 128;

/// Files run from top to bottom, frames from bottom to top.
io::ImageData toImage(const std::vector<ZN_RGBA32F>& pixels, const znRaytracerP& view)
{
    const u32 width = view.m_renderWidth, height = view.m_renderHeight;
    io::ImageData image;
    image.allocate(width, height, 4, io::ImageData::Type::float32);
    image.gamma = 1.0f;
    const u64 rowSize = image.getRowSize();
    for (u32 y = 0; y < height; ++y)
        std::memcpy(image.values.data() + rowSize * y,
                    pixels.data() + u64(width) * (height - 1 - y), rowSize);
    return image;
}

/// Number of the frame's first sample among those of the picture: of pictures that several runs
/// share, each looks at places of its own.
u32 firstSample()
{
    using Settings = znRTRaytracingSettings;
    const int s = std::max(Settings::s_stillFrameSupersampling, 1);
    return u32(Settings::s_raytracingSampleOffset / (s * s));
}

int interactiveSamples(int samples)
{
    int result = 1;
    while (result < samples && result < 16)
        result *= 2;
    return result;
}

} // namespace

FrameDriver::FrameDriver()
{
    znRTSceneHandler::initializeChangeList();
    instance = znRaytracingManager::load();
    if (!instance)
        throw std::runtime_error("the ray tracing core could not be loaded");
    instance->initialize();
    instance->initTasks(&buffers.view());
    buffers.view().m_abortCallback = &FrameDriver::abortRequested;
    buffers.view().m_abortData = this;
    buffers.view().m_forceSoftwareCopy = 1;
    viewport = osg::Viewport::create();
    offsetCamera = osg::OffsetCameraDecorator::create();
    movedCamera = osg::MovedCameraDecorator::create();
}

FrameDriver::~FrameDriver()
{
    setScene(nullptr);
    znRaytracerP* const record = &buffers.view();
    instance->terminateTasks(record);
    instance->clear(record);
    instance->destroy(record);
    znRaytracingManager::unload();
    znRTSceneHandler::destroyChangeList();
}

void FrameDriver::setScene(const osg::NodePtr& scene)
{
    if (root.get() == scene)
        return;
    if (root)
        instance->clearAccelerationStructure();
    root = scene;
    viewport->setRoot(scene);
    instance->setSuperRoot(scene);
    instance->setRoot(scene);
    if (scene)
        instance->applyChangeList(1);
}

u64 FrameDriver::bytesNeeded(const FrameSettings& settings)
{
    // The frame that is handed out stands beside the buffers it is made from.
    return ViewBuffers::bytesNeeded(settings.width, settings.height, 1, settings.isStill,
                                    settings.passes) +
           u64(settings.width) * settings.height * sizeof(ZN_RGBA32F);
}

bool FrameDriver::abortRequested(void* data)
{
    FrameDriver* const driver = static_cast<FrameDriver*>(data);
    driver->isAborted = driver->isAborted || driver->askStop() == Stop::now;
    return driver->isAborted;
}

void FrameDriver::prepare(const FrameSettings& settings, const osg::CameraPtr& camera)
{
    znRaytracerP& view = buffers.view();
    znTBBInit::the().setLimit(settings.threads);
    viewport->setCamera(camera);
    viewport->setPixelWidth(settings.width);
    viewport->setPixelHeight(settings.height);

    const auto& region = settings.region;
    instance->setRaytracingRenderRegion({region[0], region[1], region[2], region[3]});
    instance->setImageSamples(settings.samples);
    if (settings.renderer >= 0)
        instance->setRenderer(settings.renderer);
    instance->setAdaptiveAAThresholdQuality(settings.adaptiveQuality);
    instance->setInteractiveImageSamples(interactiveSamples(settings.samples));
    const u64 passes = settings.passes & ~u64(1); // the beauty is always there
    buffers.resize(settings.width, settings.height, 1, settings.isStill, passes);
    if (view.m_cryptomatte)
        view.m_cryptomatte->clear();
    view.m_renderPassesEnabled = passes != 0;
    view.m_currentPass = passes ? 0 : settings.shownPass;
    view.m_renderMode = settings.renderMode;
    view.m_iteration = 0;
    view.m_iterationCount = settings.isStill ? u32(passesPerSample * settings.samples) : 1;

    if (tiledWidth != view.m_renderWidth || tiledHeight != view.m_renderHeight ||
        tiledSize != settings.tileSize || tiledRegion != settings.region) {
        instance->generateRenderTiles(&view, settings.tileSize);
        tiledWidth = view.m_renderWidth;
        tiledHeight = view.m_renderHeight;
        tiledSize = settings.tileSize;
        tiledRegion = settings.region;
    }
    view.m_regionActive = view.m_hasRenderRegion;

    // Materials and lights choose between interactive and still values when they are updated,
    // before the camera tells the core which of the two this is.
    const int mode = settings.isStill ? stillMode : interactiveMode;
    const bool modeChanged = znRTRaytracingSettings::s_qualityMode != mode;
    instance->applyChangeList(0);
    if (!instance->isActive())
        throw std::runtime_error("the scene could not be prepared for ray tracing");
    znRTRaytracingSettings::s_qualityMode = mode;
    instance->updateScene(&view, modeChanged);
}

void FrameDriver::tracePass(const osg::CameraPtr& camera, bool isFirst, int threads)
{
    znRaytracerP* const view = &buffers.view();
    if (!isFirst)
        instance->updateScene(view, false);
    instance->updateCamera(view, camera.get(), viewport.get().get());
    if (isFirst && view->m_regionActive)
        instance->generateActiveRenderTiles(
            view, view->m_viewBounds[0], view->m_viewBounds[1], view->m_viewBounds[2],
            view->m_viewBounds[3], view->m_fullImageWidth, view->m_fullImageHeight, u32(tiledSize));
    if (isFirst)
        instance->updateSceneplates(view, viewport.get().get(), camera.get());
    instance->updateRendertargets(view, false);
    if (isFirst && !viewport->getRoot())
        return;
    if (!instance->tracePhotons(view))
        isAborted = true;
    if (!isAborted && instance->traceImage(view, u32(threads), true))
        isAborted = true;
}

bool FrameDriver::hasActivePixels()
{
    std::vector<osg::ImagePtr> noImages;
    instance->getFrame(&buffers.view(), noImages, false, false);
    return buffers.countActivePixels() > 0;
}

void FrameDriver::lookAtSample(const osg::CameraPtr& camera, u32 sample)
{
    const znRTVector2f shift = znPixelfilterSampleSet::getSampleShift(sample);
    const auto move = [&](auto& decorator) {
        decorator.setDecoratee(camera);
        decorator.setNear(camera->getNear());
        decorator.setFar(camera->getFar());
        decorator.setOffsetX(shift.x);
        decorator.setOffsetY(shift.y);
    };
    move(*offsetCamera);
    move(*movedCamera);
}

FrameReport FrameDriver::renderStill(const FrameSettings& settings, const osg::CameraPtr& camera,
                                     const ProgressCallback& progress)
{
    FrameReport report;
    znRaytracerP& view = buffers.view();
    const Clock::time_point start = Clock::now();
    const int threads = znTBBInit::the().getNumAvailableLimitedLogicalCores();

    u64 activeAtFirst = 0;
    for (u32 pass = 0; pass < view.m_iterationCount && !isAborted; ++pass) {
        const u32 sample = pass / passesPerSample;
        if (pass % passesPerSample == 0) {
            if (sample > 0 && settings.timeLimit > 0.0 &&
                secondsSince(start) >= settings.timeLimit) {
                report.outcome = FrameReport::Outcome::timeLimit;
                break;
            }
            if (sample > 0 && askStop() != Stop::no) {
                report.outcome = FrameReport::Outcome::stopped;
                break;
            }
            lookAtSample(camera, firstSample() + sample);
        }
        view.m_iteration = pass;
        tracePass(offsetCamera.get(), pass == 0, threads);
        if (pass == 0)
            activeAtFirst = buffers.countActivePixels();
        if (!isAborted && pass % passesPerSample == passesPerSample - 1)
            ++report.samples;
        const bool isTested = pass >= testInterval && pass % testInterval == 0 &&
                              report.samples >= instance->getAdaptiveAASamples();
        const bool isConverged = !isAborted && isTested && !hasActivePixels();
        if (progress)
            progress(report.samples, settings.samples,
                     isConverged ? 1.0 : double(pass + 1) / view.m_iterationCount);
        if (isConverged)
            break;
    }
    report.finishedPixels = activeAtFirst - buffers.countActivePixels();
    return report;
}

FrameReport FrameDriver::renderInteractive(const FrameSettings& settings,
                                           const osg::CameraPtr& camera,
                                           const ProgressCallback& progress)
{
    FrameReport report;
    instance->updateRendertargets(&buffers.view(), true); // what no ray reaches is black
    lookAtSample(camera, 0); // not exactly through the centres, see there
    tracePass(movedCamera.get(), true, znTBBInit::the().getNumAvailableLimitedLogicalCores());
    if (!isAborted)
        report.samples = interactiveSamples(settings.samples);
    if (progress)
        progress(report.samples, report.samples, 1.0);
    return report;
}

FrameReport FrameDriver::render(const FrameSettings& settings, const osg::CameraPtr& camera,
                                const ProgressCallback& progress, const StopCallback& stop)
{
    stopCallback = stop;
    isAborted = false;
    try {
        const Clock::time_point start = Clock::now();
        prepare(settings, camera);
        const double buildSeconds = secondsSince(start);

        instance->resetTaskRuntime();
        const Clock::time_point traceStart = Clock::now();
        FrameReport report = settings.isStill ? renderStill(settings, camera, progress)
                                              : renderInteractive(settings, camera, progress);
        report.buildSeconds = buildSeconds;
        report.traceSeconds = secondsSince(traceStart);
        report.threadSeconds = instance->getTaskRuntime();
        if (isAborted)
            report.outcome = FrameReport::Outcome::stopped;
        return report;
    } catch (...) {
        instance->handleExceptions(&buffers.view());
        throw;
    }
}

void FrameDriver::copyPass(u32 pass, u32 flags, std::vector<ZN_RGBA32F>& pixels)
{
    znRaytracerP& view = buffers.view();
    const u32 width = view.m_renderWidth, height = view.m_renderHeight;
    pixels.resize(u64(width) * height);
    if (view.m_passBuffers[pass])
        instance->applyImageProcessing(&view, view.m_passBuffers[pass], pixels.data(),
                                       ZN_FORMAT_RGBA32F, false, 0, width, 0, height, pass, flags,
                                       false);
}

io::ImageData FrameDriver::getPass(u32 pass)
{
    std::vector<ZN_RGBA32F> pixels;
    if (!isCryptomattePass(pass)) {
        copyPass(pass, linearCopyFlags, pixels);
        return toImage(pixels, buffers.view());
    }
    const znRaytracerP& view = buffers.view();
    pixels.resize(u64(view.m_renderWidth) * view.m_renderHeight);
    if (view.m_cryptomatte) {
        view.m_cryptomatte->sort();
        for (u64 i = 0; i < pixels.size(); ++i)
            pixels[i] = view.m_cryptomatte->getLayer(int(i % view.m_renderWidth),
                                                     int(i / view.m_renderWidth),
                                                     int(pass - ZN_PASS_CRYPTO_OBJECT_00));
    }
    return toImage(pixels, view);
}

io::ImageData FrameDriver::getImage(Colors colors)
{
    std::vector<ZN_RGBA32F> pixels;
    copyPass(0, colors == Colors::display ? displayCopyFlags : linearCopyFlags, pixels);
    if (colors == Colors::display) {
        const znColorProfile profile =
            znImagePostprocessor::getImagePostprocessor(viewport.get().get()).profile;
        for (ZN_RGBA32F& pixel : pixels)
            _mm_store_ps(&pixel.r,
                         znRTColorTransforms::applyColorProfile(_mm_load_ps(&pixel.r), profile));
    }
    io::ImageData image = toImage(pixels, buffers.view());
    image.gamma = colors == Colors::display ? 2.2f : 1.0f;
    return image;
}
