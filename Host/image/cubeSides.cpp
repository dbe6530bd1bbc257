#include "image/cubeSides.h"

#include <algorithm>
#include <cmath>

namespace {

/// A side as someone in the middle sees it, and its cell in the unfolded cube.
struct View
{
    znRTVector3f forward, right, up;
    int column, row;
};

int strongestAxis(const znRTVector3f& d)
{
    const float x = std::fabs(d.x), y = std::fabs(d.y), z = std::fabs(d.z);
    return x >= y && x >= z ? 0 : y >= z ? 1 : 2;
}

} // namespace

CubePlace findCubePlace(const znRTVector3f& d)
{
    const int axis = strongestAxis(d);
    const bool isNegative = d[axis] < 0.0f;
    float sc = 0.0f, tc = 0.0f;
    switch (2 * axis + (isNegative ? 1 : 0)) {
    case 0:
        sc = -d.z, tc = -d.y;
        break;
    case 1:
        sc = d.z, tc = -d.y;
        break;
    case 2:
        sc = d.x, tc = d.z;
        break;
    case 3:
        sc = d.x, tc = -d.z;
        break;
    case 4:
        sc = d.x, tc = -d.y;
        break;
    case 5:
        sc = -d.x, tc = -d.y;
        break;
    }
    const float scale = 0.5f / std::max(std::fabs(d[axis]), 1e-30f);
    return {2 * axis + (isNegative ? 1 : 0), sc * scale + 0.5f, tc * scale + 0.5f};
}

CrossPlace findCrossPlace(const znRTVector3f& d, bool isTall)
{
    const znRTVector3f x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    const View back = isTall ? View{-y, x, -z, 1, 3} : View{-y, -x, z, 3, 1};
    const View views[6] = {{x, -y, z, 2, 1}, {-x, y, z, 0, 1}, {y, x, z, 1, 1}, back,
                           {z, x, -y, 1, 0}, {-z, x, y, 1, 2}};
    const int axis = strongestAxis(d);
    const View& view = views[2 * axis + (d[axis] < 0.0f ? 1 : 0)];
    const float scale = 0.5f / std::max(dot(d, view.forward), 1e-30f);
    return {float(view.column) + 0.5f + dot(d, view.right) * scale,
            float(view.row) + 0.5f - dot(d, view.up) * scale};
}
