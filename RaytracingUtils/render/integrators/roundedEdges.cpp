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

    block.shadingNormal() = select(isBent, h, m);
    block.facedNormal = select(changed, block.shadingNormal() * signs, block.facedNormal);
    block.objectNormal =
        select(isBent,
               block.hasNodeTransforms
                   ? znRTVectorMath::transformAsNormal(block.shadingNormal(), block.nodeToWorld)
                         .getNormalized()
                   : block.shadingNormal(),
               block.objectNormal);
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
