#pragma once

// Primitive of a mesh: three indices into the position array of its core.

#include "host/znAligned.h"

struct znRTTriangle
{
    u32 a, b, c;
};
