#include "light/znRTUSphericalLight.h"

#include "host/osg/UAreaLight.h"
#include "host/znRTTextureSampler.h"
#include "light/textureLookup.h"
#include "light/znRTSphereShape.h"

const znRTTypeId znRTUSphericalLight::id("znRTUSphericalLight");

bool znRTUSphericalLight::update()
{
    const bool changed = znRTUAreaLight::update();
    const auto light = osg::FCPtr<osg::USphericalLight>::dcast(m_core);
    if (!light || m_transforms.empty())
        return changed;
    shape = std::make_unique<znRTSphereShape>(light->getRadius());
    updateShape();
    return changed;
}

znRTColorPacket znRTUSphericalLight::evaluateTexture(const znRTVector3fPacket& lightPoint,
                                                     const znRTVector2fPacket&,
                                                     const znFloatType<2>& mask) const
{
    if (!texture || !shape)
        return znRTColorPacket(1.0f);
    const auto& sphere = static_cast<const znRTSphereShape&>(*shape);
    return lookUpTexture(*texture, sphere.getTextureCoordinates(lightPoint), mask);
}
