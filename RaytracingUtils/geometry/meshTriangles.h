#pragma once

// Triangles of a geometry core as vertex indices.

#include "accel/znRTTriangle.h"
#include "core/znDynArray.h"

#include <algorithm>

#include "host/osg/TriangleIterator.h"

/// Whether the core is one run of triangles with one index per vertex, which is read faster.
bool isPlainTriangleList(const osg::Geometry& geometry);

/// Calls take(a, b, c) for each triangle in the order of the core. Incomplete triangles and those
/// with an index beyond the positions are left out.
template <class Take>
void forEachTriangle(const osg::Geometry& geometry, Take&& take);

/// Fills the list with the triangles of the core and zero triangles behind them.
/// @return number of triangles without the padding; the list is empty when the core has no lengths
///         or types, or memory ran out
u64 fillTriangles(const osg::Geometry& geometry, u32 padding, znDynArray<znRTTriangle>& triangles);

template <class Read, class Take>
void forEachIndexedTriangle(u64 indexCount, u32 vertexCount, Read&& read, Take&& take)
{
    for (u64 i = 0; i + 2 < indexCount; i += 3) {
        const u32 a = read(i), b = read(i + 1), c = read(i + 2);
        if (a < vertexCount && b < vertexCount && c < vertexCount)
            take(a, b, c);
    }
}

template <class Take>
void forEachTriangle(const osg::Geometry& geometry, Take&& take)
{
    const u32 vertexCount = geometry.getPositions() ? geometry.getPositions()->size() : 0;
    if (!isPlainTriangleList(geometry)) {
        const osg::TriangleIterator end = geometry.endTriangles();
        for (osg::TriangleIterator i = geometry.beginTriangles(); !(i == end); ++i)
            take(i.getPositionIndex(0), i.getPositionIndex(1), i.getPositionIndex(2));
        return;
    }
    const osg::GeoProperty& indices = *geometry.getIndices();
    const u64 count = std::min<u64>(indices.size(), geometry.getLengths()[0]);
    const bool isScalar = indices.getDimension() == 1;
    if (isScalar && indices.getDataType() == osg::GeoProperty::UInt32) {
        const u32* const data = indices.getDataAs<u32>();
        forEachIndexedTriangle(
            count, vertexCount, [data](u64 i) { return data[i]; }, take);
    } else if (isScalar && indices.getDataType() == osg::GeoProperty::UInt16) {
        const u16* const data = indices.getDataAs<u16>();
        forEachIndexedTriangle(
            count, vertexCount, [data](u64 i) { return u32(data[i]); }, take);
    } else
        forEachIndexedTriangle(
            count, vertexCount, [&indices](u64 i) { return indices.getValue(u32(i)); }, take);
}
