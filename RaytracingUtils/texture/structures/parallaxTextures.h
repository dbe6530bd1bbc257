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

/// A single step, exact where heights change slowly; in each projection one of its own.
/// @tparam Bump  how the image lies on the surface
template <class Bump>
class znRTParallaxMapping : public Bump
{
public:
    static const znRTTypeId id;

    /// @param depth  above 0; the others as for bumps
    znRTParallaxMapping(const znRTTextureSampler& newSampler,
                        const znRTTextureAttributes* newAttributes, typename Bump::Kind newKind,
                        float newAmplitude, bool isDownward, float depth)
        : Bump(id, newSampler, newAttributes, newKind, newAmplitude, isDownward, depth)
    {
    }

    znRTVector2fPacket marchHeight(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                   const znFloatType<2>& mask) const override
    {
        return this->stepDown(uv, ray, mask);
    }
};

/// Steps down until the ray is below the heights: near heights hide far ones.
/// @tparam Bump  how the image lies on the surface
template <class Bump>
class znRTParallaxOcclusion : public Bump
{
public:
    static const znRTTypeId id;

    /// @param mostSteps  of a ray at a flat angle, at least 1
    znRTParallaxOcclusion(const znRTTextureSampler& newSampler,
                          const znRTTextureAttributes* newAttributes, typename Bump::Kind newKind,
                          float newAmplitude, bool isDownward, float depth, int mostSteps)
        : Bump(id, newSampler, newAttributes, newKind, newAmplitude, isDownward, depth),
          steps(mostSteps)
    {
    }

    znRTVector2fPacket marchHeight(const znRTVector2fPacket& uv, const znParallaxRay& ray,
                                   const znFloatType<2>& mask) const override
    {
        return this->marchDown(uv, ray, steps, mask);
    }

private:
    int steps;
};

using znRTParallaxMappingTexture = znRTParallaxMapping<znRTProjectedBumpTexture>;
using znRTParallaxOcclusionTexture = znRTParallaxOcclusion<znRTProjectedBumpTexture>;
using znRTTriplanarParallaxMappingTexture = znRTParallaxMapping<znRTTriplanarBumpTexture>;
using znRTTriplanarParallaxOcclusionTexture = znRTParallaxOcclusion<znRTTriplanarBumpTexture>;

template <>
const znRTTypeId znRTParallaxMappingTexture::id;
template <>
const znRTTypeId znRTParallaxOcclusionTexture::id;
template <>
const znRTTypeId znRTTriplanarParallaxMappingTexture::id;
template <>
const znRTTypeId znRTTriplanarParallaxOcclusionTexture::id;
