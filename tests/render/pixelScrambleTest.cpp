#include "render/pixelScramble.h"

#include "camera/znRTCamera.h"
#include "host/znRTRaytracingSettings.h"
#include "support/lanes.h"

// R. Jenkins, "4-byte integer hashing" (the six-step full mix), computed by hand in 32 bits.
TEST(PixelHash, IsTheFullMixOfTheLinearId)
{
    for (u32 id : {0u, 1u, 1024u, 1025u, 123456u, 0xffffffffu}) {
        u64 a = id;
        const u64 m = 0xffffffffu;
        a = ((a + 0x7ed55d16) + (a << 12)) & m;
        a = ((a ^ 0xc761c23c) ^ (a >> 19)) & m;
        a = ((a + 0x165667b1) + (a << 5)) & m;
        a = ((a + 0xd3a2646c) ^ (a << 9)) & m;
        a = ((a + 0xfd7046c5) + (a << 3)) & m;
        a = ((a ^ 0xb55a4f09) ^ (a >> 16)) & m;
        EXPECT_EQ(jenkinsMix(id), u32(a));
        EXPECT_EQ(u32(jenkinsMix(znIntType<2>(int(id)))[2]), u32(a));
    }
}

TEST(PixelHash, RepeatsIdsInImagesWiderThan1024)
{
    const znIntType<2> wide = hashPixel(znIntType<2>(1024, 1, 5, 0), znIntType<2>(0, 3, 7, 0));
    EXPECT_INT_LANES(wide, jenkinsMix(1024u), jenkinsMix(3073u), jenkinsMix(7173u), jenkinsMix(0u));
    EXPECT_EQ(wide[0], hashPixel(znIntType<2>(0), znIntType<2>(1))[0]);
    EXPECT_INT_LANES(znRTCamera::getPixelIDs(znIntType<2>(1, 2, 3, 4), znIntType<2>(0)),
                     jenkinsMix(1u), jenkinsMix(2u), jenkinsMix(3u), jenkinsMix(4u));
}

TEST(PixelScramble, Has23BitsInStepsOf256)
{
    u32 seen = 0;
    for (int x = 0; x < 4096; ++x) {
        const u32 scramble = u32(pixelScramble(znIntType<2>(x), znIntType<2>(17), 1)[1]);
        EXPECT_EQ(scramble & ~0x7fff00u, 0u);
        seen |= scramble;
    }
    EXPECT_EQ(seen, 0x7fff00u);
}

TEST(PixelScramble, IsSharedByTheSupersamplesOfAPixel)
{
    for (int s : {2, 3, 4})
        for (int x = 0; x < 5000; x += 7) {
            const znIntType<2> shared =
                pixelScramble(znIntType<2>(x * s, x * s + s - 1, x * s, x * s + s),
                              znIntType<2>(5 * s, 5 * s, 5 * s + s - 1, 5 * s), s);
            const znIntType<2> pixel = pixelScramble(znIntType<2>(x), znIntType<2>(5), 1);
            EXPECT_EQ(shared[0], pixel[0]);
            EXPECT_EQ(shared[1], pixel[0]);
            EXPECT_EQ(shared[2], pixel[0]);
            EXPECT_NE(shared[3], pixel[0]);
        }
}

TEST(PrimaryState, CountsASampleEveryFourthIteration)
{
    using Settings = znRTRaytracingSettings;
    znRTCamera camera;
    znRTRayPacket ray(znRTVector3fPacket(0.0f, 0.0f, 0.0f), znRTVector3fPacket(0.0f, 0.0f, 1.0f));
    ray.pixelX = znIntType<2>(3);
    ray.pixelY = znIntType<2>(4);
    Settings::s_raytracingSampleOffset = 100;
    camera.iteration = 11;
    EXPECT_EQ(primaryState(camera, ray, 5).sampleIndex, 107);
    Settings::s_stillFrameSupersampling = 3;
    EXPECT_EQ(primaryState(camera, ray, 5).sampleIndex, 100 + 5 + 2 * 9);
    Settings::s_stillFrameSupersampling = 1;
    Settings::s_raytracingSampleOffset = 0;

    const znRTShadingState state = primaryState(camera, ray, 0);
    EXPECT_EQ(state.pixelSeed[1], pixelScramble(ray.pixelX, ray.pixelY, 1)[1]);
    EXPECT_INT_LANES(state.pixelSeed2, 0, 0, 0, 0);
    EXPECT_INT_LANES(state.maskA, -1, -1, -1, -1);
    EXPECT_EQ(state.dimension, 0);
    EXPECT_EQ(state.counterC, 0);
}
