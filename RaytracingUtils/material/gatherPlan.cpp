#include "material/gatherPlan.h"

#include "light/znRTInfiniteAreaLight.h"
#include "material/znRTMaterial.h"

namespace {

/// Rays per point and kind of lobe of a quality; small qualities are steps of other effects.
int rayCount(int quality)
{
    return quality < 4 ? 1 : quality;
}

/// The environment, unless it is to be sampled finer than there are rays.
const znRTInfiniteAreaLight* skyOf(const znRTLitHit& hit, int samples)
{
    const znRTMaterialState& quality = hit.material.getState();
    if (!quality.usesEnvironmentMap || !quality.sampleEnvironment)
        return nullptr;
    const znRTInfiniteAreaLight* const light = hit.material.getEnvironmentLight();
    if (!light || !light->isOn())
        return nullptr;
    const bool isSeen = hit.state.counterC == 0;
    return !isSeen || samples >= int(light->getNumSamples()) ? light : nullptr;
}

} // namespace

int znRTGatherPlan::skySamples() const
{
    if (!sky || !sky->isDrawnFrom())
        return 0;
    return choosesKind ? 1 : int(sky->getNumSamples());
}

znRTGatherPlan planGather(const znRTLitHit& hit, const znRTColorPacket& diffuseColor,
                          const znRTColorPacket& glossyColor)
{
    znRTGatherPlan plan;
    const znRTMaterialState& quality = hit.material.getState();
    // The lights that light the last surface of a path are counted by its own shade.
    if (!quality.usesIndirectTerm || !quality.traceIndirect ||
        hit.state.counterC >= hit.material.getTraceDepth())
        return plan;
    if (hit.state.counterC == 0) {
        const znFloatType<2> zero(0.0f);
        plan.samples = rayCount(hit.material.getIndirectQuality());
        plan.diffuse =
            znFloatType<2>(float(plan.samples)) & hit.mask & (diffuseColor.getMax() > zero);
        plan.glossy =
            znFloatType<2>(float(plan.samples)) & hit.mask & (glossyColor.getMax() > zero);
    } else {
        // Paths do not branch: each kind by what it reflects.
        plan.samples = 1;
        plan.choosesKind = true;
        const znFloatType<2> fromDiffuse = luminance(diffuseColor),
                             fromGlossy = luminance(glossyColor);
        const znFloatType<2> scale = reciprocalOrZero(fromDiffuse + fromGlossy);
        plan.diffuse = fromDiffuse * scale & hit.mask;
        plan.glossy = fromGlossy * scale & hit.mask;
    }
    plan.sky = skyOf(hit, plan.samples);
    return plan;
}
