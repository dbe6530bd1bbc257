#include "render/pixelScramble.h"

#include "camera/znRTCamera.h"
#include "core/packetMath.h"
#include "host/znRTRaytracingSettings.h"

namespace {

/// Exact below 2^22: the half keeps the quotient off the whole numbers.
znIntType<2> divide(const znIntType<2>& dividend, int divisor)
{
    return toInt((toFloat(dividend) + 0.5f) / znFloatType<2>(float(divisor)));
}

} // namespace

znIntType<2> pixelScramble(const znIntType<2>& pixelX, const znIntType<2>& pixelY,
                           int supersampling)
{
    if (supersampling < 2)
        return scrambleOf(hashPixel(pixelX, pixelY));
    return scrambleOf(hashPixel(divide(pixelX, supersampling), divide(pixelY, supersampling)));
}

int sampleIndexOf(const znRTCamera& camera, u32 sampleOffset)
{
    using Settings = znRTRaytracingSettings;
    const int s = Settings::s_stillFrameSupersampling;
    int frame = int(camera.iteration >> 2);
    if (s >= 2)
        frame *= s * s;
    const int baseDimension = int(sampleOffset) + Settings::s_raytracingSampleOffset + frame;
    return baseDimension;
}

znRTShadingState primaryState(const znRTCamera& camera, const znRTRayPacket& ray, u32 sampleOffset)
{
    const znIntType<2> seed =
        pixelScramble(ray.pixelX, ray.pixelY, znRTRaytracingSettings::s_stillFrameSupersampling);
    return {seed, znIntType<2>(0), sampleIndexOf(camera, sampleOffset), 0, 0, 0, 0, 0};
}
