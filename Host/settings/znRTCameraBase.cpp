#include "host/znRTCameraBase.h"

#include "host/osg/CameraDecorator.h"
#include "host/osg/UTextureSettings.h"

#include <cmath>

void znRTCameraBase::update(osg::Camera* newCamera, unsigned renderWidth, unsigned renderHeight,
                            unsigned outputWidth, unsigned outputHeight, unsigned newIteration)
{
    camera = newCamera;
    uberCamera = nullptr;
    offsetDecorator = nullptr;
    iteration =
        newIteration == preparatoryIteration || newIteration == waitingIteration ? 0 : newIteration;
    if (!camera)
        return;

    uberCamera = osg::getUndecorated(osg::FCHandle(camera)).get();
    const osg::Camera* lens = uberCamera ? uberCamera : camera;
    nearClip = lens->getNear();
    farClip = lens->getFar();
    projectionMode = uberCamera ? uberCamera->getProjectionMode() : 0;
    filterType = uberCamera ? uberCamera->getFilterType() : 1;
    filterSizeX = uberCamera ? uberCamera->getFilterSizeX() : 1.0f;
    filterSizeY = uberCamera ? uberCamera->getFilterSizeY() : 1.0f;

    maskStride = viewWidth = rowStride = renderWidth;
    maskHeight = viewHeight = renderHeight;
    readDecorators(outputWidth, outputHeight);
    fullImageStride = unsigned(fullImageWidth);
    readMatrices();
    readStereo();

    const auto activeImage = [](const osg::UTextureSettingsPtr& map) {
        return map && map->getIsActive() ? map->getImage() : osg::ImagePtr();
    };
    leftDistortionMap = uberCamera ? activeImage(uberCamera->getLeftDistortionMap()) : nullptr;
    rightDistortionMap = uberCamera ? activeImage(uberCamera->getRightDistortionMap()) : nullptr;
}

namespace {

/// Full size in frame buffer pixels: as the decorator says (in output pixels), else what a view of
/// this size is a part of.
u64 wholeSize(u32 stated, unsigned rendered, unsigned output, float share)
{
    if (stated)
        return output ? u64(std::lround(double(stated) * rendered / output)) : stated;
    return u64(std::lround(double(rendered) / std::max(share, 1e-6f)));
}

} // namespace

void znRTCameraBase::readDecorators(unsigned outputWidth, unsigned outputHeight)
{
    viewLeft = viewBottom = 0.0f;
    viewRight = viewTop = 1.0f;
    shiftX = shiftY = 0.0f;
    u32 statedWidth = 0, statedHeight = 0;

    // From the outside in; a tile inside of a tile is a part of that part.
    osg::FCPtr<osg::Camera> current(camera);
    while (const auto decorator = osg::FCPtr<osg::CameraDecorator>::dcast(current)) {
        if (const auto offset = osg::FCPtr<osg::OffsetCameraDecorator>::dcast(current)) {
            if (!offsetDecorator)
                offsetDecorator = offset.get();
            shiftX += offset->getOffsetX();
            shiftY += offset->getOffsetY();
            statedWidth = statedWidth ? statedWidth : offset->getFullWidth();
            statedHeight = statedHeight ? statedHeight : offset->getFullHeight();
        } else if (const auto tile = osg::FCPtr<osg::TileCameraDecorator>::dcast(current)) {
            const float sizeX = tile->getRight() - tile->getLeft();
            const float sizeY = tile->getTop() - tile->getBottom();
            viewLeft = tile->getLeft() + sizeX * viewLeft;
            viewRight = tile->getLeft() + sizeX * viewRight;
            viewBottom = tile->getBottom() + sizeY * viewBottom;
            viewTop = tile->getBottom() + sizeY * viewTop;
            statedWidth = tile->getFullWidth() ? tile->getFullWidth() : statedWidth;
            statedHeight = tile->getFullHeight() ? tile->getFullHeight() : statedHeight;
        }
        current = decorator->getDecoratee();
    }
    fullImageWidth = wholeSize(statedWidth, maskStride, outputWidth, viewRight - viewLeft);
    fullImageHeight = wholeSize(statedHeight, maskHeight, outputHeight, viewTop - viewBottom);
    imageOffsetX = viewLeft;
    imageOffsetY = viewBottom;
}

void znRTCameraBase::readMatrices()
{
    cameraToWorld = camera->getToWorld();
    worldToCamera = camera->getViewing(viewWidth, viewHeight);
    osg::Matrix4d toClip = camera->getProjection(viewWidth, viewHeight);
    toClip.mult(worldToCamera);
    // Without an inverse nothing can be seen: every ray then starts and ends at the origin.
    if (!toClip.inverse(toWorldProjection)) {
        toWorldProjection = osg::Matrix4d();
        for (int c = 0; c < 4; ++c)
            toWorldProjection[c] = {0.0, 0.0, 0.0, c == 3 ? 1.0 : 0.0};
    }
}

void znRTCameraBase::readStereo()
{
    isLeftEye = true;
    stereoOffset = 0.0f;
    cornerAligned = false;
    if (!uberCamera || !uberCamera->getStereo())
        return;
    isLeftEye = uberCamera->getIsLeftEye();
    stereoOffset = 0.5f * uberCamera->getEyeSeparation() * (isLeftEye ? -1.0f : 1.0f);

    const bool isPanorama = projectionMode >= osg::UberCamera::spherical &&
                            projectionMode <= osg::UberCamera::omniDirectionalStereo;
    if (isPanorama)
        return; // the lens moves each ray's origin

    // Parallel eyes with sheared frusta: both images coincide at the distance of zero parallax.
    const double e = stereoOffset;
    osg::Matrix4d toEye, shear;
    toEye[3][0] = -e;
    shear[2][0] = -e / uberCamera->getZeroParallax();
    worldToCamera.multLeft(toEye);
    osg::Matrix4d fromEye;
    fromEye[3][0] = e;
    cameraToWorld.mult(fromEye);
    osg::Matrix4d toClip = camera->getProjection(viewWidth, viewHeight);
    toClip.mult(shear);
    toClip.mult(worldToCamera);
    toClip.inverse(toWorldProjection);
}
