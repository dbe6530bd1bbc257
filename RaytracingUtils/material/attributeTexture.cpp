#include "material/attributeTexture.h"

#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "host/znRTMaterialState.h"
#include "host/znRTTextureAttributes.h"
#include "render/notAvailable.h"
#include "texture/znRTTextureFunctions.h"

#include <algorithm>

void znRTAttributeTexture::set(const znRTTextureSampler* newSampler, bool isActive,
                               const znRTTextureAttributes* newAttributes)
{
    static znRTOnceWarning noPixels(
        "A texture has no pixels that can be read: its surface shows the uniform value.");
    static znRTOnceWarning noProjection(
        "Projected textures are not there yet: they follow the texture coordinates.");
    clear();
    if (newSampler && !isActive)
        noPixels();
    if (!newSampler || !isActive)
        return;
    if (newAttributes && newAttributes->hasTextureProjection)
        noProjection();
    sampler = newSampler;
    uvSet = newAttributes
                ? std::clamp(newAttributes->uvSet, 0, znRTDataBlockPacket::maxTextureSets - 1)
                : 0;
}

znRTColorPacket znRTAttributeTexture::fetch(const znRTDataBlockPacket& data,
                                            const znFloatType<2>& mask) const
{
    const znRTVector2fPacket& uv = uvSet == 0 ? data.dg.uv : data.uv[uvSet];
    if (!(data.requirements & shadingRequirement::footprint))
        return znRTTextureFunctions::texture2D(*sampler, uv, mask);
    // Further sets mostly lie on the surface as the first one does: its footprint serves them all.
    return znRTTextureFunctions::texture2D(*sampler, uv, {data.dg.dUVdx, data.dg.dUVdy}, mask);
}

znRTColorPacket znRTAttributeTexture::fetchPlain(const znRTDifferentialGeometry& dg,
                                                 const znFloatType<2>& mask) const
{
    return uvSet == 0 ? znRTTextureFunctions::texture2D(*sampler, dg.uv, mask)
                      : znRTColorPacket(1.0f) & mask;
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
    state.materialAttributes |= vertexAttribute::textureCoordinates;
    state.shadingRequirements |= shadingRequirement::footprint;
}

void znRTAttributeTexture::addShadowRequirements(znRTMaterialState& state) const
{
    if (!isActive())
        return;
    state.transparencyAttributes |= vertexAttribute::textureCoordinates;
    state.shadowShadingRequirements |= shadingRequirement::footprint;
}
