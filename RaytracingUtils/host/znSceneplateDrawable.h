#pragma once

// A scene plate as it is drawn into one view: what the scene graph says, and the view's place in
// the full image. Places are shares of the viewport, from its lower left.

#include "host/osg/Sceneplate.h"
#include "host/znRTTriangle2D.h"
#include "host/znRTVector.h"

#include <array>

class znSceneplateDrawable
{
public:
    enum Kind { solid = 0, image = 1 };

    explicit znSceneplateDrawable(const osg::Sceneplate& plate);

    /// @param width, height     of the view, pixels
    /// @param offsetX, offsetY  of the view in the full image, shares of it
    /// @param pixelAspect       width of a pixel over its height
    void setViewport(int width, int height, float offsetX, float offsetY, float pixelAspect);
    /// Halves of the quad: corners 0, 1, 2 and 0, 2, 3.
    std::array<znRTTriangle2D, 2> getTriangles() const;

    bool front = false; ///< else behind the scene
    int depth = 0;      ///< drawn from low to high
    Kind kind = solid;
    znRTVector4f color{1.0f, 1.0f, 1.0f, 1.0f};
    osg::Ref<osg::Image> picture;
    float gamma = 2.2f; ///< exponent that makes the picture linear
    float opacity = 1.0f;
    std::array<znRTVector2f, 4> corners; ///< counter-clockwise from the lower left
    std::array<znRTVector2f, 4> texCoords;
    bool keepAspect = false;
    float imageAspect = 1.0f; ///< width over height of the picture; 1 without
    int viewportWidth = 0, viewportHeight = 0;
    float offsetX = 0.0f, offsetY = 0.0f;
    float pixelAspect = 1.0f;
    bool visible = true;
    u32 selectionMask = 0xffffffffu;
};
