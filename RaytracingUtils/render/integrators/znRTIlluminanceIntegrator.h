#pragma once

// Illuminance of the surfaces in lux: a measuring material stands in for all materials but those of
// environments.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTIlluminanceIntegrator
{
public:
    /// See znRTDistributedIntegrator.
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTIlluminanceIntegrator<znRTFragment>;
extern template class znRTIlluminanceIntegrator<znRTMultilayerFragment>;
