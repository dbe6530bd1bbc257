#pragma once

// A picture or colour on a quad of the viewport, behind or in front of the scene.

#include "host/osg/Image.h"

namespace osg {

class Sceneplate : public AttachmentContainer
{
    ZN_CONTAINER(Sceneplate, AttachmentContainer)
    ZN_FLAG(front, Front, false)                          ///< else behind the scene
    ZN_FIELD(int, order, Order, 0, "", -1000000, 1000000) ///< drawn from low to high
    ZN_ENUM(kind, Kind, 0, "solid", "image")
    ZN_FIELD(Vec4f, color, Color, Vec4f(1, 1, 1, 1), "", 0.0f, 1e6f)
    ZN_SLOT(ImagePtr, image, Image)
    ZN_FIELD(float, gamma, Gamma, 2.2f, "", 0.1f, 10.0f)
    ZN_FIELD(float, opacity, Opacity, 1.0f, "", 0.0f, 1.0f)
    // Corners in the viewport, 0..1 from the lower left, counter-clockwise from the lower left.
    ZN_FIELD(Vec2f, corner0, Corner0, Vec2f(0, 0), "", -100.0f, 100.0f)
    ZN_FIELD(Vec2f, corner1, Corner1, Vec2f(1, 0), "", -100.0f, 100.0f)
    ZN_FIELD(Vec2f, corner2, Corner2, Vec2f(1, 1), "", -100.0f, 100.0f)
    ZN_FIELD(Vec2f, corner3, Corner3, Vec2f(0, 1), "", -100.0f, 100.0f)
    ZN_FIELD(Vec2f, texCoord0, TexCoord0, Vec2f(0, 0), "", -1e6f, 1e6f)
    ZN_FIELD(Vec2f, texCoord1, TexCoord1, Vec2f(1, 0), "", -1e6f, 1e6f)
    ZN_FIELD(Vec2f, texCoord2, TexCoord2, Vec2f(1, 1), "", -1e6f, 1e6f)
    ZN_FIELD(Vec2f, texCoord3, TexCoord3, Vec2f(0, 1), "", -1e6f, 1e6f)
    ZN_FLAG(keepAspect, KeepAspect, false)
    ZN_FLAG(visible, Visible, true)
    ZN_FIELD(u32, selectionMask, SelectionMask, 0xffffffffu, "", 0, 4294967295.0)

    Vec2f getCorner(int i) const;
    Vec2f getTexCoord(int i) const;
};

using SceneplatePtr = FCPtr<AttachmentContainerPtr, Sceneplate>;

} // namespace osg
