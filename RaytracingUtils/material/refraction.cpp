#include "material/refraction.h"

#include "brdf/lobeSampling.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

namespace {

znRTRefraction refractAt(const znRTVector3fPacket& wo, const znRTONB& onb,
                         const znFloatType<2>& eta)
{
    znRTVector3fPacket local;
    const znFloatType<2> exists = lobeSampling::refract(onb.toLocal(wo), eta, local);
    return {onb.toWorld(local), exists};
}

} // namespace

znRTRefraction refractBelowSurface(const znRTLitHit& hit, const znRTONB& onb,
                                   const znFloatType<2>& eta)
{
    znRTRefraction refraction = refractAt(hit.wo, onb, eta);
    const znRTVector3fPacket& below = hit.dg.geometricNormal;
    const znFloatType<2> isAbove =
        refraction.mask & (dot(refraction.direction, below) >= znFloatType<2>(0.0f));
    if (!anyLane(isAbove))
        return refraction;
    znRTONB flat;
    flat.set(below);
    const znRTRefraction atSurface = refractAt(hit.wo, flat, eta);
    refraction.direction.setMasked(atSurface.direction, isAbove);
    refraction.mask = select(isAbove, atSurface.mask, refraction.mask);
    return refraction;
}

void refractDifferentials(const znRTLitHit& hit, const znRTVector3fPacket& normal,
                          const znFloatType<2>& eta, znRTRayDifferentialPacket& rays)
{
    using namespace shadingRequirement;
    if (!hit.ray.hasDifferentials || !(hit.data.requirements & footprint))
        return;
    const bool isCurved = hit.data.requirements & derivatives;
    const znRTVector3fPacket& d = hit.ray.direction;
    const znFloatType<2> before = dot(d, normal), after = dot(rays.direction, normal);
    const znFloatType<2> mu = eta * before - after;
    const znFloatType<2> slope = eta - square(eta) * before * reciprocalOrZero(after);
    const znRTVector3fPacket flat(0.0f, 0.0f, 0.0f);
    const auto refracted = [&](const znRTVector3fPacket& neighbour, const znRTVector3fPacket& dN) {
        const znRTVector3fPacket step = neighbour - d;
        const znFloatType<2> ofMu = slope * (dot(step, normal) + dot(d, dN));
        return rays.direction + step * eta - (dN * mu + normal * ofMu);
    };
    rays.rxOrigin = rays.origin + hit.dg.dPdx;
    rays.ryOrigin = rays.origin + hit.dg.dPdy;
    rays.rxDirection = refracted(hit.ray.rxDirection, isCurved ? hit.dg.dNdx : flat);
    rays.ryDirection = refracted(hit.ray.ryDirection, isCurved ? hit.dg.dNdy : flat);
    rays.hasDifferentials = 1;
}
