#pragma once

// Parallel rays. They start on the near plane, so distances count from there; origins of a row
// follow from each other by addition.

#include "camera/znRTLensShader.h"

class znRTOrthographicLens : public znRTLensShader
{
public:
    static const znRTTypeId s_typeId;

    znRTOrthographicLens() : znRTLensShader(s_typeId) {}

    void updateAttributes(osg::Camera* camera, unsigned newMaskStride, unsigned newMaskHeight,
                          unsigned newViewWidth, unsigned newViewHeight, float offsetX,
                          float offsetY, unsigned newImageWidth, unsigned newImageHeight,
                          float shiftX, float shiftY, const osg::Matrix4d& toWorldProjection,
                          const osg::Matrix4d& cameraToWorld, bool leftEye, float newStereoOffset,
                          osg::ImagePtr leftMap, osg::ImagePtr rightMap,
                          bool cornerAligned) override;
    void generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                           znRTRayPacket& packet) const override;
    unsigned trace_eye_rays(unsigned x0, unsigned x1, unsigned y0, unsigned y1,
                            znRTRayPacketBundle& rays, znRTHitInfoPacketBundle& hits,
                            znFloatType<2>* tMin, znFloatType<2>* tMax, int* laneMasks, int aaIndex,
                            int aaCount, float differentialScale,
                            const unsigned char* pixelMask) const override;

    znRTVector3f rasterOrigin;       ///< world point of pixel (0, 0) on the near plane
    znRTVector3f rasterDX, rasterDY; ///< world step of one pixel
    znRTVector3f viewDirection;      ///< unit
};
