#pragma once

// Where the light of an environment comes from: directions instead of points. The operations on
// points that shapes have find nothing here.

#include "host/osg/FCPtr.h"
#include "light/znRTShape.h"

class znRTInfiniteBaseShape : public znRTShape
{
public:
    // Shapes at infinity have no points.

    void samplePoint(znFloatType<2>& mask, const znFloatType<2>& u, const znFloatType<2>& v,
                     znRTShapePoint& point) const override;
    znRTColorPacket sampleForLight(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                   const znFloatType<2>& mask, int flag,
                                   znRTShapeEmission& emission) const override;
    znFloatType<2> intersectOrEvaluate(const znRTVector3fPacket& origin,
                                       const znRTVector3fPacket& direction,
                                       const znFloatType<2>& mask, znFloatType<2>& t,
                                       znRTShapePoint& point) const override;
    znFloatType<2> cullLight(const znRTVector3fPacket& position, const znRTVector3fPacket& normal,
                             const znFloatType<2>& mask) const override;

    // The order of the virtual operations is part of the interface. Directions are unit, in world
    // space, towards the light.

    /// Draws a direction in proportion to the light from there.
    /// @param upperOnly  from the upper half of the environment alone
    /// @param uv         out: its place in the image
    /// @return density per steradian; 0 in lanes off the mask, and where none could be drawn
    virtual znFloatType<2> sample(const znRTVector2fPacket& u, const znFloatType<2>& mask,
                                  bool upperOnly, znRTVector3fPacket& direction,
                                  znRTVector2fPacket& uv) const = 0;
    /// Radiance from a direction; 0 in lanes off the mask.
    virtual znRTColorPacket evaluate(const znRTVector3fPacket& direction,
                                     const znFloatType<2>& mask) const = 0;
    /// Radiance at a place in the image.
    virtual znRTColorPacket evaluateAt(const znRTVector2fPacket& uv,
                                       const znFloatType<2>& mask) const = 0;
    /// Luminance of the mean radiance times the whole sphere.
    virtual float getAveragePower() const = 0;
    /// Density per steradian with which sample, over the full sphere, draws a direction.
    virtual znFloatType<2> pdf(const znRTVector3fPacket& direction,
                               const znFloatType<2>& mask) const = 0;
    /// Luminance integrated over the sphere.
    virtual float getPower() const = 0;
    /// Reads an environment's container.
    /// @return false when there is nothing to read
    virtual bool setAttributes(const osg::MaterialPtr& material) = 0;
    virtual znRTColor getAverageColor() const = 0;

    /// Radiance of a direction that sample has drawn.
    /// @param uv  place that came with the direction
    virtual znRTColorPacket evaluateDrawn(const znRTVector3fPacket& direction,
                                          const znRTVector2fPacket& uv,
                                          const znFloatType<2>& mask) const = 0;
    /// Radiance and density of a direction at once.
    virtual znRTColorPacket evaluateWithPdf(const znRTVector3fPacket& direction,
                                            const znFloatType<2>& mask,
                                            znFloatType<2>& pdf) const = 0;
    /// Radiance as somebody sees it who looks there: with what lights of their own stand for.
    virtual znRTColorPacket evaluateSeen(const znRTVector3fPacket& direction,
                                         const znFloatType<2>& mask) const = 0;
    /// Mean radiance about a direction under a power lobe.
    /// @param level  see znRTFilteredEnvironment; before makeFiltered the mean of all directions
    virtual znRTColorPacket evaluateFiltered(const znRTVector3fPacket& direction,
                                             const znFloatType<2>& level,
                                             const znFloatType<2>& mask) const = 0;
    /// Makes what evaluateFiltered reads, unless it is up to date.
    virtual void makeFiltered() = 0;
    /// Whether about the same light comes from everywhere, so that drawing directions by it finds
    /// nothing that drawing by a surface's lobes would miss.
    virtual bool isEven() const = 0;

    /// Draws a direction in proportion to what a surface receives from it that faces along the
    /// environment's axis.
    virtual znRTVector3fPacket sampleOnGround(const znRTVector2fPacket& u,
                                              const znFloatType<2>& mask) const = 0;
    /// Irradiance of that surface, luminance; 0 when there is nothing to draw.
    virtual float getGroundIrradiance() const = 0;

    /// Samples per point in force: at least 1, and 1 below 4.
    unsigned getNumSamples() const { return numSamples; }
    bool isImportanceSampled() const { return isSampled; }
    /// A world direction in the environment's own frame, z up.
    znRTVector3fPacket toEnvironment(const znRTVector3fPacket& direction) const;
    znRTVector3fPacket toWorld(const znRTVector3fPacket& direction) const;
    /// Place of a world direction in the image.
    znRTVector2fPacket getCoordinates(const znRTVector3fPacket& direction) const;

protected:
    explicit znRTInfiniteBaseShape(const znRTTypeId& typeId);

    /// Rotation, sample count and switches of an environment's record.
    void setCommonAttributes(const struct znRTEnvironmentAttributes& record);

    /// Axes of the environment in world space: the rows of the way into it. The columns of the way
    /// back are the same.
    znRTVector3fPacket worldToEnvironment[3];
    bool useRotation = false, isSampled = true;
    unsigned numSamples = 1;
};
