#include "texture/structures/parallaxTextures.h"

#include <algorithm>

template <>
const znRTTypeId znRTParallaxMappingTexture::id("znRTParallaxMappingTexture");
template <>
const znRTTypeId znRTParallaxOcclusionTexture::id("znRTParallaxOcclusionTexture");
template <>
const znRTTypeId znRTTriplanarParallaxMappingTexture::id("znRTTriplanarParallaxMappingTexture");
template <>
const znRTTypeId znRTTriplanarParallaxOcclusionTexture::id("znRTTriplanarParallaxOcclusionTexture");

namespace {

/// Steps of a ray along the normal; flatter rays take more.
constexpr float fewestSteps = 8.0f;

} // namespace

znRTVector2fPacket znRTBumpTexture::stepDown(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                             const znFloatType<2>& mask) const
{
    return uv + ray.reach * depthAt(uv, ray, mask);
}

znRTVector2fPacket znRTBumpTexture::marchDown(const znRTVector2fPacket& uv,
                                              const znParallaxRay& ray, int mostSteps,
                                              const znFloatType<2>& mask) const
{
    const float most = float(std::max(1, mostSteps));
    const znFloatType<2> zero(0.0f), one(1.0f);
    const znFloatType<2> count =
        floor(clamp(znFloatType<2>(fewestSteps) / ray.cosTheta, std::min(fewestSteps, most), most));
    const znFloatType<2> step = one / count;

    // Shares of the full depth: of the ray, and of the heights below it.
    znFloatType<2> before = zero, clearanceBefore = depthAt(uv, ray, mask), found = zero;
    znFloatType<2> marching = mask & (clearanceBefore > zero);
    while (anyLane(marching)) {
        const znFloatType<2> now = minimum(before + step, one);
        const znFloatType<2> clearance = depthAt(uv + ray.reach * now, ray, marching) - now;
        const znFloatType<2> below = marching & ((clearance <= zero) | (now >= one));
        const znFloatType<2> share =
            clamp01(clearanceBefore * reciprocalOrZero(clearanceBefore - clearance));
        found = select(below, before + (now - before) * share, found);
        marching = andNot(below, marching);
        before = select(marching, now, before);
        clearanceBefore = select(marching, clearance, clearanceBefore);
    }
    return uv + ray.reach * found;
}
