#pragma once

// A rectangle.

#include "light/znRTFlatShape.h"

class znRTPlaneShape : public znRTFlatShape
{
public:
    static const znRTTypeId id;

    /// @param halfExtentU, halfExtentV  in the light's own frame
    znRTPlaneShape(float halfExtentU, float halfExtentV);

protected:
    float getAreaShare() const override { return 1.0f; }
    znRTVector2fPacket mapUniform(const znRTVector2fPacket& u) const override;
    znFloatType<2> contains(const znRTVector2fPacket& p) const override;
};
