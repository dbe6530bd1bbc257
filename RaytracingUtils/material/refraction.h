#pragma once

// Rays through surfaces: directions that stay on the far side, and how neighbouring rays go on.

#include "brdf/analytic/refractionRatios.h"
#include "material/surroundingLight.h"

class znRTRayDifferentialPacket;
struct znRTONB;

/// Directions, one per lane.
struct znRTRefraction
{
    znRTVector3fPacket direction; ///< unit, world space
    znFloatType<2> mask;          ///< lanes without total reflection; undefined in the others
};

/// Refracts the rays by Snell's law. Where an interpolated normal would send a ray back out of the
/// surface, the surface itself refracts it.
/// @param eta  index on the ray's side over that of the other, per lane
znRTRefraction refractBelowSurface(const znRTLitHit& hit, const znRTONB& onb,
                                   const znFloatType<2>& eta);

/// Neighbouring rays after a refraction (H. Igehy, "Tracing Ray Differentials", SIGGRAPH 1999, eq.
/// 17 to 19). Without derivatives of the normal the surface counts as flat.
/// @param normal  unit, on the viewer's side
/// @param rays    refracted; without differentials where the hit has no footprint
void refractDifferentials(const znRTLitHit& hit, const znRTVector3fPacket& normal,
                          const znFloatType<2>& eta, znRTRayDifferentialPacket& rays);
