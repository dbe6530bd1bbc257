#pragma once

// How much of a texture a pixel covers, and the mip levels that follow from it.

#include "core/znIntType.h"
#include "core/znRTVector2fPacket.h"

/// Steps of the texture coordinates from one pixel to the next, along x and y of the image.
struct znTextureFootprint
{
    znRTVector2fPacket dx, dy;
};

/// Two neighbouring levels per lane and the share of the second.
struct znMipLevels
{
    znIntType<2> level, next;
    znFloatType<2> weight;
};

/// A footprint as an ellipse, for filters that follow its direction.
struct znEllipse
{
    znRTVector2fPacket major; ///< longer axis, texture coordinates
    znFloatType<2> minor;     ///< shorter axis, texels of level 0, as far as the limit allows
    znFloatType<2> taps;      ///< lookups along the longer axis, 1 to the sampler's limit
};
