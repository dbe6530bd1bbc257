#include "material/tracedLight.h"

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

znRTLightPath::znRTLightPath(const znRTLitHit& newHit, const znRTColorPacket& share,
                             const znFloatType<2>& mask)
    : distance(0.0f), hit(newHit),
      weight(newHit.ray.weight.x * share.r, newHit.ray.weight.y * share.g,
             newHit.ray.weight.z * share.b, 1.0f),
      scale(1.0f)
{
    const znFloatType<2> one(1.0f), brightness = luminance(weight);
    const znFloatType<2> threshold =
        znRTMaterial::s_minWeightThreshold * znRTMaterial::s_weightThresholdScale;
    lanes = hit.mask & mask & (brightness > threshold);
    const znFloatType<2> isWeak =
        andNot(lanes, hit.mask & mask) & (brightness > znFloatType<2>(0.0f));
    if (znRTRaytracingSettings::s_qualityMode != znRTRaytracingSettings::stillFrame ||
        !anyLane(isWeak))
        return;
    const znFloatType<2> chance = clamp(brightness / threshold, leastSurvival, 1.0f);
    const znFloatType<2> u =
        drawPair(hit.state, RandomDecision::roulette, 1, 0, moveMask(isWeak)).x;
    const znFloatType<2> survivors = isWeak & (u < chance);
    lanes |= survivors;
    scale = select(survivors, reciprocalOrZero(chance), one);
}

void znRTLightPath::start(const znRTVector3fPacket& direction, u32 rayClass)
{
    rays = spawnRays(hit.ray, hit.data, hit.dg, direction, weight * scale, rayClass);
}

znRTColorPacket znRTLightPath::follow(const znRTShadingState& state, int depthLimit)
{
    znFloatType<2> missed = lanes;
    znRTColorPacket light(0.0f);
    if (hit.state.counterC < depthLimit) {
        light = shadeAlong(rays, lanes, state, missed, &distance);
        distance = andNot(missed, distance) & lanes;
    }
    const znFloatType<2> open = missed & seesSurroundings;
    if (anyLane(open)) {
        const znRTColorPacket seen = surroundings(hit, rays.direction, open);
        light = {light.r + seen.r, light.g + seen.g, light.b + seen.b, light.a};
    }
    return {light.r * scale, light.g * scale, light.b * scale, light.a};
}
