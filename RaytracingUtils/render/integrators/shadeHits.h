#pragma once

// Shading of primary hits by their materials.

#include "material/znRTMaterial.h"
#include "render/integrators/primaryHits.h"
#include "render/integrators/roundedEdges.h"

/// Shades the hits, material by material in the order of the block; the masks are disjoint. Each
/// material starts with the same random state, so that a lane's numbers do not depend on what the
/// other lanes have hit.
/// @param shade  shade(material, mask, state)
template <class Shade>
void forEachMaterial(const znRTDataBlockPacket& block, const znRTPrimaryHits& hits, Shade&& shade)
{
    for (u32 i = 0; i < block.materialCount; ++i) {
        znRTShadingState state = hits.state;
        shade(*block.materials[i], block.materialLanes[i] & hits.live, state);
    }
}

/// Rounded edges, data layers, and the light of the materials towards the viewer.
template <class G>
void shadeHits(G& fragment, const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
               const znRTPrimaryHits& hits)
{
    roundEdges(ray, block, hits.live, hits.state);
    fragment.updateVectorPasses(ray, block, block.coverage, hits.live);
    forEachMaterial(
        block, hits,
        [&](const znRTMaterial& material, const znFloatType<2>& mask, znRTShadingState& state) {
            material.shade(ray, block, fragment, mask, state);
        });
}
