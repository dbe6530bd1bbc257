#pragma once

// Textures of cells: the distance to the nearest of scattered points, the number of the cell around
// it, and a random direction in each cube of a grid.

#include "texture/procedural/znRTTexture3D.h"

/// Distance to the nearest point, [0, 1].
class znRTCellular3DTexture : public znRTTexture3D
{
public:
    static const znRTTypeId id;

    znRTCellular3DTexture() : znRTTexture3D(id) {}

    znRTColorPacket evaluate(const znRTVector3fPacket& p,
                             const znFloatType<2>& mask) const override;
};

/// A number in [0, 1) per cell.
class znRTCellularId3DTexture : public znRTTexture3D
{
public:
    static const znRTTypeId id;

    znRTCellularId3DTexture() : znRTTexture3D(id) {}

    znRTColorPacket evaluate(const znRTVector3fPacket& p,
                             const znFloatType<2>& mask) const override;
};

/// In r, g and b a unit vector per cube of a grid; alpha: another number of the cube, [0, 1).
class znRTSparkle3DTextureV2 : public znRTTexture3D
{
public:
    static const znRTTypeId id;

    znRTSparkle3DTextureV2() : znRTTexture3D(id) {}

    znRTColorPacket evaluate(const znRTVector3fPacket& p,
                             const znFloatType<2>& mask) const override;
};
