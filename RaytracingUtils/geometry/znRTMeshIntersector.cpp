#include "geometry/znRTMeshIntersector.h"

#include "accel/znRTBVHIntersector.h"
#include "geometry/meshTriangles.h"
#include "geometry/znRTMesh.h"
#include "host/znRTSceneHandler.h"

#include <cmath>
#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>

namespace {

constexpr unsigned maxLeafSize = 4;

const float* corner(const float* array, u32 vertex)
{
    return array + 3 * u64(vertex);
}

znRTVector3f vertexAt(const float* array, u32 vertex)
{
    const float* const p = corner(array, vertex);
    return {p[0], p[1], p[2]};
}

/// A vertex that is not finite leaves the box inside out: it grows nothing and is never entered.
znRTBoundingBox boxOfTriangle(const float* positions, const znRTTriangle& triangle)
{
    znRTBoundingBox box;
    for (const u32 vertex : {triangle.a, triangle.b, triangle.c}) {
        const znRTVector3f p = vertexAt(positions, vertex);
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z))
            return {};
        box.surround(p);
    }
    return box;
}

/// Barycentric mean, per lane.
znRTVector3fPacket interpolate(const znRTVector3fPacket& a, const znRTVector3fPacket& b,
                               const znRTVector3fPacket& c, const znRTHitInfoPacket& hit)
{
    return a * (znFloatType<2>(1.0f) - hit.u - hit.v) + b * hit.u + c * hit.v;
}

} // namespace

znRTMeshIntersector::znRTMeshIntersector(znRTMesh* mesh, int index)
    : znRTIntersector(mesh, index, AcceleratorType::primitives, GeometryType::triangles),
      shared(mesh->getSharedVolume())
{
}

znRTMeshIntersector::~znRTMeshIntersector() = default;

znRTMesh& znRTMeshIntersector::getMesh() const
{
    return static_cast<znRTMesh&>(*node);
}

bool znRTMeshIntersector::isValid() const
{
    return shared && shared->triangleCount > 0 && znRTIntersector::isValid();
}

u64 znRTMeshIntersector::getCount() const
{
    return shared ? shared->triangles.size : 0;
}

bool znRTMeshIntersector::initialize()
{
    if (!shared || !shared->beginBuild(znRTSceneHandler::getBuildTimeStamp()))
        return false;
    const u64 version = getMesh().getGeometryVersion();
    if (shared->builtVersion.load() == version && isValid())
        return false;
    fill(s_padding);
    build(100);
    shared->builtVersion.store(version);
    return true;
}

bool znRTMeshIntersector::fill(u32 padding)
{
    const osg::Geometry* const geometry = getMesh().getGeometry();
    shared->triangleCount = geometry ? fillTriangles(*geometry, padding, shared->triangles) : 0;
    return shared->triangleCount > 0;
}

void znRTMeshIntersector::build(unsigned int)
{
    if (shared->triangleCount > 0)
        buildTreeIterative(shared->localVolume);
    else
        shared->localVolume = znRTBoundingBox();
    node->setValid(shared->triangleCount > 0);
}

void znRTMeshIntersector::buildTreeIterative(znRTBoundingBox& box)
{
    box = znRTBoundingBox();
    znDynArray<znRTBoundingBox> boxes;
    boxes.reserve(shared->triangleCount, true);
    if (!boxes.data) {
        shared->triangleCount = 0;
        return;
    }
    tbb::enumerable_thread_specific<znRTBoundingBox> threadBoxes;
    const float* const positions = getMesh().getPositions();
    tbb::parallel_for(
        tbb::blocked_range<u64>(0, boxes.size),
        [&](const tbb::blocked_range<u64>& range) {
            znRTBoundingBox& threadBox = threadBoxes.local();
            for (u64 i = range.begin(); i != range.end(); ++i) {
                boxes[i] = boxOfTriangle(positions, shared->triangles[i]);
                threadBox.surround(boxes[i]);
            }
        },
        tbb::static_partitioner());
    for (const znRTBoundingBox& threadBox : threadBoxes)
        box.surround(threadBox);
    traverser->build(this, node, shared->triangles.data, box, boxes, GeometryType::triangles,
                     maxLeafSize);
    if (s_copiesPositions)
        static_cast<znRTBVHIntersector*>(traverser)->copyPositions(positions,
                                                                   shared->triangles.data);
}

void znRTMeshIntersector::rebuild()
{
    if (shared)
        shared->rebuild([this] { initialize(); });
}

void znRTMeshIntersector::clear()
{
    if (!shared)
        return;
    shared->triangles.clear();
    shared->triangleCount = 0;
    shared->invalidate();
}

u64 znRTMeshIntersector::getMemoryUsage() const
{
    return sizeof(*this) - sizeof(znRTIntersector) + znRTIntersector::getMemoryUsage() +
           (shared ? shared->triangles.capacity * sizeof(znRTTriangle) : 0);
}

float znRTMeshIntersector::calculatePrimitiveAreas(znDynArray<float>& areas) const
{
    areas.reserve(shared->triangles.size, false);
    areas.size = areas.data ? shared->triangles.size : 0;
    const float* const positions = getMesh().getPositions();
    const znMatrix4x4& toWorld = node->getToWorldMatrix();
    double sum = 0.0;
    for (u64 i = 0; i < areas.size; ++i) {
        areas[i] = 0.0f;
        if (i >= shared->triangleCount)
            continue;
        const znRTTriangle& t = shared->triangles[i];
        const znRTVector3f a = vertexAt(positions, t.a);
        const znRTVector3f ab = (vertexAt(positions, t.b) - a).getTransformAsDirection(toWorld);
        const znRTVector3f ac = (vertexAt(positions, t.c) - a).getTransformAsDirection(toWorld);
        const float area = 0.5f * cross(ab, ac).getLength();
        // A triangle that is not finite is never hit: it has nothing to sample.
        if (std::isfinite(area))
            areas[i] = area;
        sum += areas[i];
    }
    return float(sum);
}

void znRTMeshIntersector::getSample(const znFloatType<2>& laneMask, const znIntType<2>& primitive,
                                    const znRTVector2fPacket& random, znRTVector3fPacket& position,
                                    znRTVector3fPacket& normal, znRTVector2fPacket& uv,
                                    znFloatType<2>& area) const
{
    // Uniform over the triangle: G. Turk, "Generating Random Points in Triangles", Graphics Gems.
    const znFloatType<2> root = squareRoot(random.x);
    znRTHitInfoPacket hit;
    hit.reset(0.0f);
    hit.hitMask = unsigned(moveMask(laneMask));
    hit.primitive = primitive;
    hit.u = znFloatType<2>(1.0f) - root;
    hit.v = random.y * root;
    getPositionAndNormal(laneMask, hit, position, normal, uv, area);
}

void znRTMeshIntersector::getPositionAndNormal(const znFloatType<2>& laneMask,
                                               znRTHitInfoPacket& hit, znRTVector3fPacket& position,
                                               znRTVector3fPacket& normal, znRTVector2fPacket& uv,
                                               znFloatType<2>& area) const
{
    const znRTVector3fPacket zero(0.0f, 0.0f, 0.0f);
    znRTVector3fPacket p[3] = {zero, zero, zero}, n[3] = {zero, zero, zero};
    znRTVector2fPacket st[3] = {znRTVector2fPacket(0.0f, 0.0f), znRTVector2fPacket(0.0f, 0.0f),
                                znRTVector2fPacket(0.0f, 0.0f)};
    const znRTMesh& mesh = getMesh();
    const int lanes = moveMask(laneMask) & int(hit.hitMask);
    for (int lane = 0; lane < 4; ++lane) {
        const u64 i = u32(hit.primitive[lane]);
        if (!((lanes >> lane) & 1) || i >= shared->triangleCount)
            continue;
        const u32 vertices[3] = {shared->triangles[i].a, shared->triangles[i].b,
                                 shared->triangles[i].c};
        for (int k = 0; k < 3; ++k) {
            p[k].setLane(lane, vertexAt(mesh.getPositions(), vertices[k]));
            if (mesh.getNormals())
                n[k].setLane(lane, vertexAt(mesh.getNormals(), vertices[k]));
            st[k].setLane(lane, mesh.getTextureCoordinate(0, vertices[k]));
        }
    }
    const znMatrix4x4& toWorld = node->getToWorldMatrix();
    position = znRTVectorMath::transformAsLocation(interpolate(p[0], p[1], p[2], hit), toWorld);
    const znRTVector3fPacket face = cross(p[1] - p[0], p[2] - p[0]);
    const znRTVector3fPacket smooth = mesh.getNormals() ? interpolate(n[0], n[1], n[2], hit) : face;
    normal = znRTVectorMath::transformAsNormal(smooth, node->getToObjectMatrix());
    normal.normalize();
    const znFloatType<2> w = znFloatType<2>(1.0f) - hit.u - hit.v;
    uv = st[0] * w + st[1] * hit.u + st[2] * hit.v;
    area = znFloatType<2>(0.5f) * cross(znRTVectorMath::transformAsDirection(p[1] - p[0], toWorld),
                                        znRTVectorMath::transformAsDirection(p[2] - p[0], toWorld))
                                      .getLength();
}

void znRTMeshIntersector::getUVs(unsigned int set, znRTHitInfoPacket& hit,
                                 znRTVector2fPacket& uv) const
{
    uv = getMesh().getUVs(set, hit);
}
