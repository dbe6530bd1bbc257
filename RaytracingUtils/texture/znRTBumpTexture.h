#pragma once

// Unevenness from an image of heights or of normals. The surface stays where it is; only its normal
// turns. Heights: J. F. Blinn, "Simulation of Wrinkled Surfaces", SIGGRAPH 1978, eq. for the
// perturbed normal, with the derivatives of the heights by differences of neighbouring texels of
// the level that the pixel covers.
//
// Reads the texture's derivatives dPdu and dPdv (vertexAttribute::bumpDefault) and the first set of
// texture coordinates.

#include "texture/znRTTexturedSurface.h"

class znRTBumpTexture : public znRTTexturedSurface
{
public:
    static const znRTTypeId id;

    enum Kind { heights = 0, normalMap = 1 };

    /// @param newAmplitude  heights: scene units of the value 1; normals: factor on the slopes
    /// @param isDownward    normals: the second axis of the map points down the image
    znRTBumpTexture(const znRTTextureSampler& newSampler,
                    const znRTTextureAttributes* newAttributes, Kind newKind, float newAmplitude,
                    bool isDownward = false);

    znRTVector3fPacket getNormalAt(const znRTDifferentialGeometry& dg,
                                   const znFloatType<2>& mask) const override;

protected:
    /// For the forms with parallax; see znRTTexturedSurface.
    znRTBumpTexture(const znRTTypeId& typeId, const znRTTextureSampler& newSampler,
                    const znRTTextureAttributes* newAttributes, Kind newKind, float newAmplitude,
                    bool isDownward, float depth);

    /// How far below the top of the heights a place lies, [0, 1] of their depth. Maps of normals
    /// keep heights in alpha.
    znFloatType<2> depthAt(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                           const znFloatType<2>& mask) const;
    /// One step of parallax, as deep as the heights are where it starts.
    znRTVector2fPacket stepDown(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                const znFloatType<2>& mask) const;
    /// Steps until the ray is below the heights.
    /// @param mostSteps  of a ray at a flat angle, at least 1
    znRTVector2fPacket marchDown(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                 int mostSteps, const znFloatType<2>& mask) const;

private:
    znRTVector3fPacket normalOfMap(const znRTDifferentialGeometry& dg,
                                   const znFloatType<2>& mask) const;
    znRTVector3fPacket normalOfHeights(const znRTDifferentialGeometry& dg,
                                       const znFloatType<2>& mask) const;
    /// Height per step of the texture coordinates, before the sampler's transform.
    znRTVector2fPacket slopeOfHeights(const znRTDifferentialGeometry& dg,
                                      const znFloatType<2>& mask) const;
    /// The same per step of the image, after the transform.
    znRTVector2fPacket slopeBetweenLevels(const znRTVector2fPacket& uv, const znMipLevels& levels,
                                          const znFloatType<2>& mask) const;
    /// In one level.
    znRTVector2fPacket slopeInLevel(const znRTVector2fPacket& uv, const znIntType<2>& level,
                                    const znFloatType<2>& mask) const;

    Kind kind;
    float amplitude;
    float up; ///< -1 for maps whose second axis points down
};
