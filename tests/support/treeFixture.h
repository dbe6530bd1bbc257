#pragma once

// A mesh with its tree and no scene around it, and rays to send at it.

#include "accel/znRTBVHIntersector.h"
#include "accel/znRTIntersector.h"
#include "accel/znRTTriangleIntersector.h"
#include "core/znRTBoundingBox.h"
#include "core/znRTRayPacketBundle.h"
#include "support/meshes.h"

#include <bit>
#include <limits>

inline znRTBoundingBox boxOf(const TestMesh& mesh, const znRTTriangle& triangle)
{
    znRTBoundingBox box;
    for (const u32 v : {triangle.a, triangle.b, triangle.c}) {
        const float* const p = mesh.vertex(v);
        box.surround(znRTVector3f(p[0], p[1], p[2]));
    }
    return box;
}

/// Which positions the leaves are tested from.
enum class LeafData { indexed, inLeafOrder };

class TestIntersector : public znRTIntersector
{
public:
    TestIntersector(const TestMesh& testMesh, int sides, LeafData data, u32 maxLeafSize = 4,
                    znRTGeometryNode* owner = nullptr)
        : znRTIntersector(owner, 0, AcceleratorType::primitives, GeometryType::triangles),
          mesh(testMesh)
    {
        const u64 n = mesh.triangles.size();
        triangles.reserve(n + 4, true);
        std::copy(mesh.triangles.begin(), mesh.triangles.end(), triangles.data);
        std::fill_n(triangles.data + n, 4, znRTTriangle{0, 0, 0});
        if (n > 0)
            boxes.reserve(n, true);
        for (u64 i = 0; i < n; ++i) {
            boxes[i] = boxOf(mesh, triangles[i]);
            box.surround(boxes[i]);
        }
        traverser->build(this, nullptr, triangles.data, box, boxes, GeometryType::triangles,
                         maxLeafSize);
        if (data == LeafData::inLeafOrder)
            getTree().copyPositions(mesh.positions.data(), triangles.data);
        setSides(sides);
    }
    u64 getCount() const override { return mesh.triangles.size(); }
    bool initialize() override { return true; }
    void build(unsigned int) override {}
    void rebuild() override {}
    void clear() override {}
    float calculatePrimitiveAreas(znDynArray<float>&) const override { return 0.0f; }

    znRTBVHIntersector& getTree() { return static_cast<znRTBVHIntersector&>(*traverser); }
    void setSides(int sides)
    {
        const float* const p = mesh.positions.data();
        if (sides == 1)
            setLeaf(new znRTSingleSidedTriangleIntersector<1>(p, triangles, 0));
        else if (sides == 2)
            setLeaf(new znRTSingleSidedTriangleIntersector<0>(p, triangles, 0));
        else
            setLeaf(new znRTDoubleSidedTriangleIntersector(p, triangles, 0));
    }

    const TestMesh& mesh;
    znDynArray<znRTTriangle> triangles; ///< in tree order, four of padding behind
    znDynArray<znRTBoundingBox> boxes;
    znRTBoundingBox box;
};

/// A packet with directions as they are given: not normalized.
inline znRTRayPacket makeRays(const znRTVector3fPacket& origin, const znRTVector3fPacket& direction)
{
    znRTRayPacket ray(origin, direction);
    ray.direction = direction;
    ray.updateInverse();
    return ray;
}

/// Every field holds something that a test can recognise.
inline znRTHitInfoPacket untouchedHit(float farEnd = 1e30f)
{
    znRTHitInfoPacket hit;
    hit.reset(farEnd);
    hit.primitive = znIntType<2>(-7);
    hit.geometry = znIntType<2>(-7);
    hit.u = hit.v = -7.0f;
    return hit;
}

/// Random rays: from points around the unit cube or in it, toward points in it.
class RayMaker
{
public:
    explicit RayMaker(unsigned seed) : random(seed) {}

    znRTVector3fPacket point(float low, float high)
    {
        std::uniform_real_distribution<float> d(low, high);
        znRTVector3fPacket p;
        for (int axis = 0; axis < 3; ++axis)
            p[axis] = znFloatType<2>(d(random), d(random), d(random), d(random));
        return p;
    }
    /// Four rays without anything in common.
    znRTRayPacket incoherent()
    {
        const znRTVector3fPacket from = point(-1.0f, 2.0f);
        return makeRays(from, point(0.0f, 1.0f) - from);
    }
    /// Four rays from one point in nearly one direction.
    znRTRayPacket coherent()
    {
        const znRTVector3f from = point(-2.0f, 3.0f).getLane(0), at = point(0.0f, 1.0f).getLane(0);
        const znRTVector3fPacket origin(from);
        return makeRays(origin, znRTVector3fPacket(at) + point(-0.01f, 0.01f) - origin);
    }

    std::mt19937 random;
};
