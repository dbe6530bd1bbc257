#include "render/integrators/znRTNormalRenderingIntegrator.h"

#include "core/shadingRequirements.h"
#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/headlight.h"
#include "render/integrators/primaryHits.h"

namespace {

znRTColorPacket normalColor(const znRTDataBlockPacket& block, const znRTRayPacket& ray)
{
    const znRTVector3fPacket& n = block.shadingNormal();
    const znRTVector3fPacket inView =
        znRTVectorMath::transformAsDirection(n, znRTDataBlockPacket::s_worldToViewMatrix)
            .getNormalized();
    const znFloatType<2> light = headlight(ray, n), half(0.5f);
    return {(inView.x * half + half) * light, (inView.y * half + half) * light,
            (inView.z * half + half) * light, 1.0f};
}

} // namespace

template <class G>
void znRTNormalRenderingIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                                 znRTRayDifferentialPacket& ray,
                                                 znRTDataBlockPacket& block, u32 sampleOffset)
{
    const znRTExtraData extra{0, shadingRequirement::footprint};
    integrateHits(fragment, *camera, ray, block, sampleOffset, extra, [&](znRTPrimaryHits& hits) {
        showColor(fragment, normalColor(block, ray), ray, block, hits);
    });
}

template class znRTNormalRenderingIntegrator<znRTFragment>;
template class znRTNormalRenderingIntegrator<znRTMultilayerFragment>;

znRTRenderTask* createNormalRenderingTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTNormalRenderingIntegrator, znRTFragment>(key);
}
