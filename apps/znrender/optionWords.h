#pragma once

// The command line between the parser and the options: which words each command takes, and what
// they mean.

#include "Options.h"

#include "host/znImagePostprocessor.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

/// Places in the list are render modes; behind them come variants of the beauty.
inline const std::vector<std::string> integratorNames = {
    "beauty",   "normal",      "discontinuity", "occlusion", "indirect",
    "analysis", "illuminance", "luminance",     "debug"};

inline const std::vector<std::string> filterNames = {"box",      "triangle", "gaussian",
                                                     "mitchell", "lanczos",  "blackman-harris"};

inline const std::vector<std::pair<std::string, int>> viewNames = {
    {"neutral", znImagePostprocessor::tonemapNeutral},
    {"standard", znImagePostprocessor::tonemapClamp},
    {"filmic", znImagePostprocessor::tonemapFilmic},
    {"aces", znImagePostprocessor::tonemapACES},
    {"reinhard", znImagePostprocessor::tonemapReinhard},
    {"logarithmic", znImagePostprocessor::tonemapLogarithmic},
    {"photographic", znImagePostprocessor::tonemapPhotographic}};

/// Places in the list are levels; "off" is another name of the first.
inline const std::vector<std::string> illuminationNames = {"direct", "ambient", "environment",
                                                           "full"};

/// Options as they were typed; those that were not stay empty.
struct Words
{
    std::optional<std::string> resolution, crop, camera, eye, at, up, timeLimit, filter, upAxis,
        unit, passes, shownPass, integrator, pick, sun, view, ocio, display, illumination, snapshot,
        environment;
    std::optional<double> fov, exposure, noise, clamp;
    std::optional<int> bounces;
    std::string mode = "still", exrLayout = "multipart", exrFloat = "data", exrChannels = "named",
                pixel;
    std::vector<std::string> limits;
    std::string config;
    bool showVersion = false, noTonemap = false, noFloor = false;
};

/// All commands with their options.
void declareCommands(CLI::App& app, Options& options, Words& words);

/// What the words mean for options.verb.
/// @throws UsageError that names the option
void takeWords(const Words& words, Options& options);
