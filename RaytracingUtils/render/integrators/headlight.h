#pragma once

// Light from the eye, which gives shape to displays without lights.

#include "core/znRTRayPacket.h"

/// Brightness of a surface under a light at the eye, from edgeBrightness where it is seen edge-on
/// to 1.
/// @param normal  unit, on the viewer's side
inline znFloatType<2> headlight(const znRTRayPacket& ray, const znRTVector3fPacket& normal)
{
    constexpr float edgeBrightness = 0.25f;
    return mix(edgeBrightness, 1.0f, clamp01(-dot(ray.direction, normal)));
}
