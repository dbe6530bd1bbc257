#pragma once

// Rays that look for other surfaces and find out at once what of the environment reaches the point
// that they start at. Objects may be hidden from the one kind of rays or from the other, and shadow
// rays pass transparent surfaces: where the two kinds differ, both are traced.

#include "material/surroundingLight.h"

class znRTInfiniteAreaLight;

/// Traces rays from a hit into the scene.
/// @param rays   not a bit of them is changed afterwards
/// @param mask   lanes with a ray
/// @param block  as new; out: the surfaces that the rays meet
/// @return share of the environment's light that comes along the rays, alpha 0; 0 outside mask
znRTColorPacket meetSurfaces(const znRTLitHit& hit, const znRTInfiniteAreaLight& sky,
                             znRTRayDifferentialPacket& rays, const znFloatType<2>& mask,
                             znRTDataBlockPacket& block);
/// Radiance of an environment, and the density with which directions are drawn by its light.
/// @param pdf  out: 0 for an environment that no directions are drawn from
znRTColorPacket radianceWithPdf(const znRTInfiniteAreaLight& sky,
                                const znRTVector3fPacket& position,
                                const znRTVector3fPacket& direction, const znFloatType<2>& mask,
                                znFloatType<2>& pdf);
