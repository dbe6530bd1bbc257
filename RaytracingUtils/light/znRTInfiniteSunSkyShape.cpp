#include "light/znRTInfiniteSunSkyShape.h"

#include "brdf/lobeMath.h"
#include "brdf/znRTONB.h"
#include "host/osg/Materials.h"
#include "host/znRTEnvironmentImages.h"
#include "light/directionMaps.h"
#include "light/skyModel.h"
#include "texture/znRTTextureFunctions.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

const znRTTypeId znRTInfiniteSunSkyShape::id("znRTInfiniteSunSkyShape");

namespace {

constexpr int skyWidth = 512, skyHeight = 256;
/// Irradiance of a facing surface, sun of brightness 1 over sky of intensity 1.
constexpr float sunOverSky = 5.0f;
constexpr float unitSunRadiance =
    sunOverSky * lobeMath::pi / znRTInfiniteSunSkyShape::s_sunSolidAngle;

float luminanceOf(const znRTColor& c)
{
    return 0.2125f * c.r + 0.7154f * c.g + 0.0721f * c.b;
}

znRTColor scaled(const znRTColor& c, float s)
{
    return {c.r * s, c.g * s, c.b * s, 1.0f};
}

znRTColor saturated(const znRTColor& c, float s)
{
    const float grey = (1.0f - s) * luminanceOf(c);
    return {s * c.r + grey, s * c.g + grey, s * c.b + grey, 1.0f};
}

znRTColor mixed(const znRTColor& a, const znRTColor& b, float t)
{
    return {a.r + t * (b.r - a.r), a.g + t * (b.g - a.g), a.b + t * (b.b - a.b), 1.0f};
}

struct SkyRow
{
    float z;           ///< height of the row's middle
    double cosineArea; ///< of one texel: solid angle times cosine, 0 below the horizon
};

SkyRow skyRow(int row)
{
    const double step = std::numbers::pi / skyHeight, theta = (row + 0.5) * step;
    const double area =
        2.0 * std::sin(0.5 * step) * std::sin(theta) * (2.0 * std::numbers::pi / skyWidth);
    return {float(std::cos(theta)), std::max(std::cos(theta), 0.0) * area};
}

/// Share of the sun's disk above the horizon: of a circle, the part above a line.
/// @param height  sine of the altitude of its middle
float shareAboveHorizon(float height, float sunScale)
{
    const double radius = std::sin(std::atan(double(sunScale) * 0.6957 / 149.6));
    if (!(std::abs(double(height)) < radius))
        return height > 0.0f ? 1.0f : 0.0f;
    const double x = height / radius;
    return float((std::acos(-x) + x * std::sqrt(1.0 - x * x)) / std::numbers::pi);
}

znRTVector3f directionOf(int column, int row)
{
    return znRTEnvironmentImages::toDirection((float(column) + 0.5f) / float(skyWidth),
                                              (float(row) + 0.5f) / float(skyHeight));
}

} // namespace

void znRTInfiniteSunSkyShape::makeSky(const SkySettings& newSettings)
{
    settings = newSettings;
    const SkyModel model(settings.turbidity, settings.sunDirection);
    std::vector<znRTColor> texels(std::size_t(skyWidth) * skyHeight);
    double onFloor = 0.0; // irradiance, luminance
    for (int y = 0; y < skyHeight; ++y) {
        const SkyRow row = skyRow(y);
        for (int x = 0; x < skyWidth; ++x) {
            znRTColor& texel = texels[std::size_t(y) * skyWidth + x];
            texel = model.getRadiance(directionOf(x, y));
            onFloor += double(luminanceOf(texel)) * row.cosineArea;
        }
    }
    const float intensity =
        settings.skyIntensity * SkyModel::getTwilightShare(settings.sunDirection.z);
    const float toUnit = onFloor > 0.0 ? intensity * float(std::numbers::pi / onFloor) : 0.0f;
    const auto ground = [&](int i) {
        return settings.groundColor[i] * (intensity + settings.sunOnGround[i]);
    };
    const znRTColor groundRadiance(ground(0), ground(1), ground(2), 1.0f);
    const float blur = std::max(0.5f * settings.horizonBlur, 1e-6f);
    for (int y = 0; y < skyHeight; ++y) {
        const float t = std::clamp(skyRow(y).z / blur * 0.5f + 0.5f, 0.0f, 1.0f);
        const float above = t * t * (3.0f - 2.0f * t);
        for (int x = 0; x < skyWidth; ++x) {
            znRTColor& texel = texels[std::size_t(y) * skyWidth + x];
            texel = mixed(groundRadiance, scaled(texel, toUnit), above);
        }
    }
    hasSky =
        skyImage.setTexels(znRTSampler2D::typeRGBAFloat, skyWidth, skyHeight, 1, texels.data());
}

bool znRTInfiniteSunSkyShape::setAttributes(const osg::MaterialPtr& material)
{
    const auto skylight = osg::FCPtr<osg::USkylightMaterial>::dcast(material);
    if (!skylight) {
        std::printf("[znRTInfiniteSunSkyShape::setAttributes] No Skylight material\n");
        return false;
    }
    const auto& record = static_cast<const osg::USkylightMaterial::RaytracingAttributes&>(
        skylight->getRaytracingAttributes());
    setCommonAttributes(record);

    const osg::Vec3f& color = record.sunColor;
    znRTColor sun(color[0], color[1], color[2], 1.0f);
    sun = scaled(sun, record.sunBrightness * unitSunRadiance);
    if (record.saturation != 1.0f)
        sun = saturated(sun, record.saturation);
    // The ground hides a sun below the horizon.
    const znRTVector3f direction = record.sunDirection.getNormalized();
    sun = scaled(sun, shareAboveHorizon(direction.z, record.sunScale));

    const float onGround = s_sunSolidAngle * record.sunScale * record.sunScale *
                           std::max(direction.z, 0.0f) * lobeMath::invPi;
    const SkySettings wanted{record.turbidity,
                             record.skyIntensity,
                             record.horizonBlur,
                             record.groundColor,
                             {sun.r * onGround, sun.g * onGround, sun.b * onGround},
                             direction};
    const bool isNew = !hasSky || !(wanted == settings);
    if (isNew)
        makeSky(wanted);
    const znRTVector4f mean = skyImage.calculateSphereAverage();
    znRTEnvironmentAttributes shown = record;
    shown.intensity *= znRTTextureFunctions::s_exposureScale;
    if (!sky.setImage(hasSky ? &skyImage : nullptr, {mean.x, mean.y, mean.z, 1.0f}, shown, isNew))
        return false;
    setSun(sky.toRadiance(sun), direction, record.sunScale);
    return true;
}

void znRTInfiniteSunSkyShape::setSun(const znRTColor& color, const znRTVector3f& direction,
                                     float scale)
{
    sunColor = color;
    sunDirection = direction.getNormalized();
    sunWorld = toWorld(znRTVector3fPacket(sunDirection));
    sunSolidAngle = s_sunSolidAngle * scale * scale;
    sunPower = luminanceOf(color) * sunSolidAngle;
    const float total = getPower();
    pSun = total > 0.0f ? sunPower / total : 0.0f;
    pSky = 1.0f - pSun;
    const double angle = std::atan(double(scale) * 0.6957 / 149.6);
    const double sine = std::sin(0.5 * angle);
    cosSunCone = float(std::cos(angle));
    coneHeight = float(2.0 * sine * sine);
    if (coneHeight <= 0.0f) {
        pSun = 0.0f;
        pSky = 1.0f;
    }
}

/// By the chord: half its square is 1 - cos, with all digits, where the cosine has three left.
znFloatType<2> znRTInfiniteSunSkyShape::isOnSun(const znRTVector3fPacket& direction) const
{
    return (direction - sunWorld).getSquareLength() <= znFloatType<2>(2.0f * coneHeight);
}

znRTVector3fPacket znRTInfiniteSunSkyShape::drawSun(const znRTVector2fPacket& u) const
{
    const znFloatType<2> below = u.x * coneHeight; // 1 - cos
    const znFloatType<2> sine = squareRoot(below * (znFloatType<2>(2.0f) - below));
    znFloatType<2> sinPhi, cosPhi;
    sincos(u.y * lobeMath::twoPi, sinPhi, cosPhi);
    // sincos leaves the circle a little: back on it, or the disk would have no sharp rim.
    const znFloatType<2> onCircle = reciprocalSquareRoot(sinPhi * sinPhi + cosPhi * cosPhi) * sine;
    znRTONB frame;
    frame.set(sunWorld);
    return frame.toWorld({cosPhi * onCircle, sinPhi * onCircle, znFloatType<2>(1.0f) - below});
}

znFloatType<2> znRTInfiniteSunSkyShape::density(const znRTVector3fPacket& direction,
                                                const znFloatType<2>& mask, bool upperOnly) const
{
    return sky.density(direction, mask, upperOnly) * pSky + sunDensity(direction, mask);
}

znFloatType<2> znRTInfiniteSunSkyShape::sunDensity(const znRTVector3fPacket& direction,
                                                   const znFloatType<2>& mask) const
{
    if (!(pSun > 0.0f))
        return 0.0f;
    return znFloatType<2>(pSun / (lobeMath::twoPi * coneHeight)) & isOnSun(direction) & mask;
}

znFloatType<2> znRTInfiniteSunSkyShape::sample(const znRTVector2fPacket& u,
                                               const znFloatType<2>& mask, bool upperOnly,
                                               znRTVector3fPacket& direction,
                                               znRTVector2fPacket& uv) const
{
    if (!(pSun > 0.0f))
        return sky.sample(u, mask, upperOnly, direction, uv);
    // The number that chooses is stretched over the interval it fell into, and serves again.
    const znFloatType<2> takesSun = u.x < znFloatType<2>(pSun);
    const float invSky = pSky > 0.0f ? 1.0f / pSky : 0.0f;
    const znFloatType<2> x = clamp01(select(takesSun, u.x * (1.0f / pSun), (u.x - pSun) * invSky));
    const znFloatType<2> ofSky = sky.sample({x, u.y}, mask, upperOnly, direction, uv);
    const znRTVector3fPacket toSun = drawSun({x, u.y});
    const znRTVector2fPacket sunPlace = getCoordinates(toSun);
    direction = select(takesSun, toSun, direction);
    uv = {select(takesSun, sunPlace.x, uv.x), select(takesSun, sunPlace.y, uv.y)};
    const znFloatType<2> drawn =
        mask & select(takesSun, znFloatType<2>::allLanes(), ofSky > znFloatType<2>(0.0f));
    return density(direction, drawn, upperOnly);
}

znRTVector3fPacket znRTInfiniteSunSkyShape::sampleOnGround(const znRTVector2fPacket& u,
                                                           const znFloatType<2>& mask) const
{
    const float ofSun = sunOnGround();
    if (!(ofSun > 0.0f))
        return sky.sampleOnGround(u, mask);
    const float share = ofSun / getGroundIrradiance();
    const float invRest = share < 1.0f ? 1.0f / (1.0f - share) : 0.0f;
    const znFloatType<2> takesSun = u.x < znFloatType<2>(share);
    const znFloatType<2> x =
        clamp01(select(takesSun, u.x * (1.0f / share), (u.x - share) * invRest));
    return select(takesSun, drawSun({x, u.y}), sky.sampleOnGround({x, u.y}, mask));
}

znFloatType<2> znRTInfiniteSunSkyShape::pdf(const znRTVector3fPacket& direction,
                                            const znFloatType<2>& mask) const
{
    return density(direction, mask, false);
}

znRTColorPacket znRTInfiniteSunSkyShape::lookupSun(const znRTVector3fPacket& direction,
                                                   const znFloatType<2>& mask) const
{
    return znRTColorPacket(sunColor) & mask & isOnSun(direction);
}

namespace {

/// Alpha stays.
znRTColorPacket withSun(const znRTColorPacket& sky, const znRTColorPacket& sun)
{
    return {sky.r + sun.r, sky.g + sun.g, sky.b + sun.b, sky.a};
}

} // namespace

znRTColorPacket znRTInfiniteSunSkyShape::evaluate(const znRTVector3fPacket& direction,
                                                  const znFloatType<2>& mask) const
{
    return withSun(sky.evaluate(direction, mask), lookupSun(direction, mask));
}

znRTColorPacket znRTInfiniteSunSkyShape::evaluateDrawn(const znRTVector3fPacket& direction,
                                                       const znRTVector2fPacket& uv,
                                                       const znFloatType<2>& mask) const
{
    return withSun(sky.evaluateAt(uv, mask), lookupSun(direction, mask));
}

znRTColorPacket znRTInfiniteSunSkyShape::evaluateWithPdf(const znRTVector3fPacket& direction,
                                                         const znFloatType<2>& mask,
                                                         znFloatType<2>& pdf) const
{
    const znRTColorPacket ofSky = sky.evaluateWithPdf(direction, mask, pdf);
    pdf = pdf * pSky + sunDensity(direction, mask);
    return withSun(ofSky, lookupSun(direction, mask));
}

/// The lobe's share of the disk, which is small beside the lobe or fills it.
znRTColorPacket znRTInfiniteSunSkyShape::evaluateFiltered(const znRTVector3fPacket& direction,
                                                          const znFloatType<2>& level,
                                                          const znFloatType<2>& mask) const
{
    const znRTColorPacket ofSky = sky.evaluateFiltered(direction, level, mask);
    const znFloatType<2> exponent = znRTFilteredEnvironment::getExponent(level);
    const znFloatType<2> cosine = clamp01(dot(direction, sunWorld));
    const znFloatType<2> norm =
        minimum((exponent + 1.0f) * (lobeMath::invTwoPi * sunSolidAngle), 1.0f);
    return withSun(ofSky, (znRTColorPacket(sunColor) * (norm * pow(cosine, exponent))) & mask);
}

znRTColorPacket znRTInfiniteSunSkyShape::evaluateAt(const znRTVector2fPacket& uv,
                                                    const znFloatType<2>& mask) const
{
    const znRTVector3fPacket turned[3] = {worldToEnvironment[1], worldToEnvironment[0],
                                          worldToEnvironment[2]};
    znFloatType<2> sine;
    return evaluate(polarToDirection(turned, uv, sine), mask);
}

znRTColor znRTInfiniteSunSkyShape::getAverageColor() const
{
    const znRTColor skyColor = sky.getAverageColor();
    const float share = sunSolidAngle / (4.0f * lobeMath::pi);
    return {skyColor.r + sunColor.r * share, skyColor.g + sunColor.g * share,
            skyColor.b + sunColor.b * share, 1.0f};
}
