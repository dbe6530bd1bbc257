#include "light/znRTUEnvironmentLight.h"

#include "brdf/lobeMath.h"
#include "brdf/znRTONB.h"
#include "light/parallelLight.h"

const znRTTypeId znRTUEnvironmentLight::id("znRTUEnvironmentLight");

znRTUEnvironmentLight::znRTUEnvironmentLight(const osg::FCPtr<osg::UEnvironmentChunk>& newChunk,
                                             const osg::FCPtr<osg::UEnvironmentLight>& newLight)
    : znRTUDeltaLight(id, nullptr, nullptr), chunk(newChunk), light(newLight)
{
    m_id = light ? light->getId() : 0;
    update();
    setWorldDirection(getLocalDirection());
}

bool znRTUEnvironmentLight::update()
{
    setOn(bool(light));
    if (!light)
        return false;
    const osg::ColorComponent& component = light->getColor();
    const osg::Vec3f& rgb = component.getColor();
    diffuseColor = glossyColor = calculateLightSpectrum(
        component.getSpectrum(), component.getIntensity() * light->getIntensity(), rgb[0], rgb[1],
        rgb[2]);
    updatePhotometry();
    return false;
}

znRTVector3f znRTUEnvironmentLight::getLocalDirection() const
{
    const osg::Vec3f d = light ? light->getDirection() : osg::Vec3f(0, 0, 1);
    const znRTVector3f direction(d[0], d[1], d[2]);
    return direction.getSquareLength() > 1e-20f ? direction.getNormalized()
                                                : znRTVector3f(0.0f, 0.0f, 1.0f);
}

void znRTUEnvironmentLight::setWorldDirection(const znRTVector3f& newToLight)
{
    toLight = znRTVector3fPacket(newToLight);
}

znRTColorPacket
znRTUEnvironmentLight::sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket&,
                                    const znFloatType<2>& mask, znRTVector3fPacket& position,
                                    znRTVector3fPacket& photonDirection, znRTVector3fPacket& normal,
                                    znFloatType<2>& pdf) const
{
    znRTONB frame;
    frame.set(-toLight);
    parallelLight::samplePosition(frame.n, frame.u, frame.v, u, mask, position, pdf);
    photonDirection = normal = frame.n;
    // Lights with a constant density emit pi times their power, see znRTLight.
    return znRTColorPacket(diffuseColor * lobeMath::pi) & mask;
}

float znRTUEnvironmentLight::getPower() const
{
    return m_isOn ? parallelLight::getPower(maxIntensity) : 0.0f;
}

znRTVector3fPacket znRTUEnvironmentLight::getLightVector(const znRTVector3fPacket&) const
{
    return toLight;
}
