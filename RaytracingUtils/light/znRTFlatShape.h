#pragma once

// What a disk and a rectangle share: a flat shape about a centre with two half axes, emitting on
// one side. Texture coordinates run from 0 to 1 over the rectangle of the half axes.

#include "light/znRTShape.h"

class znRTFlatShape : public znRTShape
{
public:
    static constexpr int cornerCount = 4;

    void setTransform(const osg::TransformationMatrix<float>& toWorld) override;
    bool isValid() const override { return area > 0.0f; }
    void samplePoint(znFloatType<2>& mask, const znFloatType<2>& u, const znFloatType<2>& v,
                     znRTShapePoint& point) const override;
    znRTColorPacket sampleForLight(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                   const znFloatType<2>& mask, int flag,
                                   znRTShapeEmission& emission) const override;
    znFloatType<2> getPdf(const znRTVector3fPacket& origin, const znRTVector3fPacket& point,
                          const znRTVector3fPacket& pointNormal, const znFloatType<2>& areaPdf,
                          const znFloatType<2>& mask) const override;
    float getArea() const override { return area; }
    znFloatType<2> intersectOrEvaluate(const znRTVector3fPacket& origin,
                                       const znRTVector3fPacket& direction,
                                       const znFloatType<2>& mask, znFloatType<2>& t,
                                       znRTShapePoint& point) const override;
    znRTBoundingBox getBoundingBoxInner() const override;
    znRTBoundingBox getBoundingBox() const override;
    znFloatType<2> cullLight(const znRTVector3fPacket& position, const znRTVector3fPacket& normal,
                             const znFloatType<2>& mask) const override;
    znRTVector3f getAveragePoint(const znRTVector3f& point) const override;

    /// Texture coordinates of a world point.
    znRTVector2fPacket getTextureCoordinates(const znRTVector3fPacket& point) const;
    const znRTVector3f& getNormal() const { return normal; }

protected:
    /// @param newRadiusU, newRadiusV  half axes in the light's own frame
    znRTFlatShape(const znRTTypeId& typeId, float newRadiusU, float newRadiusV);

    /// World area over that of the rectangle of the half axes.
    virtual float getAreaShare() const = 0;
    /// Point on the shape in half axes, uniform.
    virtual znRTVector2fPacket mapUniform(const znRTVector2fPacket& u) const = 0;
    /// Lanes whose point, in half axes, lies on the shape.
    virtual znFloatType<2> contains(const znRTVector2fPacket& p) const = 0;
    /// @param p    in half axes
    /// @param pdf  of the point, per area
    znRTShapePoint pointAt(const znRTVector2fPacket& p, const znFloatType<2>& pdf) const;

    znRTVector3f centre;
    znRTVector3f axisU{1, 0, 0}, axisV{0, 1, 0}; ///< unit, world
    znRTVector3f normal{0, 0, -1};               ///< unit, world
    float radiusU, radiusV;                      ///< world, after setTransform
    float area = 0.0f, invArea = 0.0f;
    /// Per corner the position and the half axes that it lies at, u and v and 0.
    float cornerPoints[cornerCount][6] = {};
    znRTVector3fPacket centrePacket, axisUPacket, axisVPacket, normalPacket;

private:
    znFloatType<2> guidedPdf(const znRTVector2fPacket& uv, const znFloatType<2>& mask) const;

    float halfU, halfV;                                ///< half axes in the light's own frame
    znRTVector3f stretchU{1, 0, 0}, stretchV{0, 1, 0}; ///< rows that give half axes of an offset
};
