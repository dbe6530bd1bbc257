#pragma once

// The luminance of the picture as a false colour, from blue (0) over green to red (8000 cd/m2 and
// above).

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTLightAnalyzingIntegrator
{
public:
    /// See znRTDistributedIntegrator.
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTLightAnalyzingIntegrator<znRTFragment>;
extern template class znRTLightAnalyzingIntegrator<znRTMultilayerFragment>;
