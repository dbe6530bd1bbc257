#include "camera/znRTEnvironmentLens.h"

#include "camera/eyeRays.h"
#include "camera/panoramaMapping.h"
#include "host/osg/TonemappingSettings.h"
#include "host/znUberCameraUtils.h"

#include <cmath>

const znRTTypeId znRTEnvironmentLens::s_typeId("znRTEnvironmentLens");

namespace {

znRTVector3f axisOf(const osg::Matrix4d& m, int column, double sign)
{
    osg::Vec3d axis(m[column][0] * sign, m[column][1] * sign, m[column][2] * sign);
    axis.normalize();
    return {float(axis[0]), float(axis[1]), float(axis[2])};
}

/// Places of the raster to rays of the world.
class PanoramaView
{
public:
    explicit PanoramaView(const znRTEnvironmentLens& lens_)
        : lens(lens_), eye(lens.eyePosition), forward(lens.forward), right(lens.right), up(lens.up)
    {
    }

    /// @param x, y  pixels; a whole number is a pixel's centre
    void locate(const znFloatType<2>& x, const znFloatType<2>& y, znFloatType<2>& a,
                znFloatType<2>& b) const
    {
        const znFloatType<2> one(1.0f);
        a = one - ((x + (lens.subPixelShiftX + lens.subPixelBaseX)) * lens.invImageWidth +
                   lens.imageOffsetX);
        b = one - ((y + (lens.subPixelShiftY + lens.subPixelBaseY)) * lens.invImageHeight +
                   lens.imageOffsetY);
    }
    void makeRay(const znRTPanoramaChoice& choice, const znFloatType<2>& a, const znFloatType<2>& b,
                 znRTVector3fPacket& origin, znRTVector3fPacket& direction) const
    {
        const znRTPanoramaRay ray = mapPanorama(lens, choice, a, b);
        origin = eye + toWorld(ray.origin);
        direction = toWorld(ray.direction);
    }
    znIntType<2> typeOf(const znRTPanoramaChoice& choice) const
    {
        if (lens.lensType != znRTEnvironmentLens::omniDirectionalStereo)
            return lens.lensRayType;
        return select(asInt(choice.isRightEye), znIntType<2>(8), znIntType<2>(4));
    }

private:
    znRTVector3fPacket toWorld(const znRTVector3fPacket& v) const
    {
        return forward * v.x + right * v.y + up * v.z;
    }

    const znRTEnvironmentLens& lens;
    znRTVector3fPacket eye, forward, right, up;
};

class PanoramaRays
{
public:
    PanoramaRays(const znRTEnvironmentLens& lens_, znRTEyeRayTarget& target_,
                 const znRTPixelOffsets& offsets, const znFloatType<2>& aaX_,
                 const znFloatType<2>& aaY_, float differentialScale)
        : lens(lens_), view(lens_), target(target_), places(offsets), aaX(aaX_), aaY(aaY_),
          halfStepX(0.5f * differentialScale * lens.invImageWidth),
          halfStepY(0.5f * differentialScale * lens.invImageHeight), interval{lens.nearClip,
                                                                              lens.farClip}
    {
    }

    bool emit(unsigned packet, unsigned x, unsigned y, int lanes)
    {
        const znIntType<2> pixelX = places.x + znIntType<2>(int(x));
        const znIntType<2> pixelY = places.y + znIntType<2>(int(y));
        znFloatType<2> a, b;
        view.locate(toFloat(pixelX) + aaX, toFloat(pixelY) + aaY, a, b);
        const znRTPanoramaChoice choice = choosePanorama(lens, a, b);
        lanes &= moveMask(choice.isOn);
        if (lanes == 0)
            return false;

        znRTRayDifferentialPacket& ray = target.rays.rays[packet];
        beginRay(ray, pixelX, pixelY, view.typeOf(choice));
        view.makeRay(choice, a, b, ray.origin, ray.direction);
        view.makeRay(choice, a - halfStepX, b, ray.rxOrigin, ray.rxDirection);
        view.makeRay(choice, a, b - halfStepY, ray.ryOrigin, ray.ryDirection);
        ray.updateInverse();
        beginHit(target, packet, interval, lanes);
        return true;
    }
    void nextPacket() {}
    void nextRow() {}

private:
    const znRTEnvironmentLens& lens;
    PanoramaView view;
    znRTEyeRayTarget& target;
    znRTLanePlaces places;
    znFloatType<2> aaX, aaY;
    znFloatType<2> halfStepX, halfStepY;
    znRTEyeInterval interval;
};

} // namespace

znRTEnvironmentLens::znRTEnvironmentLens(int newLensType)
    : znRTLensShader(s_typeId), lensType(newLensType)
{
}

void znRTEnvironmentLens::updateAttributes(
    osg::Camera* camera, unsigned newMaskStride, unsigned newMaskHeight, unsigned newViewWidth,
    unsigned newViewHeight, float offsetX, float offsetY, unsigned newImageWidth,
    unsigned newImageHeight, float shiftX, float shiftY, const osg::Matrix4d& toWorldProjection,
    const osg::Matrix4d& cameraToWorld, bool leftEye, float newStereoOffset, osg::ImagePtr leftMap,
    osg::ImagePtr rightMap, bool cornerAligned)
{
    znRTLensShader::updateAttributes(camera, newMaskStride, newMaskHeight, newViewWidth,
                                     newViewHeight, offsetX, offsetY, newImageWidth, newImageHeight,
                                     shiftX, shiftY, toWorldProjection, cameraToWorld, leftEye,
                                     newStereoOffset, leftMap, rightMap, cornerAligned);
    right = axisOf(cameraToWorld, 0, 1.0);
    up = axisOf(cameraToWorld, 1, 1.0);
    forward = axisOf(cameraToWorld, 2, -1.0);

    stereoLayout = topAndBottom;
    polarMerge = 1.0f;
    if (lensType != omniDirectionalStereo)
        return;
    osg::FCPtr<osg::TonemappingSettings> settings;
    if (camera)
        settings = znUberCameraUtils::getTonemappingSettings(camera);
    stereoOffset = settings ? settings->getStereoEyeSeparation() / 2.0f : 31.5f;
    stereoLayout = settings ? int(settings->getStereoLayout()) : int(sideBySide);
    polarMerge =
        settings ? std::cos(settings->getStereoPolarMergeAngle() * 0.017453292f) : 0.49999997f;
}

unsigned znRTEnvironmentLens::generateRays(const znRTPixelArea& area, znRTEyeRayTarget& target,
                                           int aaIndex, int aaCount, float differentialScale,
                                           const unsigned char* pixelMask) const
{
    const znRTPixelOffsets offsets = getPixelOffsets();
    znFloatType<2> aaX, aaY;
    getAAOffsets(aaIndex, aaCount, aaX, aaY);
    PanoramaRays generator(*this, target, offsets, aaX, aaY, differentialScale);
    return znRTPacketWalk(area, offsets, pixelMask, maskStride).run(generator);
}

void znRTEnvironmentLens::generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                                            znRTRayPacket& packet) const
{
    const PanoramaView view(*this);
    znFloatType<2> a, b;
    view.locate(x, y, a, b);
    const znRTPanoramaChoice choice = choosePanorama(*this, a, b);
    znRTVector3fPacket origin, direction;
    view.makeRay(choice, a, b, origin, direction);
    packet = znRTRayPacket(origin, direction, toInt(x), toInt(y),
                           znRTVector3fPacket(1.0f, 1.0f, 1.0f), view.typeOf(choice));
}

unsigned znRTEnvironmentLens::trace_eye_rays(unsigned x0, unsigned x1, unsigned y0, unsigned y1,
                                             znRTRayPacketBundle& rays,
                                             znRTHitInfoPacketBundle& hits, znFloatType<2>* tMin,
                                             znFloatType<2>* tMax, int* laneMasks, int aaIndex,
                                             int aaCount, float differentialScale,
                                             const unsigned char* pixelMask) const
{
    znRTEyeRayTarget target{rays, hits, tMin, tMax, laneMasks};
    const unsigned count =
        generateRays({x0, x1, y0, y1}, target, aaIndex, aaCount, differentialScale, pixelMask);
    rays.coherent = 0; // directions of a panorama are no frustum
    trace(count, target);
    return count;
}
