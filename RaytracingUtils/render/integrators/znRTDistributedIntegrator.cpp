#include "render/integrators/znRTDistributedIntegrator.h"

#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/shadeHits.h"

template <class G>
void znRTDistributedIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                             znRTRayDifferentialPacket& ray,
                                             znRTDataBlockPacket& block, u32 sampleOffset)
{
    integrateHits(fragment, *camera, ray, block, sampleOffset, {}, [&](znRTPrimaryHits& hits) {
        shadeHits(fragment, ray, block, hits);
        applyAtmosphere(fragment, ray, block);
        storeColor(fragment, fragment.colour, ray, block, hits, znFloatType<2>::allLanes());
    });
}

template class znRTDistributedIntegrator<znRTFragment>;
template class znRTDistributedIntegrator<znRTMultilayerFragment>;

znRTRenderTask* createDistributedTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTDistributedIntegrator, znRTFragment>(key);
}
