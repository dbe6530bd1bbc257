#include "material/environmentLookup.h"

#include "light/znRTInfiniteAreaLight.h"
#include "material/znRTMaterial.h"

namespace {

/// f0 + (1 - f0) (1 - cos)^5 (C. Schlick, "An Inexpensive BRDF Model for Physically-based
/// Rendering", 1994, eq. 24) by the record, where the lobe knows no better.
znRTColorPacket reflectanceOf(const znRTLitHit& hit, const znRTBRDF* lobe,
                              const znFloatType<2>& cosine)
{
    if (lobe && lobe->getFresnel())
        return lobe->getEnvironmentFresnel(cosine, hit.dg);
    const znFloatType<2> grazing = znFloatType<2>(1.0f) - cosine;
    const znFloatType<2> m = square(square(grazing)) * grazing;
    const float f0 = hit.material.getEnvironmentF0();
    return znRTColorPacket(mix(f0, 1.0f, m));
}

} // namespace

void lookUpEnvironment(const znRTLitHit& hit, const znRTInfiniteAreaLight& light,
                       const znRTColorPacket& occlusion, znRTColorPacket& diffuse,
                       znRTColorPacket& glossy, znFloatType<2>& lost)
{
    diffuse = glossy = znRTColorPacket(0.0f);
    lost = 0.0f;
    const float scale = hit.material.getEnvironmentFresnelScale();
    const znRTBRDF* glossyLobe = nullptr;
    for (const znRTLobeSet::Entry& entry : hit.lobes) {
        const znFloatType<2> lanes = hit.mask & entry.mask;
        if (entry.lobe->isDelta() || !anyLane(lanes))
            continue;
        const znRTVector3fPacket& n = entry.onb->n;
        if (!entry.lobe->isSelected(lobeType::glossy)) {
            diffuse.maskedUpdate(light.getFilteredIntensity(n, 0.0f, lanes) * occlusion, lanes);
            continue;
        }
        glossyLobe = entry.lobe;
        const znFloatType<2> cosine = dot(n, hit.wo);
        const znRTColorPacket f = reflectanceOf(hit, glossyLobe, clamp01(cosine));
        const znRTVector3fPacket mirrored = n * (cosine + cosine) - hit.wo;
        const znRTColorPacket seen =
            light.getFilteredIntensity(mirrored, glossyLobe->getEnvironmentLevel(hit.dg), lanes);
        glossy.maskedUpdate(seen * f * occlusion, lanes);
        // Toward the rim such a lobe reflects all, and the rest of the surface must not add to it.
        const float share = glossyLobe->getFresnel() ? 1.0f : scale;
        lost = select(lanes, minimum(luminance(f), 1.0f) * share, lost);
    }
    if (!glossyLobe)
        lost = luminance(reflectanceOf(hit, nullptr, clamp01(dot(hit.dg.shadingNormal, hit.wo)))) *
               scale;
    diffuse.a = glossy.a = 0.0f;
}
