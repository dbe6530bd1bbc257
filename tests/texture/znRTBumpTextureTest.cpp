#include "texture/znRTBumpTexture.h"

#include "textureFixture.h"

using namespace textureTest;

namespace {

/// A plane through the origin seen from above; a step of 1 in u or v is a way of 2.
znRTDifferentialGeometry plane(float u, float v)
{
    znRTDifferentialGeometry dg{};
    dg.uv = inAllLanes(u, v);
    dg.shadingNormal = dg.geometricNormal = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    dg.dPdu = znRTVector3fPacket(2.0f, 0.0f, 0.0f);
    dg.dPdv = znRTVector3fPacket(0.0f, 2.0f, 0.0f);
    dg.frontFacing = allLanes;
    return dg;
}

void expectNormal(const znRTVector3fPacket& seen, double x, double y, double z, double tolerance)
{
    const double length = std::sqrt(x * x + y * y + z * z);
    EXPECT_NEAR(seen.x[2], x / length, tolerance);
    EXPECT_NEAR(seen.y[2], y / length, tolerance);
    EXPECT_NEAR(seen.z[2], z / length, tolerance);
}

/// A map of one colour.
void fillMap(znRTSampler2D& sampler, const znRTVector4f& texel)
{
    fill(sampler, 1, 1, [&](int, int) { return texel; });
}

constexpr auto heights = znRTBumpTexture::heights, normals = znRTBumpTexture::normalMap;

} // namespace

TEST(BumpTexture, LeavesTheNormalWithoutAmplitudeAndOnFlatMaps)
{
    znRTSampler2D map, slope;
    fillMap(map, {128.0f / 255.0f, 127.0f / 255.0f, 1.0f, 1.0f});
    fillRow(slope, {0.0f, 1.0f, 2.0f, 3.0f});
    znRTDifferentialGeometry dg = plane(0.3f, 0.2f);
    dg.shadingNormal = znRTVector3fPacket(0.6f, 0.0f, 0.8f);
    const auto none = znRTBumpTexture(slope, nullptr, heights, 0.0f).getNormalAt(dg, allLanes);
    EXPECT_EQ(none.x[0], 0.6f);
    EXPECT_EQ(none.z[3], 0.8f);
    expectNormal(znRTBumpTexture(map, nullptr, normals, 1.0f).getNormalAt(dg, allLanes), 0.6, 0.0,
                 0.8, 1e-6);
    const auto masked =
        znRTBumpTexture(slope, nullptr, heights, 5.0f).getNormalAt(dg, expandLanes(3));
    EXPECT_EQ(masked.x[2], 0.6f);
    EXPECT_NE(masked.x[1], 0.6f);
}

// z = a sin(2 pi u) with x = 2 u: dz/dx = a pi cos(2 pi u).
TEST(BumpTexture, TiltsByTheSlopeOfTheHeights)
{
    znRTSampler2D sampler;
    fill(sampler, 256, 4,
         [](int x, int) { return grey(float(std::sin(2.0 * M_PI * (x + 0.5) / 256.0))); });
    const double a = 0.1;
    const znRTBumpTexture bump(sampler, nullptr, heights, float(a));
    for (float u = 0.01f; u < 1.0f; u += 0.07f) {
        const double slope = a * M_PI * std::cos(2.0 * M_PI * u);
        expectNormal(bump.getNormalAt(plane(u, 0.4f), allLanes), -slope, 0.0, 1.0, 0.005);
    }
    // Twice as often, turned by a quarter: s' = 2 (0.5 - t) + 0.5.
    sampler.setTransform(2.0f, 1.0f, 0.0f, 0.0f, 90.0f);
    for (float v = 0.01f; v < 1.0f; v += 0.07f) {
        const double slope = a * 2.0 * M_PI * std::cos(2.0 * M_PI * (2.0 * (0.5 - v) + 0.5));
        expectNormal(bump.getNormalAt(plane(0.3f, v), allLanes), 0.0, slope, 1.0, 0.01);
    }
}

TEST(BumpTexture, ReadsSlopesFromMaps)
{
    znRTSampler2D map;
    fillMap(map, {0.8f, 0.7f, 0.9f, 1.0f}); // slopes 0.6, 0.4 over 0.8
    const znRTDifferentialGeometry dg = plane(0.5f, 0.5f);
    expectNormal(znRTBumpTexture(map, nullptr, normals, 1.0f).getNormalAt(dg, allLanes), 0.6, 0.4,
                 0.8, 1e-5);
    expectNormal(znRTBumpTexture(map, nullptr, normals, 0.5f).getNormalAt(dg, allLanes), 0.3, 0.2,
                 0.8, 1e-5);
    expectNormal(znRTBumpTexture(map, nullptr, normals, 1.0f, true).getNormalAt(dg, allLanes), 0.6,
                 -0.4, 0.8, 1e-5);
}

// Seen from behind a bump is a dent: the same surface, its normal turned to the viewer.
TEST(BumpTexture, BelongsToTheSurfaceAndNotToTheViewer)
{
    znRTSampler2D map, slope;
    fillMap(map, {0.8f, 0.7f, 0.9f, 1.0f});
    fill(slope, 8, 8, [](int x, int y) { return grey(float(x) / 8.0f + float(y) / 16.0f); });
    for (const znRTBumpTexture& bump : {znRTBumpTexture(map, nullptr, normals, 1.0f),
                                        znRTBumpTexture(slope, nullptr, heights, 0.7f)}) {
        const znRTVector3fPacket front = bump.getNormalAt(plane(0.5f, 0.5f), allLanes);
        znRTDifferentialGeometry behind = plane(0.5f, 0.5f);
        behind.frontFacing = znFloatType<2>::noLanes();
        behind.shadingNormal = behind.geometricNormal = znRTVector3fPacket(0.0f, 0.0f, -1.0f);
        expectNormal(bump.getNormalAt(behind, allLanes), double(-front.x[0]), double(-front.y[0]),
                     double(-front.z[0]), 1e-5);
        // Coordinates laid mirrored along x: what rises to the right now rises to the left.
        znRTDifferentialGeometry mirrored = plane(0.5f, 0.5f);
        mirrored.dPdu = -mirrored.dPdu;
        expectNormal(bump.getNormalAt(mirrored, allLanes), double(-front.x[0]), double(front.y[0]),
                     double(front.z[0]), 1e-5);
    }
}

TEST(BumpTexture, StaysWithTheNormalWhereCoordinatesHaveNoArea)
{
    znRTSampler2D slope;
    fillRow(slope, {0.0f, 1.0f, 2.0f, 3.0f});
    znRTDifferentialGeometry dg = plane(0.3f, 0.5f);
    dg.dPdv = dg.dPdu;
    expectNormal(znRTBumpTexture(slope, nullptr, heights, 1.0f).getNormalAt(dg, allLanes), 0, 0, 1,
                 1e-6);
    dg.dPdu = dg.dPdv = znRTVector3fPacket(0.0f, 0.0f, 0.0f);
    znRTSampler2D map;
    fillMap(map, {0.8f, 0.7f, 0.9f, 1.0f});
    const auto seen = znRTBumpTexture(map, nullptr, normals, 1.0f).getNormalAt(dg, allLanes);
    EXPECT_NEAR(seen.getSquareLength()[1], 1.0f, 1e-5f);
}
