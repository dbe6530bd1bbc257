#include "texture/znRTTexturedSurface.h"

#include "core/shadingRequirements.h"

znRTTexturedSurface::znRTTexturedSurface(const znRTTypeId& typeId,
                                         const znRTTextureSampler& newSampler,
                                         const znRTTextureAttributes* newAttributes)
    : znRTSurfaceStructure(typeId, true), sampler(newSampler)
{
    attributes = newAttributes;
}

u32 znRTTexturedSurface::getRequirements() const
{
    return shadingRequirement::surfaceDefault;
}

znRTONB znRTTexturedSurface::getFrameAt(const znRTDifferentialGeometry& dg,
                                        const znFloatType<2>& mask) const
{
    znRTONB onb;
    const znFloatType<2> withTangent = mask & dg.tangentMask;
    if (anyLane(withTangent))
        onb.set(dg.shadingNormal, dg.tangent, withTangent);
    else
        onb.set(dg.shadingNormal);
    return onb;
}
