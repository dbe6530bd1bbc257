#pragma once

// Triangle meshes for the ray benchmark: PLY (binary little endian and ascii) and OBJ.

#include "accel/znRTTriangle.h"

#include <string>
#include <vector>

struct Mesh
{
    std::vector<float> positions; ///< three per vertex
    std::vector<znRTTriangle> triangles;

    const float* vertex(u32 i) const { return positions.data() + 3 * u64(i); }
};

/// Polygons are cut into fans. Throws std::runtime_error that names file and cause.
Mesh loadMesh(const std::string& path);

/// Cuts each triangle into four, with a small pseudorandom displacement of the new vertices that
/// neighbours share, so that the surface stays closed and does not stay flat.
/// @param amount  of the edge's length
Mesh refine(const Mesh& mesh, float amount);
