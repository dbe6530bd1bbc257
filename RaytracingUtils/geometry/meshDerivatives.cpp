// Derivatives at hits on triangles: along the texture coordinates (u, v) and along the pixels of
// the image (x, y). Inside a triangle everything is linear in the barycentrics, so each derivative
// is a step of the barycentrics times the difference along the two edges.

#include "core/shadingRequirements.h"
#include "geometry/znRTMesh.h"

namespace {

/// Steps of the barycentrics u and v.
using Step = znRTVector2fPacket;

template <class T>
T along(const Step& step, const T& edge1, const T& edge2)
{
    return edge1 * step.x + edge2 * step.y;
}

} // namespace

znRTMesh::Edges znRTMesh::edgesOf(const Corners& corners) const
{
    const auto& [a, b, c] = corners.position;
    Edges edges;
    edges.position[0] = znRTVectorMath::transformAsDirection(b - a, m_toWorld);
    edges.position[1] = znRTVectorMath::transformAsDirection(c - a, m_toWorld);
    edges.uv[0] = edges.uv[1] = znRTVector2fPacket(0.0f, 0.0f);
    edges.alongU = Step(1.0f, 0.0f);
    edges.alongV = Step(0.0f, 1.0f);
    if (texCoords[0])
        setTexture(edges, corners.uv);
    return edges;
}

void znRTMesh::setTexture(Edges& edges, const znRTVector2fPacket (&uv)[3])
{
    const znRTVector2fPacket uv1 = uv[1] - uv[0], uv2 = uv[2] - uv[0];
    const znFloatType<2> determinant = uv1.x * uv2.y - uv1.y * uv2.x;
    const znFloatType<2> inverse = reciprocalOrZero(determinant);
    // Where the texture coordinates have no area, the barycentrics stand in.
    const znFloatType<2> hasArea = determinant != znFloatType<2>(0.0f);
    edges.uv[0] = uv1;
    edges.uv[1] = uv2;
    edges.alongU = select(hasArea, Step(uv2.y * inverse, -uv1.y * inverse), Step(1.0f, 0.0f));
    edges.alongV = select(hasArea, Step(-uv2.x * inverse, uv1.x * inverse), Step(0.0f, 1.0f));
}

/// Least squares along the two edges: exact for offsets in the plane of the triangle.
void znRTMesh::Edges::project(const znRTVector3fPacket& dPdx, const znRTVector3fPacket& dPdy,
                              znRTVector2fPacket& alongX, znRTVector2fPacket& alongY) const
{
    const znRTVector3fPacket &e1 = position[0], &e2 = position[1];
    const znFloatType<2> e11 = dot(e1, e1), e12 = dot(e1, e2), e22 = dot(e2, e2);
    const znFloatType<2> inverse = reciprocalOrZero(e11 * e22 - e12 * e12);
    const auto step = [&](const znRTVector3fPacket& offset) {
        const znFloatType<2> o1 = dot(offset, e1), o2 = dot(offset, e2);
        return Step((o1 * e22 - o2 * e12) * inverse, (o2 * e11 - o1 * e12) * inverse);
    };
    alongX = step(dPdx);
    alongY = step(dPdy);
}

void znRTMesh::fillDerivatives(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                               const Corners& corners, u32 requirements, u32 attributes) const
{
    const bool needsFootprint = requirements & shadingRequirement::footprint;
    const bool needsUVFootprint = needsFootprint || (attributes & vertexAttribute::vertexTangents);
    const bool needsNormals = requirements & shadingRequirement::derivatives;
    const bool needsTangents = needsNormals || (attributes & vertexAttribute::textureTangents);
    if (!needsUVFootprint && !needsTangents)
        return;

    const znFloatType<2> mask = expandLanes(corners.lanes);
    znRTVector3fPacket dPdx, dPdy;
    if (needsUVFootprint || needsNormals)
        data.getFootprint(ray, dPdx, dPdy);
    if (needsFootprint) {
        data.dg.dPdx.setMasked(dPdx, mask);
        data.dg.dPdy.setMasked(dPdy, mask);
    }
    // Rays that start here need no more; without coordinates there is nothing to step along.
    const bool hasSets = texCoords[0] || (attributes & vertexAttribute::textureCoordinates);
    if (!needsTangents && !hasSets) {
        data.dg.dUVdx.setMasked({0.0f, 0.0f}, mask);
        data.dg.dUVdy.setMasked({0.0f, 0.0f}, mask);
        return;
    }
    const Edges edges = edgesOf(corners);
    if (needsTangents)
        fillTextureTangents(data, edges, mask);
    if (!needsUVFootprint && !needsNormals)
        return;
    znRTVector2fPacket alongX, alongY;
    edges.project(dPdx, dPdy, alongX, alongY);
    if (needsUVFootprint)
        fillTextureFootprint(data, edges, alongX, alongY, mask);
    if (needsNormals)
        fillNormalDerivatives(data, corners, edges, alongX, alongY);
    if (attributes & vertexAttribute::textureCoordinates)
        fillFurtherSets(data, corners, edges, alongX, alongY);
}

void znRTMesh::fillFurtherSets(znRTDataBlockPacket& data, const Corners& corners,
                               const Edges& edges, const znRTVector2fPacket& alongX,
                               const znRTVector2fPacket& alongY) const
{
    const znFloatType<2> mask = expandLanes(corners.lanes);
    for (unsigned set = 1; set < s_textureSets; ++set) {
        znRTDataBlockPacket::TextureSetDerivatives& out = data.uvDerivatives[set];
        if (texCoords[set]) {
            Edges own = edges;
            setTexture(own, {gatherUV(set, corners, 0), gatherUV(set, corners, 1),
                             gatherUV(set, corners, 2)});
            out.dUVdx.setMasked(along(alongX, own.uv[0], own.uv[1]), mask);
            out.dUVdy.setMasked(along(alongY, own.uv[0], own.uv[1]), mask);
            out.dPdu.setMasked(along(own.alongU, own.position[0], own.position[1]), mask);
            out.dPdv.setMasked(along(own.alongV, own.position[0], own.position[1]), mask);
        } else if (corners.lanes != 15) {
            // Another lane's mesh may have the set, which makes it valid for all.
            out.dUVdx.setMasked({0.0f, 0.0f}, mask);
            out.dUVdy.setMasked({0.0f, 0.0f}, mask);
            out.dPdu.setMasked(data.dg.dPdu, mask);
            out.dPdv.setMasked(data.dg.dPdv, mask);
        }
    }
}

void znRTMesh::fillTextureTangents(znRTDataBlockPacket& data, const Edges& edges,
                                   const znFloatType<2>& mask) const
{
    data.dg.dPdu.setMasked(along(edges.alongU, edges.position[0], edges.position[1]), mask);
    data.dg.dPdv.setMasked(along(edges.alongV, edges.position[0], edges.position[1]), mask);
}

void znRTMesh::fillTextureFootprint(znRTDataBlockPacket& data, const Edges& edges,
                                    const znRTVector2fPacket& alongX,
                                    const znRTVector2fPacket& alongY,
                                    const znFloatType<2>& mask) const
{
    data.dg.dUVdx.setMasked(along(alongX, edges.uv[0], edges.uv[1]), mask);
    data.dg.dUVdy.setMasked(along(alongY, edges.uv[0], edges.uv[1]), mask);
}

void znRTMesh::fillNormalDerivatives(znRTDataBlockPacket& data, const Corners& corners,
                                     const Edges& edges, const znRTVector2fPacket& alongX,
                                     const znRTVector2fPacket& alongY) const
{
    const znFloatType<2> mask = expandLanes(corners.lanes);
    const znRTVector3fPacket zero(0.0f, 0.0f, 0.0f);
    if (!normals) {
        for (znRTVector3fPacket* d : {&data.dg.dNdu, &data.dg.dNdv, &data.dg.dNdx, &data.dg.dNdy})
            d->setMasked(zero, mask);
        return;
    }
    const auto world = [this](const znRTVector3fPacket& n) {
        return znRTVectorMath::transformAsNormal(n, m_toObject);
    };
    const znRTVector3fPacket n0 = world(normalAt(corners, 0));
    const znRTVector3fPacket n1 = world(normalAt(corners, 1)) - n0;
    const znRTVector3fPacket n2 = world(normalAt(corners, 2)) - n0;
    const znRTVector3fPacket n = n0 + n1 * data.hit.u + n2 * data.hit.v;
    const znFloatType<2> lengthSquared = n.getSquareLength();
    const znFloatType<2> inverseLength = reciprocalSquareRoot(lengthSquared);
    const znRTVector3fPacket unit = n * inverseLength;
    // Vertex normals that cancel give way to the face's normal, which does not change.
    const znFloatType<2> exists = lengthSquared > znFloatType<2>(0.0f);
    // On the side of the shading normal.
    const znFloatType<2> turn =
        (dot(unit, data.dg.shadingNormal) < znFloatType<2>(0.0f)) & znFloatType<2>(-0.0f);
    const auto derivative = [&](const Step& step) {
        const znRTVector3fPacket d = along(step, n1, n2) * inverseLength;
        return select(exists, (d - unit * dot(unit, d)) ^ turn, zero);
    };
    data.dg.dNdu.setMasked(derivative(edges.alongU), mask);
    data.dg.dNdv.setMasked(derivative(edges.alongV), mask);
    data.dg.dNdx.setMasked(derivative(alongX), mask);
    data.dg.dNdy.setMasked(derivative(alongY), mask);
}

void znRTMesh::computeDifferentials(znRTDataBlockPacket& data, int lane) const
{
    computeDifferentials(data, fetchCorners(data.hit, 1 << lane));
}

void znRTMesh::computeDifferentials(znRTDataBlockPacket& data) const
{
    computeDifferentials(data, fetchCorners(data.hit, int(data.hit.hitMask)));
}

void znRTMesh::computeDifferentials(znRTDataBlockPacket& data, const Corners& corners) const
{
    const znFloatType<2> mask = expandLanes(corners.lanes);
    const Edges edges = edgesOf(corners);
    znRTVector2fPacket alongX, alongY;
    edges.project(data.dg.dPdx, data.dg.dPdy, alongX, alongY);
    fillTextureTangents(data, edges, mask);
    fillTextureFootprint(data, edges, alongX, alongY, mask);
}

void znRTMesh::computeNormalDifferentials(znRTDataBlockPacket& data, int lane) const
{
    computeNormalDifferentials(data, fetchCorners(data.hit, 1 << lane));
}

void znRTMesh::computeNormalDifferentials(znRTDataBlockPacket& data) const
{
    computeNormalDifferentials(data, fetchCorners(data.hit, int(data.hit.hitMask)));
}

void znRTMesh::computeNormalDifferentials(znRTDataBlockPacket& data, const Corners& corners) const
{
    const Edges edges = edgesOf(corners);
    znRTVector2fPacket alongX, alongY;
    edges.project(data.dg.dPdx, data.dg.dPdy, alongX, alongY);
    fillNormalDerivatives(data, corners, edges, alongX, alongY);
}
