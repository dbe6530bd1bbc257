#pragma once

// A line drawing of where neighbouring pixels see different things: silhouettes and steps in depth
// black, borders between objects red, borders between materials green, creases blue.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTDiscontinuityRenderingIntegrator
{
public:
    /// See znRTDistributedIntegrator.
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTDiscontinuityRenderingIntegrator<znRTFragment>;
extern template class znRTDiscontinuityRenderingIntegrator<znRTMultilayerFragment>;
