// znrender render: the road from scene files to pictures.

#include "commands.h"

#include "Progress.h"
#include "Statistics.h"
#include "chooseView.h"
#include "loadScene.h"
#include "outputs.h"

#include "driver/StopSignals.h"

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

} // namespace

int runRender(const Options& options)
{
    checkOutputs(options);
    const FrameSettings settings = frameSettings(options);
    checkMemory(settings);

    Statistics statistics;
    Clock::time_point start = Clock::now();
    FrameDriver driver;
    const io::SceneFile scene = loadScene(options);
    statistics.loadSeconds = secondsSince(start);

    const View view = chooseView(options, scene);
    view.camera->setFilterType(filterType(options.filterName));
    view.camera->setFilterSizeX(float(options.filterWidth));
    view.camera->setFilterSizeY(float(options.filterWidth));

    start = Clock::now();
    driver.setScene(scene.root.get());
    statistics.buildSeconds = secondsSince(start);

    Progress progress(Progress::suitable(options.quiet, options.jsonProgress));
    StopSignals::setStage(StopSignals::Stage::firstSample);
    const FrameReport report = driver.render(
        settings, view.camera.get(),
        [&](int done, int planned, double fraction) {
            if (done > 0)
                StopSignals::setStage(StopSignals::Stage::samples);
            progress.update(done, planned, fraction);
        },
        &stopWanted);
    progress.finish();
    if (report.samples == 0)
        throw std::runtime_error("stopped before the first sample; nothing was written");

    statistics.take(report, driver.view(), settings);
    start = Clock::now();
    writeOutputs(options, view.camera.get(), driver, statistics);
    statistics.writeSeconds = secondsSince(start) - statistics.copySeconds;
    if (!options.statsFile.empty())
        statistics.write(options.statsFile);
    return report.outcome == FrameReport::Outcome::stopped ? exitPartial : exitDone;
}
