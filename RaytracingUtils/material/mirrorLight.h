#pragma once

// What mirrors show: coats, chrome, the reflection on glass. One ray per lane goes into the mirror
// direction and sees everything that a camera sees, light sources too; no light is drawn for a
// mirror elsewhere. Where the ray meets nothing, or may go no deeper, the surroundings are seen.

#include "brdf/znRTLobeSet.h"
#include "material/surroundingLight.h"

/// Mirrors rays about normals, never below the surface: a direction that would point there is
/// lifted along the normal into the surface's plane. Lanes whose normal is hidden from the viewer,
/// or lies behind the surface, mirror about the surface itself.
/// @param d          unit, along the rays
/// @param normal     unit, of shading
/// @param geometric  unit, on the viewer's side
/// @return unit
znRTVector3fPacket mirrorAboveSurface(const znRTVector3fPacket& d, const znRTVector3fPacket& normal,
                                      const znRTVector3fPacket& geometric);

/// The normal that mirrors a ray into a direction: the half vector of the way back and of the
/// direction; the old normal in lanes without one, along a surface.
/// @param d, mirrored  unit, along the rays before and after
znRTVector3fPacket normalOfMirror(const znRTVector3fPacket& d, const znRTVector3fPacket& mirrored,
                                  const znRTVector3fPacket& normal);

/// Neighbouring rays after the mirror (H. Igehy, "Tracing Ray Differentials", SIGGRAPH 1999,
/// eq. 15 to 17). Without derivatives of the normal the mirror counts as flat.
/// @param rays  mirrored; without differentials where the hit has no footprint
void mirrorDifferentials(const znRTLitHit& hit, const znRTVector3fPacket& normal,
                         znRTRayDifferentialPacket& rays);

/// Light from the mirror direction, without the colour of the mirror; alpha 0.
/// @param mirror  the lobe; its colour and frame tell how much of the light can matter
/// @param share   of the lanes that the surface is seen in, 1 opaque
znRTColorPacket evaluateMirror(const znRTLitHit& hit, const znRTLobeSet::Entry& mirror,
                               const znFloatType<2>& share);
