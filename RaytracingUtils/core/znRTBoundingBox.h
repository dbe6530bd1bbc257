#pragma once

// Axis-aligned box as six floats, for storage.

#include "core/znRTBoxOperations.h"

#include <limits>

class znRTBoundingBox : public znRTBoxOperations<znRTBoundingBox>
{
public:
    static constexpr float s_empty = std::numeric_limits<float>::max();

    // Inside out, so that what is added first becomes the box.
    float xmin = s_empty, xmax = -s_empty;
    float ymin = s_empty, ymax = -s_empty;
    float zmin = s_empty, zmax = -s_empty;

    znRTBoundingBox() = default;
    znRTBoundingBox(const znRTVector3f& low, const znRTVector3f& high)
        : xmin(low.x), xmax(high.x), ymin(low.y), ymax(high.y), zmin(low.z), zmax(high.z)
    {
    }

    float low(int axis) const { return axis == 0 ? xmin : axis == 1 ? ymin : zmin; }
    float high(int axis) const { return axis == 0 ? xmax : axis == 1 ? ymax : zmax; }
    void setAxis(int axis, float low, float high)
    {
        (axis == 0 ? xmin : axis == 1 ? ymin : zmin) = low;
        (axis == 0 ? xmax : axis == 1 ? ymax : zmax) = high;
    }
};

static_assert(sizeof(znRTBoundingBox) == 24);
