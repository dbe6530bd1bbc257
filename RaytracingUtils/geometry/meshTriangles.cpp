#include "geometry/meshTriangles.h"

bool isPlainTriangleList(const osg::Geometry& geometry)
{
    return geometry.getIndices() && geometry.getIndexMapping().size() == 1 &&
           geometry.getLengths().size() == 1 && geometry.getTypes().size() == 1 &&
           geometry.getTypes()[0] == osg::Geometry::triangles;
}

namespace {

/// Triangles that a primitive of a type and length makes.
u64 getTriangleCount(u32 type, u64 length)
{
    switch (type) {
    case osg::Geometry::triangles:
        return length / 3;
    case osg::Geometry::quads:
        return length / 4 * 2;
    case osg::Geometry::triangleStrip:
    case osg::Geometry::triangleFan:
    case osg::Geometry::quadStrip:
    case osg::Geometry::polygon:
        return length < 3 ? 0 : length - 2;
    default:
        return 0;
    }
}

/// Room for all triangles. Lengths are data and may lie: there cannot be more triangles than
/// vertices.
u64 getTriangleBound(const osg::Geometry& geometry)
{
    const std::size_t primitives =
        std::min(geometry.getLengths().size(), geometry.getTypes().size());
    u64 count = 0;
    for (std::size_t i = 0; i < primitives; ++i)
        count += getTriangleCount(geometry.getTypes()[i], geometry.getLengths()[i]);
    return std::min<u64>(count, geometry.getVertexCount());
}

} // namespace

u64 fillTriangles(const osg::Geometry& geometry, u32 padding, znDynArray<znRTTriangle>& triangles)
{
    triangles.size = 0;
    if (geometry.getLengths().empty() || geometry.getTypes().empty())
        return 0;
    triangles.reserve(getTriangleBound(geometry) + padding, false);
    if (!triangles.data)
        return 0;
    u64 count = 0;
    const u64 room = triangles.capacity - padding;
    forEachTriangle(geometry, [&](u32 a, u32 b, u32 c) {
        if (count < room)
            triangles[count++] = {a, b, c};
    });
    for (u32 i = 0; i < padding; ++i)
        triangles[count + i] = {0, 0, 0};
    triangles.size = count + padding;
    return count;
}
