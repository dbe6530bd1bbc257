#include "material/pathContinuation.h"

#include "host/znRTRaytracingSettings.h"

znFloatType<2> survivalOf(const znRTColorPacket& before, const znRTColorPacket& after)
{
    using Settings = znRTRaytracingSettings;
    const float least = Settings::s_qualityMode == Settings::stillFrame ? 0.125f : 0.5f;
    const znFloatType<2> carries = after.getMax() > znFloatType<2>(0.0f);
    const znFloatType<2> share = luminance(after) * reciprocalOrZero(luminance(before));
    return clamp(share, least, 1.0f) & carries;
}
