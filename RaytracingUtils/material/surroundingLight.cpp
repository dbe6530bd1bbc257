#include "material/surroundingLight.h"

#include "brdf/lobeSampling.h"
#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "gi/randomDecisions.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/directLighting.h"
#include "material/environmentLookup.h"
#include "material/environmentSampling.h"
#include "material/shadowOrigin.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

namespace {

/// The environment looked up, and colours baked in its place.
void lookUpOrBake(const znRTLitHit& hit, const znRTColorPacket& occlusion, znRTColorPacket& diffuse,
                  znRTColorPacket& glossy)
{
    znFloatType<2> lost(0.0f);
    if (const znRTInfiniteAreaLight* const light = hit.material.getEnvironmentLight())
        lookUpEnvironment(hit, *light, occlusion, diffuse, glossy, lost);
    if (hit.material.getState().useBaking) {
        znRTColorPacket baked = hit.data.bakedColor;
        baked.a = 0.0f;
        diffuse = hit.material.useBaking(diffuse, baked, hit.data) & hit.mask;
    }
    diffuse *= znFloatType<2>(1.0f) - lost;
}

} // namespace

void evaluateEnvironmentIllumination(const znRTLitHit& hit, const znRTColorPacket& occlusion,
                                     const znRTGatherPlan& plan, znRTColorPacket& diffuse,
                                     znRTColorPacket& glossy)
{
    diffuse = glossy = znRTColorPacket(0.0f);
    const znRTMaterialState& quality = hit.material.getState();
    if (!quality.usesEnvironmentMap)
        return;
    if (!quality.sampleEnvironment)
        return lookUpOrBake(hit, occlusion, diffuse, glossy);
    const znRTInfiniteAreaLight* const light = hit.material.getEnvironmentLight();
    if (light && light->isOn())
        sampleEnvironment(hit, *light, plan, diffuse, glossy);
}

void evaluateEnvironmentLights(const znRTLitHit& hit, znRTColorPacket& diffuse,
                               znRTColorPacket& glossy)
{
    const znRTInfiniteAreaLight* const light = hit.material.getEnvironmentLight();
    if (!light || !hit.material.getState().usesEnvironmentMap)
        return;
    const znDynArray<znRTLight*>& lights = light->getEnvironmentLights();
    if (lights.size == 0)
        return;
    znRTColorPacket onDiffuse, onGlossy;
    evaluateLights(hit.ray, hit.data, hit.dg, hit.lobes, hit.wo, hit.mask, hit.state, lights,
                   onDiffuse, onGlossy);
    diffuse += onDiffuse;
    glossy += onGlossy;
}

znRTColorPacket evaluateOcclusion(const znRTRayDifferentialPacket& ray,
                                  const znRTDataBlockPacket& data,
                                  const znRTDifferentialGeometry& dg, int quality,
                                  const znFloatType<2>& mask, const znRTShadingState& state)
{
    znRTONB frame;
    frame.set(dg.shadingNormal);
    const int rays = quality < 4 ? 1 : quality, lanes = moveMask(mask);
    const znFloatType<2> reach(znRTRenderUtils::s_maxDistance), zero(0.0f);
    znRTColorPacket open(0.0f);
    for (int i = 0; i < rays; ++i) {
        const znRTVector3fPacket wi = frame.toWorld(lobeSampling::cosineHemisphere(
            drawPair(state, RandomDecision::environment, rays, i, lanes)));
        // What lies below the real surface is hidden by the surface.
        const znFloatType<2> above = mask & (dot(wi, dg.geometricNormal) > zero);
        if (anyLane(above))
            open += znRTLight::getShadowFactor(
                        ray, shadowOrigin(data, dg, wi), wi, znRTRenderUtils::s_minDistance, reach,
                        znIntType<2>(int(rayType::environmentShadow)), above, 1.0f, state) &
                    above;
    }
    open *= 1.0f / float(rays);
    open.a = mask & znFloatType<2>(1.0f);
    return open;
}

znRTColorPacket evaluateOcclusion(const znRTLitHit& hit)
{
    return evaluateOcclusion(hit.ray, hit.data, hit.dg, hit.material.getEnvironmentQuality(),
                             hit.mask, hit.state);
}

void evaluateRayLightPhotons(const znRTDataBlockPacket&, const znFloatType<2>&, znRTColorPacket&) {}
