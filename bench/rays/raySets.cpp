#include "raySets.h"

#include <bit>
#include <cmath>

namespace {
struct Vec
{
    double x, y, z;
};
Vec operator+(Vec a, Vec b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Vec operator-(Vec a, Vec b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Vec operator*(double s, Vec a)
{
    return {s * a.x, s * a.y, s * a.z};
}
double dot(Vec a, Vec b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vec cross(Vec a, Vec b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
Vec normalize(Vec a)
{
    return 1.0 / std::sqrt(dot(a, a)) * a;
}

constexpr double s_degree = 3.14159265358979323846 / 180.0;
constexpr float s_farEnd = 1e30f;

/// Calls with the pixel of each lane in the order of the rays.
template <class Call>
void forEachLane(int width, int height, const Call& call)
{
    std::size_t packet = 0;
    for (int tileY = 0; tileY < height; tileY += 16)
        for (int tileX = 0; tileX < width; tileX += 16)
            for (int p = 0; p < 64; ++p, ++packet)
                for (int lane = 0; lane < 4; ++lane)
                    call(packet, lane, tileX + 2 * (p % 8) + (lane & 1),
                         tileY + 2 * (p / 8) + (lane >> 1));
}

void setRay(RayPacket& packet, int lane, Vec origin, Vec direction, float tFar)
{
    const double o[3] = {origin.x, origin.y, origin.z};
    const double d[3] = {direction.x, direction.y, direction.z};
    for (int axis = 0; axis < 3; ++axis) {
        packet.origin[axis][lane] = float(o[axis]);
        packet.direction[axis][lane] = float(d[axis]);
    }
    packet.tFar[lane] = tFar;
    packet.mask |= 1 << lane;
}

Vec toVec(const float* p)
{
    return {p[0], p[1], p[2]};
}

/// Where a primary ray arrived: a point off the surface and the normal against the ray.
struct Arrival
{
    Vec origin, normal;
};

Arrival getArrival(const Mesh& mesh, const std::vector<znRTTriangle>& triangles,
                   const Bounds& bounds, const RayPacket& packet, int lane, const HitRecord& hit)
{
    const znRTTriangle& t = triangles[hit.primitive];
    const Vec a = toVec(mesh.vertex(t.a)), b = toVec(mesh.vertex(t.b)), c = toVec(mesh.vertex(t.c));
    const Vec o{packet.origin[0][lane], packet.origin[1][lane], packet.origin[2][lane]};
    const Vec d{packet.direction[0][lane], packet.direction[1][lane], packet.direction[2][lane]};
    Vec n = normalize(cross(b - a, c - a));
    if (dot(n, d) > 0)
        n = -1.0 * n;
    return {o + double(hit.t) * d + 1e-4 * bounds.diagonal * n, n};
}
} // namespace

u64 RaySet::getRayCount() const
{
    u64 count = 0;
    for (const RayPacket& p : packets)
        count += u64(std::popcount(unsigned(p.mask)));
    return count;
}

Bounds getBounds(const Mesh& mesh)
{
    Bounds b{{1e30f, 1e30f, 1e30f}, {-1e30f, -1e30f, -1e30f}, {}, 0.0};
    for (const znRTTriangle& t : mesh.triangles)
        for (const u32 i : {t.a, t.b, t.c})
            for (int axis = 0; axis < 3; ++axis) {
                b.low[axis] = std::min(b.low[axis], mesh.vertex(i)[axis]);
                b.high[axis] = std::max(b.high[axis], mesh.vertex(i)[axis]);
            }
    double square = 0;
    for (int axis = 0; axis < 3; ++axis) {
        b.center[axis] = (double(b.low[axis]) + b.high[axis]) / 2;
        square += std::pow(double(b.high[axis]) - b.low[axis], 2);
    }
    b.diagonal = std::sqrt(square);
    return b;
}

RaySet makePrimary(const Bounds& bounds, char camera, int width, int height)
{
    const Vec c{bounds.center[0], bounds.center[1], bounds.center[2]};
    const Vec d = normalize({0.6, 0.35, 0.72});
    const double distance = camera == 'A' ? 1.5 : camera == 'B' ? 0.75 : 0.0;
    const Vec eye = c + distance * bounds.diagonal * d;
    const Vec f = -1.0 * d;
    const Vec right = normalize(cross(f, {0, 1, 0})), up = cross(right, f);
    const double tangent = std::tan((camera == 'C' ? 60 : 40) * s_degree / 2);

    RaySet set;
    set.name = std::string("primary") + camera;
    set.isBundled = true;
    set.packets.resize(std::size_t(width) * height / 4);
    forEachLane(width, height, [&](std::size_t packet, int lane, int x, int y) {
        const double sx = (2 * (x + 0.5) / width - 1) * width / height * tangent;
        const double sy = (1 - 2 * (y + 0.5) / height) * tangent;
        setRay(set.packets[packet], lane, eye, normalize(f + sx * right + sy * up), s_farEnd);
    });
    return set;
}

RaySet makeShadow(const Mesh& mesh, const std::vector<znRTTriangle>& triangles,
                  const Bounds& bounds, char camera, const RaySet& primary,
                  const std::vector<HitRecord>& hits)
{
    const Vec c{bounds.center[0], bounds.center[1], bounds.center[2]};
    const Vec offset = camera == 'C' ? Vec{0.02, 0.05, 0.01} : Vec{0.9, 1.3, 0.5};
    const Vec light = c + bounds.diagonal * offset;
    RaySet set;
    set.name = std::string("shadow") + camera;
    set.isShadow = true;
    set.packets.resize(primary.packets.size());
    for (std::size_t p = 0; p < primary.packets.size(); ++p)
        for (int lane = 0; lane < 4; ++lane) {
            const HitRecord& hit = hits[4 * p + lane];
            if (!std::isfinite(hit.t))
                continue;
            const Arrival at = getArrival(mesh, triangles, bounds, primary.packets[p], lane, hit);
            setRay(set.packets[p], lane, at.origin, light - at.origin, 1.0f);
        }
    return set;
}

RaySet makeDiffuse(const Mesh& mesh, const std::vector<znRTTriangle>& triangles,
                   const Bounds& bounds, char camera, const RaySet& primary,
                   const std::vector<HitRecord>& hits, int width)
{
    RaySet set;
    set.name = std::string("diffuse") + camera;
    set.packets.resize(primary.packets.size());
    const int height = int(primary.packets.size() * 4 / std::size_t(width));
    forEachLane(width, height, [&](std::size_t p, int lane, int x, int y) {
        const HitRecord& hit = hits[4 * p + std::size_t(lane)];
        if (!std::isfinite(hit.t))
            return;
        const Arrival at = getArrival(mesh, triangles, bounds, primary.packets[p], lane, hit);
        const u32 i = u32(y) * u32(width) + u32(x);
        const double u1 = hashNumber(2 * i), u2 = hashNumber(2 * i + 1);
        const double r = std::sqrt(u1), phi = 360 * s_degree * u2;
        // T. Duff et al., "Building an Orthonormal Basis, Revisited", 2017.
        const Vec n = at.normal;
        const double sign = std::copysign(1.0, n.z), a = -1.0 / (sign + n.z), b = n.x * n.y * a;
        const Vec tangent{1.0 + sign * n.x * n.x * a, sign * b, -sign * n.x};
        const Vec bitangent{b, sign + n.y * n.y * a, -n.y};
        setRay(set.packets[p], lane, at.origin,
               r * std::cos(phi) * tangent + r * std::sin(phi) * bitangent + std::sqrt(1 - u1) * n,
               s_farEnd);
    });
    return set;
}

double hashNumber(u32 i)
{
    const u32 state = i * 747796405u + 2891336453u;
    const u32 word = ((state >> ((state >> 28) + 4)) ^ state) * 277803737u;
    return double(((word >> 22) ^ word) >> 8) / 16777216.0;
}
