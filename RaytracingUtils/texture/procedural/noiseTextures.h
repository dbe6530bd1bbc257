#pragma once

// The noises as textures: single simplex noise, and sums of octaves as wide as a pixel can show.

#include "texture/procedural/noiseOctaves.h"
#include "texture/procedural/simplexNoise.h"
#include "texture/procedural/znRTTexture2D.h"
#include "texture/procedural/znRTTexture3D.h"

class znRTSimplex2DV2Texture : public znRTTexture2D
{
public:
    static const znRTTypeId id;

    znRTSimplex2DV2Texture() : znRTTexture2D(id) {}

    znRTColorPacket evaluate(const znRTVector2fPacket& uv, const znRTVector2fPacket& dUVdx,
                             const znRTVector2fPacket& dUVdy,
                             const znFloatType<2>& mask) const override;
};

class znRTSimplex3DV2Texture : public znRTTexture3D
{
public:
    static const znRTTypeId id;

    znRTSimplex3DV2Texture() : znRTTexture3D(id) {}

    znRTColorPacket evaluate(const znRTVector3fPacket& p,
                             const znFloatType<2>& mask) const override;
};

class znRTNoise2DTexture : public znRTTexture2D
{
public:
    static const znRTTypeId id;

    /// @param newScale  cells of the first octave per step of the coordinates
    /// @param octaves   at most so many
    znRTNoise2DTexture(float newScale, float octaves)
        : znRTTexture2D(id), scale(newScale), maxOctaves(octaves)
    {
    }

    znRTColorPacket evaluate(const znRTVector2fPacket& uv, const znRTVector2fPacket& dUVdx,
                             const znRTVector2fPacket& dUVdy,
                             const znFloatType<2>& mask) const override;

    /// Octaves that a footprint leaves.
    znNoiseOctaves getOctaves(const znRTVector2fPacket& dUVdx,
                              const znRTVector2fPacket& dUVdy) const;
    /// Value inside (-2, 2), and its slope by the coordinates.
    znNoise2D getNoise(const znRTVector2fPacket& uv, const znNoiseOctaves& octaves) const;

private:
    float scale, maxOctaves;
};
