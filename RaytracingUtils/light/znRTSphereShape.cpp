#include "light/znRTSphereShape.h"

#include "light/directionMaps.h"
#include "light/shapeSampling.h"
#include "texture/znRTTextureFunctions.h"

#include <cmath>

const znRTTypeId znRTSphereShape::id("znRTSphereShape");

namespace {

osg::Vec3f spanOf(const osg::TransformationMatrix<float>& toWorld, int axis)
{
    return {toWorld[axis][0], toWorld[axis][1], toWorld[axis][2]};
}

} // namespace

znRTSphereShape::znRTSphereShape(float newRadius)
    : znRTShape(id), radius(newRadius), ownRadius(newRadius)
{
    setTransform(osg::Matrix());
}

void znRTSphereShape::setTransform(const osg::TransformationMatrix<float>& toWorld)
{
    const osg::Vec3f place = toWorld.getTranslation();
    centre = {place[0], place[1], place[2]};
    centrePacket = znRTVector3fPacket(centre);
    float lengths = 0.0f;
    for (int i = 0; i < 3; ++i) {
        const osg::Vec3f span = spanOf(toWorld, i);
        const znRTVector3f axis(span[0], span[1], span[2]);
        const float length = axis.getLength();
        lengths += length;
        axes[i] = znRTVector3fPacket(length > 0.0f ? axis * (1.0f / length) : axis);
    }
    radius = ownRadius * lengths / 3.0f;
    area = 4.0f * lobeMath::pi * radius * radius;
}

znRTShapePoint znRTSphereShape::pointAt(const znRTVector3fPacket& outward,
                                        const znFloatType<2>& pdf) const
{
    znRTShapePoint point;
    point.position = centrePacket + outward * znFloatType<2>(radius);
    point.normal = outward;
    point.uv = {0.0f, 0.0f};
    if (textureSampler || distributionCount != 0) {
        // u counts from y towards x, as environments do.
        const znRTVector3fPacket turned[3] = {axes[1], axes[0], axes[2]};
        point.uv = directionToPolar(turned, outward);
    }
    point.pdf = pdf;
    return point;
}

znRTVector2fPacket znRTSphereShape::getTextureCoordinates(const znRTVector3fPacket& point) const
{
    const znRTVector3fPacket turned[3] = {axes[1], axes[0], axes[2]};
    return directionToPolar(turned, (point - centrePacket).getNormalized());
}

znFloatType<2> znRTSphereShape::guidedPdf(const znRTVector2fPacket& uv) const
{
    // A piece du dv of the table is 2 pi^2 r^2 sin(theta) of the surface.
    znFloatType<2> sine, cosine;
    sincos(uv.y * lobeMath::pi, sine, cosine);
    constexpr float twoPiSquared = 2.0f * lobeMath::pi * lobeMath::pi;
    return znRTTextureFunctions::remapPdf(*textureDistribution, uv, znFloatType<2>::allLanes()) *
           reciprocalOrZero(maximum(sine, 0.0f) * (twoPiSquared * radius * radius));
}

void znRTSphereShape::samplePoint(znFloatType<2>& mask, const znFloatType<2>& u,
                                  const znFloatType<2>& v, znRTShapePoint& point) const
{
    if (distributionCount == 0) {
        const znFloatType<2> z = znFloatType<2>(1.0f) - (v + v);
        point = pointAt(lobeSampling::fromPolar(z, u), znFloatType<2>(1.0f / area) & mask);
        return;
    }
    znRTVector2fPacket uv;
    znFloatType<2> density;
    uv = znRTTextureFunctions::remapSample(*textureDistribution, {u, v}, density, mask);
    const znRTVector3fPacket turned[3] = {axes[1], axes[0], axes[2]};
    znFloatType<2> sinTheta;
    point = pointAt(polarToDirection(turned, uv, sinTheta), 0.0f);
    point.uv = uv;
    point.pdf = guidedPdf(uv) & mask;
}

znFloatType<2> znRTSphereShape::subtendedHeight(const znRTVector3fPacket& origin,
                                                znFloatType<2>& distance2,
                                                znFloatType<2>& outside) const
{
    const znFloatType<2> one(1.0f);
    const float radius2 = radius * radius;
    distance2 = (centrePacket - origin).getSquareLength();
    outside = distance2 > znFloatType<2>(radius2);
    const znFloatType<2> sine2 = minimum(reciprocalOrZero(distance2) * radius2, one);
    // 1 - cos without the difference, which would lose all digits for distant spheres.
    return sine2 / (one + squareRoot(one - sine2));
}

void znRTSphereShape::samplePointFromOrigin(const znRTVector3fPacket& origin, znFloatType<2>& mask,
                                            const znRTVector2fPacket& u,
                                            znRTShapePoint& point) const
{
    if (distributionCount != 0) {
        samplePoint(mask, u.x, u.y, point);
        return;
    }
    znFloatType<2> distance2, outside;
    const znFloatType<2> height = subtendedHeight(origin, distance2, outside);
    // Lanes inside, and those off the mask, take any point of the sphere.
    if (everyLane(mask & outside))
        point = pointAt(znRTVector3fPacket(0.0f, 0.0f, 1.0f), 0.0f);
    else
        samplePoint(mask, u.x, u.y, point);
    outside &= mask;
    if (!anyLane(outside))
        return;

    const znFloatType<2> one(1.0f), zero(0.0f);
    const znFloatType<2> below = u.y * height; // 1 - cos of the angle to the axis
    const znFloatType<2> sine2 = below * (znFloatType<2>(2.0f) - below);
    const znFloatType<2> sine = squareRoot(sine2), cosine = one - below;
    znFloatType<2> sinPhi, cosPhi;
    sincos(u.x * lobeMath::twoPi, sinPhi, cosPhi);
    // sincos leaves the circle a little: back on it, or the cone would have no sharp rim.
    const znFloatType<2> onCircle = reciprocalSquareRoot(sinPhi * sinPhi + cosPhi * cosPhi);
    znRTONB frame;
    frame.set((centrePacket - origin).getNormalized());

    // Where the ray at this angle meets the sphere, seen from the centre (M. Pharr, W. Jakob,
    // G. Humphreys, "Physically Based Rendering", 3rd ed., 14.2.2): the root is 0 where rounding
    // makes the ray miss, which leaves the nearest point.
    const znFloatType<2> distance = squareRoot(distance2);
    const znFloatType<2> root =
        squareRoot(maximum(znFloatType<2>(radius * radius) - distance2 * sine2, zero));
    const znFloatType<2> t = distance * cosine - root;
    const znFloatType<2> across = t * sine * onCircle;
    const znRTVector3fPacket fromCentre = frame.u * (across * cosPhi) +
                                          frame.v * (across * sinPhi) +
                                          frame.n * (t * cosine - distance);
    const znRTShapePoint seen = pointAt(fromCentre.getNormalized(), 0.0f);
    point.position.setMasked(seen.position, outside);
    point.normal.setMasked(seen.normal, outside);
    point.uv.setMasked(seen.uv, outside);
    // The density per area that goes with the cone's, for those who ask for it.
    const znFloatType<2> facing = maximum(dot(origin - seen.position, seen.normal), zero);
    const znFloatType<2> length2 = (origin - seen.position).getSquareLength();
    const znFloatType<2> areaPdf = facing * reciprocalOrZero(length2 * squareRoot(length2)) *
                                   reciprocalOrZero(height * lobeMath::twoPi);
    point.pdf = select(outside, areaPdf, point.pdf);
}

znFloatType<2> znRTSphereShape::getPdf(const znRTVector3fPacket& origin,
                                       const znRTVector3fPacket& point,
                                       const znRTVector3fPacket& normal,
                                       const znFloatType<2>& areaPdf,
                                       const znFloatType<2>& mask) const
{
    znFloatType<2> distance2, outside;
    const znFloatType<2> height = subtendedHeight(origin, distance2, outside);
    const znFloatType<2> byArea =
        select(outside, toSolidAngle(origin, point, normal, areaPdf, false),
               toSolidAngle(origin, point, normal, areaPdf, true));
    if (distributionCount != 0)
        return byArea & mask;
    const znFloatType<2> byCone = reciprocalOrZero(height * lobeMath::twoPi);
    return select(outside, byCone, byArea) & mask;
}

znRTColorPacket znRTSphereShape::sampleForLight(const znRTVector2fPacket& u,
                                                const znRTVector2fPacket& v,
                                                const znFloatType<2>& mask, int flag,
                                                znRTShapeEmission& emission) const
{
    znFloatType<2> active = mask;
    samplePoint(active, u.x, u.y, emission);
    znFloatType<2> directionPdf;
    emission.direction = drawAboutNormal(emission.normal, v, flag, directionPdf);
    emission.rayPdf = emission.pdf * directionPdf & active;
    return znRTColorPacket(1.0f) & active;
}

znFloatType<2> znRTSphereShape::intersectOrEvaluate(const znRTVector3fPacket& origin,
                                                    const znRTVector3fPacket& direction,
                                                    const znFloatType<2>& mask, znFloatType<2>& t,
                                                    znRTShapePoint& point) const
{
    const znFloatType<2> zero(0.0f);
    const znRTVector3fPacket toCentre = centrePacket - origin;
    const znFloatType<2> along = dot(toCentre, direction);
    // Squared distance of the ray from the centre, by the part across the ray: the difference of
    // squares would lose it far away.
    const znFloatType<2> offset2 = (toCentre - direction * along).getSquareLength();
    const znFloatType<2> disc = znFloatType<2>(radius * radius) - offset2;
    const znFloatType<2> root = squareRoot(maximum(disc, zero));
    const znFloatType<2> near = along - root;
    t = select(near > zero, near, along + root);
    const znFloatType<2> found = mask & (disc > zero) & (t > zero);
    point =
        pointAt((direction * t - toCentre).getNormalized(), znFloatType<2>(1.0f / area) & found);
    if (distributionCount != 0)
        point.pdf = guidedPdf(point.uv) & found;
    return found;
}

znRTBoundingBox znRTSphereShape::getBoundingBoxInner() const
{
    return {{-ownRadius, -ownRadius, -ownRadius}, {ownRadius, ownRadius, ownRadius}};
}

znRTBoundingBox znRTSphereShape::getBoundingBox() const
{
    const znRTVector3f extent(radius, radius, radius);
    return {centre - extent, centre + extent};
}

znFloatType<2> znRTSphereShape::cullLight(const znRTVector3fPacket& position,
                                          const znRTVector3fPacket& normal,
                                          const znFloatType<2>& mask) const
{
    return mask & (dot(centrePacket - position, normal) > znFloatType<2>(-radius));
}

znRTVector3f znRTSphereShape::getAveragePoint(const znRTVector3f&) const
{
    return centre;
}
