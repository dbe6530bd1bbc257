#pragma once

// Meshes made by formulas, for tests of trees and walks.

#include "accel/znRTTriangle.h"
#include "core/znDynArray.h"

#include <cmath>
#include <random>
#include <vector>

struct TestMesh
{
    std::vector<float> positions; ///< three per vertex
    std::vector<znRTTriangle> triangles;

    u32 addVertex(float x, float y, float z)
    {
        for (const float p : {x, y, z})
            positions.push_back(p);
        return u32(positions.size() / 3) - 1;
    }
    void addTriangle(u32 a, u32 b, u32 c) { triangles.push_back({a, b, c}); }
    const float* vertex(u32 i) const { return positions.data() + 3 * u64(i); }
};

/// Triangles of edge length about size, anywhere in the unit cube.
inline TestMesh makeSoup(u32 count, float size, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> place(0.0f, 1.0f), edge(-size, size);
    TestMesh mesh;
    for (u32 i = 0; i < count; ++i) {
        const float p[3] = {place(random), place(random), place(random)};
        u32 v[3];
        for (u32& corner : v)
            corner = mesh.addVertex(p[0] + edge(random), p[1] + edge(random), p[2] + edge(random));
        mesh.addTriangle(v[0], v[1], v[2]);
    }
    return mesh;
}

/// Closed sphere of radius 1 about the origin with outward winding; 4 rings (rings - 1) triangles.
inline TestMesh makeSphere(u32 rings)
{
    TestMesh mesh;
    const u32 around = 2 * rings;
    const u32 top = mesh.addVertex(0, 0, 1);
    for (u32 r = 1; r < rings; ++r)
        for (u32 s = 0; s < around; ++s) {
            const double theta = M_PI * r / rings, phi = 2 * M_PI * s / around;
            mesh.addVertex(float(std::sin(theta) * std::cos(phi)),
                           float(std::sin(theta) * std::sin(phi)), float(std::cos(theta)));
        }
    const u32 bottom = mesh.addVertex(0, 0, -1);
    const auto at = [&](u32 r, u32 s) { return 1 + (r - 1) * around + s % around; };
    for (u32 s = 0; s < around; ++s) {
        mesh.addTriangle(top, at(1, s), at(1, s + 1));
        mesh.addTriangle(bottom, at(rings - 1, s + 1), at(rings - 1, s));
    }
    for (u32 r = 1; r + 1 < rings; ++r)
        for (u32 s = 0; s < around; ++s) {
            mesh.addTriangle(at(r, s), at(r + 1, s), at(r + 1, s + 1));
            mesh.addTriangle(at(r, s), at(r + 1, s + 1), at(r, s + 1));
        }
    return mesh;
}

/// Flat grid in the plane z = 0 over [0, 1]^2, front toward +z; 2 n^2 triangles.
inline TestMesh makeGrid(u32 n)
{
    TestMesh mesh;
    for (u32 y = 0; y <= n; ++y)
        for (u32 x = 0; x <= n; ++x)
            mesh.addVertex(float(x) / float(n), float(y) / float(n), 0.0f);
    for (u32 y = 0; y < n; ++y)
        for (u32 x = 0; x < n; ++x) {
            const u32 i = y * (n + 1) + x;
            mesh.addTriangle(i, i + 1, i + n + 2);
            mesh.addTriangle(i, i + n + 2, i + n + 1);
        }
    return mesh;
}
