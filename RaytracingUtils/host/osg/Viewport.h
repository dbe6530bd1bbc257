#pragma once

// A rectangle of the screen that shows a scene through a camera.

#include "host/osg/Background.h"
#include "host/osg/Camera.h"
#include "host/osg/Sceneplate.h"

namespace osg {

class Viewport : public AttachmentContainer
{
    ZN_CONTAINER(Viewport, AttachmentContainer)
    ZN_SLOT(CameraPtr, camera, Camera)
    ZN_SLOT(NodePtr, root, Root)
    ZN_SLOT(BackgroundPtr, background, Background)
    ZN_SLOT(std::vector<BackgroundPtr>, foregrounds, Foregrounds) ///< in drawing order
    ZN_SLOT(std::vector<SceneplatePtr>, sceneplates, Sceneplates) ///< in drawing order
    ZN_FIELD(int, left, Left, 0, "pixel", -1048576, 1048576)
    ZN_FIELD(int, bottom, Bottom, 0, "pixel", -1048576, 1048576)
    ZN_FIELD(u32, pixelWidth, PixelWidth, 0, "pixel", 0, 1048576)
    ZN_FIELD(u32, pixelHeight, PixelHeight, 0, "pixel", 0, 1048576)
};

using ViewportPtr = FCPtr<AttachmentContainerPtr, Viewport>;

} // namespace osg
