#include "light/znRTLightProfile.h"

#include "brdf/lobeMath.h"
#include "brdf/lobeSampling.h"
#include "light/directionMaps.h"
#include "light/imageStamp.h"
#include "light/textureLookup.h"
#include "texture/znRTTextureFunctions.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

constexpr float uniformValue = 0.07957747f; ///< 1 / (4 pi)
constexpr int wrapsAround = 3;              ///< photometric type whose maps repeat

} // namespace

void znRTLightProfile::setTransform(const znRTVector3f& newOrigin, const znRTVector3f& axisX,
                                    const znRTVector3f& axisY, const znRTVector3f& axisZ)
{
    origin = newOrigin;
    axes[0] = znRTVector3fPacket(axisX);
    axes[1] = znRTVector3fPacket(axisY);
    axes[2] = znRTVector3fPacket(axisZ);
}

void znRTLightProfile::update()
{
    const int wrap = attachment->getPhotometricType() == wrapsAround ? znRTSampler2D::repeat
                                                                     : znRTSampler2D::clamp;
    sampler.setWrap(wrap, wrap);
    const osg::ImagePtr image = attachment->getDistributionMap();
    const u64 stamp = imageStamp(image);
    const bool isSame = stamp == mapStamp && usesCandela == attachment->getUseProfileIntensity();
    if (isSame)
        return;
    usesCandela = attachment->getUseProfileIntensity();
    map = image;
    mapStamp = stamp;
    sampler.setImage(image, false, true);
    mapPresent = image && sampler.prepareData();
    calculateDistributions();
}

void znRTLightProfile::calculateDistributions()
{
    distribution.clear();
    maxIntensity = uniformValue;
    power = scale = 1.0f;
    if (!mapPresent)
        return;
    // Intensity times the sine of the polar angle: rows near the poles cover little of the sphere.
    const int width = sampler.width, height = sampler.height;
    std::vector<float> function(std::size_t(width) * std::size_t(height));
    double largest = 0.0, sum = 0.0;
    for (int y = 0; y < height; ++y) {
        // The row's solid angle, exactly.
        const double row =
            std::cos(std::numbers::pi * y / height) - std::cos(std::numbers::pi * (y + 1) / height);
        for (int x = 0; x < width; ++x) {
            const znRTVector4f texel = sampler.getTexel(0, 0, x, y);
            const double value = std::isfinite(texel.x) ? std::max(texel.x, 0.0f) : 0.0f;
            function[std::size_t(y) * std::size_t(width) + std::size_t(x)] = float(value * row);
            sum += value * row;
            largest = std::max(largest, value);
        }
    }
    distribution.setFunction(function.data(), width, height);
    const double integral = sum * 2.0 * std::numbers::pi / width;
    // A map without light gives none.
    scale = usesCandela ? 1.0f : integral > 0.0 ? float(1.0 / integral) : 0.0f;
    power = usesCandela ? float(integral) : integral > 0.0 ? 1.0f : 0.0f;
    maxIntensity = float(largest) * scale;
}

znRTVector2fPacket znRTLightProfile::toMap(const znRTVector3fPacket& direction) const
{
    return directionToPolar(axes, direction);
}

znFloatType<2> znRTLightProfile::readMap(const znRTVector2fPacket& uv) const
{
    // Half a texel off the poles: a map that repeats must not mix them with each other.
    const float half = 0.5f / float(sampler.height);
    const znRTVector2fPacket inside(uv.x, clamp(uv.y, half, 1.0f - half));
    return lookUpTexture(sampler, inside, znFloatType<2>::allLanes()).r * scale;
}

znFloatType<2> znRTLightProfile::evaluate(const znRTVector3fPacket& direction,
                                          const znFloatType<2>& mask) const
{
    if (!mapPresent)
        return znFloatType<2>(uniformValue) & mask;
    return maximum(readMap(toMap(direction)), 0.0f) & mask;
}

znFloatType<2> znRTLightProfile::sample(const znRTVector2fPacket& u, const znFloatType<2>& mask,
                                        znRTVector3fPacket& direction, znFloatType<2>& pdf) const
{
    if (!mapPresent) {
        const znRTVector3fPacket local =
            lobeSampling::fromPolar(znFloatType<2>(1.0f) - (u.y + u.y), u.x);
        direction = axes[0] * local.x + axes[1] * local.y + axes[2] * local.z;
        pdf = znFloatType<2>(uniformValue) & mask;
        return pdf;
    }
    znFloatType<2> density;
    const znRTVector2fPacket uv = znRTTextureFunctions::remapSample(distribution, u, density, mask);
    znFloatType<2> sinTheta;
    direction = polarToDirection(axes, uv, sinTheta);
    pdf = getPdf(direction, mask);
    return evaluate(direction, mask);
}

znFloatType<2> znRTLightProfile::getPdf(const znRTVector3fPacket& direction,
                                        const znFloatType<2>& mask) const
{
    if (!mapPresent)
        return znFloatType<2>(uniformValue) & mask;
    // The table's rows hold what arrives from their solid angle; the draw inside a row is uniform
    // in the polar angle.
    const znRTVector2fPacket uv = toMap(direction);
    const znFloatType<2> z = dot(direction, axes[2]);
    const znFloatType<2> sinTheta = squareRoot(clamp01(znFloatType<2>(1.0f) - z * z));
    constexpr float twoPiSquared = 2.0f * lobeMath::pi * lobeMath::pi;
    return znRTTextureFunctions::remapPdf(distribution, uv, mask) *
           reciprocalOrZero(sinTheta * twoPiSquared);
}
