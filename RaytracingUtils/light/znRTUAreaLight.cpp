#include "light/znRTUAreaLight.h"

#include "brdf/lobeMath.h"
#include "host/osg/UAreaLight.h"
#include "host/znDistribution2D.h"
#include "host/znRTLensFlare.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTTextureSampler.h"
#include "host/znSceneDataManager.h"
#include "light/lightProblems.h"
#include "light/textureLookup.h"

#include <algorithm>

const znRTTypeId znRTUAreaLight::id("znRTUAreaLight");

znRTUAreaLight::znRTUAreaLight(const znRTTypeId& typeId, const osg::NodePtr& node,
                               const osg::NodeCorePtr& core)
    : znRTLight(typeId, node, core), coneAxis(0.0f, 0.0f, -1.0f)
{
    hasArea = true;
}

znRTUAreaLight::~znRTUAreaLight() = default;

bool znRTUAreaLight::update()
{
    const bool changed = znRTLight::update();
    // Flares belong to light that comes from a point.
    if (m_lensFlare)
        m_lensFlare->setEnabled(false);
    updateAreaLight();
    return changed;
}

bool znRTUAreaLight::updateAreaLight()
{
    const auto light = osg::FCPtr<osg::UAreaLight>::dcast(m_core);
    if (!light || m_transforms.empty())
        return false;
    attenuation.set(unsigned(light->getAttenuationType()));
    lightKind = std::min(int(attenuation.attenuationType), physicalKind);
    const float unit = znSceneDataManager::getSceneData(0)->getUnitsPerMetre();
    strength = attenuation.strengthScale(unit);
    maxIntensity *= strength;
    visibleInReflections = light->getVisibleInReflections();
    primaryVisibility = light->getPrimaryVisibility();
    const u32 quality = znRTRaytracingSettings::s_qualityMode == znRTRaytracingSettings::interactive
                            ? light->getInteractiveQuality()
                            : light->getStillQuality();
    numQualitySamples = std::max(quality, 1u);
    usesCone = false;
    metByRays = true;
    return true;
}

void znRTUAreaLight::readCone()
{
    const auto light = osg::FCPtr<osg::UAreaLight>::dcast(m_core);
    usesCone = light && light->getUseConeAngle();
    if (!usesCone)
        return;
    cone.set(light->getConeAngle(), light->getPenumbraAngle());
}

void znRTUAreaLight::updateShape()
{
    if (shape) {
        if (!m_transforms.empty())
            shape->setTransform(m_transforms.front());
        shape->setTextureSampler(texture, textureDistribution.get());
    }
    if (shape && shape->isValid())
        return;
    if (m_isOn && shape)
        tellOfLightProblem(*this, "it has no size: it is off.");
    m_isOn = false;
}

znRTColorPacket znRTUAreaLight::sample_L_Out(const znRTVector2fPacket& u,
                                             const znRTVector2fPacket& v,
                                             const znFloatType<2>& mask,
                                             znRTVector3fPacket& position,
                                             znRTVector3fPacket& direction,
                                             znRTVector3fPacket& normal, znFloatType<2>& pdf) const
{
    constexpr int cosineDirections = 1;
    if (!shape) {
        pdf = 0.0f;
        position = normal = direction = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
        return znRTColorPacket(0.0f);
    }
    znRTShapeEmission emission;
    const znRTColorPacket sample = shape->sampleForLight(u, v, mask, cosineDirections, emission);
    position = emission.position;
    direction = emission.direction;
    normal = emission.normal;
    pdf = emission.rayPdf & mask;
    const znRTColorPacket texel = evaluateTexture(emission.position, emission.uv, mask);
    const znFloatType<2> factor = getConeFactor(direction) * strength;
    return znRTColorPacket(sample.r * texel.r * factor * diffuseColor.r,
                           sample.g * texel.g * factor * diffuseColor.g,
                           sample.b * texel.b * factor * diffuseColor.b, sample.a) &
           mask;
}

float znRTUAreaLight::getPDF(const znRTVector3f& position, const znRTVector3f&,
                             const znRTVector3f& direction) const
{
    return getPDF(znRTVector3fPacket(position), znRTVector3fPacket(direction),
                  znFloatType<2>::allLanes())[0];
}

znFloatType<2> znRTUAreaLight::getPDF(const znRTVector3fPacket& position,
                                      const znRTVector3fPacket& direction,
                                      const znFloatType<2>& mask) const
{
    if (lightKind != physicalKind || !shape)
        return znFloatType<2>(s_constantPdf) & mask;
    znFloatType<2> t;
    znRTShapePoint point;
    const znFloatType<2> found = shape->intersectOrEvaluate(position, direction, mask, t, point);
    return shape->getPdf(position, point.position, point.normal, point.pdf, found);
}

znFloatType<2> znRTUAreaLight::getPDF(const znRTVector3fPacket& position, const znRTVector3fPacket&,
                                      const znRTVector3fPacket& lightPoint,
                                      const znRTVector3fPacket& lightNormal,
                                      const znFloatType<2>& mask,
                                      const znFloatType<2>& areaPdf) const
{
    if (lightKind != physicalKind || !shape)
        return znFloatType<2>(s_constantPdf) & mask;
    return shape->getPdf(position, lightPoint, lightNormal, areaPdf, mask);
}

znRTColorPacket znRTUAreaLight::getSeenIntensity(const znRTVector3fPacket& direction,
                                                 const znRTVector3fPacket& lightPoint,
                                                 const znRTVector2fPacket& uv,
                                                 const znFloatType<2>& mask) const
{
    znRTColorPacket value = evaluateTexture(lightPoint, uv, mask);
    if (usesCone)
        value *= getConeFactor(-direction);
    return value & mask;
}

znRTColorPacket znRTUAreaLight::getIntensity(const znRTVector3fPacket& position,
                                             const znRTVector3fPacket& direction,
                                             const znRTVector3fPacket& lightPoint,
                                             const znRTVector2fPacket& uv,
                                             const znFloatType<2>& mask) const
{
    znRTColorPacket value = getSeenIntensity(direction, lightPoint, uv, mask);
    // The density of a physical light holds the falloff already.
    if (lightKind != physicalKind)
        value *= reciprocalOrZero(attenuation.denominator((lightPoint - position).getLength()));
    return value & mask;
}

znRTColorPacket znRTUAreaLight::getIntensity(const znRTVector3fPacket& position,
                                             const znRTVector3fPacket& direction,
                                             const znRTVector2fPacket&,
                                             const znFloatType<2>& mask) const
{
    if (!shape)
        return znRTColorPacket(0.0f);
    znFloatType<2> t;
    znRTShapePoint point;
    const znFloatType<2> found = shape->intersectOrEvaluate(position, direction, mask, t, point);
    return getIntensity(position, direction, point.position, point.uv, found);
}

float znRTUAreaLight::getPower() const
{
    if (!m_isOn || !shape)
        return 0.0f;
    const float coneShare = usesCone ? cone.solidAngle * lobeMath::invTwoPi : 1.0f;
    const float scale = lightKind == physicalKind ? areaScale : 1.0f;
    return shape->getArea() * scale * maxIntensity * coneShare;
}

float znRTUAreaLight::getLuminousIntensity() const
{
    return m_isOn && shape ? shape->getArea() * maxIntensity : 0.0f;
}

znRTBoundingBox znRTUAreaLight::getBoundingBox() const
{
    return shape ? shape->getBoundingBox() : znRTBoundingBox();
}

znFloatType<2> znRTUAreaLight::cullLight(const znRTVector3fPacket& position,
                                         const znRTVector3fPacket& normal,
                                         const znFloatType<2>& mask) const
{
    return shape ? shape->cullLight(position, normal, mask) : znFloatType<2>::noLanes();
}

znRTVector3fPacket znRTUAreaLight::middle() const
{
    return znRTVector3fPacket(shape ? shape->getAveragePoint({}) : znRTVector3f());
}

znFloatType<2> znRTUAreaLight::getDistance(const znRTVector3fPacket& position) const
{
    return (middle() - position).getLength();
}

znFloatType<2> znRTUAreaLight::getPointOnLightAndPdf(const znRTVector3fPacket& origin,
                                                     const znRTVector3fPacket& normal,
                                                     znRTVector3fPacket& lightPoint,
                                                     znRTVector3fPacket& lightNormal,
                                                     const znRTVector2fPacket& u,
                                                     const znFloatType<2>& mask) const
{
    znRTShapePoint point;
    const znFloatType<2> pdf = getPointOnLightAndPdf(origin, normal, u, mask, point);
    lightPoint = point.position;
    lightNormal = point.normal;
    return pdf;
}

znFloatType<2> znRTUAreaLight::getPointOnLightAndPdf(const znRTVector3fPacket& origin,
                                                     const znRTVector3fPacket& normal,
                                                     const znRTVector2fPacket& u,
                                                     const znFloatType<2>& mask,
                                                     znRTShapePoint& point) const
{
    if (!shape) {
        point = {origin, normal, {0.0f, 0.0f}, 0.0f};
        return 0.0f;
    }
    znFloatType<2> active = mask;
    shape->samplePointFromOrigin(origin, active, u, point);
    return getPDF(origin, normal, point.position, point.normal, active, point.pdf);
}

znRTColorPacket znRTUAreaLight::getAverageIntensity(const znRTVector3fPacket& position,
                                                    const znFloatType<2>& mask) const
{
    const znRTVector3fPacket centre = middle();
    znRTColorPacket value(1.0f);
    if (texture) {
        const znRTVector4f& mean = texture->averageColor;
        value = znRTColorPacket(znRTColor(mean.x, mean.y, mean.z, mean.w));
    }
    if (usesCone)
        value *= getConeFactor((position - centre).getNormalized());
    if (lightKind != physicalKind)
        value *= reciprocalOrZero(attenuation.denominator((centre - position).getLength()));
    return value & mask;
}

znRTColorPacket znRTUAreaLight::evaluateTexture(const znRTVector3fPacket&,
                                                const znRTVector2fPacket& uv,
                                                const znFloatType<2>& mask) const
{
    return texture ? lookUpTexture(*texture, uv, mask) : znRTColorPacket(1.0f);
}

znFloatType<2> znRTUAreaLight::getConeFactor(const znRTVector3fPacket& direction) const
{
    return usesCone ? cone.falloff(dot(direction, coneAxis)) : znFloatType<2>(1.0f);
}

znRTVector3fPacket znRTUAreaLight::getAverageLightVector(const znRTVector3fPacket& position) const
{
    return (middle() - position).getNormalized();
}
