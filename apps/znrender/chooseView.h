#pragma once

// The view of a command: a camera of the scene, or one that is placed by numbers and frames the
// scene with what they leave open.

#include "Options.h"

#include "driver/FrameDriver.h"
#include "host/osg/UberCamera.h"
#include "io/SceneFile.h"

struct View
{
    osg::Ref<osg::UberCamera> camera;
    osg::Ref<osg::Node> beacon; ///< of a camera that is not in the scene
};

/// @throws UsageError when the camera named is not there
View chooseView(const Options& options, const io::SceneFile& scene);

/// Moves a camera that is not in the scene to another side of it.
/// @param direction  from the scene to the eye; nothing: the usual one
/// @param box        of the scene
void lookFrom(const std::optional<osg::Vec3f>& direction, const Options& options,
              const osg::Box& box, View& view);

/// How a camera's light becomes a picture; made when it has none.
osg::TonemappingSettings& tonemappingOf(osg::UberCamera& camera);

/// What the options say of the frame.
FrameSettings frameSettings(const Options& options);

/// What the scene's own settings say where the options are silent.
void takeSceneSettings(const Options& options, const io::SceneFile& scene, FrameSettings& settings);

/// A frame of one sample for one pixel, for those who ask what it shows.
FrameSettings pixelSettings(const Options& options);
