#include "renderFixture.h"

#include "host/znTBBInit.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <set>
#include <thread>
#include <tuple>

using namespace renderTest;
using Settings = znRTRaytracingSettings;

namespace {

class TileTracing : public RenderTest
{
protected:
    void TearDown() override
    {
        instance->setInteractiveImageSamples(1);
        instance->setStillFrameSupersampling(1);
        znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.0f, 0.0f, 0.0f, 0.0f);
        RenderTest::TearDown();
    }
    /// Every pixel shows the background, within what the mean of samples loses.
    void expectBackgroundEverywhere(float value, float tolerance)
    {
        for (u32 y = 0; y < view.record.m_renderHeight; ++y)
            for (u32 x = 0; x < view.record.m_renderWidth; ++x)
                ASSERT_NEAR(view.pixel(x, y).g, value, tolerance) << x << ", " << y;
        ASSERT_TRUE(view.guardIsIntact());
    }
};

} // namespace

// The mean multiplies with the reciprocal estimate of the processor, good to 3e-4.
TEST_F(TileTracing, WritesEachPixelOfOddImagesOnceForAllSampleCounts)
{
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(1.0f, 1.0f, 1.0f, 1.0f);
    for (auto [width, height] : {std::pair<u32, u32>{101, 33}, {1, 1}, {3, 257}, {16, 32}})
        for (u32 size : {2u, 16u, 33u})
            for (int samples : {1, 2, 3, 16}) {
                SCOPED_TRACE(testing::Message() << width << " x " << height << ", tiles of " << size
                                                << ", " << samples << " samples");
                instance->setInteractiveImageSamples(samples);
                resize(width, height, size);
                begin();
                ASSERT_EQ(Settings::s_interactiveImageSamples, samples);
                ASSERT_FALSE(trace());
                expectBackgroundEverywhere(1.0f, samples == 1 ? 0.0f : 4e-4f);
            }
}

// A box of one pixel and four iterations: the Latin rows of the lens visit each pixel once, the
// pixels of a supersampled frame likewise.
TEST_F(TileTracing, GivesEachPixelOfAStillFrameWeightOneAfterFourIterations)
{
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.25f, 0.5f, 1.0f, 1.0f);
    for (auto [width, height] : {std::pair<u32, u32>{101, 33}, {1, 1}, {3, 257}, {64, 64}})
        for (int s : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << ", s = " << s);
            instance->setStillFrameSupersampling(s);
            resize(width, height);
            begin(true);
            ASSERT_EQ(Settings::s_stillFrameSupersampling, s);
            accumulate(4);
            for (std::size_t i = 0; i < view.filterWeights.size(); ++i)
                ASSERT_EQ(view.filterWeights[i], 1.0f) << i;
            expectBackgroundEverywhere(0.5f, 0.0f);
        }
}

TEST_F(TileTracing, GivesTheSameImageForEveryNumberOfTasks)
{
    resize(96, 80);
    add(makeSphere(20, 40));
    begin();
    ASSERT_FALSE(trace(1));
    const std::vector<ZN_RGBA32F> reference = view.frame;
    for (u32 taskCount : {0u, 2u, 3u, 8u}) {
        view.resize(96, 80);
        ASSERT_FALSE(trace(taskCount));
        EXPECT_EQ(
            std::memcmp(view.frame.data(), reference.data(), reference.size() * sizeof(ZN_RGBA32F)),
            0)
            << taskCount;
    }
}

// Each pixel of a box has one owner.
TEST_F(TileTracing, GivesTheSameStillFrameForEveryNumberOfTasks)
{
    resize(96, 80);
    add(makeSphere(20, 40));
    begin(true);
    accumulate(8, 1);
    const std::vector<ZN_RGBA32F> reference = view.frame;
    for (u32 taskCount : {2u, 7u}) {
        begin(true);
        accumulate(8, taskCount);
        EXPECT_EQ(
            std::memcmp(view.frame.data(), reference.data(), reference.size() * sizeof(ZN_RGBA32F)),
            0)
            << taskCount;
    }
}

// Tiles take turns at the pixels that they share, in an order that their places decide. Tiles of 4
// pixels under a filter of 12 reach over two neighbours.
TEST_F(TileTracing, GivesTheSameSplatsForEveryNumberOfTasks)
{
    add(makeSphere(20, 40));
    for (const auto& [type, size, tileEdge] :
         {std::tuple{3, 4.0f, 16u}, {5, 6.0f, 16u}, {3, 12.0f, 4u}}) {
        SCOPED_TRACE(testing::Message() << "filter " << type << " of " << size << " pixels");
        camera->setFilterType(type);
        camera->setFilterSizeX(size);
        camera->setFilterSizeY(size);
        resize(96, 80, tileEdge);
        const auto render = [this](u32 taskCount) {
            begin(true);
            accumulate(8, taskCount);
        };
        render(1);
        const std::vector<ZN_RGBA32F> frame = view.frame;
        const std::vector<float> weights = view.filterWeights;
        for (u32 taskCount : {1u, 2u, 7u}) {
            render(taskCount);
            EXPECT_EQ(
                std::memcmp(frame.data(), view.frame.data(), frame.size() * sizeof(ZN_RGBA32F)), 0)
                << taskCount;
            EXPECT_EQ(weights, view.filterWeights) << taskCount;
        }
    }
}

// The rectangle does not begin on a multiple of the tile size, nor end on one.
TEST_F(TileTracing, GivesTheSameSplatsOverAGridForEveryNumberOfThreads)
{
    add(makeSphere(20, 40));
    camera->setFilterType(3);
    camera->setFilterSizeX(6.0f);
    camera->setFilterSizeY(6.0f);
    resize(96, 80);
    const auto render = [this](u32 threads) {
        begin(true);
        for (u32 i = 0; i < 8; ++i) {
            view.record.m_iteration = i;
            updateCamera();
            instance->updateRendertargets(&view.record, false);
            ensureRenderTask(view.record.m_renderTask, view.record, 0);
            znRTRenderTask& task = *view.record.m_renderTask;
            task.gridX0 = 5;
            task.gridX1 = 91;
            task.gridY0 = 3;
            task.gridY1 = 70;
            task.gridWidth = task.gridX1 - task.gridX0;
            task.gridHeight = task.gridY1 - task.gridY0;
            view.record.m_tileQueue.next = 0;
            view.record.m_tileQueue.count = task.getGridTileCount();
            task.prepareGrid();
            std::vector<std::thread> workers;
            for (u32 worker = 1; worker < threads; ++worker)
                workers.emplace_back([&task] { task.runTileGrid(); });
            task.runTileGrid();
            for (std::thread& worker : workers)
                worker.join();
        }
    };
    render(1);
    const std::vector<ZN_RGBA32F> frame = view.frame;
    const std::vector<float> weights = view.filterWeights;
    // Each pixel of the rectangle took two samples, and the filter reaches 3 pixels beyond it.
    EXPECT_GT(weights[30 * 96 + 40], 0.0f);
    EXPECT_GT(weights[1 * 96 + 40], 0.0f);
    EXPECT_EQ(weights[75 * 96 + 40], 0.0f);
    for (u32 threads : {1u, 2u, 7u}) {
        render(threads);
        EXPECT_EQ(std::memcmp(frame.data(), view.frame.data(), frame.size() * sizeof(ZN_RGBA32F)),
                  0)
            << threads;
        EXPECT_EQ(weights, view.filterWeights) << threads;
    }
}

TEST_F(TileTracing, KeepsTheOtherComponentsOfAnInvalidSample)
{
    constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinite = std::numeric_limits<float>::infinity();
    instance->setClamping(true);
    instance->setReflectionClampValue(8.0f);
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.5f, notANumber, infinite, 1.0f);
    for (int samples : {1, 2}) {
        instance->setInteractiveImageSamples(samples);
        resize(33, 17);
        begin();
        ASSERT_EQ(Settings::s_interactiveImageSamples, samples);
        ASSERT_FALSE(trace());
        for (u32 i = 0; i < 33 * 17; ++i) {
            ASSERT_NEAR(view.frame[i].r, 0.5f, 2e-4f);
            ASSERT_EQ(view.frame[i].g, 0.0f);
            ASSERT_NEAR(view.frame[i].b, 8.0f, 4e-3f);
            ASSERT_NEAR(view.frame[i].a, 1.0f, 4e-4f);
        }
    }
    begin(true);
    accumulate(8);
    for (u32 i = 0; i < 33 * 17; ++i) {
        ASSERT_EQ(view.frame[i].r, 1.0f);
        ASSERT_EQ(view.frame[i].g, 0.0f);
        ASSERT_EQ(view.frame[i].b, 16.0f);
    }
    instance->setClamping(false);
}

TEST_F(TileTracing, SkipsFinishedPixelsOfAStillFrame)
{
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(1.0f, 1.0f, 1.0f, 1.0f);
    resize(32, 32);
    begin(true);
    for (u32 i = 0; i < 32 * 32; i += 3)
        view.activePixels[i] = 0;
    const std::vector<u8> mask = view.activePixels;
    for (u32 i = 1; i <= 4; ++i) { // iteration 0 would set the mask again
        view.record.m_iteration = i;
        updateCamera();
        ASSERT_FALSE(trace());
    }
    for (u32 i = 0; i < 32 * 32; ++i)
        EXPECT_EQ(view.filterWeights[i], float(mask[i])) << i;
}

TEST_F(TileTracing, SplatsAWideFilterWithTheSameTotalWeight)
{
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.5f, 0.5f, 0.5f, 1.0f);
    camera->setFilterType(3);
    camera->setFilterSizeX(4.0f);
    camera->setFilterSizeY(4.0f);
    resize(48, 40);
    begin(true);
    accumulate(4, 1);
    // Far from the border every pixel collects the whole table from its neighbours.
    const float sum = znRTRenderUtils::getCamera()->pixelFilterSet.getSum();
    for (u32 y = 8; y < 32; ++y)
        for (u32 x = 8; x < 40; ++x) {
            EXPECT_NEAR(view.filterWeights[y * 48 + x], sum, 1e-4f * sum);
            EXPECT_NEAR(view.pixel(x, y).r / view.filterWeights[y * 48 + x], 0.5f, 1e-5f);
        }
    EXPECT_TRUE(view.guardIsIntact());
}

TEST_F(TileTracing, MeasuresItsTilesAndSortsThemAfterTheFirstIteration)
{
    resize(96, 80);
    add(makeSphere(20, 40));
    begin();
    ASSERT_FALSE(trace());
    for (std::size_t i = 1; i < view.record.m_allTiles.size(); ++i)
        EXPECT_GE(view.record.m_allTiles[i - 1].time, view.record.m_allTiles[i].time);
    EXPECT_GT(view.record.m_allTiles[0].time, 0u);
}
