#include "texture/znRTBumpTexture.h"

#include "texture/filteredLookup.h"
#include "texture/tangentSpace.h"

const znRTTypeId znRTBumpTexture::id("znRTBumpTexture");

znRTBumpTexture::znRTBumpTexture(const znRTTextureSampler& newSampler,
                                 const znRTTextureAttributes* newAttributes, Kind newKind,
                                 float newAmplitude, bool isDownward)
    : znRTTexturedSurface(id, newSampler, newAttributes), kind(newKind), amplitude(newAmplitude),
      up(isDownward ? -1.0f : 1.0f)
{
}

znRTVector3fPacket znRTBumpTexture::getNormalAt(const znRTDifferentialGeometry& dg,
                                                const znFloatType<2>& mask) const
{
    if (amplitude == 0.0f)
        return dg.shadingNormal;
    const znRTVector3fPacket bent =
        kind == normalMap ? normalOfMap(dg, mask) : normalOfHeights(dg, mask);
    return select(mask, bent, dg.shadingNormal);
}

znRTVector3fPacket znRTBumpTexture::normalOfMap(const znRTDifferentialGeometry& dg,
                                                const znFloatType<2>& mask) const
{
    const znRTColorPacket texel =
        znRTTextureFunctions::texture2D(sampler, dg.uv, {dg.dUVdx, dg.dUVdy}, mask);
    // Bytes have no value for a slope of 0: half a step off the middle counts as none.
    const auto slope = [](const znFloatType<2>& x) {
        const znFloatType<2> s = x + x - 1.0f;
        return (absolute(s) > znFloatType<2>(1.01f / 255.0f)) & s;
    };
    return tangentToWorld(
        {slope(texel.r) * amplitude, slope(texel.g) * (amplitude * up), texel.b + texel.b - 1.0f},
        dg);
}

znRTVector2fPacket znRTBumpTexture::slopeOfHeights(const znRTDifferentialGeometry& dg,
                                                   const znFloatType<2>& mask) const
{
    znRTVector2fPacket uv = dg.uv;
    znTextureFootprint footprint{dg.dUVdx, dg.dUVdy};
    znRTTextureFunctions::applyTexCoordTransform(sampler, uv, footprint);
    znMipLevels levels;
    if (znRTTextureFunctions::s_useHighQualityTextureFiltering && sampler.maxAnisotropy > 1.0f)
        znRTTextureFunctions::calculateEWAMipMapLevel(sampler, footprint, levels);
    else
        levels = znRTTextureFunctions::calculateMipMapLevel(sampler, footprint);

    znFloatType<2> valid = znFloatType<2>::allLanes();
    const znTexelQuad quad = filteredLookup::quadAt(sampler, znSamplerWraps(sampler.wrapMode), uv,
                                                    levels.level, 0, valid);
    znTexelCorners h;
    fetchCorners(sampler, quad, mask & valid, h);
    const filteredLookup::LevelSize size = filteredLookup::sizeOf(sampler, levels.level);
    const znFloatType<2> alongS =
        mix(h.corner[1].r - h.corner[0].r, h.corner[3].r - h.corner[2].r, quad.up) *
        toFloat(size.width);
    const znFloatType<2> alongT =
        mix(h.corner[2].r - h.corner[0].r, h.corner[3].r - h.corner[1].r, quad.across) *
        toFloat(size.height);
    if (!sampler.hasTransform)
        return {alongS, alongT};
    const znFloatType<2> s = alongS * sampler.repeatU, t = alongT * sampler.repeatV;
    return {s * sampler.cosRotation + t * sampler.sinRotation,
            t * sampler.cosRotation - s * sampler.sinRotation};
}

znRTVector3fPacket znRTBumpTexture::normalOfHeights(const znRTDifferentialGeometry& dg,
                                                    const znFloatType<2>& mask) const
{
    const znRTVector2fPacket slope = slopeOfHeights(dg, mask) * znFloatType<2>(amplitude);
    const znRTVector3fPacket& n = dg.shadingNormal;
    // Heights go out on the side of the stored normal; coordinates may lie mirrored.
    const znFloatType<2> area = dot(cross(dg.dPdu, dg.dPdv), n), sign(-0.0f);
    const znFloatType<2> turn = (area & sign) ^ andNot(dg.frontFacing, sign);
    const znRTVector3fPacket tilt = cross(n, dg.dPdv) * slope.x + cross(dg.dPdu, n) * slope.y;
    const znRTVector3fPacket bent = n * absolute(area) + (tilt ^ turn);
    const znFloatType<2> squareLength = bent.getSquareLength();
    const znFloatType<2> exists =
        (area != znFloatType<2>(0.0f)) & (squareLength > znFloatType<2>(1e-30f));
    return select(exists, bent * reciprocalSquareRoot(squareLength), n);
}
