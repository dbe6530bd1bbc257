#pragma once

// One ray against up to four triangles, one per lane (T. Moeller, B. Trumbore, "Fast, Minimum
// Storage Ray/Triangle Intersection", 1997). With e1 = A - B, e2 = C - A, N = e2 x e1, T = A - O,
// det = N . D and Q = T x D, the weights of B and C are (e2 . Q) / det and (e1 . Q) / det and the
// distance is (N . T) / det. All forms below run the same operations in the same order, so that a
// lane, a packet and a bundle find the same bits.

#include "accel/walk/laneShuffle.h"
#include "accel/znRTTriangle.h"
#include "core/znRTVector3fPacket.h"

#include <bit>
#include <limits>

/// Lane masks for 0 to 4 triangles.
alignas(16) inline constexpr u32 s_countMasks[5][4] = {
    {0, 0, 0, 0}, {~0u, 0, 0, 0}, {~0u, ~0u, 0, 0}, {~0u, ~0u, ~0u, 0}, {~0u, ~0u, ~0u, ~0u}};

inline znFloatType<2> countMask(u32 count)
{
    return znFloatType<2>::load(reinterpret_cast<const float*>(s_countMasks[count]));
}

/// Up to four triangles with what their tests share.
struct znRTTriangleGroup
{
    znRTVector3fPacket a, e1, e2, normal;
    znFloatType<2> valid;

    void set(const znRTVector3fPacket& b, const znRTVector3fPacket& c, u32 count)
    {
        e1 = a - b;
        e2 = c - a;
        normal = cross(e2, e1);
        valid = countMask(count);
    }
};

/// A point (x, y, z, 0), without reading what lies behind it.
inline __m128 loadPoint(const float* p)
{
    const __m128 xy = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(p)));
    return _mm_movelh_ps(xy, _mm_load_ss(p + 2));
}

inline znRTVector3fPacket transposePoints(__m128 p0, __m128 p1, __m128 p2, __m128 p3)
{
    _MM_TRANSPOSE4_PS(p0, p1, p2, p3);
    return {p0, p1, p2};
}

/// Fetches the triangles of a leaf through their indices.
/// @tparam Sides  2 exchanges the second and the third vertex
/// @param count   1 to 4; the other lanes hold zeros
template <int Sides>
inline znRTTriangleGroup loadIndexed(const float* positions, const znRTTriangle* triangles,
                                     u32 count)
{
    __m128 p[3][4];
    for (u32 k = 0; k < 4; ++k) {
        const bool used = k < count;
        p[0][k] = used ? loadPoint(positions + 3 * u64(triangles[k].a)) : _mm_setzero_ps();
        p[1][k] = used ? loadPoint(positions + 3 * u64(triangles[k].b)) : _mm_setzero_ps();
        p[2][k] = used ? loadPoint(positions + 3 * u64(triangles[k].c)) : _mm_setzero_ps();
    }
    znRTTriangleGroup group;
    group.a = transposePoints(p[0][0], p[0][1], p[0][2], p[0][3]);
    const znRTVector3fPacket b = transposePoints(p[1][0], p[1][1], p[1][2], p[1][3]);
    const znRTVector3fPacket c = transposePoints(p[2][0], p[2][1], p[2][2], p[2][3]);
    group.set(Sides == 2 ? c : b, Sides == 2 ? b : c, count);
    return group;
}

/// Loads the triangles of a leaf from positions in leaf order (znRTSharedTree::leafPositions).
/// @param leaf   the leaf's first float; lanes from count on get whatever follows it
/// @param count  1 to 4
template <int Sides>
inline znRTTriangleGroup loadLeafOrder(const float* leaf, u32 count)
{
    const auto column = [&](u32 i) { return znFloatType<2>::loadUnaligned(leaf + i * count); };
    znRTTriangleGroup group;
    group.a = {column(0), column(1), column(2)};
    const znRTVector3fPacket b(column(3), column(4), column(5));
    const znRTVector3fPacket c(column(6), column(7), column(8));
    group.set(Sides == 2 ? c : b, Sides == 2 ? b : c, count);
    return group;
}

/// Scaled weights and the lanes that pass the edge tests.
template <int Sides>
inline znFloatType<2> isInside(znFloatType<2> u, znFloatType<2> v, znFloatType<2> det)
{
    if constexpr (Sides == 3) {
        const znFloatType<2> zero = znFloatType<2>::noLanes();
        const znFloatType<2> s = zero <= det;
        return ((u < zero) ^ s) & ((v < zero) ^ s) & ((det < u + v) ^ s);
    } else {
        const znFloatType<2> tolerance(1e-8f);
        return (u <= tolerance) & (v <= tolerance) & (det <= u + v);
    }
}

/// What one ray found in a group.
struct znRTGroupHit
{
    float t, u, v; ///< u and v are the weights of the stored second and third vertex
    u32 lane;      ///< of the triangle
};

/// Nearest hit of one ray, given in all lanes, strictly between tMin and tFar. Of several at
/// one distance the highest lane wins.
/// @param toA     a - origin
/// @param height  gives dot(normal, toA); rays with one origin share both
/// @return false without hit; the output is then unchanged
template <int Sides, class Height>
inline bool findNearest(const znRTTriangleGroup& group, const znRTVector3fPacket& toA,
                        const Height& height, const znRTVector3fPacket& direction,
                        znFloatType<2> tMin, znFloatType<2> tFar, znRTGroupHit& out)
{
    const znFloatType<2> det = dot(group.normal, direction);
    const znRTVector3fPacket q = cross(toA, direction);
    znFloatType<2> u = dot(group.e2, q);
    znFloatType<2> v = dot(group.e1, q);
    const znFloatType<2> inside = isInside<Sides>(u, v, det) & group.valid;
    if (!anyLane(inside))
        return false;

    const znFloatType<2> r = reciprocalOrInfinity(det);
    const znFloatType<2> t = height() * r;
    const znFloatType<2> accepted = inside & (tMin < t) & (t < tFar);
    const int lanes = moveMask(accepted);
    if (lanes == 0)
        return false;

    u32 lane = u32(std::countr_zero(unsigned(lanes)));
    if (lanes & (lanes - 1)) {
        const znFloatType<2> candidates =
            select(accepted, t, std::numeric_limits<float>::infinity());
        const int nearest = moveMask((candidates == minimumOfLanes(candidates)) & accepted);
        lane = u32(std::bit_width(unsigned(nearest))) - 1;
    }
    alignas(16) float ts[4], us[4], vs[4];
    t.store(ts);
    (u * r).store(us);
    (v * r).store(vs);
    out.t = ts[lane];
    out.u = Sides == 2 ? vs[lane] : us[lane];
    out.v = Sides == 2 ? us[lane] : vs[lane];
    out.lane = lane;
    return true;
}

template <int Sides>
inline bool findNearest(const znRTTriangleGroup& group, const znRTVector3fPacket& toA,
                        const znRTVector3fPacket& direction, znFloatType<2> tMin,
                        znFloatType<2> tFar, znRTGroupHit& out)
{
    const auto height = [&] { return dot(group.normal, toA); };
    return findNearest<Sides>(group, toA, height, direction, tMin, tFar, out);
}

/// Whether one ray meets any triangle of a group strictly between tMin and tFar.
template <int Sides>
inline bool findAny(const znRTTriangleGroup& group, const znRTVector3fPacket& toA,
                    const znRTVector3fPacket& direction, znFloatType<2> tMin, znFloatType<2> tFar)
{
    const znFloatType<2> det = dot(group.normal, direction);
    const znRTVector3fPacket q = cross(toA, direction);
    const znFloatType<2> u = dot(group.e2, q);
    const znFloatType<2> v = dot(group.e1, q);
    const znFloatType<2> inside = isInside<Sides>(u, v, det) & group.valid;
    if (!anyLane(inside))
        return false;
    const znFloatType<2> t = dot(group.normal, toA) * reciprocalOrInfinity(det);
    return anyLane(inside & (tMin < t) & (t < tFar));
}
