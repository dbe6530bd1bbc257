#include "render/integrators/znRTLightAnalyzingIntegrator.h"

#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/falseColor.h"
#include "render/integrators/shadeHits.h"

template <class G>
void znRTLightAnalyzingIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                                znRTRayDifferentialPacket& ray,
                                                znRTDataBlockPacket& block, u32 sampleOffset)
{
    integrateHits(fragment, *camera, ray, block, sampleOffset, {}, [&](znRTPrimaryHits& hits) {
        shadeHits(fragment, ray, block, hits);
        applyAtmosphere(fragment, ray, block);
        znRTColorPacket color = fragment.colour;
        color.maskedUpdateNoAlpha(falseColor(luminance(color)), hits.live);
        storeColor(fragment, color, ray, block, hits, znFloatType<2>::allLanes());
    });
}

template class znRTLightAnalyzingIntegrator<znRTFragment>;
template class znRTLightAnalyzingIntegrator<znRTMultilayerFragment>;

znRTRenderTask* createLightAnalyzingTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTLightAnalyzingIntegrator, znRTFragment>(key);
}
