#include "camera/znRTOrthographicLens.h"

#include "camera/eyeRays.h"

const znRTTypeId znRTOrthographicLens::s_typeId("znRTOrthographicLens");

namespace {

znRTVector3f toVector(const osg::Vec3d& v)
{
    return {float(v[0]), float(v[1]), float(v[2])};
}

class ParallelRays
{
public:
    ParallelRays(const znRTOrthographicLens& lens, znRTEyeRayTarget& target_,
                 const znRTPixelArea& area, const znRTPixelOffsets& offsets,
                 const znFloatType<2>& aaX, const znFloatType<2>& aaY, float differentialScale)
        : target(target_), places(offsets), direction(lens.viewDirection),
          type(lens.lensRayType), interval{0.0f, lens.farClip}
    {
        const znRTVector3fPacket dx(lens.rasterDX), dy(lens.rasterDY);
        const float step = float(offsets.step);
        stepX = dx * step;
        stepY = dy * step;
        toRight = dx * differentialScale;
        toNextRow = dy * differentialScale;
        row = znRTVector3fPacket(lens.rasterOrigin) +
              dx * (toFloat(places.x + znIntType<2>(int(area.x0))) + aaX) +
              dy * (toFloat(places.y + znIntType<2>(int(area.y0))) + aaY);
        origin = row;
        inverse = {reciprocalOrInfinity(direction.x), reciprocalOrInfinity(direction.y),
                   reciprocalOrInfinity(direction.z)};
    }

    bool emit(unsigned packet, unsigned x, unsigned y, int lanes)
    {
        znRTRayDifferentialPacket& ray = target.rays.rays[packet];
        beginRay(ray, places.x + znIntType<2>(int(x)), places.y + znIntType<2>(int(y)), type);
        ray.origin = origin;
        ray.direction = direction;
        ray.invDirection = inverse;
        ray.rxOrigin = origin + toRight;
        ray.ryOrigin = origin + toNextRow;
        ray.rxDirection = direction;
        ray.ryDirection = direction;
        beginHit(target, packet, interval, lanes);
        return true;
    }
    void nextPacket() { origin += stepX; }
    void nextRow()
    {
        row += stepY;
        origin = row;
    }

private:
    znRTEyeRayTarget& target;
    znRTLanePlaces places;
    znRTVector3fPacket direction, inverse, row, origin, stepX, stepY, toRight, toNextRow;
    znIntType<2> type;
    znRTEyeInterval interval;
};

} // namespace

void znRTOrthographicLens::updateAttributes(
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
    const osg::Vec3d a = toWorldProjection.multFullMatrixPnt({-1.0, -1.0, -1.0});
    const osg::Vec3d b = toWorldProjection.multFullMatrixPnt({1.0, -1.0, -1.0});
    const osg::Vec3d c = toWorldProjection.multFullMatrixPnt({-1.0, 1.0, -1.0});
    const osg::Vec3d dx = (b - a) * (1.0 / viewWidth), dy = (c - a) * (1.0 / viewHeight);
    osg::Vec3d forward = toWorldProjection.multFullMatrixPnt({-1.0, -1.0, 1.0}) - a;
    forward.normalize();
    rasterDX = toVector(dx);
    rasterDY = toVector(dy);
    rasterOrigin = toVector(cornerAligned ? a : a + (dx + dy) * 0.5);
    viewDirection = toVector(forward);
}

void znRTOrthographicLens::generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                                             znRTRayPacket& packet) const
{
    const znRTVector3fPacket origin = znRTVector3fPacket(rasterOrigin) +
                                      znRTVector3fPacket(rasterDX) * x +
                                      znRTVector3fPacket(rasterDY) * y;
    packet = znRTRayPacket(origin, znRTVector3fPacket(viewDirection), toInt(x), toInt(y),
                           znRTVector3fPacket(1.0f, 1.0f, 1.0f), lensRayType);
}

unsigned znRTOrthographicLens::trace_eye_rays(unsigned x0, unsigned x1, unsigned y0, unsigned y1,
                                              znRTRayPacketBundle& rays,
                                              znRTHitInfoPacketBundle& hits, znFloatType<2>* tMin,
                                              znFloatType<2>* tMax, int* laneMasks, int aaIndex,
                                              int aaCount, float differentialScale,
                                              const unsigned char* pixelMask) const
{
    const znRTPixelArea area{x0, x1, y0, y1};
    znRTEyeRayTarget target{rays, hits, tMin, tMax, laneMasks};
    const znRTPixelOffsets offsets = getPixelOffsets();
    znFloatType<2> aaX, aaY;
    getAAOffsets(aaIndex, aaCount, aaX, aaY);
    ParallelRays generator(*this, target, area, offsets, aaX, aaY, differentialScale);
    const unsigned count = znRTPacketWalk(area, offsets, pixelMask, maskStride).run(generator);
    rays.coherent = 0; // the walk of a bundle wants one origin
    trace(count, target);
    return count;
}
