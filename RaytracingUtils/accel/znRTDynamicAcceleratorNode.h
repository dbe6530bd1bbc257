#pragma once

// Record of one object while a tree over intersectors is built: one cache line, because all
// threads of a build sweep over the same array.

#include "host/znAligned.h"

class znRTIntersector;

struct alignas(64) znRTDynamicAcceleratorNode
{
    float box[6]; ///< x low, x high, y low, y high, z low, z high in the space of the tree
    znRTIntersector* intersector;
    float center[3]; ///< middle of the box
    u32 geometryIndex;
};

static_assert(sizeof(znRTDynamicAcceleratorNode) == 64);
