#pragma once

// Primitive of a line geometry: the vertex numbers of its two ends.

#include "host/znAligned.h"

struct znRTLineSegment
{
    u32 first, second;
};
