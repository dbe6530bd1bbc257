#pragma once

// Scalar colour functions.

#include "host/znRTVector.h"

class znColor
{
public:
    /// Luminance of linear Rec. 709 colours.
    static float luminance(float r, float g, float b)
    {
        return 0.2125f * r + 0.7154f * g + 0.0721f * b;
    }
    /// Colour of a signed curvature: -1 and below blue, 0 green, 1 and above red, linear between.
    static znRTVector3f curvatureToRGB(float curvature);
};
