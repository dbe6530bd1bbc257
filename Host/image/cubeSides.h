#pragma once

// Which side of a cube a direction meets, and where.

#include "host/znRTVector.h"

struct CubePlace
{
    int side = 0;       ///< +x -x +y -y +z -z
    float s = 0, t = 0; ///< [0, 1]
};

/// OpenGL's table of faces (OpenGL 4.6 core, table 8.19).
CubePlace findCubePlace(const znRTVector3f& direction);

/// Place in an unfolded cube, as columns and rows of sides from the top left.
struct CrossPlace
{
    float column = 0, row = 0;
};

/// @param isTall  3 x 4 sides with the back below the bottom, upside down; else 4 x 3 with the
///                back to the right of the right side
CrossPlace findCrossPlace(const znRTVector3f& direction, bool isTall);
