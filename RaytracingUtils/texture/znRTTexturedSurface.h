#pragma once

// Base of the structures that an image makes: bumps, parallax.

#include "host/znRTTextureAttributes.h"
#include "texture/textureFootprint.h"
#include "texture/znRTSurfaceStructure.h"
#include "texture/znRTTextureFunctions.h"

/// A ray below the surface of an image of heights, in texture coordinates.
struct znParallaxRay
{
    znRTVector2fPacket
        reach;               ///< way of the coordinates from the top of the heights to their bottom
    znFloatType<2> cosTheta; ///< between ray and normal, at least s_leastParallaxCosine
    znFloatType<2> frontFacing; ///< mask: the heights rise to the viewer
    znIntType<2> level;         ///< of the image, as wide as the pixel
};

class znRTTexturedSurface : public znRTSurfaceStructure
{
public:
    /// Below it rays would slide over half of the image.
    static constexpr float s_leastParallaxCosine = 0.1f;

    // The order of the virtual operations is part of the interface.

    /// Along the tangents of the vertices, about the shading normal as it stands.
    znRTONB getFrameAt(const znRTDifferentialGeometry& dg,
                       const znFloatType<2>& mask) const override;
    u32 getRequirements() const override;
    void shiftCoordinates(const znRTRayDifferentialPacket& ray, znRTDifferentialGeometry& dg,
                          const znFloatType<2>& mask) const override;
    /// Where a ray that meets the top of the heights at uv meets the heights themselves. Here: at
    /// the top.
    virtual znRTVector2fPacket marchHeight(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                           const znFloatType<2>& mask) const;
    /// Way along the surface, world space, from the hits of a block to where their images are read:
    /// the same for all images, whatever coordinates they lie by. 0 in lanes off the mask.
    virtual znRTVector3fPacket getShift(const znRTRayDifferentialPacket& ray,
                                        const znRTDataBlockPacket& data,
                                        const znFloatType<2>& mask) const;

protected:
    /// @param newSampler     with data, not owned
    /// @param newAttributes  null for the plain texture coordinates
    /// @param depth          of parallax, from the lowest to the highest height, as a length along
    ///                       the first texture coordinate; 0 is none
    /// @param moreTraits     beside those that follow from this
    znRTTexturedSurface(const znRTTypeId& typeId, const znRTTextureSampler& newSampler,
                        const znRTTextureAttributes* newAttributes, float depth = 0.0f,
                        unsigned moreTraits = 0);

    /// Moves coordinates to where the ray meets the heights.
    /// @param depth  of the heights, scene units
    void shiftBelow(const znRTRayDifferentialPacket& ray, znRTDifferentialGeometry& dg,
                    const znFloatType<2>& depth, const znFloatType<2>& mask) const;
    /// Heights of a channel at coordinates before the sampler's transform, bilinear in a level.
    /// @param channel  0 for the first, 3 for alpha
    znFloatType<2> heightAt(const znRTVector2fPacket& uv, const znIntType<2>& level, int channel,
                            const znFloatType<2>& mask) const;
    /// Levels that the footprint of a hit covers.
    /// @param footprint  after the sampler's transform
    znMipLevels levelsOf(const znTextureFootprint& footprint) const;

    const znRTTextureSampler& sampler;
    float parallaxDepth;
};
