#pragma once

// Ambient occlusion: the share of the hemisphere over a surface, weighted by the cosine, in which
// nothing lies within the range of occlusion (znRTRenderUtils::setRange). White is open. Surfaces
// whose material lets light through dim what is behind them by what they keep.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTAORenderingIntegrator
{
public:
    /// See znRTDistributedIntegrator.
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTAORenderingIntegrator<znRTFragment>;
extern template class znRTAORenderingIntegrator<znRTMultilayerFragment>;
