// What a mesh tells shading about hits on its triangles. Every step works on four lanes and writes
// those of its corners, so that one lane and a whole packet take the same arithmetic.

#include "core/shadingRequirements.h"
#include "core/znRTRayPacket.h"
#include "geometry/znRTMesh.h"
#include "geometry/znRTMeshIntersector.h"
#include "material/znRTBRDFMaterial.h"

namespace {

template <class T>
T interpolate(const T& a, const T& b, const T& c, const znRTHitInfoPacket& hit)
{
    return a * (znFloatType<2>(1.0f) - hit.u - hit.v) + b * hit.u + c * hit.v;
}

/// Unit normal of the first argument, or of the second where the first has none.
znRTVector3fPacket unitOr(const znRTVector3fPacket& n, const znRTVector3fPacket& substitute)
{
    const znFloatType<2> lengthSquared = n.getSquareLength();
    const znFloatType<2> exists = lengthSquared > znFloatType<2>(0.0f);
    return select(exists, n * reciprocalSquareRoot(lengthSquared), substitute);
}

/// What vertex colours are fetched for.
constexpr u32 colorAttributes =
    vertexAttribute::vertexColor | vertexAttribute::bakedColor | vertexAttribute::bakedIrradiance;

} // namespace

znRTMesh::Corners znRTMesh::fetchCorners(const znRTHitInfoPacket& hit, int laneBits) const
{
    Corners corners;
    const auto& mesh = static_cast<const znRTMeshIntersector&>(*intersector);
    for (int lane = 0; lane < 4; ++lane) {
        const u64 i = u32(hit.primitive[lane]);
        if (!((laneBits >> lane) & 1) || i >= mesh.getTriangleCount())
            continue;
        const znRTTriangle& triangle = mesh.getTriangle(unsigned(i));
        corners.vertex[0][lane] = triangle.a;
        corners.vertex[1][lane] = triangle.b;
        corners.vertex[2][lane] = triangle.c;
        corners.lanes |= 1 << lane;
    }
    for (int k = 0; k < 3; ++k) {
        corners.position[k] = gather(positions, corners, k);
        if (texCoords[0])
            corners.uv[k] = gatherUV(0, corners, k);
    }
    return corners;
}

znRTVector3fPacket znRTMesh::gather(const float* array, const Corners& corners, int corner) const
{
    const u32* const vertex = corners.vertex[corner];
    const float* const p[4] = {array + 3 * u64(vertex[0]), array + 3 * u64(vertex[1]),
                               array + 3 * u64(vertex[2]), array + 3 * u64(vertex[3])};
    return {{p[0][0], p[1][0], p[2][0], p[3][0]},
            {p[0][1], p[1][1], p[2][1], p[3][1]},
            {p[0][2], p[1][2], p[2][2], p[3][2]}};
}

znRTVector2fPacket znRTMesh::gatherUV(unsigned set, const Corners& corners, int corner) const
{
    znRTVector2fPacket result;
    for (int lane = 0; lane < 4; ++lane)
        result.setLane(lane, getTextureCoordinate(set, corners.vertex[corner][lane]));
    return result;
}

void znRTMesh::getShadingDataFull(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                  u32 requirements, u32 attributes) const
{
    fillShadingData(ray, data, 15, requirements, attributes);
}

void znRTMesh::getShadingData(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                              int lane, u32 requirements, u32 attributes) const
{
    fillShadingData(ray, data, 1 << lane, requirements, attributes);
}

void znRTMesh::getShadingDataLanes(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                   int laneBits, u32 requirements, u32 attributes) const
{
    fillShadingData(ray, data, laneBits, requirements, attributes);
}

void znRTMesh::fillShadingData(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                               int laneBits, u32 requirements, u32 attributes) const
{
    const Corners corners = fetchCorners(data.hit, laneBits);
    fillSurface(ray, data, corners);
    fillTexCoords(0, data, corners);
    if (attributes & vertexAttribute::textureCoordinates)
        for (unsigned set = 1; set < s_textureSets; ++set)
            fillTexCoords(set, data, corners);
    if ((requirements & shadingRequirement::shadingFrame) ||
        (attributes & vertexAttribute::vertexTangents))
        fillTangents(data, corners);
    if (attributes & colorAttributes)
        fillColors(data, corners, attributes);
    if (requirements & shadingRequirement::edgeData)
        fillEdges(data, corners);
    fillDerivatives(ray, data, corners, requirements, attributes);
}

void znRTMesh::fillSurface(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                           const Corners& corners) const
{
    const znFloatType<2> mask = expandLanes(corners.lanes);
    const auto& [a, b, c] = corners.position;
    const znRTVector3fPacket position = interpolate(a, b, c, data.hit);
    const znRTVector3fPacket face =
        znRTVectorMath::transformAsNormal(cross(b - a, c - a), m_toObject).getNormalized();

    // Both normals on the viewer's side; the stored one keeps its side in facedNormal.
    const znFloatType<2> signBit(-0.0f);
    const znFloatType<2> turn = (dot(ray.direction, face) > znFloatType<2>(0.0f)) & signBit;
    const znRTVector3fPacket geometric = face ^ turn;
    znRTVector3fPacket stored = face;
    if (normals) {
        const znRTVector3fPacket smooth =
            interpolate(normalAt(corners, 0), normalAt(corners, 1), normalAt(corners, 2), data.hit);
        stored = unitOr(znRTVectorMath::transformAsNormal(smooth, m_toObject), face);
    }
    const znFloatType<2> isFront = dot(stored, geometric) >= znFloatType<2>(0.0f);

    const znRTVector3fPacket worldPosition =
        znRTVectorMath::transformAsLocation(position, m_toWorld);
    data.dg.position.setMasked(worldPosition, mask);
    data.dg.geometricNormal.setMasked(geometric, mask);
    data.dg.shadingNormal.setMasked(stored ^ andNot(isFront, signBit), mask);
    data.dg.frontFacing = select(mask, isFront, data.dg.frontFacing);
    data.facedNormal.setMasked(stored, mask);
    data.updateCosIncidence(ray, mask);
    data.coverage = select(mask, znFloatType<2>(1.0f), data.coverage);
}

znRTVector3fPacket znRTMesh::normalAt(const Corners& corners, int corner) const
{
    return gather(normals, corners, corner);
}

void znRTMesh::fillTexCoords(unsigned set, znRTDataBlockPacket& data, const Corners& corners) const
{
    const znFloatType<2> mask = expandLanes(corners.lanes);
    znRTVector2fPacket uv(0.0f, 0.0f);
    if (texCoords[set]) {
        uv = interpolate(gatherUV(set, corners, 0), gatherUV(set, corners, 1),
                         gatherUV(set, corners, 2), data.hit);
        data.uvValid |= 1u << set;
    }
    data.uv[set].setMasked(uv, mask);
    if (set == 0)
        data.dg.uv.setMasked(uv, mask);
}

void znRTMesh::fillTangents(znRTDataBlockPacket& data, const Corners& corners) const
{
    const znFloatType<2> mask = expandLanes(corners.lanes);
    const float* const tangents = getTangents();
    if (!tangents) {
        data.dg.tangentMask = andNot(mask, data.dg.tangentMask);
        return;
    }
    znRTVector3fPacket tangent =
        interpolate(gather(tangents, corners, 0), gather(tangents, corners, 1),
                    gather(tangents, corners, 2), data.hit);
    tangent = znRTVectorMath::transformAsDirection(tangent, m_toWorld);
    const znFloatType<2> lengthSquared = tangent.getSquareLength();
    // False for zero and for NaN: such a vertex has no tangent.
    const znFloatType<2> exists = lengthSquared > znFloatType<2>(0.0f);
    data.dg.tangent.setMasked(tangent * reciprocalSquareRoot(lengthSquared), mask);
    data.dg.tangentMask = select(mask, exists, data.dg.tangentMask);
}

void znRTMesh::fillColors(znRTDataBlockPacket& data, const Corners& corners, u32 attributes) const
{
    const znFloatType<2> mask = expandLanes(corners.lanes), zero(0.0f);
    const znRTColorPacket color = interpolateColor(data.hit, corners);
    if (attributes & vertexAttribute::vertexColor)
        data.vertexColor.maskedUpdate(color, mask);
    const bool isBaked = bakedColors && vertexColors;
    // Three numbers per vertex tell nothing of occlusion: 0 is open.
    const znFloatType<2> occlusion = vertexColors.dimension > 3 ? color.a : zero;
    if (attributes & vertexAttribute::bakedIrradiance)
        data.bakedIrradiance.maskedUpdate(isBaked ? color : znRTColorPacket(zero),
                                          isBaked ? occlusion : zero, mask);
    if (attributes & vertexAttribute::bakedColor)
        data.bakedColor.maskedUpdate(
            isBaked ? color : znRTColorPacket(zero),
            isBaked ? znFloatType<2>::allLanes() : znFloatType<2>::noLanes(), mask);
}

znRTColorPacket znRTMesh::interpolateColor(const znRTHitInfoPacket& hit,
                                           const Corners& corners) const
{
    if (!vertexColors)
        return znRTColorPacket(1.0f);
    znRTVector4fPacket corner[3];
    for (int k = 0; k < 3; ++k)
        for (int lane = 0; lane < 4; ++lane)
            corner[k].setLane(lane, vertexColors.getVector4f(corners.vertex[k][lane]));
    const znRTVector4fPacket value = interpolate(corner[0], corner[1], corner[2], hit);
    return {value.x, value.y, value.z, value.w};
}

void znRTMesh::fillEdges(znRTDataBlockPacket& data, const Corners& corners) const
{
    const znFloatType<2> mask = expandLanes(corners.lanes);
    for (int k = 0; k < 3; ++k)
        data.edgeVertices[k].setMasked(
            znRTVectorMath::transformAsLocation(corners.position[k], m_toWorld), mask);
}

namespace {

/// Corners of one lane from vertex numbers.
template <class Corners>
Corners cornersOf(int lane, u32 a, u32 b, u32 c)
{
    Corners corners;
    corners.vertex[0][lane] = a;
    corners.vertex[1][lane] = b;
    corners.vertex[2][lane] = c;
    corners.lanes = 1 << lane;
    return corners;
}

} // namespace

bool znRTMesh::getTexCoordData(unsigned set, znRTDataBlockPacket& data, int laneBits) const
{
    if (texCoords[set])
        fillTexCoords(set, data, fetchCorners(data.hit, laneBits));
    return bool(texCoords[set]);
}

bool znRTMesh::getTexCoordData(unsigned set, znRTDataBlockPacket& data, int lane, u32 a, u32 b,
                               u32 c) const
{
    if (texCoords[set])
        fillTexCoords(set, data, cornersOf<Corners>(lane, a, b, c));
    return bool(texCoords[set]);
}

bool znRTMesh::getVertexTangentData(znRTDataBlockPacket& data, int laneBits) const
{
    if (getTangents())
        fillTangents(data, fetchCorners(data.hit, laneBits));
    return getTangents() != nullptr;
}

bool znRTMesh::getVertexTangentData(znRTDataBlockPacket& data, int lane, u32 a, u32 b, u32 c) const
{
    if (getTangents())
        fillTangents(data, cornersOf<Corners>(lane, a, b, c));
    return getTangents() != nullptr;
}

bool znRTMesh::getVertexColorData(znRTDataBlockPacket& data, int laneBits) const
{
    if (vertexColors)
        fillColors(data, fetchCorners(data.hit, laneBits), vertexAttribute::vertexColor);
    return bool(vertexColors);
}

bool znRTMesh::getVertexColorData(znRTDataBlockPacket& data, int lane, u32 a, u32 b, u32 c) const
{
    if (vertexColors)
        fillColors(data, cornersOf<Corners>(lane, a, b, c), vertexAttribute::vertexColor);
    return bool(vertexColors);
}

void znRTMesh::getAmbientOcclusionData(znRTDataBlockPacket& data, int lane) const
{
    const Corners corners = fetchCorners(data.hit, 1 << lane);
    const znFloatType<2> mask = expandLanes(corners.lanes);
    const auto& [a, b, c] = corners.position;
    const znRTVector3fPacket face =
        znRTVectorMath::transformAsNormal(cross(b - a, c - a), m_toObject).getNormalized();
    znRTVector3fPacket stored = face;
    if (normals)
        stored = unitOr(znRTVectorMath::transformAsNormal(
                            interpolate(normalAt(corners, 0), normalAt(corners, 1),
                                        normalAt(corners, 2), data.hit),
                            m_toObject),
                        face);
    data.dg.position.setMasked(
        znRTVectorMath::transformAsLocation(interpolate(a, b, c, data.hit), m_toWorld), mask);
    data.dg.geometricNormal.setMasked(face, mask);
    data.dg.shadingNormal.setMasked(stored, mask);
    data.facedNormal.setMasked(stored, mask);
    fillTexCoords(0, data, corners);
    fillTangents(data, corners);
}

znRTVector2fPacket znRTMesh::getUVs(unsigned int set, znRTHitInfoPacket& hit) const
{
    if (set >= s_textureSets || !texCoords[set])
        return {0.0f, 0.0f};
    const Corners corners = fetchCorners(hit, int(hit.hitMask));
    const znRTVector2fPacket uv = interpolate(gatherUV(set, corners, 0), gatherUV(set, corners, 1),
                                              gatherUV(set, corners, 2), hit);
    const znFloatType<2> mask = expandLanes(corners.lanes);
    return {uv.x & mask, uv.y & mask};
}

znFloatType<2> znRTMesh::evaluateCutout(const znRTRayPacket& ray, const znRTHitInfoPacket& hit,
                                        const znFloatType<2>& opacity,
                                        const znFloatType<2>& mask) const
{
    if (!activeMaterial)
        return opacity;
    const auto* const material =
        dynamic_cast<const znRTBRDFMaterial*>(activeMaterial->getFirstActiveMaterial());
    if (!material)
        return opacity & mask;
    znRTDataBlockPacket data(hit);
    data.uvValid = 0;
    data.dg.tangentMask = data.objectLanes = znFloatType<2>::noLanes();
    data.requirements = shadingRequirement::spawnData;
    data.hasNodeTransforms = hasTransform();
    const znRTRayDifferentialPacket straight(ray);
    fillShadingData(straight, data, int(hit.hitMask) & moveMask(mask), data.requirements,
                    vertexAttribute::textureCoordinates);
    data.nodeToWorld = znMatrix4x4Packet(m_toWorld);
    data.worldToNode = znMatrix4x4Packet(m_toObject);
    data.objectPosition = znRTVectorMath::transformAsLocation(data.dg.position, m_toObject);
    data.objectNormal =
        znRTVectorMath::transformAsNormal(data.dg.shadingNormal, m_toWorld).getNormalized();
    return opacity & material->findSolid(data, mask);
}
