#pragma once

// Where an area light is: points on it, their densities, rays to it. A shape knows nothing of
// colours. All packet operations work in world space; masks are full-width and only lose lanes.
//
// Three densities occur: per area, as points are drawn; per steradian at an illuminated point
// (getPdf turns the former into it); and the product of a density per area and one per steradian
// of a photon's ray.

#include "core/znRTBoundingBox.h"
#include "core/znRTColorPacket.h"
#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"
#include "host/osg/TransformationMatrix.h"
#include "host/znAligned.h"
#include "host/znRTNode.h"

class znDistribution2D;
class znRTSampler2D;

/// One point on a shape per lane.
struct znRTShapePoint
{
    znRTVector3fPacket position;
    znRTVector3fPacket normal; ///< unit, on the side that emits
    /// Texture coordinates, as the emission texture is laid on; spheres without one give 0.
    znRTVector2fPacket uv;
    znFloatType<2> pdf; ///< with which it was drawn, per area
};

/// A photon's ray per lane.
struct znRTShapeEmission : znRTShapePoint
{
    znRTVector3fPacket direction; ///< unit, away from the shape
    znFloatType<2> rayPdf;        ///< density of point and direction together
};

class znRTShape : public znRTNode, public znAlignedBase16
{
public:
    // The order of the virtual operations is part of the interface.
    ~znRTShape() override;
    /// Takes the light's place. Shapes lie in the light's xy plane and emit along its -z.
    virtual void setTransform(const osg::TransformationMatrix<float>& toWorld);
    /// Takes the emission texture.
    /// @param distribution  guides the choice of points; not owned, null for uniform points
    virtual void setTextureSampler(const znRTSampler2D* sampler,
                                   const znDistribution2D* distribution);
    /// Whether there is something that can emit.
    virtual bool isValid() const { return true; }
    /// Cells of the distribution that guides the sampling; 0 without one.
    virtual unsigned getSampleCount() const { return distributionCount; }
    /// Draws a point from the whole shape.
    /// @param mask  loses the lanes whose numbers lead off the shape
    /// @param u, v  numbers in [0, 1]
    virtual void samplePoint(znFloatType<2>& mask, const znFloatType<2>& u, const znFloatType<2>& v,
                             znRTShapePoint& point) const = 0;
    /// Draws a point for an illuminated position, where a shape can do better than the above.
    virtual void samplePointFromOrigin(const znRTVector3fPacket& origin, znFloatType<2>& mask,
                                       const znRTVector2fPacket& u, znRTShapePoint& point) const;
    /// The point in the middle.
    virtual void samplePointCentre(znFloatType<2>& mask, znRTShapePoint& point) const;
    /// Draws a ray that leaves the shape.
    /// @param u     chooses the point, v the direction
    /// @param flag  1: directions are in proportion to the cosine at the point; 0: uniform over the
    ///              hemisphere
    /// @return 1 in lanes of mask that emit, on all channels
    virtual znRTColorPacket sampleForLight(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                           const znFloatType<2>& mask, int flag,
                                           znRTShapeEmission& emission) const = 0;
    /// Density per steradian of the direction from a position to a point on the shape, as
    /// samplePointFromOrigin draws it; 0 where the point does not face the position.
    /// @param areaPdf  density of the point per area
    virtual znFloatType<2> getPdf(const znRTVector3fPacket& origin, const znRTVector3fPacket& point,
                                  const znRTVector3fPacket& normal, const znFloatType<2>& areaPdf,
                                  const znFloatType<2>& mask) const;
    virtual float getArea() const { return 0.0f; }
    /// First point of the shape along rays, with the density per area of drawing it.
    /// @param direction  unit
    /// @param t          distance; undefined in other lanes
    /// @return lanes of mask that meet the side that emits
    virtual znFloatType<2> intersectOrEvaluate(const znRTVector3fPacket& origin,
                                               const znRTVector3fPacket& direction,
                                               const znFloatType<2>& mask, znFloatType<2>& t,
                                               znRTShapePoint& point) const = 0;
    /// Box in the shape's own frame.
    virtual znRTBoundingBox getBoundingBoxInner() const { return {}; }
    virtual znRTBoundingBox getBoundingBox() const { return {}; }
    /// @return lanes of mask in which some of the shape is above the horizon of the surface
    virtual znFloatType<2> cullLight(const znRTVector3fPacket& position,
                                     const znRTVector3fPacket& normal,
                                     const znFloatType<2>& mask) const;
    /// Unit vector from one point to another.
    virtual znRTVector3f getDirection(const znRTVector3f& from, const znRTVector3f& to) const;
    virtual znRTVector3fPacket getLightVector(const znRTVector3fPacket& from,
                                              const znRTVector3fPacket& to) const;
    /// The point that stands for the whole shape; here the one given.
    virtual znRTVector3f getAveragePoint(const znRTVector3f& point) const { return point; }

    /// Density per area turned into density per steradian at the origin: d^2 / cos at the light.
    /// @param twoSided  both sides of the point emit
    /// @return 0 where the point does not face the origin
    static znFloatType<2> toSolidAngle(const znRTVector3fPacket& origin,
                                       const znRTVector3fPacket& point,
                                       const znRTVector3fPacket& normal,
                                       const znFloatType<2>& areaPdf, bool twoSided);

protected:
    explicit znRTShape(const znRTTypeId& typeId) : znRTNode(typeId) {}

    const znRTSampler2D* textureSampler = nullptr;
    const znDistribution2D* textureDistribution = nullptr;
    unsigned distributionCount = 0; ///< not 0: the texture guides the sampling
};
