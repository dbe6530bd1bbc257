#include "material/coat.h"

#include "brdf/lobeMath.h"
#include "material/mirrorLight.h"

namespace {

/// Large waves with half as high ones on them.
constexpr float peelOctaves = 2.0f;

} // namespace

void znRTCoat::set(float newF0, float amount, float size)
{
    f0 = newF0;
    peel.reset();
    if (isOn() && amount > 0.0f && size > 0.0f)
        peel = std::make_unique<znRTSimplex3DStructure>(amount * size, 1.0f / size, peelOctaves);
}

void znRTCoat::fetch(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                     const znFloatType<2>& mask, znRTHitSurface& hit) const
{
    hit.specular = color.fetch(data, mask);
    if (peel)
        hit.coatTilt = peel->getNormal(ray, data, mask) - data.dg.shadingNormal;
}

void znRTCoat::addTo(znRTHitSurface& hit, const znFloatType<2>& lanes) const
{
    if (!isOn()) {
        hit.specular = znRTColorPacket(0.0f);
        return;
    }
    const znRTONB* onb = &hit.onb;
    if (peel) {
        const znRTVector3fPacket d = -hit.wo, n = (hit.onb.n + hit.coatTilt).getNormalized();
        hit.coatOnb.set(normalOfMirror(d, mirrorAboveSurface(d, n, hit.dg.geometricNormal), n));
        onb = &hit.coatOnb;
    }
    const znFloatType<2> one(1.0f);
    const znFloatType<2> cosine = clamp01(dot(hit.wo, onb->n));
    const znFloatType<2> reflected = lobeMath::schlick(f0, lobeMath::schlickRise(cosine));
    // Where a map leaves the coat out, all is left for what lies bare there.
    const znFloatType<2> cover =
        clamp01(maximum(maximum(hit.specular.r, hit.specular.g), hit.specular.b));
    for (znRTColorPacket* below : {&hit.diffuse, &hit.glossy, &hit.translucent})
        *below *= one - reflected * cover;
    hit.specular *= reflected;
    hit.lobes.add(mirror, *onb, hit.specular, lanes);
}
