#pragma once

// Cells around scattered points, one point in each cube of a grid. S. Worley, "A Cellular Texture
// Basis Function", SIGGRAPH 1996.

#include "texture/procedural/cellHash.h"

struct znCellularHit
{
    znFloatType<2> distance; ///< to the nearest point, [0, 1]; exact, as farther ones count as 1
    znIntType<2> id;         ///< hash of the nearest point's cube
};

/// The nearest of the points around a place.
znCellularHit nearestCell(const znRTVector3fPacket& p);
