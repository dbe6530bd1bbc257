#pragma once

// The rays of the benchmark, fixed by the mesh alone so that figures of different programs can be
// set side by side.
//
// With c the middle and diag the diagonal of the box of all used vertices and d = (0.6, 0.35,
// 0.72) normalized, the cameras look along -d: A from c + 1.5 diag d and B from c + 0.75 diag d
// with 40 degrees vertically, C from c with 60. Rays come in tiles of 16 x 16 pixels, 8 x 8 packets
// per tile row by row, 2 x 2 pixels per packet. Shadow rays go to a point light, diffuse rays are
// cosine distributed; both start at the primary hit, 1e-4 diag along the normal.

#include "mesh.h"

#include <string>
#include <vector>

/// Four rays; unit stride over lanes so that every tracer loads them alike.
struct alignas(16) RayPacket
{
    float origin[3][4], direction[3][4], tFar[4];
    int mask; ///< lanes in use
};

struct RaySet
{
    std::string name;
    std::vector<RayPacket> packets;
    bool isShadow = false;
    bool isBundled = false; ///< runs of 64 packets share origin and tile

    u64 getRayCount() const;
};

struct Bounds
{
    float low[3], high[3];
    double center[3], diagonal;
};

Bounds getBounds(const Mesh& mesh);

RaySet makePrimary(const Bounds& bounds, char camera, int width, int height);

/// One hit per ray of a primary set.
struct HitRecord
{
    float t;       ///< infinite for a miss
    u32 primitive; ///< number in the tree's order of triangles
};

/// @param triangles  in the order that the hits count in
RaySet makeShadow(const Mesh& mesh, const std::vector<znRTTriangle>& triangles,
                  const Bounds& bounds, char camera, const RaySet& primary,
                  const std::vector<HitRecord>& hits);
RaySet makeDiffuse(const Mesh& mesh, const std::vector<znRTTriangle>& triangles,
                   const Bounds& bounds, char camera, const RaySet& primary,
                   const std::vector<HitRecord>& hits, int width);

/// PCG output hash as a number in [0, 1), from its top 24 bits.
double hashNumber(u32 i);
