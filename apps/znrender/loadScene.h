#pragma once

// The scene of a command line, with what the commands ask of it.

#include "Options.h"

#include "scene/sceneQueries.h"

struct LoadedScene
{
    osg::Ref<osg::Node> root;
    std::vector<scene::NamedCamera> cameras;
};

/// @throws io::InputError
LoadedScene loadScene(const Options& options);

/// @param name  of a camera, or its number in the list counted from 0
/// @throws UsageError that lists what there is
osg::CameraPtr findCamera(const LoadedScene& scene, const std::string& name);
