#include "material/environmentSampling.h"

#include "core/rayTypes.h"
#include "core/znRTRayPacket.h"
#include "gi/randomDecisions.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/gatherRays.h"
#include "material/openSky.h"
#include "material/shadowOrigin.h"

namespace {

/// A lobe, or several with one density, that directions are drawn from.
struct Technique
{
    const znRTBRDF* lobe;
    const znRTONB* onb;
    znFloatType<2> mask;
    znRTVector3fPacket wo; ///< in the frame
};

/// Light of one direction on both kinds of lobes.
struct Split
{
    znRTColorPacket diffuse{0.0f}, glossy{0.0f};

    void add(const znRTColorPacket& onDiffuse, const znRTColorPacket& onGlossy,
             const znFloatType<2>& lanes)
    {
        diffuse += onDiffuse & lanes;
        glossy += onGlossy & lanes;
    }
};

class EnvironmentEstimate
{
public:
    EnvironmentEstimate(const znRTLitHit& newHit, const znRTInfiniteAreaLight& newLight)
        : hit(newHit), light(newLight)
    {
    }

    /// Finds the lobes that draw for themselves.
    void takeTechniques()
    {
        if (hit.lobes.mixture) {
            add(*hit.lobes.mixture, *hit.lobes.begin()->onb, hit.mask);
            return;
        }
        for (const znRTLobeSet::Entry& entry : hit.lobes)
            if (!entry.lobe->isDelta())
                add(*entry.lobe, *entry.onb, hit.mask & entry.mask);
    }

    /// A direction from the environment, on all lobes.
    void addFromLight(const znRTVector2fPacket& u)
    {
        znFloatType<2> lightPdf;
        znRTVector2fPacket uv;
        const znRTVector3fPacket wi =
            light.getGuidedSample(hit.dg.position, u, lightPdf, uv, hit.mask);
        const znFloatType<2> lanes = hit.mask & (lightPdf > znFloatType<2>(0.0f));
        if (!anyLane(lanes))
            return;
        Split split;
        for (const Technique* t = begin(); t != end(); ++t) {
            znFloatType<2> lobePdf;
            const Split reflected = reflect(*t, wi, lobePdf);
            const znFloatType<2> weight = light.getMISWeight(lightPdf, lobePdf);
            split.add(reflected.diffuse * weight, reflected.glossy * weight, lanes & t->mask);
        }
        const znFloatType<2> lit = brightLanes(split);
        if (anyLane(lit))
            addShadowed(wi, split, light.getDrawnIntensity(wi, uv, lit));
    }

    /// A direction from the environment, one of several, beside rays that the lobes send out.
    void addFromLight(const znRTVector2fPacket& u, const znRTGatherPlan& plan)
    {
        znFloatType<2> lightPdf;
        znRTVector2fPacket uv;
        const znRTVector3fPacket wi =
            light.getGuidedSample(hit.dg.position, u, lightPdf, uv, hit.mask);
        const znFloatType<2> lanes = hit.mask & (lightPdf > znFloatType<2>(0.0f));
        const znFloatType<2> density = lightPdf * float(plan.skySamples());
        const auto reflected = [&](znRTLobeKind kind, const znFloatType<2>& rays) {
            znFloatType<2> lobePdf;
            const znRTColorPacket value =
                evaluateKind(hit, kind, wi, lanes & (rays > znFloatType<2>(0.0f)), lobePdf);
            return value * light.getMISWeight(density, lobePdf * rays);
        };
        Split split;
        split.add(reflected(znRTLobeKind::diffuse, plan.diffuse),
                  reflected(znRTLobeKind::glossy, plan.glossy), lanes);
        const znFloatType<2> lit = brightLanes(split);
        if (anyLane(lit))
            addShadowed(wi, split, light.getDrawnIntensity(wi, uv, lit));
    }

    /// A direction from the lobes of a technique, on these lobes.
    void addFromLobes(const Technique& t, const znRTVector2fPacket& u)
    {
        if (!anyLane(t.mask))
            return;
        znRTVector3fPacket local;
        znFloatType<2> drawn;
        t.lobe->sample(u, t.wo, hit.dg, local, drawn);
        const znRTVector3fPacket wi = t.onb->toWorld(local);
        znFloatType<2> lobePdf, lightPdf;
        const Split reflected = reflectLocal(t, local, lobePdf);
        const znFloatType<2> lanes = t.mask & drawn & (lobePdf > znFloatType<2>(0.0f));
        if (!anyLane(lanes))
            return;
        const znRTColorPacket radiance =
            radianceWithPdf(light, hit.dg.position, wi, lanes, lightPdf);
        const znFloatType<2> weight = light.getMISWeight(lobePdf, lightPdf);
        Split split;
        split.add(reflected.diffuse * weight, reflected.glossy * weight, lanes);
        addShadowed(wi, split, radiance);
    }

    const Technique* begin() const { return techniques; }
    const Technique* end() const { return techniques + count; }

    Split sum;

private:
    void add(const znRTBRDF& lobe, const znRTONB& onb, const znFloatType<2>& mask)
    {
        techniques[count++] = {&lobe, &onb, mask, onb.toLocal(hit.wo)};
    }

    static znFloatType<2> brightLanes(const Split& split)
    {
        return maximum(split.diffuse.getMax(), split.glossy.getMax()) > znFloatType<2>(0.0f);
    }

    Split reflect(const Technique& t, const znRTVector3fPacket& wi, znFloatType<2>& pdf) const
    {
        return reflectLocal(t, t.onb->toLocal(wi), pdf);
    }

    /// Values of the lobes times the cosine at the surface.
    Split reflectLocal(const Technique& t, const znRTVector3fPacket& local,
                       znFloatType<2>& pdf) const
    {
        Split split;
        t.lobe->evaluateSplit(t.wo, local, hit.dg, split.diffuse, split.glossy, pdf);
        const znFloatType<2> cosine = maximum(local.z, 0.0f);
        split.diffuse *= cosine;
        split.glossy *= cosine;
        return split;
    }

    void addShadowed(const znRTVector3fPacket& wi, Split split, const znRTColorPacket& radiance)
    {
        split.diffuse *= radiance;
        split.glossy *= radiance;
        const znFloatType<2> lit = brightLanes(split);
        if (!anyLane(lit))
            return;
        const znRTColorPacket passed = znRTLight::getEnvironmentShadowFactor(
            hit.ray, shadowOrigin(hit.data, hit.dg, wi), wi, 0.0f, lit, light.getShadowIntensity(),
            hit.state, int(rayType::environmentShadow));
        sum.add(split.diffuse * passed, split.glossy * passed, lit);
    }

    const znRTLitHit& hit;
    const znRTInfiniteAreaLight& light;
    Technique techniques[znRTLobeSet::capacity];
    int count = 0;
};

} // namespace

void sampleEnvironment(const znRTLitHit& hit, const znRTInfiniteAreaLight& light,
                       const znRTGatherPlan& plan, znRTColorPacket& diffuse,
                       znRTColorPacket& glossy)
{
    EnvironmentEstimate estimate(hit, light);
    const int lanes = moveMask(hit.mask);
    if (plan.sky == &light) {
        const int samples = plan.skySamples();
        for (int i = 0; i < samples; ++i)
            estimate.addFromLight(
                drawPair(hit.state, RandomDecision::environment, samples, i, lanes), plan);
        diffuse = estimate.sum.diffuse;
        glossy = estimate.sum.glossy;
        diffuse.a = glossy.a = 0.0f;
        return;
    }
    // Points that light comes from by way of a ray are many: each is a part of a mean.
    const bool isSeen = hit.state.counterC == 0, isDrawnFrom = light.isDrawnFrom();
    const int samples = isSeen ? int(light.getNumSamples()) : 1;
    estimate.takeTechniques();
    for (int i = 0; i < samples; ++i) {
        if (isDrawnFrom)
            estimate.addFromLight(
                drawPair(hit.state, RandomDecision::environment, samples, i, lanes));
        const znRTVector2fPacket u =
            drawPair(hit.state, RandomDecision::lobeSample, samples, i, lanes);
        for (const Technique& technique : estimate)
            estimate.addFromLobes(technique, u);
    }
    diffuse = estimate.sum.diffuse * (1.0f / float(samples));
    glossy = estimate.sum.glossy * (1.0f / float(samples));
    diffuse.a = glossy.a = 0.0f;
}
