#include "light/znRTGeometryShape.h"

#include "host/znRTTextureSampler.h"
#include "light/shapeSampling.h"
#include "light/textureLookup.h"
#include "light/worldTriangles.h"

#include <algorithm>
#include <cmath>
#include <limits>

const znRTTypeId znRTGeometryShape::id("znRTGeometryShape");

namespace {

constexpr int backSide = 2;
/// Numbers have six digits: with more triangles some would never be drawn, so that three digits of
/// the other number refine the choice.
constexpr std::size_t manyTriangles = 100000;
constexpr float digits = 1000.0f;
constexpr float numberStep = 1e-6f;

/// Mean luminance of a texture on a triangle, by points spread over it (M. Roberts, "The
/// Unreasonable Effectiveness of Quasirandom Sequences", 2018, R2), one for some texels each.
float meanOnTriangle(const znRTTextureSampler& texture, const znRTVector2f& corner,
                     const znRTVector2f& edge1, const znRTVector2f& edge2)
{
    constexpr float texelsPerPoint = 16.0f;
    constexpr int mostPoints = 256;
    const float share = 0.5f * std::abs(edge1.x * edge2.y - edge1.y * edge2.x);
    const float texels = share * float(texture.getLevelWidth(0)) * float(texture.getLevelHeight(0));
    const int packets = texels < 4.0f * texelsPerPoint
                            ? 1
                            : int(std::min(texels / texelsPerPoint, float(mostPoints))) / 4;
    double sum = 0.0;
    for (int i = 0; i < packets; ++i) {
        znRTVector2fPacket uv(0.0f, 0.0f);
        for (int lane = 0; lane < 4; ++lane) {
            const double n = 4 * i + lane + 0.5;
            double a = n * 0.7548776662, b = n * 0.5698402910;
            a -= std::floor(a);
            b -= std::floor(b);
            if (a + b > 1.0) {
                a = 1.0 - a;
                b = 1.0 - b;
            }
            uv.setLane(lane, corner + edge1 * float(a) + edge2 * float(b));
        }
        const znFloatType<2> light =
            luminance(lookUpTexture(texture, uv, znFloatType<2>::allLanes()));
        for (int lane = 0; lane < 4; ++lane)
            sum += std::max(0.0f, light[lane]);
    }
    const double mean = sum / (4.0 * packets);
    return std::isfinite(mean) ? float(mean) : 0.0f;
}

} // namespace

void znRTGeometryShape::update(int newSideness, const znRTTextureSampler* emission)
{
    sideness = newSideness;
    triangles.clear();
    areaDistribution.clear();
    worldBox = znRTBoundingBox();
    totalArea = invTotalArea = 0.0f;
    if (!node || !node->isOfType(znRTMesh::id))
        return;
    std::vector<float> areas;
    readTriangles(static_cast<const znRTMesh&>(*node), areas);
    double sum = 0.0, x = 0.0, y = 0.0, z = 0.0;
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        const Triangle& t = triangles[i];
        const znRTVector3f middle = t.corner + (t.edge1 + t.edge2) * (1.0f / 3.0f);
        sum += areas[i];
        x += double(middle.x) * areas[i];
        y += double(middle.y) * areas[i];
        z += double(middle.z) * areas[i];
    }
    if (!(sum > 0.0) || !std::isfinite(sum))
        return;
    totalArea = float(sum);
    invTotalArea = float(1.0 / sum);
    centroid = {float(x / sum), float(y / sum), float(z / sum)};
    chooseBy(areas, emission);
}

void znRTGeometryShape::chooseBy(const std::vector<float>& areas,
                                 const znRTTextureSampler* emission)
{
    std::vector<float> light(areas.size(), 1.0f);
    double flux = 0.0;
    if (emission)
        for (std::size_t i = 0; i < areas.size(); ++i) {
            const Triangle& t = triangles[i];
            light[i] = meanOnTriangle(*emission, t.uv, t.uvEdge1, t.uvEdge2);
            flux += double(light[i]) * areas[i];
        }
    // A part is drawn evenly: the means are estimates, and no point may be left out.
    constexpr float evenShare = 0.1f;
    const bool isGuided = flux > 0.0 && std::isfinite(flux);
    const float scale = isGuided ? (1.0f - evenShare) * float(totalArea / flux) : 0.0f;
    const float even = isGuided ? evenShare : 1.0f;
    std::vector<float> weights(areas.size());
    for (std::size_t i = 0; i < areas.size(); ++i) {
        const float relative = even + scale * light[i];
        weights[i] = areas[i] * relative;
        triangles[i].pdf = invTotalArea * relative;
    }
    areaDistribution.setFunction(weights.data(), int(weights.size()));
}

void znRTGeometryShape::readTriangles(const znRTMesh& mesh, std::vector<float>& areas)
{
    // The front is that of the triangles as stored, also where the transform mirrors them.
    const float side = (mesh.getToWorldMatrix().determinant3x3() < 0.0f ? -1.0f : 1.0f) *
                       (sideness == backSide ? -1.0f : 1.0f);
    const bool hasUV = mesh.hasTextureCoordinates(0);
    forEachWorldTriangle(mesh, [&](const znRTVector3f(&corners)[3], const u32(&vertices)[3]) {
        Triangle t;
        t.corner = corners[0];
        t.edge1 = corners[1] - t.corner;
        t.edge2 = corners[2] - t.corner;
        const znRTVector3f across = cross(t.edge1, t.edge2);
        const float length = across.getLength();
        const bool isFlat = length > 0.0f && std::isfinite(length);
        t.normal = isFlat ? across * (side / length) : znRTVector3f(0, 0, 1);
        if (hasUV) {
            t.uv = mesh.getTextureCoordinate(0, vertices[0]);
            t.uvEdge1 = mesh.getTextureCoordinate(0, vertices[1]) - t.uv;
            t.uvEdge2 = mesh.getTextureCoordinate(0, vertices[2]) - t.uv;
        }
        triangles.push_back(t);
        areas.push_back(isFlat ? 0.5f * length : 0.0f);
        for (const znRTVector3f& corner : corners)
            worldBox.surround(corner);
    });
}

void znRTGeometryShape::setPoint(int lane, const Triangle& t, float b1, float b2,
                                 znRTShapePoint& point) const
{
    point.position.setLane(lane, t.corner + t.edge1 * b1 + t.edge2 * b2);
    point.normal.setLane(lane, t.normal);
    point.uv.setLane(lane, t.uv + t.uvEdge1 * b1 + t.uvEdge2 * b2);
    point.pdf.set(lane, t.pdf);
}

void znRTGeometryShape::drawPoint(int lane, float u, float v, znRTShapePoint& point) const
{
    if (triangles.size() > manyTriangles) {
        const float digit = std::floor(u * digits);
        v = std::clamp(v + (digit / digits - 0.5f) * numberStep, 0.0f, 1.0f);
        u = u * digits - digit;
    }
    float lower, upper;
    int index;
    areaDistribution.getCDFRange(v, lower, upper, index);
    const float rest = upper > lower ? std::clamp((v - lower) / (upper - lower), 0.0f, 1.0f) : 0.5f;
    const float root = std::sqrt(u);
    // Weights 1 - root, rest * root and what is left of the three corners.
    setPoint(lane, triangles[std::size_t(index)], rest * root, root * (1.0f - rest), point);
}

void znRTGeometryShape::samplePoint(znFloatType<2>& mask, const znFloatType<2>& u,
                                    const znFloatType<2>& v, znRTShapePoint& point) const
{
    if (!isValid())
        mask = znFloatType<2>::noLanes();
    point = {
        znRTVector3fPacket(centroid), znRTVector3fPacket(0.0f, 0.0f, 1.0f), {0.0f, 0.0f}, 0.0f};
    const int lanes = moveMask(mask);
    for (int lane = 0; lane < 4; ++lane)
        if ((lanes >> lane) & 1)
            drawPoint(lane, u[lane], v[lane], point);
}

znFloatType<2> znRTGeometryShape::getPdf(const znRTVector3fPacket& origin,
                                         const znRTVector3fPacket& point,
                                         const znRTVector3fPacket& normal,
                                         const znFloatType<2>& areaPdf,
                                         const znFloatType<2>& mask) const
{
    return toSolidAngle(origin, point, normal, areaPdf, isTwoSided()) & mask;
}

znRTColorPacket znRTGeometryShape::sampleForLight(const znRTVector2fPacket& u,
                                                  const znRTVector2fPacket& v,
                                                  const znFloatType<2>& mask, int flag,
                                                  znRTShapeEmission& emission) const
{
    znFloatType<2> active = mask;
    samplePoint(active, u.x, u.y, emission);
    znRTVector2fPacket pair = v;
    if (isTwoSided()) {
        // One bit of the number chooses the side; the rest is a number again.
        const znFloatType<2> isBack = v.y >= znFloatType<2>(0.5f);
        pair.y = clamp01(v.y + v.y - (isBack & znFloatType<2>(1.0f)));
        emission.normal = emission.normal ^ (isBack & znFloatType<2>(-0.0f));
    }
    znFloatType<2> directionPdf;
    emission.direction = drawAboutNormal(emission.normal, pair, flag, directionPdf);
    const float sideShare = isTwoSided() ? 0.5f : 1.0f;
    emission.rayPdf = emission.pdf * directionPdf * sideShare & active;
    return znRTColorPacket(1.0f) & active;
}

znFloatType<2> znRTGeometryShape::intersectOrEvaluate(const znRTVector3fPacket& origin,
                                                      const znRTVector3fPacket& direction,
                                                      const znFloatType<2>& mask, znFloatType<2>& t,
                                                      znRTShapePoint& point) const
{
    point = {
        znRTVector3fPacket(centroid), znRTVector3fPacket(0.0f, 0.0f, 1.0f), {0.0f, 0.0f}, 0.0f};
    t = std::numeric_limits<float>::max();
    return meetOneByOne(origin, direction, mask, t, point);
}

znFloatType<2> znRTGeometryShape::meetOneByOne(const znRTVector3fPacket& origin,
                                               const znRTVector3fPacket& direction,
                                               const znFloatType<2>& mask, znFloatType<2>& t,
                                               znRTShapePoint& point) const
{
    // T. Moeller, B. Trumbore, "Fast, Minimum Storage Ray/Triangle Intersection", Journal of
    // Graphics Tools 2(1), 1997.
    const znFloatType<2> zero(0.0f), one(1.0f);
    znFloatType<2> found = znFloatType<2>::noLanes();
    for (const Triangle& triangle : triangles) {
        const znRTVector3fPacket e1(triangle.edge1), e2(triangle.edge2);
        const znRTVector3fPacket p = cross(direction, e2);
        const znRTVector3fPacket toOrigin = origin - znRTVector3fPacket(triangle.corner);
        const znRTVector3fPacket q = cross(toOrigin, e1);
        const znFloatType<2> inverse = reciprocalOrZero(dot(e1, p));
        const znFloatType<2> b1 = dot(toOrigin, p) * inverse, b2 = dot(direction, q) * inverse;
        const znFloatType<2> distance = dot(e2, q) * inverse;
        const znFloatType<2> isFacing =
            isTwoSided() ? znFloatType<2>::allLanes()
                         : dot(direction, znRTVector3fPacket(triangle.normal)) < zero;
        const znFloatType<2> hit = mask & isFacing & (inverse != zero) & (b1 >= zero) &
                                   (b2 >= zero) & (b1 + b2 <= one) & (distance > zero) &
                                   (distance < t);
        const int lanes = moveMask(hit);
        for (int lane = 0; lane < 4; ++lane)
            if ((lanes >> lane) & 1)
                setPoint(lane, triangle, b1[lane], b2[lane], point);
        t = select(hit, distance, t);
        found |= hit;
    }
    return found;
}

znRTBoundingBox znRTGeometryShape::getBoundingBoxInner() const
{
    return node && node->getSharedVolume() ? node->getSharedVolume()->localVolume
                                           : znRTBoundingBox();
}

znFloatType<2> znRTGeometryShape::cullLight(const znRTVector3fPacket& position,
                                            const znRTVector3fPacket& normal,
                                            const znFloatType<2>& mask) const
{
    // Of the box, the corner farthest along the normal is the one that may be above the horizon.
    const znFloatType<2> zero(0.0f);
    znFloatType<2> height(0.0f);
    for (int axis = 0; axis < 3; ++axis)
        height +=
            normal[axis] *
            (select(normal[axis] > zero, worldBox.high(axis), worldBox.low(axis)) - position[axis]);
    return mask & (height > zero);
}

znRTVector3f znRTGeometryShape::getAveragePoint(const znRTVector3f&) const
{
    return centroid;
}
