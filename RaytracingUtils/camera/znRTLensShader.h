#pragma once

// A lens turns a rectangle of pixels into packets of primary rays and traces them.
//
// Pixel (0, 0) is the lower left one. A packet's four lanes are a 2 x 2 block of pixels or, in
// still frames, four pixels of a sparse 4 x 4 cell, another four each frame. Lanes outside the
// rectangle are never active. Distances along rays are the true ones: directions are unit.
// Differentials are rays through the pixels (x + scale, y) and (x, y + scale); they share the
// length factor of the main ray's direction, so that differences of rays are differences on the
// image plane.
//
// updateAttributes runs between frames; tracing is const and safe on any number of threads.

#include "core/znRTRayPacketBundle.h"
#include "gi/znGaussianISFilter.h"
#include "gi/znTriangleISFilter.h"
#include "host/osg/FCPtr.h"
#include "host/osg/TransformationMatrix.h"
#include "host/znAligned.h"
#include "host/znRTNode.h"

namespace osg {
class Camera;
}
class znRTSampler2D;

/// Where the four lanes of a packet lie from its corner, and the distance to the next packet on
/// both axes; pixels.
struct znRTPixelOffsets
{
    unsigned x[4], y[4];
    unsigned step;
};

/// Pixels x0 <= x < x1, y0 <= y < y1.
struct znRTPixelArea
{
    unsigned x0, x1, y0, y1;
};

/// Where the packets of one call go: arrays for 64 packets.
struct znRTEyeRayTarget
{
    znRTRayPacketBundle& rays;
    znRTHitInfoPacketBundle& hits;
    znFloatType<2>* tMin;
    znFloatType<2>* tMax;
    int* laneMasks;
};

class znRTLensShader : public znRTNode, public znAlignedBase32
{
public:
    explicit znRTLensShader(const znRTTypeId& lensTypeId);
    ~znRTLensShader() override;
    znRTLensShader(const znRTLensShader&) = delete;
    znRTLensShader& operator=(const znRTLensShader&) = delete;

    /// Takes over the view.
    /// @param newMaskStride, newMaskHeight  raster of the pixel mask
    /// @param newViewWidth, newViewHeight   pixels that the view is cut into
    /// @param offsetX, offsetY              lower left of the view in the whole image, 0..1
    /// @param newImageWidth, newImageHeight whole image, pixels
    /// @param shiftX, shiftY                place in the pixel, half pixels, [-1, 1]
    /// @param toWorldProjection             clip space ([-1, 1]^3) to world
    /// @param newStereoOffset               half eye distance, scene units
    /// @param leftMap, rightMap             images that deflect rays, or null
    /// @param cornerAligned                 rays go through the corners of pixels instead of their
    ///                                      centres
    virtual void updateAttributes(osg::Camera* camera, unsigned newMaskStride,
                                  unsigned newMaskHeight, unsigned newViewWidth,
                                  unsigned newViewHeight, float offsetX, float offsetY,
                                  unsigned newImageWidth, unsigned newImageHeight, float shiftX,
                                  float shiftY, const osg::Matrix4d& toWorldProjection,
                                  const osg::Matrix4d& cameraToWorld, bool leftEye,
                                  float newStereoOffset, osg::ImagePtr leftMap,
                                  osg::ImagePtr rightMap, bool cornerAligned);

    /// Four rays through places of the raster, pixel (x, y) at its centre; not traced.
    virtual void generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                                   znRTRayPacket& packet) const;

    /// Rays of the pixels x0 <= x < x1, y0 <= y < y1, with their nearest hits.
    /// @param rays, hits, tMin, tMax, laneMasks  room for 64 packets, filled from the first on; the
    ///                          rectangle holds no more
    /// @param aaIndex, aaCount  which sample of how many inside the pixel
    /// @param differentialScale pixels between a ray and its differentials
    /// @param pixelMask         a byte per pixel, 0 = leave out; null takes all
    /// @return number of packets
    virtual unsigned trace_eye_rays(unsigned x0, unsigned x1, unsigned y0, unsigned y1,
                                    znRTRayPacketBundle& rays, znRTHitInfoPacketBundle& hits,
                                    znFloatType<2>* tMin, znFloatType<2>* tMax, int* laneMasks,
                                    int aaIndex, int aaCount, float differentialScale,
                                    const unsigned char* pixelMask) const = 0;

    /// Lane places of the quality mode in force.
    znRTPixelOffsets getPixelOffsets() const;
    /// Offset of an anti-aliasing sample from the pixel's centre, pixels; the same in all lanes.
    /// Below two samples 0; counts other than 2, 4, 8, 16 read the table of two.
    void getAAOffsets(int aaIndex, int aaCount, znFloatType<2>& x, znFloatType<2>& y) const;

    /// Owns both maps from now on; with no left map both go.
    void setDistortionMaps(osg::ImagePtr leftMap, osg::ImagePtr rightMap);
    /// Number of the frame; its low two bits choose the still-frame places of the lanes.
    void setFrame(unsigned newFrame) { frame = newFrame; }

    znIntType<2> lensRayType{12};
    znRTSampler2D* distortionMapLeft = nullptr;
    znRTSampler2D* distortionMapRight = nullptr;
    znRTVector3f pixelDX, pixelDY; ///< world step of one pixel on the far plane
    znRTVector3f eyePosition;
    znRTVector3f frustumOrigin;             ///< point of pixel (0, 0), from the eye
    float nearClip = 1e-8f, farClip = 1e6f; ///< ray interval
    float subPixelShiftX = 0.0f, subPixelShiftY = 0.0f;
    float subPixelBaseX = 0.0f, subPixelBaseY = 0.0f;
    float invImageWidth = 1.0f, invImageHeight = 1.0f;
    float imageOffsetX = 0.0f, imageOffsetY = 0.0f;
    unsigned imageWidth = 1, imageHeight = 1;
    unsigned maskStride = 1, maskHeight = 1;
    unsigned viewWidth = 1, viewHeight = 1;
    bool isLeftEye = true;
    float stereoOffset = 0.0f;
    bool hasLeftMap = false, hasRightMap = false;
    znTriangleISFilter triangleFilter{0.5f, 0.5f};
    znGaussianISFilter gaussianFilter{0.5f, 0.5f};
    unsigned frame = 0;

    static const float sampleOffsetsX[4][16];
    static const float sampleOffsetsY[4][16];

protected:
    /// The frustum through the eye, for lenses that need another one.
    void updateFrustum(const osg::Matrix4d& toWorldProjection, bool cornerAligned);
    /// Map of the eye in force; null when there is none.
    const znRTSampler2D* getDistortionMap() const;
    /// Traces what was generated.
    static void trace(unsigned count, znRTEyeRayTarget& target);
};
