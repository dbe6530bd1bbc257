// Lookups by direction, and the colours of environments.

#include "brdf/lobeMath.h"
#include "texture/filteredLookup.h"

using Color = znRTColorPacket;
using Mask = znFloatType<2>;

float znRTTextureFunctions::s_exposureScale = 1.0f;

namespace {

/// The two components that lie on the face of a direction, and the one across it (OpenGL 4.6 core,
/// table 8.19).
struct CubeFace
{
    explicit CubeFace(const znRTVector3fPacket& d)
    {
        const znFloatType<2> x = absolute(d.x), y = absolute(d.y), z = absolute(d.z);
        isX = (x >= y) & (x >= z);
        isY = andNot(isX, y >= z);
        const znFloatType<2> across = select(isX, d.x, select(isY, d.y, d.z));
        sign = across & znFloatType<2>(-0.0f);
        const znIntType<2> axis = select(asInt(isX), znIntType<2>(0),
                                         select(asInt(isY), znIntType<2>(2), znIntType<2>(4)));
        face = axis + ((asInt(sign) >> 31) & znIntType<2>(1));
        set(d);
        scale = reciprocalOrZero(ma) * 0.5f;
    }
    /// sc, tc and ma of a direction by the table; ma with the sign that makes the face's own
    /// direction positive.
    void set(const znRTVector3fPacket& d)
    {
        sc = select(isX, -(d.z ^ sign), select(isY, d.x, d.x ^ sign));
        tc = select(isY, d.z ^ sign, -d.y);
        ma = select(isX, d.x, select(isY, d.y, d.z)) ^ sign;
    }

    znFloatType<2> isX, isY, sign, sc, tc, ma, scale;
    znIntType<2> face;
};

/// Step of (s, t) that a step of the direction makes, by the quotient rule.
znRTVector2fPacket stepOf(const CubeFace& at, const znRTVector3fPacket& step)
{
    CubeFace moved = at;
    moved.set(step);
    const znFloatType<2> inverse = at.scale + at.scale;
    return {(moved.sc - at.sc * inverse * moved.ma) * at.scale,
            (moved.tc - at.tc * inverse * moved.ma) * at.scale};
}

} // namespace

znRTVector2fPacket znRTTextureFunctions::findCubeFace(const znRTVector3fPacket& direction,
                                                      znIntType<2>& face)
{
    const CubeFace at(direction);
    face = at.face;
    return {at.sc * at.scale + 0.5f, at.tc * at.scale + 0.5f};
}

znRTVector2fPacket znRTTextureFunctions::findCubeFace(const znRTVector3fPacket& direction,
                                                      const znRTVector3fPacket& dx,
                                                      const znRTVector3fPacket& dy,
                                                      znIntType<2>& face,
                                                      znTextureFootprint& footprint)
{
    const CubeFace at(direction);
    face = at.face;
    footprint = {stepOf(at, dx), stepOf(at, dy)};
    return {at.sc * at.scale + 0.5f, at.tc * at.scale + 0.5f};
}

Color znRTTextureFunctions::textureCube(const znRTTextureSampler& sampler,
                                        const znRTVector3fPacket& direction, const Mask& mask)
{
    znIntType<2> face;
    const znRTVector2fPacket place = findCubeFace(direction, face);
    return filteredLookup::bilinear(sampler, znSamplerWraps(sampler.wrapMode), place, 0, face,
                                    mask);
}

Color znRTTextureFunctions::textureCube(const znRTTextureSampler& sampler,
                                        const znRTVector3fPacket& direction,
                                        const znRTVector3fPacket& dx, const znRTVector3fPacket& dy,
                                        const Mask& mask)
{
    znIntType<2> face;
    znTextureFootprint footprint;
    const znRTVector2fPacket place = findCubeFace(direction, dx, dy, face, footprint);
    return filteredLookup::trilinear(sampler, znSamplerWraps(sampler.wrapMode), place, footprint,
                                     face, mask);
}

znRTVector2fPacket znRTTextureFunctions::environmentCoordinates(const znRTVector3fPacket& direction)
{
    znFloatType<2> u = atan2(direction.x, direction.y) * lobeMath::invTwoPi;
    u += (u < znFloatType<2>(0.0f)) & znFloatType<2>(1.0f);
    // By two sides of the triangle: the arc cosine alone would lose the digits near the poles.
    const znFloatType<2> across = squareRoot(direction.x * direction.x + direction.y * direction.y);
    const znFloatType<2> v = atan2(across, direction.z) * lobeMath::invPi;
    return {minimum(u, 1.0f), clamp01(v)};
}

Color znRTTextureFunctions::environmentLookup(const znRTTextureSampler& sampler,
                                              const znRTVector3fPacket& direction,
                                              const znFloatType<2>& level, bool isCorrected,
                                              const Mask& mask)
{
    Color color;
    if (sampler.getKind() == znRTTextureSampler::kindCube) {
        znIntType<2> face;
        const znRTVector2fPacket place = findCubeFace(direction, face);
        const znFloatType<2> position =
            (znFloatType<2>(1.0f) - clamp01(level)) * float(sampler.levelCount);
        const znFloatType<2> lower = floor(position);
        const znIntType<2> first = toInt(lower), count(sampler.levelCount + 1);
        color = filteredLookup::betweenLevels(
            sampler, znSamplerWraps(sampler.wrapMode), place,
            {first, clampTexel(first + 1, count), position - lower}, face, mask);
    } else
        color = texture3DBilinear(sampler, environmentCoordinates(direction), level, mask);
    return isCorrected ? applyColorCorrection(sampler, color) & mask : color;
}

Color znRTTextureFunctions::ambientLookup(const znRTTextureSampler& sampler, const Mask& mask,
                                          bool active)
{
    if (!active)
        return Color(0.0f);
    const znRTVector4f& mean = sampler.averageColor;
    return Color(znRTColor(mean.x, mean.y, mean.z, mean.w)) * s_exposureScale & mask;
}

Color znRTTextureFunctions::applyColorCorrection(const znRTTextureSampler& sampler,
                                                 const Color& color)
{
    if (!sampler.useColorMatrix)
        return color;
    const znMatrix4x4& m = sampler.colorMatrix;
    const auto channel = [&](int row) {
        const znFloatType<2> value = color.r * m[0][row] + color.g * m[1][row] +
                                     color.b * m[2][row] + znFloatType<2>(m[3][row]);
        return maximum(value, 0.0f);
    };
    return {channel(0), channel(1), channel(2), 1.0f};
}
