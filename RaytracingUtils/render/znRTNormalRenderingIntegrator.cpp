#include "render/znRTNormalRenderingIntegrator.h"

#include "camera/znRTCamera.h"
#include "core/shadingRequirements.h"
#include "render/pixelScramble.h"
#include "render/znRTFragment.h"
#include "render/znRTRenderUtils.h"

namespace {

/// What stays of a surface's brightness where it is seen edge-on.
constexpr float edgeBrightness = 0.25f;

znRTColorPacket normalColor(const znRTDataBlockPacket& block, const znRTRayPacket& ray)
{
    const znRTVector3fPacket& n = block.shadingNormal();
    const znRTVector3fPacket inView =
        znRTVectorMath::transformAsDirection(n, znRTDataBlockPacket::s_worldToViewMatrix)
            .getNormalized();
    const znFloatType<2> headlight = mix(edgeBrightness, 1.0f, clamp01(-dot(ray.direction, n)));
    const znFloatType<2> half(0.5f);
    return {(inView.x * half + half) * headlight, (inView.y * half + half) * headlight,
            (inView.z * half + half) * headlight, 1.0f};
}

} // namespace

template <class G>
void znRTNormalRenderingIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                                 znRTRayDifferentialPacket& ray,
                                                 znRTDataBlockPacket& block, u32 sampleOffset)
{
    znRTRenderUtils::getShadingData(ray, block, false, 0, shadingRequirement::footprint);
    fragment.coverage = block.coverage;
    const znFloatType<2> live = block.coverage > znFloatType<2>(0.0f);
    if (!anyLane(live))
        return;

    block.computeShadingData(ray);
    ray.weight = znRTVector3fPacket(1.0f, 1.0f, 1.0f);
    ray.alpha = znFloatType<2>(0.0f);
    znRTShadingState state = primaryState(*camera, ray, sampleOffset);

    znRTColorPacket color = normalColor(block, ray);
    znRTRenderUtils::getWireframeSelectionColor(color, ray, block, int(block.hit.hitMask), state);
    fragment.updateFragmentColor(color, znFloatType<2>(1.0f), live);
}

template class znRTNormalRenderingIntegrator<znRTFragment>;
