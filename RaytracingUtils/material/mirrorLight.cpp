#include "material/mirrorLight.h"

#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "gi/randomDecisions.h"
#include "host/znRTRaytracingSettings.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/spawnedRays.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

namespace {

/// Chance that the weakest paths go on with, in still frames.
constexpr float leastSurvival = 0.125f;

/// Lanes whose paths go on, and what their light counts for.
struct Survival
{
    znFloatType<2> lanes;
    znFloatType<2> scale;
};

/// Paths below the threshold end. In still frames they go on by chance, so that the mean of the
/// samples misses nothing.
/// @param weight  luminance of the paths' weights
Survival survive(const znFloatType<2>& weight, const znFloatType<2>& mask,
                 const znRTShadingState& state)
{
    const znFloatType<2> one(1.0f);
    const znFloatType<2> threshold =
        znRTMaterial::s_minWeightThreshold * znRTMaterial::s_weightThresholdScale;
    const znFloatType<2> isStrong = mask & (weight > threshold);
    const znFloatType<2> isWeak = andNot(isStrong, mask) & (weight > znFloatType<2>(0.0f));
    if (znRTRaytracingSettings::s_qualityMode != znRTRaytracingSettings::stillFrame ||
        !anyLane(isWeak))
        return {isStrong, one};
    const znFloatType<2> chance = clamp(weight / threshold, leastSurvival, 1.0f);
    const znFloatType<2> u = drawPair(state, RandomDecision::roulette, 1, 0, moveMask(isWeak)).x;
    const znFloatType<2> survivors = isWeak & (u < chance);
    return {isStrong | survivors, select(survivors, reciprocalOrZero(chance), one)};
}

/// Neighbouring rays after the mirror (H. Igehy, "Tracing Ray Differentials", SIGGRAPH 1999,
/// eq. 15 to 17). Without derivatives of the normal the mirror counts as flat.
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

/// What is around the scene in a direction.
znRTColorPacket surroundings(const znRTLitHit& hit, const znRTVector3fPacket& direction,
                             const znFloatType<2>& lanes)
{
    const znRTInfiniteAreaLight* const light = hit.material.getEnvironmentLight();
    if (!light || !light->isOn())
        return znRTRenderUtils::s_backgroundColor & lanes;
    return light->getSeenIntensity(direction, lanes);
}

} // namespace

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

znRTColorPacket evaluateMirror(const znRTLitHit& hit, const znRTLobeSet::Entry& mirror,
                               const znFloatType<2>& share)
{
    const znRTVector3fPacket& weight = hit.ray.weight;
    const znRTColorPacket pathWeight(weight.x * mirror.color.r * share,
                                     weight.y * mirror.color.g * share,
                                     weight.z * mirror.color.b * share, 1.0f);
    const Survival survival = survive(luminance(pathWeight), hit.mask & mirror.mask, hit.state);
    if (!anyLane(survival.lanes))
        return znRTColorPacket(0.0f);

    const znRTVector3fPacket& normal = mirror.onb->n;
    const znRTVector3fPacket wi =
        mirrorAboveSurface(hit.ray.direction, normal, hit.dg.geometricNormal);
    znFloatType<2> missed = survival.lanes;
    znRTColorPacket light(0.0f);
    if (hit.state.counterC < hit.material.getTraceDepth()) {
        znRTRayDifferentialPacket rays =
            spawnRays(hit.ray, hit.data, hit.dg, wi, pathWeight * survival.scale,
                      mirror.lobe->getOutRayMask());
        mirrorDifferentials(hit, normal, rays);
        light = shadeAlong(rays, survival.lanes, deeperState(hit.state), missed);
    }
    if (anyLane(missed))
        light += surroundings(hit, wi, missed);
    light *= survival.scale;
    light.a = 0.0f;
    return light;
}
