#include "Snapshots.h"

#include "driver/WriteSignals.h"
#include "host/znLog.h"
#include "io/InputError.h"

#include <fmt/format.h>

Snapshots::Snapshots(const Options& newOptions, Write newWrite)
    : options(newOptions), write(std::move(newWrite))
{
}

void Snapshots::update(int samples)
{
    isWanted = WriteSignals::take() || isWanted;
    const double elapsed = std::chrono::duration<double>(Clock::now() - last).count();
    const bool isDue = options.snapshotSeconds > 0.0 && elapsed >= options.snapshotSeconds;
    if (samples <= written || !(isWanted || isDue))
        return;
    isWanted = false;
    written = samples;
    try {
        write(options, samples);
        options.overwrite = true;
        znLog::info(fmt::format("Wrote the pictures with {} samples", samples).c_str());
    } catch (const std::exception& error) {
        znLog::warning((std::string("a snapshot could not be written: ") + error.what()).c_str());
    }
    // Counted from the end, so that slow disks do not keep the render from going on.
    last = Clock::now();
}
