#include "texture/procedural/noiseTextures.h"

const znRTTypeId znRTSimplex2DV2Texture::id("znRTSimplex2DV2Texture");
const znRTTypeId znRTSimplex3DV2Texture::id("znRTSimplex3DV2Texture");
const znRTTypeId znRTNoise2DTexture::id("znRTNoise2DTexture");

namespace {

znRTColorPacket greyOf(const znFloatType<2>& value, const znFloatType<2>& mask)
{
    return znRTColorPacket(value, value, value, 1.0f) & mask;
}

} // namespace

znRTColorPacket znRTSimplex2DV2Texture::evaluate(const znRTVector2fPacket& uv,
                                                 const znRTVector2fPacket&,
                                                 const znRTVector2fPacket&,
                                                 const znFloatType<2>& mask) const
{
    return greyOf(simplexNoise(uv).value, mask);
}

znRTColorPacket znRTSimplex3DV2Texture::evaluate(const znRTVector3fPacket& p,
                                                 const znFloatType<2>& mask) const
{
    return greyOf(simplexNoise(p).value, mask);
}

znNoiseOctaves znRTNoise2DTexture::getOctaves(const znRTVector2fPacket& dUVdx,
                                              const znRTVector2fPacket& dUVdy) const
{
    const znFloatType<2> widest = maximum(maximum(absolute(dUVdx.x), absolute(dUVdx.y)),
                                          maximum(absolute(dUVdy.x), absolute(dUVdy.y)));
    return {maxOctaves, widest * (0.5f * scale)};
}

znNoise2D znRTNoise2DTexture::getNoise(const znRTVector2fPacket& uv,
                                       const znNoiseOctaves& octaves) const
{
    const auto noise = [](const znRTVector2fPacket& p) { return simplexNoise(p); };
    znNoise2D sum = addOctaves(noise, uv * znFloatType<2>(scale), octaves);
    sum.slope *= znFloatType<2>(scale);
    return sum;
}

znRTColorPacket znRTNoise2DTexture::evaluate(const znRTVector2fPacket& uv,
                                             const znRTVector2fPacket& dUVdx,
                                             const znRTVector2fPacket& dUVdy,
                                             const znFloatType<2>& mask) const
{
    const znNoiseOctaves octaves = getOctaves(dUVdx, dUVdy);
    if (!anyLane(mask & (octaves.left > znFloatType<2>(0.0f))))
        return greyOf(0.0f, mask);
    return greyOf(getNoise(uv, octaves).value, mask);
}
