#pragma once

// Images that tell, per pixel, which place of the image plane a ray is taken from: head-mounted
// displays and curved screens.

#include "core/znRTVector2fPacket.h"

class znRTSampler2D;

/// @param place  0..1 over the whole image, lower left first
/// @param isOn   out: mask of the lanes that have a ray; a texel with both channels 0, or with
///               alpha 0, has none
/// @return place to take the ray from, 0..1 likewise, linear between texels that have one
znRTVector2fPacket lookUpDeflection(const znRTSampler2D& map, const znRTVector2fPacket& place,
                                    znFloatType<2>& isOn);
