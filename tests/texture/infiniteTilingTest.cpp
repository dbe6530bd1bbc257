// Repeated images without visible repeats.

#include "texture/infiniteTiling.h"

#include "core/znRTDifferentialGeometry.h"
#include "texture/znRTBumpTexture.h"
#include "textureFixture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using namespace textureTest;
using F = znRTTextureFunctions;

namespace {

const znTextureFootprint noFootprint{{0.0f, 0.0f}, {0.0f, 0.0f}};

/// Waves without a period shorter than the image; values from 0 to 1, mean a half.
float wave(float s, float t)
{
    const double a = 2.0 * M_PI * s, b = 2.0 * M_PI * t;
    return float(0.5 + 0.25 * std::sin(a) + 0.25 * std::cos(b + 2.0 * std::sin(a)));
}

void fillWaves(znRTSampler2D& sampler)
{
    fill(sampler, 64, 64, [](int x, int y) {
        const float value = wave((float(x) + 0.5f) / 64.0f, (float(y) + 0.5f) / 64.0f);
        return znRTVector4f{value, 1.0f - value, 1.0f, value};
    });
}

znRTColorPacket tiled(const znRTSampler2D& sampler, const znRTVector2fPacket& uv,
                      const znFloatType<2>& mask = allLanes)
{
    return F::texture2DInfiniteTiling(sampler, uv, noFootprint, mask);
}

znRTVector2fPacket somePlaces(std::mt19937& engine, float extent = 20.0f)
{
    std::uniform_real_distribution<float> value(-extent, extent);
    const auto four = [&] {
        return znFloatType<2>(value(engine), value(engine), value(engine), value(engine));
    };
    const znFloatType<2> u = four();
    return {u, four()};
}

/// Of the differences between places one image apart, mean square.
template <class Read>
double differenceOfRepeats(Read&& read)
{
    std::mt19937 engine(3);
    double sum = 0.0;
    constexpr int count = 2000;
    for (int i = 0; i < count; ++i) {
        const znRTVector2fPacket uv = somePlaces(engine);
        const znFloatType<2> d = read(uv + znRTVector2fPacket(1.0f, 0.0f)).r - read(uv).r;
        for (int lane = 0; lane < 4; ++lane)
            sum += double(d[lane]) * d[lane];
    }
    return sum / (4.0 * count);
}

} // namespace

// Unrelated places of an image differ by twice its variance on average: 2 (1/32 + 1/32) = 1/8 for
// the waves. The blends between the patches take some of it.
TEST(InfiniteTiling, LeavesNothingInCommonBetweenRepeats)
{
    znRTSampler2D sampler;
    fillWaves(sampler);
    EXPECT_LT(differenceOfRepeats([&](const znRTVector2fPacket& uv) {
                  return F::texture2D(sampler, uv, allLanes);
              }),
              1e-6);
    const double seen =
        differenceOfRepeats([&](const znRTVector2fPacket& uv) { return tiled(sampler, uv); });
    EXPECT_GT(seen, 0.06);
    EXPECT_LT(seen, 0.14);
}

// Shifts are even, so each place of the image counts alike; what is blended stays in range.
TEST(InfiniteTiling, KeepsMeanAndRangeOfTheImage)
{
    znRTSampler2D sampler;
    fillWaves(sampler);
    std::mt19937 engine(7);
    double sum = 0.0;
    constexpr int count = 5000;
    for (int i = 0; i < count; ++i) {
        const znRTColorPacket color = tiled(sampler, somePlaces(engine, 100.0f));
        for (int lane = 0; lane < 4; ++lane) {
            sum += color.r[lane];
            EXPECT_GE(color.r[lane], -1e-6f);
            EXPECT_LE(color.r[lane], 1.0f + 1e-6f);
            EXPECT_NEAR(color.r[lane] + color.g[lane], 1.0f, 1e-5f);
            EXPECT_NEAR(color.a[lane], color.r[lane], 1e-5f);
        }
    }
    // The deviation of a mean of 20000 values with variance 1/16.
    EXPECT_NEAR(sum / (4.0 * count), 0.5, 4.0 * 0.25 / std::sqrt(4.0 * count));
}

// Along lines across many triangles. The slope of the waves is below 5, that of the weights below
// 40, both per unit of the coordinates.
TEST(InfiniteTiling, HasNoSeams)
{
    znRTSampler2D sampler;
    fillWaves(sampler);
    constexpr float step = 1e-4f;
    for (const float slope : {0.0f, 0.3f, 1.7f, -0.6f}) {
        float before = tiled(sampler, inAllLanes(-1.0f, 0.37f - slope)).r[0], largest = 0.0f;
        for (float u = -1.0f + step; u < 1.0f; u += step) {
            const float here = tiled(sampler, inAllLanes(u, 0.37f + slope * u)).r[0];
            largest = std::max(largest, std::abs(here - before));
            before = here;
        }
        EXPECT_LT(largest, 2.0f * 45.0f * step) << slope;
    }
}

TEST(InfiniteTiling, BlendsByWeightsThatSumToOne)
{
    std::mt19937 engine(11);
    int alone = 0;
    constexpr int count = 4000;
    for (int i = 0; i < count; ++i) {
        const infiniteTiling::Patches patches = infiniteTiling::patchesAt(somePlaces(engine));
        for (int lane = 0; lane < 4; ++lane) {
            double sum = 0.0;
            for (int k = 0; k < 3; ++k) {
                EXPECT_GE(patches.weight[k][lane], 0.0f);
                EXPECT_GE(patches.shift[k].x[lane], 0.0f);
                EXPECT_LT(patches.shift[k].y[lane], 1.0f);
                sum += patches.weight[k][lane];
                alone += patches.weight[k][lane] == 1.0f;
            }
            EXPECT_NEAR(sum, 1.0, 1e-5);
        }
    }
    // Two shares below a fifth: a rhombus of 0.08 of the triangle at each of its corners.
    EXPECT_NEAR(alone / (4.0 * count), 0.24, 0.02);
}

TEST(InfiniteTiling, LeavesImagesThatEndAsTheyAre)
{
    znRTSampler2D sampler;
    fillWaves(sampler);
    std::mt19937 engine(13);
    for (const int wrap : {Sampler::mirroredRepeat, Sampler::decal, Sampler::clamp})
        for (const bool alongT : {false, true}) {
            sampler.setWrap(alongT ? int(Sampler::repeat) : wrap,
                            alongT ? wrap : int(Sampler::repeat));
            const znRTVector2fPacket uv = somePlaces(engine, 3.0f);
            const znRTColorPacket plain = F::texture2D(sampler, uv, noFootprint, allLanes);
            EXPECT_LANES_EQ(tiled(sampler, uv).r, plain.r[0], plain.r[1], plain.r[2], plain.r[3]);
        }
}

// Tiles belong to the image, not to the surface: an image that is repeated twice as often has tiles
// of half the size.
TEST(InfiniteTiling, FollowsTheTransformOfTheImage)
{
    znRTSampler2D plain, scaled;
    fillWaves(plain);
    fillWaves(scaled);
    scaled.setTransform(2.0f, 2.0f, 0.25f, 0.0f, 0.0f);
    std::mt19937 engine(17);
    const znRTVector2fPacket uv = somePlaces(engine);
    znRTVector2fPacket there = uv;
    F::applyTexCoordTransform(scaled, there);
    const znRTColorPacket expected = tiled(plain, there);
    EXPECT_LANES_NEAR(tiled(scaled, uv).r, expected.r[0], expected.r[1], expected.r[2],
                      expected.r[3], 1e-5f);
}

TEST(InfiniteTiling, GivesEachLaneWhatItHasAlone)
{
    znRTSampler2D sampler;
    fillWaves(sampler);
    std::mt19937 engine(19);
    const znRTVector2fPacket uv = somePlaces(engine);
    const znRTColorPacket all = tiled(sampler, uv);
    for (int lane = 0; lane < 4; ++lane) {
        const znRTColorPacket one = tiled(sampler, uv, expandLanes(1 << lane));
        for (int other = 0; other < 4; ++other)
            EXPECT_EQ(one.r[other], other == lane ? all.r[lane] : 0.0f);
    }
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const znRTColorPacket odd =
        tiled(sampler, {{nan, inf, -inf, 1e30f}, {0.5f, nan, 0.5f, -1e30f}});
    for (int lane = 0; lane < 4; ++lane) {
        EXPECT_GE(odd.r[lane], 0.0f);
        EXPECT_LE(odd.r[lane], 1.0f);
    }
}

// Attributes of all mappings; bumps of maps and of heights turn with the colours, since the shifts
// are the same. As a map the waves lean by 2 r - 1 along u and by the opposite along v.
TEST(InfiniteTiling, IsTheSameForColoursAndBumps)
{
    znRTSampler2D sampler;
    fillWaves(sampler);
    znRTTextureAttributes attributes;
    attributes.useInfiniteTiling = true;
    std::mt19937 engine(23);
    znRTDifferentialGeometry dg{};
    dg.uv = somePlaces(engine);
    dg.position = {dg.uv.x, dg.uv.y, znFloatType<2>(0.0f)};
    dg.shadingNormal = dg.geometricNormal = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    dg.dPdu = znRTVector3fPacket(1.0f, 0.0f, 0.0f);
    dg.dPdv = znRTVector3fPacket(0.0f, 1.0f, 0.0f);
    dg.frontFacing = allLanes;
    const znRTColorPacket expected = tiled(sampler, dg.uv);
    const auto expectTiled = [&] {
        EXPECT_LANES_NEAR(F::texture2D(sampler, attributes, dg, allLanes).r, expected.r[0],
                          expected.r[1], expected.r[2], expected.r[3], 1e-5f);
    };
    expectTiled();
    attributes.setMappingType(znRTTextureAttributes::mappingProjection);
    expectTiled();
    znRTTriplanarTextureAttributes axes;
    attributes.setMappingType(znRTTextureAttributes::mappingTriplanar);
    attributes.mapping = &axes;
    expectTiled();

    const znRTBumpTexture map(sampler, &attributes, znRTBumpTexture::normalMap, 1.0f);
    const znRTVector3fPacket leaning = map.getNormalAt(dg, allLanes);
    for (int lane = 0; lane < 4; ++lane) {
        const double lean = 2.0 * expected.r[lane] - 1.0;
        EXPECT_NEAR(leaning.x[lane] / leaning.z[lane], lean, 0.005);
        EXPECT_NEAR(leaning.y[lane] / leaning.z[lane], -lean, 0.005);
    }

    // Slopes of the blended heights, where one image is seen alone. Those of the bump hold
    // between two texels: half a texel off at most, with curvatures up to 0.2 (4 pi)^2 / 4 = 8.
    const znRTBumpTexture bump(sampler, &attributes, znRTBumpTexture::heights, 0.2f);
    for (int i = 0; i < 200; ++i) {
        dg.uv = somePlaces(engine);
        const infiniteTiling::Patches patches = infiniteTiling::patchesAt(dg.uv);
        const znRTVector3fPacket n = bump.getNormalAt(dg, allLanes);
        constexpr float step = 1.0f / 64.0f;
        const auto heightAt = [&](float shift) {
            return tiled(sampler, dg.uv + znRTVector2fPacket(shift, 0.0f)).r;
        };
        const znFloatType<2> slope =
            (heightAt(0.5f * step) - heightAt(-0.5f * step)) * (0.2f / step);
        for (int lane = 0; lane < 4; ++lane)
            for (int k = 0; k < 3; ++k)
                if (patches.weight[k][lane] == 1.0f) {
                    EXPECT_NEAR(-n.x[lane] / n.z[lane], slope[lane], 8.0 * 0.5 * step + 0.005);
                }
    }
}
