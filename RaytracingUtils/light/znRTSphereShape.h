#pragma once

// A sphere that emits outwards, and from inside also inwards. Points for an illuminated position
// outside come from the cone that the sphere subtends (P. Shirley, C. Wang, K. Zimmerman, "Monte
// Carlo Techniques for Direct Lighting Calculations", ACM Transactions on Graphics 15(1), 1996,
// 3.2.2), so that all of them are seen. Texture coordinates are longitude and polar angle in the
// light's frame: u = atan2(x, y) / 2 pi, v = acos(z) / pi.

#include "light/znRTShape.h"

class znRTSphereShape : public znRTShape
{
public:
    static const znRTTypeId id;

    /// @param newRadius  in the light's own frame; a stretched sphere counts as one with the mean
    /// of
    ///                   its three radii
    explicit znRTSphereShape(float newRadius);

    void setTransform(const osg::TransformationMatrix<float>& toWorld) override;
    bool isValid() const override { return area > 0.0f; }
    void samplePoint(znFloatType<2>& mask, const znFloatType<2>& u, const znFloatType<2>& v,
                     znRTShapePoint& point) const override;
    void samplePointFromOrigin(const znRTVector3fPacket& origin, znFloatType<2>& mask,
                               const znRTVector2fPacket& u, znRTShapePoint& point) const override;
    znRTColorPacket sampleForLight(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                   const znFloatType<2>& mask, int flag,
                                   znRTShapeEmission& emission) const override;
    znFloatType<2> getPdf(const znRTVector3fPacket& origin, const znRTVector3fPacket& point,
                          const znRTVector3fPacket& normal, const znFloatType<2>& areaPdf,
                          const znFloatType<2>& mask) const override;
    float getArea() const override { return area; }
    znFloatType<2> intersectOrEvaluate(const znRTVector3fPacket& origin,
                                       const znRTVector3fPacket& direction,
                                       const znFloatType<2>& mask, znFloatType<2>& t,
                                       znRTShapePoint& point) const override;
    znRTBoundingBox getBoundingBoxInner() const override;
    znRTBoundingBox getBoundingBox() const override;
    /// Keeps lanes whose horizon the sphere reaches over.
    znFloatType<2> cullLight(const znRTVector3fPacket& position, const znRTVector3fPacket& normal,
                             const znFloatType<2>& mask) const override;
    znRTVector3f getAveragePoint(const znRTVector3f& point) const override;

    znRTVector2fPacket getTextureCoordinates(const znRTVector3fPacket& point) const;
    float getRadius() const { return radius; }

private:
    /// 1 - cos of half the angle that the sphere subtends; lanes inside it are left out of outside.
    znFloatType<2> subtendedHeight(const znRTVector3fPacket& origin, znFloatType<2>& distance2,
                                   znFloatType<2>& outside) const;
    znRTShapePoint pointAt(const znRTVector3fPacket& outward, const znFloatType<2>& pdf) const;
    znFloatType<2> guidedPdf(const znRTVector2fPacket& uv) const;

    znRTVector3f centre;
    float radius;
    float area = 0.0f;
    float ownRadius;
    znRTVector3fPacket centrePacket;
    znRTVector3fPacket axes[3]; ///< unit axes of the light, world
};
