#include "material/directLighting.h"

#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "gi/randomDecisions.h"
#include "host/znDistribution1D.h"
#include "host/znRTRaytracingSettings.h"
#include "light/znRTUAreaLight.h"
#include "material/lightSample.h"
#include "material/metLamps.h"
#include "material/shadowOrigin.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

namespace {

/// Below this number of lights all are evaluated.
constexpr u64 fewLights = 5;
/// Draws per point at least, when lights are drawn.
constexpr int leastDraws = 4;

// A light without extent that a smooth body reflects onto a dull one is found by rays that hit the
// body where the lobe points at the light, seldom and then as a speck. Along scattered rays such
// lights count as spread over a small cone: directions of the lobe meet it, too, and what the light
// itself brings is weighted beside them. Nothing is lost; bright lines that smooth bodies cast blur
// by as much (A. Kaplanyan, C. Dachsbacher, "Path Space Regularization for Holistic and Robust
// Light Transport", Eurographics 2013).
constexpr float coneCosine = 0.9553365f; ///< half angle 0.3
constexpr float perConeAngle = 1.0f / (6.2831853f * (1.0f - coneCosine));

/// Lanes of rays that a lobe has drawn.
znFloatType<2> scatteredLanes(const znRTRayPacket& ray)
{
    const znIntType<2> flags = ray.type & znIntType<2>(int(rayType::stochasticBounce));
    return andNot(asFloat(flags == znIntType<2>(0)), znFloatType<2>::allLanes());
}

/// Lanes of mask that a light reaches whose reach is limited to some objects.
znFloatType<2> localLanes(const znRTLight& light, const znRTDataBlockPacket& data,
                          const znFloatType<2>& mask)
{
    if (!light.getLocalLighting())
        return mask;
    if (!data.hasLocalLights)
        return znFloatType<2>::noLanes();
    int lanes = 0;
    for (int lane = 0; lane < 4; ++lane) {
        const znDynArray<const znRTLight*>* const list = data.localLights[lane];
        if (!list)
            continue;
        const znRTLight* const* const end = list->data + list->size;
        if (std::find(static_cast<const znRTLight* const*>(list->data), end, &light) != end)
            lanes |= 1 << lane;
    }
    return mask & expandLanes(lanes);
}

/// A lobe that light can show on.
struct LitLobe
{
    const znRTLobeSet::Entry* entry;
    znRTVector3fPacket wo; ///< in its frame
    znFloatType<2> mask;
    bool isGlossy;
    int directions = 0; ///< that it draws itself, to meet lamps
};

class Estimate
{
public:
    Estimate(const znRTRayDifferentialPacket& newRay, const znRTDataBlockPacket& newData,
             const znRTDifferentialGeometry& newDg, const znRTLobeSet& newLobes,
             const znRTVector3fPacket& newWo, const znFloatType<2>& newMask,
             const znRTShadingState& newState)
        : ray(newRay), data(newData), dg(newDg), mask(newMask), state(newState),
          visibility(znRTLight::shadowVisibility(newRay)), diffuse(0.0f), glossy(0.0f),
          scattered(scatteredLanes(newRay) & newMask)
    {
        for (const znRTLobeSet::Entry& entry : newLobes) {
            // What is multiplied with black need not be known.
            const znFloatType<2> lanes =
                mask & entry.mask & (entry.color.getMax() > znFloatType<2>(0.0f));
            if (!entry.lobe->isDelta() && anyLane(lanes))
                lobes[lobeCount++] = {&entry, entry.onb->toLocal(newWo), lanes,
                                      entry.lobe->isSelected(lobeType::glossy), 0};
        }
    }

    /// Whether there is anything to light.
    bool isDark() const { return lobeCount == 0; }

    void addAll(const znDynArray<znRTLight*>& lights)
    {
        findLamps(lights, [&](u64 i) { return float(samplesOf(areaOf(*lights.data[i]))); });
        for (const znRTLight* light : lights) {
            const znFloatType<2> lanes = litLanes(*light, mask);
            if (anyLane(lanes))
                addWhole(*light, lanes);
        }
        addMetLamps();
    }

    /// Draws lights in proportion to their power. All lanes walk through the table together, so one
    /// pass serves the packet.
    void addDrawn(const znDynArray<znRTLight*>& lights, const znDistribution1D& distribution)
    {
        const int count = int(lights.size);
        const int draws = std::max(znRTRenderUtils::s_maxLightEvaluations, leastDraws);
        const int laneMask = moveMask(mask);
        findLamps(lights, [&](u64 i) {
            return float(draws) * (distribution.cdf[i + 1] - distribution.cdf[i]);
        });
        for (int k = 0; k < draws; ++k) {
            const znFloatType<2> choice =
                drawPair(state, RandomDecision::lightChoice, draws, k, laneMask).x;
            const znRTVector2fPacket place =
                drawPair(state, RandomDecision::lightPoint, draws, k, laneMask);
            LightEvalSample sample;
            znFloatType<2> open = mask;
            for (int i = firstCell(distribution, choice, laneMask, count);
                 i <= count && anyLane(open); ++i) {
                const znFloatType<2> caught =
                    open & (choice <= znFloatType<2>(distribution.cdf[i]));
                if (!anyLane(caught))
                    continue;
                // A light that cannot light the lane loses it the draw: no other takes its place.
                open = andNot(caught, open);
                const float probability = distribution.cdf[i] - distribution.cdf[i - 1];
                const znRTLight& light = *lights.data[i - 1];
                const znFloatType<2> lanes = litLanes(light, caught);
                if (probability > 0.0f && anyLane(lanes))
                    take(sample, light, areaOf(light), place, 1.0f / (probability * float(draws)),
                         lanes);
            }
            add(sample);
        }
        addMetLamps();
    }

    const znRTRayDifferentialPacket& ray;
    const znRTDataBlockPacket& data;
    const znRTDifferentialGeometry& dg;
    const znFloatType<2> mask;
    const znRTShadingState& state;
    const znIntType<2> visibility;
    bool catchesShadows = false; ///< see znRTMaterial
    znRTColorPacket diffuse, glossy;

private:
    /// Lanes that a light takes part in at all.
    znFloatType<2> litLanes(const znRTLight& light, const znFloatType<2>& lanes) const
    {
        if (!light.isOn() || light.getDirectWithPhotons() ||
            (catchesShadows && !light.getIlluminateShadowMaterial()))
            return znFloatType<2>::noLanes();
        const znFloatType<2> local = localLanes(light, data, lanes);
        return anyLane(local) ? light.cullLight(dg.position, dg.shadingNormal, local) : local;
    }

    /// The first cell worth testing in any lane.
    static int firstCell(const znDistribution1D& distribution, const znFloatType<2>& choice,
                         int laneMask, int count)
    {
        constexpr float cells = float(znDistribution1D::startTableSize - 1);
        int first = count;
        for (int lane = 0; lane < 4; ++lane)
            if (laneMask >> lane & 1)
                first = std::min(first, distribution.startTable[int(choice[lane] * cells)]);
        return std::max(first, 1);
    }

    /// Points that are seen show the shadow of an area; those that light comes from by way of a
    /// ray are many, and each is a part of a mean.
    bool isSeen() const { return state.counterC == 0; }
    int samplesOf(const znRTUAreaLight* area) const
    {
        return area && isSeen() ? int(area->getNumSamples()) : 1;
    }

    /// Lists the lamps that directions of the lobes are to meet, and decides which lobes draw any:
    /// glossy ones, and where points are seen all before lamps that are drawn by area, which bring
    /// specks of light to what is close to them.
    /// Lights without extent join them for scattered rays.
    /// @param samplesOfLight  place in the list -> float
    template <class Samples>
    void findLamps(const znDynArray<znRTLight*>& lights, const Samples& samplesOfLight)
    {
        if (lights.size > znRTMetLamps::capacity)
            return;
        int directions = 0;
        const bool hasScattered = anyLane(scattered) && hasGlossy();
        for (u64 i = 0; i < lights.size; ++i) {
            const znRTLight& light = *lights.data[i];
            const znRTUAreaLight* const area = areaOf(light);
            if (area ? !area->isMetByRays() : !hasScattered)
                continue;
            const int lanes = moveMask(litLanes(light, area ? mask : scattered));
            if (!lanes)
                continue;
            if (area)
                lamps.add(*area, samplesOfLight(i), lanes);
            else
                cones[coneCount++] = {&light, samplesOfLight(i), lanes};
            // Half as many as points: most of them meet no lamp.
            directions = std::max(directions, (samplesOf(area) + 1) / 2);
        }
        for (int i = 0; i < lobeCount; ++i)
            if (lobes[i].isGlossy || (isSeen() && lamps.hasDrawnByArea()))
                lobes[i].directions = directions;
    }

    bool hasGlossy() const
    {
        return std::any_of(lobes, lobes + lobeCount, [](const LitLobe& l) { return l.isGlossy; });
    }

    /// A sample of a light, beside the directions of lobes that meet it.
    void take(LightEvalSample& sample, const znRTLight& light, const znRTUAreaLight* area,
              const znRTVector2fPacket& place, float weight, const znFloatType<2>& lanes) const
    {
        sample.take(light, area, dg, place, weight, lanes);
        if (!area && coneCount > 0)
            sample.density = select(lanes & scattered, perConeAngle / weight, sample.density);
    }

    /// All samples that a light asks for.
    void addWhole(const znRTLight& light, const znFloatType<2>& lanes)
    {
        const znRTUAreaLight* const area = areaOf(light);
        const int samples = samplesOf(area);
        for (int i = 0; i < samples; ++i) {
            LightEvalSample sample;
            const znRTVector2fPacket place =
                area ? drawPair(state, RandomDecision::lightPoint, samples, i, moveMask(lanes))
                     : znRTVector2fPacket(0.0f, 0.0f);
            take(sample, light, area, place, 1.0f / float(samples), lanes);
            add(sample);
        }
    }

    void add(const LightEvalSample& sample)
    {
        if (!anyLane(sample.mask))
            return;
        znRTColorPacket onDiffuse(0.0f), onGlossy(0.0f);
        for (int i = 0; i < lobeCount; ++i) {
            const LitLobe& lobe = lobes[i];
            const znFloatType<2> lanes = sample.mask & lobe.mask;
            if (!anyLane(lanes))
                continue;
            znFloatType<2> lobePdf;
            znRTColorPacket value = reflected(lobe, lobe.entry->onb->toLocal(sample.wi), lobePdf) *
                                    (lobe.isGlossy ? sample.glossy : sample.diffuse);
            if (lobe.directions > 0)
                value *= shareOf(sample, lobe, lobePdf);
            (lobe.isGlossy ? onGlossy : onDiffuse) += value & lanes;
        }
        addShadowed(sample, onDiffuse, onGlossy);
    }

    /// Weight of a sample beside the directions that the lobe draws; 1 where these do not meet the
    /// light.
    static znFloatType<2> shareOf(const LightEvalSample& sample, const LitLobe& lobe,
                                  const znFloatType<2>& lobePdf)
    {
        const znFloatType<2> one(1.0f), zero(0.0f);
        znFloatType<2> shared = sample.density > zero;
        if (!lobe.isGlossy)
            shared &= sample.byArea;
        const znFloatType<2> all = sample.density + lobePdf * float(lobe.directions);
        return select(shared, sample.density * reciprocalOrZero(all), one);
    }

    /// Lamps by directions of the lobes.
    void addMetLamps()
    {
        if (lamps.isEmpty() && coneCount == 0)
            return;
        for (int i = 0; i < lobeCount; ++i)
            for (int k = 0; k < lobes[i].directions; ++k)
                addMetLamps(lobes[i], k);
    }

    void addMetLamps(const LitLobe& lobe, int k)
    {
        const znRTVector2fPacket u =
            drawPair(state, RandomDecision::lampByLobe, lobe.directions, k, moveMask(lobe.mask));
        znRTVector3fPacket local;
        const znFloatType<2> drawn = lobe.entry->lobe->sample(u, lobe.wo, dg, local) & lobe.mask;
        if (!anyLane(drawn))
            return;
        const znRTVector3fPacket wi = lobe.entry->onb->toWorld(local);
        const znRTVector3fPacket origin = shadowOrigin(data, dg, wi);
        znRTColorPacket value;
        znFloatType<2> lobePdf(0.0f);
        bool isEvaluated = false;
        const auto enter = [&](const LightEvalSample& sample, const znFloatType<2>& lanes) {
            const znRTColorPacket none(0.0f);
            if (lobe.isGlossy)
                addShadowed(sample, none, (value * sample.glossy) & lanes);
            else
                addShadowed(sample, (value * sample.diffuse) & lanes, none);
        };
        const auto evaluateOnce = [&] {
            if (!isEvaluated)
                value = reflected(lobe, local, lobePdf);
            isEvaluated = true;
        };
        for (unsigned i = 0; i < lamps.getCount(); ++i) {
            znRTMetLamps::Hit met;
            if (!lamps.meet(i, origin, wi, drawn, !lobe.isGlossy, met))
                continue;
            evaluateOnce();
            met.lanes &= lobePdf > znFloatType<2>(0.0f);
            enter(lamps.sampleOf(i, met, dg, wi, lobePdf * float(lobe.directions)), met.lanes);
        }
        for (unsigned i = 0; lobe.isGlossy && i < coneCount; ++i) {
            const Cone& cone = cones[i];
            LightEvalSample sample;
            sample.take(*cone.light, nullptr, dg, u, perConeAngle, drawn & expandLanes(cone.lanes));
            znFloatType<2> met = sample.mask & (dot(wi, sample.wi) > znFloatType<2>(coneCosine));
            if (!anyLane(met))
                continue;
            evaluateOnce();
            met &= lobePdf > znFloatType<2>(0.0f);
            sample.glossy *= cone.light->getMISWeight(lobePdf * float(lobe.directions),
                                                      cone.samples * perConeAngle);
            enter(sample, met);
        }
    }

    void addShadowed(const LightEvalSample& sample, const znRTColorPacket& onDiffuse,
                     const znRTColorPacket& onGlossy)
    {
        const znFloatType<2> lit =
            maximum(onDiffuse.getMax(), onGlossy.getMax()) > znFloatType<2>(0.0f);
        if (!anyLane(lit))
            return;
        const znRTVector3fPacket origin = shadowOrigin(data, dg, sample.wi);
        znFloatType<2> end;
        const znRTVector3fPacket way = sample.wayFrom(origin, dg.position, end);
        const znRTColorPacket passed = znRTLight::getShadowFactor(
            ray, origin, way, 0.0f, end, visibility, lit, sample.shadowIntensity, state);
        diffuse += (onDiffuse * passed) & lit;
        glossy += (onGlossy * passed) & lit;
    }

    /// Value of a lobe times the cosine at the surface.
    /// @param wi  in the lobe's frame
    znRTColorPacket reflected(const LitLobe& lobe, const znRTVector3fPacket& wi,
                              znFloatType<2>& pdf) const
    {
        return lobe.entry->lobe->evaluate(lobe.wo, wi, dg, pdf) * maximum(wi.z, 0.0f);
    }

    LitLobe lobes[znRTLobeSet::capacity];
    int lobeCount = 0;
    znRTMetLamps lamps;
    /// A light without extent.
    struct Cone
    {
        const znRTLight* light;
        float samples;
        int lanes;
    };
    Cone cones[znRTMetLamps::capacity];
    unsigned coneCount = 0;
    const znFloatType<2> scattered; ///< lanes of scattered rays
};

} // namespace

void evaluateLights(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                    const znRTDifferentialGeometry& dg, const znRTLobeSet& lobes,
                    const znRTVector3fPacket& wo, const znFloatType<2>& mask,
                    const znRTShadingState& state, const znDynArray<znRTLight*>& lights,
                    znRTColorPacket& diffuse, znRTColorPacket& glossy)
{
    Estimate estimate(ray, data, dg, lobes, wo, mask, state);
    if (!estimate.isDark())
        estimate.addAll(lights);
    diffuse = estimate.diffuse;
    glossy = estimate.glossy;
}

void evaluateDirectLighting(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                            const znRTDifferentialGeometry& dg, const znRTLobeSet& lobes,
                            const znRTVector3fPacket& wo, const znFloatType<2>& mask,
                            const znRTMaterial& material, const znRTShadingState& state,
                            znRTColorPacket& diffuse, znRTColorPacket& glossy)
{
    Estimate estimate(ray, data, dg, lobes, wo, mask, state);
    estimate.catchesShadows = material.catchesShadows();
    const znDynArray<znRTLight*>& lights = znRTRenderUtils::getLights();
    const znDistribution1D* const distribution = znRTRenderUtils::getLightDistribution();
    const bool drawsLights =
        znRTRaytracingSettings::s_lightOptimizationMode != 0 || state.counterC >= 1;
    const bool isTabulated = distribution && u64(distribution->count) == lights.size;
    const bool evaluatesAll = lights.size < fewLights || !drawsLights || !isTabulated;
    if (!estimate.isDark() && evaluatesAll)
        estimate.addAll(lights);
    else if (!estimate.isDark())
        estimate.addDrawn(lights, *distribution);
    diffuse = estimate.diffuse;
    glossy = estimate.glossy;
}
