#include "material/attributeTexture.h"

#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "host/znRTMaterialState.h"
#include "host/znRTTextureAttributes.h"
#include "render/notAvailable.h"
#include "texture/infiniteTiling.h"
#include "texture/outwardGeometry.h"
#include "texture/znRTTextureFunctions.h"

#include <algorithm>

znRTAttributeTexture::Lies znRTAttributeTexture::layOf(const znRTTextureAttributes& attributes)
{
    if (attributes.mappingType == znRTTextureAttributes::mappingProjection)
        return attributes.projectionSpace == 0 ? inObject : inWorld;
    if (attributes.mappingType == znRTTextureAttributes::mappingTriplanar && attributes.mapping &&
        attributes.mapping->typeId == znRTTextureMapping::triplanar) {
        const auto& axes = static_cast<const znRTTriplanarTextureAttributes&>(*attributes.mapping);
        return axes.space[0] == 0 ? inObject : inWorld;
    }
    return attributes.uvSet > 0 ? bySet : byFirstSet;
}

void znRTAttributeTexture::set(const znRTTextureSampler* newSampler, bool isActive,
                               const znRTTextureAttributes* newAttributes)
{
    static znRTOnceWarning noPixels(
        "A texture has no pixels that can be read: its surface shows the uniform value.");
    clear();
    if (newSampler && !isActive)
        noPixels();
    if (!newSampler || !isActive)
        return;
    sampler = newSampler;
    attributes = newAttributes;
    lies = attributes ? layOf(*attributes) : byFirstSet;
    isTiledInfinitely = infiniteTiling::isWanted(*sampler, attributes);
}

znRTColorPacket znRTAttributeTexture::fetch(const znRTDataBlockPacket& data,
                                            const znFloatType<2>& mask) const
{
    return fetch(data, mask, data.requirements & shadingRequirement::footprint);
}

znRTColorPacket znRTAttributeTexture::fetchFinest(const znRTDataBlockPacket& data,
                                                  const znFloatType<2>& mask) const
{
    return fetch(data, mask, false);
}

znRTColorPacket znRTAttributeTexture::fetch(const znRTDataBlockPacket& data,
                                            const znFloatType<2>& mask, bool hasFootprint) const
{
    if (lies == byFirstSet)
        return hasFootprint ? fetchAt(data.dg.uv, {data.dg.dUVdx, data.dg.dUVdy}, mask)
                            : fetchAt(data.dg.uv, mask);
    if (lies != bySet)
        return fetchProjected(data, mask, hasFootprint);
    const int set = std::min(attributes->uvSet, znRTDataBlockPacket::maxTextureSets - 1);
    const bool hasSet = (data.uvValid >> set) & 1u;
    const auto& [dUVdx, dUVdy, dPdu, dPdv] = data.uvDerivatives[set];
    return !hasSet        ? fetchAt(data.dg.uv, mask)
           : hasFootprint ? fetchAt(data.uv[set], {dUVdx, dUVdy}, mask)
                          : fetchAt(data.uv[set], mask);
}

znRTColorPacket znRTAttributeTexture::fetchAt(const znRTVector2fPacket& uv,
                                              const znFloatType<2>& mask) const
{
    if (!isTiledInfinitely)
        return znRTTextureFunctions::texture2D(*sampler, uv, mask);
    const znRTVector2fPacket none(0.0f, 0.0f);
    return fetchAt(uv, {none, none}, mask);
}

znRTColorPacket znRTAttributeTexture::fetchAt(const znRTVector2fPacket& uv,
                                              const znTextureFootprint& footprint,
                                              const znFloatType<2>& mask) const
{
    return isTiledInfinitely
               ? znRTTextureFunctions::texture2DInfiniteTiling(*sampler, uv, footprint, mask)
               : znRTTextureFunctions::texture2D(*sampler, uv, footprint, mask);
}

znRTColorPacket znRTAttributeTexture::fetchProjected(const znRTDataBlockPacket& data,
                                                     const znFloatType<2>& mask,
                                                     bool hasFootprint) const
{
    const znFloatType<2> all = znFloatType<2>::allLanes();
    znRTDifferentialGeometry dg;
    const znFloatType<2> lanes = !data.hasNodeTransforms ? znFloatType<2>::noLanes()
                                 : lies == inObject      ? all
                                                         : data.objectLanes;
    if (attributes->mappingType == znRTTextureAttributes::mappingTriplanar)
        setupOutwardGeometry(data, dg, lanes);
    else
        data.setupTriplanarDifferentialGeometry(dg, lanes);
    if (!hasFootprint)
        dg.dPdx = dg.dPdy = znRTVector3fPacket(0.0f, 0.0f, 0.0f);
    return znRTTextureFunctions::texture2D(*sampler, *attributes, dg, mask);
}

znRTColorPacket znRTAttributeTexture::fetch(const znRTDifferentialGeometry& dg,
                                            const znFloatType<2>& mask) const
{
    return isProjected() ? znRTTextureFunctions::texture2D(*sampler, *attributes, dg, mask)
                         : fetchAt(dg.uv, mask);
}

znRTColor znRTAttributeTexture::getMean() const
{
    const znRTVector4f& mean = sampler->averageColor;
    return {mean.x, mean.y, mean.z, mean.w};
}

void znRTAttributeTexture::addRequirements(znRTMaterialState& state) const
{
    if (!isActive())
        return;
    // Projections work with the position, and with the object's matrices, which come along.
    if (!isProjected())
        state.materialAttributes |= vertexAttribute::textureCoordinates;
    state.shadingRequirements |= shadingRequirement::footprint;
}

void znRTAttributeTexture::addShadowRequirements(znRTMaterialState& state) const
{
    if (!isActive())
        return;
    if (!isProjected())
        state.transparencyAttributes |= vertexAttribute::textureCoordinates;
    state.shadowShadingRequirements |= shadingRequirement::footprint;
}
