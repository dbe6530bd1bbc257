#pragma once

// Triangles of a mesh in world space.

#include "geometry/meshTriangles.h"
#include "geometry/znRTMesh.h"
#include "host/znRTVector.h"

/// Calls take(corners, vertices) for each triangle: three world positions and their indices.
/// Meshes without positions have none.
template <class Take>
void forEachWorldTriangle(const znRTMesh& mesh, Take&& take)
{
    const osg::Geometry* const geometry = mesh.getGeometry();
    const float* const positions = mesh.getPositions();
    if (!geometry || !positions)
        return;
    const znMatrix4x4& toWorld = mesh.getToWorldMatrix();
    const auto at = [&](u32 vertex) {
        const float* const p = positions + 3 * u64(vertex);
        return znRTVector3f(p[0], p[1], p[2]).getTransformAsLocation(toWorld);
    };
    forEachTriangle(*geometry, [&](u32 a, u32 b, u32 c) {
        const znRTVector3f corners[3] = {at(a), at(b), at(c)};
        const u32 vertices[3] = {a, b, c};
        take(corners, vertices);
    });
}
