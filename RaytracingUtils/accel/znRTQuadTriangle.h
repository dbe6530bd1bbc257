#pragma once

// Four triangles in one record. Leaves name ranges of single triangles; this record is for code
// that moves them in groups.

#include "accel/znRTTriangle.h"

#include <algorithm>

struct znRTQuadTriangle
{
    znRTTriangle triangles[4];

    znRTQuadTriangle& operator=(const znRTQuadTriangle& other)
    {
        std::copy(other.triangles, other.triangles + 4, triangles);
        return *this;
    }
    znRTQuadTriangle() = default;
    znRTQuadTriangle(const znRTQuadTriangle&) = default;

    void swap(znRTQuadTriangle& other)
    {
        std::swap_ranges(triangles, triangles + 4, other.triangles);
    }
};
