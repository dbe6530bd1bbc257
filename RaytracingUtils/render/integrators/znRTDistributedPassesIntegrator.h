#pragma once

// One layer of a frame in place of the beauty. The number of the layer is part of the type, so that
// a task knows its layer; the work is done by one body for all of them.

#include "core/znRTColorPacket.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "host/znRenderPasses.h"

class znRTCamera;
class znRTFragment;

/// Shades as the distributed integrator does, with layers, and shows one of them.
/// @param pass  of znRenderPass
void integratePass(u32 pass, znRTFragment& fragment, const znRTCamera& camera,
                   znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block, u32 sampleOffset);

/// @tparam G  fragment to write into
/// @tparam N  layer; those of id mattes, which are read from the view's store, have none
template <class G, u32 N>
class znRTDistributedPassesIntegrator
{
public:
    static_assert(N < znRenderPassCount && !isCryptomattePass(N));
    /// Other layers hold nothing where nothing is hit.
    static constexpr bool showsPicture = N == ZN_PASS_BEAUTY;

    /// See znRTDistributedIntegrator.
    void integrate(G& fragment, const znRTCamera* camera, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32 sampleOffset)
    {
        integratePass(N, fragment, *camera, ray, block, sampleOffset);
    }
};
