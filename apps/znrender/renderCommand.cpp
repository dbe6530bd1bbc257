// znrender render: the road from scene files to pictures.

#include "commands.h"

#include "Progress.h"
#include "Statistics.h"
#include "loadScene.h"

#include "driver/FrameDriver.h"
#include "driver/StopSignals.h"
#include "driver/viewFraming.h"
#include "host/osg/Transform.h"
#include "host/osg/UberCamera.h"
#include "host/znLog.h"
#include "io/imageWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <fstream>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// What can be said before anything is loaded: unknown suffixes, folders that are not there, files
/// that would be overwritten.
void checkOutputs(const Options& options)
{
    const auto existing =
        options.overwrite ? io::OutputFile::Existing::replace : io::OutputFile::Existing::refuse;
    for (const std::string& output : options.outputs) {
        if (!io::canWriteImage(output))
            throw UsageError(fmt::format("-o {}: the suffix names no image format; there are .png, "
                                         ".jpg, .tif, .hdr, .exr and .pfm",
                                         io::printable(output)));
        io::OutputFile::checkTarget(output, existing);
    }
    if (!options.statsFile.empty())
        io::OutputFile::checkTarget(options.statsFile);
}

bool isFloatFormat(const std::string& path)
{
    const std::size_t dot = path.rfind('.');
    std::string suffix = dot == std::string::npos ? "" : path.substr(dot);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return suffix == ".exr" || suffix == ".hdr" || suffix == ".pfm";
}

/// Bytes of memory that the machine can still give, 0 when the system does not tell.
u64 availableMemory()
{
    std::ifstream file("/proc/meminfo");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("MemAvailable:", 0) == 0)
            return std::strtoull(line.c_str() + 13, nullptr, 10) * 1024;
    return 0;
}

FrameSettings frameSettings(const Options& options)
{
    FrameSettings settings;
    settings.width = options.width;
    settings.height = options.height;
    settings.isStill = options.still;
    settings.samples = options.samples;
    settings.timeLimit = options.timeLimit;
    std::copy(options.crop.begin(), options.crop.end(), settings.region.begin());
    settings.threads = options.threads;
    settings.tileSize = options.tileSize;
    settings.renderMode = 1;

    const u64 needed = FrameDriver::bytesNeeded(settings), available = availableMemory();
    if (available > 0 && needed > available)
        throw std::runtime_error(
            fmt::format("a picture of {} x {} pixels needs {} MB, the machine has {} MB left",
                        options.width, options.height, needed >> 20, available >> 20));
    return settings;
}

int filterType(const std::string& name)
{
    const char* const names[] = {"none",     "box",     "triangle",       "gaussian",
                                 "mitchell", "lanczos", "blackman-harris"};
    return int(std::find(std::begin(names), std::end(names), name) - std::begin(names));
}

osg::Vec3f toVec(const std::array<double, 3>& v)
{
    return osg::Vec3f(float(v[0]), float(v[1]), float(v[2]));
}

/// A camera of the view options, placed by a node of its own that the caller adds to the scene.
osg::UberCameraPtr makeFramedCamera(const Options& options, const io::SceneFile& scene,
                                    osg::Ref<osg::Node>& beacon)
{
    ViewRequest request;
    request.aspect = float(options.width) / float(options.height);
    if (options.view.fov)
        request.fov = float(*options.view.fov);
    if (options.view.eye)
        request.eye = toVec(*options.view.eye);
    if (options.view.at)
        request.at = toVec(*options.view.at);
    if (options.view.up)
        request.up = toVec(*options.view.up);
    const FramedView framed = frameScene(scene.root->getWorldBox(), request);

    const osg::Transform::Ptr place = osg::Transform::create();
    place->setMatrix(lookAtMatrix(framed));
    beacon = osg::Node::create(place, "view");
    osg::UberCameraPtr camera = osg::UberCamera::create();
    camera->setBeacon(beacon.get());
    camera->setFov(request.fov);
    camera->setNear(framed.nearClip);
    camera->setFar(framed.farClip);
    return camera;
}

osg::UberCameraPtr chooseCamera(const Options& options, const io::SceneFile& scene,
                                osg::Ref<osg::Node>& beacon)
{
    const ViewOptions& view = options.view;
    if (!view.camera.empty())
        return osg::UberCamera::Ptr::dcast(findCamera(scene, view.camera));
    const bool isGiven = view.eye || view.at || view.up || view.fov;
    if (!isGiven && !scene.cameras.empty())
        return osg::UberCamera::Ptr::dcast(scene.cameras.front().camera);
    return makeFramedCamera(options, scene, beacon);
}

/// First pixel at or behind a share of a side, as the core rounds its render region.
u32 pixelAt(double share, u32 size)
{
    return std::min(size, u32(share * size + 0.5));
}

/// The cropped part with the first channels of each pixel; it remembers its place in the whole.
io::ImageData cutOut(const io::ImageData& whole, const std::array<double, 4>& crop, u32 channels)
{
    const u32 left = pixelAt(crop[0], whole.width), right = pixelAt(crop[2], whole.width);
    const u32 top = whole.height - pixelAt(crop[3], whole.height);
    const u32 bottom = whole.height - pixelAt(crop[1], whole.height);
    io::ImageData part = whole;
    part.allocate(std::max(1u, right - left), std::max(1u, bottom - top), channels, whole.type);
    part.offsetX = int(left);
    part.offsetY = int(top);
    part.displayWidth = whole.width;
    part.displayHeight = whole.height;
    const u64 size = io::ImageData::bytes(whole.type);
    for (u32 y = 0; y < part.height; ++y)
        for (u32 x = 0; x < part.width; ++x) {
            const u64 from = (u64(y + top) * whole.width + x + left) * whole.channels * size;
            const u64 to = (u64(y) * part.width + x) * channels * size;
            std::copy_n(whole.values.data() + from, channels * size, part.values.data() + to);
        }
    return part;
}

void writeOutput(const Options& options, const std::string& path, FrameDriver& driver,
                 Statistics& statistics)
{
    const bool isFloat = isFloatFormat(path);
    const FrameDriver::Colors colors =
        isFloat ? FrameDriver::Colors::linear : FrameDriver::Colors::display;
    // Pictures for people are opaque; compositing wants the coverage.
    const Clock::time_point start = Clock::now();
    io::ImageData image = cutOut(driver.getImage(colors), options.crop, isFloat ? 4 : 3);
    statistics.copySeconds += secondsSince(start);
    io::ImageWriteOptions write;
    write.existing =
        options.overwrite ? io::OutputFile::Existing::replace : io::OutputFile::Existing::refuse;
    write.jpegQuality = options.jpegQuality;
    if (isFloat) {
        write.bits = options.halfFloat ? 16 : 32;
        write.compression = options.exrCompression;
    } else {
        write.bits = options.bitDepth;
        const auto type = options.bitDepth == 8    ? io::ImageData::Type::byte
                          : options.bitDepth == 16 ? io::ImageData::Type::word
                                                   : io::ImageData::Type::float32;
        image = io::converted(image, type);
    }
    image.metadata["Software"] = fmt::format("znrender {}", ZN_VERSION);
    io::writeImage(path, image, write);
}

/// Writes every picture that can be written; the first failure is reported at the end, so that one
/// full disk does not cost the others.
void writeOutputs(const Options& options, FrameDriver& driver, Statistics& statistics)
{
    std::string firstError;
    for (const std::string& output : options.outputs) {
        try {
            writeOutput(options, output, driver, statistics);
        } catch (const io::OutputError& error) {
            if (firstError.empty())
                firstError = error.what();
            else
                znLog::error(error.what());
        }
    }
    if (!firstError.empty())
        throw std::runtime_error(firstError);
}

} // namespace

int runRender(const Options& options)
{
    checkOutputs(options);
    const FrameSettings settings = frameSettings(options);

    Statistics statistics;
    Clock::time_point start = Clock::now();
    FrameDriver driver;
    const io::SceneFile scene = loadScene(options);
    statistics.loadSeconds = secondsSince(start);

    osg::Ref<osg::Node> beacon;
    osg::Ref<osg::UberCamera> camera = chooseCamera(options, scene, beacon);
    camera->setFilterType(filterType(options.filterName));
    camera->setFilterSizeX(float(options.filterWidth));
    camera->setFilterSizeY(float(options.filterWidth));

    start = Clock::now();
    driver.setScene(scene.root.get());
    statistics.buildSeconds = secondsSince(start);

    Progress progress(Progress::suitable(options.quiet, options.jsonProgress));
    const FrameReport report = driver.render(
        settings, camera.get(),
        [&](int done, int planned, double fraction) { progress.update(done, planned, fraction); },
        [] {
            return StopSignals::isAbortWanted()  ? FrameDriver::Stop::now
                   : StopSignals::isStopWanted() ? FrameDriver::Stop::afterSample
                                                 : FrameDriver::Stop::no;
        });
    progress.finish();
    if (report.samples == 0)
        throw std::runtime_error("stopped before the first sample; nothing was written");

    start = Clock::now();
    writeOutputs(options, driver, statistics);
    statistics.writeSeconds = secondsSince(start) - statistics.copySeconds;
    statistics.take(report, driver.view(), settings);
    if (!options.statsFile.empty())
        statistics.write(options.statsFile);
    return report.outcome == FrameReport::Outcome::stopped ? exitPartial : exitDone;
}
