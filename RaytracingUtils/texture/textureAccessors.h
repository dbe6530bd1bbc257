#pragma once

// The accessors: three filters for each pair of wrap modes. A place alone takes the same arithmetic
// as four do.

#include "texture/filteredLookup.h"
#include "texture/znRTTextureAccessor.h"

template <class WrapS, class WrapT>
class znRTNearestAccessor : public znRTTextureAccessor
{
public:
    znRTNearestAccessor() : znRTTextureAccessor(WrapS::mode + 4 * WrapT::mode) {}

    znRTVector2f getTexCoord(const float& s, const float& t, bool& valid) const override
    {
        Mask lanes = Mask::allLanes();
        const znRTVector2f place =
            znRTNearestAccessor::getTexCoord(znFloatType<2>(s), znFloatType<2>(t), lanes)
                .getLane(0);
        valid = valid && everyLane(lanes);
        return place;
    }
    znRTVector2fPacket getTexCoord(const znFloatType<2>& s, const znFloatType<2>& t,
                                   Mask& valid) const override
    {
        const znFloatType<2> x = WrapS::wrap(s, valid);
        return {x, WrapT::wrap(t, valid)};
    }
    znRTColor getFinalColor(const Sampler& sampler, const znRTColor& color,
                            const bool& valid) const override
    {
        const znRTVector4f& border = sampler.borderColor;
        return valid ? color : znRTColor(border.x, border.y, border.z, border.w);
    }
    znRTColorPacket getFinalColor(const Sampler& sampler, const znRTColorPacket& color,
                                  const Mask& valid) const override
    {
        znRTColorPacket result = color;
        znRTTextureFunctions::replaceColorByBorderColor(sampler, result, valid);
        return result;
    }
    bool isAccessorType(int mode, bool bilinear, bool trilinear) const override
    {
        return mode == wrapMode && !bilinear && !trilinear;
    }

    znRTColorPacket texture2D(const Sampler& sampler, const znRTVector2fPacket& uv,
                              const znTextureFootprint& footprint, const Mask& mask) const override
    {
        znRTVector2fPacket place = uv;
        znTextureFootprint steps = footprint;
        znRTTextureFunctions::applyTexCoordTransform(sampler, place, steps);
        return texture2DNoTransform(sampler, place, steps, mask);
    }
    znRTColor texture2D(const Sampler& sampler, const znRTVector2f& uv) const override
    {
        return texture2D(sampler, znRTVector2fPacket(uv), oneLane()).getComponent(0);
    }
    znRTColorPacket texture2D(const Sampler& sampler, const znRTVector2fPacket& uv,
                              const Mask& mask) const override
    {
        znRTVector2fPacket place = uv;
        znRTTextureFunctions::applyTexCoordTransform(sampler, place);
        return texture2DNoTransform(sampler, place, mask);
    }
    znRTColor texture2D(const Sampler& sampler, const znRTVector2f& uv,
                        const znTextureSteps& steps) const override
    {
        return texture2D(sampler, znRTVector2fPacket(uv), packet(steps), oneLane()).getComponent(0);
    }
    /// The footprint is not looked at.
    znRTColorPacket texture2DNoTransform(const Sampler& sampler, const znRTVector2fPacket& uv,
                                         const znTextureFootprint&, const Mask& mask) const override
    {
        return texture2DNoTransform(sampler, uv, mask);
    }
    znRTColor texture2DNoTransform(const Sampler& sampler, const znRTVector2f& uv,
                                   const znTextureSteps& steps) const override
    {
        return texture2DNoTransform(sampler, znRTVector2fPacket(uv), packet(steps), oneLane())
            .getComponent(0);
    }
    znRTColor texture2DNoTransform(const Sampler& sampler, const znRTVector2f& uv) const override
    {
        return texture2DNoTransform(sampler, znRTVector2fPacket(uv), oneLane()).getComponent(0);
    }
    znRTColorPacket texture2DNoTransform(const Sampler& sampler, const znRTVector2fPacket& uv,
                                         const Mask& mask) const override
    {
        return lookUp(sampler, uv, 0, 0, mask);
    }
    znRTColorPacket texture2DNoTransformLod(const Sampler& sampler, const znRTVector2fPacket& uv,
                                            const znFloatType<2>& level,
                                            const Mask& mask) const override
    {
        const znIntType<2> nearest = toInt(within(sampler, level) + 0.5f);
        return lookUp(sampler, uv, nearest, 0, mask);
    }
    znRTColor texture2DNoTransformLod(const Sampler& sampler, const znRTVector2f& uv,
                                      const float& level) const override
    {
        return texture2DNoTransformLod(sampler, znRTVector2fPacket(uv), znFloatType<2>(level),
                                       oneLane())
            .getComponent(0);
    }
    znRTColorPacket textureCube(const Sampler& sampler, const znRTVector3fPacket& direction,
                                const znRTVector3fPacket&, const znRTVector3fPacket&,
                                const Mask& mask) const override
    {
        return textureCube(sampler, direction, mask);
    }
    znRTColor textureCube(const Sampler& sampler, const znRTVector3f& direction,
                          const znDirectionSteps& steps) const override
    {
        return textureCube(sampler, znRTVector3fPacket(direction), znRTVector3fPacket(steps.dx),
                           znRTVector3fPacket(steps.dy), oneLane())
            .getComponent(0);
    }
    znRTColorPacket textureCube(const Sampler& sampler, const znRTVector3fPacket& direction,
                                const Mask& mask) const override
    {
        znIntType<2> face;
        const znRTVector2fPacket place = znRTTextureFunctions::findCubeFace(direction, face);
        return lookUp(sampler, place, 0, face, mask);
    }
    znRTColor textureCube(const Sampler& sampler, const znRTVector3f& direction) const override
    {
        return textureCube(sampler, znRTVector3fPacket(direction), oneLane()).getComponent(0);
    }
    znTexelSamples getBilinearSamples(const Sampler& sampler, const znRTVector2f& uv) const override
    {
        znTexelCorners corners;
        getBilinearSamples(sampler, znRTVector2fPacket(uv), oneLane(), corners);
        znTexelSamples samples;
        for (int i = 0; i < 4; ++i)
            samples.corner[i] = corners.corner[i].getComponent(0);
        samples.across = corners.across[0];
        samples.up = corners.up[0];
        return samples;
    }
    void getBilinearSamples(const Sampler& sampler, const znRTVector2fPacket& uv, const Mask& mask,
                            znTexelCorners& corners) const override
    {
        znRTVector2fPacket place = uv;
        znRTTextureFunctions::applyTexCoordTransform(sampler, place);
        filteredLookup::corners(sampler, wraps, place, mask, corners);
    }

protected:
    /// One level by the filter; coordinates are transformed.
    virtual znRTColorPacket lookUp(const Sampler& sampler, const znRTVector2fPacket& uv,
                                   const znIntType<2>& level, const znIntType<2>& layer,
                                   const Mask& mask) const
    {
        return filteredLookup::nearest(sampler, wraps, uv, level, layer, mask);
    }

    static Mask oneLane() { return expandLanes(1); }
    static znTextureFootprint packet(const znTextureSteps& steps)
    {
        return {znRTVector2fPacket(steps.dx), znRTVector2fPacket(steps.dy)};
    }
    static znFloatType<2> within(const Sampler& sampler, const znFloatType<2>& level)
    {
        return clamp(level, 0.0f, float(sampler.levelCount));
    }

    static constexpr znFixedWraps<WrapS, WrapT> wraps{};
};

template <class WrapS, class WrapT>
class znRTBilinearAccessor : public znRTNearestAccessor<WrapS, WrapT>
{
public:
    using typename znRTTextureAccessor::Mask;
    using typename znRTTextureAccessor::Sampler;

    bool isAccessorType(int mode, bool bilinear, bool trilinear) const override
    {
        return mode == this->wrapMode && bilinear && !trilinear;
    }

protected:
    znRTColorPacket lookUp(const Sampler& sampler, const znRTVector2fPacket& uv,
                           const znIntType<2>& level, const znIntType<2>& layer,
                           const Mask& mask) const override
    {
        return filteredLookup::bilinear(sampler, this->wraps, uv, level, layer, mask);
    }
};

/// Follows the footprint: see znRTTextureFunctions::texture2D.
template <class WrapS, class WrapT>
class znRTTrilinearAccessor : public znRTBilinearAccessor<WrapS, WrapT>
{
    using Base = znRTBilinearAccessor<WrapS, WrapT>;

public:
    using Base::texture2DNoTransform;
    using Base::texture2DNoTransformLod;
    using Base::textureCube;
    using typename znRTTextureAccessor::Mask;
    using typename znRTTextureAccessor::Sampler;

    bool isAccessorType(int mode, bool, bool trilinear) const override
    {
        return mode == this->wrapMode && trilinear;
    }
    znRTColorPacket texture2DNoTransform(const Sampler& sampler, const znRTVector2fPacket& uv,
                                         const znTextureFootprint& footprint,
                                         const Mask& mask) const override
    {
        return filteredLookup::trilinear(sampler, this->wraps, uv, footprint, 0, mask);
    }
    znRTColorPacket texture2DNoTransformLod(const Sampler& sampler, const znRTVector2fPacket& uv,
                                            const znFloatType<2>& level,
                                            const Mask& mask) const override
    {
        return filteredLookup::betweenLevels(sampler, this->wraps, uv, selectLevels(sampler, level),
                                             0, mask);
    }
    znRTColorPacket textureCube(const Sampler& sampler, const znRTVector3fPacket& direction,
                                const znRTVector3fPacket& dx, const znRTVector3fPacket& dy,
                                const Mask& mask) const override
    {
        znIntType<2> face;
        znTextureFootprint footprint;
        const znRTVector2fPacket place =
            znRTTextureFunctions::findCubeFace(direction, dx, dy, face, footprint);
        return filteredLookup::trilinear(sampler, this->wraps, place, footprint, face, mask);
    }
    /// The levels around a number, and the share of the second.
    virtual znMipLevels selectLevels(const Sampler& sampler, const znFloatType<2>& level) const
    {
        const znFloatType<2> position = this->within(sampler, level), lower = floor(position);
        const znIntType<2> first = toInt(lower);
        return {first, clampTexel(first + 1, sampler.levelCount + 1), position - lower};
    }
};
