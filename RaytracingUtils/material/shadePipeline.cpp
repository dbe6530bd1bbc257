#include "material/shadePipeline.h"

#include "core/rayTypes.h"
#include "material/directLighting.h"
#include "material/indirectLight.h"
#include "material/mirrorLight.h"
#include "material/subsurface.h"
#include "material/surroundingLight.h"
#include "material/translucency.h"
#include "material/znRTSurfaceProperties.h"
#include "render/znRTFragment.h"

namespace {

constexpr int lobeTerms = 4;

using Update = void (znRTFragment::*)(const znRTRayDifferentialPacket&, znRTDataBlockPacket&,
                                      const znRTColorPacket*, const znRTLightTerms&,
                                      znRTShadingState&, const znRTThroughput&,
                                      const znFloatType<2>&);

/// The operation that names the terms; null for sets that no kind has.
constexpr Update updateOf[16] = {nullptr,
                                 &znRTFragment::updateD,
                                 &znRTFragment::updateG,
                                 &znRTFragment::updateDG,
                                 &znRTFragment::updateS,
                                 &znRTFragment::updateDS,
                                 &znRTFragment::updateDGS, // without a diffuse colour
                                 &znRTFragment::updateDGS,
                                 nullptr,
                                 nullptr,
                                 nullptr,
                                 &znRTFragment::updateDGT,
                                 nullptr,
                                 &znRTFragment::updateDST,
                                 nullptr,
                                 &znRTFragment::updateDGST};

/// Light of each side in the lanes that show it, with the weight of the choice.
void gatherSides(const znRTLitHit& lit, const znRTBRDFMaterial& material, const znRTHitSurface& hit,
                 znRTLobeLight& light)
{
    const znRTSideChoice sides = chooseSides(hit, lit.mask, lit.state);
    if (anyLane(sides.front)) {
        gatherLight(
            {lit.ray, lit.data, lit.dg, lit.lobes, lit.wo, sides.front, material, lit.state},
            material, hit, light);
        light.scale(surfaceDiffuse, sides.frontWeight);
        light.scale(surfaceGlossy, sides.frontWeight);
    }
    if (anyLane(sides.back)) {
        const auto evaluate =
            scattersBelow(hit.backLobes) ? &evaluateSubsurface : &evaluateBackSideIllumination;
        evaluate({lit.ray, lit.data, lit.dg, lit.lobes, lit.wo, sides.back, material, lit.state},
                 material, hit, light.direct[surfaceTranslucent], light.ibl[surfaceTranslucent],
                 light.indirect[surfaceTranslucent]);
        light.scale(surfaceTranslucent, sides.backWeight);
    }
}

} // namespace

znRTLobeLight::znRTLobeLight()
{
    for (znRTColorPacket* term : {ibl, direct, indirect})
        for (int lobe = 0; lobe < lobeTerms; ++lobe)
            term[lobe] = znRTColorPacket(0.0f);
}

void znRTLobeLight::scale(int lobe, const znFloatType<2>& factor)
{
    for (znRTColorPacket* term : {ibl, direct, indirect})
        term[lobe] *= factor;
}

void gatherLight(const znRTLitHit& lit, const znRTBRDFMaterial& material, const znRTHitSurface& hit,
                 znRTLobeLight& light)
{
    const znRTMaterialState& quality = material.getState();
    if (quality.usesDirectLights)
        evaluateDirectLighting(lit.ray, lit.data, lit.dg, lit.lobes, lit.wo, lit.mask, material,
                               lit.state, light.direct[surfaceDiffuse],
                               light.direct[surfaceGlossy]);
    const znRTColorPacket diffuse = hit.diffuse * hit.alpha, glossy = hit.glossy * hit.alpha;
    const znRTGatherPlan plan = planGather(lit, diffuse, glossy);
    evaluateEnvironmentIllumination(lit, environmentShare(lit, material), plan,
                                    light.ibl[surfaceDiffuse], light.ibl[surfaceGlossy]);
    evaluateEnvironmentLights(lit, light.ibl[surfaceDiffuse], light.ibl[surfaceGlossy]);
    const znRTGatheredLight gathered = evaluateIndirect(lit, plan, diffuse, glossy, hit.ambient);
    light.ibl[surfaceDiffuse] += gathered.skyDiffuse;
    light.ibl[surfaceGlossy] += gathered.skyGlossy;
    light.indirect[surfaceDiffuse] = gathered.diffuse;
    light.indirect[surfaceGlossy] = gathered.glossy;
    for (const int term : {int(surfaceDiffuse), int(surfaceGlossy)}) {
        light.ibl[term] *= hit.ambientOcclusion;
        light.indirect[term] *= hit.ambientOcclusion;
    }
}

znRTColorPacket emissionOf(const znRTBRDFMaterial& material, const znRTRayPacket& ray,
                           const znRTDataBlockPacket& data, const znRTHitSurface& hit,
                           const znFloatType<2>& lanes)
{
    const znIntType<2> seeing = ray.type & znIntType<2>(int(rayType::seesEmission));
    const znFloatType<2> sees = andNot(asFloat(seeing == znIntType<2>(0)), lanes);
    if (!anyLane(sees))
        return znRTColorPacket(0.0f);
    znRTColorPacket emission = hit.emission;
    if (material.getState().materialFlagA)
        evaluateRayLightPhotons(data, sees, emission);
    return emission & sees;
}

znRTColorPacket environmentShare(const znRTLitHit& hit, const znRTBRDFMaterial& material)
{
    return material.getState().traceEnvironmentShadows ? evaluateOcclusion(hit)
                                                       : material.getEnvironmentOcclusion(hit.data);
}

znRTThroughput throughputOf(const znRTBRDFMaterial& material, const znRTHitSurface& hit,
                            const znRTAlphaSplit& split)
{
    znRTThroughput throughput;
    throughput.blend = split.shaded;
    throughput.surfaceAlpha = split.surfaceAlpha;
    throughput.hitLanes = split.passing;
    throughput.shadingNormal = &hit.dg.shadingNormal;
    throughput.material = &material;
    return throughput;
}

void shadeLobes(const znRTBRDFMaterial& material, unsigned terms,
                const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                znRTHitSurface& hit, const znRTAlphaSplit& split, znRTFragment& fragment,
                const znFloatType<2>& mask, znRTShadingState& state)
{
    znRTLobeLight light;
    const znRTLitHit lit{ray, data, hit.dg, hit.lobes, hit.wo, split.shaded, material, state};
    if (hit.backLobes.count > 0)
        gatherSides(lit, material, hit, light);
    else
        gatherLight(lit, material, hit, light);
    for (const znRTLobeSet::Entry& entry : hit.lobes)
        if (entry.lobe->isSelected(lobeType::specular))
            light.indirect[surfaceSpecular] = evaluateMirror(lit, entry, split.surfaceAlpha);

    znRTColorPacket surface[surfaceTermCount];
    surface[surfaceDiffuse] = hit.diffuse;
    surface[surfaceGlossy] = hit.glossy;
    surface[surfaceSpecular] = hit.specular;
    surface[surfaceTranslucent] = hit.translucent;
    surface[surfaceEmission] = emissionOf(material, ray, data, hit, split.shaded);
    surface[surfaceTransparency] = hit.transparency;

    const znRTThroughput throughput = throughputOf(material, hit, split);
    if (hit.backLobes.count > 0)
        terms |= shadeTranslucent;
    if (const Update update = updateOf[terms & 15])
        (fragment.*update)(ray, data, surface, {light.ibl, light.direct, light.indirect}, state,
                           throughput, mask);
}

void showBehind(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                const znRTHitSurface& hit, znRTFragment& fragment, const znFloatType<2>& mask,
                znRTShadingState& state)
{
    znRTThroughput throughput;
    throughput.blend = znFloatType<2>::noLanes();
    throughput.surfaceAlpha = 0.0f;
    throughput.hitLanes = mask;
    fragment.updateToColor(ray, data, znRTColorPacket(0.0f), hit.transparency, state, throughput,
                           mask);
}

void enterLobes(const znRTHitSurface& hit, const znRTBRDF& passThrough,
                znRTSurfaceProperties& surface, const znFloatType<2>& mask, int group)
{
    if (const znRTLobeParameters* const lanes = hit.dg.parameters)
        for (int which = 0; which < 2; ++which)
            surface.useParameters(which).maskedUpdate(lanes[which], mask);
    const auto isWanted = [group](const znRTBRDF& lobe) {
        return group < 0 || znRTSurfaceProperties::getGroup(lobe.getTypeFlags()) == group;
    };
    for (const znRTLobeSet* const lobes : {&hit.lobes, &hit.backLobes})
        for (const znRTLobeSet::Entry& entry : *lobes)
            if (isWanted(*entry.lobe))
                surface.addComponent(*entry.lobe, entry.color, *entry.onb, entry.mask, hit.alpha);
    const znFloatType<2> passing = mask & (hit.alpha < znFloatType<2>(1.0f));
    if (anyLane(passing) && isWanted(passThrough)) {
        znRTColorPacket color = hit.transparency;
        color.a = 1.0f;
        surface.addComponent(passThrough, color, hit.onb, passing);
    }
}
