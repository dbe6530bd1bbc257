#include "textureFixture.h"

#include <limits>

using namespace textureTest;

namespace {

using F = znRTTextureFunctions;

/// Levels hold their own numbers: 0, 1, 2...
void fillWithLevelNumbers(znRTSampler2D& sampler, int size, std::vector<std::vector<float>>& levels)
{
    fill(sampler, size, size, [](int, int) { return grey(0.0f); });
    sampler.createMipmaps();
    for (int level = 0; level <= sampler.levelCount; ++level) {
        const int side = sampler.getLevelWidth(level);
        levels.emplace_back(std::size_t(side * side * 4), float(level));
        sampler.levelData[std::size_t(level)] = reinterpret_cast<const u8*>(levels.back().data());
    }
}

znTextureFootprint footprintOf(float dsdx, float dtdx, float dsdy, float dtdy)
{
    return {inAllLanes(dsdx, dtdx), inAllLanes(dsdy, dtdy)};
}

class MipLevels : public testing::Test
{
protected:
    ~MipLevels() override
    {
        F::s_useHighQualityTextureFiltering = true;
        F::setSharpness(1.0f);
    }
};

} // namespace

// d = 3 is 2 * 1.5: level 1 and half of level 2.
TEST_F(MipLevels, FollowTheLongerSideOfTheFootprint)
{
    znRTSampler2D sampler;
    std::vector<std::vector<float>> levels;
    fillWithLevelNumbers(sampler, 64, levels);
    ASSERT_EQ(sampler.levelCount, 6);
    const znTextureFootprint footprint{
        {{0.0f, 3.0f / 64, 1.0f / 64, 100.0f}, {0.0f, 0.0f, -8.0f / 64, 0.0f}},
        {{0.0f, -1.0f / 64, 0.0f, 0.0f}, {0.0f, 0.0f, 0.0f, 0.0f}}};
    const znMipLevels found = F::calculateMipMapLevel(sampler, footprint);
    EXPECT_INT_LANES(found.level, 0, 1, 3, 6);
    EXPECT_INT_LANES(found.next, 1, 2, 4, 6);
    EXPECT_LANES_NEAR(found.weight, 0.0f, 0.5f, 0.0f, 0.5625f, 1e-6f); // 6400 = 4096 * 1.5625

    F::s_useHighQualityTextureFiltering = false;
    const znRTColorPacket seen = F::texture2D(sampler, inAllLanes(0.3f, 0.3f), footprint, allLanes);
    EXPECT_LANES_NEAR(seen.r, 0.0f, 1.5f, 3.0f, 6.0f, 1e-6f);
}

TEST_F(MipLevels, TakeAFootprintOfNothingForTheFinestLevel)
{
    znRTSampler2D sampler;
    std::vector<std::vector<float>> levels;
    fillWithLevelNumbers(sampler, 16, levels);
    const znTextureFootprint none = footprintOf(0, 0, 0, 0);
    const znMipLevels plain = F::calculateMipMapLevel(sampler, none);
    EXPECT_INT_LANES(plain.level, 0, 0, 0, 0);
    EXPECT_LANES_EQ(plain.weight, 0, 0, 0, 0);
    znMipLevels sharp;
    const znEllipse ellipse = F::calculateEWAMipMapLevel(sampler, none, sharp);
    EXPECT_INT_LANES(sharp.level, 0, 0, 0, 0);
    EXPECT_LANES_EQ(sharp.weight, 0, 0, 0, 0);
    EXPECT_LANES_EQ(ellipse.taps, 1, 1, 1, 1);
    const float bad = std::numeric_limits<float>::quiet_NaN();
    EXPECT_INT_LANES(F::calculateMipMapLevel(sampler, footprintOf(bad, bad, bad, bad)).level, 0, 0,
                     0, 0);
    const znRTColorPacket seen =
        F::texture2D(sampler, inAllLanes(0.5f, 0.5f), footprintOf(bad, 0, 0, bad), allLanes);
    EXPECT_FALSE(anyLane(seen.hasNaN()));
}

// 16 texels by 4: four lookups in level 2. By 1: the limit of 8 makes the shorter axis 2. By 3.9 =
// 2 * 1.95: half way through the last tenth of the octave.
TEST_F(MipLevels, FollowTheShorterAxisWhenDirectionsCount)
{
    znRTSampler2D sampler;
    std::vector<std::vector<float>> levels;
    fillWithLevelNumbers(sampler, 64, levels);
    const znTextureFootprint footprint{
        {{16.0f / 64, 16.0f / 64, 16.0f / 64, 0.0f}, {0.0f, 0.0f, 0.0f, 3.9f / 64}},
        {{0.0f, 0.0f, 0.0f, 3.9f / 64}, {4.0f / 64, 1.0f / 64, 0.0f, 0.0f}}};
    znMipLevels found;
    const znEllipse ellipse = F::calculateEWAMipMapLevel(sampler, footprint, found);
    EXPECT_INT_LANES(found.level, 2, 1, 1, 1);
    EXPECT_INT_LANES(found.next, 3, 2, 2, 2);
    EXPECT_LANES_NEAR(found.weight, 0.0f, 0.0f, 0.0f, 0.5f, 1e-4f);
    EXPECT_LANES_EQ(ellipse.taps, 4, 8, 8, 1);
    EXPECT_LANES_NEAR(ellipse.minor, 4.0f, 2.0f, 2.0f, 3.9f, 1e-5f);
    EXPECT_LANES_EQ(ellipse.major.x, 0.25f, 0.25f, 0.25f, 0.0f);
    const znRTColorPacket seen = F::texture2D(sampler, inAllLanes(0.3f, 0.3f), footprint, allLanes);
    EXPECT_LANES_NEAR(seen.r, 2.0f, 1.0f, 1.0f, 1.5f, 1e-4f);
    EXPECT_LANES_NEAR(seen.a, 2.0f, 1.0f, 1.0f, 1.5f, 1e-4f);

    F::setSharpness(2.0f);
    F::calculateEWAMipMapLevel(sampler, footprint, found);
    EXPECT_INT_LANES(found.level, 1, 0, 0, 0);
    sampler.maxAnisotropy = 1.0f;
    F::s_useHighQualityTextureFiltering = true;
    EXPECT_NEAR(F::texture2D(sampler, inAllLanes(0.3f, 0.3f), footprint, allLanes).r[0], 4.0f,
                1e-6f)
        << "by the longer side, 16 texels";
}

TEST_F(MipLevels, EndWithTheCoarsest)
{
    znRTSampler2D sampler;
    std::vector<std::vector<float>> levels;
    fillWithLevelNumbers(sampler, 8, levels);
    for (const float size : {1.0f, 10.0f, 1e9f, std::numeric_limits<float>::infinity()}) {
        znMipLevels found;
        const znTextureFootprint footprint = footprintOf(size, 0, 0, size);
        F::calculateEWAMipMapLevel(sampler, footprint, found);
        EXPECT_INT_LANES(found.level, 3, 3, 3, 3);
        EXPECT_INT_LANES(F::calculateMipMapLevel(sampler, footprint).next, 3, 3, 3, 3);
        EXPECT_EQ(F::texture2D(sampler, inAllLanes(0.3f, 0.3f), footprint, allLanes).r[0], 3.0f);
    }
}

// A plane of fine squares that runs to the horizon: far away nothing but grey may be left, and no
// level may pop up between two rows.
TEST_F(MipLevels, LeaveGreyAtTheHorizonOfACheckerboard)
{
    znRTSampler2D sampler;
    fill(sampler, 64, 64, [](int x, int y) { return grey(float((x / 2 + y / 2) & 1)); });
    sampler.createMipmaps();
    constexpr int columns = 64;
    for (const bool highQuality : {false, true}) {
        F::s_useHighQualityTextureFiltering = highQuality;
        for (int row = 1; row < 400; ++row) {
            // Camera at height 1 over the plane, 512 pixels to the unit: distance 512 / row.
            const float distance = 512.0f / float(row), across = distance / 512.0f;
            const float along = distance * distance / 512.0f;
            double sum = 0.0, squares = 0.0;
            for (int column = 0; column < columns; column += 4) {
                const znFloatType<2> x{float(column), float(column + 1), float(column + 2),
                                       float(column + 3)};
                const znFloatType<2> grey = F::texture2D(sampler, {x * across, distance},
                                                         footprintOf(across, 0, 0, along), allLanes)
                                                .r;
                for (int lane = 0; lane < 4; ++lane) {
                    sum += double(grey[lane]);
                    squares += double(grey[lane]) * double(grey[lane]);
                }
            }
            const double mean = sum / columns, variance = squares / columns - mean * mean;
            // A square is 1/32 wide: from 2 texels to the pixel on nothing of it can be shown.
            if (across * 64.0f >= 4.0f || (!highQuality && along * 64.0f >= 4.0f)) {
                EXPECT_NEAR(mean, 0.5, 0.02) << "row " << row;
                EXPECT_LT(variance, 0.02) << "row " << row;
            }
        }
    }
}

// As the footprint grows the colour changes by small steps.
TEST_F(MipLevels, ChangeWithoutJumps)
{
    znRTSampler2D sampler;
    fill(sampler, 64, 64, [](int x, int) { return grey(float(x) / 63.0f); });
    sampler.setWrap(Sampler::clamp, Sampler::clamp);
    sampler.createMipmaps();
    for (const bool highQuality : {false, true}) {
        F::s_useHighQualityTextureFiltering = highQuality;
        float last = -1.0f;
        for (float size = 0.5f; size < 128.0f; size *= 1.001f) {
            const float step = size / 64.0f;
            const float seen = F::texture2D(sampler, inAllLanes(0.05f, 0.5f),
                                            footprintOf(step, 0, 0, step), allLanes)
                                   .r[2];
            if (last >= 0.0f) {
                EXPECT_NEAR(seen, last, 0.01f) << size;
            }
            last = seen;
        }
    }
}
