// Shadow rays: how much of the light towards a point is let through by what stands between.

#include "core/rayTypes.h"
#include "core/surfaceOffset.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "gi/randomDecisions.h"
#include "light/znRTLight.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

#include <limits>

namespace {

/// Transparent surfaces that a shadow ray passes at most.
constexpr int turnLimit = 1023;
/// Shadows below this strength are not looked for.
constexpr float leastShadow = 1e-6f;
constexpr float unlimited = std::numeric_limits<float>::max();

/// Light without any dimming.
znRTColorPacket unshadowed()
{
    return {1.0f, 1.0f, 1.0f, 0.0f};
}

/// The half of the eye that the shaded ray belongs to, of the classes asked for: what only one eye
/// sees shades only what that eye sees.
znIntType<2> shadowType(const znRTRayPacket& ray, const znIntType<2>& visibility)
{
    const znIntType<2> right{int(rayType::rightEye)}, left{int(rayType::leftEye)};
    const znFloatType<2> isLeft = asFloat((ray.type & right) == znIntType<2>(0));
    return asInt(select(isLeft, asFloat(left), asFloat(right))) & visibility;
}

znRTRayDifferentialPacket shadowRay(const znRTRayPacket& ray, const znRTVector3fPacket& origin,
                                    const znRTVector3fPacket& direction,
                                    const znIntType<2>& visibility)
{
    const znRTRayPacket rays(origin, direction, ray.pixelX, ray.pixelY, ray.weight,
                             shadowType(ray, visibility), ray.alpha);
    znRTRayDifferentialPacket shadow(rays);
    shadow.setMonochromatic(ray.getMonochromatic());
    return shadow;
}

/// What the transparent surfaces that were hit let through; 1 in lanes without one.
znRTColorPacket transparencyOf(const znRTRayDifferentialPacket& shadow, znRTDataBlockPacket& block,
                               const znFloatType<2>& lanes, znRTShadingState& state)
{
    znRTRenderUtils::getShadingData(shadow, block, true);
    block.computeShadingData(shadow);
    znRTColorPacket passed = unshadowed();
    for (u32 i = 0; i < block.materialCount; ++i) {
        const znFloatType<2> own = block.materialLanes[i] & lanes;
        if (anyLane(own))
            passed.maskedUpdateNoAlpha(
                block.materials[i]->getTransparency(shadow, block, own, state), own);
    }
    return passed;
}

/// Walks from surface to surface until nothing of the light is left or the end is reached.
znRTColorPacket transmittance(const znRTRayDifferentialPacket& shadow, const znFloatType<2>& t0,
                              const znFloatType<2>& t1, znFloatType<2> active,
                              const znRTShadingState& state)
{
    znRTColorPacket passed = unshadowed();
    znRTDataBlockPacket block(t1);
    znFloatType<2> tMin = t0;
    for (int turn = 0; turn < turnLimit && anyLane(active); ++turn) {
        block.hit.reset(t1);
        znRTRenderUtils::getShadowIntersection(shadow, tMin, t1, block.hit, moveMask(active));
        active &= expandLanes(int(block.hit.hitMask));
        // An opaque hit holds no primitive to shade: it is dark, and its lanes are done.
        const znFloatType<2> isTransparent = expandLanes(int(block.hit.hitFlags));
        passed.maskedClear(andNot(isTransparent, active));
        active &= isTransparent;
        if (!anyLane(active))
            break;
        block.hit.hitMask = unsigned(moveMask(active));
        // Bodies that absorb have been entered at the surface before, or hold the origin.
        block.volumeEntry = tMin;
        znRTShadingState paneState(state, 0, state.counterB + (turn + 1) * decisionsPerDepth,
                                   state.counterC, state.counterD);
        passed.maskedMultiplyNoAlpha(transparencyOf(shadow, block, active, paneState), active);
        active &= passed.getMax() > znFloatType<2>(0.0f);
        // Hits are strictly beyond tMin: from here on the surface just passed is behind.
        tMin = select(active, block.hit.t, tMin);
    }
    return passed;
}

znRTColorPacket shadowFactor(const znRTRayPacket& ray, const znRTVector3fPacket& origin,
                             const znRTVector3fPacket& direction, const znFloatType<2>& t0,
                             const znFloatType<2>& t1, const znIntType<2>& visibility,
                             const znFloatType<2>& mask, const znFloatType<2>& strength,
                             const znRTShadingState& state)
{
    const znFloatType<2> active = mask & (strength > znFloatType<2>(leastShadow));
    if (!anyLane(active))
        return unshadowed();
    const znFloatType<2> one(1.0f);
    const znRTColorPacket passed =
        transmittance(shadowRay(ray, origin, direction, visibility), t0, t1, active, state);
    return {(passed.r - one) * strength + one, (passed.g - one) * strength + one,
            (passed.b - one) * strength + one, 0.0f};
}

} // namespace

znRTColorPacket
znRTLight::getShadowFactor(const znRTRayPacket& ray, const znRTVector3fPacket& origin,
                           const znRTVector3fPacket& direction, const znFloatType<2>& t0,
                           const znFloatType<2>& t1, const znIntType<2>& visibility,
                           const znFloatType<2>& mask, const znFloatType<2>& shadowIntensity,
                           const znRTShadingState& state)
{
    return shadowFactor(ray, origin, direction, t0, t1, visibility, mask, shadowIntensity, state);
}

znRTColorPacket
znRTLight::getShadowFactor(const znRTRayPacket& ray, const znRTVector3fPacket& origin,
                           const znRTVector3fPacket& direction, const znIntType<2>& visibility,
                           const znFloatType<2>& mask, const znRTShadingState& state) const
{
    return shadowFactor(ray, origin, direction, 0.0f, getDistance(origin), visibility, mask,
                        shadowIntensity, state);
}

znRTColorPacket znRTLight::getShadowFactorToPoint(const znRTRayPacket& ray,
                                                  const znRTVector3fPacket& origin,
                                                  const znRTVector3fPacket& lightPoint,
                                                  const znIntType<2>& visibility,
                                                  const znFloatType<2>& mask,
                                                  const znRTShadingState& state) const
{
    const znRTVector3fPacket towards = lightPoint - origin;
    const znFloatType<2> distance = towards.getLength();
    // The point lies on a surface that may be in the scene: end as far before it as rays that
    // start there would begin behind.
    const znFloatType<2> end = distance - surfaceOffset(lightPoint, distance);
    return shadowFactor(ray, origin, towards, 0.0f, end, visibility, mask, shadowIntensity, state);
}

znRTColorPacket znRTLight::getEnvironmentShadowFactor(
    const znRTRayPacket& ray, const znRTVector3fPacket& origin, const znRTVector3fPacket& direction,
    const znFloatType<2>& t0, const znFloatType<2>& mask, const znFloatType<2>& shadowIntensity,
    const znRTShadingState& state, int flags)
{
    return shadowFactor(ray, origin, direction, t0, unlimited, flags, mask, shadowIntensity, state);
}

znIntType<2> znRTLight::shadowVisibility(const znRTRayPacket& ray)
{
    const znIntType<2> reflected = ray.type & znIntType<2>(int(rayType::seenInReflection));
    const znFloatType<2> isPlain = asFloat(reflected == znIntType<2>(0));
    return asInt(select(isPlain, asFloat(znIntType<2>(int(rayType::lightShadow))),
                        asFloat(znIntType<2>(int(rayType::reflectedShadow)))));
}
