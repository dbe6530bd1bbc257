#include "camera/znRTPerspectivePinholeLens.h"

#include "camera/distortionMap.h"
#include "camera/eyeRays.h"
#include "host/znRTRaytracingSettings.h"

#include <algorithm>

const znRTTypeId znRTPerspectivePinholeLens::s_typeId("znRTPerspectivePinholeLens");

namespace {

/// Sets the packet's directions and those of its neighbours from unnormalised ones.
void setDirections(znRTRayDifferentialPacket& ray, const znRTVector3fPacket& eye,
                   const znRTVector3fPacket& direction, const znRTVector3fPacket& toRight,
                   const znRTVector3fPacket& toNextRow)
{
    const znFloatType<2> scale = reciprocalSquareRoot(direction.getSquareLength());
    ray.origin = eye;
    ray.direction = direction * scale;
    ray.updateInverse();
    ray.rxOrigin = eye;
    ray.ryOrigin = eye;
    ray.rxDirection = (direction + toRight) * scale;
    ray.ryDirection = (direction + toNextRow) * scale;
}

class PinholeRays
{
public:
    PinholeRays(const znRTLensShader& lens, znRTEyeRayTarget& target_, const znRTPixelArea& area,
                const znRTPixelOffsets& offsets, const znFloatType<2>& aaX,
                const znFloatType<2>& aaY, float differentialScale)
        : target(target_), places(offsets), eye(lens.eyePosition),
          type(lens.lensRayType), interval{lens.nearClip, lens.farClip}
    {
        const znRTVector3fPacket dx(lens.pixelDX), dy(lens.pixelDY);
        const float step = float(offsets.step);
        stepX = dx * step;
        stepY = dy * step;
        toRight = dx * differentialScale;
        toNextRow = dy * differentialScale;
        row = znRTVector3fPacket(lens.frustumOrigin) +
              dx * (toFloat(places.x + znIntType<2>(int(area.x0))) + aaX) +
              dy * (toFloat(places.y + znIntType<2>(int(area.y0))) + aaY);
        direction = row;
    }

    bool emit(unsigned packet, unsigned x, unsigned y, int lanes)
    {
        znRTRayDifferentialPacket& ray = target.rays.rays[packet];
        beginRay(ray, places.x + znIntType<2>(int(x)), places.y + znIntType<2>(int(y)), type);
        setDirections(ray, eye, direction, toRight, toNextRow);
        beginHit(target, packet, interval, lanes);
        return true;
    }
    void nextPacket() { direction += stepX; }
    void nextRow()
    {
        row += stepY;
        direction = row;
    }

private:
    znRTEyeRayTarget& target;
    znRTLanePlaces places;
    znRTVector3fPacket eye, row, direction, stepX, stepY, toRight, toNextRow;
    znIntType<2> type;
    znRTEyeInterval interval;
};

class DeflectedRays
{
public:
    DeflectedRays(const znRTLensShader& lens_, const znRTSampler2D& map_, znRTEyeRayTarget& target_,
                  const znRTPixelOffsets& offsets, const znFloatType<2>& aaX_,
                  const znFloatType<2>& aaY_, float differentialScale)
        : lens(lens_), map(map_), target(target_), places(offsets), aaX(aaX_), aaY(aaY_),
          scale(differentialScale), eye(lens.eyePosition), interval{lens.nearClip, lens.farClip}
    {
    }

    bool emit(unsigned packet, unsigned x, unsigned y, int lanes)
    {
        const znIntType<2> pixelX = places.x + znIntType<2>(int(x));
        const znIntType<2> pixelY = places.y + znIntType<2>(int(y));
        const znFloatType<2> px = toFloat(pixelX) + aaX, py = toFloat(pixelY) + aaY;

        znFloatType<2> isOn;
        const znRTVector3fPacket direction = deflect(px, py, isOn);
        lanes &= moveMask(isOn);
        if (lanes == 0)
            return false;
        // Beside a hole of the map a neighbour has no place: its ray is then the main one.
        znFloatType<2> isRightOn, isNextRowOn;
        const znRTVector3fPacket right = deflect(px + scale, py, isRightOn);
        const znRTVector3fPacket nextRow = deflect(px, py + scale, isNextRowOn);

        znRTRayDifferentialPacket& ray = target.rays.rays[packet];
        beginRay(ray, pixelX, pixelY, lens.lensRayType);
        setDirections(ray, eye, direction, (right - direction) & isRightOn,
                      (nextRow - direction) & isNextRowOn);
        beginHit(target, packet, interval, lanes);
        return true;
    }
    void nextPacket() {}
    void nextRow() {}

private:
    /// Unnormalised direction of a place of the raster.
    znRTVector3fPacket deflect(znFloatType<2> px, znFloatType<2> py, znFloatType<2>& isOn) const
    {
        const znFloatType<2> half(0.5f);
        const znRTVector2fPacket place((px + half) * lens.invImageWidth + lens.imageOffsetX,
                                       (py + half) * lens.invImageHeight + lens.imageOffsetY);
        const znRTVector2fPacket deflected = lookUpDeflection(map, place, isOn);
        const znFloatType<2> x = (deflected.x - lens.imageOffsetX) * float(lens.imageWidth) - half;
        const znFloatType<2> y = (deflected.y - lens.imageOffsetY) * float(lens.imageHeight) - half;
        return znRTVector3fPacket(lens.frustumOrigin) + znRTVector3fPacket(lens.pixelDX) * x +
               znRTVector3fPacket(lens.pixelDY) * y;
    }

    const znRTLensShader& lens;
    const znRTSampler2D& map;
    znRTEyeRayTarget& target;
    znRTLanePlaces places;
    znFloatType<2> aaX, aaY, scale;
    znRTVector3fPacket eye;
    znRTEyeInterval interval;
};

} // namespace

unsigned znRTPerspectivePinholeLens::generateRays(const znRTPixelArea& area,
                                                  znRTEyeRayTarget& target, int aaIndex,
                                                  int aaCount, float differentialScale,
                                                  const unsigned char* pixelMask) const
{
    const znRTPixelOffsets offsets = getPixelOffsets();
    znFloatType<2> aaX, aaY;
    getAAOffsets(aaIndex, aaCount, aaX, aaY);
    PinholeRays generator(*this, target, area, offsets, aaX, aaY, differentialScale);
    return znRTPacketWalk(area, offsets, pixelMask, maskStride).run(generator);
}

unsigned znRTPerspectivePinholeLens::generateRaysUsingDistortionMap(
    const znRTSampler2D& map, const znRTPixelArea& area, znRTEyeRayTarget& target, int aaIndex,
    int aaCount, float differentialScale, const unsigned char* pixelMask) const
{
    const znRTPixelOffsets offsets = getPixelOffsets();
    znFloatType<2> aaX, aaY;
    getAAOffsets(aaIndex, aaCount, aaX, aaY);
    DeflectedRays generator(*this, map, target, offsets, aaX, aaY, differentialScale);
    return znRTPacketWalk(area, offsets, pixelMask, maskStride).run(generator);
}

void znRTPerspectivePinholeLens::makeRepresentative(const znRTPixelArea& area,
                                                    znRTRayPacketBundle& rays, int aaIndex,
                                                    int aaCount) const
{
    // The corners of the raster that the packets cover, lanes outside the area included, and a
    // little more for the rounding of directions that are added up.
    const float margin = 1.0f / 64.0f;
    const unsigned step = getPixelOffsets().step;
    const auto roundUp = [&](unsigned size) { return (size + step - 1) / step * step; };
    znFloatType<2> aaX, aaY;
    getAAOffsets(aaIndex, aaCount, aaX, aaY);
    const float left = float(area.x0) - margin, bottom = float(area.y0) - margin;
    const float right = float(area.x0 + roundUp(area.x1 - area.x0) - 1) + margin;
    const float top = float(area.y0 + roundUp(area.y1 - area.y0) - 1) + margin;
    const znFloatType<2> x = znFloatType<2>(left, right, left, right) + aaX;
    const znFloatType<2> y = znFloatType<2>(bottom, bottom, top, top) + aaY;

    znRTRayDifferentialPacket& corners = rays.getRepresentative();
    const znRTRayFilter* const filter = corners.auxiliary;
    generateRayPacket(x, y, corners);
    corners.auxiliary = filter;

    // Each component is linear over the raster: where its sign is the same at all corners it is
    // the same everywhere between them. Components near 0 are left to packets by themselves.
    bool isUniform = true;
    for (int axis = 0; axis < 3; ++axis) {
        const znFloatType<2> component = corners.direction[axis];
        const int signs = moveMask(component);
        isUniform &= signs == 0 || signs == 15;
        isUniform &= everyLane(absolute(component) > znFloatType<2>(1e-6f));
        rays.sign[axis] = signs == 15 ? 1 : 0;
    }
    rays.coherent = isUniform && znRTRaytracingSettings::s_useBundleTracing ? 1 : 0;
}

unsigned znRTPerspectivePinholeLens::trace_eye_rays(
    unsigned x0, unsigned x1, unsigned y0, unsigned y1, znRTRayPacketBundle& rays,
    znRTHitInfoPacketBundle& hits, znFloatType<2>* tMin, znFloatType<2>* tMax, int* laneMasks,
    int aaIndex, int aaCount, float differentialScale, const unsigned char* pixelMask) const
{
    const znRTPixelArea area{x0, x1, y0, y1};
    znRTEyeRayTarget target{rays, hits, tMin, tMax, laneMasks};
    unsigned count;
    if (const znRTSampler2D* map = getDistortionMap()) {
        count = generateRaysUsingDistortionMap(*map, area, target, aaIndex, aaCount,
                                               differentialScale, pixelMask);
        rays.coherent = 0;
    } else {
        count = generateRays(area, target, aaIndex, aaCount, differentialScale, pixelMask);
        makeRepresentative(area, rays, aaIndex, aaCount);
    }
    trace(count, target);
    return count;
}
