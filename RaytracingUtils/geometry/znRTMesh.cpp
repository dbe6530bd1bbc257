#include "geometry/znRTMesh.h"

#include "accel/znRTTriangleIntersector.h"
#include "geometry/meshTriangles.h"
#include "geometry/znRTMeshIntersector.h"
#include "host/osg/SkinAttachment.h"
#include "host/osg/logStream.h"
#include "host/znLog.h"
#include "material/znRTMaterial.h"

#include <cmath>
#include <ostream>
#include <tbb/parallel_for.h>

const znRTTypeId znRTMesh::id("znRTMesh");

znRTMesh::znRTMesh() : znRTGeometryNode(id) {}

znRTMesh::~znRTMesh() = default;

namespace {

/// Vertices are read in place as packed triples.
bool isPackedTriples(const osg::GeoProperty* property)
{
    return property && !property->empty() && property->getDataType() == osg::GeoProperty::Float32 &&
           property->getDimension() == 3 && property->getStride() == 3 * sizeof(float);
}

} // namespace

osg::Geometry* znRTMesh::getGeometry() const
{
    return osg::FCPtr<osg::Geometry>::dcast(m_core).get();
}

void znRTMesh::initGeometry()
{
    valid = false;
    const osg::NodeCorePtr active = getActiveGeometryCore();
    const auto geometry = osg::FCPtr<osg::Geometry>::dcast(active);
    if (!geometry) {
        osg::logStream() << "Error, BAD GEOMETRY" << std::endl;
        // What was read belongs to a core that may be gone.
        setSharingKey(0);
        undeformedPositions = undeformedNormals = positions = normals = nullptr;
        vertexCount = 0;
        usesTangents = false;
        return;
    }
    if (active != m_core)
        setNode(m_node, active);
    setSharingKey(znRTSharedGeometryTable::makeKey(m_coreId, 0));
    geometry->makeSingleIndexed();
    const bool hasPositions = readPositions(*geometry);
    // Also without positions: verifyData asks what changed since.
    bakedColors = geometry->getBakedColors();
    setVertexColorArray(geometry->getColors().get());
    for (int set = 0; set < s_textureSets; ++set)
        setTextureCoordArray(unsigned(set), geometry->getTexCoordSet(set).get());
    if (!hasPositions)
        return;
    calculateDeformer();
    valid = true;
}

bool znRTMesh::readPositions(const osg::Geometry& geometry)
{
    const osg::GeoProperty* const points = geometry.getPositions().get();
    const osg::GeoProperty* const directions = geometry.getNormals().get();
    positionStamp = znRTPropertyStamp(points);
    normalStamp = znRTPropertyStamp(directions);
    tangentStamp = znRTPropertyStamp(geometry.getTangents().get());
    ownTangents = znRTVertexAttribute(geometry.getTangents().get());
    indexStamp = znRTPropertyStamp(geometry.getIndices().get());
    undeformedPositions = undeformedNormals = positions = normals = nullptr;
    vertexCount = 0;
    if (!isPackedTriples(points)) {
        znLog::error(("Mesh has no valid positions: " + getName()).c_str());
        return false;
    }
    undeformedPositions = points->getDataAs<float>();
    vertexCount = points->size();
    if (isPackedTriples(directions) && directions->size() >= vertexCount)
        undeformedNormals = directions->getDataAs<float>();
    return true;
}

void znRTMesh::calculateDeformer()
{
    positions = undeformedPositions;
    normals = undeformedNormals;
    const auto skin = osg::SkinAttachment::getAttachment(m_core);
    if (skin && skin->getEnabled())
        skin->getDeformedVertices(positions, normals, vertexCount);
}

u64 znRTMesh::getGeometryVersion() const
{
    u64 version = 0xcbf29ce484222325;
    for (const znRTPropertyStamp& stamp : {positionStamp, indexStamp})
        version = stamp.hash(version);
    if (const osg::Geometry* const geometry = getGeometry()) {
        for (const auto* list : {&geometry->getLengths(), &geometry->getTypes()})
            for (const u32 value : *list)
                version = (version ^ value) * 0x100000001b3;
    }
    version ^= reinterpret_cast<std::uintptr_t>(positions);
    return version ? version : 1;
}

bool znRTMesh::verifyData()
{
    // First of all: a core that was replaced may be gone. One that is no geometry is told once.
    const osg::NodeCorePtr active = getActiveGeometryCore();
    if (active != m_core)
        return valid || osg::isKindOf<osg::Geometry>(active);
    const osg::Geometry* const geometry = getGeometry();
    if (!geometry)
        return valid;
    if (!sharedVolume) // let go, and back now
        return true;
    if (znRTPropertyStamp(geometry->getPositions().get()) != positionStamp ||
        znRTPropertyStamp(geometry->getNormals().get()) != normalStamp ||
        znRTPropertyStamp(geometry->getTangents().get()) != tangentStamp ||
        znRTPropertyStamp(geometry->getIndices().get()) != indexStamp || hasVertexColorsChanged())
        return true;
    for (unsigned set = 0; set < s_textureSets; ++set)
        if (hasTextureCoordinateChanged(set))
            return true;
    return false;
}

bool znRTMesh::updateGeometry(const unsigned long long& mask)
{
    using G = osg::Geometry;
    constexpr u64 structure = G::PositionsFieldMask | G::IndicesFieldMask | G::LengthsFieldMask |
                              G::TypesFieldMask | G::IndexMappingFieldMask |
                              osg::AttachmentContainer::AttachmentsFieldMask;
    const bool needsTree = (mask & structure) != 0 || !valid || getActiveGeometryCore() != m_core;
    // Attributes alone leave list and tree as they are; the leaf takes over moved arrays.
    initGeometry();
    // Arrays may have been edited in place, which no fingerprint shows. The first node of a core
    // that hears of it drops the tangents; to the others the tree already tells that it happened.
    constexpr u64 tangential =
        structure | G::NormalsFieldMask | G::TangentsFieldMask | G::TexCoordsFieldMask;
    if (sharedVolume && (mask & tangential) && !(needsTree && sharedVolume->needsBuild()))
        sharedVolume->tangentVersion = 0;
    if (needsTree)
        invalidateTree();
    if (intersector)
        updateVisibilityFlags();
    return needsTree;
}

void znRTMesh::setTextureCoordArray(unsigned set, const osg::GeoProperty* property)
{
    texCoords[set] = znRTVertexAttribute(property);
    texCoordStamps[set] = znRTPropertyStamp(property);
}

void znRTMesh::setVertexColorArray(const osg::GeoProperty* property)
{
    vertexColors = znRTVertexAttribute(property);
    colorStamp = znRTPropertyStamp(property);
}

bool znRTMesh::hasTextureCoordinateChanged(unsigned set) const
{
    const osg::Geometry* const geometry = getGeometry();
    return geometry &&
           znRTPropertyStamp(geometry->getTexCoordSet(int(set)).get()) != texCoordStamps[set];
}

bool znRTMesh::hasVertexColorsChanged() const
{
    const osg::Geometry* const geometry = getGeometry();
    return geometry && znRTPropertyStamp(geometry->getColors().get()) != colorStamp;
}

u64 znRTMesh::getGeometryMemoryUsage() const
{
    return getTangents() ? sharedVolume->tangents.capacity() * sizeof(float) : 0;
}

u64 znRTMesh::getMemoryUsage() const
{
    return sizeof(*this) + getGeometryMemoryUsage() + getIntersectorMemoryUsage();
}

znRTIntersector* znRTMesh::createIntersector()
{
    return new znRTMeshIntersector(this, geometryIndex);
}

void znRTMesh::updateIntersector(int sideness, bool transparent)
{
    auto* const mesh = static_cast<znRTMeshIntersector*>(intersector);
    if (!mesh)
        return;
    if (!positions) {
        // The leaf reads an array that is gone.
        mesh->setLeaf(nullptr);
        return;
    }
    const auto* const old = static_cast<const znRTTriangleIntersector*>(mesh->getLeaf());
    const bool isSame = old && old->getPositions() == positions &&
                        int(old->getGeometryIndex()) == geometryIndex &&
                        old->getSideness() == sideness;
    if (!isSame) {
        const auto& triangles = mesh->getTriangles();
        const u32 index = u32(geometryIndex);
        znRTLeafIntersector* leaf;
        if (sideness == 3)
            leaf = new znRTDoubleSidedTriangleIntersector(positions, triangles, index);
        else if (sideness == 1)
            leaf = new znRTSingleSidedTriangleIntersector<1>(positions, triangles, index);
        else
            leaf = new znRTSingleSidedTriangleIntersector<0>(positions, triangles, index);
        mesh->setLeaf(leaf);
    }
    mesh->setTransparent(transparent);
    usesTangents =
        activeMaterial && activeMaterial->needsConsistentVertexTangents() && calculateTangents();
}

const float* znRTMesh::getTangents() const
{
    return usesTangents && !sharedVolume->tangents.empty() ? sharedVolume->tangents.data()
                                                           : nullptr;
}

bool znRTMesh::calculateTangents()
{
    const osg::Geometry* const geometry = getGeometry();
    const bool isTaken = hasOwnTangents();
    if (!geometry || !positions || vertexCount == 0 || (!isTaken && (!normals || !texCoords[0])))
        return false;
    u64 version = normalStamp.hash(texCoordStamps[0].hash(getGeometryVersion()));
    version = tangentStamp.hash(version) ^ reinterpret_cast<std::uintptr_t>(normals);
    // Instances of a core arrive at once; the one that computes does so without handing out tasks
    // under the lock, except isolated ones.
    const std::lock_guard lock(sharedVolume->tangentLock);
    if (sharedVolume->tangentVersion != version) {
        if (isTaken)
            copyTangents(sharedVolume->tangents);
        else
            tbb::this_task_arena::isolate(
                [&] { accumulateTangents(*geometry, sharedVolume->tangents); });
        sharedVolume->tangentVersion = version;
    }
    usesTangents = true;
    return true;
}

bool znRTMesh::hasOwnTangents() const
{
    return ownTangents && ownTangents.type == osg::GeoProperty::Float32 &&
           ownTangents.dimension >= 3 && ownTangents.count >= vertexCount &&
           positions == undeformedPositions;
}

void znRTMesh::copyTangents(std::vector<float>& tangents) const
{
    tangents.resize(3 * u64(vertexCount));
    for (u32 vertex = 0; vertex < vertexCount; ++vertex) {
        const znRTVector4f tangent = ownTangents.getVector4f(vertex);
        float* const target = &tangents[3 * u64(vertex)];
        target[0] = tangent.x;
        target[1] = tangent.y;
        target[2] = tangent.z;
    }
}

void znRTMesh::accumulateTangents(const osg::Geometry& geometry, std::vector<float>& tangents) const
{
    tangents.resize(3 * u64(vertexCount));
    const tbb::blocked_range<u64> vertices(0, vertexCount);
    tbb::parallel_for(
        vertices,
        [&](const tbb::blocked_range<u64>& range) {
            std::fill(tangents.begin() + 3 * range.begin(), tangents.begin() + 3 * range.end(),
                      0.0f);
        },
        tbb::static_partitioner());
    // Serial: triangles share vertices, and sums in a fixed order come out the same each time.
    forEachTriangle(geometry,
                    [&](u32 a, u32 b, u32 c) { calculateTangent(a, b, c, tangents.data()); });
    tbb::parallel_for(
        vertices,
        [&](const tbb::blocked_range<u64>& range) {
            for (u64 i = range.begin(); i != range.end(); ++i) {
                float* const t = &tangents[3 * i];
                const float length = t[0] * t[0] + t[1] * t[1] + t[2] * t[2];
                // A vertex whose sum is zero becomes NaN, which readers take for "no tangent".
                const float scale = reciprocalSquareRoot(znFloatType<2>(length))[0];
                for (int axis = 0; axis < 3; ++axis)
                    t[axis] *= scale;
            }
        },
        tbb::static_partitioner());
}

void znRTMesh::calculateTangent(const unsigned int& i0, const unsigned int& i1,
                                const unsigned int& i2, float* tangents) const
{
    const unsigned int corner[3] = {i0, i1, i2};
    znRTVector3f p[3];
    znRTVector2f st[3];
    for (int k = 0; k < 3; ++k) {
        const float* const position = positions + 3 * u64(corner[k]);
        p[k] = {position[0], position[1], position[2]};
        st[k] = getTextureCoordinate(0, corner[k]);
    }
    const float s1 = st[1].x - st[0].x, s2 = st[2].x - st[0].x;
    float t1 = st[1].y - st[0].y, t2 = st[2].y - st[0].y;
    const float determinant = s1 * t2 - s2 * t1;
    float inverse = 1.0f;
    if (std::fabs(determinant) < 1e-16f) {
        // Texture coordinates without area: along the first edge.
        t2 = 1.0f;
        t1 = 0.0f;
    } else
        inverse = 1.0f / determinant;
    const znRTVector3f along = inverse * (t2 * (p[1] - p[0]) - t1 * (p[2] - p[0]));
    for (const unsigned int vertex : corner) {
        const float* const direction = normals + 3 * u64(vertex);
        const znRTVector3f n(direction[0], direction[1], direction[2]);
        // Each triangle adds a unit direction across the vertex normal, whatever its area.
        znRTVector3f across = cross(n, along);
        if (across.getSquareLength() > 0.0f)
            across.normalize();
        const znRTVector3f tangent = cross(across, n);
        for (int axis = 0; axis < 3; ++axis)
            tangents[3 * u64(vertex) + u64(axis)] += tangent[axis];
    }
}
