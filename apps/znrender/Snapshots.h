#pragma once

// Pictures that are written while the frame still renders: at regular times, and when a signal
// asks.

#include "outputs.h"

#include <chrono>
#include <functional>

class Snapshots
{
public:
    /// @param write  writes all pictures with so many samples; may throw
    using Write = std::function<void(const Options&, int)>;
    Snapshots(const Options& options, Write write);

    /// To be called between passes. What cannot be written is said once a time; the render goes on.
    /// @param samples  that every pixel has; between samples pictures are not written
    void update(int samples);

    /// The options for the final pictures: what a snapshot wrote is ours to replace.
    const Options& getOptions() const { return options; }

private:
    using Clock = std::chrono::steady_clock;
    Options options;
    Write write;
    Clock::time_point last = Clock::now();
    bool isWanted = false;
    int written = 0; ///< samples of the last snapshot, also of one that failed
};
