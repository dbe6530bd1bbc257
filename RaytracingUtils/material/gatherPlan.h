#pragma once

// Which rays a hit will send out to other surfaces. Known before any light is sampled, since these
// rays also find out where the environment is open: a direction that meets no surface brings what
// shines there. The other way to the environment, directions drawn by its light, is weighted
// against them (E. Veach, L. Guibas, "Optimally Combining Sampling Techniques for Monte Carlo
// Rendering", SIGGRAPH 1995, the balance heuristic over all samples of both).

#include "material/surroundingLight.h"

class znRTInfiniteAreaLight;

struct znRTGatherPlan : znAlignedBase16
{
    bool isEmpty() const { return samples == 0; }
    /// Directions drawn by the environment's light per point, where the rays see it.
    int skySamples() const;

    /// Rays per kind of lobes. 0 none are sent.
    int samples = 0;
    /// One ray in all, for one of the kinds.
    bool choosesKind = false;
    /// Rays per lane, or the chance of the one ray; 0 in lanes that a kind brings nothing to.
    znFloatType<2> diffuse{0.0f}, glossy{0.0f};
    /// Environment that the rays bring light of; null where it is sampled apart from them.
    const znRTInfiniteAreaLight* sky = nullptr;
};

/// @param diffuseColor, glossyColor  of the lobes times the surface's opacity
znRTGatherPlan planGather(const znRTLitHit& hit, const znRTColorPacket& diffuseColor,
                          const znRTColorPacket& glossyColor);
