#include "light/znRTFlatShape.h"

#include "light/shapeSampling.h"
#include "texture/znRTTextureFunctions.h"

#include <cmath>

namespace {

constexpr float cornerSigns[znRTFlatShape::cornerCount][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};

znRTVector3f axisOf(const osg::TransformationMatrix<float>& toWorld, const osg::Vec3f& axis)
{
    const osg::Vec3f world = toWorld.multMatrixVec(axis);
    return {world[0], world[1], world[2]};
}

znRTVector3f unitOrZero(const znRTVector3f& a)
{
    const float length = a.getLength();
    return length > 0.0f ? a * (1.0f / length) : znRTVector3f();
}

} // namespace

znRTFlatShape::znRTFlatShape(const znRTTypeId& typeId, float newRadiusU, float newRadiusV)
    : znRTShape(typeId), radiusU(newRadiusU), radiusV(newRadiusV), halfU(newRadiusU),
      halfV(newRadiusV)
{
}

void znRTFlatShape::setTransform(const osg::TransformationMatrix<float>& toWorld)
{
    const osg::Vec3f place = toWorld.getTranslation();
    centre = {place[0], place[1], place[2]};
    const znRTVector3f spanU = axisOf(toWorld, {1, 0, 0}) * halfU;
    const znRTVector3f spanV = axisOf(toWorld, {0, 1, 0}) * halfV;
    radiusU = spanU.getLength();
    radiusV = spanV.getLength();
    axisU = unitOrZero(spanU);
    axisV = unitOrZero(spanV);
    // Of the plane of both axes, on the side of the light's -z also where the transform is sheared.
    const znRTVector3f across = cross(spanV, spanU);
    normal = unitOrZero(across);
    if (dot(normal, axisOf(toWorld, {0, 0, -1})) < 0.0f)
        normal = -normal;
    area = 4.0f * across.getLength() * getAreaShare();
    invArea = area > 0.0f ? 1.0f / area : 0.0f;

    // An offset in the plane is a spanU + b spanV: a = offset . stretchU, b = offset . stretchV.
    const znRTVector3f toU = cross(spanV, across), toV = cross(across, spanU);
    const float overU = dot(toU, spanU), overV = dot(toV, spanV);
    stretchU = overU != 0.0f ? toU * (1.0f / overU) : znRTVector3f();
    stretchV = overV != 0.0f ? toV * (1.0f / overV) : znRTVector3f();

    for (int i = 0; i < cornerCount; ++i) {
        const float a = cornerSigns[i][0], b = cornerSigns[i][1];
        const znRTVector3f corner = centre + spanU * a + spanV * b;
        const float values[6] = {corner.x, corner.y, corner.z, a * radiusU, b * radiusV, 0.0f};
        std::copy(values, values + 6, cornerPoints[i]);
    }
    centrePacket = znRTVector3fPacket(centre);
    axisUPacket = znRTVector3fPacket(axisU);
    axisVPacket = znRTVector3fPacket(axisV);
    normalPacket = znRTVector3fPacket(normal);
}

znRTShapePoint znRTFlatShape::pointAt(const znRTVector2fPacket& p, const znFloatType<2>& pdf) const
{
    znRTShapePoint point;
    point.position = centrePacket + axisUPacket * (p.x * radiusU) + axisVPacket * (p.y * radiusV);
    point.normal = normalPacket;
    point.uv = {p.x * 0.5f + 0.5f, p.y * 0.5f + 0.5f};
    point.pdf = pdf;
    return point;
}

znFloatType<2> znRTFlatShape::guidedPdf(const znRTVector2fPacket& uv,
                                        const znFloatType<2>& mask) const
{
    // The table covers the rectangle of the half axes, also where the shape leaves some of it out.
    return znRTTextureFunctions::remapPdf(*textureDistribution, uv, mask) *
           (invArea * getAreaShare());
}

void znRTFlatShape::samplePoint(znFloatType<2>& mask, const znFloatType<2>& u,
                                const znFloatType<2>& v, znRTShapePoint& point) const
{
    if (distributionCount == 0) {
        point = pointAt(mapUniform({u, v}), znFloatType<2>(invArea) & mask);
        return;
    }
    znRTVector2fPacket uv;
    znFloatType<2> density;
    uv = znRTTextureFunctions::remapSample(*textureDistribution, {u, v}, density, mask);
    const znRTVector2fPacket p(uv.x + uv.x - 1.0f, uv.y + uv.y - 1.0f);
    mask &= contains(p);
    point = pointAt(p, density * (invArea * getAreaShare()) & mask);
    point.uv = uv;
}

znRTColorPacket znRTFlatShape::sampleForLight(const znRTVector2fPacket& u,
                                              const znRTVector2fPacket& v,
                                              const znFloatType<2>& mask, int flag,
                                              znRTShapeEmission& emission) const
{
    znFloatType<2> active = mask;
    samplePoint(active, u.x, u.y, emission);
    znFloatType<2> directionPdf;
    emission.direction = drawAboutNormal(normalPacket, v, flag, directionPdf);
    emission.rayPdf = emission.pdf * directionPdf & active;
    return znRTColorPacket(1.0f) & active;
}

znFloatType<2> znRTFlatShape::getPdf(const znRTVector3fPacket& origin,
                                     const znRTVector3fPacket& point,
                                     const znRTVector3fPacket& pointNormal,
                                     const znFloatType<2>& areaPdf,
                                     const znFloatType<2>& mask) const
{
    return toSolidAngle(origin, point, pointNormal, areaPdf, false) & mask;
}

znFloatType<2> znRTFlatShape::intersectOrEvaluate(const znRTVector3fPacket& origin,
                                                  const znRTVector3fPacket& direction,
                                                  const znFloatType<2>& mask, znFloatType<2>& t,
                                                  znRTShapePoint& point) const
{
    const znFloatType<2> zero(0.0f);
    const znFloatType<2> approach = -dot(direction, normalPacket);
    const znFloatType<2> height = dot(origin - centrePacket, normalPacket);
    t = height * reciprocalOrZero(approach);
    const znRTVector3fPacket offset = origin + direction * t - centrePacket;
    const znRTVector2fPacket p(dot(offset, znRTVector3fPacket(stretchU)),
                               dot(offset, znRTVector3fPacket(stretchV)));
    const znFloatType<2> found = mask & (approach > zero) & (height > zero) & contains(p);
    point = pointAt(p, znFloatType<2>(invArea) & found);
    if (distributionCount != 0)
        point.pdf = guidedPdf(point.uv, found);
    return found;
}

znRTBoundingBox znRTFlatShape::getBoundingBoxInner() const
{
    return {{-halfU, -halfV, 0.0f}, {halfU, halfV, 0.0f}};
}

znRTBoundingBox znRTFlatShape::getBoundingBox() const
{
    znRTBoundingBox box;
    for (const auto& corner : cornerPoints)
        box.surround(znRTVector3f(corner[0], corner[1], corner[2]));
    return box;
}

znFloatType<2> znRTFlatShape::cullLight(const znRTVector3fPacket& position,
                                        const znRTVector3fPacket& surfaceNormal,
                                        const znFloatType<2>& mask) const
{
    const auto height = [&](const float* c) {
        return dot(znRTVector3fPacket(znFloatType<2>(c[0]) - position.x,
                                      znFloatType<2>(c[1]) - position.y,
                                      znFloatType<2>(c[2]) - position.z),
                   surfaceNormal);
    };
    const znFloatType<2> highest =
        maximum(maximum(height(cornerPoints[0]), height(cornerPoints[1])),
                maximum(height(cornerPoints[2]), height(cornerPoints[3])));
    return mask & (highest > znFloatType<2>(0.0f));
}

znRTVector3f znRTFlatShape::getAveragePoint(const znRTVector3f&) const
{
    return centre;
}

znRTVector2fPacket znRTFlatShape::getTextureCoordinates(const znRTVector3fPacket& point) const
{
    const znRTVector3fPacket offset = point - centrePacket;
    return {dot(offset, znRTVector3fPacket(stretchU)) * 0.5f + 0.5f,
            dot(offset, znRTVector3fPacket(stretchV)) * 0.5f + 0.5f};
}
