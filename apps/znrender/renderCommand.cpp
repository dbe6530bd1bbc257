// znrender render: the road from scene files to pictures.

#include "commands.h"

#include "Progress.h"
#include "Snapshots.h"
#include "Statistics.h"
#include "chooseView.h"
#include "lightScene.h"
#include "loadScene.h"
#include "outputs.h"

#include "driver/StopSignals.h"
#include "host/znRaytracingUtilsBase.h"

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

/// Bytes of memory that the machine can still give, 0 when the system does not tell.
u64 availableMemory()
{
    std::ifstream file("/proc/meminfo");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("MemAvailable:", 0) == 0)
            return std::strtoull(line.c_str() + 13, nullptr, 10) * 1024;
    return 0;
}

void checkMemory(const FrameSettings& settings)
{
    const u64 needed = FrameDriver::bytesNeeded(settings), available = availableMemory();
    if (available > 0 && needed > available)
        throw std::runtime_error(fmt::format(
            "a picture of {} x {} pixels{} needs {} MB, the machine has {} MB left", settings.width,
            settings.height, settings.passes ? " with these passes" : "", needed >> 20,
            available >> 20));
}

int filterType(const std::string& name)
{
    const char* const names[] = {"none",     "box",     "triangle",       "gaussian",
                                 "mitchell", "lanczos", "blackman-harris"};
    return int(std::find(std::begin(names), std::end(names), name) - std::begin(names));
}

FrameDriver::Stop stopWanted()
{
    return StopSignals::isAbortWanted()  ? FrameDriver::Stop::now
           : StopSignals::isStopWanted() ? FrameDriver::Stop::afterSample
                                         : FrameDriver::Stop::no;
}

/// First sample of a seed's picture: the golden ratio of the table of random points apart, so that
/// the first pictures read different rows, also where a sample draws up to 16 times.
int firstSampleOf(unsigned seed)
{
    constexpr u64 samplesPerSeed = 162011, mask = 0x3fffffff;
    return int(seed * samplesPerSeed & mask);
}

} // namespace

int runRender(const Options& options)
{
    checkOutputs(options);
    const ColorStage colors(options);
    FrameSettings settings = frameSettings(options);
    checkMemory(settings);

    Statistics statistics;
    Clock::time_point start = Clock::now();
    FrameDriver driver;
    io::SceneFile scene = loadScene(options);
    takeSceneSettings(options, scene, settings);
    statistics.loadSeconds = secondsSince(start);

    View view = chooseView(options, scene);
    view.camera->setFilterType(filterType(options.filterName));
    view.camera->setFilterSizeX(float(options.filterWidth));
    view.camera->setFilterSizeY(float(options.filterWidth));

    start = Clock::now();
    const bool showsLight = options.renderMode == 0 && !isDataPass(options.passes.shown);
    const SceneLight light(options, scene, view);
    driver.setScene(scene.root.get());
    applyPathOptions(options, scene.root.get(), driver.utils());
    if (options.seed > 0)
        driver.utils().setRaytracingSampleOffset(firstSampleOf(options.seed));
    if (showsLight)
        light.turnToLight(options, driver, view);
    colors.prepare(*view.camera, showsLight && light.isLit());
    if (showsLight)
        light.expose(options, driver, view);
    statistics.buildSeconds = secondsSince(start);

    Progress progress(Progress::suitable(options.quiet, options.jsonProgress));
    Snapshots snapshots(options, [&](const Options& now, int samples) {
        Statistics soFar;
        soFar.samples = samples;
        soFar.traceSeconds = secondsSince(start);
        writeOutputs(now, view.camera.get(), driver, colors, soFar);
    });
    start = Clock::now();
    StopSignals::setStage(StopSignals::Stage::firstSample);
    const FrameReport report = driver.render(
        settings, view.camera.get(),
        [&](int done, int planned, double fraction) {
            if (done > 0)
                StopSignals::setStage(StopSignals::Stage::samples);
            progress.update(done, planned, fraction);
            if (options.still && done < planned)
                snapshots.update(done);
        },
        &stopWanted);
    progress.finish();
    if (report.samples == 0)
        throw std::runtime_error("stopped before the first sample; nothing was written");

    statistics.take(report, driver.view(), settings);
    start = Clock::now();
    writeOutputs(snapshots.getOptions(), view.camera.get(), driver, colors, statistics);
    statistics.writeSeconds = secondsSince(start) - statistics.copySeconds;
    if (!options.statsFile.empty())
        statistics.write(options.statsFile);
    return report.outcome == FrameReport::Outcome::stopped ? exitPartial : exitDone;
}
