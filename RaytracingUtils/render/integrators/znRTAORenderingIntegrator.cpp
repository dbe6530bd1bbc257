#include "render/integrators/znRTAORenderingIntegrator.h"

#include "brdf/lobeMath.h"
#include "brdf/znRTONB.h"
#include "core/rayTypes.h"
#include "core/surfaceOffset.h"
#include "gi/randomDecisions.h"
#include "host/znRTRaytracingSettings.h"
#include "light/znRTLight.h"
#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/primaryHits.h"
#include "render/znRTRenderUtils.h"

namespace {

/// Rays over each hit; still frames add up many samples.
int raysPerHit()
{
    return znRTRaytracingSettings::isStillFrame() ? 4 : 8;
}

/// Reach of occlusion. Without a range of its own a scene darkens what is near in relation to its
/// size: over the whole scene closed rooms would be black. What surrounds a scene is no part of its
/// size.
float occlusionReach()
{
    const float size = znRTRenderUtils::getSceneBoundingSphere().radius;
    const float radius = size > 0.0f ? size : znRTRenderUtils::getFullBoundingSphere().radius;
    return std::min(znRTRenderUtils::s_maxDistance, 0.5f * radius);
}

/// Direction about +z with a density of cosine / pi.
znRTVector3fPacket cosineDirection(const znRTVector2fPacket& sample)
{
    znFloatType<2> sine, cosine;
    sincos(sample.y * lobeMath::twoPi, sine, cosine);
    const znFloatType<2> radius = squareRoot(sample.x);
    return {radius * cosine, radius * sine, squareRoot(znFloatType<2>(1.0f) - sample.x)};
}

/// Share of the rays that reach what surrounds the scene, per lane and colour: transparent surfaces
/// dim them as they dim light.
znRTColorPacket openShare(const znRTRayPacket& ray, const znRTDataBlockPacket& block,
                          const znRTPrimaryHits& hits)
{
    znRTONB frame;
    frame.set(block.shadingNormal());
    const znRTVector3fPacket origin =
        block.position() + block.geometricNormal() * surfaceOffset(block.position(), block.hit.t);
    const znFloatType<2> tMin(znRTRenderUtils::s_minDistance), tMax(occlusionReach());
    const int rays = raysPerHit(), lanes = moveMask(hits.live);
    znRTColorPacket open(0.0f);
    for (int i = 0; i < rays; ++i) {
        const znRTVector2fPacket sample =
            drawPair(hits.state, RandomDecision::environment, rays, i, lanes);
        open += znRTLight::getShadowFactor(
            ray, origin, frame.toWorld(cosineDirection(sample)), tMin, tMax,
            znIntType<2>(int(rayType::environmentShadow)), hits.live, 1.0f, hits.state);
    }
    return open * znFloatType<2>(1.0f / float(rays));
}

} // namespace

template <class G>
void znRTAORenderingIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                             znRTRayDifferentialPacket& ray,
                                             znRTDataBlockPacket& block, u32 sampleOffset)
{
    integrateHits(fragment, *camera, ray, block, sampleOffset, {}, [&](znRTPrimaryHits& hits) {
        showColor(fragment, openShare(ray, block, hits), ray, block, hits);
    });
}

template class znRTAORenderingIntegrator<znRTFragment>;
template class znRTAORenderingIntegrator<znRTMultilayerFragment>;

znRTRenderTask* createAmbientOcclusionTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTAORenderingIntegrator, znRTFragment>(key);
}
