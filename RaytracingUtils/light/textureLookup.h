#pragma once

// Values of emission textures and light profiles.

#include "core/znRTColorPacket.h"
#include "core/znRTVector2fPacket.h"

class znRTTextureSampler;

/// Bilinear, see znRTTextureFunctions: 1 on all channels without data, 0 in lanes off the mask.
znRTColorPacket lookUpTexture(const znRTTextureSampler& sampler, const znRTVector2fPacket& uv,
                              const znFloatType<2>& mask);
