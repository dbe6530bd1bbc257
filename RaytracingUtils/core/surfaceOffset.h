#pragma once

// Where rays that start at a hit begin: far enough off the surface that they miss it, near enough
// that nobody sees it. Their tMin can be 0.

#include "core/znRTVector3fPacket.h"

/// Distance to leave a surface by, a few rounding errors of the hit's coordinates.
/// @param t  distance that the ray to the hit has come
inline znFloatType<2> surfaceOffset(const znRTVector3fPacket& position, const znFloatType<2>& t)
{
    const znFloatType<2> largest =
        maximum(absolute(position.x), maximum(absolute(position.y), absolute(position.z)));
    return maximum(largest, t) * 1e-6f;
}
