#pragma once

// Edges of objects that are modelled sharp and shown rounded: the materials of the hits replace the
// shading normal near an edge, and the new normal is bent until it mirrors no ray into the surface.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "core/znRTShadingState.h"

/// Per lane 1 where the stored normal faces the viewer, -1 where it faces away, 0 without a normal.
znFloatType<2> facingSigns(const znRTDataBlockPacket& block);

/// Takes over normals near edges. On entry facedNormal holds the new unit normals, in the stored
/// orientation; lanes whose view ray lies in the surface keep the normal that they have.
///
/// With n the new normal on the viewer's side, d the ray and m the old shading normal, the mirror
/// direction r = d - 2 (d . n) n may point below the old surface. It is lifted along n onto it, and
/// the half vector of -d and the lifted direction becomes the shading normal.
/// @param signs    of facingSigns, from before the change
/// @param changed  mask: lanes with a new normal
void adoptRoundedNormals(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                         const znFloatType<2>& signs, const znFloatType<2>& changed);

/// Asks the materials of the hits.
/// @param lanes  mask: lanes with a surface
void roundEdges(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                const znFloatType<2>& lanes, const znRTShadingState& state);
