#pragma once

// Shows the normals of what is hit: the hue is the shading normal in view space (x, y, z from -1..1
// to red, green, blue 0..1), the brightness that of a light at the eye. Materials are not asked.
// Frames with layers get the layers of geometry besides.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTNormalRenderingIntegrator
{
public:
    /// See znRTDistributedIntegrator.
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTNormalRenderingIntegrator<znRTFragment>;
extern template class znRTNormalRenderingIntegrator<znRTMultilayerFragment>;
