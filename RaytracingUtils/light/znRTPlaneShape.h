#pragma once

// A rectangle. From near by its points can be drawn by the solid angle that they cover: evenly by
// area, those in front of a point that all but touches it would be found too seldom for the light
// that they bring.

#include "light/znRTFlatShape.h"

class znRTPlaneShape : public znRTFlatShape
{
public:
    static const znRTTypeId id;

    /// @param halfExtentU, halfExtentV  in the light's own frame
    znRTPlaneShape(float halfExtentU, float halfExtentV);

    /// For lights whose light falls off with the solid angle. Sheared rectangles, those that a
    /// texture guides and those far away are drawn by area all the same.
    void setDrawnByAngle(bool isDrawnByAngle) { byAngle = isDrawnByAngle; }
    void samplePointFromOrigin(const znRTVector3fPacket& origin, znFloatType<2>& mask,
                               const znRTVector2fPacket& u, znRTShapePoint& point) const override;
    znFloatType<2> intersectOrEvaluate(const znRTVector3fPacket& origin,
                                       const znRTVector3fPacket& direction,
                                       const znFloatType<2>& mask, znFloatType<2>& t,
                                       znRTShapePoint& point) const override;

protected:
    float getAreaShare() const override { return 1.0f; }
    znRTVector2fPacket mapUniform(const znRTVector2fPacket& u) const override;
    znFloatType<2> contains(const znRTVector2fPacket& p) const override;

private:
    struct View;

    bool isDrawnByAngle() const;
    /// Density per area of points that are drawn evenly by solid angle.
    znFloatType<2> pdfByAngle(const znRTVector3fPacket& origin, const View& view,
                              const znRTVector3fPacket& position) const;

    bool byAngle = false;
};
