#include "light/znRTDiskShape.h"

#include "brdf/lobeSampling.h"

const znRTTypeId znRTDiskShape::id("znRTDiskShape");

znRTDiskShape::znRTDiskShape(float newRadiusU, float newRadiusV)
    : znRTFlatShape(id, newRadiusU, newRadiusV)
{
    setTransform(osg::Matrix());
}

float znRTDiskShape::getAreaShare() const
{
    return 0.25f * lobeMath::pi;
}

znRTVector2fPacket znRTDiskShape::mapUniform(const znRTVector2fPacket& u) const
{
    return lobeSampling::concentricDisk(u);
}

znFloatType<2> znRTDiskShape::contains(const znRTVector2fPacket& p) const
{
    return p.getSquareLength() <= znFloatType<2>(1.0f);
}
