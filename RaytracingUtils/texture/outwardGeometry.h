#pragma once

// Hits as images along the axes see them.

#include "core/znRTDataBlockPacket.h"

/// Neighbourhood of a projection (see znRTDataBlockPacket::setupTriplanarDifferentialGeometry) with
/// the shading normal as it is stored, not turned to the viewer: what lies along the axes by the
/// side of a surface shows the same texel at a point from both of its sides.
inline void setupOutwardGeometry(const znRTDataBlockPacket& data, znRTDifferentialGeometry& out,
                                 const znFloatType<2>& objectLanes)
{
    data.setupTriplanarDifferentialGeometry(out, objectLanes);
    const znFloatType<2> isTurned =
        dot(data.dg.shadingNormal, data.facedNormal) < znFloatType<2>(0.0f);
    out.shadingNormal = out.shadingNormal ^ (isTurned & znFloatType<2>(-0.0f));
}
