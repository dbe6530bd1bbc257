#include "render/integrators/znRTDiscontinuityRenderingIntegrator.h"

#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/headlight.h"
#include "render/integrators/neighbours.h"
#include "render/integrators/primaryHits.h"
#include "render/znRTRenderUtils.h"

namespace {

/// What the neighbours of the pixels see.
void lookBeside(const znRTRayPacket& toward, const znRTCamera& camera, int lanes,
                znRTDataBlockPacket& beside)
{
    const znFloatType<2> nearest(camera.nearClip), farthest(camera.farClip);
    beside.reset(farthest);
    znRTRenderUtils::getIntersection(toward, nearest, farthest, beside.hit, lanes);
    if (beside.hit.hitMask)
        znRTRenderUtils::getShadingData(znRTRayDifferentialPacket(toward), beside, false);
}

/// Edges that the pixels draw: what starts at a pixel toward the right or above, so that lines are
/// one pixel wide; and steps toward all four sides, where the nearer surface draws.
znRTDiscontinuity findEdges(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& block,
                            const znRTCamera& camera, const znFloatType<2>& live)
{
    znRTDiscontinuity edges{};
    edges &= znFloatType<2>::noLanes();
    if (!ray.hasDifferentials)
        return edges;
    znRTDataBlockPacket beside;
    for (int neighbour = 0; neighbour < neighbourCount; ++neighbour) {
        const znRTRayPacket toward = neighbourRay(ray, neighbour);
        lookBeside(toward, camera, moveMask(live), beside);
        znRTDiscontinuity found = compareViews(ray, block, toward, beside);
        const bool startsHere = neighbour == neighbourRight || neighbour == neighbourAbove;
        const znFloatType<2> isBehind =
            andNot(beside.coverage > znFloatType<2>(0.0f), live) | (beside.hit.t > block.hit.t);
        found.depth &= isBehind;
        if (!startsHere) {
            const znFloatType<2> none = znFloatType<2>::noLanes();
            found.node = found.material = found.crease = none;
        }
        edges |= found;
    }
    return edges;
}

/// Lines on paper that is shaded a little; the kind of edge that says most wins.
znRTColorPacket drawEdges(const znRTDiscontinuity& edges, const znFloatType<2>& light)
{
    znRTColorPacket color(mix(0.7f, 0.95f, light));
    color.maskedUpdate(znRTColorPacket(znRTColor(0.1f, 0.2f, 0.9f)), edges.crease);
    color.maskedUpdate(znRTColorPacket(znRTColor(0.0f, 0.6f, 0.1f)), edges.material);
    color.maskedUpdate(znRTColorPacket(znRTColor(0.9f, 0.1f, 0.1f)), edges.node);
    color.maskedUpdate(znRTColorPacket(znRTColor(0.0f, 0.0f, 0.0f)), edges.depth);
    return color;
}

} // namespace

template <class G>
void znRTDiscontinuityRenderingIntegrator<G>::integrate(G& fragment, const znRTCamera* camera,
                                                        znRTRayDifferentialPacket& ray,
                                                        znRTDataBlockPacket& block,
                                                        u32 sampleOffset)
{
    integrateHits(fragment, *camera, ray, block, sampleOffset, {}, [&](znRTPrimaryHits& hits) {
        const znRTDiscontinuity edges = findEdges(ray, block, *camera, hits.live);
        showColor(fragment, drawEdges(edges, headlight(ray, block.shadingNormal())), ray, block,
                  hits);
    });
}

template class znRTDiscontinuityRenderingIntegrator<znRTFragment>;
template class znRTDiscontinuityRenderingIntegrator<znRTMultilayerFragment>;

znRTRenderTask* createDiscontinuityTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTDiscontinuityRenderingIntegrator, znRTFragment>(key);
}
