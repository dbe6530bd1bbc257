#include "texture/structures/projectedBumpTextures.h"

#include "core/znRTDataBlockPacket.h"
#include "core/znRTVectorMath.h"
#include "texture/surfaceSteps.h"

#include <numbers>

namespace {

using Mask = znFloatType<2>;
using Geometry = znRTDifferentialGeometry;
using Attributes = znRTTextureAttributes;
using Axes = znRTTriplanarTextureAttributes;

const Axes* axesOf(const Attributes& attributes)
{
    const bool isTriplanar = attributes.mappingType == Attributes::mappingTriplanar &&
                             attributes.mapping &&
                             attributes.mapping->typeId == znRTTextureMapping::triplanar;
    return isTriplanar ? static_cast<const Axes*>(attributes.mapping) : nullptr;
}

/// Lanes that have to be taken to the space of their object.
Mask objectLanes(const znRTDataBlockPacket& data, bool inObject)
{
    return !data.hasNodeTransforms ? Mask::noLanes()
           : inObject              ? Mask::allLanes()
                                   : data.objectLanes;
}

/// A direction of the mapping's space in the world.
znRTVector3fPacket toWorld(const znRTDataBlockPacket& data, const znRTVector3fPacket& v,
                           const Mask& lanes)
{
    return anyLane(lanes)
               ? select(lanes, znRTVectorMath::transformAsDirection(v, data.nodeToWorld), v)
               : v;
}

/// Along the direction of the projection into the surface: there the coordinates are the same.
znRTVector3fPacket ontoSurface(const znRTVector3fPacket& v, const znRTVector3fPacket& direction,
                               const znRTVector3fPacket& normal)
{
    return v - direction * (dot(v, normal) * reciprocalOrZero(dot(direction, normal)));
}

/// Puts a place in force, with the steps of the position along it.
/// @param direction  of the projection; all vectors in the world
void lay(Geometry& dg, const znTexturePlace& place, const znRTVector3fPacket& dPdu,
         const znRTVector3fPacket& dPdv, const znRTVector3fPacket& direction)
{
    dg.uv = place.uv;
    dg.dUVdx = place.footprint.dx;
    dg.dUVdy = place.footprint.dy;
    dg.dPdu = ontoSurface(dPdu, direction, dg.shadingNormal);
    dg.dPdv = ontoSurface(dPdv, direction, dg.shadingNormal);
    // Tangents of the vertices belong to the coordinates of the mesh.
    dg.tangentMask = Mask::noLanes();
}

znRTVector3fPacket column(const znMatrix4x4& m, int i)
{
    return {znFloatType<2>(m[i][0]), znFloatType<2>(m[i][1]), znFloatType<2>(m[i][2])};
}

/// Steps and direction of a plane or a cylinder at a point of its space.
void axesOfProjection(const znMatrix4x4& projection, bool isCylinder,
                      const znRTVector3fPacket& position, znRTVector3fPacket& dPdu,
                      znRTVector3fPacket& dPdv, znRTVector3fPacket& direction)
{
    const znMatrix4x4 back = projection.inverted();
    const znRTVector3fPacket x = column(back, 0), y = column(back, 1), z = column(back, 2);
    if (!isCylinder) {
        dPdu = x;
        dPdv = y;
        direction = z;
        return;
    }
    const znRTVector3fPacket p = znRTVectorMath::transformAsLocation(position, projection);
    const znFloatType<2> fullTurn(2.0f * std::numbers::pi_v<float>);
    dPdu = (y * p.x - x * p.y) * fullTurn;
    dPdv = z;
    direction = x * p.x + y * p.y;
}

} // namespace

Mask znRTProjectedBumpTexture::lay(const znRTDataBlockPacket& data, const Mask& mask, Geometry& dg,
                                   znFloatType<2>& unit) const
{
    dg = data.dg;
    if (!attributes || !attributes->hasTextureProjection) {
        if (attributes && attributes->uvSet > 0) {
            data.selectTextureSet(attributes->uvSet, dg);
            dg.tangentMask = Mask::noLanes();
        }
        unit = dg.dPdu.getLength();
        return mask;
    }
    const Mask lanes = objectLanes(data, attributes->projectionSpace == 0);
    Geometry inSpace;
    data.setupTriplanarDifferentialGeometry(inSpace, lanes);
    const bool isCylinder = attributes->cylindrical;
    const znTexturePlace place =
        isCylinder
            ? znRTTextureFunctions::computeCylindricalTextureProjection(sampler, inSpace, mask)
            : znRTTextureFunctions::computePlanarTextureProjection(sampler, inSpace, mask);
    znRTVector3fPacket dPdu, dPdv, direction;
    axesOfProjection(sampler.projection, isCylinder, inSpace.position, dPdu, dPdv, direction);
    dPdu = toWorld(data, dPdu, lanes);
    unit = dPdu.getLength();
    ::lay(dg, place, dPdu, toWorld(data, dPdv, lanes), toWorld(data, direction, lanes));
    return mask & place.inside;
}

znRTVector3fPacket znRTProjectedBumpTexture::getNormal(const znRTRayDifferentialPacket&,
                                                       const znRTDataBlockPacket& data,
                                                       const Mask& mask) const
{
    Geometry dg;
    znFloatType<2> unit;
    const Mask inside = lay(data, mask, dg, unit);
    return getNormalAt(dg, inside);
}

znRTVector3fPacket znRTProjectedBumpTexture::getShift(const znRTRayDifferentialPacket& ray,
                                                      const znRTDataBlockPacket& data,
                                                      const Mask& mask) const
{
    Geometry dg;
    znFloatType<2> unit;
    const Mask inside = lay(data, mask, dg, unit);
    const znRTVector2fPacket before = dg.uv;
    shiftBelow(ray, dg, unit * parallaxDepth, inside);
    return wayOf(dg.uv - before, dg.dPdu, dg.dPdv);
}

/// @param visit  visit(dg, unit, weight) for each axis that some lane shows: the coordinates along
///               it, the way of a step of the first one, and its share, 0 off the mask
template <class Visit>
void znRTTriplanarBumpTexture::visitAxes(const znRTDataBlockPacket& data, const Mask& mask,
                                         const Visit& visit) const
{
    const Axes& axes = *axesOf(*attributes);
    const Mask lanes = objectLanes(data, axes.space[0] == 0);
    Geometry inSpace;
    data.setupTriplanarDifferentialGeometry(inSpace, lanes);
    znFloatType<2> weight[3];
    znRTTextureFunctions::computeTriplanarBlend(inSpace.shadingNormal, axes.blendWidth, mask,
                                                weight);
    for (int axis = 0; axis < 3; ++axis) {
        if (!anyLane(weight[axis] > znFloatType<2>(0.0f)))
            continue;
        znRTVector3fPacket dPdu, dPdv;
        const znTexturePlace place =
            znRTTextureFunctions::computeTriplanarTextureProjectionCoordinates(axes, axis, inSpace,
                                                                               dPdu, dPdv);
        const znRTVector3fPacket direction(znFloatType<2>(axis == 0 ? 1.0f : 0.0f),
                                           znFloatType<2>(axis == 1 ? 1.0f : 0.0f),
                                           znFloatType<2>(axis == 2 ? 1.0f : 0.0f));
        Geometry dg = data.dg;
        dPdu = toWorld(data, dPdu, lanes);
        lay(dg, place, dPdu, toWorld(data, dPdv, lanes), toWorld(data, direction, lanes));
        visit(dg, dPdu.getLength(), weight[axis]);
    }
}

znRTVector3fPacket znRTTriplanarBumpTexture::getNormal(const znRTRayDifferentialPacket&,
                                                       const znRTDataBlockPacket& data,
                                                       const Mask& mask) const
{
    const znFloatType<2> zero(0.0f);
    znRTVector3fPacket sum(zero, zero, zero);
    visitAxes(data, mask,
              [&](const Geometry& dg, const znFloatType<2>&, const znFloatType<2>& weight) {
                  sum += getNormalAt(dg, weight > zero) * weight;
              });
    const znFloatType<2> squareLength = sum.getSquareLength();
    const Mask exists = mask & (squareLength > znFloatType<2>(1e-12f));
    return select(exists, sum * reciprocalSquareRoot(squareLength), data.dg.shadingNormal);
}

znRTVector3fPacket znRTTriplanarBumpTexture::getShift(const znRTRayDifferentialPacket& ray,
                                                      const znRTDataBlockPacket& data,
                                                      const Mask& mask) const
{
    const znFloatType<2> zero(0.0f);
    znRTVector3fPacket sum(zero, zero, zero);
    visitAxes(data, mask,
              [&](Geometry& dg, const znFloatType<2>& unit, const znFloatType<2>& weight) {
                  const znRTVector2fPacket before = dg.uv;
                  shiftBelow(ray, dg, unit * parallaxDepth, weight > zero);
                  sum += wayOf(dg.uv - before, dg.dPdu, dg.dPdv) * weight;
              });
    return sum;
}

bool readsOwnCoordinates(const Attributes* attributes)
{
    if (!attributes)
        return false;
    return attributes->mappingType == Attributes::mappingTriplanar
               ? axesOf(*attributes) != nullptr
               : attributes->hasTextureProjection || attributes->uvSet > 0;
}

std::unique_ptr<znRTBumpTexture> makeBumpTexture(const znRTTextureSampler& sampler,
                                                 const Attributes* attributes,
                                                 znRTBumpTexture::Kind kind, float amplitude,
                                                 bool isDownward)
{
    if (!readsOwnCoordinates(attributes))
        return std::make_unique<znRTBumpTexture>(sampler, attributes, kind, amplitude, isDownward);
    if (axesOf(*attributes))
        return std::make_unique<znRTTriplanarBumpTexture>(sampler, attributes, kind, amplitude,
                                                          isDownward);
    return std::make_unique<znRTProjectedBumpTexture>(sampler, attributes, kind, amplitude,
                                                      isDownward);
}
