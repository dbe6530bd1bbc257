#pragma once

// Lookups in an image whose filter and wrap modes were chosen once: for callers with one place at a
// time, or with a sampler of their own each. Results are those of znRTTextureFunctions with the
// same filter; conventions stand there. An accessor holds nothing but its modes, so one serves any
// number of samplers and threads.

#include "core/znRTColorPacket.h"
#include "core/znRTVector3fPacket.h"
#include "host/znRTTextureSampler.h"
#include "texture/texelFetch.h"
#include "texture/textureFootprint.h"

/// Steps of (s, t) from one pixel to the next, of one place.
struct znTextureSteps
{
    znRTVector2f dx, dy;
};

/// The same of a direction.
struct znDirectionSteps
{
    znRTVector3f dx, dy;
};

/// Four texels around a place, see znTexelCorners.
struct znTexelSamples
{
    znRTColor corner[4];
    float across, up;
};

class znRTTextureAccessor
{
public:
    using Sampler = znRTTextureSampler;
    using Mask = znFloatType<2>;

    // The order of the virtual operations is part of the interface.

    virtual ~znRTTextureAccessor() = default;
    /// Coordinates in [0, 1].
    /// @param valid  becomes false off the texture under decal
    virtual znRTVector2f getTexCoord(const float& s, const float& t, bool& valid) const = 0;
    virtual znRTVector2fPacket getTexCoord(const znFloatType<2>& s, const znFloatType<2>& t,
                                           Mask& valid) const = 0;
    /// The colour, or the border's where it is not valid.
    virtual znRTColor getFinalColor(const Sampler& sampler, const znRTColor& color,
                                    const bool& valid) const = 0;
    virtual znRTColorPacket getFinalColor(const Sampler& sampler, const znRTColorPacket& color,
                                          const Mask& valid) const = 0;
    virtual bool isAccessorType(int wrapMode, bool bilinear, bool trilinear) const = 0;
    virtual znRTColorPacket texture2D(const Sampler& sampler, const znRTVector2fPacket& uv,
                                      const znTextureFootprint& footprint,
                                      const Mask& mask) const = 0;
    virtual znRTColor texture2D(const Sampler& sampler, const znRTVector2f& uv) const = 0;
    virtual znRTColorPacket texture2D(const Sampler& sampler, const znRTVector2fPacket& uv,
                                      const Mask& mask) const = 0;
    virtual znRTColor texture2D(const Sampler& sampler, const znRTVector2f& uv,
                                const znTextureSteps& steps) const = 0;
    virtual znRTColorPacket texture2DNoTransform(const Sampler& sampler,
                                                 const znRTVector2fPacket& uv,
                                                 const znTextureFootprint& footprint,
                                                 const Mask& mask) const = 0;
    virtual znRTColor texture2DNoTransform(const Sampler& sampler, const znRTVector2f& uv,
                                           const znTextureSteps& steps) const = 0;
    virtual znRTColor texture2DNoTransform(const Sampler& sampler,
                                           const znRTVector2f& uv) const = 0;
    virtual znRTColorPacket texture2DNoTransform(const Sampler& sampler,
                                                 const znRTVector2fPacket& uv,
                                                 const Mask& mask) const = 0;
    /// One level by its number, which is held inside the sampler's levels; the trilinear filter
    /// mixes two, the others take the nearer one.
    virtual znRTColorPacket texture2DNoTransformLod(const Sampler& sampler,
                                                    const znRTVector2fPacket& uv,
                                                    const znFloatType<2>& level,
                                                    const Mask& mask) const = 0;
    virtual znRTColor texture2DNoTransformLod(const Sampler& sampler, const znRTVector2f& uv,
                                              const float& level) const = 0;
    /// @param dx, dy  steps of the direction from one pixel to the next
    virtual znRTColorPacket textureCube(const Sampler& sampler, const znRTVector3fPacket& direction,
                                        const znRTVector3fPacket& dx, const znRTVector3fPacket& dy,
                                        const Mask& mask) const = 0;
    virtual znRTColor textureCube(const Sampler& sampler, const znRTVector3f& direction,
                                  const znDirectionSteps& steps) const = 0;
    virtual znRTColorPacket textureCube(const Sampler& sampler, const znRTVector3fPacket& direction,
                                        const Mask& mask) const = 0;
    virtual znRTColor textureCube(const Sampler& sampler, const znRTVector3f& direction) const = 0;
    /// The texels around a place of level 0, before any filter; for height differences.
    virtual znTexelSamples getBilinearSamples(const Sampler& sampler,
                                              const znRTVector2f& uv) const = 0;
    virtual void getBilinearSamples(const Sampler& sampler, const znRTVector2fPacket& uv,
                                    const Mask& mask, znTexelCorners& corners) const = 0;

    int getWrapMode() const { return wrapMode; }

    /// Keeps the accessor that is there when it suits the sampler's wrap modes and the filter, and
    /// puts a new one in its place otherwise. Between frames.
    /// @param accessor   null, or from an earlier call; owned by the caller
    /// @param trilinear  wins over bilinear; neither is the nearest texel
    static void getTextureAccessor(znRTTextureAccessor*& accessor, const Sampler& sampler,
                                   bool bilinear, bool trilinear);

protected:
    explicit znRTTextureAccessor(int mode) : wrapMode(mode) {}

    int wrapMode;
};
