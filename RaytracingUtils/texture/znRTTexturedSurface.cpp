#include "texture/znRTTexturedSurface.h"

#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "texture/filteredLookup.h"
#include "texture/infiniteTiling.h"
#include "texture/surfaceSteps.h"
#include "texture/tangentSpace.h"

znRTTexturedSurface::znRTTexturedSurface(const znRTTypeId& typeId,
                                         const znRTTextureSampler& newSampler,
                                         const znRTTextureAttributes* newAttributes, float depth,
                                         unsigned moreTraits)
    : znRTSurfaceStructure(typeId, bendsNormals | moreTraits |
                                       (depth != 0.0f ? unsigned(shiftsCoordinates) : 0)),
      sampler(newSampler), parallaxDepth(depth)
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
    return frameAlongTangent(dg, mask);
}

void znRTTexturedSurface::shiftCoordinates(const znRTRayDifferentialPacket& ray,
                                           znRTDifferentialGeometry& dg,
                                           const znFloatType<2>& mask) const
{
    shiftBelow(ray, dg, dg.dPdu.getLength() * parallaxDepth, mask);
}

void znRTTexturedSurface::shiftBelow(const znRTRayDifferentialPacket& ray,
                                     znRTDifferentialGeometry& dg, const znFloatType<2>& depth,
                                     const znFloatType<2>& mask) const
{
    const znRTVector3fPacket wo = -ray.direction, area = cross(dg.dPdu, dg.dPdv);
    const znFloatType<2> squareArea = area.getSquareLength();
    const znFloatType<2> isMapped = mask & (squareArea > znFloatType<2>(0.0f));
    if (parallaxDepth == 0.0f || !anyLane(isMapped))
        return;
    znParallaxRay below;
    below.cosTheta = maximum(dot(wo, dg.shadingNormal), s_leastParallaxCosine);
    below.frontFacing = dg.frontFacing;
    // wo = a dPdu + b dPdv + c normal; the ray goes on against it.
    const znFloatType<2> scale = -depth / (below.cosTheta * squareArea);
    below.reach = {dot(cross(wo, dg.dPdv), area) * scale, dot(cross(dg.dPdu, wo), area) * scale};

    znRTVector2fPacket uv = dg.uv;
    znTextureFootprint footprint{dg.dUVdx, dg.dUVdy};
    znRTTextureFunctions::applyTexCoordTransform(sampler, uv, footprint);
    below.level = levelsOf(footprint).level;
    dg.uv.setMasked(marchHeight(dg.uv, below, isMapped), isMapped);
}

znRTVector3fPacket znRTTexturedSurface::getShift(const znRTRayDifferentialPacket& ray,
                                                 const znRTDataBlockPacket& data,
                                                 const znFloatType<2>& mask) const
{
    znRTDifferentialGeometry dg = data.dg;
    shiftCoordinates(ray, dg, mask);
    return wayOf(dg.uv - data.dg.uv, dg.dPdu, dg.dPdv);
}

znRTVector2fPacket znRTTexturedSurface::marchHeight(const znRTVector2fPacket& uv,
                                                    const znParallaxRay&,
                                                    const znFloatType<2>&) const
{
    return uv;
}

znMipLevels znRTTexturedSurface::levelsOf(const znTextureFootprint& footprint) const
{
    if (!znRTTextureFunctions::s_useHighQualityTextureFiltering || sampler.maxAnisotropy <= 1.0f)
        return znRTTextureFunctions::calculateMipMapLevel(sampler, footprint);
    znMipLevels levels;
    znRTTextureFunctions::calculateEWAMipMapLevel(sampler, footprint, levels);
    return levels;
}

znFloatType<2> znRTTexturedSurface::heightAt(const znRTVector2fPacket& uv,
                                             const znIntType<2>& level, int channel,
                                             const znFloatType<2>& mask) const
{
    znRTVector2fPacket place = uv;
    znRTTextureFunctions::applyTexCoordTransform(sampler, place);
    const auto heightOf = [&](const znRTVector2fPacket& at, const znFloatType<2>& lanes) {
        const znRTColorPacket texel = filteredLookup::bilinear(
            sampler, znSamplerWraps(sampler.wrapMode), at, level, 0, lanes);
        return channel == 0 ? texel.r : texel.a;
    };
    return infiniteTiling::isWanted(sampler, attributes)
               ? infiniteTiling::blended(place, mask, znFloatType<2>(0.0f), heightOf)
               : heightOf(place, mask);
}
