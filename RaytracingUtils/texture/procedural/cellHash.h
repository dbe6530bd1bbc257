#pragma once

// Numbers that belong to the cells of a grid: the same for every place in a cell, unrelated between
// neighbours. Hashes are whole numbers through Robert Jenkins' 32-bit mix, one axis after another.

#include "core/pixelHash.h"
#include "core/znRTVector3fPacket.h"

struct znCell
{
    znIntType<2> x, y, z;
};

/// Cell of a place in a grid of unit cells; beyond 2^31 all places fall into one.
inline znCell cellOf(const znRTVector3fPacket& p)
{
    return {toInt(floor(p.x)), toInt(floor(p.y)), toInt(floor(p.z))};
}

inline znIntType<2> hashCell(const znCell& cell)
{
    return jenkinsMix(jenkinsMix(jenkinsMix(cell.x) + cell.y) + cell.z);
}

/// The upper 24 bits as a number in [0, 1).
inline znFloatType<2> unitNumber(const znIntType<2>& hash)
{
    return toFloat(hash >> 8) * (1.0f / 16777216.0f);
}

/// Further numbers of a hash.
inline znIntType<2> nextHash(const znIntType<2>& hash)
{
    return jenkinsMix(hash + znIntType<2>(int(0x9e3779b9u)));
}

/// Unit vector of a hash, evenly spread over the sphere.
inline znRTVector3fPacket unitVector(const znIntType<2>& hash)
{
    const znFloatType<2> one(1.0f);
    const znFloatType<2> z = one - unitNumber(hash) * 2.0f;
    const znFloatType<2> radius = squareRoot(maximum(one - z * z, 0.0f));
    znFloatType<2> sine, cosine;
    sincos(unitNumber(nextHash(hash)) * 6.2831853f, sine, cosine);
    // Sine and cosine are rough; the squares of a cell's vector sum to 1.
    const znFloatType<2> scale = radius * reciprocalSquareRoot(sine * sine + cosine * cosine);
    return {cosine * scale, sine * scale, z};
}
