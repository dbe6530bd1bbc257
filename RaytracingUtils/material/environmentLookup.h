#pragma once

// Environments looked up instead of sampled: one read per lobe from images that were filtered by
// power lobes. Nothing casts a shadow but what the caller says.

#include "material/surroundingLight.h"

class znRTInfiniteAreaLight;

/// Light of an environment on the lobes of a hit.
/// @param occlusion        what reaches the point, 1 all
/// @param diffuse, glossy  out: without the colours of the lobes, alpha 0; 0 outside the mask
/// @param lost             out: share of the diffuse light that the glossy reflection takes: what a
///                         lobe's own Fresnel term reflects, else as much of it as the record says
void lookUpEnvironment(const znRTLitHit& hit, const znRTInfiniteAreaLight& light,
                       const znRTColorPacket& occlusion, znRTColorPacket& diffuse,
                       znRTColorPacket& glossy, znFloatType<2>& lost);
