#pragma once

// Noise over a lattice of simplices, with its slope. The lattice and its falloff: S. Gustavson,
// "Simplex Noise Demystified", 2005, after K. Perlin's noise of 2001. Hashes and gradients without
// tables: I. McEwan, D. Sheets, M. Richardson, S. Gustavson, "Efficient Computational Noise in
// GLSL", Journal of Graphics Tools 16(2), 2012. The lattice repeats after 289 cells along each of
// its axes; values are inside [-1, 1], their mean is 0, and value and slope are continuous.

#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"

/// A whole number among 0 to 288, hashed into the same range. Exact for whole numbers in 0..577,
/// the sum of two. Not a permutation: by itself no identity of cells.
inline znFloatType<2> permute(znFloatType<2> x)
{
    const znFloatType<2> t = (x * 31.0f + 1.0f) * x;
    return t - floor(t / znFloatType<2>(289.0f)) * 289.0f;
}

/// Value and its derivative by the coordinates.
struct znNoise2D
{
    znFloatType<2> value;
    znRTVector2fPacket slope;
};

struct znNoise3D
{
    znFloatType<2> value;
    znRTVector3fPacket slope;
};

/// Coordinates beyond 2^22 have no fraction left and give the noise of lattice points, 0.
znNoise2D simplexNoise(const znRTVector2fPacket& p);
znNoise3D simplexNoise(const znRTVector3fPacket& p);
