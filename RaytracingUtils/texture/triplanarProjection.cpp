// Textures along three axes at once.

#include "core/znRTDifferentialGeometry.h"
#include "host/znRTTextureAttributes.h"
#include "texture/znRTTextureFunctions.h"

#include <algorithm>
#include <numbers>

namespace {

using Mask = znFloatType<2>;
using Attributes = znRTTriplanarTextureAttributes;

/// Normals whose components sum to 1 within this lie along an axis.
constexpr float alongAxis = 0.01f;
/// Narrowest band that still is one in floats.
constexpr float leastWidth = 1e-4f;

/// The two axes of space that an image lies along: rightwards and up.
struct Across
{
    int right, up;
};
constexpr Across acrossAxis[3] = {{2, 1}, {0, 2}, {0, 1}};

const znFloatType<2>& component(const znRTVector3fPacket& v, int axis)
{
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

/// From the plane across an axis to the image.
struct AxisMap
{
    AxisMap(const Attributes& attributes, int axis_, const znRTVector3fPacket& normal)
        : axis(axis_), sine(attributes.sinRot[axis_]), cosine(attributes.cosRot[axis_])
    {
        const znFloatType<2> isBehind = component(normal, axis) < znFloatType<2>(0.0f);
        scaleU = znFloatType<2>(attributes.repeatU[axis]) ^ (isBehind & znFloatType<2>(-0.0f));
        scaleV = attributes.repeatV[axis];
    }
    znRTVector2fPacket operator()(const znRTVector3fPacket& v) const
    {
        const znFloatType<2>& x = component(v, acrossAxis[axis].right);
        const znFloatType<2>& y = component(v, acrossAxis[axis].up);
        return {scaleU * (x * cosine - y * sine), scaleV * (x * sine + y * cosine)};
    }
    /// In space, per unit of an image axis that grows along (right, up).
    znRTVector3fPacket step(const znFloatType<2>& right, const znFloatType<2>& up) const
    {
        znFloatType<2> v[3] = {0.0f, 0.0f, 0.0f};
        v[acrossAxis[axis].right] = right;
        v[acrossAxis[axis].up] = up;
        return {v[0], v[1], v[2]};
    }

    int axis;
    znFloatType<2> sine, cosine, scaleU, scaleV;
};

/// Smooth step of a cosine over a band about that of 45 degrees.
znFloatType<2> smoothShare(const znFloatType<2>& cosine, float blendWidth)
{
    constexpr float diagonal = std::numbers::sqrt2_v<float> * 0.5f;
    const float width = std::max(blendWidth, leastWidth);
    const znFloatType<2> t = clamp01((cosine - (diagonal - 0.5f * width)) * (1.0f / width));
    return t * t * (znFloatType<2>(3.0f) - (t + t));
}

} // namespace

void znRTTextureFunctions::computeTriplanarBlend(const znRTVector3fPacket& normal, float blendWidth,
                                                 const Mask& mask, znFloatType<2> weight[3])
{
    const znFloatType<2> a[3] = {absolute(normal.x), absolute(normal.y), absolute(normal.z)};
    const znFloatType<2> isOblique =
        mask & (absolute(a[0] + a[1] + a[2] - 1.0f) > znFloatType<2>(alongAxis));
    for (int i = 0; i < 3; ++i)
        weight[i] = a[i];
    if (anyLane(isOblique)) {
        znFloatType<2> shaped[3] = {1.0f, 1.0f, 1.0f};
        for (int i = 0; i < 3; ++i) {
            const int j = (i + 1) % 3;
            const znFloatType<2> squared = a[i] * a[i] + a[j] * a[j];
            const znFloatType<2> inverse =
                (squared > znFloatType<2>(0.0f)) & reciprocalSquareRoot(squared);
            shaped[i] *= smoothShare(a[i] * inverse, blendWidth);
            shaped[j] *= smoothShare(a[j] * inverse, blendWidth);
        }
        for (int i = 0; i < 3; ++i)
            weight[i] = select(isOblique, shaped[i], weight[i]);
    }
    const znFloatType<2> scale = reciprocalOrZero(weight[0] + weight[1] + weight[2]) & mask;
    for (int i = 0; i < 3; ++i)
        weight[i] *= scale;
}

znTexturePlace znRTTextureFunctions::calculateTriplanarAxis(const Attributes& attributes, int axis,
                                                            const znRTDifferentialGeometry& dg)
{
    const AxisMap map(attributes, axis, dg.shadingNormal);
    const znRTVector2fPacket offset(znFloatType<2>(attributes.offsetU[axis]),
                                    znFloatType<2>(attributes.offsetV[axis]));
    return {offset + map(dg.position), {map(dg.dPdx), map(dg.dPdy)}, Mask::allLanes()};
}

znTexturePlace znRTTextureFunctions::computeTriplanarTextureProjectionCoordinates(
    const Attributes& attributes, int axis, const znRTDifferentialGeometry& dg,
    znRTVector3fPacket& dPdu, znRTVector3fPacket& dPdv)
{
    const AxisMap map(attributes, axis, dg.shadingNormal);
    // The image is turned and scaled, not sheared: the inverse has the same axes.
    const znFloatType<2> alongU = reciprocalOrZero(map.scaleU);
    const znFloatType<2> alongV = reciprocalOrZero(map.scaleV);
    dPdu = map.step(map.cosine * alongU, -map.sine * alongU);
    dPdv = map.step(map.sine * alongV, map.cosine * alongV);
    return calculateTriplanarAxis(attributes, axis, dg);
}

znTriplanarProjection znRTTextureFunctions::prepareTriplanar(const Attributes& attributes,
                                                             const znRTDifferentialGeometry& dg,
                                                             const Mask& mask)
{
    znTriplanarProjection projection;
    computeTriplanarBlend(dg.shadingNormal, attributes.blendWidth, mask, projection.weight);
    for (int axis = 0; axis < 3; ++axis)
        if (anyLane(projection.weight[axis] > znFloatType<2>(0.0f)))
            projection.place[axis] = calculateTriplanarAxis(attributes, axis, dg);
    return projection;
}

namespace {

/// @param read  colour at a place, for the lanes of a mask
template <class Read>
znRTColorPacket blended(const znTriplanarProjection& projection, const Mask& mask, Read&& read)
{
    znRTColorPacket sum(0.0f);
    for (int axis = 0; axis < 3; ++axis) {
        const Mask seen = mask & (projection.weight[axis] > znFloatType<2>(0.0f));
        if (anyLane(seen))
            sum += read(projection.place[axis], seen) * (projection.weight[axis] & seen);
    }
    return sum;
}

} // namespace

znRTColorPacket znRTTextureFunctions::texture2DTriplanar(const znRTTextureSampler& sampler,
                                                         const znTriplanarProjection& projection,
                                                         const Mask& mask)
{
    return blended(projection, mask, [&](const znTexturePlace& place, const Mask& seen) {
        return texture2D(sampler, place, seen);
    });
}

void znRTTextureFunctions::texture2DTriplanar(std::span<const znRTTextureSampler* const> samplers,
                                              const znTriplanarProjection& projection,
                                              const Mask& mask, znRTColorPacket* colors)
{
    for (std::size_t i = 0; i < samplers.size(); ++i)
        colors[i] = texture2DTriplanar(*samplers[i], projection, mask);
}

znRTColorPacket znRTTextureFunctions::texture2DTriplanarLinear(
    const znRTTextureSampler& sampler, const znTriplanarProjection& projection, const Mask& mask)
{
    return blended(projection, mask, [&](const znTexturePlace& place, const Mask& seen) {
        return texture2D(sampler, place.uv, seen);
    });
}
