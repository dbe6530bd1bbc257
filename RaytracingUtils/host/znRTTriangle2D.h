#pragma once

// A triangle in the plane of the image.

#include "host/znRTVector.h"

#include <array>

struct znRTTriangle2D
{
    std::array<znRTVector2f, 3> corners;

    void setTriangle(const znRTVector2f& a, const znRTVector2f& b, const znRTVector2f& c)
    {
        corners = {a, b, c};
    }
    bool operator==(const znRTTriangle2D&) const = default;
};
