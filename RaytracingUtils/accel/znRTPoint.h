#pragma once

// Primitive of a point geometry: its vertex number.

#include "host/znAligned.h"

class znRTPoint
{
public:
    void setIndices(u32 vertex) { index = vertex; }
    u32 getVertexIndex() const { return index; }

private:
    u32 index;
};
