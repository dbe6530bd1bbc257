#pragma once

// Reads of a volume of texels with linear interpolation along all three axes, texel centres at
// (i + 0.5) / n and the outermost texels beyond.

#include "core/znRTColorPacket.h"
#include "core/znRTVector3fPacket.h"
#include "host/znRTTextureSampler.h"

/// @param p  place in [0, 1]^3, x along rows; held inside
/// @return zero outside lanes and for an empty volume
znRTColorPacket readTable(const znRTSampler3D& table, const znRTVector3fPacket& p,
                          znFloatType<2> lanes);
