#pragma once

// Light that reaches a hit from other surfaces. Results are without the colours of the lobes and 0
// outside the mask.

#include "material/surroundingLight.h"

/// Light from other surfaces: gathered by rays, or baked into the vertices.
/// @param diffuseColor, glossyColor  of the lobes times the surface's opacity, to drop lanes by
/// @param ambient                    tint of baked light
void evaluateIndirect(const znRTLitHit& hit, const znRTColorPacket& diffuseColor,
                      const znRTColorPacket& glossyColor, const znRTColorPacket& ambient,
                      znRTColorPacket& diffuse, znRTColorPacket& glossy);
