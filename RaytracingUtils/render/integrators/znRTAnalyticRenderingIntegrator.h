#pragma once

// Surface analysis: stripes that lights of simple shape would show on a mirror (see stripes.h).
// Without such a light, the quick shading of the materials by their plain colours.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTAnalyticRenderingIntegrator
{
public:
    /// See znRTDistributedIntegrator.
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTAnalyticRenderingIntegrator<znRTFragment>;
extern template class znRTAnalyticRenderingIntegrator<znRTMultilayerFragment>;
