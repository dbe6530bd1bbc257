#pragma once

// All rays start at the eye. Directions of a row follow from each other by addition; a block of
// pixels sets up its first direction and from then on needs no multiplication with a matrix.

#include "camera/znRTLensShader.h"

class znRTPerspectivePinholeLens : public znRTLensShader
{
public:
    static const znRTTypeId s_typeId;

    znRTPerspectivePinholeLens() : znRTLensShader(s_typeId) {}

    unsigned trace_eye_rays(unsigned x0, unsigned x1, unsigned y0, unsigned y1,
                            znRTRayPacketBundle& rays, znRTHitInfoPacketBundle& hits,
                            znFloatType<2>* tMin, znFloatType<2>* tMax, int* laneMasks, int aaIndex,
                            int aaCount, float differentialScale,
                            const unsigned char* pixelMask) const override;

protected:
    /// Rays bent by an image that holds, per pixel, the place on the image plane whose ray is to be
    /// taken (two channels, 0..1 over the whole image). Lanes where both are 0 are off.
    unsigned generateRaysUsingDistortionMap(const znRTSampler2D& map, const znRTPixelArea& area,
                                            znRTEyeRayTarget& target, int aaIndex, int aaCount,
                                            float differentialScale,
                                            const unsigned char* pixelMask) const;
    unsigned generateRays(const znRTPixelArea& area, znRTEyeRayTarget& target, int aaIndex,
                          int aaCount, float differentialScale,
                          const unsigned char* pixelMask) const;
    /// Fills the packet that stands for all of them: see znRTRayPacketBundle.
    void makeRepresentative(const znRTPixelArea& area, znRTRayPacketBundle& rays, int aaIndex,
                            int aaCount) const;
};
