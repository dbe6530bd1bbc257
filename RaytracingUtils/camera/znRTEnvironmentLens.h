#pragma once

// Panoramas: the raster is a map of all directions around the camera.
//
// Lens frame: x ahead, y to the right, z up. a and b run from 0 to 1 over the image, a from its
// right edge to the left one and b from the top down; the middle of the image looks ahead.
// Differentials reach half as far as those of the other lenses.

#include "camera/znRTLensShader.h"

class znRTEnvironmentLens : public znRTLensShader
{
public:
    static const znRTTypeId s_typeId;

    enum LensType : int {
        spherical = 0,
        cylindrical = 1,     ///< 45 degrees up and down
        verticalCross = 2,   ///< up; left, ahead, right; down; behind (upside down)
        horizontalCross = 3, ///< up; left, ahead, right, behind; down
        omniDirectionalStereo = 4
    };
    enum StereoLayout : int { topAndBottom = 0, sideBySide = 1, leftOnly = 2, rightOnly = 3 };

    explicit znRTEnvironmentLens(int newLensType = spherical);

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

    /// The packets of a rectangle, not traced.
    unsigned generateRays(const znRTPixelArea& area, znRTEyeRayTarget& target, int aaIndex,
                          int aaCount, float differentialScale,
                          const unsigned char* pixelMask) const;

    int lensType;
    znRTVector3f forward{0.0f, 0.0f, -1.0f}, right{1.0f, 0.0f, 0.0f}, up{0.0f, 1.0f, 0.0f};
    int stereoLayout = 0;
    float polarMerge = 1.0f; ///< eye distance at the horizon; it shrinks with the sine toward poles
};
