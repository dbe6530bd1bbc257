#pragma once

// Shows the normals of what is hit: the hue is the shading normal in view space (x, y, z from -1..1
// to red, green, blue 0..1), the brightness that of a light at the eye. Materials are not asked.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTNormalRenderingIntegrator
{
public:
    /// @param fragment  holds the background; lanes without a surface keep it
    /// @param block     holds the hit
    /// @param sampleOffset  number of this sample among those of the pixel
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTNormalRenderingIntegrator<znRTFragment>;
