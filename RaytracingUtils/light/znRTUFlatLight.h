#pragma once

// What disks and rectangles have in common: one emitting side, a texture laid over it, and an
// optional cone about its normal.

#include "light/znRTFlatShape.h"
#include "light/znRTUAreaLight.h"

class znRTUFlatLight : public znRTUAreaLight
{
public:
    znRTColorPacket evaluateTexture(const znRTVector3fPacket& lightPoint,
                                    const znRTVector2fPacket& uv,
                                    const znFloatType<2>& mask) const override;

protected:
    using znRTUAreaLight::znRTUAreaLight;

    /// Puts a new shape at the light's place. Sizes are the shape's for life: another size is
    /// another shape.
    void replaceShape(std::unique_ptr<znRTFlatShape> made);
};
