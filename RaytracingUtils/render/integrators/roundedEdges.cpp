#include "render/integrators/roundedEdges.h"

#include "material/znRTMaterial.h"

znFloatType<2> facingSigns(const znRTDataBlockPacket& block)
{
    const znFloatType<2> zero(0.0f), one(1.0f);
    const znFloatType<2> cosine = dot(block.shadingNormal(), block.facedNormal);
    return ((cosine > zero) & one) - ((cosine < zero) & one);
}

void adoptRoundedNormals(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                         const znFloatType<2>& signs, const znFloatType<2>& changed)
{
    const znFloatType<2> zero(0.0f);
    const znRTVector3fPacket& d = ray.direction;
    const znRTVector3fPacket m = block.shadingNormal();
    const znRTVector3fPacket n = block.facedNormal * signs;

    const znRTVector3fPacket r = d - n * (dot(d, n) * 2.0f);
    const znFloatType<2> lift = maximum(zero, -dot(m, r)) * reciprocalOrZero(dot(m, n));
    const znRTVector3fPacket lifted = (r + n * lift).getNormalized();
    const znRTVector3fPacket toHalf = lifted - d;
    const znFloatType<2> squareLength = toHalf.getSquareLength();
    // A ray along the surface mirrors into itself: there is no half vector, and NaN compares false.
    const znFloatType<2> isBent =
        changed & (signs != zero) & (squareLength > znFloatType<2>(1e-12f));
    const znRTVector3fPacket h = toHalf * reciprocalSquareRoot(squareLength);

    block.shadingNormal().setMasked(h, isBent);
    block.facedNormal.setMasked(block.shadingNormal() * signs, changed & (signs != zero));
    if (block.requirements & shadingRequirement::objectSpace) {
        const znRTVector3fPacket inObject =
            block.hasNodeTransforms
                ? znRTVectorMath::transformAsNormal(h, block.nodeToWorld).getNormalized()
                : h;
        block.objectNormal.setMasked(inObject, isBent);
    }
    block.updateCosIncidence(ray, isBent);
}

void roundEdges(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                const znFloatType<2>& lanes, const znRTShadingState& state)
{
    const znFloatType<2> signs = facingSigns(block);
    const znFloatType<2> asked = lanes & expandLanes(int(block.hit.hitMask));
    znFloatType<2> changed = znFloatType<2>::noLanes();
    for (u32 i = 0; i < block.materialCount; ++i)
        changed |= block.materials[i]->calculateRoundedEdges(ray, block,
                                                             block.materialLanes[i] & asked, state);
    if (anyLane(changed))
        adoptRoundedNormals(ray, block, signs, changed);
}
