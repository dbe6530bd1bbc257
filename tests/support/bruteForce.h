#pragma once

// Oracle for walks: every triangle in double precision, with how close the decision was. A walk in
// single precision may differ where the ray passes a border by less than its rounding.

#include "support/meshes.h"

#include <algorithm>
#include <limits>

struct OracleHit
{
    double t = std::numeric_limits<double>::infinity();
    u32 primitive = ~0u;
    double u = 0, v = 0;
    /// Smallest of u, v, 1 - u - v over all triangles that the ray passes or nearly passes, in
    /// absolute value: small when rounding may decide otherwise.
    double margin = std::numeric_limits<double>::infinity();
    /// Error of t that single precision may make in scenes of size 1: a unit in the last place of
    /// the height above the triangle, along a ray that may graze it.
    double tError = 0;

    bool isHit() const { return primitive != ~0u; }
};

/// Nearest hit strictly between tMin and tMax.
/// @param sides  1 front (counter-clockwise as seen), 2 back, 3 both
inline OracleHit traceOracle(const TestMesh& mesh, const float* origin, const float* direction,
                             double tMin, double tMax, int sides)
{
    OracleHit hit;
    for (u32 i = 0; i < mesh.triangles.size(); ++i) {
        const znRTTriangle& tri = mesh.triangles[i];
        const float *a = mesh.vertex(tri.a), *b = mesh.vertex(tri.b), *c = mesh.vertex(tri.c);
        double e1[3], e2[3], s[3], p[3], q[3];
        for (int k = 0; k < 3; ++k) {
            e1[k] = double(b[k]) - a[k];
            e2[k] = double(c[k]) - a[k];
            s[k] = double(origin[k]) - a[k];
        }
        const auto cross = [](const auto* x, const auto* y, double* out) {
            for (int k = 0; k < 3; ++k)
                out[k] = double(x[(k + 1) % 3]) * y[(k + 2) % 3] -
                         double(x[(k + 2) % 3]) * y[(k + 1) % 3];
        };
        const auto dot = [](const auto* x, const auto* y) {
            return double(x[0]) * y[0] + double(x[1]) * y[1] + double(x[2]) * y[2];
        };
        cross(direction, e2, p);
        const double det = dot(e1, p); // above 0: the ray meets the front
        if (det == 0 || !(det == det) || (sides == 1 && det < 0) || (sides == 2 && det > 0))
            continue;
        cross(s, e1, q);
        const double u = dot(s, p) / det, v = dot(direction, q) / det, t = dot(e2, q) / det;
        const double border = std::min({u, v, 1 - u - v});
        if (border > -1e-3 && t > tMin && t < tMax)
            hit.margin = std::min(hit.margin, std::abs(border));
        if (border >= 0 && t > tMin && t < tMax && t < hit.t) {
            hit.t = t;
            hit.primitive = i;
            hit.u = u;
            hit.v = v;
            double n[3];
            cross(e1, e2, n);
            hit.tError = 4e-6 * std::sqrt(dot(n, n)) / std::abs(det) + 1e-5 * t;
        }
    }
    return hit;
}
