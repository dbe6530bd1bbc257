#include "textureFixture.h"

#include "host/znRTEnvironmentImages.h"

#include <random>

using namespace textureTest;

namespace {

using F = znRTTextureFunctions;

znRTVector3fPacket along(float x, float y, float z)
{
    return {znFloatType<2>(x), znFloatType<2>(y), znFloatType<2>(z)};
}

/// Faces or slices of one texel each, of their own numbers.
template <class Kind>
void fillWithNumbers(Kind& sampler, int size, int layers)
{
    std::vector<float> texels;
    for (int layer = 0; layer < layers; ++layer)
        for (int i = 0; i < size * size; ++i)
            texels.push_back(float(layer));
    ASSERT_TRUE(sampler.setTexels(Sampler::typeLFloat, size, size, layers, texels.data()));
    sampler.setWrap(Sampler::clamp, Sampler::clamp);
}

} // namespace

TEST(CubeLookup, ReadsTheFaceOfTheLargestComponent)
{
    znRTSamplerCube cube;
    fillWithNumbers(cube, 2, 6);
    const znRTVector3fPacket first({2, -2, 0.1f, 0.1f}, {0.5f, 0.5f, 1, -1}, {1, -1, 0.9f, 0.9f});
    EXPECT_LANES_EQ(F::textureCube(cube, first, allLanes).r, 0, 1, 2, 3);
    const znRTVector3fPacket second({0.1f, 0.2f, 0, 0}, {0, 0, 0, 0}, {1, -1, 5, -5});
    EXPECT_LANES_EQ(F::textureCube(cube, second, allLanes).r, 4, 5, 4, 5);
    EXPECT_LANES_EQ(F::textureCube(cube, second, expandLanes(2)).r, 0, 5, 0, 0);
}

// OpenGL 4.6 core, table 8.19: s = (sc / |ma| + 1) / 2.
TEST(CubeLookup, FindsItsPlaceAsOpenGLDoes)
{
    struct Case
    {
        float x, y, z;
        int face;
        float s, t;
    };
    for (const Case& c :
         {Case{2, 1, -0.5f, 0, 0.625f, 0.25f}, Case{-2, 1, -0.5f, 1, 0.375f, 0.25f},
          Case{1, 2, -0.5f, 2, 0.75f, 0.375f}, Case{1, -2, -0.5f, 3, 0.75f, 0.625f},
          Case{1, -0.5f, 2, 4, 0.75f, 0.625f}, Case{1, -0.5f, -2, 5, 0.25f, 0.625f}}) {
        znIntType<2> face;
        const znRTVector2fPacket place = F::findCubeFace(along(c.x, c.y, c.z), face);
        EXPECT_EQ(face[1], c.face);
        EXPECT_NEAR(place.x[1], c.s, 1e-6f) << c.face;
        EXPECT_NEAR(place.y[1], c.t, 1e-6f) << c.face;
    }
}

// By differences of neighbouring directions.
TEST(CubeLookup, TurnsStepsOfDirectionsIntoStepsOnTheFace)
{
    std::mt19937 engine(3);
    std::uniform_real_distribution<float> value(-1.0f, 1.0f);
    const float tiny = 1.0f / 512.0f;
    for (int i = 0; i < 100; ++i) {
        const znRTVector3f d(value(engine), value(engine), value(engine));
        const znRTVector3f step(value(engine), value(engine), value(engine));
        znIntType<2> face, before, after;
        znTextureFootprint footprint;
        F::findCubeFace(znRTVector3fPacket(d), znRTVector3fPacket(step),
                        znRTVector3fPacket(step * 2.0f), face, footprint);
        const auto from = F::findCubeFace(znRTVector3fPacket(d - step * tiny), before);
        const auto to = F::findCubeFace(znRTVector3fPacket(d + step * tiny), after);
        const float largest = std::max({std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)});
        if (before[0] != face[0] || after[0] != face[0] || largest < 0.2f)
            continue;
        const float scale = 0.5f / tiny;
        EXPECT_NEAR(footprint.dx.x[0], (to.x[0] - from.x[0]) * scale, 0.02f);
        EXPECT_NEAR(footprint.dx.y[0], (to.y[0] - from.y[0]) * scale, 0.02f);
        EXPECT_NEAR(footprint.dy.x[0], 2.0f * footprint.dx.x[0], 1e-4f);
    }
}

TEST(EnvironmentPlace, IsAzimuthFromNorthAndAngleFromTheZenith)
{
    const auto u = [](float x, float y, float z) {
        return F::environmentCoordinates(along(x, y, z)).x[0];
    };
    EXPECT_NEAR(u(0, 1, 0), 0.0f, 1e-5f);
    EXPECT_NEAR(u(1, 0, 0), 0.25f, 1e-5f);
    EXPECT_NEAR(u(0, -1, 0), 0.5f, 1e-5f);
    EXPECT_NEAR(u(-1, 0, 0), 0.75f, 1e-5f);
    EXPECT_NEAR(F::environmentCoordinates(along(0, 0, 1)).y[0], 0.0f, 1e-5f);
    EXPECT_NEAR(F::environmentCoordinates(along(0, 0, -1)).y[0], 1.0f, 1e-5f);
    std::mt19937 engine(5);
    std::uniform_real_distribution<float> value(-1.0f, 1.0f);
    for (int i = 0; i < 100; ++i) {
        znRTVector3f d(value(engine), value(engine), value(engine));
        d = d * (1.0f / d.getLength());
        const znRTVector2f expected = znRTEnvironmentImages::toCoordinates(d);
        const auto found = F::environmentCoordinates(znRTVector3fPacket(d));
        EXPECT_NEAR(found.x[0], expected.x, 1e-5f);
        EXPECT_NEAR(found.y[0], expected.y, 1e-5f);
    }
}

TEST(EnvironmentLookup, GoesFromTheMeanToTheSharpImageByLevel)
{
    znRTSampler3D stack;
    fillWithNumbers(stack, 2, 5);
    const znFloatType<2> levels(0.0f, 1.0f, 0.375f, 2.0f);
    EXPECT_LANES_EQ(F::environmentLookup(stack, along(0, 1, 0), levels, false, allLanes).r, 0, 4,
                    1.5f, 4);
    EXPECT_LANES_EQ(F::environmentLookup(stack, along(0, 1, 0), levels, false, expandLanes(4)).r, 0,
                    0, 1.5f, 0);

    // Levels of a cube run the other way: level 0 is the sharp one.
    znRTSamplerCube cube;
    fillWithNumbers(cube, 4, 6);
    cube.createMipmaps();
    for (int level = 0; level <= cube.levelCount; ++level)
        for (int face = 0; face < 6; ++face)
            for (int i = 0; i < cube.getLevelWidth(level) * cube.getLevelHeight(level); ++i)
                cube.setLevelTexel(level, face, i % cube.getLevelWidth(level),
                                   i / cube.getLevelWidth(level), grey(float(level)));
    EXPECT_LANES_EQ(F::environmentLookup(cube, along(0, 1, 0), levels, false, allLanes).r, 2, 0,
                    1.25f, 0);
}

TEST(EnvironmentLookup, CorrectsColoursOnlyWhenAsked)
{
    znRTSampler3D stack;
    const float texel[] = {0.5f, 0.25f, 1.0f, 0.0f, 0.5f, 0.25f, 1.0f, 0.0f};
    ASSERT_TRUE(stack.setTexels(Sampler::typeRGBAFloat, 1, 1, 2, texel));
    stack.colorMatrix[0] = {2.0f, 0.0f, 0.0f, 0.0f};
    stack.colorMatrix[1] = {4.0f, 1.0f, 0.0f, 0.0f};
    stack.colorMatrix[2] = {0.0f, 0.0f, -1.0f, 0.0f};
    stack.colorMatrix[3] = {0.125f, 0.0f, 0.5f, 1.0f};
    stack.useColorMatrix = true;
    const auto seen = [&](bool isCorrected) {
        return F::environmentLookup(stack, along(0, 0, 1), 0.5f, isCorrected, allLanes)
            .getComponent(3);
    };
    EXPECT_COLOR(seen(true), 2.125f, 0.25f, 0.0f, 1.0f, 1e-6f); // blue -0.5 is held at 0
    EXPECT_COLOR(seen(false), 0.5f, 0.25f, 1.0f, 0.0f, 1e-6f);
    stack.useColorMatrix = false;
    EXPECT_COLOR(seen(true), 0.5f, 0.25f, 1.0f, 0.0f, 1e-6f);
}

TEST(AmbientLookup, IsTheMeanTimesTheExposure)
{
    znRTSampler2D sampler;
    fillRow(sampler, {1.0f, 3.0f});
    F::s_exposureScale = 4.0f;
    EXPECT_LANES_EQ(F::ambientLookup(sampler, expandLanes(3), true).g, 8, 8, 0, 0);
    EXPECT_LANES_EQ(F::ambientLookup(sampler, allLanes, false).g, 0, 0, 0, 0);
    F::s_exposureScale = 1.0f;
}

TEST(ArrayLookup, ReadsTheElementOfEachLane)
{
    znRTSampler2DArray array;
    fillWithNumbers(array, 2, 4);
    EXPECT_LANES_EQ(F::texture2DArray(array, inAllLanes(0.5f, 0.5f), {0, 3, 9, -1}, allLanes).r, 0,
                    3, 3, 0);
    znRTSampler3D volume;
    fillWithNumbers(volume, 2, 3);
    EXPECT_LANES_EQ(
        F::texture3DBilinear(volume, inAllLanes(0.5f, 0.5f), {0.0f, 0.25f, 1.0f, -1.0f}, allLanes)
            .r,
        0, 0.5f, 2, 0);
}
