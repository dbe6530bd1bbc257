#include "material/translucency.h"

#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "gi/randomDecisions.h"
#include "host/znSceneDataManager.h"
#include "material/directLighting.h"
#include "material/indirectLight.h"
#include "material/shadePipeline.h"

void znRTTranslucency::setup(znRTPhongBTDFAttributes& lobes, unsigned sampleCount)
{
    constexpr float millimetresPerMetre = 1000.0f;
    lobes.medium.unit = znSceneDataManager::getUnitsPerMetre() / millimetresPerMetre;
    lobes.medium.mode = mode;
    sheet.setup(lobes, sampleCount);
    body.setup(lobes, sampleCount);
}

znRTColorPacket znRTTranslucency::fetch(const znRTRayPacket& ray, const znRTDataBlockPacket& data,
                                        const znFloatType<2>& mask) const
{
    if (!isOn())
        return znRTColorPacket(0.0f);
    const znRTColorPacket found = color.fetch(data, mask);
    if (!isRestricted)
        return found;
    const znIntType<2> looking = ray.type & znIntType<2>(int(rayType::seesEmission));
    return found & ~asFloat(looking == znIntType<2>(0));
}

void znRTTranslucency::addTo(znRTHitSurface& hit, const znFloatType<2>& lanes) const
{
    if (!isOn())
        return;
    const znFloatType<2> shown = lanes & (hit.translucent.getMax() > znFloatType<2>(0.0f));
    if (mode >= subsurfaceMultiple) {
        hit.backLobes.add(body, hit.onb, hit.translucent, shown);
        return;
    }
    hit.backOnb = hit.onb.getFlipped();
    hit.backLobes.add(sheet, hit.backOnb, hit.translucent, shown);
}

znRTSideChoice chooseSides(const znRTHitSurface& hit, const znFloatType<2>& lanes,
                           const znRTShadingState& state)
{
    const znFloatType<2> zero(0.0f), one(1.0f);
    const znFloatType<2> behind = luminance(hit.translucent);
    const znFloatType<2> choosing = lanes & (behind > zero);
    if (hit.backLobes.count == 0 || !anyLane(choosing))
        return {lanes, znFloatType<2>::noLanes(), one, zero};
    const znFloatType<2> before = maximum(luminance(hit.diffuse), luminance(hit.glossy));
    const znFloatType<2> p = before / (behind + before) * 0.9f + 0.05f;
    const znFloatType<2> u =
        drawPair(state, RandomDecision::translucency, 1, 0, moveMask(choosing)).x;
    const znFloatType<2> back = andNot(u < p, choosing);
    return {andNot(back, lanes), back, select(choosing, reciprocalOrZero(p), one),
            reciprocalOrZero(one - p)};
}

namespace {

/// The hit as seen from its other side.
znRTDifferentialGeometry turnedAround(const znRTDifferentialGeometry& front)
{
    znRTDifferentialGeometry back = front;
    for (znRTVector3fPacket* v : {&back.geometricNormal, &back.shadingNormal, &back.dNdu,
                                  &back.dNdv, &back.dNdx, &back.dNdy})
        *v = -*v;
    back.frontFacing = ~front.frontFacing;
    return back;
}

} // namespace

void evaluateBackSideIllumination(const znRTLitHit& hit, const znRTBRDFMaterial& material,
                                  const znRTHitSurface& surface, znRTColorPacket& direct,
                                  znRTColorPacket& ibl, znRTColorPacket& indirect)
{
    const znRTDifferentialGeometry dg = turnedAround(hit.dg);
    const znRTLitHit back{hit.ray, hit.data, dg,           surface.backLobes,
                          hit.wo,  hit.mask, hit.material, hit.state};
    const znRTMaterialState& quality = hit.material.getState();
    znRTColorPacket diffuse(0.0f), glossy(0.0f);
    direct = ibl = indirect = diffuse;
    if (quality.usesDirectLights) {
        evaluateDirectLighting(back.ray, back.data, back.dg, back.lobes, back.wo, back.mask,
                               back.material, back.state, diffuse, glossy);
        direct = diffuse + glossy;
    }
    const znRTColorPacket share = environmentShare(back, material);
    const znRTColorPacket noDiffuse(0.0f), color = surface.translucent * surface.alpha;
    const znRTGatherPlan plan = planGather(back, noDiffuse, color);
    if (quality.sampleEnvironment) {
        evaluateEnvironmentIllumination(back, share, plan, diffuse, glossy);
        evaluateEnvironmentLights(back, diffuse, glossy);
        ibl = diffuse + glossy;
    } else {
        // Looked up, it arrives spread over the whole hemisphere.
        znRTLobeSet spread;
        spread.add(material.getDiffuseLobe(), surface.backOnb, surface.translucent, hit.mask);
        const znRTLitHit all{hit.ray, hit.data, dg, spread, hit.wo, hit.mask, material, hit.state};
        evaluateEnvironmentIllumination(all, share, plan, ibl, glossy);
        evaluateEnvironmentLights(back, ibl, ibl);
    }
    const znRTGatheredLight gathered =
        evaluateIndirect(back, plan, noDiffuse, color, surface.ambient);
    ibl += gathered.skyDiffuse + gathered.skyGlossy;
    indirect = gathered.diffuse + gathered.glossy;
}
