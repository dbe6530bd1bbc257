#include "render/integrateBlock.h"
#include "render/splatSample.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// A frame with a tabulated filter.
struct Splat
{
    Splat(int type, float size, u32 width_ = 9, u32 height_ = 7)
        : width(width_), height(height_), frame(width * height, ZN_RGBA32F{0, 0, 0, 0}),
          weights(width * height, 0.0f), active(width * height, 1)
    {
        filter.setFilter(znPixelfilterFactory::getPixelfilter(type, size, size));
        filter.updateFilter(size, size);
        target = {frame.data(), weights.data(), active.data(), width, 0, width, 0, height};
    }
    float sumOfWeights() const
    {
        double sum = 0.0;
        for (float w : weights)
            sum += w;
        return float(sum);
    }
    bool hasNegativeWeight() const
    {
        for (int j = filter.minY; j <= filter.maxY; ++j)
            for (int i = filter.minX; i <= filter.maxX; ++i)
                if (filter.getWeight(i, j) < 0.0f)
                    return true;
        return false;
    }
    u32 width, height;
    std::vector<ZN_RGBA32F> frame;
    std::vector<float> weights;
    std::vector<u8> active;
    znPixelfilterSampleSet filter;
    znRTSplatTarget target;
};

} // namespace

TEST(SampleFilter, ZeroesOnlyTheComponentsThatAreNaN)
{
    const znRTColorPacket colour(
        znFloatType<2>(notANumber, 1.0f, 2.0f, 0.5f), znFloatType<2>(3.0f, notANumber, 2.0f, 0.5f),
        znFloatType<2>(4.0f, 1.0f, infinity, -3.0f), znFloatType<2>(1.0f, 1.0f, 1.0f, notANumber));
    ZN_RGBA32F lanes[4];
    storeLanes(colour, znFloatType<2>(1.0f), 15, 10.0f, lanes);
    const float expected[4][4] = {{0, 3, 4, 1}, {1, 0, 1, 1}, {2, 2, 10, 1}, {0.5f, 0.5f, -3, 0}};
    for (int lane = 0; lane < 4; ++lane)
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ((&lanes[lane].r)[i], expected[lane][i]) << lane << ", " << i;
}

TEST(SampleFilter, MultipliesCoverageWhereASurfaceWasHit)
{
    const znRTColorPacket colour(4.0f, 4.0f, 4.0f, 1.0f);
    ZN_RGBA32F lanes[4];
    storeLanes(colour, znFloatType<2>(0.5f), 5, 1e9f, lanes);
    EXPECT_EQ(lanes[0].r, 2.0f);
    EXPECT_EQ(lanes[1].r, 4.0f);
    EXPECT_EQ(lanes[2].a, 0.5f);
    EXPECT_EQ(lanes[3].a, 1.0f);
}

TEST(FilterSplat, SpreadsTheWholeTableInsideTheBounds)
{
    for (int type : {2, 3, 4, 5, 6}) {
        Splat splat(type, 4.0f);
        splatSample(splat.target, splat.filter, 4, 3, _mm_set1_ps(2.0f));
        EXPECT_NEAR(splat.sumOfWeights(), splat.filter.getSum(), 1e-5f) << type;
        for (u32 i = 0; i < splat.width * splat.height; ++i)
            EXPECT_FLOAT_EQ(splat.frame[i].g, 2.0f * splat.weights[i]);
    }
}

// The four bounds cut the table where it is: each weight lands on its own pixel or nowhere.
TEST(FilterSplat, WritesNothingOutsideTheBounds)
{
    Splat splat(3, 6.0f);
    splat.target.left = 3;
    splat.target.right = 5;
    splat.target.bottom = 2;
    splat.target.top = 4;
    splatSample(splat.target, splat.filter, 4, 3, _mm_set1_ps(1.0f));
    for (u32 y = 0; y < splat.height; ++y)
        for (u32 x = 0; x < splat.width; ++x) {
            const bool inside = x >= 3 && x < 5 && y >= 2 && y < 4;
            EXPECT_EQ(splat.weights[y * splat.width + x],
                      inside ? splat.filter.getWeight(int(x) - 4, int(y) - 3) : 0.0f);
        }
    splat.target.right = 3; // empty
    const float before = splat.sumOfWeights();
    splatSample(splat.target, splat.filter, 4, 3, _mm_set1_ps(1.0f));
    EXPECT_EQ(splat.sumOfWeights(), before);
}

// Weights that are not negative go to every pixel, finished or not.
TEST(FilterSplat, NeedsNoLookAtPixelsUnlessWeightsAreNegative)
{
    for (int type : {2, 3, 6})
        for (float size : {2.0f, 3.0f, 4.0f, 6.0f}) {
            Splat careful(type, size), quick(type, size);
            ASSERT_FALSE(hasNegativeWeight(quick.filter));
            quick.target.hasLobes = false;
            for (Splat* splat : {&careful, &quick}) {
                std::fill(splat->active.begin(), splat->active.end(), u8(0));
                for (u32 x : {0u, 4u, 5u})
                    splatSample(splat->target, splat->filter, x, 3, _mm_set1_ps(0.1f));
            }
            for (u32 i = 0; i < quick.width * quick.height; ++i) {
                EXPECT_EQ(quick.weights[i], careful.weights[i]) << type << ", " << size;
                EXPECT_EQ(quick.frame[i].b, careful.frame[i].b) << type << ", " << size;
            }
        }
}

TEST(FilterSplat, ReachesFinishedPixelsWithPositiveWeightsAlone)
{
    Splat splat(5, 6.0f); // three lobes: negative weights around the first
    ASSERT_TRUE(splat.hasNegativeWeight());
    std::fill(splat.active.begin(), splat.active.end(), u8(0));
    splatSample(splat.target, splat.filter, 4, 3, _mm_set1_ps(1.0f));
    for (int y = 0; y < int(splat.height); ++y)
        for (int x = 0; x < int(splat.width); ++x) {
            const int i = x - 4, j = y - 3;
            const bool inTable = i >= splat.filter.minX && i <= splat.filter.maxX &&
                                 j >= splat.filter.minY && j <= splat.filter.maxY;
            const float w = inTable ? splat.filter.getWeight(i, j) : 0.0f;
            EXPECT_EQ(splat.weights[y * int(splat.width) + x], std::max(w, 0.0f));
        }
}
