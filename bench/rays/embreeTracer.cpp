// Embree 3 on the same rays, as the yardstick.

#include "tracer.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <embree3/rtcore.h>
#include <limits>

namespace {
constexpr float s_infinity = std::numeric_limits<float>::infinity();

class EmbreeTracer : public Tracer
{
public:
    EmbreeTracer(RTCScene s, std::string n) : scene(s), name(std::move(n)) {}
    std::string getName() const override { return name; }
    bool accepts(const RaySet&) const override { return true; }

protected:
    RTCScene scene;
    std::string name;
};

RTCIntersectContext makeContext(bool coherent)
{
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    context.flags =
        coherent ? RTC_INTERSECT_CONTEXT_FLAG_COHERENT : RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT;
    return context;
}

class SingleTracer : public EmbreeTracer
{
public:
    using EmbreeTracer::EmbreeTracer;
    void trace(const RaySet& set, std::size_t begin, std::size_t end, HitRecord* out) const override
    {
        RTCIntersectContext context = makeContext(false);
        for (std::size_t i = begin; i < end; ++i)
            for (int lane = 0; lane < 4; ++lane) {
                const RayPacket& p = set.packets[i];
                HitRecord& record = out[4 * (i - begin) + std::size_t(lane)];
                record = {s_infinity, 0};
                if (!((p.mask >> lane) & 1))
                    continue;
                RTCRayHit r;
                r.ray = {p.origin[0][lane],
                         p.origin[1][lane],
                         p.origin[2][lane],
                         0.0f,
                         p.direction[0][lane],
                         p.direction[1][lane],
                         p.direction[2][lane],
                         0.0f,
                         p.tFar[lane],
                         ~0u,
                         0,
                         0};
                if (set.isShadow) {
                    rtcOccluded1(scene, &context, &r.ray);
                    record.t = r.ray.tfar < 0 ? 0.0f : s_infinity;
                } else {
                    r.hit.geomID = r.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
                    rtcIntersect1(scene, &context, &r);
                    if (r.hit.geomID != RTC_INVALID_GEOMETRY_ID)
                        record = {r.ray.tfar, r.hit.primID};
                }
            }
    }
};

template <int N>
struct Api;
template <>
struct Api<4>
{
    using RayHit = RTCRayHit4;
    static void intersect(const int* v, RTCScene s, RTCIntersectContext* c, RayHit* r)
    {
        rtcIntersect4(v, s, c, r);
    }
    static void occluded(const int* v, RTCScene s, RTCIntersectContext* c, RayHit* r)
    {
        rtcOccluded4(v, s, c, &r->ray);
    }
};
template <>
struct Api<8>
{
    using RayHit = RTCRayHit8;
    static void intersect(const int* v, RTCScene s, RTCIntersectContext* c, RayHit* r)
    {
        rtcIntersect8(v, s, c, r);
    }
    static void occluded(const int* v, RTCScene s, RTCIntersectContext* c, RayHit* r)
    {
        rtcOccluded8(v, s, c, &r->ray);
    }
};
template <>
struct Api<16>
{
    using RayHit = RTCRayHit16;
    static void intersect(const int* v, RTCScene s, RTCIntersectContext* c, RayHit* r)
    {
        rtcIntersect16(v, s, c, r);
    }
    static void occluded(const int* v, RTCScene s, RTCIntersectContext* c, RayHit* r)
    {
        rtcOccluded16(v, s, c, &r->ray);
    }
};

template <int N>
class PacketTracer : public EmbreeTracer
{
public:
    PacketTracer(RTCScene s, const std::string& n, bool c) : EmbreeTracer(s, n), coherent(c) {}
    bool accepts(const RaySet& set) const override
    {
        return !coherent || set.isBundled || set.isShadow;
    }
    void trace(const RaySet& set, std::size_t begin, std::size_t end, HitRecord* out) const override
    {
        RTCIntersectContext context = makeContext(coherent);
        alignas(64) typename Api<N>::RayHit r;
        alignas(64) int valid[N];
        constexpr std::size_t packets = N / 4;
        for (std::size_t i = begin; i < end; i += packets) {
            for (std::size_t k = 0; k < packets; ++k) {
                const RayPacket& p = set.packets[std::min(i + k, end - 1)];
                const int mask = i + k < end ? p.mask : 0;
                const std::size_t at = 4 * k;
                std::copy_n(p.origin[0], 4, r.ray.org_x + at);
                std::copy_n(p.origin[1], 4, r.ray.org_y + at);
                std::copy_n(p.origin[2], 4, r.ray.org_z + at);
                std::copy_n(p.direction[0], 4, r.ray.dir_x + at);
                std::copy_n(p.direction[1], 4, r.ray.dir_y + at);
                std::copy_n(p.direction[2], 4, r.ray.dir_z + at);
                std::copy_n(p.tFar, 4, r.ray.tfar + at);
                for (std::size_t lane = 0; lane < 4; ++lane) {
                    r.ray.tnear[at + lane] = r.ray.time[at + lane] = 0.0f;
                    r.ray.mask[at + lane] = ~0u;
                    r.ray.flags[at + lane] = 0;
                    r.hit.geomID[at + lane] = RTC_INVALID_GEOMETRY_ID;
                    r.hit.instID[0][at + lane] = RTC_INVALID_GEOMETRY_ID;
                    valid[at + lane] = (mask >> lane) & 1 ? -1 : 0;
                }
            }
            if (set.isShadow)
                Api<N>::occluded(valid, scene, &context, &r);
            else
                Api<N>::intersect(valid, scene, &context, &r);
            const std::size_t lanes = 4 * std::min(packets, end - i);
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                HitRecord& record = out[4 * (i - begin) + lane];
                record = {s_infinity, 0};
                if (set.isShadow ? valid[lane] && r.ray.tfar[lane] < 0
                                 : valid[lane] && r.hit.geomID[lane] != RTC_INVALID_GEOMETRY_ID)
                    record = {set.isShadow ? 0.0f : r.ray.tfar[lane], r.hit.primID[lane]};
            }
        }
    }

private:
    const bool coherent;
};

class StreamTracer : public EmbreeTracer
{
public:
    StreamTracer(RTCScene s, const std::string& n, bool c) : EmbreeTracer(s, n), coherent(c) {}
    bool accepts(const RaySet& set) const override
    {
        return !coherent || set.isBundled || set.isShadow;
    }
    void trace(const RaySet& set, std::size_t begin, std::size_t end, HitRecord* out) const override
    {
        constexpr std::size_t packets = 64;
        RTCIntersectContext context = makeContext(coherent);
        alignas(64) RTCRayHit rays[4 * packets];
        std::size_t places[4 * packets];
        for (std::size_t i = begin; i < end; i += packets) {
            std::size_t count = 0;
            for (std::size_t k = i; k < std::min(i + packets, end); ++k)
                for (std::size_t lane = 0; lane < 4; ++lane) {
                    const RayPacket& p = set.packets[k];
                    out[4 * (k - begin) + lane] = {s_infinity, 0};
                    if (!((p.mask >> lane) & 1))
                        continue;
                    RTCRayHit& r = rays[count];
                    r.ray = {p.origin[0][lane],    p.origin[1][lane],
                             p.origin[2][lane],    0.0f,
                             p.direction[0][lane], p.direction[1][lane],
                             p.direction[2][lane], 0.0f,
                             p.tFar[lane],         ~0u,
                             unsigned(count),      0};
                    r.hit.geomID = r.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
                    places[count++] = 4 * (k - begin) + lane;
                }
            if (set.isShadow)
                rtcOccluded1M(scene, &context, &rays[0].ray, unsigned(count), sizeof(RTCRayHit));
            else
                rtcIntersect1M(scene, &context, rays, unsigned(count), sizeof(RTCRayHit));
            for (std::size_t k = 0; k < count; ++k) {
                if (set.isShadow ? rays[k].ray.tfar < 0
                                 : rays[k].hit.geomID != RTC_INVALID_GEOMETRY_ID)
                    out[places[k]] = {set.isShadow ? 0.0f : rays[k].ray.tfar, rays[k].hit.primID};
            }
        }
    }

private:
    const bool coherent;
};

class EmbreeStructure : public Structure
{
public:
    EmbreeStructure(const Mesh& mesh, const std::string& config, bool isFull,
                    const std::vector<Instance>* instances);
    ~EmbreeStructure() override
    {
        rtcReleaseScene(scene);
        if (inner)
            rtcReleaseScene(inner);
        rtcReleaseDevice(device);
    }
    std::string getName() const override { return "embree"; }
    u64 getMemory() const override { return u64(memory.load()); }
    const std::vector<std::unique_ptr<Tracer>>& getTracers() const override { return tracers; }

private:
    void addMesh(RTCScene target, const Mesh& mesh);

    RTCDevice device;
    RTCScene scene, inner = nullptr;
    std::atomic<std::ptrdiff_t> memory{0};
    std::vector<std::unique_ptr<Tracer>> tracers;
};

EmbreeStructure::EmbreeStructure(const Mesh& mesh, const std::string& config, bool isFull,
                                 const std::vector<Instance>* instances)
    : device(rtcNewDevice(config.c_str()))
{
    const auto watch = [](void* counter, ssize_t bytes, bool) {
        *static_cast<std::atomic<std::ptrdiff_t>*>(counter) += bytes;
        return true;
    };
    rtcSetDeviceMemoryMonitorFunction(device, watch, &memory);
    scene = rtcNewScene(device);
    if (instances) {
        inner = rtcNewScene(device);
        addMesh(inner, mesh);
        rtcCommitScene(inner);
        for (const Instance& instance : *instances) {
            RTCGeometry copy = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE);
            rtcSetGeometryInstancedScene(copy, inner);
            rtcSetGeometryTransform(copy, 0, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR,
                                    &instance.toWorld[0][0]);
            rtcCommitGeometry(copy);
            rtcAttachGeometry(scene, copy);
            rtcReleaseGeometry(copy);
        }
    } else
        addMesh(scene, mesh);
    rtcCommitScene(scene);
    const std::string prefix = isFull ? "embreeBest." : "embree.";
    tracers.push_back(std::make_unique<SingleTracer>(scene, prefix + "single"));
    tracers.push_back(std::make_unique<PacketTracer<4>>(scene, prefix + "packet4", false));
    tracers.push_back(std::make_unique<PacketTracer<4>>(scene, prefix + "packet4coherent", true));
    if (!isFull)
        return;
    tracers.push_back(std::make_unique<PacketTracer<8>>(scene, prefix + "packet8", false));
    tracers.push_back(std::make_unique<PacketTracer<8>>(scene, prefix + "packet8coherent", true));
    tracers.push_back(std::make_unique<PacketTracer<16>>(scene, prefix + "packet16", false));
    tracers.push_back(std::make_unique<PacketTracer<16>>(scene, prefix + "packet16coherent", true));
    tracers.push_back(std::make_unique<StreamTracer>(scene, prefix + "stream", false));
    tracers.push_back(std::make_unique<StreamTracer>(scene, prefix + "streamCoherent", true));
}

void EmbreeStructure::addMesh(RTCScene target, const Mesh& mesh)
{
    RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    void* const vertices =
        rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                3 * sizeof(float), mesh.positions.size() / 3);
    void* const indices =
        rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                sizeof(znRTTriangle), mesh.triangles.size());
    std::copy(mesh.positions.begin(), mesh.positions.end(), static_cast<float*>(vertices));
    std::copy(mesh.triangles.begin(), mesh.triangles.end(), static_cast<znRTTriangle*>(indices));
    rtcSetGeometryBuildQuality(geometry, RTC_BUILD_QUALITY_MEDIUM);
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(target, geometry);
    rtcReleaseGeometry(geometry);
}
} // namespace

std::unique_ptr<Structure> buildEmbree(const Mesh& mesh, const std::string& config, bool isFull,
                                       const std::vector<Instance>* instances)
{
    return std::make_unique<EmbreeStructure>(mesh, config, isFull, instances);
}
