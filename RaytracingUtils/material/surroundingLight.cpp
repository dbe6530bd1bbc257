#include "material/surroundingLight.h"

#include "core/znRTDataBlockPacket.h"
#include "material/environmentSampling.h"
#include "material/znRTMaterial.h"

// The scene has no filtered environments and no photons yet: what they bring is black, and the
// places to add it are here.

void evaluateEnvironmentIllumination(const znRTLitHit& hit, const znRTColorPacket&,
                                     znRTColorPacket& diffuse, znRTColorPacket& glossy)
{
    diffuse = glossy = znRTColorPacket(0.0f);
    const znRTMaterialState& quality = hit.material.getState();
    const znRTInfiniteAreaLight* const light = znRTMaterial::s_environmentLight;
    if (quality.sampleEnvironment && quality.usesEnvironmentMap && light)
        sampleEnvironment(hit, *light, diffuse, glossy);
    if (quality.sampleEnvironment || !quality.usesEnvironmentMap || !quality.useBaking)
        return;
    znRTColorPacket baked = hit.data.bakedColor;
    baked.a = 0.0f;
    diffuse = hit.material.useBaking(diffuse, baked, hit.data) & hit.mask;
}

void evaluateEnvironmentLights(const znRTLitHit&, znRTColorPacket&, znRTColorPacket&) {}

znRTColorPacket evaluateOcclusion(const znRTLitHit&)
{
    return znRTColorPacket(1.0f);
}

void evaluateRayLightPhotons(const znRTDataBlockPacket&, const znFloatType<2>&, znRTColorPacket&) {}
