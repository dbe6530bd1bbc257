#include "texture/znRTBumpTexture.h"

#include "texture/filteredLookup.h"
#include "texture/infiniteTiling.h"
#include "texture/tangentSpace.h"

const znRTTypeId znRTBumpTexture::id("znRTBumpTexture");

znRTBumpTexture::znRTBumpTexture(const znRTTextureSampler& newSampler,
                                 const znRTTextureAttributes* newAttributes, Kind newKind,
                                 float newAmplitude, bool isDownward)
    : znRTBumpTexture(id, newSampler, newAttributes, newKind, newAmplitude, isDownward, 0.0f)
{
}

znRTBumpTexture::znRTBumpTexture(const znRTTypeId& typeId, const znRTTextureSampler& newSampler,
                                 const znRTTextureAttributes* newAttributes, Kind newKind,
                                 float newAmplitude, bool isDownward, float depth)
    : znRTTexturedSurface(typeId, newSampler, newAttributes, depth), kind(newKind),
      amplitude(newAmplitude), up(isDownward ? -1.0f : 1.0f)
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
    const znTextureFootprint footprint{dg.dUVdx, dg.dUVdy};
    const znRTColorPacket texel =
        infiniteTiling::isWanted(sampler, attributes)
            ? znRTTextureFunctions::texture2DInfiniteTiling(sampler, dg.uv, footprint, mask)
            : znRTTextureFunctions::texture2D(sampler, dg.uv, footprint, mask);
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
    const znMipLevels levels = levelsOf(footprint);
    const auto slopeAt = [&](const znRTVector2fPacket& place, const znFloatType<2>& lanes) {
        return slopeBetweenLevels(place, levels, lanes);
    };
    const znRTVector2fPacket along =
        infiniteTiling::isWanted(sampler, attributes)
            ? infiniteTiling::blended(uv, mask, znRTVector2fPacket(0.0f, 0.0f), slopeAt)
            : slopeAt(uv, mask);
    if (!sampler.hasTransform)
        return along;
    const znFloatType<2> s = along.x * sampler.repeatU, t = along.y * sampler.repeatV;
    return {s * sampler.cosRotation + t * sampler.sinRotation,
            t * sampler.cosRotation - s * sampler.sinRotation};
}

znRTVector2fPacket znRTBumpTexture::slopeBetweenLevels(const znRTVector2fPacket& uv,
                                                       const znMipLevels& levels,
                                                       const znFloatType<2>& mask) const
{
    const znRTVector2fPacket along = slopeInLevel(uv, levels.level, mask);
    const znFloatType<2> mixed =
        mask & (levels.weight > znFloatType<2>(0.0f)) & asFloat(levels.next != levels.level);
    if (!anyLane(mixed))
        return along;
    const znRTVector2fPacket coarser = slopeInLevel(uv, levels.next, mixed);
    return along + (coarser - along) * (levels.weight & mixed);
}

znRTVector2fPacket znRTBumpTexture::slopeInLevel(const znRTVector2fPacket& uv,
                                                 const znIntType<2>& level,
                                                 const znFloatType<2>& mask) const
{
    znFloatType<2> valid = znFloatType<2>::allLanes();
    const znTexelQuad quad =
        filteredLookup::quadAt(sampler, znSamplerWraps(sampler.wrapMode), uv, level, 0, valid);
    znTexelCorners h;
    fetchCorners(sampler, quad, mask & valid, h);
    const filteredLookup::LevelSize size = filteredLookup::sizeOf(sampler, level);
    return {mix(h.corner[1].r - h.corner[0].r, h.corner[3].r - h.corner[2].r, quad.up) *
                toFloat(size.width),
            mix(h.corner[2].r - h.corner[0].r, h.corner[3].r - h.corner[1].r, quad.across) *
                toFloat(size.height)};
}

znFloatType<2> znRTBumpTexture::depthAt(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                        const znFloatType<2>& mask) const
{
    const int channel = kind == heights ? 0 : 3;
    const znFloatType<2> height = clamp01(heightAt(uv, ray.level, channel, mask));
    return select(ray.frontFacing, znFloatType<2>(1.0f) - height, height);
}

znRTVector3fPacket znRTBumpTexture::normalOfHeights(const znRTDifferentialGeometry& dg,
                                                    const znFloatType<2>& mask) const
{
    return tiltByHeights(slopeOfHeights(dg, mask) * znFloatType<2>(amplitude), dg, false);
}
