#include "render/integrators/znRTDebugIntegrator.h"

#include "geometry/znRTGeometryNode.h"
#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/headlight.h"
#include "render/integrators/idColor.h"
#include "render/integrators/primaryHits.h"

namespace {

/// Colours of objects and their primitives. An object is known by its container, so that it keeps
/// its hue when others come and go.
znRTColorPacket objectColor(const znRTDataBlockPacket& block)
{
    znRTColorPacket color(1.0f);
    const znIntType<2> ids = block.resolveToNodeId(0);
    for (int lane = 0; lane < 4; ++lane) {
        const znRTColor hue = idColor(u32(ids[lane]));
        const float brightness = idBrightness(u32(block.hit.primitive[lane]));
        color.setComponent(lane,
                           {hue.r * brightness, hue.g * brightness, hue.b * brightness, 1.0f});
    }
    return color;
}

} // namespace

template <class G>
void znRTDebugIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                       znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                                       u32 sampleOffset)
{
    integrateHits(fragment, *camera, ray, block, sampleOffset, {}, [&](znRTPrimaryHits& hits) {
        znRTColorPacket color = objectColor(block) * headlight(ray, block.geometricNormal());
        for (int lane = 0; lane < 4; ++lane)
            if (ray.isDebugPixel(lane))
                color.setComponent(lane, {1.0f, 1.0f, 1.0f, 1.0f});
        showColor(fragment, color, ray, block, hits);
    });
}

template class znRTDebugIntegrator<znRTFragment>;
template class znRTDebugIntegrator<znRTMultilayerFragment>;

znRTRenderTask* createDebugTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTDebugIntegrator, znRTFragment>(key);
}
