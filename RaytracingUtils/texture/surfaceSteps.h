#pragma once

// Ways along a surface and steps of coordinates on it, one for the other.

#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"

/// A way in steps of coordinates; 0 where the coordinates have no area.
inline znRTVector2fPacket stepsAlong(const znRTVector3fPacket& way, const znRTVector3fPacket& dPdu,
                                     const znRTVector3fPacket& dPdv)
{
    const znRTVector3fPacket area = cross(dPdu, dPdv);
    const znFloatType<2> squareArea = area.getSquareLength();
    const znFloatType<2> exists = squareArea > znFloatType<2>(0.0f);
    const znFloatType<2> scale = reciprocalOrZero(squareArea);
    return {dot(cross(way, dPdv), area) * scale & exists,
            dot(cross(dPdu, way), area) * scale & exists};
}

/// The other way round; 0 where the coordinates stay.
inline znRTVector3fPacket wayOf(const znRTVector2fPacket& steps, const znRTVector3fPacket& dPdu,
                                const znRTVector3fPacket& dPdv)
{
    const znFloatType<2> zero(0.0f);
    return (dPdu * steps.x + dPdv * steps.y) & ((steps.x != zero) | (steps.y != zero));
}
