#pragma once

// Directions of a frame as points of the unit square: u is the azimuth in turns from X towards Y,
// v the polar angle from Z over pi. The same map serves lookup and sampling.

#include "brdf/lobeMath.h"
#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"

/// @param axes  X, Y, Z: unit, orthogonal
inline znRTVector2fPacket directionToPolar(const znRTVector3fPacket axes[3],
                                           const znRTVector3fPacket& direction)
{
    const znFloatType<2> x = dot(direction, axes[0]), y = dot(direction, axes[1]);
    const znFloatType<2> z = dot(direction, axes[2]);
    znFloatType<2> u = atan2(y, x) * lobeMath::invTwoPi;
    u += (u < znFloatType<2>(0.0f)) & znFloatType<2>(1.0f);
    // By the half angles: the arc cosine alone would lose the digits near the poles.
    const znFloatType<2> v = atan2(squareRoot(x * x + y * y), z) * lobeMath::invPi;
    return {minimum(u, 1.0f), clamp01(v)};
}

/// @param sinTheta  out: of the polar angle, not below 0
inline znRTVector3fPacket polarToDirection(const znRTVector3fPacket axes[3],
                                           const znRTVector2fPacket& uv, znFloatType<2>& sinTheta)
{
    znFloatType<2> cosTheta, sinPhi, cosPhi;
    sincos(uv.y * lobeMath::pi, sinTheta, cosTheta);
    sincos(uv.x * lobeMath::twoPi, sinPhi, cosPhi);
    sinTheta = maximum(sinTheta, 0.0f);
    return (axes[0] * (sinTheta * cosPhi) + axes[1] * (sinTheta * sinPhi) + axes[2] * cosTheta)
        .getNormalized();
}
