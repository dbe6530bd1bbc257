#include "light/znRTPlaneShape.h"

#include "light/sphericalRectangle.h"

#include <cmath>

const znRTTypeId znRTPlaneShape::id("znRTPlaneShape");

znRTPlaneShape::znRTPlaneShape(float halfExtentU, float halfExtentV)
    : znRTFlatShape(id, halfExtentU, halfExtentV)
{
    setTransform(osg::Matrix());
}

znRTVector2fPacket znRTPlaneShape::mapUniform(const znRTVector2fPacket& u) const
{
    return {u.x + u.x - 1.0f, u.y + u.y - 1.0f};
}

znFloatType<2> znRTPlaneShape::contains(const znRTVector2fPacket& p) const
{
    const znFloatType<2> one(1.0f);
    return (absolute(p.x) <= one) & (absolute(p.y) <= one);
}

/// The rectangle as an illuminated point sees it.
struct znRTPlaneShape::View : znAlignedBase16
{
    View(const znRTPlaneShape& shape, const znRTVector3fPacket& origin)
        : toCentre(shape.centrePacket - origin), x(dot(toCentre, shape.axisUPacket)),
          y(dot(toCentre, shape.axisVPacket)), height(-dot(toCentre, shape.normalPacket)),
          rectangle(x - shape.radiusU, x + shape.radiusU, y - shape.radiusV, y + shape.radiusV,
                    maximum(absolute(height), 1e-18f))
    {
        const znFloatType<2> zero(0.0f);
        const znFloatType<2> besideX = maximum(absolute(x) - shape.radiusU, zero);
        const znFloatType<2> besideY = maximum(absolute(y) - shape.radiusV, zero);
        const znFloatType<2> nearest2 = besideX * besideX + besideY * besideY + height * height;
        const float diagonal2 =
            4.0f * (shape.radiusU * shape.radiusU + shape.radiusV * shape.radiusV);
        // Farther away the two ways of drawing differ little, and small angles have few digits.
        constexpr float leastAngle = 0.02f;
        isNear = (nearest2 < znFloatType<2>(diagonal2)) & (height > zero) &
                 (rectangle.getSolidAngle() > znFloatType<2>(leastAngle));
    }

    znRTVector3fPacket toCentre;
    znFloatType<2> x, y;   ///< of the centre, along the axes
    znFloatType<2> height; ///< of the origin over the side that emits
    znRTSphericalRectangle rectangle;
    znFloatType<2> isNear; ///< lanes that draw by angle
};

bool znRTPlaneShape::isDrawnByAngle() const
{
    constexpr float mostShear = 1e-5f;
    return byAngle && distributionCount == 0 && std::abs(dot(axisU, axisV)) < mostShear;
}

znFloatType<2> znRTPlaneShape::pdfByAngle(const znRTVector3fPacket& origin, const View& view,
                                          const znRTVector3fPacket& position) const
{
    const znFloatType<2> square = (position - origin).getSquareLength();
    return view.height *
           reciprocalOrZero(square * squareRoot(square) * view.rectangle.getSolidAngle());
}

void znRTPlaneShape::samplePointFromOrigin(const znRTVector3fPacket& origin, znFloatType<2>& mask,
                                           const znRTVector2fPacket& u, znRTShapePoint& point) const
{
    samplePoint(mask, u.x, u.y, point);
    if (!isDrawnByAngle())
        return;
    const View view(*this, origin);
    const znFloatType<2> lanes = view.isNear & mask;
    if (!anyLane(lanes))
        return;
    const znRTVector2fPacket place = view.rectangle.draw(u);
    const znRTShapePoint drawn =
        pointAt({(place.x - view.x) * (1.0f / radiusU), (place.y - view.y) * (1.0f / radiusV)},
                znFloatType<2>(0.0f));
    point.position.setMasked(drawn.position, lanes);
    point.uv.setMasked(drawn.uv, lanes);
    point.pdf = select(lanes, pdfByAngle(origin, view, drawn.position), point.pdf);
}

znFloatType<2> znRTPlaneShape::intersectOrEvaluate(const znRTVector3fPacket& origin,
                                                   const znRTVector3fPacket& direction,
                                                   const znFloatType<2>& mask, znFloatType<2>& t,
                                                   znRTShapePoint& point) const
{
    const znFloatType<2> found =
        znRTFlatShape::intersectOrEvaluate(origin, direction, mask, t, point);
    if (!isDrawnByAngle() || !anyLane(found))
        return found;
    const View view(*this, origin);
    point.pdf = select(view.isNear & found, pdfByAngle(origin, view, point.position), point.pdf);
    return found;
}
