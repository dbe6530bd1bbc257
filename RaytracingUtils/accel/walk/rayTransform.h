#pragma once

// The part of a packet that a walk over triangles needs, in object space.

#include "core/znRTRayPacket.h"

struct znRTObjectRays
{
    znRTVector3fPacket invDirection, origin, direction;

    znRTObjectRays(const znRTRayPacket& ray, const znMatrix4x4& toObject)
        : origin(znRTVectorMath::transformAsLocation(ray.origin, toObject)),
          direction(znRTVectorMath::transformAsDirection(ray.direction, toObject))
    {
        invDirection = {reciprocalOrInfinity(direction.x), reciprocalOrInfinity(direction.y),
                        reciprocalOrInfinity(direction.z)};
    }
};
