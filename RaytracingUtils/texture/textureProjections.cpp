// From points of space to texture coordinates: planes and cylinders.

#include "core/znRTDifferentialGeometry.h"
#include "core/znRTVectorMath.h"
#include "host/znRTTextureAttributes.h"
#include "texture/znRTTextureFunctions.h"

#include <numbers>

namespace {

using Mask = znFloatType<2>;

/// A projection does not reach further than this along its axis, if it is limited.
constexpr float reach = 0.5f;

/// Lanes that a projection falls on.
Mask insideOf(const znRTTextureSampler& sampler, const znRTDifferentialGeometry& dg,
              const Mask& mask)
{
    Mask inside = mask;
    if (sampler.projectOneSide) {
        const znRTVector3f& n = sampler.projectionNormal;
        const znRTVector3fPacket axis{znFloatType<2>(n.x), znFloatType<2>(n.y),
                                      znFloatType<2>(n.z)};
        inside &= dot(dg.shadingNormal, axis) >= znFloatType<2>(0.0f);
    }
    return inside;
}

void leaveOutside(znTexturePlace& place)
{
    const znFloatType<2> outside(-1.0f);
    place.uv = select(place.inside, place.uv, znRTVector2fPacket(outside, outside));
}

/// Azimuth in turns plus a half, [0, 1], and height.
znRTVector2fPacket onCylinder(const znRTVector3fPacket& p)
{
    constexpr float perTurn = 0.5f * std::numbers::inv_pi_v<float>;
    return {atan2(p.y, p.x) * perTurn + 0.5f, p.z};
}

/// The shorter way round.
znFloatType<2> unwound(const znFloatType<2>& turns)
{
    return turns + floor(znFloatType<2>(0.5f) - turns);
}

} // namespace

znTexturePlace znRTTextureFunctions::computePlanarTextureProjection(
    const znRTTextureSampler& sampler, const znRTDifferentialGeometry& dg, const Mask& mask)
{
    const znMatrix4x4& m = sampler.projection;
    const znRTVector3fPacket p = znRTVectorMath::transformAsLocation(dg.position, m);
    const znRTVector3fPacket dx = znRTVectorMath::transformAsDirection(dg.dPdx, m);
    const znRTVector3fPacket dy = znRTVectorMath::transformAsDirection(dg.dPdy, m);
    znTexturePlace place{{p.x, p.y}, {{dx.x, dx.y}, {dy.x, dy.y}}, insideOf(sampler, dg, mask)};
    if (sampler.limitDepth)
        place.inside &= (p.z >= znFloatType<2>(0.0f)) & (p.z <= znFloatType<2>(reach));
    leaveOutside(place);
    return place;
}

znTexturePlace znRTTextureFunctions::computeCylindricalTextureProjection(
    const znRTTextureSampler& sampler, const znRTDifferentialGeometry& dg, const Mask& mask)
{
    const znMatrix4x4& m = sampler.projection;
    const znRTVector3fPacket p = znRTVectorMath::transformAsLocation(dg.position, m);
    znTexturePlace place;
    place.uv = onCylinder(p);
    // Differences, not derivatives: near the axis those have no bound.
    const auto step = [&](const znRTVector3fPacket& offset) {
        const znRTVector2fPacket d =
            onCylinder(p + znRTVectorMath::transformAsDirection(offset, m)) - place.uv;
        return znRTVector2fPacket(unwound(d.x), d.y);
    };
    place.footprint = {step(dg.dPdx), step(dg.dPdy)};
    place.inside = insideOf(sampler, dg, mask);
    leaveOutside(place);
    return place;
}

znRTColorPacket znRTTextureFunctions::texture2D(const znRTTextureSampler& sampler,
                                                const znTexturePlace& place, const Mask& mask)
{
    const Mask inside = mask & place.inside;
    znRTColorPacket color =
        place.isTiledInfinitely
            ? texture2DInfiniteTiling(sampler, place.uv, place.footprint, inside)
            : texture2D(sampler, place.uv, place.footprint, inside);
    if (sampler.isValid())
        replaceColorByBorderColor(sampler, color, place.inside | andNot(mask, Mask::allLanes()));
    return color & mask;
}

znRTColorPacket znRTTextureFunctions::texture2D(const znRTTextureSampler& sampler,
                                                const znRTTextureAttributes& attributes,
                                                const znRTDifferentialGeometry& dg,
                                                const Mask& mask)
{
    if (attributes.mappingType == znRTTextureAttributes::mappingTriplanar && attributes.mapping &&
        attributes.mapping->typeId == znRTTextureMapping::triplanar) {
        const auto& axes = static_cast<const znRTTriplanarTextureAttributes&>(*attributes.mapping);
        znTriplanarProjection projection = prepareTriplanar(axes, dg, mask);
        for (znTexturePlace& place : projection.place)
            place.isTiledInfinitely = attributes.useInfiniteTiling;
        return texture2DTriplanar(sampler, projection, mask);
    }
    znTexturePlace place{dg.uv, {dg.dUVdx, dg.dUVdy}, mask};
    if (attributes.mappingType == znRTTextureAttributes::mappingProjection)
        place = attributes.cylindrical ? computeCylindricalTextureProjection(sampler, dg, mask)
                                       : computePlanarTextureProjection(sampler, dg, mask);
    place.isTiledInfinitely = attributes.useInfiniteTiling;
    return texture2D(sampler, place, mask);
}
