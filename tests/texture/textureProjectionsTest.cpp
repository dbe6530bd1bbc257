// Textures through space: planes, cylinders and three axes, their footprints and their edges.

#include "core/znRTDifferentialGeometry.h"
#include "host/znRTTextureAttributes.h"
#include "textureFixture.h"

#include <cmath>
#include <numbers>
#include <random>

using namespace textureTest;
using F = znRTTextureFunctions;

namespace {

constexpr float pi = std::numbers::pi_v<float>;

znRTVector3fPacket inAllLanes(const znRTVector3f& v)
{
    return {znFloatType<2>(v.x), znFloatType<2>(v.y), znFloatType<2>(v.z)};
}

/// A neighbourhood without extent.
znRTDifferentialGeometry pointAt(const znRTVector3fPacket& position,
                                 const znRTVector3fPacket& normal)
{
    znRTDifferentialGeometry dg{};
    dg.position = position;
    dg.shadingNormal = dg.geometricNormal = normal;
    return dg;
}

/// Turned, scaled and shifted.
znMatrix4x4 someProjection()
{
    znMatrix4x4 m = znMatrix4x4::identity();
    const float c = std::cos(0.4f), s = std::sin(0.4f);
    m[0] = {2.0f * c, 2.0f * s, 0.1f, 0.0f};
    m[1] = {-0.5f * s, 0.5f * c, 0.2f, 0.0f};
    m[2] = {0.3f, 0.0f, 1.0f, 0.0f};
    m[3] = {0.25f, -0.5f, 0.125f, 1.0f};
    return m;
}

znRTVector3f through(const znMatrix4x4& m, const znRTVector3f& p)
{
    const auto row = [&](int r) { return m[0][r] * p.x + m[1][r] * p.y + m[2][r] * p.z + m[3][r]; };
    return {row(0), row(1), row(2)};
}

/// Footprints against differences of the place itself, and against each other.
template <class Place>
void expectStepsOf(Place&& place, float tolerance)
{
    std::mt19937 engine(5);
    std::uniform_real_distribution<float> value(-1.0f, 1.0f);
    const auto four = [&] {
        return znFloatType<2>(value(engine), value(engine), value(engine), value(engine));
    };
    const auto point = [&] { return znRTVector3fPacket(four(), four(), four()); };
    for (int i = 0; i < 64; ++i) {
        const znRTVector3fPacket p = point();
        znRTDifferentialGeometry dg = pointAt(p, point().getNormalized());
        dg.dPdx = point() * znFloatType<2>(1e-2f);
        dg.dPdy = point() * znFloatType<2>(1e-2f);
        const znTexturePlace here = place(dg);
        const auto check = [&](const znRTVector3fPacket& offset, const znRTVector2fPacket& seen) {
            znRTDifferentialGeometry next = dg;
            next.position = p + offset;
            const znRTVector2fPacket d = place(next).uv - here.uv;
            for (int lane = 0; lane < 4; ++lane) {
                const float turns = d.x[lane] - std::round(d.x[lane]);
                EXPECT_NEAR(seen.x[lane], std::abs(d.x[lane]) > 0.5f ? turns : d.x[lane],
                            tolerance);
                EXPECT_NEAR(seen.y[lane], d.y[lane], tolerance);
            }
        };
        check(dg.dPdx, here.footprint.dx);
        check(dg.dPdy, here.footprint.dy);
    }
}

} // namespace

TEST(PlanarProjection, TakesThePointThroughTheMatrix)
{
    znRTSampler2D sampler;
    sampler.projection = someProjection();
    for (const znRTVector3f& p :
         {znRTVector3f(0, 0, 0), znRTVector3f(1, 2, 3), znRTVector3f(-0.3f, 0.2f, -5.0f)}) {
        const znTexturePlace place = F::computePlanarTextureProjection(
            sampler, pointAt(inAllLanes(p), inAllLanes({0, 0, 1})), allLanes);
        const znRTVector3f expected = through(sampler.projection, p);
        EXPECT_NEAR(place.uv.x[0], expected.x, 1e-5f);
        EXPECT_NEAR(place.uv.y[0], expected.y, 1e-5f);
        EXPECT_EQ(moveMask(place.inside), 15);
    }
}

TEST(PlanarProjection, TurnsTheFootprintOfTheRayIntoThatOfTheTexture)
{
    znRTSampler2D sampler;
    sampler.projection = someProjection();
    expectStepsOf(
        [&](const znRTDifferentialGeometry& dg) {
            return F::computePlanarTextureProjection(sampler, dg, allLanes);
        },
        1e-5f);
}

// A normal at right angles to the direction counts as the front.
TEST(PlanarProjection, LeavesTheBackAloneWhenItIsOneSided)
{
    znRTSampler2D sampler;
    fill(sampler, 2, 2, [](int, int) { return grey(0.5f); });
    sampler.projectOneSide = true;
    sampler.borderColor = {0.1f, 0.2f, 0.3f, 0.25f};
    const znRTVector3fPacket normal({0.0f, 0.0f, 0.6f, 1.0f}, 0.0f, {1.0f, -1.0f, -0.8f, 0.0f});
    const znRTDifferentialGeometry dg = pointAt(inAllLanes({0.5f, 0.5f, 0.0f}), normal);
    const znTexturePlace place = F::computePlanarTextureProjection(sampler, dg, allLanes);
    EXPECT_EQ(moveMask(place.inside), 0b1001);
    EXPECT_LANES_EQ(place.uv.x, 0.5f, -1, -1, 0.5f);
    EXPECT_LANES_EQ(place.uv.y, 0.5f, -1, -1, 0.5f);
    // Whatever the wrapping: (-1, -1) of a repeated image would be on it.
    for (const int wrap : {Sampler::repeat, Sampler::decal}) {
        sampler.setWrap(wrap, wrap);
        const znRTColorPacket color = F::texture2D(sampler, place, allLanes);
        EXPECT_LANES_NEAR(color.g, 0.5f, 0.2f, 0.2f, 0.5f, 1e-6f);
        EXPECT_LANES_NEAR(color.a, 1.0f, 0.25f, 0.25f, 1.0f, 1e-6f);
    }
    const znRTColorPacket some = F::texture2D(sampler, place, expandLanes(0b0110));
    EXPECT_LANES_NEAR(some.g, 0.0f, 0.2f, 0.2f, 0.0f, 1e-6f);
}

TEST(PlanarProjection, EndsAtHalfItsDepthWhenItIsLimited)
{
    znRTSampler2D sampler;
    sampler.limitDepth = true;
    const znRTVector3fPacket position(0.0f, 0.0f, {-0.01f, 0.0f, 0.5f, 0.51f});
    EXPECT_EQ(moveMask(F::computePlanarTextureProjection(
                           sampler, pointAt(position, inAllLanes({0, 0, 1})), allLanes)
                           .inside),
              0b0110);
}

TEST(CylindricalProjection, WindsTheImageAboutTheAxis)
{
    znRTSampler2D sampler;
    const znRTVector3fPacket position({1.0f, 0.0f, -1.0f, 0.0f}, {0.0f, 2.0f, 1e-6f, -3.0f},
                                      {0.0f, 0.25f, 0.5f, -1.0f});
    const znTexturePlace place = F::computeCylindricalTextureProjection(
        sampler, pointAt(position, inAllLanes({0, 0, 1})), allLanes);
    EXPECT_LANES_NEAR(place.uv.x, 0.5f, 0.75f, 1.0f, 0.25f, 1e-5f);
    EXPECT_LANES_NEAR(place.uv.y, 0.0f, 0.25f, 0.5f, -1.0f, 1e-6f);
}

TEST(CylindricalProjection, TurnsTheFootprintOfTheRayIntoThatOfTheTexture)
{
    znRTSampler2D sampler;
    sampler.projection = someProjection();
    expectStepsOf(
        [&](const znRTDifferentialGeometry& dg) {
            return F::computeCylindricalTextureProjection(sampler, dg, allLanes);
        },
        1e-5f);
}

// Stripes around a cylinder: at the seam a footprint of nearly one turn would blur them to grey.
TEST(CylindricalProjection, HasNoSeam)
{
    znRTSampler2D sampler;
    fill(sampler, 256, 4, [](int x, int) { return grey(float(x / 16 & 1)); });
    sampler.createMipmaps();
    for (int i = -8; i < 8; ++i) {
        const float angle = pi + (float(i) + 0.5f) * (2.0f * pi / 256.0f), step = pi / 512.0f;
        const auto at = [](float a) { return inAllLanes({std::cos(a), std::sin(a), 0.5f}); };
        znRTDifferentialGeometry dg = pointAt(at(angle), at(angle));
        dg.dPdx = at(angle + step) - at(angle);
        dg.dPdy = inAllLanes({0.0f, 0.0f, 1e-3f});
        const znTexturePlace place = F::computeCylindricalTextureProjection(sampler, dg, allLanes);
        EXPECT_NEAR(place.footprint.dx.x[0], 1.0f / 1024.0f, 1e-5f);
        // The last stripe is bright, the first dark.
        EXPECT_NEAR(F::texture2D(sampler, place, allLanes).r[0], i < 0 ? 1.0f : 0.0f, 0.02f) << i;
    }
}

TEST(TriplanarBlend, ShowsOneAxisAloneAlongIt)
{
    znFloatType<2> weight[3];
    F::computeTriplanarBlend(
        {{0.0f, 0.0f, -1.0f, 0.005f}, {0.0f, 1.0f, 0.0f, 0.0f}, {1.0f, 0.0f, 0.0f, 0.99999f}},
        0.15f, allLanes, weight);
    EXPECT_LANES_NEAR(weight[0], 0, 0, 1, 0, 0.005f);
    EXPECT_LANES_NEAR(weight[1], 0, 1, 0, 0, 0.005f);
    EXPECT_LANES_NEAR(weight[2], 1, 0, 0, 1, 0.005f);
    F::computeTriplanarBlend(inAllLanes({0.6f, 0.0f, 0.8f}), 0.15f, expandLanes(0b0010), weight);
    EXPECT_LANES_NEAR(weight[0] + weight[1] + weight[2], 0, 1, 0, 0, 1e-6f);
}

// The cosines of each pair of axes through a smooth step of the width, about that of 45 degrees,
// in doubles.
TEST(TriplanarBlend, MixesOverABandAboutTheDiagonals)
{
    std::mt19937 engine(3);
    std::normal_distribution<double> value;
    for (int i = 0; i < 2000; ++i) {
        double a[3] = {value(engine), value(engine), value(engine)};
        const double length = std::hypot(a[0], a[1], a[2]);
        for (double& x : a)
            x /= length;
        const double width = i % 2 ? 0.15 : 0.4;
        double expected[3], sum = 0.0;
        const bool isOblique = std::abs(a[0]) + std::abs(a[1]) + std::abs(a[2]) > 1.01;
        for (int k = 0; k < 3; ++k) {
            const auto share = [&](int other) {
                const double cosine = std::abs(a[k]) / std::hypot(a[k], a[other]);
                const double t =
                    std::clamp((cosine - (std::sqrt(0.5) - 0.5 * width)) / width, 0.0, 1.0);
                return t * t * (3.0 - 2.0 * t);
            };
            expected[k] = isOblique ? share((k + 1) % 3) * share((k + 2) % 3) : std::abs(a[k]);
            sum += expected[k];
        }
        znFloatType<2> weight[3];
        F::computeTriplanarBlend(inAllLanes({float(a[0]), float(a[1]), float(a[2])}), float(width),
                                 allLanes, weight);
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(weight[k][0], expected[k] / sum, 1e-4) << a[0] << ' ' << a[1];
        EXPECT_NEAR(weight[0][0] + weight[1][0] + weight[2][0], 1.0f, 1e-5f);
    }
}

// Right and up of an image are z and y along x, x and z along y, x and y along z; behind, right is
// left.
TEST(TriplanarAxes, LayTheImageAlongTwoAxesOfSpace)
{
    const znRTTriplanarTextureAttributes attributes;
    const znRTVector3f p(0.1f, 0.2f, 0.3f);
    const float right[3] = {p.z, p.x, p.x}, up[3] = {p.y, p.z, p.y};
    for (int axis = 0; axis < 3; ++axis)
        for (const float side : {1.0f, -1.0f}) {
            const znRTVector3f normal(axis == 0 ? side : 0.0f, axis == 1 ? side : 0.0f,
                                      axis == 2 ? side : 0.0f);
            const znTexturePlace place = F::calculateTriplanarAxis(
                attributes, axis, pointAt(inAllLanes(p), inAllLanes(normal)));
            EXPECT_FLOAT_EQ(place.uv.x[0], side * right[axis]) << axis;
            EXPECT_FLOAT_EQ(place.uv.y[0], up[axis]) << axis;
        }
}

TEST(TriplanarAxes, TurnScaleAndShiftTheImage)
{
    znRTTriplanarTextureAttributes attributes;
    attributes.sinRot[2] = 1.0f; // a quarter turn
    attributes.cosRot[2] = 0.0f;
    attributes.repeatU[2] = 2.0f;
    attributes.repeatV[2] = 3.0f;
    attributes.offsetU[2] = 0.5f;
    attributes.offsetV[2] = 0.25f;
    const znRTDifferentialGeometry dg =
        pointAt(inAllLanes({0.1f, 0.2f, 0.3f}), inAllLanes({0, 0, 1}));
    const znTexturePlace place = F::calculateTriplanarAxis(attributes, 2, dg);
    EXPECT_FLOAT_EQ(place.uv.x[0], 0.5f - 2.0f * 0.2f);
    EXPECT_FLOAT_EQ(place.uv.y[0], 0.25f + 3.0f * 0.1f);
}

TEST(TriplanarAxes, TellFootprintsAndTangents)
{
    znRTTriplanarTextureAttributes attributes;
    for (int axis = 0; axis < 3; ++axis) {
        attributes.sinRot[axis] = std::sin(0.3f);
        attributes.cosRot[axis] = std::cos(0.3f);
        attributes.repeatU[axis] = 2.0f;
        attributes.repeatV[axis] = 0.5f;
        expectStepsOf(
            [&](const znRTDifferentialGeometry& dg) {
                return F::calculateTriplanarAxis(attributes, axis, dg);
            },
            1e-5f);
        for (const float side : {1.0f, -1.0f}) {
            znRTVector3f normal(axis == 0 ? side : 0.0f, axis == 1 ? side : 0.0f,
                                axis == 2 ? side : 0.0f);
            const znRTDifferentialGeometry dg =
                pointAt(inAllLanes({0.7f, 0.4f, -0.2f}), inAllLanes(normal));
            znRTVector3fPacket dPdu, dPdv;
            const znTexturePlace place =
                F::computeTriplanarTextureProjectionCoordinates(attributes, axis, dg, dPdu, dPdv);
            znRTDifferentialGeometry moved = dg;
            moved.position = dg.position + dPdu * znFloatType<2>(0.5f);
            znRTVector2fPacket d = F::calculateTriplanarAxis(attributes, axis, moved).uv - place.uv;
            EXPECT_NEAR(d.x[0], 0.5f, 1e-5f);
            EXPECT_NEAR(d.y[0], 0.0f, 1e-5f);
            moved.position = dg.position + dPdv * znFloatType<2>(0.5f);
            d = F::calculateTriplanarAxis(attributes, axis, moved).uv - place.uv;
            EXPECT_NEAR(d.x[0], 0.0f, 1e-5f);
            EXPECT_NEAR(d.y[0], 0.5f, 1e-5f);
        }
    }
}

TEST(TriplanarLookup, ReadsSeveralImagesAsItReadsEachAlone)
{
    const znRTTriplanarTextureAttributes attributes;
    znRTSampler2D samplers[5];
    const znRTTextureSampler* list[5];
    for (int i = 0; i < 5; ++i) {
        fill(samplers[i], 8, 8, [i](int x, int y) {
            return znRTVector4f(float(x) / 8, float(y) / 8, float(i), 1.0f);
        });
        samplers[i].createMipmaps();
        list[i] = &samplers[i];
    }
    znRTDifferentialGeometry dg = pointAt(inAllLanes({0.3f, 0.6f, 0.1f}),
                                          {{0.6f, 0.7f, 0.0f, 1.0f}, 0.0f, {0.8f, 0.7f, 1, 0}});
    dg.dPdx = inAllLanes({0.3f, 0.0f, 0.3f});
    const znTriplanarProjection projection = F::prepareTriplanar(attributes, dg, allLanes);
    znRTColorPacket colors[5];
    F::texture2DTriplanar(list, projection, allLanes, colors);
    for (int i = 0; i < 5; ++i) {
        const znRTColorPacket alone = F::texture2DTriplanar(samplers[i], projection, allLanes);
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_EQ(colors[i].r[lane], alone.r[lane]);
            EXPECT_NEAR(colors[i].b[lane], float(i), 1e-5f);
            EXPECT_NEAR(colors[i].a[lane], 1.0f, 1e-5f);
        }
    }
    // Of the axes x and z alone, each the mean of its texels around the place.
    const znRTColorPacket sharp = F::texture2DTriplanarLinear(samplers[0], projection, allLanes);
    const znRTColorPacket alongZ =
        F::texture2D(samplers[0], textureTest::inAllLanes(0.3f, 0.6f), allLanes);
    const znRTColorPacket alongX =
        F::texture2D(samplers[0], textureTest::inAllLanes(0.1f, 0.6f), allLanes);
    EXPECT_NEAR(sharp.r[2], alongZ.r[0], 1e-5f);
    EXPECT_NEAR(sharp.r[3], alongX.r[0], 1e-5f);
    EXPECT_NEAR(sharp.r[1], 0.5f * (alongX.r[0] + alongZ.r[0]), 1e-5f);
}
