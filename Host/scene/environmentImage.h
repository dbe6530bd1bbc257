#pragma once

// Brings environment images to one form: latitude-longitude, linear float RGB, top row at +z, and
// u = atan2(x, y) / (2 pi): +y at the left edge, +x a quarter to the right.

#include "host/osg/Image.h"
#include "host/znRTVector.h"

enum class EnvironmentLayout { latitudeLongitude = 0, cube = 1, cross = 2 };

/// @param gamma  exponent that makes the values of integer images linear
/// @return the image itself when it has the form already, else a new one; null for images that do
///         not fit the layout
osg::ImagePtr makeLatitudeLongitude(const osg::ImagePtr& image, EnvironmentLayout layout,
                                    float gamma);
