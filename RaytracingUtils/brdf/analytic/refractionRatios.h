#pragma once

// Ratios of refraction indices at a surface, both ways through it and by colour channel.

#include "brdf/znRTBxDFAttributes.h"
#include "core/znFloatType.h"

struct znRTRefractionRatios
{
    static constexpr std::size_t s_minBands = 40;

    /// Ratio for rays that come from outside, and its reciprocal: outside over inside first.
    float etaEnter[3] = {1.0f, 1.0f, 1.0f};
    float etaExit[3] = {1.0f, 1.0f, 1.0f};
    bool dispersive = false; ///< the channels differ

    /// Channels differ where both spectra have all bands; otherwise the plain indices count.
    void set(const znRTRefractionIndices& indices);

    /// Index on the ray's side over that of the other, per lane.
    /// @param frontFacing  mask: the ray comes from outside
    /// @param channel      0 to 2
    znFloatType<2> get(const znFloatType<2>& frontFacing, int channel) const
    {
        return select(frontFacing, znFloatType<2>(etaEnter[channel]),
                      znFloatType<2>(etaExit[channel]));
    }
};
