#include "texture/znRTTextureFunctions.h"

#include "texture/filteredLookup.h"
#include "texture/infiniteTiling.h"

using Color = znRTColorPacket;
using Mask = znFloatType<2>;

znRTSampler2D znRTTextureFunctions::s_dummyTexture2D;

Color znRTTextureFunctions::texture2DNoTransform(const znRTTextureSampler& sampler,
                                                 const znRTVector2fPacket& uv, const Mask& mask)
{
    return filteredLookup::bilinear(sampler, znSamplerWraps(sampler.wrapMode), uv, 0, 0, mask);
}

Color znRTTextureFunctions::texture2DNoTransform(const znRTTextureSampler& sampler,
                                                 const znRTVector2fPacket& uv,
                                                 const znTextureFootprint& footprint,
                                                 const Mask& mask)
{
    return filteredLookup::trilinear(sampler, znSamplerWraps(sampler.wrapMode), uv, footprint, 0,
                                     mask);
}

Color znRTTextureFunctions::texture2D(const znRTTextureSampler& sampler,
                                      const znRTVector2fPacket& uv, const Mask& mask)
{
    znRTVector2fPacket place = uv;
    applyTexCoordTransform(sampler, place);
    return texture2DNoTransform(sampler, place, mask);
}

Color znRTTextureFunctions::texture2D(const znRTTextureSampler& sampler, const znFloatType<2>& s,
                                      const znFloatType<2>& t, const Mask& mask)
{
    return texture2D(sampler, znRTVector2fPacket(s, t), mask);
}

Color znRTTextureFunctions::texture2D(const znRTTextureSampler& sampler,
                                      const znRTVector2fPacket& uv,
                                      const znTextureFootprint& footprint, const Mask& mask)
{
    znRTVector2fPacket place = uv;
    znTextureFootprint steps = footprint;
    applyTexCoordTransform(sampler, place, steps);
    return texture2DNoTransform(sampler, place, steps, mask);
}

Color znRTTextureFunctions::texture2D(const znRTTextureSampler& sampler, const znFloatType<2>& s,
                                      const znFloatType<2>& t, const znFloatType<2>& dsdx,
                                      const znFloatType<2>& dtdx, const znFloatType<2>& dsdy,
                                      const znFloatType<2>& dtdy, const Mask& mask)
{
    return texture2D(sampler, znRTVector2fPacket(s, t), {{dsdx, dtdx}, {dsdy, dtdy}}, mask);
}

Color znRTTextureFunctions::texture2DInfiniteTiling(const znRTTextureSampler& sampler,
                                                    const znRTVector2fPacket& uv,
                                                    const znTextureFootprint& footprint,
                                                    const Mask& mask)
{
    if (!infiniteTiling::isPossible(sampler))
        return texture2D(sampler, uv, footprint, mask);
    znRTVector2fPacket place = uv;
    znTextureFootprint steps = footprint;
    applyTexCoordTransform(sampler, place, steps);
    return infiniteTiling::blended(place, mask, Color(0.0f),
                                   [&](const znRTVector2fPacket& shifted, const Mask& seen) {
                                       return texture2DNoTransform(sampler, shifted, steps, seen);
                                   });
}

Color znRTTextureFunctions::texture2DNearestNoTransform(const znRTTextureSampler& sampler,
                                                        const znRTVector2fPacket& uv,
                                                        const Mask& mask)
{
    return filteredLookup::nearest(sampler, znSamplerWraps(sampler.wrapMode), uv, 0, 0, mask);
}

Color znRTTextureFunctions::texture2DNearest(const znRTTextureSampler& sampler,
                                             const znRTVector2fPacket& uv, const Mask& mask)
{
    znRTVector2fPacket place = uv;
    applyTexCoordTransform(sampler, place);
    return texture2DNearestNoTransform(sampler, place, mask);
}

Color znRTTextureFunctions::texture2DArray(const znRTTextureSampler& sampler,
                                           const znRTVector2fPacket& uv,
                                           const znIntType<2>& element, const Mask& mask)
{
    return filteredLookup::bilinear(sampler, znSamplerWraps(sampler.wrapMode), uv, 0,
                                    clampTexel(element, sampler.layerCount), mask);
}

Color znRTTextureFunctions::texture3DBilinear(const znRTTextureSampler& sampler,
                                              const znRTVector2fPacket& uv, const znFloatType<2>& w,
                                              const Mask& mask)
{
    const znSamplerWraps wraps(sampler.wrapMode);
    const znFloatType<2> position = clamp01(w) * float(sampler.layerCount - 1);
    const znFloatType<2> lower = floor(position), weight = position - lower;
    const znIntType<2> slice = clampTexel(toInt(lower), sampler.layerCount);
    Color color = filteredLookup::bilinear(sampler, wraps, uv, 0, slice, mask);
    const Mask mixed = mask & (weight > znFloatType<2>(0.0f));
    if (anyLane(mixed))
        color.mixColor(filteredLookup::bilinear(sampler, wraps, uv, 0,
                                                clampTexel(slice + 1, sampler.layerCount), mixed),
                       weight & mixed);
    return color;
}
