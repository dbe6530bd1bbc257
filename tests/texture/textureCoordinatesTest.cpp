#include "textureFixture.h"

using namespace textureTest;

// s' = s - (0.5 + offset), turned and repeated about 0.5: worked out in double precision.
TEST(TextureCoordinates, AreOffsetTurnedAndRepeatedAboutTheMiddle)
{
    znRTSampler2D sampler;
    sampler.setTransform(2.0f, 3.0f, 0.1f, -0.2f, 30.0f);
    znRTVector2fPacket uv({0.0f, 0.3f, 0.6f, 2.0f}, {0.0f, 0.9f, 0.3f, -1.0f});
    const znRTVector2fPacket from = uv;
    znTextureFootprint footprint{inAllLanes(0.01f, 0.02f), inAllLanes(0.03f, 0.04f)};
    znRTTextureFunctions::applyTexCoordTransform(sampler, uv, footprint);
    const double angle = 30.0 * M_PI / 180.0, c = std::cos(angle), n = std::sin(angle);
    for (int lane = 0; lane < 4; ++lane) {
        const double s = double(from.x[lane]) - 0.6, t = double(from.y[lane]) - 0.3;
        EXPECT_NEAR(uv.x[lane], 2.0 * (c * s - n * t) + 0.5, 1e-6);
        EXPECT_NEAR(uv.y[lane], 3.0 * (c * t + n * s) + 0.5, 1e-6);
    }
    EXPECT_NEAR(footprint.dx.x[0], 0.02f, 1e-8f);
    EXPECT_NEAR(footprint.dx.y[0], 0.06f, 1e-8f);
    EXPECT_NEAR(footprint.dy.x[0], 0.06f, 1e-8f);
    EXPECT_NEAR(footprint.dy.y[0], 0.12f, 1e-8f);

    znRTTextureFunctions::undoTexCoordTransform(sampler, uv);
    for (int lane = 0; lane < 4; ++lane) {
        EXPECT_NEAR(uv.x[lane], from.x[lane], 2e-6f);
        EXPECT_NEAR(uv.y[lane], from.y[lane], 2e-6f);
    }
}

TEST(TextureCoordinates, StayWhatTheyAreWithoutATransform)
{
    znRTSampler2D sampler;
    sampler.setTransform(2.0f, 1.0f, 0.0f, 0.0f, 0.0f);
    sampler.hasTransform = false;
    znRTVector2fPacket uv = inAllLanes(0.3f, 0.7f);
    znRTTextureFunctions::applyTexCoordTransform(sampler, uv);
    EXPECT_LANES_EQ(uv.x, 0.3f, 0.3f, 0.3f, 0.3f);
    fillRow(sampler, {0.0f, 1.0f, 2.0f, 3.0f});
    EXPECT_EQ(znRTTextureFunctions::texture2DNearest(sampler, uv, allLanes).r[0], 1.0f);
    sampler.hasTransform = true;
    EXPECT_EQ(znRTTextureFunctions::texture2DNearest(sampler, uv, allLanes).r[0], 0.0f)
        << "2 (0.3 - 0.5) + 0.5 = 0.1";
    EXPECT_EQ(znRTTextureFunctions::texture2DNearestNoTransform(sampler, uv, allLanes).r[0], 1.0f);
}

TEST(TextureCoordinates, AreOfNoAccountWithoutData)
{
    const znRTColorPacket seen = znRTTextureFunctions::texture2D(
        znRTTextureFunctions::s_dummyTexture2D, inAllLanes(0.3f, 0.7f), expandLanes(3));
    EXPECT_LANES_EQ(seen.r, 1, 1, 0, 0);
    EXPECT_LANES_EQ(seen.a, 1, 1, 0, 0);
}
