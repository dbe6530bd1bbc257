#pragma once

// Openings that light comes in through, as rectangles around the flat pieces of a mesh.

#include "host/znRTVector.h"

#include <vector>

class znRTMesh;

struct znRTPortalOpening
{
    znRTVector3f center;
    znRTVector3f axisU, axisV, normal; ///< unit, orthogonal, world space
    float halfU = 0.0f, halfV = 0.0f;  ///< half edges, scene units
    float strength = 1.0f;             ///< factor on how often it is chosen

    float getArea() const { return 4.0f * halfU * halfV; }
};

/// One rectangle for each set of triangles that hang together by edges and lie in a plane; the
/// smallest one with an edge along an edge of theirs. Triangles without area have none.
/// @param strength  of all of them
std::vector<znRTPortalOpening> findOpenings(const znRTMesh& mesh, float strength);
