// Images of a surface where parallax shows them.

#include "core/znRTVectorMath.h"
#include "material/shadePipeline.h"
#include "texture/surfaceSteps.h"
#include "texture/znRTTexturedSurface.h"

znRTShiftedCoordinates::znRTShiftedCoordinates(const znRTMaterial& material,
                                               const znRTRayDifferentialPacket& ray,
                                               znRTDataBlockPacket& newData, znRTHitSurface& hit,
                                               const znFloatType<2>& mask)
    : data(newData), shifts(material.getSurfaceStructure().is(shiftsCoordinates))
{
    // Images alone shift coordinates.
    if (shifts)
        move(static_cast<const znRTTexturedSurface&>(material.getSurfaceStructure())
                 .getShift(ray, data, mask),
             hit);
}

void znRTShiftedCoordinates::move(const znRTVector3fPacket& way, znRTHitSurface& hit)
{
    firstSet = data.dg.uv;
    data.dg.uv += stepsAlong(way, data.dg.dPdu, data.dg.dPdv);
    hit.dg.uv = data.dg.uv;
    for (int set = 1; set < znRTDataBlockPacket::maxTextureSets; ++set) {
        if (!((data.uvValid >> set) & 1u))
            continue;
        const auto& own = data.uvDerivatives[set];
        sets[set] = data.uv[set];
        data.uv[set] += stepsAlong(way, own.dPdu, own.dPdv);
    }
    position = data.dg.position;
    data.dg.position += way;
    objectPosition = data.objectPosition;
    data.objectPosition +=
        data.hasNodeTransforms ? znRTVectorMath::transformAsDirection(way, data.worldToNode) : way;
}

znRTShiftedCoordinates::~znRTShiftedCoordinates()
{
    if (!shifts)
        return;
    data.dg.uv = firstSet;
    for (int set = 1; set < znRTDataBlockPacket::maxTextureSets; ++set)
        if ((data.uvValid >> set) & 1u)
            data.uv[set] = sets[set];
    data.dg.position = position;
    data.objectPosition = objectPosition;
}
