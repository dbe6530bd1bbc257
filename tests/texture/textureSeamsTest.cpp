// Where an image ends and begins anew nothing must show: from one repetition to the next, at
// mirrors, on every level, and from one side of a cube to the next.

#include "textureFixture.h"

#include <cmath>
#include <random>

using namespace textureTest;

namespace {

using F = znRTTextureFunctions;

void fillRandom(znRTSampler2D& sampler, int width, int height)
{
    std::mt19937 engine(5);
    std::uniform_real_distribution<float> value(0.0f, 1.0f);
    fill(sampler, width, height, [&](int, int) { return grey(value(engine)); });
    sampler.createMipmaps();
}

/// As smooth over all directions as a cube of this many texels shows it.
float radiance(double x, double y, double z)
{
    const double length = std::sqrt(x * x + y * y + z * z);
    return float(1.0 + 0.5 * x / length + 0.25 * y / length - 0.125 * z / length);
}

void fillSmooth(znRTSamplerCube& cube, int size)
{
    std::vector<float> texels;
    for (int face = 0; face < 6; ++face)
        for (int j = 0; j < size; ++j)
            for (int i = 0; i < size; ++i) {
                // OpenGL 4.6 core, table 8.19, the other way round.
                const double s = (2.0 * i + 1.0) / size - 1.0, t = (2.0 * j + 1.0) / size - 1.0;
                const double at[6][3] = {{1, -t, -s}, {-1, -t, s}, {s, 1, t},
                                         {s, -1, -t}, {s, -t, 1},  {-s, -t, -1}};
                texels.push_back(radiance(at[face][0], at[face][1], at[face][2]));
            }
    ASSERT_TRUE(cube.setTexels(Sampler::typeLFloat, size, size, 6, texels.data()));
}

} // namespace

// Values on both sides of a line differ by no more than the slope of the image allows: between two
// texels it is at most 1 per texel.
TEST(TextureSeams, AreNoneBetweenRepetitionsOnAnyLevel)
{
    constexpr float step = 1e-5f;
    for (const int size : {1, 4, 5, 7})
        for (const int mode : {Sampler::repeat, Sampler::mirroredRepeat, Sampler::clamp})
            for (const float pixel : {0.0f, 0.3f, 0.6f, 1.7f})
                for (const float line : {-1.0f, 0.0f, 1.0f, 2.0f, 7.0f}) {
                    znRTSampler2D sampler;
                    fillRandom(sampler, size, 3);
                    sampler.setWrap(mode, mode);
                    const znFloatType<2> across(line - step, line + step, 0.37f, 0.37f);
                    const znFloatType<2> along(0.37f, 0.37f, line - step, line + step);
                    const znTextureFootprint footprint{{pixel, 0.0f}, {0.0f, pixel}};
                    const znFloatType<2> seen =
                        F::texture2D(sampler, {across, along}, footprint, allLanes).r;
                    const float allowed = 2.5f * step * 7.0f + 1e-5f;
                    EXPECT_NEAR(seen[0], seen[1], allowed) << size << ' ' << mode << ' ' << line;
                    EXPECT_NEAR(seen[2], seen[3], allowed) << size << ' ' << mode << ' ' << line;
                }
}

// Lanes of one packet may lie on levels of their own: each shows what it would show alone.
TEST(TextureSeams, AreNoneBetweenTheLanesOfAPacket)
{
    znRTSampler2D sampler;
    fillRandom(sampler, 37, 19);
    std::mt19937 engine(3);
    std::uniform_real_distribution<float> place(-2.0f, 3.0f), size(-7.0f, 1.0f);
    const auto four = [&](auto& numbers) {
        const float a = numbers(engine), b = numbers(engine), c = numbers(engine);
        return znFloatType<2>(a, b, c, numbers(engine));
    };
    for (int i = 0; i < 200; ++i) {
        const znRTVector2fPacket uv{four(place), four(place)};
        const znFloatType<2> dx = exp(four(size)), dy = exp(four(size));
        const znTextureFootprint footprint{{dx, dy * 0.5f}, {dx * -0.25f, dy}};
        const znFloatType<2> together = F::texture2D(sampler, uv, footprint, allLanes).r;
        for (int lane = 0; lane < 4; ++lane) {
            const znTextureFootprint own{znRTVector2fPacket(footprint.dx.getLane(lane)),
                                         znRTVector2fPacket(footprint.dy.getLane(lane))};
            const float alone =
                F::texture2D(sampler, znRTVector2fPacket(uv.getLane(lane)), own, expandLanes(1))
                    .r[0];
            EXPECT_EQ(together[lane], alone) << i;
        }
    }
}

// A face that went on with its own other end would show that there: here up to half the range.
// Clamped, the last half texel stays as it is, which is a quarter of a step between two texels.
TEST(TextureSeams, DoNotShowTheOtherEndOfTheSideOfACube)
{
    constexpr int size = 16;
    znRTSamplerCube cube;
    fillSmooth(cube, size);
    std::mt19937 engine(9);
    std::uniform_real_distribution<float> value(-1.0f, 1.0f);
    const auto four = [&] {
        const float a = value(engine), b = value(engine), c = value(engine);
        return znFloatType<2>(a, b, c, value(engine));
    };
    for (int i = 0; i < 2000; ++i) {
        znRTVector3fPacket d{four(), four(), four()};
        if (i & 1)
            d.y = d.x * (i & 2 ? 1.0f : -1.0f) * (1.0f + 1e-5f * value(engine)); // along edges
        const znFloatType<2> seen = F::textureCube(cube, d, allLanes).r;
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_NEAR(seen[lane],
                        radiance(double(d.x[lane]), double(d.y[lane]), double(d.z[lane])), 0.04);
    }
}
