#pragma once

// Display options of a scene: which sides of surfaces are shown, and how selection is drawn.

#include "host/osg/AttachmentContainer.h"

namespace osg {

class RenderOptions : public AttachmentContainer
{
    ZN_CONTAINER(RenderOptions, AttachmentContainer)
    ZN_FLAG(showASides, ShowASides, true)
    ZN_FLAG(showBSides, ShowBSides, true)
    ZN_FLAG(selectionWireframe, SelectionWireframe, true)
    ZN_FLAG(preselectionWireframe, PreselectionWireframe, false)
    ZN_FLAG(wireframeAlwaysInFront, WireframeAlwaysInFront, false)
    ZN_FLAG(wireframeOnMaterial, WireframeOnMaterial, false)
    ZN_FIELD(float, selectionOpacity, SelectionOpacity, 0.25f, "", 0.0f, 1.0f)
    ZN_FIELD(float, lineWidth, LineWidth, 1.0f, "pixel", 0.0f, 64.0f)
    ZN_FIELD(float, gridLineWidth, GridLineWidth, 1.0f, "pixel", 0.0f, 64.0f)
    ZN_FIELD(int, gridSubdivisions, GridSubdivisions, 10, "", 1, 1000)
    ZN_ENUM(gridMode, GridMode, 0, "none", "uv", "world")
};

} // namespace osg
