#pragma once

// Figures of one render: where the time went, what the scene held, what memory it took.

#include "driver/FrameDriver.h"

#include <string>

struct Statistics
{
    double loadSeconds = 0.0;  ///< reading the files
    double buildSeconds = 0.0; ///< objects and trees of the core
    double traceSeconds = 0.0;
    double copySeconds = 0.0;  ///< frame to picture
    double writeSeconds = 0.0; ///< picture to file
    double threadSeconds = 0.0;
    u64 width = 0, height = 0;
    int samples = 0;
    bool isComplete = false;
    znRTSceneStatistics scene;
    u64 primaryRays = 0;

    void take(const FrameReport& report, const znRaytracerP& view, const FrameSettings& settings);
    /// @throws io::OutputError
    void write(const std::string& path) const;
};
