#pragma once

// The scene of a command line, with what the commands ask of it.

#include "Options.h"

#include "io/SceneFile.h"

/// @throws io::InputError
io::SceneFile loadScene(const Options& options);

/// @param name  of a camera, or its number in the list counted from 0
/// @throws UsageError that lists what there is
osg::CameraPtr findCamera(const io::SceneFile& scene, const std::string& name);
