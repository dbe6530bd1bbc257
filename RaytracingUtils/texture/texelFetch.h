#pragma once

// Texels of four lanes. Each lane may read a level and a layer of its own; lanes outside the mask
// read nothing, so that their places may be anything.

#include "core/znIntType.h"
#include "core/znRTColorPacket.h"
#include "host/znRTTextureSampler.h"

/// Four neighbouring texels per lane and the weights between them.
struct znTexelQuad
{
    znIntType<2> left, right; ///< columns
    znIntType<2> low, high;   ///< rows
    znFloatType<2> across{0.0f}, up{0.0f};
    znIntType<2> level{0}, layer{0};
};

/// The four corners before they are mixed, in the order (left, low), (right, low), (left, high),
/// (right, high).
struct znTexelCorners
{
    znRTColorPacket corner[4];
    znFloatType<2> across, up;
};

/// The texel (left, low). 0 in lanes off the mask; for an unsupported type in all lanes.
znRTColorPacket fetchTexel(const znRTTextureSampler& sampler, const znTexelQuad& quad,
                           const znFloatType<2>& mask);
/// Mixed along s, then along t.
znRTColorPacket fetchBilinear(const znRTTextureSampler& sampler, const znTexelQuad& quad,
                              const znFloatType<2>& mask);
void fetchCorners(const znRTTextureSampler& sampler, const znTexelQuad& quad,
                  const znFloatType<2>& mask, znTexelCorners& corners);
