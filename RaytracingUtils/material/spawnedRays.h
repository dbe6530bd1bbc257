#pragma once

// Rays that surfaces send into the scene by their lobes, and what they bring back.

#include "core/znRTColorPacket.h"
#include "core/znRTDifferentialGeometry.h"
#include "core/znRTRayPacket.h"
#include "core/znRTShadingState.h"

class znRTDataBlockPacket;

/// Words of rays that hits spawn: each lane keeps to its eye.
/// @param rayClass  of rayTypes.h
/// @param flags     rayType::stochasticBounce, or 0
znIntType<2> spawnedTypes(const znIntType<2>& parent, u32 rayClass, u32 flags);

/// Rays from hits into given directions: off the surface, with the pixel, filterless, and with the
/// weight and the kind of each lane. Without differentials.
/// @param rayClass, flags  see spawnedTypes
/// @param weight    of the paths, those of the parents included
znRTRayDifferentialPacket spawnRays(const znRTRayPacket& parent, const znRTDataBlockPacket& data,
                                    const znRTDifferentialGeometry& dg,
                                    const znRTVector3fPacket& direction,
                                    const znRTColorPacket& weight, u32 rayClass, u32 flags = 0);

/// Lets the materials of hits shade.
/// @param block  with the hits alone
/// @param mask   lanes that have hit something
/// @return as shadeAlong
znRTColorPacket shadeHits(const znRTRayDifferentialPacket& rays, znRTDataBlockPacket& block,
                          const znFloatType<2>& mask, const znRTShadingState& state);
/// Traces rays and lets the materials that they hit shade.
/// @param state   of the rays, one ray deeper than their parents
/// @param missed  out: lanes of mask that hit nothing
/// @param distance  out, if asked for: to the hits; undefined in lanes that hit nothing
/// @return light along the rays, what lies behind transparent surfaces included; alpha is the
///         opacity of what was hit; 0 in other lanes
znRTColorPacket shadeAlong(const znRTRayDifferentialPacket& rays, const znFloatType<2>& mask,
                           const znRTShadingState& state, znFloatType<2>& missed,
                           znFloatType<2>* distance = nullptr);
