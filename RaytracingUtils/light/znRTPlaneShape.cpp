#include "light/znRTPlaneShape.h"

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
