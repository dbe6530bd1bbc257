#pragma once

// Points of the unit square in proportion to a table, one per lane.

#include "core/packetMath.h"
#include "core/znRTVector2fPacket.h"
#include "host/znDistribution2D.h"

/// @param u   numbers in [0, 1]: x chooses the row, y the place along it
/// @param uv  out: x along the row, y across; 0 in lanes off the mask
/// @return density over the square; 0 in lanes off the mask
inline znFloatType<2> drawGuided(const znDistribution2D& distribution, const znRTVector2fPacket& u,
                                 const znFloatType<2>& mask, znRTVector2fPacket& uv)
{
    znFloatType<2> pdf(0.0f);
    uv = {0.0f, 0.0f};
    const int lanes = moveMask(mask);
    for (int lane = 0; lane < 4; ++lane) {
        if (!((lanes >> lane) & 1))
            continue;
        float s, t;
        pdf.set(lane, distribution.getSample(u.x[lane], u.y[lane], s, t));
        uv.setLane(lane, {s, t});
    }
    return pdf;
}

/// Density with which drawGuided finds a point.
inline znFloatType<2> guidedDensity(const znDistribution2D& distribution,
                                    const znRTVector2fPacket& uv, const znFloatType<2>& mask)
{
    znFloatType<2> pdf(0.0f);
    const int lanes = moveMask(mask);
    for (int lane = 0; lane < 4; ++lane)
        if ((lanes >> lane) & 1)
            pdf.set(lane, distribution.getPdf(uv.x[lane], uv.y[lane]));
    return pdf;
}
