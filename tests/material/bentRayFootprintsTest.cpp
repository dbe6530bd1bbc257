// Neighbouring rays after a mirror and a refraction, against rays that really take that way: they
// decide how much of a texture a pixel sees behind a ball.

#include "material/mirrorLight.h"
#include "material/refraction.h"
#include "materialFixture.h"

#include <cmath>
#include <random>

using namespace materialTest;

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
Vec operator*(Vec a, double s)
{
    return {a.x * s, a.y * s, a.z * s};
}
double dot3(Vec a, Vec b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vec unit(Vec a)
{
    return a * (1.0 / std::sqrt(dot3(a, a)));
}
znRTVector3fPacket packet(Vec a)
{
    return {znFloatType<2>(float(a.x)), znFloatType<2>(float(a.y)), znFloatType<2>(float(a.z))};
}
void expectNear(const znRTVector3fPacket& seen, Vec expected, double tolerance, const char* what)
{
    EXPECT_NEAR(double(seen.x[2]), expected.x, tolerance) << what;
    EXPECT_NEAR(double(seen.y[2]), expected.y, tolerance) << what;
    EXPECT_NEAR(double(seen.z[2]), expected.z, tolerance) << what;
}

/// A ray, and where it goes on at the unit ball.
struct Way
{
    /// @param eta  0 for a mirror; else index outside over that inside
    Way(Vec newOrigin, Vec newDirection, double eta)
        : origin(newOrigin), direction(unit(newDirection))
    {
        const double b = dot3(origin, direction);
        const double root = b * b - dot3(origin, origin) + 1.0;
        hits = root > 0.0;
        t = -b - std::sqrt(std::max(root, 0.0));
        point = normal = origin + direction * t;
        const double cosine = -dot3(direction, normal);
        bent = eta == 0.0 ? direction + normal * (2.0 * cosine)
                          : direction * eta +
                                normal * (eta * cosine -
                                          std::sqrt(1.0 - eta * eta * (1.0 - cosine * cosine)));
    }
    Vec origin, direction, point, normal, bent;
    double t;
    bool hits;
};

class BentRayFootprints : public MaterialTest
{
protected:
    BentRayFootprints() { addSquare(makeDiffuse(0.5f)); }

    /// Compares the neighbours in 100 pictures of the ball.
    void expectAgreement(double eta)
    {
        std::mt19937 engine(4);
        std::uniform_real_distribution<double> inside(-0.6, 0.6);
        // Small against the curvature, large against the rounding of floats.
        constexpr double step = 3e-4, tolerance = 2e-5;
        int compared = 0;
        for (int i = 0; i < 100; ++i) {
            const Vec eye{inside(engine), inside(engine), 4.0};
            const Vec target{inside(engine), inside(engine), inside(engine)};
            const Way way(eye, target - eye, eta);
            const Way nextX(eye, way.direction + Vec{step, 0.0, 0.0}, eta);
            const Way nextY(eye + Vec{0.0, step, 0.0}, way.direction + Vec{0.0, step, 0.0}, eta);
            const double cosine = -dot3(way.direction, way.normal);
            // Neither near the rim nor near total reflection, where neighbours part.
            if (!way.hits || !nextX.hits || !nextY.hits || cosine < 0.5 ||
                eta * eta * (1.0 - cosine * cosine) > 0.5)
                continue;
            znRTRayDifferentialPacket ray(znRTRayPacket(packet(way.origin), packet(way.direction)));
            ray.hasDifferentials = 1;
            ray.rxOrigin = packet(nextX.origin);
            ray.ryOrigin = packet(nextY.origin);
            ray.rxDirection = packet(nextX.direction);
            ray.ryDirection = packet(nextY.direction);

            znRTDataBlockPacket data = blockOf(downward(0.2f, 0.1f));
            data.requirements = shadingRequirement::all;
            data.hit.t = znFloatType<2>(float(way.t));
            data.dg.position = packet(way.point);
            data.dg.geometricNormal = data.dg.shadingNormal = packet(way.normal);
            data.computeCommonDifferentialData(ray);
            // The normal of the unit ball is the point itself.
            data.dg.dNdx = data.dg.dPdx;
            data.dg.dNdy = data.dg.dPdy;

            znRTRayDifferentialPacket bent(znRTRayPacket(packet(way.point), packet(way.bent)));
            const znRTVector3fPacket wo = -ray.direction;
            const znRTLitHit hit{
                ray,  data, data.dg, lobes, wo, znFloatType<2>::allLanes(), *data.materials[0],
                state};
            if (eta == 0.0)
                mirrorDifferentials(hit, packet(way.normal), bent);
            else
                refractDifferentials(hit, packet(way.normal), znFloatType<2>(float(eta)), bent);
            ASSERT_TRUE(bent.hasDifferentials);
            expectNear(bent.rxOrigin, nextX.point, tolerance, "origin of x");
            expectNear(bent.ryOrigin, nextY.point, tolerance, "origin of y");
            expectNear(bent.rxDirection, nextX.bent, tolerance, "direction of x");
            expectNear(bent.ryDirection, nextY.bent, tolerance, "direction of y");
            ++compared;
        }
        EXPECT_GT(compared, 20);
    }

    znRTLobeSet lobes;
    znRTShadingState state = stateOf(0);
};

} // namespace

TEST_F(BentRayFootprints, FollowTheMirrorOfABall)
{
    expectAgreement(0.0);
}

TEST_F(BentRayFootprints, FollowTheRefractionOfABall)
{
    expectAgreement(1.0 / 1.5);
    expectAgreement(1.3);
}

// A wall at right angles to the floor that it mirrors: what a pixel covers of the floor is what it
// covers without the wall.
TEST_F(BentRayFootprints, KeepTheirWidthAtAFlatMirror)
{
    znRTRayDifferentialPacket ray(
        znRTRayPacket(znRTVector3fPacket(0.0f, 0.0f, 1.0f), packet(unit({1.0, 0.2, -0.3}))));
    ray.hasDifferentials = 1;
    ray.rxOrigin = ray.ryOrigin = ray.origin;
    ray.rxDirection = ray.direction + znRTVector3fPacket(0.0f, 0.01f, 0.0f);
    ray.ryDirection = ray.direction + znRTVector3fPacket(0.0f, 0.0f, 0.01f);
    znRTDataBlockPacket data = blockOf(downward(0.2f, 0.1f));
    data.requirements = shadingRequirement::footprint;
    const znFloatType<2> toWall = reciprocalOrZero(ray.direction.x);
    data.hit.t = toWall;
    data.dg.geometricNormal = data.dg.shadingNormal = znRTVector3fPacket(-1.0f, 0.0f, 0.0f);
    data.computeCommonDifferentialData(ray);
    znRTRayDifferentialPacket bent(
        znRTRayPacket(ray.pointAt(toWall), {-ray.direction.x, ray.direction.y, ray.direction.z}));
    const znRTVector3fPacket wo = -ray.direction;
    mirrorDifferentials(
        {ray, data, data.dg, lobes, wo, znFloatType<2>::allLanes(), *data.materials[0], state},
        data.dg.shadingNormal, bent);

    // On the floor, with and without the wall.
    const znFloatType<2> toFloor = -reciprocalOrZero(ray.direction.z);
    znRTDataBlockPacket straight = data;
    data.dg.geometricNormal = straight.dg.geometricNormal = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    data.hit.t = toFloor - toWall;
    straight.hit.t = toFloor;
    data.computeCommonDifferentialData(bent);
    straight.computeCommonDifferentialData(ray);
    const auto expectSame = [](const znRTVector3fPacket& a, const znRTVector3fPacket& b) {
        EXPECT_NEAR(a.x[0], -b.x[0], 1e-5f);
        EXPECT_NEAR(a.y[0], b.y[0], 1e-5f);
        EXPECT_NEAR(a.z[0], b.z[0], 1e-5f);
    };
    expectSame(data.dg.dPdx, straight.dg.dPdx);
    expectSame(data.dg.dPdy, straight.dg.dPdy);
}
