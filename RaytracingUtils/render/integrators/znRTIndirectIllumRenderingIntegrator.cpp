#include "render/integrators/znRTIndirectIllumRenderingIntegrator.h"

#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/shadeHits.h"

template <class G>
void znRTIndirectIllumRenderingIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                                        znRTRayDifferentialPacket& ray,
                                                        znRTDataBlockPacket& block,
                                                        u32 sampleOffset)
{
    integrateHits(fragment, *camera, ray, block, sampleOffset, {}, [&](znRTPrimaryHits& hits) {
        // Only a fragment with layers keeps indirect light apart.
        znRTMultilayerFragment shaded;
        shaded.clear();
        shadeHits(shaded, ray, block, hits);
        znRTColorPacket color = shaded.layers[ZN_PASS_DIFFUSE_INDIRECT_ILLUMINATION] +
                                shaded.layers[ZN_PASS_GLOSSY_INDIRECT_ILLUMINATION] +
                                shaded.layers[ZN_PASS_TRANSLUCENCY_INDIRECT_ILLUMINATION];
        color.a = znFloatType<2>(1.0f);
        showColor(fragment, color, ray, block, hits);
    });
}

template class znRTIndirectIllumRenderingIntegrator<znRTFragment>;
template class znRTIndirectIllumRenderingIntegrator<znRTMultilayerFragment>;

znRTRenderTask* createIndirectTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTIndirectIllumRenderingIntegrator, znRTFragment>(key);
}
