#pragma once

// The neighbourhood of four hit points, one per lane: position, normals, and their derivatives
// along the surface parameters (u, v) and the image plane (x, y). World space; the image footprint
// is that of one pixel times the differential scale of the ray.

#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"

struct znRTLobeParameters;

/// Position and normals of a hit, the part that shading may change for a while and put back.
struct znRTSurfacePoint
{
    znRTVector3fPacket position;
    znRTVector3fPacket geometricNormal; ///< unit, on the viewer's side
    znRTVector3fPacket shadingNormal;   ///< unit, on the viewer's side
};

struct znRTDifferentialGeometry : znRTSurfacePoint
{
    znFloatType<2> frontFacing; ///< mask: the ray met the side that the stored normal points to

    znRTVector3fPacket dPdu, dPdv;
    znRTVector3fPacket dNdu, dNdv;
    znRTVector3fPacket dPdx, dPdy;
    znRTVector3fPacket dNdx, dNdy;
    znRTVector2fPacket uv; ///< texture coordinates in force
    znRTVector2fPacket dUVdx, dUVdy;

    znRTVector3fPacket tangent; ///< from the vertices; not made orthogonal to the normal
    znFloatType<2> tangentMask; ///< lanes that have one

    /// Per-lane lobe parameters (glossiness textures) that lobes read in place of their own; two
    /// consecutive records, or null.
    const znRTLobeParameters* parameters;
};
