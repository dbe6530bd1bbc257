#pragma once

// Fog by distance from the camera and by height above a plane.

#include "host/osg/AttachmentContainer.h"

namespace osg {

class FogSettings : public AttachmentContainer
{
    ZN_CONTAINER(FogSettings, AttachmentContainer)
    ZN_FIELD(int, fogEnableDistance, FogEnableDistance, 0, "", 0, 1)
    ZN_FIELD(int, fogEnableHeight, FogEnableHeight, 0, "", 0, 1)
    ZN_ENUM(fogFalloffDistance, FogFalloffDistance, 1, "linear", "exponential")
    ZN_ENUM(fogFalloffHeight, FogFalloffHeight, 1, "linear", "exponential")
    ZN_STORED_FIELD(float, fogDensityDistance, FogDensityDistance, 1.0f, "", 0.0f, 1e6f)
    ZN_STORED_FIELD(float, fogDensityHeight, FogDensityHeight, 1.0f, "", 0.0f, 1e6f)
    /// Start and end.
    ZN_FIELD(Vec2f, fogRangeDistance, FogRangeDistance, Vec2f(0, 100), "u", -1e9f, 1e9f)
    /// Lower and upper z.
    ZN_FIELD(Vec2f, fogRangeHeight, FogRangeHeight, Vec2f(0, 100), "u", -1e9f, 1e9f)
    ZN_FIELD(Vec3f, fogColorDistance, FogColorDistance, Vec3f(0.7f, 0.75f, 0.8f), "", 0.0f, 1e6f)
    ZN_FIELD(Vec3f, fogColorHeight, FogColorHeight, Vec3f(0.7f, 0.75f, 0.8f), "", 0.0f, 1e6f)
    ZN_FIELD(float, fogNoiseDistance, FogNoiseDistance, 0.0f, "", 0.0f, 1.0f)
    ZN_FIELD(float, fogNoiseHeight, FogNoiseHeight, 0.0f, "", 0.0f, 1.0f)
    ZN_STORED_FIELD(float, fogNoiseSizeDistance, FogNoiseSizeDistance, 1.0f, "u", 1e-6f, 1e9f)
    ZN_STORED_FIELD(float, fogNoiseSizeHeight, FogNoiseSizeHeight, 1.0f, "u", 1e-6f, 1e9f)
    ZN_FIELD(Vec3f, fogNoiseOffsetDistance, FogNoiseOffsetDistance, Vec3f(0, 0, 0), "u", -1e9f,
             1e9f)
    ZN_FIELD(Vec3f, fogNoiseOffsetHeight, FogNoiseOffsetHeight, Vec3f(0, 0, 0), "u", -1e9f, 1e9f)
    ZN_FIELD(float, fogBlendHeight, FogBlendHeight, 1.0f, "", 0.0f, 1.0f)

    /// Density 1 absorbs 0.0001 per millimetre. Readers apply that factor per scene unit, so the
    /// getters scale by the millimetres in one.
    float getFogDensityDistance() const;
    float getFogDensityHeight() const;
    /// Factor on positions before the noise is looked up, 1 / size.
    float getFogNoiseSizeDistance() const { return 1.0f / getStoredFogNoiseSizeDistance(); }
    float getFogNoiseSizeHeight() const { return 1.0f / getStoredFogNoiseSizeHeight(); }
};

} // namespace osg
