#pragma once

// Questions to cameras, answered through their decorators.

#include "host/osg/UberCamera.h"

class znUberCameraUtils
{
public:
    /// Image settings of the undecorated camera; null without.
    static osg::FCPtr<osg::TonemappingSettings> getTonemappingSettings(const osg::Camera* camera);
    static bool isOrthographicCamera(const osg::Camera* camera);
};
