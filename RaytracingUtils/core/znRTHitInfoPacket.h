#pragma once

// What a walk finds for four rays. Who starts a walk calls reset with the far end of the rays:
// walks are bounded by t and only ever shorten it. The geometry fields are filled for the
// primitives that compute them at the hit (curved surfaces); triangles leave them alone.

#include "core/znRTVector3fPacket.h"

class znRTHitInfoPacket
{
public:
    znFloatType<2> t;       ///< distance along the direction; 0 for an opaque shadow hit
    znIntType<2> primitive; ///< number inside the geometry
    znIntType<2> geometry;  ///< number of the geometry node
    znFloatType<2> u, v;    ///< barycentrics or surface parameters
    znRTVector3fPacket position;
    znRTVector3fPacket dPdu, dPdv;
    znRTVector3fPacket d2Pduu, d2Pduv, d2Pdvv;
    unsigned hitMask;  ///< bit l: lane l hit something
    unsigned hitFlags; ///< bit l: the hit of lane l is on a transparent surface

    /// Starts a walk up to farEnd.
    void reset(znFloatType<2> farEnd)
    {
        t = farEnd;
        primitive = znIntType<2>(-1);
        geometry = znIntType<2>(-1);
        hitMask = 0;
        hitFlags = 0;
    }
};
