#include "light/znRTURectangularLight.h"

#include "host/osg/UAreaLight.h"
#include "host/znRTTextureSampler.h"
#include "light/textureLookup.h"
#include "light/znRTPlaneShape.h"

const znRTTypeId znRTURectangularLight::id("znRTURectangularLight");

bool znRTURectangularLight::update()
{
    const bool changed = znRTUAreaLight::update();
    const auto light = osg::FCPtr<osg::URectangularLight>::dcast(m_core);
    if (!light || m_transforms.empty())
        return changed;
    // Sizes are the shape's for life: another size is another shape.
    auto made = std::make_unique<znRTPlaneShape>(light->getSizeX(), light->getSizeY());
    made->setTransform(m_transforms.front());
    coneAxis = znRTVector3fPacket(made->getNormal());
    shape = std::move(made);
    readCone();
    updateShape();
    return changed;
}

znRTColorPacket znRTURectangularLight::evaluateTexture(const znRTVector3fPacket& lightPoint,
                                                       const znRTVector2fPacket&,
                                                       const znFloatType<2>& mask) const
{
    if (!texture || !shape)
        return znRTColorPacket(1.0f);
    const auto& flat = static_cast<const znRTPlaneShape&>(*shape);
    return lookUpTexture(*texture, flat.getTextureCoordinates(lightPoint), mask);
}
