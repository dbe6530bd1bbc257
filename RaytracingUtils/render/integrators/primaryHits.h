#pragma once

// The road of a packet that all integrators share: shading data of the hits, the random state of
// the paths, then what an integrator does with them, and what lies on top of its colour.
// Integrators are stateless and hold no loop over bounces: materials trace on by themselves, so an
// integrator is the root of the ray tree.

#include "camera/znRTCamera.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "core/znRTShadingState.h"
#include "render/lensFlares.h"
#include "render/znRTMultilayerFragment.h"

/// A packet whose hits have shading data.
struct znRTPrimaryHits
{
    znFloatType<2> live;    ///< mask: lanes with a surface
    znRTShadingState state; ///< of camera rays: no decision taken yet
};

/// Vertex attributes and computed quantities that an integrator reads by itself, besides those that
/// the materials of the hits ask for.
struct znRTExtraData
{
    u32 attributes = 0, requirements = 0;
};

/// Fills the block from its hits and starts the paths: weight 1, alpha 0.
/// @return false when no lane has a surface; of the block only its coverage counts then
bool beginHits(const znRTCamera& camera, znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
               u32 sampleOffset, const znRTExtraData& extra, znRTPrimaryHits& hits);

/// Lets the atmosphere of the scene work on the colour of the hit lanes, between camera and hit.
void applyAtmosphere(znRTFragment& fragment, const znRTRayPacket& ray,
                     const znRTDataBlockPacket& block);
void applyAtmosphere(znRTMultilayerFragment& fragment, const znRTRayPacket& ray,
                     const znRTDataBlockPacket& block);

/// Last steps on a colour: selection and wireframe, and the colour goes to the fragment.
/// @param lanes  mask: lanes of the fragment that take the colour
void storeColor(znRTFragment& fragment, znRTColorPacket color, const znRTRayDifferentialPacket& ray,
                const znRTDataBlockPacket& block, znRTPrimaryHits& hits,
                const znFloatType<2>& lanes);

/// What display aids do with their colour, which is opaque: data layers, selection, the fragment.
void showColor(znRTFragment& fragment, const znRTColorPacket& color,
               const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& block,
               znRTPrimaryHits& hits);

/// Calls shade(hits) if there is a surface, and does what comes before and after.
/// @param fragment  holds the background; lanes without a surface keep it
template <class G, class Shade>
void integrateHits(G& fragment, const znRTCamera& camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset, const znRTExtraData& extra,
                   Shade&& shade)
{
    znRTPrimaryHits hits;
    if (beginHits(camera, ray, block, sampleOffset, extra, hits))
        shade(hits);
    fragment.coverage = block.coverage;
    if (showsLensFlares()) {
        addLensFlares(ray, fragment.colour);
        fragment.updateFragmentColor(fragment.colour, fragment.colour.a,
                                     znFloatType<2>::allLanes());
    }
}
