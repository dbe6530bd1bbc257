#include "renderFixture.h"

#include "camera/znRTLensShader.h"
#include "camera/znRTPerspectivePinholeLens.h"
#include "host/znLog.h"
#include "material/znRTMaterial.h"
#include "render/znRTPhotonRootTask.h"

#include <atomic>
#include <set>
#include <stdexcept>
#include <thread>

using namespace renderTest;
using Settings = znRTRaytracingSettings;

namespace {

constexpr unsigned controlBits = 0xffc0; ///< without the sticky flags

unsigned controlWord()
{
    return _mm_getcsr() & controlBits;
}

const znRTTypeId hookLensTypeId("HookLens");

/// Makes no rays; calls back for each block instead.
class HookLens : public znRTLensShader
{
public:
    HookLens() : znRTLensShader(hookLensTypeId) {}
    unsigned trace_eye_rays(unsigned, unsigned, unsigned, unsigned, znRTRayPacketBundle&,
                            znRTHitInfoPacketBundle&, znFloatType<2>*, znFloatType<2>*, int*, int,
                            int, float, const unsigned char*) const override
    {
        ++calls;
        if (onBlock)
            onBlock();
        return 0;
    }
    std::function<void()> onBlock;
    mutable std::atomic<int> calls{0};
};

class FrameLife : public RenderTest
{
protected:
    void SetUp() override
    {
        RenderTest::SetUp();
        znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.5f, 0.5f, 0.5f, 1.0f);
        s_abortCalls = 0;
        s_abortAnswer = [] { return false; };
    }
    void TearDown() override
    {
        Settings::s_useSoftwareBackground = true;
        RenderTest::TearDown();
    }
    /// The camera takes the lens over.
    HookLens& useHookLens(std::function<void()> onBlock)
    {
        auto* const lens = new HookLens;
        lens->onBlock = std::move(onBlock);
        znRTRenderUtils::getCamera()->setLensShader(lens);
        return *lens;
    }
    void usePlainLens()
    {
        znRTRenderUtils::getCamera()->setLensShader(nullptr);
        updateCamera();
    }
    void useAbort(std::function<bool()> answer)
    {
        s_abortAnswer = std::move(answer);
        view.record.m_abortCallback = [](void* data) {
            EXPECT_EQ(data, &s_abortCalls);
            EXPECT_EQ(std::this_thread::get_id(), s_callingThread);
            ++s_abortCalls;
            return s_abortAnswer();
        };
        view.record.m_abortData = &s_abortCalls;
        s_callingThread = std::this_thread::get_id();
    }
    bool frameIsUntouched() const
    {
        for (const ZN_RGBA32F& pixel : view.frame)
            if (pixel.r != View::guardValue)
                return false;
        return true;
    }
    std::size_t countUntouched() const
    {
        std::size_t count = 0;
        for (std::size_t i = 0; i + View::guard < view.frame.size(); ++i)
            count += view.frame[i].r == View::guardValue;
        return count;
    }

    static inline int s_abortCalls = 0;
    static inline std::function<bool()> s_abortAnswer;
    static inline std::thread::id s_callingThread;
};

} // namespace

TEST_F(FrameLife, RunsTwiceInOneProcess)
{
    for (int life = 0; life < 2; ++life) {
        resize(40, 30);
        add(makeSphere(8, 16));
        begin();
        ASSERT_TRUE(instance->isActive());
        ASSERT_FALSE(trace());
        EXPECT_LT(view.pixel(20, 15).b + view.pixel(20, 15).r, 3.0f);
        EXPECT_EQ(countUntouched(), 0u);
        instance->terminateTasks(&view.record);
        instance->clear(&view.record);
        instance->destroy(&view.record);
        EXPECT_EQ(znRTRenderUtils::getCamera(), nullptr);
        EXPECT_FALSE(instance->isActive());
        instance->initialize();
        instance->initTasks(&view.record);
    }
}

TEST_F(FrameLife, ServesTwoViewsInTurn)
{
    add(makeSphere(8, 16));
    View second;
    second.record.m_renderMode = 1;
    instance->initTasks(&second.record);
    resize(40, 30);
    second.resize(24, 50);
    instance->generateRenderTiles(&second.record, 16);
    begin();
    for (int frame = 0; frame < 3; ++frame) {
        updateCamera();
        ASSERT_FALSE(trace());
        instance->updateCamera(&second.record, camera.get().get(), nullptr);
        ASSERT_FALSE(instance->traceImage(&second.record, 2, true));
    }
    EXPECT_EQ(countUntouched(), 0u);
    EXPECT_NE(second.pixel(23, 49).r, View::guardValue);
    EXPECT_TRUE(second.guardIsIntact() && view.guardIsIntact());
    instance->terminateTasks(&second.record);
    instance->clear(&second.record);
}

TEST_F(FrameLife, DoesNothingWithoutTasks)
{
    resize(32, 32);
    begin();
    instance->terminateTasks(&view.record);
    EXPECT_EQ(view.record.m_taskContext, nullptr);
    EXPECT_FALSE(trace());
    EXPECT_TRUE(frameIsUntouched());
    instance->terminateTasks(&view.record); // nothing to end
}

TEST_F(FrameLife, LeavesTheBuffersAloneWhenAbortedBeforeTheFirstTile)
{
    resize(32, 32);
    begin();
    useAbort([] { return true; });
    // The direct path has mapped the display's memory by then.
    view.record.m_forceSoftwareCopy = 0;
    Settings::s_useSoftwareBackground = false;
    EXPECT_TRUE(instance->traceImage(&view.record, 2, false));
    EXPECT_EQ(s_abortCalls, 1);
    EXPECT_TRUE(frameIsUntouched());
    EXPECT_FALSE(view.record.m_pixelBuffer.isMapped());
    EXPECT_FALSE(Settings::s_directToGpu);
    EXPECT_FALSE(Settings::s_premultipliedAlpha);
    useAbort([] { return false; });
    EXPECT_FALSE(trace());
    EXPECT_EQ(countUntouched(), 0u);
}

TEST_F(FrameLife, TracesStraightIntoTheDisplayMemoryWhereItCan)
{
    resize(32, 32);
    begin();
    view.record.m_forceSoftwareCopy = 0;
    Settings::s_useSoftwareBackground = false;
    EXPECT_FALSE(instance->traceImage(&view.record, 2, false));
    EXPECT_TRUE(frameIsUntouched());
    const auto* const shown = static_cast<const ZN_RGBA32F*>(view.record.m_pixelBuffer.getMemory());
    ASSERT_NE(shown, nullptr);
    for (int i = 0; i < 32 * 32; ++i)
        ASSERT_EQ(shown[i].g, 0.5f);
    EXPECT_FALSE(view.record.m_pixelBuffer.isMapped());
    EXPECT_FALSE(Settings::s_directToGpu);
    // Each of these needs the frame in memory.
    const auto goesDirect = [this](bool softwareCopy = false) {
        view.resize(32, 32);
        EXPECT_FALSE(instance->traceImage(&view.record, 2, softwareCopy));
        return frameIsUntouched();
    };
    EXPECT_TRUE(goesDirect());
    EXPECT_FALSE(goesDirect(true));
    view.record.m_forceSoftwareCopy = 1;
    EXPECT_FALSE(goesDirect());
    view.record.m_forceSoftwareCopy = 0;
    view.record.m_renderPassesEnabled = 1;
    EXPECT_FALSE(goesDirect());
    view.record.m_renderPassesEnabled = 0;
    Settings::s_denoiseFilter = 3;
    EXPECT_FALSE(goesDirect());
    Settings::s_denoiseFilter = 2;
    EXPECT_TRUE(goesDirect());
    Settings::s_denoiseFilter = 0;
    Settings::s_useSoftwareBackground = true;
    EXPECT_FALSE(goesDirect());
}

TEST_F(FrameLife, GivesUpAFrameThatCannotBeMapped)
{
    resize(32, 32);
    begin();
    view.record.m_forceSoftwareCopy = 0;
    Settings::s_useSoftwareBackground = false;
    view.record.m_pixelBufferSize = 0;
    EXPECT_TRUE(instance->traceImage(&view.record, 2, false));
    EXPECT_FALSE(Settings::s_directToGpu);
    EXPECT_TRUE(frameIsUntouched());
}

// Blocks of the calling thread take 0.25 s each: the callback is asked after the second, and the
// frame ends with most of its 16 tiles to come.
TEST_F(FrameLife, EndsEarlyWhenAbortedInTheMiddle)
{
    resize(64, 64);
    begin();
    bool answer = false;
    useAbort([&] { return std::exchange(answer, true); });
    HookLens& lens =
        useHookLens([] { std::this_thread::sleep_for(std::chrono::milliseconds(250)); });
    EXPECT_FALSE(trace(1));
    EXPECT_EQ(lens.calls, 2);
    EXPECT_EQ(s_abortCalls, 2); // before the first tile and after 0.5 s
    EXPECT_GT(view.record.m_tileQueue.next, view.record.m_tileQueue.count);
    EXPECT_GT(view.record.m_tileQueue.finished, view.record.m_tileQueue.count);
    usePlainLens();
    useAbort([] { return false; });
    EXPECT_FALSE(trace());
    EXPECT_EQ(countUntouched(), 0u);
}

TEST_F(FrameLife, AsksTheHostOnlyAfterSomeTime)
{
    resize(64, 64);
    begin();
    useAbort([] { return false; });
    EXPECT_FALSE(trace(1)); // a few milliseconds
    EXPECT_EQ(s_abortCalls, 1);
}

// The workers wait in their first blocks until the calling thread has thrown in its own.
TEST_F(FrameLife, SurvivesExceptionsOfTheCallingThread)
{
    resize(64, 64);
    begin();
    const unsigned before = controlWord();
    for (u32 taskCount : {1u, 4u}) {
        const auto self = std::this_thread::get_id();
        std::atomic<bool> hasThrown{false};
        useHookLens([&] {
            if (std::this_thread::get_id() == self) {
                hasThrown = true;
                throw std::runtime_error("tile");
            }
            for (int i = 0; i < 5000 && !hasThrown; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        });
        EXPECT_THROW(trace(taskCount), std::runtime_error);
        EXPECT_EQ(controlWord(), before);
        instance->handleExceptions(&view.record);
        usePlainLens();
        view.resize(64, 64);
        EXPECT_FALSE(trace(taskCount));
        EXPECT_EQ(countUntouched(), 0u);
        EXPECT_EQ(controlWord(), before);
    }
}

// The calling thread waits in its first block until a worker has thrown in its own.
TEST_F(FrameLife, SurvivesExceptionsOfWorkers)
{
    resize(64, 64);
    begin();
    const auto self = std::this_thread::get_id();
    std::atomic<bool> hasThrown{false};
    useHookLens([&] {
        if (std::this_thread::get_id() != self) {
            hasThrown = true;
            throw std::runtime_error("worker");
        }
        for (int i = 0; i < 5000 && !hasThrown; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    const unsigned before = controlWord();
    EXPECT_THROW(trace(8), std::runtime_error);
    EXPECT_TRUE(hasThrown);
    EXPECT_EQ(controlWord(), before);
    instance->handleExceptions(&view.record);
    usePlainLens();
    EXPECT_FALSE(trace(8));
    EXPECT_EQ(countUntouched(), 0u);
}

TEST_F(FrameLife, GivesTheFloatControlOfTheHostBack)
{
    resize(32, 32);
    add(makeSphere(8, 16));
    for (unsigned mode : {0x1f80u, 0x9fc0u, 0x3f80u}) { // default, flushing, rounding down
        _mm_setcsr(mode);
        begin();
        trace();
        znRTVector3f position, normal;
        osg::NodePtr node;
        instance->getHitPoint({0, 0, 5}, {0, 0, -1}, position, normal, node);
        instance->getFrame(&view.record, 0, 0, 32, 32, ZN_FORMAT_RGBA, true, 16, 182);
        EXPECT_EQ(controlWord(), mode & controlBits);
        _mm_setcsr(0x1f80);
    }
}

TEST_F(FrameLife, RunsAloneOnTheCallingThreadWithOneTask)
{
    resize(64, 64);
    begin();
    const auto self = std::this_thread::get_id();
    bool isAlone = true;
    HookLens& lens = useHookLens([&] { isAlone &= std::this_thread::get_id() == self; });
    for (u32 taskCount : {0u, 1u}) {
        lens.calls = 0;
        EXPECT_FALSE(trace(taskCount));
        EXPECT_EQ(lens.calls, 16);
        EXPECT_TRUE(isAlone);
    }
}

TEST_F(FrameLife, StartsPhotonsWithEmptyBoxes)
{
    const auto* const root = dynamic_cast<znRTPhotonRootTask*>(view.record.m_photonTraceTask);
    ASSERT_NE(root, nullptr);
    for (const znRTAlignedBox& box : root->boxes) {
        EXPECT_FALSE(box.isValid());
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&box) % 32, 0u);
    }
}

TEST_F(FrameLife, ResumesAfterTasksWereEndedAndMadeAgain)
{
    resize(32, 32);
    begin();
    for (int i = 0; i < 20; ++i) {
        ASSERT_FALSE(trace(4));
        instance->terminateTasks(&view.record);
        instance->initTasks(&view.record);
    }
    EXPECT_EQ(countUntouched(), 0u);
}

TEST_F(FrameLife, ClearsStillFrameBuffersOnlyAtTheirStart)
{
    resize(32, 32);
    begin(true);
    for (u32 iteration = 0; iteration <= 40; ++iteration) {
        view.record.m_iteration = iteration;
        std::fill(view.filterWeights.begin(), view.filterWeights.end(), 7.0f);
        view.statistics[5] = 3.0f;
        view.frame[9].r = 11.0f;
        view.activePixels[4] = 0;
        instance->updateRendertargets(&view.record, false);
        const bool cleared = iteration == 0;
        EXPECT_EQ(view.filterWeights[100], cleared ? 0.0f : 7.0f) << iteration;
        EXPECT_EQ(view.statistics[5], cleared ? 0.0f : 3.0f);
        EXPECT_EQ(view.frame[9].r, cleared ? 0.0f : 11.0f);
        EXPECT_EQ(view.activePixels[4], cleared ? 1 : 0);
        EXPECT_TRUE(view.guardIsIntact());
    }
    view.record.m_iteration = 0;
    view.record.m_continueAccumulation = 1;
    instance->updateRendertargets(&view.record, false);
    EXPECT_EQ(view.filterWeights[100], 7.0f);
    EXPECT_EQ(view.activePixels[4], 0);
    view.record.m_iteration = znRaytracerP::preparatoryPass;
    instance->updateRendertargets(&view.record, false);
    EXPECT_EQ(view.filterWeights[100], 0.0f);
    view.record.m_iteration = 3;
    view.frame[9].r = 11.0f;
    view.filterWeights[100] = 7.0f;
    instance->updateRendertargets(&view.record, true);
    EXPECT_EQ(view.frame[9].r, 0.0f);
    EXPECT_EQ(view.filterWeights[100], 7.0f);
}

// 0.25 * 40 = 10, 0.75 * 40 = 30, 0.5 * 30 = 15: the rectangle 10..30 x 15..30.
TEST_F(FrameLife, MasksARegionInPixelsOfTheView)
{
    instance->setRaytracingRenderRegion({0.25f, 0.5f, 0.75f, 1.0f});
    resize(40, 30);
    EXPECT_TRUE(view.record.m_hasRenderRegion);
    view.record.m_regionActive = 1;
    begin(true);
    for (u32 y = 0; y < 30; ++y)
        for (u32 x = 0; x < 40; ++x)
            ASSERT_EQ(view.activePixels[y * 40 + x], x >= 10 && x < 30 && y >= 15)
                << x << ", " << y;
    EXPECT_EQ(Settings::s_imageLeftBound, 10u);
    EXPECT_EQ(Settings::s_imageRightBound, 30u);
    EXPECT_EQ(Settings::s_imageBottomBound, 15u);
    EXPECT_EQ(Settings::s_imageTopBound, 30u);
    instance->generateActiveRenderTiles(&view.record, 0, 1, 0, 1, 40, 30, 16);
    u64 area = 0;
    for (const znRTRenderTile& tile : view.record.m_activeTiles)
        area += u64(tile.width) * tile.height;
    EXPECT_EQ(area, 20u * 15u);
    const std::size_t count = view.record.m_activeTiles.size();
    view.record.m_iteration = 1;
    instance->generateActiveRenderTiles(&view.record, 0, 1, 0, 1, 40, 30, 2);
    EXPECT_EQ(view.record.m_activeTiles.size(), count); // only at the start of an image
    instance->setRaytracingRenderRegion({0, 0, 1, 1});
}

// A master camera counts rows of the full image. Buffers of a tile do not hold them.
TEST_F(FrameLife, WritesFullRowsWithAMasterCamera)
{
    resize(40, 30);
    add(makeSphere(8, 16));
    begin();
    ASSERT_FALSE(trace());
    const std::vector<ZN_RGBA32F> expected = view.frame;
    view.resize(40, 30);
    instance->updateMasterCamera(&view.record, camera.get().get(), nullptr);
    EXPECT_EQ(znRTRenderUtils::getCamera()->rowStride, 40u);
    ASSERT_FALSE(trace());
    EXPECT_EQ(std::memcmp(view.frame.data(), expected.data(), expected.size() * sizeof(ZN_RGBA32F)),
              0);

    const osg::Ref<osg::TileCameraDecorator> tile(osg::TileCameraDecorator::create());
    tile->setDecoratee(camera.get());
    tile->setLeft(0.5f);
    view.resize(40, 30);
    instance->updateMasterCamera(&view.record, tile.get().get(), nullptr);
    EXPECT_EQ(view.record.m_fullImageWidth, 80u);
    EXPECT_EQ(view.record.m_viewBounds, (std::array<float, 4>{0.5f, 1.0f, 0.0f, 1.0f}));
    EXPECT_EQ(znRTRenderUtils::getCamera()->rowStride, 80u);
    EXPECT_TRUE(trace());
    EXPECT_TRUE(frameIsUntouched());
    instance->updateCamera(&view.record, tile.get().get(), nullptr);
    EXPECT_FALSE(trace());
    EXPECT_EQ(countUntouched(), 0u);
    EXPECT_TRUE(view.guardIsIntact());
}

// The camera switches the mode after the scene was updated in the one before.
TEST_F(FrameLife, UsesTheDepthOfStillFramesInTheFirstOne)
{
    instance->setInteractiveReflectionDepth(3);
    instance->setStillFrameReflectionDepth(9);
    resize(16, 16);
    begin();
    EXPECT_EQ(znRTMaterial::s_maxReflectionDepth, 3u);
    instance->updateScene(&view.record, true);
    isStill = true;
    updateCamera();
    EXPECT_EQ(Settings::s_qualityMode, Settings::stillFrame);
    EXPECT_EQ(znRTMaterial::s_maxReflectionDepth, 9u);
    isStill = false;
    updateCamera();
    EXPECT_EQ(znRTMaterial::s_maxReflectionDepth, 3u);
}

TEST_F(FrameLife, CountsTheTimeOfAllThreads)
{
    resize(64, 64);
    begin();
    instance->resetTaskRuntime();
    EXPECT_EQ(instance->getTaskRuntime(), 0.0);
    std::mutex mutex;
    std::map<std::thread::id, int> blocks;
    useHookLens([&] {
        {
            const std::lock_guard lock(mutex);
            ++blocks[std::this_thread::get_id()];
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    });
    trace(2);
    int total = 0;
    for (const auto& [thread, count] : blocks)
        total += count;
    EXPECT_EQ(total, 16);
    EXPECT_GE(instance->getTaskRuntime(), 16 * 0.005); // a sleep is never shorter
}

TEST_F(FrameLife, TellsThatTheMapIsDoneWithoutPhotons)
{
    resize(16, 16);
    begin();
    EXPECT_TRUE(instance->tracePhotons(&view.record));
    view.record.m_photonMapDirty = 1;
    view.record.m_continueAccumulation = 1;
    EXPECT_TRUE(instance->tracePhotons(&view.record));
    EXPECT_EQ(view.record.m_photonMapDirty, 0u);
    EXPECT_EQ(instance->getGlobalPhotonCount(), 0u);
}
