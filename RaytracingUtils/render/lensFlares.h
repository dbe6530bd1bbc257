#pragma once

// Lens flares over the finished colour of a packet.

#include "core/znRTColorPacket.h"
#include "core/znRTRayPacket.h"
#include "host/znRTRaytracingSettings.h"
#include "render/znRTRenderUtils.h"

/// Whether the frame shows flares at all.
inline bool showsLensFlares()
{
    return znRTRaytracingSettings::s_lensFlareEnabled && znRTRenderUtils::getLensFlares().size > 0;
}

/// Light of all flares at the pixels of a packet; alpha is how much they cover.
znRTColorPacket evaluateLensFlares(const znRTRayPacket& ray);

/// Adds the flares; alpha stays at most 1.
void addLensFlares(const znRTRayPacket& ray, znRTColorPacket& color);
