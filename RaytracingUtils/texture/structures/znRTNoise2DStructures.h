#pragma once

// Unevenness from noise over the first set of texture coordinates, without an image. Octaves that a
// pixel cannot show are left out; where none is left the surface is clean.

#include "texture/procedural/noiseTextures.h"
#include "texture/znRTSurfaceStructure.h"

/// Tilts normals by two noises, one along each coordinate: brushed air, not a solid relief.
class znRTNoise2DStructure : public znRTSurfaceStructure
{
public:
    static const znRTTypeId id;

    /// @param newAmount  tangent of the tilt where a noise is 1
    /// @param newScale   cells of the first octave per step of the coordinates
    znRTNoise2DStructure(float newAmount, float newScale, float octaves)
        : znRTNoise2DStructure(id, newAmount, newScale, octaves)
    {
    }

    znRTONB getFrameAt(const znRTDifferentialGeometry& dg,
                       const znFloatType<2>& mask) const override;
    znRTVector3fPacket getNormalAt(const znRTDifferentialGeometry& dg,
                                   const znFloatType<2>& mask) const override;
    u32 getRequirements() const override;

protected:
    znRTNoise2DStructure(const znRTTypeId& typeId, float newAmount, float newScale, float octaves)
        : znRTSurfaceStructure(typeId, bendsNormals), texture(newScale, octaves), scale(newScale),
          amount(newAmount), maxOctaves(octaves)
    {
    }

    /// Octaves that the pixel leaves: its footprint is the mean of the larger steps of either
    /// coordinate, in cells of the first octave.
    znNoiseOctaves octavesOf(const znRTDifferentialGeometry& dg) const;

    znRTNoise2DTexture texture;
    float scale, amount, maxOctaves;
};

/// Tilts normals as a relief of heights does.
class znRTNoise2DHeightStructure : public znRTNoise2DStructure
{
public:
    static const znRTTypeId id;

    /// @param height  where the noise is 1, in steps of the coordinates: the same relief on
    /// surfaces
    ///                of all sizes
    znRTNoise2DHeightStructure(float height, float newScale, float octaves)
        : znRTNoise2DStructure(id, height, newScale, octaves)
    {
    }

    znRTVector3fPacket getNormalAt(const znRTDifferentialGeometry& dg,
                                   const znFloatType<2>& mask) const override;
};
