#pragma once

// What the pixels around a packet's pixels see, for displays of discontinuities.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

/// Ways to the four neighbours of a pixel.
enum znRTNeighbour {
    neighbourRight,
    neighbourAbove,
    neighbourLeft,
    neighbourBelow,
    neighbourCount
};

/// Camera rays through the neighbouring pixels.
/// @param ray  with differentials
znRTRayPacket neighbourRay(const znRTRayDifferentialPacket& ray, int neighbour);

/// How two views of neighbouring pixels differ; masks.
struct znRTDiscontinuity
{
    znFloatType<2> depth;    ///< one sees past the edge of what the other sees
    znFloatType<2> node;     ///< different objects
    znFloatType<2> material; ///< different materials
    znFloatType<2> crease;   ///< different directions of the surface

    znRTDiscontinuity& operator|=(const znRTDiscontinuity& other);
    znRTDiscontinuity& operator&=(const znFloatType<2>& mask);
};

/// @param ray, block      the pixels, with shading data
/// @param toward, beside  their neighbours, with shading data
znRTDiscontinuity compareViews(const znRTRayPacket& ray, const znRTDataBlockPacket& block,
                               const znRTRayPacket& toward, const znRTDataBlockPacket& beside);
