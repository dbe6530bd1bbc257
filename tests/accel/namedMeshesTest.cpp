// Scans and mechanical parts against Embree, a million rays each: bundles, packets, single rays and
// shadows, of rays that belong together and of rays that do not. Where the two disagree, the ray
// has to pass an edge of the triangle in dispute within float distance, as told in double
// precision.

#ifdef ZN_WITH_EMBREE

#include "core/znRTFloatControl.h"
#include "support/embreeScene.h"
#include "support/treeFixture.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <sstream>
#include <tbb/parallel_for.h>

namespace {
/// What `xz` unpacks from a file; nothing without file or program.
std::string unpack(const std::string& path)
{
    std::string bytes;
    if (!std::filesystem::exists(path))
        return bytes;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(("xz -dc '" + path + "'").c_str(), "r"),
                                                     pclose);
    char block[65536];
    while (pipe) {
        const std::size_t n = fread(block, 1, sizeof block, pipe.get());
        if (n == 0)
            break;
        bytes.append(block, n);
    }
    return bytes;
}

/// Binary little-endian PLY with float x y z and triangles as uchar + 3 int, nothing else.
TestMesh readPly(const std::string& bytes)
{
    const std::string_view end = "end_header\n";
    const std::size_t start = bytes.find(end) + end.size();
    std::istringstream header(bytes.substr(0, start));
    u64 vertexCount = 0, faceCount = 0;
    for (std::string word; header >> word;)
        if (word == "element") {
            header >> word;
            header >> (word == "vertex" ? vertexCount : faceCount);
        }
    constexpr std::size_t vertexSize = 12, faceSize = 13;
    TestMesh mesh;
    if (bytes.size() != start + vertexCount * vertexSize + faceCount * faceSize)
        return mesh;
    mesh.positions.resize(3 * vertexCount);
    mesh.triangles.resize(faceCount);
    const char* p = bytes.data() + start;
    std::memcpy(mesh.positions.data(), p, vertexCount * vertexSize);
    p += vertexCount * vertexSize;
    for (znRTTriangle& t : mesh.triangles) {
        std::memcpy(&t, p + 1, sizeof t);
        p += faceSize;
    }
    return mesh;
}

struct Point
{
    double x, y, z;
};
Point operator-(Point a, Point b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Point operator+(Point a, Point b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Point operator*(double s, Point a)
{
    return {s * a.x, s * a.y, s * a.z};
}
double dot(Point a, Point b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Point toPoint(const float* p)
{
    return {p[0], p[1], p[2]};
}
Point toPoint(const znRTVector3f& p)
{
    return {p.x, p.y, p.z};
}

/// Distance of the line o + t d from the segment a b: the squared distance is a parabola along the
/// segment, so its lowest point, held between the ends, is the nearest.
double distanceFromEdge(Point o, Point d, Point a, Point b)
{
    const auto across = [&](Point p) { return p - dot(p, d) / dot(d, d) * d; };
    const Point from = across(a - o), along = across(b - a);
    const double square = dot(along, along);
    const double s = square > 0 ? std::clamp(-dot(from, along) / square, 0.0, 1.0) : 0.0;
    const Point nearest = from + s * along;
    return std::sqrt(dot(nearest, nearest));
}

double distanceFromEdges(const TestMesh& mesh, const znRTTriangle& t, Point o, Point d)
{
    const Point a = toPoint(mesh.vertex(t.a)), b = toPoint(mesh.vertex(t.b)),
                c = toPoint(mesh.vertex(t.c));
    return std::min(
        {distanceFromEdge(o, d, a, b), distanceFromEdge(o, d, b, c), distanceFromEdge(o, d, c, a)});
}

/// What floats are rounded to, relatively, over the few dozen operations of a triangle's test.
constexpr double s_rounding = 32 * 0x1p-23;

struct Figures
{
    u64 rays = 0, hits = 0, disagreements = 0, farFromEdges = 0, differentWalks = 0;
    double farthest = 0; ///< of the disputed rays from an edge, relative to the scale of the ray

    void add(const Figures& f)
    {
        rays += f.rays;
        hits += f.hits;
        disagreements += f.disagreements;
        farFromEdges += f.farFromEdges;
        differentWalks += f.differentWalks;
        farthest = std::max(farthest, f.farthest);
    }
};

class Comparison
{
public:
    explicit Comparison(const TestMesh& testMesh)
        : mesh(testMesh), object(mesh, 3, LeafData::inLeafOrder),
          other(mesh), low{object.box.xmin, object.box.ymin, object.box.zmin}, high{object.box.xmax,
                                                                                    object.box.ymax,
                                                                                    object.box.zmax}
    {
    }

    Figures run() const
    {
        Figures all;
        std::mutex lock;
        // 2 x 2048 bundles of 256 rays: 1,048,576.
        tbb::parallel_for(0u, 2048u, [&](unsigned i) {
            const znRTFloatControl floatControl;
            RayMaker random(i);
            Figures part;
            compare(random, true, part);
            compare(random, false, part);
            const std::lock_guard guard(lock);
            all.add(part);
        });
        return all;
    }

private:
    /// Points of the box, made larger about its middle.
    znRTVector3fPacket pointNear(RayMaker& random, float scale) const
    {
        const znRTVector3fPacket p = random.point(-0.5f * scale, 0.5f * scale);
        const Point extent = high - low, center = 0.5 * (low + high);
        return {p.x * znFloatType<2>(float(extent.x)) + znFloatType<2>(float(center.x)),
                p.y * znFloatType<2>(float(extent.y)) + znFloatType<2>(float(center.y)),
                p.z * znFloatType<2>(float(extent.z)) + znFloatType<2>(float(center.z))};
    }

    void compare(RayMaker& random, bool isCoherent, Figures& figures) const
    {
        constexpr unsigned count = znRTRayPacketBundle::s_maxPackets;
        const auto bundle = std::make_unique<znRTRayPacketBundle>();
        const auto found = std::make_unique<znRTHitInfoPacketBundle>();
        bundle->count = found->count = count;
        bundle->coherent = isCoherent;
        znFloatType<2> tMin[count], tMax[count];
        int masks[count];
        const znRTVector3fPacket eye(pointNear(random, 4.0f).getLane(0));
        const znRTVector3fPacket at(pointNear(random, 0.8f).getLane(0));
        for (unsigned k = 0; k < count; ++k) {
            const znRTVector3fPacket from = isCoherent ? eye : pointNear(random, 2.0f);
            const znRTVector3fPacket to =
                isCoherent ? 0.9f * at + 0.1f * pointNear(random, 1.0f) : pointNear(random, 1.0f);
            static_cast<znRTRayPacket&>(bundle->rays[k]) = makeRays(from, to - from);
            found->hits[k] = untouchedHit();
            tMin[k] = 0.0f;
            tMax[k] = 1e30f;
            masks[k] = 15;
        }
        object.intersectNoTransform(*bundle, tMin, tMax, *found, masks, 0);
        for (unsigned k = 0; k < count; ++k)
            comparePacket(bundle->rays[k], found->hits[k], figures);
    }

    /// Up to two units in the last place: of two triangles at nearly one distance, a walk takes the
    /// one whose box it visits first, since the box of the other, rounded, may begin behind it.
    static bool isSameDistance(float a, float b)
    {
        return a == b || std::abs(a - b) <= 0x1p-22f * std::abs(a);
    }

    /// Of a distance along a ray, from the rounding of coordinates of the origin's size.
    static float getRounding(const znRTRayPacket& ray, int lane)
    {
        const Point o = toPoint(ray.origin.getLane(lane)), d = toPoint(ray.direction.getLane(lane));
        return float(s_rounding * std::sqrt(dot(o, o) / dot(d, d)));
    }

    void comparePacket(const znRTRayPacket& ray, const znRTHitInfoPacket& bundled,
                       Figures& figures) const
    {
        znRTHitInfoPacket packet = untouchedHit(), lanes = untouchedHit(), shadow = untouchedHit(),
                          shadowLanes = untouchedHit();
        object.intersectNoTransform(ray, 0.0f, 1e30f, packet, 15);
        object.intersectShadowNoTransform(ray, 0.0f, 1e30f, shadow, 15);
        for (int lane = 0; lane < 4; ++lane) {
            object.intersectNoTransform(ray, lane, 0.0f, 1e30f, lanes);
            object.intersectShadowNoTransform(ray, lane, 0.0f, 1e30f, shadowLanes);
        }
        for (int lane = 0; lane < 4; ++lane) {
            const auto isHit = [lane](const znRTHitInfoPacket& hit) {
                return ((hit.hitMask >> lane) & 1) != 0;
            };
            const bool hit = isHit(packet);
            figures.differentWalks += isHit(bundled) != hit || isHit(lanes) != hit ||
                                      isHit(shadow) != hit || isHit(shadowLanes) != hit ||
                                      !isSameDistance(bundled.t[lane], packet.t[lane]) ||
                                      !isSameDistance(lanes.t[lane], packet.t[lane]);
            ++figures.rays;
            figures.hits += hit;
            const EmbreeScene::Hit expected = other.trace(ray, lane);
            // Close to the origin a distance is no better than the coordinates of the surface.
            const float tolerance = 1e-4f * packet.t[lane] + getRounding(ray, lane);
            const bool isFar = hit && std::isfinite(expected.t) &&
                               std::abs(packet.t[lane] - expected.t) > tolerance;
            if (isFar || hit != std::isfinite(expected.t))
                dispute(ray, lane, hit ? &packet : nullptr, expected, figures);
            else if (other.isOccluded(ray, lane) != hit)
                dispute(ray, lane, hit ? &packet : nullptr, {0.0f, expected.primitive}, figures);
        }
    }

    /// The nearer of the two triangles is the one that only one side has met.
    void dispute(const znRTRayPacket& ray, int lane, const znRTHitInfoPacket* packet,
                 const EmbreeScene::Hit& expected, Figures& figures) const
    {
        const Point o = toPoint(ray.origin.getLane(lane)), d = toPoint(ray.direction.getLane(lane));
        const bool isOurs = packet && packet->t[lane] < expected.t;
        const znRTTriangle& triangle = isOurs ? object.triangles[u32(packet->primitive[lane])]
                                              : mesh.triangles[expected.primitive];
        const double t = double(isOurs ? packet->t[lane] : expected.t);
        const double scale = std::sqrt(std::max(dot(o, o), dot(t * d, t * d)));
        const double distance = distanceFromEdges(mesh, triangle, o, d) / scale;
        ++figures.disagreements;
        figures.farthest = std::max(figures.farthest, distance);
        figures.farFromEdges += distance > s_rounding;
    }

    const TestMesh& mesh;
    const TestIntersector object;
    const EmbreeScene other;
    const Point low, high;
};

class NamedMesh : public testing::TestWithParam<const char*>
{
};
} // namespace

TEST_P(NamedMesh, IsSeenAsEmbreeSeesIt)
{
    const std::string path =
        std::string(ZN_SOURCE_DIR "/../shared/data/meshes/") + GetParam() + ".ply.xz";
    const std::string bytes = unpack(path);
    if (bytes.empty())
        GTEST_SKIP() << path << " is not there, or xz to unpack it";
    const TestMesh mesh = readPly(bytes);
    ASSERT_FALSE(mesh.triangles.empty()) << path;

    const Figures figures = Comparison(mesh).run();
    EXPECT_GT(figures.hits, figures.rays / 10);
    EXPECT_EQ(figures.differentWalks, 0u) << "bundles, packets, single rays and shadows differ";
    EXPECT_LT(double(figures.disagreements) / double(figures.rays), 1e-5)
        << figures.disagreements << " of " << figures.rays;
    EXPECT_EQ(figures.farFromEdges, 0u) << "farthest: " << figures.farthest;
    RecordProperty("disagreements", std::to_string(figures.disagreements));
}

INSTANTIATE_TEST_SUITE_P(Scans, NamedMesh, testing::Values("bunny", "dragon", "buddha"),
                         [](const auto& info) { return std::string(info.param); });
INSTANTIATE_TEST_SUITE_P(Parts, NamedMesh, testing::Values("saw", "engine"),
                         [](const auto& info) { return std::string(info.param); });

#endif
