#pragma once

// Time for tiles and statistics: a monotonic count of nanoseconds.

#include "host/znAligned.h"

#include <chrono>

using znTicks = u64;

constexpr u64 znTicksPerSecond = 1000000000;

inline znTicks readTicks()
{
    return znTicks(std::chrono::duration_cast<std::chrono::nanoseconds>(
                       std::chrono::steady_clock::now().time_since_epoch())
                       .count());
}

/// Units of 100 ns, in which the render time of all threads is counted.
inline u64 ticksToRuntime(znTicks ticks)
{
    return ticks / 100;
}
