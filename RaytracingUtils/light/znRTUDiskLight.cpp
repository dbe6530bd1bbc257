#include "light/znRTUDiskLight.h"

#include "host/osg/UAreaLight.h"
#include "host/znRTTextureSampler.h"
#include "light/textureLookup.h"
#include "light/znRTDiskShape.h"

const znRTTypeId znRTUDiskLight::id("znRTUDiskLight");

bool znRTUDiskLight::update()
{
    const bool changed = znRTUAreaLight::update();
    const auto light = osg::FCPtr<osg::UDiskLight>::dcast(m_core);
    if (!light || m_transforms.empty())
        return changed;
    // Sizes are the shape's for life: another size is another shape.
    auto made = std::make_unique<znRTDiskShape>(light->getSizeX(), light->getSizeY());
    made->setTransform(m_transforms.front());
    coneAxis = znRTVector3fPacket(made->getNormal());
    shape = std::move(made);
    readCone();
    updateShape();
    return changed;
}

znRTColorPacket znRTUDiskLight::evaluateTexture(const znRTVector3fPacket& lightPoint,
                                                const znRTVector2fPacket&,
                                                const znFloatType<2>& mask) const
{
    if (!texture || !shape)
        return znRTColorPacket(1.0f);
    const auto& flat = static_cast<const znRTDiskShape&>(*shape);
    return lookUpTexture(*texture, flat.getTextureCoordinates(lightPoint), mask);
}
