#include "host/znImagePostprocessor.h"
#include "render/copyTasks.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr u32 width = 9, height = 7;

/// A grey frame with weights of 2, tested with linear display values.
struct EdgeTest
{
    EdgeTest()
        : frame(width * height, ZN_RGBA32F{1, 1, 1, 2}), weights(width * height, 2.0f),
          active(width * height, 1), statistics(width * height, 0.0f)
    {
        postProcessor.profile.kind = znColorProfile::linear;
        task.frame = frame.data();
        task.filterWeights = weights.data();
        task.activePixels = active.data();
        task.statistics = statistics.data();
        task.postProcessor = &postProcessor;
        task.width = width;
        task.height = height;
        task.thresholdLow = 0.1f;
        task.thresholdHigh = 0.3f;
    }
    void set(u32 x, u32 y, float value)
    {
        frame[y * width + x] = {value * 2, value * 2, value * 2, 2};
    }
    void run() { task(znRTCopyRange(0, height, 0, width)); }
    u8 isActive(u32 x, u32 y) const { return active[y * width + x]; }

    std::vector<ZN_RGBA32F> frame;
    std::vector<float> weights;
    std::vector<u8> active;
    std::vector<float> statistics;
    znImagePostprocessor postProcessor;
    znRTEdgeDetectionTask<ZN_RGBA32F> task;
};

} // namespace

TEST(EdgeDetection, FinishesEvenAreasAndKeepsTheSquareAroundAnEdge)
{
    for (int radius : {1, 2}) {
        EdgeTest test;
        test.task.radius = radius;
        test.set(4, 3, 1.0f); // 0.5 around it: contrast 0.5 above the upper threshold
        test.run();
        for (u32 y = 0; y < height; ++y)
            for (u32 x = 0; x < width; ++x) {
                const bool isNear =
                    std::abs(int(x) - 4) <= radius && std::abs(int(y) - 3) <= radius;
                EXPECT_EQ(test.isActive(x, y), isNear) << x << ", " << y;
                EXPECT_FLOAT_EQ(test.statistics[y * width + x], isNear ? 0.5f : 0.0f);
            }
    }
}

// Contrast 0.2 lies between the thresholds: the pixel goes on while it changes and ends when not.
TEST(EdgeDetection, FinishesModerateContrastThatHasSettled)
{
    EdgeTest test;
    test.set(4, 3, 0.7f);
    test.run();
    EXPECT_EQ(test.isActive(4, 3), 1);
    test.set(4, 3, 0.72f);
    test.run();
    EXPECT_EQ(test.isActive(4, 3), 1);
    test.run();
    EXPECT_EQ(test.isActive(4, 3), 0);
    test.set(4, 3, 1.0f); // a finished pixel stays finished
    test.run();
    EXPECT_EQ(test.isActive(4, 3), 0);
    EXPECT_EQ(test.isActive(3, 3), 0);
}

TEST(EdgeDetection, CountsPixelsWithoutWeightAsBlack)
{
    EdgeTest test;
    for (float& weight : test.weights)
        weight = 0.0f;
    test.run();
    EXPECT_EQ(test.isActive(4, 3), 0);
    EXPECT_EQ(test.statistics[3 * width + 4], 0.0f);
}

TEST(EdgeDetection, CutsDisplayValuesAtWhite)
{
    EdgeTest test;
    for (u32 i = 0; i < width * height; ++i)
        test.frame[i] = {20, 20, 20, 2};
    test.set(4, 3, 50.0f); // white beside white
    test.run();
    EXPECT_EQ(test.isActive(4, 3), 0);
    test.task.pass = 31; // data are compared as they are
    test.run();
    EXPECT_EQ(test.isActive(4, 3), 1);
}

TEST(EdgeDetection, KeepsPixelsGoingForOtherLayers)
{
    EdgeTest test;
    std::fill(test.active.begin(), test.active.end(), u8(0));
    test.task.pass = 3;
    test.set(4, 3, 0.61f); // 0.11 reaches the lower threshold
    test.run();
    EXPECT_EQ(test.isActive(4, 3), 1);
    EXPECT_EQ(test.isActive(0, 0), 0);
    EXPECT_EQ(test.statistics[3 * width + 4], 0.0f); // of the beauty alone
    test.set(4, 3, 0.5f);
    test.run();
    EXPECT_EQ(test.isActive(4, 3), 1); // never taken back
}

// Layers of data are not sums: 0.2 beside 0 is a contrast of 0.2 whatever the weights say.
TEST(EdgeDetection, TakesLayersOfDataAsTheyAre)
{
    EdgeTest test;
    test.task.filterWeights = nullptr;
    test.task.pass = 32;
    std::fill(test.active.begin(), test.active.end(), u8(0));
    std::fill(test.frame.begin(), test.frame.end(), ZN_RGBA32F{0, 0, 0, 0});
    test.frame[3 * width + 4].r = 0.2f;
    test.run();
    for (u32 y = 0; y < height; ++y)
        for (u32 x = 0; x < width; ++x)
            EXPECT_EQ(test.isActive(x, y), std::abs(int(x) - 4) <= 1 && std::abs(int(y) - 3) <= 1);
}
