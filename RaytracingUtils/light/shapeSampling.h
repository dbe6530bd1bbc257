#pragma once

// Directions about the normal of a shape, for photons.

#include "brdf/lobeSampling.h"
#include "brdf/znRTONB.h"

/// @param flag  1: density cos / pi, else uniform over the hemisphere: 1 / (2 pi)
/// @param pdf   out: per steradian
inline znRTVector3fPacket drawAboutNormal(const znRTVector3fPacket& normal,
                                          const znRTVector2fPacket& u, int flag,
                                          znFloatType<2>& pdf)
{
    znRTONB frame;
    frame.set(normal);
    if (flag == 1) {
        const znRTVector3fPacket local = lobeSampling::cosineHemisphere(u);
        pdf = local.z * lobeMath::invPi;
        return frame.toWorld(local);
    }
    pdf = lobeMath::invTwoPi;
    return frame.toWorld(lobeSampling::fromPolar(u.y, u.x));
}
