#pragma once

// A lens that only answers where single rays go; it has no rays for images.

#include "camera/znRTLensShader.h"

class znRTFishEyeLens : public znRTLensShader
{
public:
    static const znRTTypeId s_typeId;

    znRTFishEyeLens() : znRTLensShader(s_typeId) {}

    /// @return 0
    unsigned trace_eye_rays(unsigned, unsigned, unsigned, unsigned, znRTRayPacketBundle& rays,
                            znRTHitInfoPacketBundle& hits, znFloatType<2>*, znFloatType<2>*, int*,
                            int, int, float, const unsigned char*) const override;
};
