#pragma once

// What stands behind (or in front of) the scene in a viewport.

#include "host/osg/Image.h"

namespace osg {

class Background : public AttachmentContainer
{
    ZN_ABSTRACT_CONTAINER(Background, AttachmentContainer)
};

class SolidBackground : public Background
{
    ZN_CONTAINER(SolidBackground, Background)
    ZN_FIELD(Vec4f, color, Color, Vec4f(0, 0, 0, 1), "", 0.0f, 1e6f)
    /// Exponent that makes the colour linear; 1 for linear colours.
    ZN_FIELD(float, gamma, Gamma, 1.0f, "", 0.1f, 10.0f)
};

class ImageBackground : public Background
{
    ZN_CONTAINER(ImageBackground, Background)
    ZN_SLOT(ImagePtr, image, Image)
    ZN_FIELD(float, gamma, Gamma, 2.2f, "", 0.1f, 10.0f)
    ZN_ENUM(fit, Fit, 0, "stretch", "inside", "cover", "original")
};

using BackgroundPtr = FCPtr<AttachmentContainerPtr, Background>;

} // namespace osg
