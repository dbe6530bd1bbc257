#include "render/rayObservation.h"

#include "core/znRTRayPacketBundle.h"
#include "geometry/znRTGeometryNode.h"
#include "host/osg/Node.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

namespace {

/// What a nearest hit knows of its surface.
void describeSurface(const znRTHitInfoPacket& hit, int lane, znRTObservedRay& out)
{
    out.primitive = u32(hit.primitive[lane]);
    out.u = hit.u[lane];
    out.v = hit.v[lane];
    const znRTGeometryNode* const object = znRTRenderUtils::getSceneNode(u32(hit.geometry[lane]));
    if (!object)
        return;
    out.nodeId = object->getNode() ? object->getNode()->getId() : 0;
    if (const znRTMaterial* const material = object->getActiveMaterial()) {
        out.materialId = material->getMaterialId();
        out.materialClass = material->getTypeId().getName();
    }
}

znRTObservedRay describeLane(znRTObservedRay::Query query, const znRTRayPacket& ray, int lane,
                             float tMin, float tMax, const znRTHitInfoPacket& hit)
{
    znRTObservedRay out;
    out.query = query;
    out.type = u32(ray.type[lane]);
    out.origin = ray.origin.getLane(lane);
    out.direction = ray.direction.getLane(lane);
    out.tMin = tMin;
    out.tMax = tMax;
    out.weight = ray.weight.getLane(lane);
    out.isHit = hit.hitMask >> lane & 1;
    out.position = out.origin;
    if (!out.isHit)
        return out;
    out.isTransparentHit = hit.hitFlags >> lane & 1;
    out.t = hit.t[lane];
    out.position = ray.pointAt(hit.t).getLane(lane);
    if (query != znRTObservedRay::shadow)
        describeSurface(hit, lane, out);
    return out;
}

bool isObserved(const znRTRayObserver& observer, const znRTRayPacket& ray, int lane)
{
    return ray.pixelX[lane] == observer.pixelX && ray.pixelY[lane] == observer.pixelY;
}

} // namespace

void observeRays(znRTObservedRay::Query query, const znRTRayPacket& ray, const znFloatType<2>& tMin,
                 const znFloatType<2>& tMax, const znRTHitInfoPacket& hit, int mask)
{
    znRTRayObserver& observer = *znRTRayObserver::s_current;
    for (int lane = 0; lane < 4; ++lane)
        if ((mask >> lane & 1) && isObserved(observer, ray, lane))
            observer.onRay(describeLane(query, ray, lane, tMin[lane], tMax[lane], hit));
}

void observeBundle(const znRTRayPacketBundle& rays, const znFloatType<2>* tMin,
                   const znFloatType<2>* tMax, const znRTHitInfoPacketBundle& hits,
                   const int* laneMasks)
{
    for (unsigned i = 0; i < rays.count; ++i)
        observeRays(znRTObservedRay::nearest, rays.rays[i], tMin[i], tMax[i], hits.hits[i],
                    laneMasks[i]);
}
