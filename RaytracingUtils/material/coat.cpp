#include "material/coat.h"

#include "brdf/lobeMath.h"

void znRTCoat::addTo(znRTHitSurface& hit, const znFloatType<2>& lanes) const
{
    if (!isOn()) {
        hit.specular = znRTColorPacket(0.0f);
        return;
    }
    const znFloatType<2> one(1.0f);
    const znFloatType<2> cosine = clamp01(dot(hit.wo, hit.onb.n));
    const znFloatType<2> reflected = lobeMath::schlick(f0, lobeMath::schlickRise(cosine));
    for (znRTColorPacket* below : {&hit.diffuse, &hit.glossy, &hit.translucent})
        *below *= one - reflected;
    hit.specular *= reflected;
    hit.lobes.add(mirror, hit.onb, hit.specular, lanes);
}
