// The core's own trees: one geometry without a scene around it.

#include "tracer.h"

#include "accel/znRTBVHIntersector.h"
#include "accel/znRTIntersector.h"
#include "accel/znRTTriangleIntersector.h"
#include "core/znRTBoundingBox.h"
#include "core/znRTRayPacketBundle.h"

#include <bit>
#include <cmath>
#include <limits>
#include <tbb/parallel_for.h>

namespace {
constexpr float s_infinity = std::numeric_limits<float>::infinity();

/// A mesh in object space that belongs to no node.
class MeshIntersector : public znRTIntersector
{
public:
    explicit MeshIntersector(const Mesh& mesh)
        : znRTIntersector(nullptr, 0, AcceleratorType::primitives, GeometryType::triangles)
    {
        triangles.reserve(mesh.triangles.size() + 4, true);
        std::copy(mesh.triangles.begin(), mesh.triangles.end(), triangles.data);
        triangles.size = mesh.triangles.size();
        buildTree(mesh);
        setLeaf(new znRTDoubleSidedTriangleIntersector(mesh.positions.data(), triangles, 0));
    }
    u64 getCount() const override { return triangles.size; }
    bool initialize() override { return true; }
    void build(unsigned int) override {}
    void rebuild() override {}
    void clear() override {}
    float calculatePrimitiveAreas(znDynArray<float>&) const override { return 0.0f; }

    znDynArray<znRTTriangle> triangles;

private:
    void buildTree(const Mesh& mesh)
    {
        znDynArray<znRTBoundingBox> boxes;
        boxes.reserve(triangles.size, true);
        znRTBoundingBox box;
        using Range = tbb::blocked_range<u64>;
        std::mutex lock;
        tbb::parallel_for(Range(0, triangles.size, 4096), [&](const Range& range) {
            znRTBoundingBox part;
            for (u64 i = range.begin(); i != range.end(); ++i) {
                znRTBoundingBox b;
                for (const u32 v : {triangles[i].a, triangles[i].b, triangles[i].c}) {
                    const float* const p = mesh.vertex(v);
                    b.surround(znRTVector3f(p[0], p[1], p[2]));
                }
                part.surround(b);
                boxes[i] = b;
            }
            const std::lock_guard guard(lock);
            box.surround(part);
        });
        traverser->build(this, nullptr, triangles.data, box, boxes, GeometryType::triangles, 4);
        static_cast<znRTBVHIntersector*>(traverser)->copyPositions(mesh.positions.data(),
                                                                   triangles.data);
    }
};

void setRay(znRTRayPacket& ray, const RayPacket& p)
{
    ray.origin = {znFloatType<2>::load(p.origin[0]), znFloatType<2>::load(p.origin[1]),
                  znFloatType<2>::load(p.origin[2])};
    ray.direction = {znFloatType<2>::load(p.direction[0]), znFloatType<2>::load(p.direction[1]),
                     znFloatType<2>::load(p.direction[2])};
    ray.updateInverse();
}

void startHit(znRTHitInfoPacket& hit, const RayPacket& p)
{
    hit.t = znFloatType<2>::load(p.tFar);
    hit.hitMask = 0;
    hit.hitFlags = 0;
}

void record(const znRTHitInfoPacket& hit, HitRecord* out)
{
    for (int lane = 0; lane < 4; ++lane) {
        const bool isHit = (hit.hitMask >> lane) & 1;
        out[lane] = {isHit ? hit.t[lane] : s_infinity, isHit ? u32(hit.primitive[lane]) : 0u};
    }
}

class CoreTracer : public Tracer
{
public:
    CoreTracer(const znRTIntersector& o, const char* n) : object(o), name(n) {}
    std::string getName() const override { return name; }

protected:
    const znRTIntersector& object;
    const char* const name;
};

class PacketTracer : public CoreTracer
{
public:
    explicit PacketTracer(const znRTIntersector& o) : CoreTracer(o, "core.packet") {}
    bool accepts(const RaySet&) const override { return true; }
    void trace(const RaySet& set, std::size_t begin, std::size_t end, HitRecord* out) const override
    {
        const znFloatType<2> tMin(0.0f);
        znRTRayPacket ray;
        znRTHitInfoPacket hit;
        for (std::size_t i = begin; i < end; ++i) {
            const RayPacket& p = set.packets[i];
            setRay(ray, p);
            startHit(hit, p);
            if (set.isShadow)
                object.intersectShadowNoTransform(ray, tMin, hit.t, hit, p.mask);
            else
                object.intersectNoTransform(ray, tMin, hit.t, hit, p.mask);
            record(hit, out + 4 * (i - begin));
        }
    }
};

class LaneTracer : public CoreTracer
{
public:
    explicit LaneTracer(const znRTIntersector& o) : CoreTracer(o, "core.lane") {}
    bool accepts(const RaySet&) const override { return true; }
    void trace(const RaySet& set, std::size_t begin, std::size_t end, HitRecord* out) const override
    {
        const znFloatType<2> tMin(0.0f);
        znRTRayPacket ray;
        znRTHitInfoPacket hit;
        for (std::size_t i = begin; i < end; ++i) {
            const RayPacket& p = set.packets[i];
            setRay(ray, p);
            startHit(hit, p);
            for (int mask = p.mask; mask; mask &= mask - 1) {
                const int lane = std::countr_zero(unsigned(mask));
                if (set.isShadow)
                    object.intersectShadowNoTransform(ray, lane, tMin, hit.t, hit);
                else
                    object.intersectNoTransform(ray, lane, tMin, hit.t, hit);
            }
            record(hit, out + 4 * (i - begin));
        }
    }
};

class BundleTracer : public CoreTracer
{
public:
    explicit BundleTracer(const znRTIntersector& o) : CoreTracer(o, "core.bundle") {}
    bool accepts(const RaySet& set) const override { return set.isBundled; }
    void trace(const RaySet& set, std::size_t begin, std::size_t end, HitRecord* out) const override
    {
        constexpr unsigned size = znRTRayPacketBundle::s_maxPackets;
        static thread_local znRTRayPacketBundle rays;
        static thread_local znRTHitInfoPacketBundle hits;
        znFloatType<2> tMin[size], tMax[size];
        int masks[size];
        for (std::size_t i = begin; i < end; i += size) {
            const unsigned count = unsigned(std::min<std::size_t>(size, end - i));
            rays.count = hits.count = count;
            rays.coherent = 1;
            for (unsigned k = 0; k < count; ++k) {
                setRay(rays.rays[k], set.packets[i + k]);
                startHit(hits.hits[k], set.packets[i + k]);
                tMin[k] = 0.0f;
                masks[k] = set.packets[i + k].mask;
            }
            object.intersectNoTransform(rays, tMin, tMax, hits, masks, 0);
            for (unsigned k = 0; k < count; ++k)
                record(hits.hits[k], out + 4 * (i - begin + k));
        }
    }
};

class MeshStructure : public CoreStructure
{
public:
    explicit MeshStructure(const Mesh& mesh) : object(mesh)
    {
        tracers.push_back(std::make_unique<BundleTracer>(object));
        tracers.push_back(std::make_unique<PacketTracer>(object));
        tracers.push_back(std::make_unique<LaneTracer>(object));
        order.assign(object.triangles.begin(), object.triangles.end());
    }
    std::string getName() const override { return "core"; }
    u64 getMemory() const override
    {
        return object.getMemoryUsage() + object.triangles.capacity * sizeof(znRTTriangle);
    }
    const std::vector<std::unique_ptr<Tracer>>& getTracers() const override { return tracers; }
    const std::vector<znRTTriangle>& getTriangles() const override { return order; }

private:
    MeshIntersector object;
    std::vector<std::unique_ptr<Tracer>> tracers;
    std::vector<znRTTriangle> order;
};
} // namespace

std::unique_ptr<CoreStructure> buildCore(const Mesh& mesh)
{
    return std::make_unique<MeshStructure>(mesh);
}
