#include "camera/znRTProjectionMatrixLens.h"

#include "camera/eyeRays.h"
#include "core/znRTVector4fPacket.h"

const znRTTypeId znRTProjectionMatrixLens::s_typeId("znRTProjectionMatrixLens");

namespace {

using Vec4d = osg::Vector<double, 4>;

znRTVector4f toVector4(const Vec4d& v)
{
    return {float(v[0]), float(v[1]), float(v[2]), float(v[3])};
}

/// Point of a plane at a place of the raster.
znRTVector4fPacket pointOf(const znRTProjectionMatrixLens::Plane& plane, const znFloatType<2>& x,
                           const znFloatType<2>& y)
{
    return {x * plane.dx.x + y * plane.dy.x + plane.origin.x,
            x * plane.dx.y + y * plane.dy.y + plane.origin.y,
            x * plane.dx.z + y * plane.dy.z + plane.origin.z,
            x * plane.dx.w + y * plane.dy.w + plane.origin.w};
}

/// Ray through a place of the raster.
/// @param direction  out: from the near to the far point, of any length; a far plane at infinity
///                   (w = 0) is a direction already
void makeRay(const znRTProjectionMatrixLens& lens, const znFloatType<2>& x, const znFloatType<2>& y,
             znRTVector3fPacket& origin, znRTVector3fPacket& direction)
{
    const znRTVector4fPacket n = pointOf(lens.nearPlane, x, y), f = pointOf(lens.farPlane, x, y);
    const znFloatType<2> inverse = reciprocalOrZero(n.w);
    const znRTVector3fPacket near(n.x * inverse, n.y * inverse, n.z * inverse);
    origin = near + znRTVector3fPacket(lens.reference);
    direction = znRTVector3fPacket(f.x, f.y, f.z) - near * f.w;
}

class ProjectedRays
{
public:
    ProjectedRays(const znRTProjectionMatrixLens& lens_, znRTEyeRayTarget& target_,
                  const znRTPixelOffsets& offsets, const znFloatType<2>& aaX_,
                  const znFloatType<2>& aaY_, float differentialScale)
        : lens(lens_), target(target_), places(offsets), aaX(aaX_), aaY(aaY_),
          scale(differentialScale), interval{0.0f, lens.farClip}
    {
    }

    bool emit(unsigned packet, unsigned x, unsigned y, int lanes)
    {
        const znIntType<2> pixelX = places.x + znIntType<2>(int(x));
        const znIntType<2> pixelY = places.y + znIntType<2>(int(y));
        const znFloatType<2> px = toFloat(pixelX) + aaX, py = toFloat(pixelY) + aaY;

        znRTRayDifferentialPacket& ray = target.rays.rays[packet];
        beginRay(ray, pixelX, pixelY, lens.lensRayType);
        znRTVector3fPacket direction;
        makeRay(lens, px, py, ray.origin, direction);
        makeRay(lens, px + scale, py, ray.rxOrigin, ray.rxDirection);
        makeRay(lens, px, py + scale, ray.ryOrigin, ray.ryDirection);
        const znFloatType<2> length = reciprocalSquareRoot(direction.getSquareLength());
        ray.direction = direction * length;
        ray.rxDirection *= length;
        ray.ryDirection *= length;
        ray.updateInverse();
        beginHit(target, packet, interval, lanes);
        return true;
    }
    void nextPacket() {}
    void nextRow() {}

private:
    const znRTProjectionMatrixLens& lens;
    znRTEyeRayTarget& target;
    znRTLanePlaces places;
    znFloatType<2> aaX, aaY, scale;
    znRTEyeInterval interval;
};

} // namespace

void znRTProjectionMatrixLens::updateAttributes(
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

    const Vec4d centre = toWorldProjection.multMatrixVec4({0.0, 0.0, -1.0, 1.0});
    const double inverseW = centre[3] != 0.0 ? 1.0 / centre[3] : 1.0;
    const osg::Vec3d middle(centre[0] * inverseW, centre[1] * inverseW, centre[2] * inverseW);
    reference = {float(middle[0]), float(middle[1]), float(middle[2])};
    const osg::Vec3d subtracted(reference.x, reference.y, reference.z);

    // A homogeneous point has no sign of its own; w above 0 on the near plane makes the far point
    // less w times the near point look away from the viewer.
    const auto pointAt = [&](double x, double y, double z) {
        Vec4d p = toWorldProjection.multMatrixVec4({x, y, z, 1.0}) * inverseW;
        for (int axis = 0; axis < 3; ++axis)
            p[axis] -= subtracted[axis] * p[3];
        return p;
    };
    const auto planeAt = [&](double z) {
        const Vec4d a = pointAt(-1.0, -1.0, z);
        const Vec4d dx = (pointAt(1.0, -1.0, z) - a) * (1.0 / viewWidth);
        const Vec4d dy = (pointAt(-1.0, 1.0, z) - a) * (1.0 / viewHeight);
        const Vec4d origin = cornerAligned ? a : a + (dx + dy) * 0.5;
        return Plane{toVector4(origin), toVector4(dx), toVector4(dy)};
    };
    nearPlane = planeAt(-1.0);
    farPlane = planeAt(1.0);
}

void znRTProjectionMatrixLens::generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                                                 znRTRayPacket& packet) const
{
    znRTVector3fPacket origin, direction;
    makeRay(*this, x, y, origin, direction);
    packet = znRTRayPacket(origin, direction, toInt(x), toInt(y),
                           znRTVector3fPacket(1.0f, 1.0f, 1.0f), lensRayType);
}

unsigned znRTProjectionMatrixLens::trace_eye_rays(
    unsigned x0, unsigned x1, unsigned y0, unsigned y1, znRTRayPacketBundle& rays,
    znRTHitInfoPacketBundle& hits, znFloatType<2>* tMin, znFloatType<2>* tMax, int* laneMasks,
    int aaIndex, int aaCount, float differentialScale, const unsigned char* pixelMask) const
{
    const znRTPixelArea area{x0, x1, y0, y1};
    znRTEyeRayTarget target{rays, hits, tMin, tMax, laneMasks};
    const znRTPixelOffsets offsets = getPixelOffsets();
    znFloatType<2> aaX, aaY;
    getAAOffsets(aaIndex, aaCount, aaX, aaY);
    ProjectedRays generator(*this, target, offsets, aaX, aaY, differentialScale);
    const unsigned count = znRTPacketWalk(area, offsets, pixelMask, maskStride).run(generator);
    rays.coherent = 0; // the walk of a bundle wants one origin
    trace(count, target);
    return count;
}
