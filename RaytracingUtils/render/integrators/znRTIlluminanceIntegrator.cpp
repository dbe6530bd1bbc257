#include "render/integrators/znRTIlluminanceIntegrator.h"

#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/shadeHits.h"
#include "render/znRTRenderUtils.h"

namespace {

/// Lanes on surfaces that light falls on: all but those of environments.
znFloatType<2> measuredLanes(const znRTDataBlockPacket& block, const znRTPrimaryHits& hits)
{
    znFloatType<2> lanes = znFloatType<2>::noLanes();
    for (u32 i = 0; i < block.materialCount; ++i)
        if (!block.materials[i]->isEnvironment())
            lanes |= block.materialLanes[i];
    return lanes & hits.live;
}

} // namespace

template <class G>
void znRTIlluminanceIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                             znRTRayDifferentialPacket& ray,
                                             znRTDataBlockPacket& block, u32 sampleOffset)
{
    const znRTMaterial* const lux = znRTRenderUtils::getLuxMaterial();
    const znRTExtraData extra =
        lux ? znRTExtraData{lux->getMaterialAttributes(), lux->getShadingRequirements()}
            : znRTExtraData{};
    integrateHits(fragment, *camera, ray, block, sampleOffset, extra, [&](znRTPrimaryHits& hits) {
        roundEdges(ray, block, hits.live, hits.state);
        fragment.updateVectorPasses(ray, block, block.coverage, hits.live);
        const znFloatType<2> measured = measuredLanes(block, hits);
        if (lux && anyLane(measured)) {
            znRTShadingState state = hits.state;
            lux->shade(ray, block, fragment, measured, state);
        }
        storeColor(fragment, fragment.colour, ray, block, hits, znFloatType<2>::allLanes());
    });
    // A reading counts whole, whatever the surface lets through.
    fragment.coverage = znFloatType<2>(1.0f);
}

template class znRTIlluminanceIntegrator<znRTFragment>;
template class znRTIlluminanceIntegrator<znRTMultilayerFragment>;

znRTRenderTask* createIlluminanceTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTIlluminanceIntegrator, znRTFragment>(key);
}
