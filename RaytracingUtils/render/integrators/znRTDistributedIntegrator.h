#pragma once

// The picture itself: materials shade what the camera rays hit; fog, selection and lens flares come
// on top. Transparency and background are matters of the fragment.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;

/// @tparam G  fragment to write into
template <class G>
class znRTDistributedIntegrator
{
public:
    /// @param fragment  holds the background; lanes without a surface keep it
    /// @param block     holds the hit
    /// @param sampleOffset  number of this sample among those of the pixel
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset);
};

extern template class znRTDistributedIntegrator<znRTFragment>;
extern template class znRTDistributedIntegrator<znRTMultilayerFragment>;
