#include "camera/znRTLensShader.h"

#include "host/osg/Camera.h"
#include "host/osg/Image.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTTextureSampler.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

// Places in [-1, 1] that the tent filter's inverse spreads over the pixel. Rows of 8 and 16 are
// Latin squares; what lies beyond a row's count is the centre.
const float znRTLensShader::sampleOffsetsX[4][16] = {
    {-0.5f, 0.5f},
    {-0.75f, -0.25f, 0.25f, 0.75f},
    {-0.875f, 0.125f, -0.625f, 0.625f, -0.375f, -0.125f, 0.375f, 0.875f},
    {-0.9375f, 0.9375f, 0.4375f, 0.6875f, -0.3125f, -0.8125f, -0.6875f, -0.5625f, -0.4375f,
     -0.1875f, -0.0625f, 0.0625f, 0.1875f, 0.3125f, 0.5625f, 0.8125f}};
const float znRTLensShader::sampleOffsetsY[4][16] = {
    {-0.5f, 0.5f},
    {-0.5f, 0.5f, -0.5f, 0.5f},
    {-0.375f, 0.625f, 0.875f, -0.875f, 0.125f, -0.625f, -0.125f, 0.375f},
    {-0.5625f, 0.5625f, -0.9375f, 0.8125f, -0.1875f, 0.3125f, -0.8125f, 0.0625f, 0.9375f, 0.6875f,
     -0.4375f, 0.4375f, -0.6875f, 0.1875f, -0.0625f, -0.3125f}};

znRTLensShader::znRTLensShader(const znRTTypeId& lensTypeId) : znRTNode(lensTypeId) {}

znRTLensShader::~znRTLensShader()
{
    delete distortionMapLeft;
    delete distortionMapRight;
}

namespace {

znRTVector3f toVector(const osg::Pnt3d& p)
{
    return {float(p[0]), float(p[1]), float(p[2])};
}

/// From the near to the far end of a corner of the frustum.
osg::Vec3d nearToFar(const osg::Matrix4d& toWorldProjection, double x, double y)
{
    return toWorldProjection.multFullMatrixPnt({x, y, 1.0}) -
           toWorldProjection.multFullMatrixPnt({x, y, -1.0});
}

/// Replaces a map when the image is another one.
void updateMap(znRTSampler2D*& sampler, osg::ImagePtr image)
{
    if (!image) {
        delete sampler;
        sampler = nullptr;
        return;
    }
    if (!sampler)
        sampler = new znRTSampler2D;
    sampler->setGamma(1.0f, false, true);
    sampler->setWrap(znRTTextureSampler::clamp, znRTTextureSampler::clamp);
    sampler->setImage(image);
    sampler->prepareData();
}

} // namespace

void znRTLensShader::updateAttributes(osg::Camera* camera, unsigned newMaskStride,
                                      unsigned newMaskHeight, unsigned newViewWidth,
                                      unsigned newViewHeight, float offsetX, float offsetY,
                                      unsigned newImageWidth, unsigned newImageHeight, float shiftX,
                                      float shiftY, const osg::Matrix4d& toWorldProjection,
                                      const osg::Matrix4d& cameraToWorld, bool leftEye,
                                      float newStereoOffset, osg::ImagePtr leftMap,
                                      osg::ImagePtr rightMap, bool cornerAligned)
{
    setDistortionMaps(leftMap, rightMap);
    maskStride = newMaskStride;
    maskHeight = newMaskHeight;
    viewWidth = std::max(newViewWidth, 1u);
    viewHeight = std::max(newViewHeight, 1u);
    imageOffsetX = offsetX;
    imageOffsetY = offsetY;
    imageWidth = std::max(newImageWidth, 1u);
    imageHeight = std::max(newImageHeight, 1u);
    invImageWidth = 1.0f / float(imageWidth);
    invImageHeight = 1.0f / float(imageHeight);
    isLeftEye = leftEye;
    lensRayType = znIntType<2>(leftEye ? 4 : 8);
    stereoOffset = newStereoOffset;
    if (camera) {
        nearClip = camera->getNear();
        farClip = camera->getFar();
    }
    eyePosition = toVector(cameraToWorld.getTranslation());

    subPixelShiftX = cornerAligned ? (1.0f - shiftX) / 2.0f : 0.0f;
    subPixelShiftY = cornerAligned ? (1.0f - shiftY) / 2.0f : 0.0f;
    subPixelBaseX = cornerAligned ? 0.0f : (shiftX + 1.0f) / 2.0f;
    subPixelBaseY = cornerAligned ? 0.0f : (shiftY + 1.0f) / 2.0f;
    updateFrustum(toWorldProjection, cornerAligned);
}

void znRTLensShader::updateFrustum(const osg::Matrix4d& toWorldProjection, bool cornerAligned)
{
    const osg::Vec3d a = nearToFar(toWorldProjection, -1.0, -1.0);
    const osg::Vec3d b = nearToFar(toWorldProjection, 1.0, -1.0);
    const osg::Vec3d c = nearToFar(toWorldProjection, -1.0, 1.0);
    const osg::Vec3d dx = (b - a) * (1.0 / viewWidth), dy = (c - a) * (1.0 / viewHeight);
    const osg::Vec3d origin = cornerAligned ? a : a + (dx + dy) * 0.5;
    pixelDX = toVector(dx);
    pixelDY = toVector(dy);
    frustumOrigin = toVector(origin);
}

void znRTLensShader::setDistortionMaps(osg::ImagePtr leftMap, osg::ImagePtr rightMap)
{
    updateMap(distortionMapLeft, leftMap);
    updateMap(distortionMapRight, leftMap ? rightMap : osg::ImagePtr());
    hasLeftMap = distortionMapLeft && distortionMapLeft->isValid();
    hasRightMap = distortionMapRight && distortionMapRight->isValid();
}

const znRTSampler2D* znRTLensShader::getDistortionMap() const
{
    if (isLeftEye)
        return hasLeftMap ? distortionMapLeft : nullptr;
    return hasRightMap ? distortionMapRight : nullptr;
}

void znRTLensShader::generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                                       znRTRayPacket& packet) const
{
    const znRTVector3fPacket direction = znRTVector3fPacket(frustumOrigin) +
                                         znRTVector3fPacket(pixelDX) * x +
                                         znRTVector3fPacket(pixelDY) * y;
    packet = znRTRayPacket(znRTVector3fPacket(eyePosition), direction, toInt(x), toInt(y),
                           znRTVector3fPacket(1.0f, 1.0f, 1.0f), lensRayType);
}

znRTPixelOffsets znRTLensShader::getPixelOffsets() const
{
    using Settings = znRTRaytracingSettings;
    if (Settings::s_qualityMode != Settings::stillFrame)
        return {{0, 0, 1, 1}, {0, 1, 0, 1}, 2};

    // Four rows whose union covers the 4 x 4 cell: each frame visits one pixel per row and column.
    static const unsigned latinRows[4][4] = {
        {0, 2, 3, 1}, {3, 1, 0, 2}, {2, 0, 1, 3}, {1, 3, 2, 0}};
    const unsigned s = unsigned(std::max(Settings::s_stillFrameSupersampling, 1));
    znRTPixelOffsets offsets;
    for (unsigned lane = 0; lane < 4; ++lane) {
        offsets.x[lane] = lane * s;
        offsets.y[lane] = latinRows[frame & 3][lane] * s;
    }
    offsets.step = 4 * s;
    return offsets;
}

void znRTLensShader::getAAOffsets(int aaIndex, int aaCount, znFloatType<2>& x,
                                  znFloatType<2>& y) const
{
    float dx = 0.0f, dy = 0.0f;
    if (aaCount >= 2) {
        const int row = aaCount == 4 ? 1 : aaCount == 8 ? 2 : aaCount == 16 ? 3 : 0;
        triangleFilter.sample(sampleOffsetsX[row][aaIndex & 15], sampleOffsetsY[row][aaIndex & 15],
                              &dx, &dy);
    }
    x = znFloatType<2>(dx);
    y = znFloatType<2>(dy);
}

void znRTLensShader::trace(unsigned count, znRTEyeRayTarget& target)
{
    target.rays.count = count;
    target.hits.count = count;
    if (count > 0)
        znRTRenderUtils::getIntersection(target.rays, target.tMin, target.tMax, target.hits,
                                         target.laneMasks);
}
