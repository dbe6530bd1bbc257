#include "light/znRTUSpotLight.h"

#include "brdf/lobeMath.h"
#include "brdf/lobeSampling.h"
#include "host/osg/UPointLight.h"
#include "light/lightProblems.h"
#include "light/textureLookup.h"

#include <algorithm>
#include <cmath>
#include <numbers>

const znRTTypeId znRTUSpotLight::id("znRTUSpotLight");

namespace {

/// Half angle beyond which the projection of a texture has no focus any more, degrees.
constexpr double widestProjection = 89.9999;

} // namespace

bool znRTUSpotLight::update()
{
    const bool changed = znRTUPointLight::update();
    const auto light = osg::FCPtr<osg::USpotLight>::dcast(m_core);
    if (!light)
        return changed;
    lightDirection = axisForward.getLane(0);
    if (m_isOn && !std::isfinite(lightDirection.getSquareLength())) {
        tellOfLightProblem(*this, "its transform leaves it no direction: it is off.");
        m_isOn = false;
    }
    cone.set(light->getConeAngle(), light->getPenumbraAngle());
    const double penumbra = std::max(light->getPenumbraAngle(), znRTLightCone::s_leastPenumbra);
    const double halfAngle = std::min(light->getConeAngle() + penumbra, widestProjection);
    focus = float(1.0 / std::tan(halfAngle * std::numbers::pi / 180.0));
    return changed;
}

znRTColorPacket znRTUSpotLight::getIntensity(const znRTVector3fPacket& from,
                                             const znRTVector3fPacket& direction,
                                             const znRTVector2fPacket&,
                                             const znFloatType<2>& mask) const
{
    const znFloatType<2> falloff = cone.falloff(-dot(direction, axisForward));
    const znRTColorPacket value =
        directionalValue(direction, mask, falloff) * evaluateProjection(-direction, mask);
    return attenuated(value, from, mask);
}

znRTColorPacket znRTUSpotLight::evaluateProjection(const znRTVector3fPacket& direction,
                                                   const znFloatType<2>& mask) const
{
    if (!texture)
        return znRTColorPacket(1.0f);
    const znFloatType<2> depth = dot(direction, axisForward);
    const znFloatType<2> scale = reciprocalOrZero(depth) * (0.5f * focus);
    const znRTVector2fPacket uv(dot(direction, axisRight) * scale + 0.5f,
                                dot(direction, axisUp) * scale + 0.5f);
    return lookUpTexture(*texture, uv, mask & (depth > znFloatType<2>(0.0f)));
}

znRTColorPacket znRTUSpotLight::sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket&,
                                             const znFloatType<2>& mask,
                                             znRTVector3fPacket& samplePosition,
                                             znRTVector3fPacket& direction,
                                             znRTVector3fPacket& normal, znFloatType<2>& pdf) const
{
    if (hasProfile)
        return sampleProfile(u, mask, samplePosition, direction, normal, pdf) *
               evaluateProjection(direction, mask);
    // Uniform in the outer cone, with the falloff in the value: photons then show the soft rim.
    // 1 - cos of the height keeps its digits in narrow cones.
    const float height = 1.0f - cone.outerCos;
    const znFloatType<2> below = u.y * height; // 1 - cos of the polar angle
    const znFloatType<2> sine = squareRoot(below * (znFloatType<2>(2.0f) - below));
    znFloatType<2> sinPhi, cosPhi;
    sincos(u.x * lobeMath::twoPi, sinPhi, cosPhi);
    samplePosition = positionPacket;
    direction = (axisRight * (sine * cosPhi) + axisUp * (sine * sinPhi) +
                 axisForward * (znFloatType<2>(1.0f) - below))
                    .getNormalized();
    normal = direction;
    const float density = height > 0.0f ? lobeMath::invTwoPi / height : 0.0f;
    pdf = znFloatType<2>(density) & mask;
    return photonColor() * evaluateProjection(direction, mask) *
               cone.falloff(dot(direction, axisForward)) &
           mask;
}

float znRTUSpotLight::getPower() const
{
    if (!m_isOn)
        return 0.0f;
    return hasProfile ? znRTUPointLight::getPower() : maxIntensity * cone.solidAngle;
}
