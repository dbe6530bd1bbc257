#pragma once

// Light that reaches a hit from other surfaces. Results are without the colours of the lobes and 0
// outside the mask.

#include "material/gatherPlan.h"

struct znRTGatheredLight : znAlignedBase16
{
    znRTColorPacket diffuse{0.0f}, glossy{0.0f}; ///< from other surfaces
    /// From the environment, where the plan has the rays see it.
    znRTColorPacket skyDiffuse{0.0f}, skyGlossy{0.0f};
};

/// Light from other surfaces: gathered by rays, or baked into the vertices.
/// @param diffuseColor, glossyColor  of the lobes times the surface's opacity, to drop lanes by
/// @param ambient                    tint of baked light
znRTGatheredLight evaluateIndirect(const znRTLitHit& hit, const znRTGatherPlan& plan,
                                   const znRTColorPacket& diffuseColor,
                                   const znRTColorPacket& glossyColor,
                                   const znRTColorPacket& ambient);
