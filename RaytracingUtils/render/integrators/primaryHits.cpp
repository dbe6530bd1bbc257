#include "render/integrators/primaryHits.h"

#include "camera/znRTParticipatingMedia.h"
#include "render/pixelScramble.h"
#include "render/znRTRenderUtils.h"

bool beginHits(const znRTCamera& camera, znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
               u32 sampleOffset, const znRTExtraData& extra, znRTPrimaryHits& hits)
{
    znRTRenderUtils::getShadingData(ray, block, false, extra.attributes, extra.requirements);
    hits.live = block.coverage > znFloatType<2>(0.0f);
    if (!anyLane(hits.live))
        return false;
    block.computeShadingData(ray);
    hits.state = primaryState(camera, ray, sampleOffset);
    ray.weight = znRTVector3fPacket(1.0f, 1.0f, 1.0f);
    ray.alpha = znFloatType<2>(0.0f);
    return true;
}

namespace {

/// Calls f(transmittance, scattering, lanes) when there is an atmosphere.
template <class Function>
void withAtmosphere(const znRTRayPacket& ray, const znRTDataBlockPacket& block, Function&& f)
{
    const znRTParticipatingMedia* const atmosphere = znRTRenderUtils::getAtmosphere();
    if (!atmosphere)
        return;
    const znFloatType<2> lanes = expandLanes(int(block.hit.hitMask));
    f(atmosphere->evaluateTransmittance(ray, block.hit.t, lanes),
      atmosphere->evaluateScattering(ray, block.hit.t, lanes), lanes);
}

} // namespace

void applyAtmosphere(znRTFragment& fragment, const znRTRayPacket& ray,
                     const znRTDataBlockPacket& block)
{
    withAtmosphere(ray, block,
                   [&](const znRTColorPacket& transmittance, const znRTColorPacket& scattering,
                       const znFloatType<2>& lanes) {
                       fragment.colour.maskedUpdateNoAlpha(
                           fragment.colour * transmittance + scattering, lanes);
                   });
}

void applyAtmosphere(znRTMultilayerFragment& fragment, const znRTRayPacket& ray,
                     const znRTDataBlockPacket& block)
{
    withAtmosphere(
        ray, block,
        [&](const znRTColorPacket& transmittance, const znRTColorPacket& scattering,
            const znFloatType<2>& lanes) { fragment.updateFog(scattering, transmittance, lanes); });
}

void storeColor(znRTFragment& fragment, znRTColorPacket color, const znRTRayDifferentialPacket& ray,
                const znRTDataBlockPacket& block, znRTPrimaryHits& hits,
                const znFloatType<2>& lanes)
{
    znRTRenderUtils::getWireframeSelectionColor(color, ray, block, int(block.hit.hitMask),
                                                hits.state);
    fragment.updateFragmentColor(color, color.a, lanes);
}

void showColor(znRTFragment& fragment, const znRTColorPacket& color,
               const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& block,
               znRTPrimaryHits& hits)
{
    fragment.updateVectorPasses(ray, block, block.coverage, hits.live);
    storeColor(fragment, {color.r, color.g, color.b, 1.0f}, ray, block, hits, hits.live);
}
