#include "camera/znRTCamera.h"

#include "accel/znRTAccelerator.h"
#include "camera/znRTBlendingMapFragmentShader.h"
#include "camera/znRTEnvironmentLens.h"
#include "camera/znRTFragmentShader.h"
#include "camera/znRTOrthographicLens.h"
#include "camera/znRTPerspectivePinholeLens.h"
#include "camera/znRTProjectionMatrixLens.h"
#include "camera/znRTVignetteFragmentShader.h"
#include "core/pixelHash.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTFloatControl.h"
#include "host/osg/FogSettings.h"
#include "host/osg/TonemappingSettings.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znUberCameraUtils.h"
#include "light/znRTUPointLight.h"
#include "render/notAvailable.h"
#include "render/znRTRenderUtils.h"

#include <new>

const znRTTypeId znRTCamera::s_typeId("znRTCamera");
znRTFragmentShader znRTCamera::s_dummyFragmentShader;

znRTCamera::znRTCamera() : znRTCameraBase(s_typeId), fragmentShader(&s_dummyFragmentShader) {}

znRTCamera::~znRTCamera()
{
    delete lensShader;
    setFragmentShader(nullptr);
}

namespace {

/// The headlight shines from the camera, whatever its node says.
void moveHeadlight(const osg::Matrix4d& worldToCamera)
{
    const znRTAccelerator* const scene = znRTRenderUtils::getCurrentAccelerator();
    znRTLight* const light = scene ? scene->getHeadlight() : nullptr;
    if (light && light->isOfType(znRTUPointLight::id))
        static_cast<znRTUPointLight*>(light)->followCamera(osg::Matrix(worldToCamera));
}

} // namespace

void znRTCamera::update(osg::Camera* newCamera, unsigned renderWidth, unsigned renderHeight,
                        unsigned outputWidth, unsigned outputHeight, unsigned newIteration)
{
    znRTCameraBase::update(newCamera, renderWidth, renderHeight, outputWidth, outputHeight,
                           newIteration);
    if (!camera)
        return;

    using Settings = znRTRaytracingSettings;
    if (Settings::s_qualityMode != Settings::ambientOcclusion)
        Settings::s_qualityMode = isOffsetCamera() ? Settings::stillFrame : Settings::interactive;
    updatePixelFilter();
    publishMatrices();
    moveHeadlight(worldToCamera);
    updateFragmentShader();
    updateLens();
    tellOfFog();
}

void znRTCamera::tellOfFog() const
{
    static znRTOnceWarning notRendered("Fog is not rendered yet.");
    const auto fog = uberCamera ? uberCamera->getFogSettings() : nullptr;
    if (fog && (fog->getFogEnableDistance() || fog->getFogEnableHeight()))
        notRendered();
}

void znRTCamera::updatePixelFilter()
{
    if (filterType != filterTypeInUse) {
        setImageFilter(znPixelfilterFactory::getPixelfilter(filterType, filterSizeX, filterSizeY));
        filterTypeInUse = filterType;
    }
    // The samples of a still frame all lie at the shifted place in their pixels.
    if (isOffsetCamera())
        pixelFilterSet.updateFilter(filterSizeX, filterSizeY, shiftX, shiftY);
}

void znRTCamera::setImageFilter(znPixelfilter* filter)
{
    pixelFilterSet.setFilter(filter);
}

namespace {

znMatrix4x4Packet broadcast(const osg::Matrix4d& matrix)
{
    znMatrix4x4Packet lanes;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            lanes[c][r] = znFloatType<2>(float(matrix[c][r]));
    return lanes;
}

} // namespace

void znRTCamera::publishMatrices() const
{
    znRTDataBlockPacket::s_worldToViewMatrix = broadcast(worldToCamera);
    znRTDataBlockPacket::s_viewToWorldMatrix = broadcast(cameraToWorld);
}

void znRTCamera::updateFragmentShader()
{
    const osg::FCPtr<osg::TonemappingSettings> settings =
        znUberCameraUtils::getTonemappingSettings(camera);
    const int blendMode = settings ? int(settings->getBlendMode()) : 0;
    const znRTTypeId& wanted = blendMode == 1   ? znRTVignetteFragmentShader::s_typeId
                               : blendMode == 2 ? znRTBlendingMapFragmentShader::s_typeId
                                                : znRTFragmentShader::s_typeId;
    if (!fragmentShader->isOfType(wanted)) {
        setFragmentShader(nullptr);
        try {
            if (blendMode == 1)
                setFragmentShader(new znRTVignetteFragmentShader);
            else if (blendMode == 2)
                setFragmentShader(new znRTBlendingMapFragmentShader);
        } catch (const std::bad_alloc&) {
            // The plain shader stays.
        }
    }
    fragmentShader->updateAttributes(*this);
}

namespace {

/// Makes a lens of a type unless the present one is of it.
template <class Lens>
void ensureLens(znRTLensShader*& lens)
{
    if (lens && lens->isOfType(Lens::s_typeId))
        return;
    delete lens;
    lens = nullptr;
    lens = new Lens;
}

} // namespace

void znRTCamera::updateLens()
{
    constexpr int firstPanorama = 2, lastPanorama = 6, matrixMode = 7;
    const bool isPanorama = projectionMode >= firstPanorama && projectionMode <= lastPanorama;
    if (!isExternalLens) {
        try {
            if (znUberCameraUtils::isOrthographicCamera(camera))
                ensureLens<znRTOrthographicLens>(lensShader);
            else if (projectionMode == matrixMode)
                ensureLens<znRTProjectionMatrixLens>(lensShader);
            else if (isPanorama) {
                ensureLens<znRTEnvironmentLens>(lensShader);
                const int lensType = projectionMode - firstPanorama;
                static_cast<znRTEnvironmentLens*>(lensShader)->lensType = lensType;
                if (lensType == znRTEnvironmentLens::omniDirectionalStereo)
                    stereoOffset = 31.5f;
            } else
                ensureLens<znRTPerspectivePinholeLens>(lensShader);
        } catch (const std::bad_alloc&) {
            return; // without lens; there are then no rays
        }
    }
    lensShader->setFrame(iteration);
    lensShader->updateAttributes(camera, maskStride, maskHeight, viewWidth, viewHeight,
                                 imageOffsetX, imageOffsetY, unsigned(fullImageWidth),
                                 unsigned(fullImageHeight), shiftX, shiftY, toWorldProjection,
                                 cameraToWorld, isLeftEye, stereoOffset, leftDistortionMap,
                                 rightDistortionMap, cornerAligned);
}

__m128 znRTCamera::applyFragmentShader(const __m128& colour, int x, int y) const
{
    return fragmentShader->apply(colour, x, y);
}

void znRTCamera::setLensShader(znRTLensShader* lens)
{
    if (lens != lensShader)
        delete lensShader;
    lensShader = lens;
    isExternalLens = lens != nullptr;
}

void znRTCamera::setFragmentShader(znRTFragmentShader* shader)
{
    if (!shader)
        shader = &s_dummyFragmentShader;
    if (shader == fragmentShader)
        return;
    if (fragmentShader != &s_dummyFragmentShader)
        delete fragmentShader;
    fragmentShader = shader;
}

void znRTCamera::generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                                   znRTRayPacket& packet) const
{
    if (lensShader)
        lensShader->generateRayPacket(x, y, packet);
}

unsigned znRTCamera::trace_eye_rays(unsigned x0, unsigned x1, unsigned y0, unsigned y1,
                                    znRTRayPacketBundle& rays, znRTHitInfoPacketBundle& hits,
                                    znFloatType<2>* tMin, znFloatType<2>* tMax, int* laneMasks,
                                    int aaIndex, int aaCount, float differentialScale,
                                    const unsigned char* pixelMask) const
{
    if (!lensShader)
        return 0;
    return lensShader->trace_eye_rays(x0, x1, y0, y1, rays, hits, tMin, tMax, laneMasks, aaIndex,
                                      aaCount, differentialScale, pixelMask);
}

void znRTCamera::tracePacket(const znFloatType<2>& x, const znFloatType<2>& y,
                             znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block) const
{
    const znRTFloatControl flushDenormals;
    const znFloatType<2> far(farClip);
    block.reset(far);
    if (!lensShader)
        return;
    lensShader->generateRayPacket(x, y, ray);
    ray.hasDifferentials = 0;
    znRTRenderUtils::getIntersection(ray, znFloatType<2>(nearClip), far, block.hit, 15);
}

znIntType<2> znRTCamera::getPixelIDs(const znIntType<2>& x, const znIntType<2>& y)
{
    return hashPixel(x, y);
}
