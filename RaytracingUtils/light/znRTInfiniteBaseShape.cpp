#include "light/znRTInfiniteBaseShape.h"

#include "host/osg/materials/environmentMaterials.h"
#include "host/znRTRaytracingSettings.h"
#include "light/directionMaps.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

znRTInfiniteBaseShape::znRTInfiniteBaseShape(const znRTTypeId& typeId)
    : znRTShape(typeId), worldToEnvironment{
                             {1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}}
{
}

void znRTInfiniteBaseShape::samplePoint(znFloatType<2>& mask, const znFloatType<2>&,
                                        const znFloatType<2>&, znRTShapePoint& point) const
{
    mask = znFloatType<2>::noLanes();
    point = {{0.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f}, {0.0f, 0.0f}, 0.0f};
}

znRTColorPacket znRTInfiniteBaseShape::sampleForLight(const znRTVector2fPacket& u,
                                                      const znRTVector2fPacket&,
                                                      const znFloatType<2>&, int,
                                                      znRTShapeEmission& emission) const
{
    znFloatType<2> none;
    samplePoint(none, u.x, u.y, emission);
    emission.direction = emission.normal;
    emission.rayPdf = 0.0f;
    return znRTColorPacket(0.0f);
}

znFloatType<2> znRTInfiniteBaseShape::intersectOrEvaluate(const znRTVector3fPacket&,
                                                          const znRTVector3fPacket&,
                                                          const znFloatType<2>&, znFloatType<2>& t,
                                                          znRTShapePoint& point) const
{
    znFloatType<2> none;
    samplePoint(none, 0.0f, 0.0f, point);
    t = 0.0f;
    return none;
}

znFloatType<2> znRTInfiniteBaseShape::cullLight(const znRTVector3fPacket&,
                                                const znRTVector3fPacket&,
                                                const znFloatType<2>& mask) const
{
    return mask;
}

znRTVector3fPacket znRTInfiniteBaseShape::toEnvironment(const znRTVector3fPacket& direction) const
{
    return {dot(direction, worldToEnvironment[0]), dot(direction, worldToEnvironment[1]),
            dot(direction, worldToEnvironment[2])};
}

znRTVector3fPacket znRTInfiniteBaseShape::toWorld(const znRTVector3fPacket& direction) const
{
    return worldToEnvironment[0] * direction.x + worldToEnvironment[1] * direction.y +
           worldToEnvironment[2] * direction.z;
}

znRTVector2fPacket znRTInfiniteBaseShape::getCoordinates(const znRTVector3fPacket& direction) const
{
    // u counts from y towards x.
    const znRTVector3fPacket turned[3] = {worldToEnvironment[1], worldToEnvironment[0],
                                          worldToEnvironment[2]};
    return directionToPolar(turned, direction);
}

void znRTInfiniteBaseShape::setCommonAttributes(const znRTEnvironmentAttributes& record)
{
    useRotation = record.useRotation;
    isSampled = record.isSampled;
    const znMatrix4x4 rotation = useRotation ? record.rotation : znMatrix4x4::identity();
    for (int i = 0; i < 3; ++i)
        worldToEnvironment[i] = znRTVector3fPacket(
            znRTVector3f(rotation[i][0], rotation[i][1], rotation[i][2]).getNormalized());

    int preview, still;
    znRTRenderUtils::getEnvironmentQualitySettings(preview, still);
    if (record.overrideQuality) {
        preview = int(record.previewCount);
        still = int(record.stillCount);
    }
    const bool isInteractive =
        znRTRaytracingSettings::s_qualityMode == znRTRaytracingSettings::interactive;
    const int count = isInteractive ? preview : still;
    numSamples = count < 4 ? 1u : unsigned(count);
}
