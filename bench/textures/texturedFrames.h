#pragma once

// What images on a surface cost in a whole frame: a ball and a floor with base colour, normals and
// roughness of 2048 x 2048 texels each, beside the same frame with uniform values.

#include <nlohmann/json.hpp>

/// Median processor times in ms of frames on one thread, and their ratios.
nlohmann::ordered_json measureTexturedFrames(int repeats);
