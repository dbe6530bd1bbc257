#pragma once

// Images of heights that also shift what lies on the surface, as the eye sees it past the heights.
//
// One step: T. Kaneko et al., "Detailed Shape Representation with Parallax Mapping", ICAT 2001.
// March: N. Tatarchuk, "Dynamic Parallax Occlusion Mapping with Approximate Soft Shadows", I3D
// 2006; the first crossing between two steps is found by one secant.
//
// Depths are lengths along the first texture coordinate: the same depth looks the same on a surface
// of any size. White is the surface itself, black its deepest ground.

#include "texture/structures/projectedBumpTextures.h"

/// A single step, exact where heights change slowly.
class znRTParallaxMappingTexture : public znRTProjectedBumpTexture
{
public:
    static const znRTTypeId id;

    /// @param depth  above 0; the others as for bumps
    znRTParallaxMappingTexture(const znRTTextureSampler& newSampler,
                               const znRTTextureAttributes* newAttributes, Kind newKind,
                               float newAmplitude, bool isDownward, float depth)
        : znRTProjectedBumpTexture(id, newSampler, newAttributes, newKind, newAmplitude, isDownward,
                                   depth)
    {
    }

    znRTVector2fPacket marchHeight(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                   const znFloatType<2>& mask) const override
    {
        return stepDown(uv, ray, mask);
    }
};

/// Steps down until the ray is below the heights: near heights hide far ones.
class znRTParallaxOcclusionTexture : public znRTProjectedBumpTexture
{
public:
    static const znRTTypeId id;

    /// @param mostSteps  of a ray at a flat angle, at least 1
    znRTParallaxOcclusionTexture(const znRTTextureSampler& newSampler,
                                 const znRTTextureAttributes* newAttributes, Kind newKind,
                                 float newAmplitude, bool isDownward, float depth, int mostSteps)
        : znRTProjectedBumpTexture(id, newSampler, newAttributes, newKind, newAmplitude, isDownward,
                                   depth),
          steps(mostSteps)
    {
    }

    znRTVector2fPacket marchHeight(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                   const znFloatType<2>& mask) const override
    {
        return marchDown(uv, ray, steps, mask);
    }

private:
    int steps;
};

/// A single step in each of the three projections.
class znRTTriplanarParallaxMappingTexture : public znRTTriplanarBumpTexture
{
public:
    static const znRTTypeId id;

    /// @param newAttributes  along the axes
    znRTTriplanarParallaxMappingTexture(const znRTTextureSampler& newSampler,
                                        const znRTTextureAttributes* newAttributes, Kind newKind,
                                        float newAmplitude, bool isDownward, float depth)
        : znRTTriplanarBumpTexture(id, newSampler, newAttributes, newKind, newAmplitude, isDownward,
                                   depth)
    {
    }

    znRTVector2fPacket marchHeight(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                   const znFloatType<2>& mask) const override
    {
        return stepDown(uv, ray, mask);
    }
};

/// A march in each of the three projections.
class znRTTriplanarParallaxOcclusionTexture : public znRTTriplanarBumpTexture
{
public:
    static const znRTTypeId id;

    znRTTriplanarParallaxOcclusionTexture(const znRTTextureSampler& newSampler,
                                          const znRTTextureAttributes* newAttributes, Kind newKind,
                                          float newAmplitude, bool isDownward, float depth,
                                          int mostSteps)
        : znRTTriplanarBumpTexture(id, newSampler, newAttributes, newKind, newAmplitude, isDownward,
                                   depth),
          steps(mostSteps)
    {
    }

    znRTVector2fPacket marchHeight(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                   const znFloatType<2>& mask) const override
    {
        return marchDown(uv, ray, steps, mask);
    }

private:
    int steps;
};
