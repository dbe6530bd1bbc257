#include "texture/structures/znRTSpatialStructure.h"

#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTVectorMath.h"
#include "texture/tangentSpace.h"

namespace {

/// Turns what is on the viewer's side to the side that the stored normal points to, and back.
znRTVector3fPacket turned(const znRTVector3fPacket& v, const znFloatType<2>& frontFacing)
{
    return v ^ andNot(frontFacing, znFloatType<2>(-0.0f));
}

} // namespace

u32 znRTSpatialStructure::getRequirements() const
{
    return shadingRequirement::surfaceDefault;
}

znRTVector3fPacket znRTSpatialStructure::tiltAt(const Place&, const znFloatType<2>&) const
{
    return {0.0f, 0.0f, 0.0f};
}

znRTVector3fPacket znRTSpatialStructure::directionAt(const Place&, const znFloatType<2>&) const
{
    return {0.0f, 0.0f, 0.0f};
}

znRTSpatialStructure::Place znRTSpatialStructure::placeOf(const znRTDifferentialGeometry& dg)
{
    return {dg.position, turned(dg.shadingNormal, dg.frontFacing), dg.dPdx, dg.dPdy};
}

znRTSpatialStructure::Place znRTSpatialStructure::placeOf(const znRTDataBlockPacket& data)
{
    const znRTVector3fPacket normal = turned(data.objectNormal, data.dg.frontFacing);
    if (!data.hasNodeTransforms)
        return {data.objectPosition, normal, data.dg.dPdx, data.dg.dPdy};
    return {data.objectPosition, normal,
            znRTVectorMath::transformAsDirection(data.dg.dPdx, data.worldToNode),
            znRTVectorMath::transformAsDirection(data.dg.dPdy, data.worldToNode)};
}

znRTVector3fPacket znRTSpatialStructure::bentNormal(const Place& place,
                                                    const znFloatType<2>& frontFacing,
                                                    const znFloatType<2>& mask,
                                                    znFloatType<2>& isBent) const
{
    const znRTVector3fPacket tilt = tiltAt(place, mask);
    const znRTVector3fPacket along = tilt - place.normal * dot(tilt, place.normal);
    // NaN compares false: the surface stays as it is.
    isBent = mask & (along.getSquareLength() > znFloatType<2>(0.0f));
    return turned((place.normal + along).getNormalized(), frontFacing);
}

znRTVector3fPacket znRTSpatialStructure::getNormalAt(const znRTDifferentialGeometry& dg,
                                                     const znFloatType<2>& mask) const
{
    znFloatType<2> isBent;
    const znRTVector3fPacket normal = bentNormal(placeOf(dg), dg.frontFacing, mask, isBent);
    return select(isBent, normal, dg.shadingNormal);
}

znRTVector3fPacket znRTSpatialStructure::getNormal(const znRTRayDifferentialPacket&,
                                                   const znRTDataBlockPacket& data,
                                                   const znFloatType<2>& mask) const
{
    znFloatType<2> isBent;
    znRTVector3fPacket normal = bentNormal(placeOf(data), data.dg.frontFacing, mask, isBent);
    if (data.hasNodeTransforms && anyLane(isBent))
        normal = znRTVectorMath::transformAsNormal(normal, data.worldToNode).getNormalized();
    return select(isBent, normal, data.dg.shadingNormal);
}

znRTONB znRTSpatialStructure::getFrameAt(const znRTDifferentialGeometry& dg,
                                         const znFloatType<2>& mask) const
{
    return frameAlongTangent(dg, mask);
}

znRTONB znRTSpatialStructure::getFrame(const znRTRayDifferentialPacket&,
                                       const znRTDataBlockPacket& data,
                                       const znFloatType<2>& mask) const
{
    if (!is(givesDirections))
        return getFrameAt(data.dg, mask);
    znRTVector3fPacket direction = directionAt(placeOf(data), mask);
    if (data.hasNodeTransforms)
        direction = znRTVectorMath::transformAsDirection(direction, data.nodeToWorld);
    znRTONB onb;
    onb.set(data.dg.shadingNormal, direction,
            mask & (direction.getSquareLength() > znFloatType<2>(0.0f)));
    return onb;
}
