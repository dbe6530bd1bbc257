#pragma once

// Light that reaches the surfaces from other surfaces, before their colours are multiplied in.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTIndirectIllumRenderingIntegrator
{
public:
    /// See znRTDistributedIntegrator.
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTIndirectIllumRenderingIntegrator<znRTFragment>;
extern template class znRTIndirectIllumRenderingIntegrator<znRTMultilayerFragment>;
