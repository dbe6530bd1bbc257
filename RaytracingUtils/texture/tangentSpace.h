#pragma once

// From the frame of a texture on a surface to the world: x along the first texture coordinate, y
// along the second, z along the shading normal.

#include "brdf/znRTONB.h"
#include "core/znRTDifferentialGeometry.h"

/// Frame about the shading normal as it stands, along the tangent in lanes of the mask with one;
/// any in the others.
inline znRTONB frameAlongTangent(const znRTDifferentialGeometry& dg, const znFloatType<2>& mask)
{
    znRTONB onb;
    const znFloatType<2> withTangent = mask & dg.tangentMask;
    if (anyLane(withTangent))
        onb.set(dg.shadingNormal, dg.tangent, withTangent);
    else
        onb.set(dg.shadingNormal);
    return onb;
}

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

/// The shading normal turned by a relief. J. F. Blinn, "Simulation of Wrinkled Surfaces", SIGGRAPH
/// 1978. Heights go out on the side of the stored normal; coordinates may lie mirrored.
/// @param slope        height per step of either texture coordinate
/// @param inSteps      heights are in steps of the coordinates, not in scene units
/// @return unit; the shading normal in lanes without derivatives
inline znRTVector3fPacket tiltByHeights(const znRTVector2fPacket& slope,
                                        const znRTDifferentialGeometry& dg, bool inSteps)
{
    const znRTVector3fPacket& n = dg.shadingNormal;
    const znFloatType<2> area = dot(cross(dg.dPdu, dg.dPdv), n), sign(-0.0f);
    const znFloatType<2> size = absolute(area);
    const znFloatType<2> turn = (area & sign) ^ andNot(dg.frontFacing, sign);
    znRTVector3fPacket tilt = cross(n, dg.dPdv) * slope.x + cross(dg.dPdu, n) * slope.y;
    if (inSteps)
        tilt *= squareRoot(size);
    const znRTVector3fPacket bent = n * size + (tilt ^ turn);
    const znFloatType<2> squareLength = bent.getSquareLength();
    const znFloatType<2> exists =
        (area != znFloatType<2>(0.0f)) & (squareLength > znFloatType<2>(1e-30f));
    return select(exists, bent * reciprocalSquareRoot(squareLength), n);
}
