#pragma once

// From the frame of a texture on a surface to the world: x along the first texture coordinate, y
// along the second, z along the shading normal.

#include "brdf/znRTONB.h"
#include "core/znRTDifferentialGeometry.h"

/// A normal as maps hold it, in the world and on the viewer's side. Maps are made for the side that
/// the stored normal points to; behind it their slopes lean the other way.
/// @param n  in the frame of the texture, any length above 0
/// @return unit; the shading normal in lanes without derivatives
inline znRTVector3fPacket tangentToWorld(const znRTVector3fPacket& n,
                                         const znRTDifferentialGeometry& dg)
{
    const znFloatType<2> all = znFloatType<2>::allLanes(), sign(-0.0f);
    znRTONB frame;
    frame.set(dg.shadingNormal, select(dg.tangentMask, dg.tangent, dg.dPdu), all);
    // Images may lie mirrored on the surface: the second axis follows the coordinates.
    const znFloatType<2> mirrored = dot(frame.v, dg.dPdv) & sign;
    const znFloatType<2> behind = andNot(dg.frontFacing, sign);
    const znRTVector3fPacket world =
        frame.u * (n.x ^ behind) + frame.v * (n.y ^ behind ^ mirrored) + frame.n * n.z;
    const znFloatType<2> squareLength = world.getSquareLength();
    const znFloatType<2> exists = squareLength > znFloatType<2>(1e-12f);
    return select(exists, world * reciprocalSquareRoot(squareLength), dg.shadingNormal);
}
