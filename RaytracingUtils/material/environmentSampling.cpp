#include "material/environmentSampling.h"

#include "core/rayTypes.h"
#include "core/znRTRayPacket.h"
#include "gi/randomDecisions.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/shadowOrigin.h"

namespace {

class EnvironmentEstimate
{
public:
    EnvironmentEstimate(const znRTLitHit& newHit, const znRTInfiniteAreaLight& newLight)
        : hit(newHit), light(newLight), diffuse(0.0f), glossy(0.0f)
    {
    }

    /// A direction from the environment, on all lobes.
    void addFromLight(const znRTVector2fPacket& u)
    {
        znFloatType<2> lightPdf;
        znRTVector2fPacket uv;
        const znRTVector3fPacket wi = light.getFullSphereSample(u, lightPdf, uv, hit.mask);
        const znFloatType<2> lanes = hit.mask & (lightPdf > znFloatType<2>(0.0f));
        if (!anyLane(lanes))
            return;
        const znRTColorPacket radiance = radianceFrom(wi, lanes);
        znRTColorPacket onDiffuse(0.0f), onGlossy(0.0f);
        for (const znRTLobeSet::Entry& entry : hit.lobes) {
            if (entry.lobe->isDelta())
                continue;
            znFloatType<2> lobePdf;
            const znRTColorPacket value = reflected(entry, wi, lobePdf);
            const znFloatType<2> weight = light.getMISWeight(lightPdf, lobePdf);
            (isGlossy(entry) ? onGlossy : onDiffuse) +=
                (value * radiance * weight) & lanes & entry.mask;
        }
        addShadowed(wi, onDiffuse, onGlossy);
    }

    /// A direction from one lobe, on that lobe.
    void addFromLobe(const znRTLobeSet::Entry& entry, const znRTVector2fPacket& u)
    {
        const znFloatType<2> wanted = hit.mask & entry.mask;
        if (entry.lobe->isDelta() || !anyLane(wanted))
            return;
        znRTVector3fPacket local;
        const znFloatType<2> drawn =
            entry.lobe->sample(u, entry.onb->toLocal(hit.wo), hit.dg, local);
        const znRTVector3fPacket wi = entry.onb->toWorld(local);
        znFloatType<2> lobePdf;
        const znRTColorPacket value = reflected(entry, wi, lobePdf);
        const znFloatType<2> lanes = wanted & drawn & (lobePdf > znFloatType<2>(0.0f));
        if (!anyLane(lanes))
            return;
        const znFloatType<2> weight =
            light.getMISWeight(lobePdf, light.getPDF(hit.dg.position, wi, lanes));
        const znRTColorPacket sum = (value * radianceFrom(wi, lanes) * weight) & lanes;
        const znRTColorPacket none(0.0f);
        isGlossy(entry) ? addShadowed(wi, none, sum) : addShadowed(wi, sum, none);
    }

    const znRTLitHit& hit;
    const znRTInfiniteAreaLight& light;
    znRTColorPacket diffuse, glossy;

private:
    static bool isGlossy(const znRTLobeSet::Entry& entry)
    {
        return entry.lobe->isSelected(lobeType::glossy);
    }

    znRTColorPacket radianceFrom(const znRTVector3fPacket& wi, const znFloatType<2>& lanes) const
    {
        return light.getIntensity(hit.dg.position, wi, znRTVector2fPacket(0.0f, 0.0f), lanes);
    }

    /// Value of a lobe times the cosine at the surface.
    znRTColorPacket reflected(const znRTLobeSet::Entry& entry, const znRTVector3fPacket& wi,
                              znFloatType<2>& pdf) const
    {
        const znRTVector3fPacket local = entry.onb->toLocal(wi);
        return entry.lobe->evaluate(entry.onb->toLocal(hit.wo), local, hit.dg, pdf) *
               maximum(local.z, 0.0f);
    }

    void addShadowed(const znRTVector3fPacket& wi, const znRTColorPacket& onDiffuse,
                     const znRTColorPacket& onGlossy)
    {
        const znFloatType<2> lit =
            maximum(onDiffuse.getMax(), onGlossy.getMax()) > znFloatType<2>(0.0f);
        if (!anyLane(lit))
            return;
        const znRTColorPacket passed = znRTLight::getEnvironmentShadowFactor(
            hit.ray, shadowOrigin(hit.data, hit.dg, wi), wi, 0.0f, lit, light.getShadowIntensity(),
            hit.state, int(rayType::environmentShadow));
        diffuse += (onDiffuse * passed) & lit;
        glossy += (onGlossy * passed) & lit;
    }
};

} // namespace

void sampleEnvironment(const znRTLitHit& hit, const znRTInfiniteAreaLight& light,
                       znRTColorPacket& diffuse, znRTColorPacket& glossy)
{
    EnvironmentEstimate estimate(hit, light);
    const int samples = int(light.getNumSamples()), lanes = moveMask(hit.mask);
    for (int i = 0; i < samples; ++i) {
        estimate.addFromLight(drawPair(hit.state, RandomDecision::environment, samples, i, lanes));
        const znRTVector2fPacket u =
            drawPair(hit.state, RandomDecision::lobeSample, samples, i, lanes);
        for (const znRTLobeSet::Entry& entry : hit.lobes)
            estimate.addFromLobe(entry, u);
    }
    diffuse = estimate.diffuse * (1.0f / float(samples));
    glossy = estimate.glossy * (1.0f / float(samples));
    diffuse.a = glossy.a = 0.0f;
}
