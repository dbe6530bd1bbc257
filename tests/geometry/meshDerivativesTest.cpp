#include "core/shadingRequirements.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <array>

namespace {

/// Vectors of double precision, for the reference alone.
struct Vector
{
    double x = 0, y = 0, z = 0;
    friend Vector operator+(Vector a, Vector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
    friend Vector operator-(Vector a, Vector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend Vector operator*(Vector a, double s) { return {a.x * s, a.y * s, a.z * s}; }
};

double dot(Vector a, Vector b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector cross(Vector a, Vector b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double length(Vector a)
{
    return std::sqrt(dot(a, a));
}

Vector unit(Vector a)
{
    return a * (1.0 / length(a));
}

Vector toDouble(const znRTVector3f& v)
{
    return {v.x, v.y, v.z};
}

/// Columns and translation of an affine map.
struct Map
{
    Vector column[3], offset;

    Vector location(Vector p) const { return direction(p) + offset; }
    Vector direction(Vector d) const { return column[0] * d.x + column[1] * d.y + column[2] * d.z; }
    /// By the inverse transposed matrix: its columns are the cross products of the columns, up to
    /// the determinant, which turns normals of mirrored objects.
    Vector normal(Vector n) const
    {
        const double determinant = dot(cross(column[0], column[1]), column[2]);
        return (cross(column[1], column[2]) * n.x + cross(column[2], column[0]) * n.y +
                cross(column[0], column[1]) * n.z) *
               (1.0 / determinant);
    }
};

/// One triangle under a map, and a ray with its neighbours.
struct Reference
{
    std::array<Vector, 3> position, normal; ///< object space
    std::array<std::array<double, 2>, 3> uv;
    Map map;
    Vector origin, direction;
    Vector originStep[2], directionStep[2]; ///< to the neighbours in x and y

    struct Point
    {
        Vector position, normal;
        double uv[2];
    };

    /// What the ray sees that lies the fraction s of the way to a neighbour.
    Point see(int neighbour, double s) const
    {
        const Vector o = origin + originStep[neighbour] * s;
        const Vector d = direction + directionStep[neighbour] * s;
        const Vector a = map.location(position[0]);
        const Vector e1 = map.location(position[1]) - a, e2 = map.location(position[2]) - a;
        const Vector n = cross(e1, e2);
        const Vector p = o + d * (dot(a - o, n) / dot(d, n));
        // Cramer's rule on the plane.
        const double u = dot(cross(p - a, e2), n) / dot(n, n);
        const double v = dot(cross(e1, p - a), n) / dot(n, n);
        return at(u, v);
    }
    Point at(double u, double v) const
    {
        const double w = 1.0 - u - v;
        Point point;
        point.position = map.location(position[0] * w + position[1] * u + position[2] * v);
        point.normal = unit(map.normal(normal[0] * w + normal[1] * u + normal[2] * v));
        for (int k = 0; k < 2; ++k)
            point.uv[k] = uv[0][k] * w + uv[1][k] * u + uv[2][k] * v;
        return point;
    }
    /// The point with given texture coordinates.
    Point atUV(double s, double t) const
    {
        const double s1 = uv[1][0] - uv[0][0], s2 = uv[2][0] - uv[0][0];
        const double t1 = uv[1][1] - uv[0][1], t2 = uv[2][1] - uv[0][1];
        const double determinant = s1 * t2 - s2 * t1;
        const double ds = s - uv[0][0], dt = t - uv[0][1];
        return at((ds * t2 - dt * s2) / determinant, (dt * s1 - ds * t1) / determinant);
    }
};

constexpr double step = 1e-5; ///< of the central differences

class RandomScene
{
public:
    explicit RandomScene(unsigned seed) : engine(seed) {}

    double number(double from, double to)
    {
        return std::uniform_real_distribution<double>(from, to)(engine);
    }
    /// Rounded to what a mesh can hold.
    Vector vector(double size)
    {
        const float x = float(number(-size, size)), y = float(number(-size, size));
        return {x, y, float(number(-size, size))};
    }

    /// A triangle under a map that stretches, shears and, in odd lanes, mirrors.
    Reference reference(int lane)
    {
        Reference r;
        do
            for (Vector& p : r.position)
                p = vector(1.0);
        while (length(cross(r.position[1] - r.position[0], r.position[2] - r.position[0])) < 0.5);
        const Vector face =
            unit(cross(r.position[1] - r.position[0], r.position[2] - r.position[0]));
        for (Vector& n : r.normal) {
            const Vector bent = face + vector(0.5);
            n = {float(bent.x), float(bent.y), float(bent.z)};
        }
        do
            for (auto& uv : r.uv)
                uv = {float(number(-1, 1)), float(number(-1, 1))};
        while (std::fabs((r.uv[1][0] - r.uv[0][0]) * (r.uv[2][1] - r.uv[0][1]) -
                         (r.uv[2][0] - r.uv[0][0]) * (r.uv[1][1] - r.uv[0][1])) < 0.2);
        r.map.column[0] = {float(lane % 2 ? -number(0.5, 3) : number(0.5, 3)), 0, 0};
        r.map.column[1] = {float(number(-0.5, 0.5)), float(number(0.3, 2)), 0};
        r.map.column[2] = {float(number(-0.5, 0.5)), 0, float(number(0.5, 2))};
        r.map.offset = {20.0 * lane, 0, 0};
        aim(r);
        return r;
    }
    void aim(Reference& r)
    {
        const double u = number(0.2, 0.4), v = number(0.2, 0.4);
        const Reference::Point target = r.at(u, v);
        const Vector a = r.map.location(r.position[0]);
        const Vector face =
            unit(cross(r.map.location(r.position[1]) - a, r.map.location(r.position[2]) - a));
        const Vector from =
            target.position + (face * (number(0, 1) < 0.5 ? -3.0 : 3.0) + vector(1.5));
        r.origin = {float(from.x), float(from.y), float(from.z)};
        r.direction = unit(target.position - r.origin);
        for (int k = 0; k < 2; ++k) {
            r.originStep[k] = vector(2e-3);
            r.directionStep[k] = vector(2e-3);
        }
    }

private:
    std::mt19937 engine;
};

osg::Matrix matrixOf(const Map& map)
{
    osg::Matrix m;
    for (int k = 0; k < 3; ++k) {
        m[k][0] = float(map.column[k].x);
        m[k][1] = float(map.column[k].y);
        m[k][2] = float(map.column[k].z);
    }
    m[3][0] = float(map.offset.x);
    return m;
}

GeometryRef meshOf(const Reference& r)
{
    std::vector<osg::Vec3f> positions, normals;
    std::vector<osg::Vec2f> uvs;
    for (int k = 0; k < 3; ++k) {
        const Vector &p = r.position[std::size_t(k)], &n = r.normal[std::size_t(k)];
        positions.emplace_back(float(p.x), float(p.y), float(p.z));
        normals.emplace_back(float(n.x), float(n.y), float(n.z));
        uvs.emplace_back(float(r.uv[std::size_t(k)][0]), float(r.uv[std::size_t(k)][1]));
    }
    return makeMesh(positions, {0, 1, 2}, normals, uvs);
}

znRTVector3fPacket lanes(const std::array<Reference, 4>& r, Vector Reference::*member)
{
    znRTVector3fPacket result;
    for (int l = 0; l < 4; ++l) {
        const Vector& v = r[std::size_t(l)].*member;
        result.setLane(l, {float(v.x), float(v.y), float(v.z)});
    }
    return result;
}

znRTRayDifferentialPacket raysOf(const std::array<Reference, 4>& r)
{
    znRTRayDifferentialPacket rays{
        znRTRayPacket(lanes(r, &Reference::origin), lanes(r, &Reference::direction))};
    rays.hasDifferentials = 1;
    for (int l = 0; l < 4; ++l) {
        const Reference& reference = r[std::size_t(l)];
        const auto set = [l](znRTVector3fPacket& target, Vector v) {
            target.setLane(l, {float(v.x), float(v.y), float(v.z)});
        };
        set(rays.rxOrigin, reference.origin + reference.originStep[0]);
        set(rays.ryOrigin, reference.origin + reference.originStep[1]);
        set(rays.rxDirection, reference.direction + reference.directionStep[0]);
        set(rays.ryDirection, reference.direction + reference.directionStep[1]);
    }
    return rays;
}

void expectNear(const char* name, const znRTVector3fPacket& actual, int lane, Vector expected,
                double relative, double absolute)
{
    const Vector difference = toDouble(actual.getLane(lane)) - expected;
    EXPECT_LE(length(difference), relative * length(expected) + absolute)
        << name << " of lane " << lane << ": " << actual.getLane(lane).x << " "
        << actual.getLane(lane).y << " " << actual.getLane(lane).z << ", expected " << expected.x
        << " " << expected.y << " " << expected.z;
}

void expectNear(const char* name, const znRTVector2fPacket& actual, int lane, double x, double y,
                double relative, double absolute)
{
    const double size = std::hypot(x, y);
    EXPECT_LE(std::hypot(double(actual.x[lane]) - x, double(actual.y[lane]) - y),
              relative * size + absolute)
        << name << " of lane " << lane;
}

/// Central differences of what neighbouring rays see, against the block.
void expectFootprints(const znRTDataBlockPacket& block, int lane, const Reference& r)
{
    const znRTDifferentialGeometry& dg = block.dg;
    const double sign =
        dot(r.see(0, 0).normal, toDouble(dg.shadingNormal.getLane(lane))) < 0 ? -1 : 1;
    // The steps are differences of two floats: their rounding is what the footprint can tell.
    constexpr double rounding = 4e-6;
    for (int k = 0; k < 2; ++k) {
        const Reference::Point after = r.see(k, step), before = r.see(k, -step);
        const double scale = 0.5 / step;
        expectNear("dP", k ? dg.dPdy : dg.dPdx, lane, (after.position - before.position) * scale,
                   2e-3, rounding);
        expectNear("dN", k ? dg.dNdy : dg.dNdx, lane,
                   (after.normal - before.normal) * (scale * sign), 4e-3, rounding);
        expectNear("dUV", k ? dg.dUVdy : dg.dUVdx, lane, (after.uv[0] - before.uv[0]) * scale,
                   (after.uv[1] - before.uv[1]) * scale, 4e-3, rounding);
    }
}

/// Central differences along the texture coordinates, against the block.
void expectDerivatives(const znRTDataBlockPacket& block, int lane, const Reference& r)
{
    const znRTDifferentialGeometry& dg = block.dg;
    const Reference::Point hit = r.see(0, 0);
    const double sign = dot(hit.normal, toDouble(dg.shadingNormal.getLane(lane))) < 0 ? -1 : 1;
    const double s = hit.uv[0], t = hit.uv[1];
    const auto difference = [&](double ds, double dt) {
        return std::pair(r.atUV(s + ds, t + dt), r.atUV(s - ds, t - dt));
    };
    const auto [rightU, leftU] = difference(step, 0);
    const auto [rightV, leftV] = difference(0, step);
    const double scale = 0.5 / step;
    expectNear("dPdu", dg.dPdu, lane, (rightU.position - leftU.position) * scale, 1e-4, 1e-5);
    expectNear("dPdv", dg.dPdv, lane, (rightV.position - leftV.position) * scale, 1e-4, 1e-5);
    expectNear("dNdu", dg.dNdu, lane, (rightU.normal - leftU.normal) * (scale * sign), 1e-3, 1e-4);
    expectNear("dNdv", dg.dNdv, lane, (rightV.normal - leftV.normal) * (scale * sign), 1e-3, 1e-4);
}

void expectSurface(const znRTDataBlockPacket& block, int lane, const Reference& r)
{
    const Reference::Point hit = r.see(0, 0);
    expectNear("P", block.dg.position, lane, hit.position, 1e-5, 1e-5);
    expectNear("stored N", block.facedNormal, lane, hit.normal, 0, 2e-5);
    const Vector face =
        unit(r.map.normal(cross(r.position[1] - r.position[0], r.position[2] - r.position[0])));
    const double facing = dot(face, r.direction) > 0 ? -1 : 1;
    expectNear("Ng", block.dg.geometricNormal, lane, face * facing, 0, 2e-6);
    // The geometric normal stands on both edges, however the object is stretched.
    const Vector edge = r.map.direction(r.position[1] - r.position[0]);
    EXPECT_NEAR(dot(toDouble(block.dg.geometricNormal.getLane(lane)), unit(edge)), 0, 2e-6);
    const double side = dot(hit.normal, face * facing) < 0 ? -1 : 1;
    expectNear("N", block.dg.shadingNormal, lane, hit.normal * side, 0, 2e-5);
    EXPECT_EQ(bool(moveMask(block.dg.frontFacing) >> lane & 1), side > 0);
    EXPECT_NEAR(block.cosIncidence[lane], -side * dot(hit.normal, r.direction), 2e-5);
    expectNear("UV", block.dg.uv, lane, hit.uv[0], hit.uv[1], 0, 2e-5);
    expectNear("object P", block.objectPosition, lane,
               r.position[0] + (r.position[1] - r.position[0]) * double(block.hit.u[lane]) +
                   (r.position[2] - r.position[0]) * double(block.hit.v[lane]),
               0, 2e-5);
}

void expectReferences(MeshScene& scene, const std::array<Reference, 4>& references)
{
    const znRTRayDifferentialPacket rays = raysOf(references);
    znRTDataBlockPacket block(scene.trace(rays));
    ASSERT_EQ(block.hit.hitMask, 15u);
    scene.scene->getShadingData(rays, block, false, 0xffff, shadingRequirement::all);
    block.computeShadingData(rays);
    for (int lane = 0; lane < 4; ++lane) {
        expectSurface(block, lane, references[std::size_t(lane)]);
        expectFootprints(block, lane, references[std::size_t(lane)]);
        expectDerivatives(block, lane, references[std::size_t(lane)]);
    }
}

} // namespace

// Forty packets whose lanes hit four triangles of four objects, stretched, sheared and mirrored:
// each quantity against central differences in double precision.
TEST(MeshDerivatives, MatchCentralDifferencesInEveryLane)
{
    RandomScene random(17);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        MeshScene scene;
        std::array<Reference, 4> references;
        for (int lane = 0; lane < 4; ++lane) {
            references[std::size_t(lane)] = random.reference(lane);
            scene.add(meshOf(references[std::size_t(lane)]).get(),
                      matrixOf(references[std::size_t(lane)].map));
        }
        scene.build();
        expectReferences(scene, references);
        if (testing::Test::HasFailure())
            return;
    }
}

// A packet on one object, seen from both sides, takes the other path and comes to the same.
TEST(MeshDerivatives, MatchCentralDifferencesOnOneObject)
{
    RandomScene random(18);
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        MeshScene scene;
        std::array<Reference, 4> references;
        references[0] = random.reference(round % 2);
        scene.add(meshOf(references[0]).get(), matrixOf(references[0].map));
        scene.build();
        for (int lane = 1; lane < 4; ++lane) {
            references[std::size_t(lane)] = references[0];
            random.aim(references[std::size_t(lane)]);
        }
        expectReferences(scene, references);
        if (testing::Test::HasFailure())
            return;
    }
}

// The two steps on their own give what the whole fill gives.
TEST(MeshDerivatives, ComeToTheSameStepByStep)
{
    RandomScene random(19);
    MeshScene scene;
    std::array<Reference, 4> references;
    references[0] = random.reference(1);
    const osg::NodePtr node = scene.add(meshOf(references[0]).get(), matrixOf(references[0].map));
    scene.build();
    for (int lane = 1; lane < 4; ++lane) {
        references[std::size_t(lane)] = references[0];
        random.aim(references[std::size_t(lane)]);
    }
    const znRTRayDifferentialPacket rays = raysOf(references);
    znRTDataBlockPacket block(scene.trace(rays));
    scene.scene->getShadingData(rays, block, false, 0xffff, shadingRequirement::all);
    const znRTDifferentialGeometry whole = block.dg;
    const znRTVector3fPacket nothing(0.0f, 0.0f, 0.0f);
    const auto clear = [&] {
        block.dg.dPdu = block.dg.dPdv = block.dg.dNdu = block.dg.dNdv = nothing;
        block.dg.dNdx = block.dg.dNdy = nothing;
        block.dg.dUVdx = block.dg.dUVdy = znRTVector2fPacket(0.0f, 0.0f);
    };
    const auto expectSame = [&](int lane) {
        EXPECT_EQ(block.dg.dPdu.getLane(lane), whole.dPdu.getLane(lane));
        EXPECT_EQ(block.dg.dPdv.getLane(lane), whole.dPdv.getLane(lane));
        EXPECT_EQ(block.dg.dUVdx.getLane(lane), whole.dUVdx.getLane(lane));
        EXPECT_EQ(block.dg.dUVdy.getLane(lane), whole.dUVdy.getLane(lane));
        EXPECT_EQ(block.dg.dNdu.getLane(lane), whole.dNdu.getLane(lane));
        EXPECT_EQ(block.dg.dNdv.getLane(lane), whole.dNdv.getLane(lane));
        EXPECT_EQ(block.dg.dNdx.getLane(lane), whole.dNdx.getLane(lane));
        EXPECT_EQ(block.dg.dNdy.getLane(lane), whole.dNdy.getLane(lane));
    };
    const znRTMesh& mesh = scene.mesh(node);
    clear();
    mesh.computeDifferentials(block);
    mesh.computeNormalDifferentials(block);
    for (int lane = 0; lane < 4; ++lane)
        expectSame(lane);
    clear();
    mesh.computeDifferentials(block, 2);
    mesh.computeNormalDifferentials(block, 2);
    expectSame(2);
    EXPECT_EQ(block.dg.dPdu.getLane(1), znRTVector3f());
    EXPECT_EQ(block.dg.dNdx.getLane(3), znRTVector3f());
}
