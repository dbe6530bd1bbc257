#include "render/integrators/znRTAnalyticRenderingIntegrator.h"

#include "host/znRTSceneHandler.h"
#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/headlight.h"
#include "render/integrators/shadeHits.h"
#include "render/integrators/stripes.h"

namespace {

znRTVector3fPacket mirrorDirection(const znRTVector3fPacket& direction,
                                   const znRTVector3fPacket& normal)
{
    return direction - normal * (dot(direction, normal) * 2.0f);
}

/// A body of the base colour that mirrors stripes of the stripe colour.
znRTColorPacket stripedColor(const znRTRayPacket& ray, const znRTDataBlockPacket& block)
{
    const znRTSurfaceAnalysisSettings& settings =
        znRTSceneHandler::s_currentSurfaceAnalysisSettings;
    const znRTVector3fPacket& n = block.shadingNormal();
    const znRTVector3fPacket looked =
        settings.getIsophotes() ? n : mirrorDirection(ray.direction, n);
    const znFloatType<2> isLit =
        isInStripe(settings, stripePlace(settings, block.position(), looked));
    const znFloatType<2> light = headlight(ray, n);
    const znRTVector3f &base = settings.getBaseColor(), &glossy = settings.getGlossyColor(),
                       &stripe = settings.getStripeColor();
    const auto channel = [&](float baseValue, float glossyValue, float stripeValue) {
        return light * baseValue + (isLit & znFloatType<2>(glossyValue * stripeValue));
    };
    return {channel(base.x, glossy.x, stripe.x), channel(base.y, glossy.y, stripe.y),
            channel(base.z, glossy.z, stripe.z), 1.0f};
}

} // namespace

template <class G>
void znRTAnalyticRenderingIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                                   znRTRayDifferentialPacket& ray,
                                                   znRTDataBlockPacket& block, u32 sampleOffset)
{
    const bool hasStripes = znRTSceneHandler::s_currentSurfaceAnalysisSettings.getMode() !=
                            znRTSurfaceAnalysisSettings::off;
    integrateHits(fragment, *camera, ray, block, sampleOffset, {}, [&](znRTPrimaryHits& hits) {
        roundEdges(ray, block, hits.live, hits.state);
        fragment.updateVectorPasses(ray, block, block.coverage, hits.live);
        if (!hasStripes)
            forEachMaterial(block, hits,
                            [&](const znRTMaterial& material, const znFloatType<2>& mask,
                                znRTShadingState& state) {
                                material.shadeAnalytic(ray, block, fragment, mask, state);
                            });
        const znRTColorPacket color = hasStripes ? stripedColor(ray, block) : fragment.colour;
        storeColor(fragment, color, ray, block, hits, hits.live);
    });
}

template class znRTAnalyticRenderingIntegrator<znRTFragment>;
template class znRTAnalyticRenderingIntegrator<znRTMultilayerFragment>;

znRTRenderTask* createAnalyticTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTAnalyticRenderingIntegrator, znRTFragment>(key);
}
