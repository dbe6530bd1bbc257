#include "light/znRTShape.h"

#include "brdf/lobeMath.h"
#include "host/znDistribution2D.h"

znRTShape::~znRTShape() = default;

void znRTShape::setTransform(const osg::TransformationMatrix<float>&) {}

void znRTShape::setTextureSampler(const znRTSampler2D* sampler,
                                  const znDistribution2D* distribution)
{
    textureSampler = sampler;
    textureDistribution = distribution && distribution->isValid() ? distribution : nullptr;
    distributionCount = textureDistribution ? unsigned(textureDistribution->getWidth()) *
                                                  unsigned(textureDistribution->getHeight())
                                            : 0;
}

void znRTShape::samplePointFromOrigin(const znRTVector3fPacket&, znFloatType<2>& mask,
                                      const znRTVector2fPacket& u, znRTShapePoint& point) const
{
    samplePoint(mask, u.x, u.y, point);
}

void znRTShape::samplePointCentre(znFloatType<2>& mask, znRTShapePoint& point) const
{
    samplePoint(mask, 0.5f, 0.5f, point);
}

znFloatType<2> znRTShape::getPdf(const znRTVector3fPacket&, const znRTVector3fPacket&,
                                 const znRTVector3fPacket&, const znFloatType<2>&,
                                 const znFloatType<2>& mask) const
{
    return znFloatType<2>(lobeMath::invPi) & mask;
}

znFloatType<2> znRTShape::cullLight(const znRTVector3fPacket&, const znRTVector3fPacket&,
                                    const znFloatType<2>& mask) const
{
    return mask;
}

znRTVector3f znRTShape::getDirection(const znRTVector3f& from, const znRTVector3f& to) const
{
    const znRTVector3f towards = to - from;
    return towards * reciprocalSquareRoot(towards.getSquareLength())[0];
}

znRTVector3fPacket znRTShape::getLightVector(const znRTVector3fPacket& from,
                                             const znRTVector3fPacket& to) const
{
    return (to - from).getNormalized();
}

znFloatType<2> znRTShape::toSolidAngle(const znRTVector3fPacket& origin,
                                       const znRTVector3fPacket& point,
                                       const znRTVector3fPacket& normal,
                                       const znFloatType<2>& areaPdf, bool twoSided)
{
    const znRTVector3fPacket back = origin - point;
    const znFloatType<2> square = back.getSquareLength();
    const znFloatType<2> distance = squareRoot(square);
    // cos = (back . normal) / d, so that d^2 / cos = d^3 / (back . normal).
    const znFloatType<2> facing = dot(back, normal);
    const znFloatType<2> height = twoSided ? absolute(facing) : maximum(facing, 0.0f);
    return square * distance * areaPdf * reciprocalOrZero(height);
}
