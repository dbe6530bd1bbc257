#include "accel/walk/objectTests.h"

#include "camera/znRTClippingShape.h"

znRTClippedInterval::znRTClippedInterval(const znRTIntersector& object, const znRTRayPacket& ray,
                                         const znFloatType<2>& rayTMin,
                                         znRTHitInfoPacket& hitPacket)
    : tMin(rayTMin), hit(hitPacket), savedT(hitPacket.t), savedMask(hitPacket.hitMask)
{
    for (const znRTClippingShape* shape : object.getClippingShapes())
        shape->clipPacket(ray.origin, ray.direction, tMin, hit.t, tMin, hit.t);
    hit.hitMask = 0;
}

znRTClippedInterval::~znRTClippedInterval()
{
    hit.t = select(expandLanes(int(hit.hitMask)), hit.t, savedT);
    hit.hitMask |= savedMask;
}
