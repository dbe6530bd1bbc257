#pragma once

// A developer's view of how the scene is cut up: each object has a hue of its own, each of its
// triangles a brightness. The pixel that is being looked at (znRTRayPacket::isDebugPixel) is white.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTDebugIntegrator
{
public:
    /// See znRTDistributedIntegrator.
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTDebugIntegrator<znRTFragment>;
extern template class znRTDebugIntegrator<znRTMultilayerFragment>;
