#pragma once

// What lit frames cost and how noisy they are: a fixed number of samples of one of three scenes,
// beside the same from another renderer.

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

struct LitOptions
{
    std::vector<std::string> scenes; ///< sun, cornell, glossy
    std::string mesh;                ///< file of sun and glossy
    std::string environment;         ///< file of glossy
    int width = 640, height = 480;
    int samples = 64;    ///< per pixel
    int reference = 512; ///< samples of the long render
    int threads = 1;
    /// Script that renders the scenes with Blender Cycles; empty: not asked for.
    std::string cyclesScript;
    std::string folder; ///< where pictures go; empty: nowhere, and Cycles' are removed
};

/// Per scene: ms and millions of samples per second, variance of luminance at that number of
/// samples, and variance times processor seconds; the same of Cycles and the ratio.
/// @throws std::runtime_error with one line
nlohmann::ordered_json measureLitFrames(const LitOptions& options);

/// The command: options in, JSON out.
/// @return exit code
int litMain(int argc, char** argv);
