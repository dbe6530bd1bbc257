#pragma once

// Where the light at a point comes from, as photons found it: drawing directions by it sends rays
// to where it is bright, whatever the lobes of the surface would choose.

#include "brdf/znRTONB.h"
#include "core/znRTVector2fPacket.h"

class znRTDirectionalImportance
{
public:
    virtual ~znRTDirectionalImportance() = default;

    /// Replaces directions by draws from the distribution.
    /// @param u      uniform numbers in [0, 1)
    /// @param frame  of the surface
    /// @param wi     in: away from the surface, in the frame; out: toward the light, in the frame
    /// @return density of wi per steradian; 0 in lanes without a direction
    virtual znFloatType<2> importanceSample(const znRTVector2fPacket& u, const znRTONB& frame,
                                            const znFloatType<2>& mask,
                                            znRTVector3fPacket& wi) const = 0;
};
