#include "material/mirrorLight.h"

#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "gi/randomDecisions.h"
#include "material/tracedLight.h"
#include "material/znRTMaterial.h"

znRTVector3fPacket mirrorAboveSurface(const znRTVector3fPacket& d, const znRTVector3fPacket& normal,
                                      const znRTVector3fPacket& geometric)
{
    const znFloatType<2> zero(0.0f);
    const znFloatType<2> isUsable = (dot(normal, geometric) > zero) & (dot(normal, d) < zero);
    const znRTVector3fPacket n = select(isUsable, normal, geometric);
    const znRTVector3fPacket r = d - n * (dot(d, n) * 2.0f);
    const znFloatType<2> lift =
        maximum(zero, -dot(r, geometric)) * reciprocalOrZero(dot(n, geometric));
    return (r + n * lift).getNormalized();
}

znRTVector3fPacket normalOfMirror(const znRTVector3fPacket& d, const znRTVector3fPacket& mirrored,
                                  const znRTVector3fPacket& normal)
{
    const znRTVector3fPacket toHalf = mirrored - d;
    const znFloatType<2> squareLength = toHalf.getSquareLength();
    // NaN compares false.
    const znFloatType<2> exists = squareLength > znFloatType<2>(1e-12f);
    return select(exists, toHalf * reciprocalSquareRoot(squareLength), normal);
}

void mirrorDifferentials(const znRTLitHit& hit, const znRTVector3fPacket& normal,
                         znRTRayDifferentialPacket& rays)
{
    using namespace shadingRequirement;
    if (!hit.ray.hasDifferentials || !(hit.data.requirements & footprint))
        return;
    const bool isCurved = hit.data.requirements & derivatives;
    const znRTVector3fPacket& d = hit.ray.direction;
    const znFloatType<2> cosine = dot(d, normal);
    const znRTVector3fPacket flat(0.0f, 0.0f, 0.0f);
    const auto mirrored = [&](const znRTVector3fPacket& neighbour, const znRTVector3fPacket& dN) {
        const znRTVector3fPacket step = neighbour - d;
        const znFloatType<2> ofCosine = dot(step, normal) + dot(d, dN);
        return rays.direction + step - (dN * cosine + normal * ofCosine) * 2.0f;
    };
    rays.rxOrigin = rays.origin + hit.dg.dPdx;
    rays.ryOrigin = rays.origin + hit.dg.dPdy;
    rays.rxDirection = mirrored(hit.ray.rxDirection, isCurved ? hit.dg.dNdx : flat);
    rays.ryDirection = mirrored(hit.ray.ryDirection, isCurved ? hit.dg.dNdy : flat);
    rays.hasDifferentials = 1;
}

znRTColorPacket evaluateMirror(const znRTLitHit& hit, const znRTLobeSet::Entry& mirror,
                               const znFloatType<2>& share)
{
    znRTLightPath path(hit, mirror.color * share, mirror.mask);
    if (path.isEmpty())
        return znRTColorPacket(0.0f);
    const znRTVector3fPacket& normal = mirror.onb->n;
    path.start(mirrorAboveSurface(hit.ray.direction, normal, hit.dg.geometricNormal),
               mirror.lobe->getOutRayMask());
    mirrorDifferentials(hit, normal, path.rays);
    znRTColorPacket light = path.follow(deeperState(hit.state), hit.material.getTraceDepth());
    light.a = 0.0f;
    return light;
}
