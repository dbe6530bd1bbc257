#pragma once

// Lookups by wrapping, filter and level, for whatever decides the wrapping: a sampler's modes at
// run time (znSamplerWraps) or a pair of wrappers at compile time (znFixedWraps). Coordinates have
// been transformed. Lanes off the texture under decal take the border colour; a sampler without
// data gives white.

#include "texture/texelFetch.h"
#include "texture/textureFootprint.h"
#include "texture/textureWrappers.h"
#include "texture/znRTTextureFunctions.h"

namespace filteredLookup {

using Mask = znFloatType<2>;

/// Sizes of a level per lane.
struct LevelSize
{
    LevelSize(const znRTTextureSampler& sampler, const znIntType<2>& level)
    {
        for (int lane = 0; lane < 4; ++lane) {
            width.set(lane, sampler.getLevelWidth(level[lane]));
            height.set(lane, sampler.getLevelHeight(level[lane]));
        }
    }
    explicit LevelSize(const znRTTextureSampler& sampler)
        : width(sampler.width), height(sampler.height)
    {
    }
    znIntType<2> width, height;
};

inline LevelSize sizeOf(const znRTTextureSampler& sampler, const znIntType<2>& level)
{
    return anyLane(level != znIntType<2>(0)) ? LevelSize(sampler, level) : LevelSize(sampler);
}

/// The texel that a coordinate in [0, 1] lies in.
inline znIntType<2> nearestTexel(znFloatType<2> coordinate, znIntType<2> size)
{
    return clampTexel(toInt(coordinate * toFloat(size)), size);
}

template <class Wraps>
znRTColorPacket finish(const znRTTextureSampler& sampler, znRTColorPacket color, const Mask& valid,
                       const Mask& mask, const Wraps&)
{
    znRTTextureFunctions::replaceColorByBorderColor(sampler, color, valid);
    return color & mask;
}

template <class Wraps>
znRTColorPacket nearest(const znRTTextureSampler& sampler, const Wraps& wraps,
                        const znRTVector2fPacket& uv, const znIntType<2>& level,
                        const znIntType<2>& layer, const Mask& mask)
{
    if (!sampler.isValid())
        return znRTColorPacket(1.0f) & mask;
    Mask valid = Mask::allLanes();
    const LevelSize size = sizeOf(sampler, level);
    znTexelQuad quad;
    quad.left = nearestTexel(wraps.wrapS(uv.x, valid), size.width);
    quad.low = nearestTexel(wraps.wrapT(uv.y, valid), size.height);
    quad.level = level;
    quad.layer = layer;
    return finish(sampler, fetchTexel(sampler, quad, mask & valid), valid, mask, wraps);
}

/// Lower texel and weight of a coordinate in [0, 1].
inline znIntType<2> lowerTexel(znFloatType<2> coordinate, znIntType<2> size, znFloatType<2>& weight)
{
    const znFloatType<2> position = coordinate * toFloat(size) - 0.5f;
    const znFloatType<2> lower = floor(position);
    weight = position - lower;
    return toInt(lower);
}

template <class Wraps>
znTexelQuad quadAt(const znRTTextureSampler& sampler, const Wraps& wraps,
                   const znRTVector2fPacket& uv, const znIntType<2>& level,
                   const znIntType<2>& layer, Mask& valid)
{
    const LevelSize size = sizeOf(sampler, level);
    znTexelQuad quad;
    const znIntType<2> left = lowerTexel(wraps.wrapS(uv.x, valid), size.width, quad.across);
    const znIntType<2> low = lowerTexel(wraps.wrapT(uv.y, valid), size.height, quad.up);
    quad.left = wraps.indexS(left, size.width);
    quad.right = wraps.indexS(left + 1, size.width);
    quad.low = wraps.indexT(low, size.height);
    quad.high = wraps.indexT(low + 1, size.height);
    quad.level = level;
    quad.layer = layer;
    return quad;
}

template <class Wraps>
znRTColorPacket bilinear(const znRTTextureSampler& sampler, const Wraps& wraps,
                         const znRTVector2fPacket& uv, const znIntType<2>& level,
                         const znIntType<2>& layer, const Mask& mask)
{
    if (!sampler.isValid())
        return znRTColorPacket(1.0f) & mask;
    Mask valid = Mask::allLanes();
    const znTexelQuad quad = quadAt(sampler, wraps, uv, level, layer, valid);
    return finish(sampler, fetchBilinear(sampler, quad, mask & valid), valid, mask, wraps);
}

/// Corners of level 0; white without data, the border's colour off the texture.
template <class Wraps>
void corners(const znRTTextureSampler& sampler, const Wraps& wraps, const znRTVector2fPacket& uv,
             const Mask& mask, znTexelCorners& out)
{
    Mask valid = Mask::allLanes();
    if (sampler.isValid())
        fetchCorners(sampler, quadAt(sampler, wraps, uv, 0, 0, valid), mask, out);
    else {
        out.across = out.up = znFloatType<2>(0.0f);
        for (znRTColorPacket& corner : out.corner)
            corner = znRTColorPacket(1.0f);
    }
    for (znRTColorPacket& corner : out.corner)
        corner = finish(sampler, corner, valid, mask, wraps);
}

/// Bilinear in two levels, mixed.
template <class Wraps>
znRTColorPacket betweenLevels(const znRTTextureSampler& sampler, const Wraps& wraps,
                              const znRTVector2fPacket& uv, const znMipLevels& levels,
                              const znIntType<2>& layer, const Mask& mask)
{
    znRTColorPacket color = bilinear(sampler, wraps, uv, levels.level, layer, mask);
    const Mask mixed =
        mask & (levels.weight > znFloatType<2>(0.0f)) & asFloat(levels.next != levels.level);
    if (!anyLane(mixed))
        return color;
    const znRTColorPacket coarser = bilinear(sampler, wraps, uv, levels.next, layer, mixed);
    color.mixColor(coarser, levels.weight & mixed);
    return color;
}

/// By the footprint: one place between two levels, or several along the longer axis of a footprint
/// that is seen at an angle.
template <class Wraps>
znRTColorPacket trilinear(const znRTTextureSampler& sampler, const Wraps& wraps,
                          const znRTVector2fPacket& uv, const znTextureFootprint& footprint,
                          const znIntType<2>& layer, const Mask& mask)
{
    if (!sampler.isValid())
        return znRTColorPacket(1.0f) & mask;
    if (sampler.levelCount <= 0)
        return bilinear(sampler, wraps, uv, 0, layer, mask);
    if (!znRTTextureFunctions::s_useHighQualityTextureFiltering || sampler.maxAnisotropy <= 1.0f)
        return betweenLevels(sampler, wraps, uv,
                             znRTTextureFunctions::calculateMipMapLevel(sampler, footprint), layer,
                             mask);

    znMipLevels levels;
    const znEllipse ellipse =
        znRTTextureFunctions::calculateEWAMipMapLevel(sampler, footprint, levels);
    int most = 1;
    const int lanes = moveMask(mask);
    for (int lane = 0; lane < 4; ++lane)
        if ((lanes >> lane) & 1)
            most = std::max(most, int(ellipse.taps[lane]));
    if (most == 1)
        return betweenLevels(sampler, wraps, uv, levels, layer, mask);

    // Taps of a pixel from edge to edge of the footprint, x in (-1, 1), under exp(-2 x^2).
    znRTColorPacket sum(0.0f);
    znFloatType<2> weights(0.0f);
    const znFloatType<2> step = znFloatType<2>(1.0f) / ellipse.taps;
    for (int i = 0; i < most; ++i) {
        const znFloatType<2> number{float(i)};
        const Mask taken = mask & (number < ellipse.taps);
        const znFloatType<2> x = (number + number + 1.0f) * step - 1.0f;
        // Exactly 1 in the middle: a lane with one tap sees what it would see without neighbours.
        const znFloatType<2> isMiddle = x == znFloatType<2>(0.0f);
        const znFloatType<2> weight = select(isMiddle, 1.0f, exp(x * x * -2.0f)) & taken;
        const znRTColorPacket tap =
            betweenLevels(sampler, wraps, uv + ellipse.major * (x * 0.5f), levels, layer, taken);
        sum += tap * weight;
        weights += weight;
    }
    return znRTColorPacket(sum.r / weights, sum.g / weights, sum.b / weights, sum.a / weights) &
           mask;
}

} // namespace filteredLookup
