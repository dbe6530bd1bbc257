#include "light/znRTUFlatLight.h"

#include "host/znRTTextureSampler.h"
#include "light/textureLookup.h"

void znRTUFlatLight::replaceShape(std::unique_ptr<znRTFlatShape> made)
{
    made->setTransform(m_transforms.front());
    coneAxis = znRTVector3fPacket(made->getNormal());
    shape = std::move(made);
    readCone();
    updateShape();
}

znRTColorPacket znRTUFlatLight::evaluateTexture(const znRTVector3fPacket& lightPoint,
                                                const znRTVector2fPacket&,
                                                const znFloatType<2>& mask) const
{
    if (!texture || !shape)
        return znRTColorPacket(1.0f);
    const auto& flat = static_cast<const znRTFlatShape&>(*shape);
    return lookUpTexture(*texture, flat.getTextureCoordinates(lightPoint), mask);
}
