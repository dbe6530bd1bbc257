#pragma once

// An elliptic disk.

#include "light/znRTFlatShape.h"

class znRTDiskShape : public znRTFlatShape
{
public:
    static const znRTTypeId id;

    /// @param newRadiusU, newRadiusV  in the light's own frame
    znRTDiskShape(float newRadiusU, float newRadiusV);

protected:
    float getAreaShare() const override;
    znRTVector2fPacket mapUniform(const znRTVector2fPacket& u) const override;
    znFloatType<2> contains(const znRTVector2fPacket& p) const override;
};
