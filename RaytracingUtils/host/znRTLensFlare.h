#pragma once

// Reflections between the lenses of a camera that looks at a light: data alone. The core finds how
// much of the light is seen, and draws the elements on the line through the light and the middle of
// the image.

#include "host/osg/Image.h"
#include "host/osg/TransformationMatrix.h"
#include "host/znRTVector.h"

#include <vector>

class znRTLensFlare
{
public:
    struct Element
    {
        osg::Ref<osg::Image> image;
        float position = 0.0f; ///< on the axis: 0 at the light, 1 in the middle of the image
        float size = 0.1f;     ///< share of the image's width
        znRTVector3f color{1.0f, 1.0f, 1.0f};
        bool operator==(const Element&) const = default;
    };

    /// Place of the light; the light's update sets it.
    const osg::TransformationMatrix<float>& getToWorldMatrix() const { return toWorld; }
    void setToWorldMatrix(const osg::TransformationMatrix<float>& matrix) { toWorld = matrix; }

    /// Lights without a place of their own switch their flare off.
    bool isEnabled() const { return enabled; }
    void setEnabled(bool on) { enabled = on; }

    std::vector<Element> elements; ///< in drawing order
    float intensity = 1.0f;        ///< factor on all colours
    float size = 1.0f;             ///< factor on all sizes

private:
    osg::TransformationMatrix<float> toWorld;
    bool enabled = true;
};
