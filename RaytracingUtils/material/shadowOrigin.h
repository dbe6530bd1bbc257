#pragma once

// Where rays start that leave a hit.

#include "core/surfaceOffset.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTDifferentialGeometry.h"

/// Off the surface on the side that the light is on: a light below the real surface, seen by an
/// interpolated normal, meets the body of the object.
/// @param wi  towards the light
inline znRTVector3fPacket shadowOrigin(const znRTDataBlockPacket& data,
                                       const znRTDifferentialGeometry& dg,
                                       const znRTVector3fPacket& wi)
{
    const znFloatType<2> offset = surfaceOffset(dg.position, data.hit.t);
    // Directions in the plane of the surface, but for rounding, belong to the viewer's side.
    constexpr float leastSine = 1e-6f;
    const znFloatType<2> isBelow = dot(wi, dg.geometricNormal) < znFloatType<2>(-leastSine);
    return dg.position + dg.geometricNormal * select(isBelow, -offset, offset);
}
