// Trace operations: they forward to the current scene, with the word whether clipping counts.

#include "accel/sceneLamps.h"
#include "accel/znRTAccelerator.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTFloatControl.h"
#include "core/znRTRayPacketBundle.h"
#include "geometry/znRTGeometryNode.h"
#include "host/osg/Node.h"
#include "render/rayObservation.h"
#include "render/znRTRenderUtils.h"

#include <limits>

namespace {

/// From this many packets on one walk for all is faster than one for each.
constexpr unsigned smallestBundle = 4;
constexpr unsigned selectionTree = 1;

bool canTrace()
{
    const znRTAccelerator* scene = znRTRenderUtils::s_currentAccelerator;
    return scene && scene->isValid();
}

} // namespace

void znRTRenderUtils::getIntersection(const znRTRayPacketBundle& rays, const znFloatType<2>* tMin,
                                      const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits,
                                      const int* laneMasks)
{
    if (!canTrace())
        return;
    const bool clipping = s_currentAccelerator->hasClippingShapes();
    if (rays.coherent && rays.count >= smallestBundle)
        s_currentAccelerator->intersectCO(rays, tMin, tMax, hits, laneMasks, clipping);
    else
        for (unsigned i = 0; i < rays.count; ++i)
            s_currentAccelerator->intersect(rays.rays[i], tMin[i], tMax[i], hits.hits[i],
                                            laneMasks[i], clipping);
    const znRTSceneLamps& lamps = s_currentAccelerator->getLamps();
    if (!lamps.isEmpty())
        for (unsigned i = 0; i < rays.count; ++i)
            lamps.intersect(rays.rays[i], tMin[i], hits.hits[i], laneMasks[i]);
    if (znRTRayObserver::s_current)
        observeBundle(rays, tMin, tMax, hits, laneMasks);
}

void znRTRenderUtils::getIntersection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                      const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask)
{
    if (!canTrace())
        return;
    s_currentAccelerator->intersect(ray, tMin, tMax, hit, mask,
                                    s_currentAccelerator->hasClippingShapes());
    s_currentAccelerator->getLamps().intersect(ray, tMin, hit, mask);
    if (znRTRayObserver::s_current)
        observeRays(znRTObservedRay::nearest, ray, tMin, tMax, hit, mask);
}

void znRTRenderUtils::getIntersection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                      const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask,
                                      unsigned tree)
{
    if (!canTrace())
        return;
    s_currentAccelerator->intersectHierarchy(ray, tMin, tMax, hit, mask,
                                             s_currentAccelerator->hasClippingShapes(), tree);
    if (znRTRayObserver::s_current)
        observeRays(tree == 0 ? znRTObservedRay::nearest : znRTObservedRay::selection, ray, tMin,
                    tMax, hit, mask);
}

void znRTRenderUtils::getShadowIntersection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                            const znFloatType<2>& tMax, znRTHitInfoPacket& hit,
                                            int mask)
{
    if (!canTrace())
        return;
    s_currentAccelerator->intersectShadow(ray, tMin, tMax, hit, mask,
                                          s_currentAccelerator->hasClippingShapes());
    if (znRTRayObserver::s_current)
        observeRays(znRTObservedRay::shadow, ray, tMin, tMax, hit, mask);
}

void znRTRenderUtils::getSelectionIntersection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                               const znFloatType<2>& tMax, znRTHitInfoPacket& hit,
                                               int mask)
{
    getIntersection(ray, tMin, tMax, hit, mask, selectionTree);
}

void znRTRenderUtils::getShadingData(const znRTRayDifferentialPacket& ray,
                                     znRTDataBlockPacket& block, bool shadow, u32 extraAttributes,
                                     u32 extraRequirements)
{
    if (s_currentAccelerator)
        s_currentAccelerator->getShadingData(ray, block, shadow, extraAttributes,
                                             extraRequirements);
}

void znRTRenderUtils::getAmbientOcclusionData(znRTDataBlockPacket& block)
{
    if (s_currentAccelerator)
        s_currentAccelerator->getAmbientOcclusionData(block);
}

namespace {

/// Locked objects are not picked, and do not hide what is behind them from a pick.
bool isLocked(const znRTGeometryNode& object)
{
    return object.getNode()->getLock() || object.getNode()->hasLockedParent();
}

/// First hit of lane 0 on an object that may be picked.
/// @return the object, or null
const znRTGeometryNode* findPickedObject(const znRTRayDifferentialPacket& ray,
                                         znRTHitInfoPacket& hit)
{
    constexpr int firstLane = 1;
    const znFloatType<2> tMax(std::numeric_limits<float>::max());
    for (znFloatType<2> tMin(0.0f);; tMin = hit.t) {
        hit.reset(tMax);
        znRTRenderUtils::getIntersection(ray, tMin, tMax, hit, firstLane);
        if (!(hit.hitMask & firstLane))
            return nullptr;
        const znRTGeometryNode* const object = znRTRenderUtils::getSceneNode(u32(hit.geometry[0]));
        if (!object || !object->isAlive())
            return nullptr;
        if (!isLocked(*object))
            return object;
    }
}

} // namespace

bool znRTRenderUtils::getHitPoint(const znRTVector3f& origin, const znRTVector3f& direction,
                                  znRTVector3f& position, znRTVector3f& normal, osg::NodePtr& node)
{
    const znRTFloatControl flushDenormals;
    if (!canTrace() || !(direction.getSquareLength() > 0.0f))
        return false;
    const znRTRayPacket packet{znRTVector3fPacket(origin), znRTVector3fPacket(direction)};
    const znRTRayDifferentialPacket ray(packet);
    znRTHitInfoPacket hit;
    const znRTGeometryNode* const object = findPickedObject(ray, hit);
    if (!object)
        return false;
    znRTDataBlockPacket block(hit);
    getShadingData(ray, block, false);
    position = ray.pointAt(hit.t).getLane(0);
    normal = block.shadingNormal().getLane(0);
    node = object->getNode();
    return true;
}
