#pragma once

// Blender Cycles on the processor, as the second opinion on lit frames. Needs the program blender.

#include "io/ImageData.h"

#include <string>

struct CyclesJob
{
    std::string script, scene, mesh, environment;
    int width, height, samples, seed, threads;
    std::string picture; ///< file to write, .exr
};

struct CyclesFrame
{
    io::ImageData image;     ///< RGB, linear
    double processorSeconds; ///< of the render call: scene, trees, tracing, writing
};

/// @throws std::runtime_error with one line
CyclesFrame renderWithCycles(const CyclesJob& job);
