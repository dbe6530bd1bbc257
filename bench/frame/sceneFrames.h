#pragma once

// Frames of a scene file as an application renders them: what layers and pixel filters cost above
// the picture alone.

#include <nlohmann/json.hpp>

#include <string>

struct SceneFrameOptions
{
    int width = 960, height = 540, samples = 8, repeat = 3;
};

/// Median processor times of whole frames on one thread in ms, from the first look at the scene to
/// the last sum, taken in turns, and their ratios.
nlohmann::ordered_json measureSceneFrames(const std::string& path, const SceneFrameOptions& o);
