#include "light/znRTUPointLight.h"

#include "brdf/lobeMath.h"
#include "brdf/lobeSampling.h"
#include "host/osg/UPointLight.h"
#include "host/znSceneDataManager.h"
#include "light/directionMaps.h"
#include "light/textureLookup.h"

const znRTTypeId znRTUPointLight::id("znRTUPointLight");

namespace {

constexpr float boxMargin = 1e-6f;
constexpr float isotropicPdf = 0.07957747f; ///< 1 / (4 pi)
constexpr float fullSphere = 12.566371f;    ///< 4 pi

znRTVector3f unitAxis(const osg::TransformationMatrix<float>& toWorld, const osg::Vec3f& axis)
{
    const osg::Vec3f world = toWorld.multMatrixVec(axis);
    return znRTVector3f(world[0], world[1], world[2]).getNormalized();
}

} // namespace

znRTUPointLight::znRTUPointLight(const znRTTypeId& typeId, const osg::NodePtr& node,
                                 const osg::NodeCorePtr& core)
    : znRTUDeltaLight(typeId, node, core)
{
    const znRTVector3f origin;
    positionPacket = znRTVector3fPacket(origin);
    axisForward = znRTVector3fPacket(0.0f, 0.0f, -1.0f);
    axisUp = znRTVector3fPacket(0.0f, 1.0f, 0.0f);
    axisRight = znRTVector3fPacket(1.0f, 0.0f, 0.0f);
}

bool znRTUPointLight::update()
{
    const bool changed = znRTLight::update();
    updatePointLight();
    return changed;
}

bool znRTUPointLight::updatePointLight()
{
    const auto light = osg::FCPtr<osg::UPointLight>::dcast(m_core);
    if (!light || m_transforms.empty())
        return false;
    unit = znSceneDataManager::getSceneData(0)->getUnitsPerMetre();
    attenuation.set(unsigned(light->getAttenuationType()));
    maxIntensity *= attenuation.strengthScale(unit);

    readPlace();
    return true;
}

void znRTUPointLight::followCamera(const osg::TransformationMatrix<float>& worldToCamera)
{
    setWorldToLightMatrix(worldToCamera);
    if (!m_transforms.empty())
        readPlace();
}

void znRTUPointLight::readPlace()
{
    const osg::TransformationMatrix<float>& toWorld = m_transforms.front();
    const osg::Vec3f place = toWorld.getTranslation();
    position = {place[0], place[1], place[2]};
    positionPacket = znRTVector3fPacket(position);
    const znRTVector3f forward = unitAxis(toWorld, {0, 0, -1});
    const znRTVector3f up = unitAxis(toWorld, {0, 1, 0});
    const znRTVector3f right = unitAxis(toWorld, {1, 0, 0});
    axisForward = znRTVector3fPacket(forward);
    axisUp = znRTVector3fPacket(up);
    axisRight = znRTVector3fPacket(right);

    auto attachment = osg::LightProfileAttachment::getAttachment(m_node);
    if (!attachment)
        attachment = osg::LightProfileAttachment::getAttachment(m_core);
    hasProfile = setupIESProfile(attachment.get(), position, right, up, forward, profile);
    if (!hasProfile)
        profile.reset();
}

znRTColorPacket znRTUPointLight::photonColor() const
{
    // Lights with a constant density emit pi times their power, see znRTLight.
    return znRTColorPacket(diffuseColor * (lobeMath::pi * attenuation.strengthScale(unit)));
}

znRTColorPacket znRTUPointLight::sample_L_Out(const znRTVector2fPacket& u,
                                              const znRTVector2fPacket&, const znFloatType<2>& mask,
                                              znRTVector3fPacket& samplePosition,
                                              znRTVector3fPacket& direction,
                                              znRTVector3fPacket& normal, znFloatType<2>& pdf) const
{
    if (hasProfile)
        return sampleProfile(u, mask, samplePosition, direction, normal, pdf) *
               evaluateTexture(direction, mask);
    const znFloatType<2> z = znFloatType<2>(1.0f) - (u.y + u.y);
    samplePosition = positionPacket;
    direction = lobeSampling::fromPolar(z, u.x);
    normal = direction;
    pdf = znFloatType<2>(isotropicPdf) & mask;
    return photonColor() * evaluateTexture(direction, mask) & mask;
}

znRTColorPacket
znRTUPointLight::sampleProfile(const znRTVector2fPacket& u, const znFloatType<2>& mask,
                               znRTVector3fPacket& samplePosition, znRTVector3fPacket& direction,
                               znRTVector3fPacket& normal, znFloatType<2>& pdf) const
{
    samplePosition = positionPacket;
    const znFloatType<2> value = profile->sample(u, mask, direction, pdf);
    normal = direction;
    return photonColor() * value & mask;
}

float znRTUPointLight::getProfilePower() const
{
    return hasProfile ? profile->getPower() : 1.0f;
}

znRTColorPacket znRTUPointLight::directionalValue(const znRTVector3fPacket& direction,
                                                  const znFloatType<2>& mask,
                                                  znFloatType<2> value) const
{
    return znRTColorPacket(hasProfile ? profile->evaluate(-direction, mask) : value);
}

znRTColorPacket znRTUPointLight::attenuated(znRTColorPacket value, const znRTVector3fPacket& from,
                                            const znFloatType<2>& mask) const
{
    return value * reciprocalOrZero(attenuation.denominator(getDistance(from))) & mask;
}

znRTColorPacket znRTUPointLight::getIntensity(const znRTVector3fPacket& from,
                                              const znRTVector3fPacket& direction,
                                              const znRTVector2fPacket&,
                                              const znFloatType<2>& mask) const
{
    const znRTColorPacket value =
        directionalValue(direction, mask, 1.0f) * evaluateTexture(-direction, mask);
    return attenuated(value, from, mask);
}

znRTColorPacket znRTUPointLight::evaluateTexture(const znRTVector3fPacket& direction,
                                                 const znFloatType<2>& mask) const
{
    if (!texture)
        return znRTColorPacket(1.0f);
    const znRTVector3fPacket axes[3] = {axisRight, axisUp, axisForward};
    return lookUpTexture(*texture, directionToPolar(axes, direction), mask);
}

float znRTUPointLight::getPower() const
{
    if (!m_isOn)
        return 0.0f;
    // A profile brings one unit of flux, a bare point one unit per steradian.
    return hasProfile ? maxIntensity * profile->getPower() : maxIntensity * fullSphere;
}

float znRTUPointLight::getLuminousIntensity() const
{
    return m_isOn ? maxIntensity * attenuation.strengthScale(unit) : 0.0f;
}

znRTBoundingBox znRTUPointLight::getBoundingBox() const
{
    const znRTVector3f margin(boxMargin, boxMargin, boxMargin);
    return {position - margin, position + margin};
}

znFloatType<2> znRTUPointLight::cullLight(const znRTVector3fPacket& from,
                                          const znRTVector3fPacket& normal,
                                          const znFloatType<2>& mask) const
{
    return mask & (dot(positionPacket - from, normal) >= znFloatType<2>(0.0f));
}

znFloatType<2> znRTUPointLight::getDistance(const znRTVector3fPacket& from) const
{
    return (positionPacket - from).getLength();
}

znRTVector3fPacket znRTUPointLight::getLightVector(const znRTVector3fPacket& from) const
{
    return (positionPacket - from).getNormalized();
}
