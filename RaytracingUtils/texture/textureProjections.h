#pragma once

// What projections of textures through space give: see znRTTextureFunctions. All of it is in the
// space of the projection, object or world.

#include "texture/textureFootprint.h"

/// Where a texture is read.
struct znTexturePlace
{
    znRTVector2fPacket uv;
    znTextureFootprint footprint;
    znFloatType<2> inside;          ///< mask: lanes that the projection reaches
    bool isTiledInfinitely = false; ///< see infiniteTiling.h
};

/// The places along the three axes, and how much each of them shows.
struct znTriplanarProjection
{
    znFloatType<2> weight[3]; ///< sum 1; 0 in lanes off the mask
    znTexturePlace place[3];
};
