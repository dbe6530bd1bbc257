#pragma once

// The camera's own projection matrix decides: oblique and sheared frusta, and near planes that are
// not at right angles to the view. Near and far points are walked in homogeneous coordinates, in
// which every projection is linear over the raster; rays start on the near plane.

#include "camera/znRTLensShader.h"

class znRTProjectionMatrixLens : public znRTLensShader
{
public:
    static const znRTTypeId s_typeId;

    znRTProjectionMatrixLens() : znRTLensShader(s_typeId) {}

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

    /// Homogeneous points of a clip plane over the raster, relative to the reference point.
    struct Plane
    {
        znRTVector4f origin, dx, dy;
    };
    Plane nearPlane, farPlane;
    znRTVector3f reference; ///< near point of the image centre: keeps coordinates small
};
