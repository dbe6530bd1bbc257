#pragma once

// How selected objects are shown. Written between frames.

namespace osg {
class RenderOptions;
}

class znRTSelectionSettings
{
public:
    bool selectionWireframe = true;
    bool preselectionWireframe = false;
    bool wireframeAlwaysInFront = false; ///< selected objects get trees of their own
    bool wireframeOnMaterial = false;
    float selectionOpacity = 0.25f; ///< of the tint over the object, [0, 1]
    float lineWidth = 1.0f;         ///< pixels
    float gridLineWidth = 1.0f;     ///< pixels
    int gridSubdivisions = 10;
    int gridMode = 0; ///< 0 none, 1 texture coordinates, 2 world

    bool operator==(const znRTSelectionSettings&) const = default;

    /// Takes over the options of a scene; null leaves all as it is.
    /// @return true when a value changed
    bool update(const osg::RenderOptions* options);

    static znRTSelectionSettings& current();
};
