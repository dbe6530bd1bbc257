#pragma once

// What a viewport asks of the copy stage.

namespace osg {
class Viewport;
}

struct znViewportProperties
{
    bool useTonemapping = true;
    bool usePostprocessor = true;
    bool showBackplates = true;
    bool showFrontplates = true;
    float gamma = 2.2f;
};

class znViewportUtils
{
public:
    /// Switches of the viewport, from its camera's image settings; defaults for null.
    static znViewportProperties getViewportProperties(const osg::Viewport* viewport);
};
