#pragma once

// Light that does not come from the lights of the scene: environment, other surfaces, light baked
// into vertices, photons. Results are without the colours of the lobes and 0 outside the mask.
//
// Who may add what, so that nothing counts twice:
// - the environment is sampled at each shaded point, once: by itself, or half of it by the rays
//   that the point sends to other surfaces, whose light where they miss all is the environment's
//   term; rays of other points add none of it;
// - lights that were taken out of an environment are added here, never by evaluateDirectLighting;
// - light baked into the environment's place is not also added as indirect light.

#include "brdf/znRTLobeSet.h"

class znRTDataBlockPacket;
class znRTMaterial;
struct znRTGatherPlan;
class znRTRayDifferentialPacket;
class znRTShadingState;

/// What all estimators of light at a hit need.
struct znRTLitHit
{
    const znRTRayDifferentialPacket& ray;
    const znRTDataBlockPacket& data;
    const znRTDifferentialGeometry& dg;
    const znRTLobeSet& lobes;
    const znRTVector3fPacket& wo; ///< unit, world space, toward the viewer
    znFloatType<2> mask;
    const znRTMaterial& material;
    znRTShadingState& state;
};

/// The environment, sampled or looked up in filtered images, and baked colours in its place.
/// @param occlusion  what reaches the point of an environment that is looked up, 1 all
/// @param plan       of the rays that bring what this leaves to them
void evaluateEnvironmentIllumination(const znRTLitHit& hit, const znRTColorPacket& occlusion,
                                     const znRTGatherPlan& plan, znRTColorPacket& diffuse,
                                     znRTColorPacket& glossy);
/// Lights that stand for the brightest parts of an environment; added to what is there.
void evaluateEnvironmentLights(const znRTLitHit& hit, znRTColorPacket& diffuse,
                               znRTColorPacket& glossy);
/// Share of white surroundings that is not hidden from the side of the normals, 1 open; what
/// transparent surfaces let through counts. Rays reach as far as the range of ambient occlusion.
/// @param quality  rays per point; below 4 one
/// @return alpha 1; 0 in lanes off the mask
znRTColorPacket evaluateOcclusion(const znRTRayDifferentialPacket& ray,
                                  const znRTDataBlockPacket& data,
                                  const znRTDifferentialGeometry& dg, int quality,
                                  const znFloatType<2>& mask, const znRTShadingState& state);
/// The same at a hit, with the quality of the environment.
znRTColorPacket evaluateOcclusion(const znRTLitHit& hit);
/// Light that measured rays bring directly, added to an emission.
void evaluateRayLightPhotons(const znRTDataBlockPacket& data, const znFloatType<2>& mask,
                             znRTColorPacket& color);
