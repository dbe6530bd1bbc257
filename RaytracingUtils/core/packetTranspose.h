#pragma once

// From one register per lane to one register per channel.

#include "core/znRTColorPacket.h"

/// @param lanes  red, green, blue, alpha of each lane
inline znRTColorPacket colorsOfLanes(const znFloatType<2> (&lanes)[4])
{
    __m128 r = lanes[0].v, g = lanes[1].v, b = lanes[2].v, a = lanes[3].v;
    _MM_TRANSPOSE4_PS(r, g, b, a);
    return {r, g, b, a};
}
