#pragma once

// Light of the scene's lights on a surface. Every light counts once: it is sampled here, and rays
// that look for other surfaces do not see it (rayTypes.h, seesEmission). Area lights are sampled by
// points on them and by directions of glossy lobes, with balance weights (metLamps.h).
//
// Each light sample brings, per lobe,  colour * intensity * value * cosine / density,  times what
// the way to the light lets through. Colour is the light's diffuse one for diffuse lobes and its
// glossy one for glossy lobes. The colours of the lobes are left out: results are multiplied with
// them by who writes the result.

#include "brdf/znRTLobeSet.h"
#include "core/znDynArray.h"

class znRTDataBlockPacket;
class znRTLight;
class znRTMaterial;
class znRTRayDifferentialPacket;
class znRTShadingState;

/// All lights of a list.
/// @param diffuse, glossy  as evaluateDirectLighting has them
void evaluateLights(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                    const znRTDifferentialGeometry& dg, const znRTLobeSet& lobes,
                    const znRTVector3fPacket& wo, const znFloatType<2>& mask,
                    const znRTShadingState& state, const znDynArray<znRTLight*>& lights,
                    znRTColorPacket& diffuse, znRTColorPacket& glossy);
/// Adds up all lights of the scene, or in scenes of many lights a few that are drawn by their
/// power.
/// @param dg       position and normals of the hits, on the side that is lit
/// @param wo       unit, world space, toward the viewer
/// @param diffuse  output: light on the diffuse lobes, and on transmitting ones; 0 outside mask
/// @param glossy   output: light on the glossy lobes
void evaluateDirectLighting(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                            const znRTDifferentialGeometry& dg, const znRTLobeSet& lobes,
                            const znRTVector3fPacket& wo, const znFloatType<2>& mask,
                            const znRTMaterial& material, const znRTShadingState& state,
                            znRTColorPacket& diffuse, znRTColorPacket& glossy);
