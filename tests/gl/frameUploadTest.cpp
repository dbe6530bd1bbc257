#include "gl/surfacelessContext.h"
#include "render/renderFixture.h"

#include <epoxy/gl.h>

#include <cstring>
#include <set>

using namespace renderTest;
using Settings = znRTRaytracingSettings;

namespace {

/// A frame on its way to a texture; without EGL the tests skip.
class FrameUpload : public RenderTest
{
protected:
    static constexpr u32 width = 37, height = 23; // rows that no alignment of four bytes divides

    void SetUp() override
    {
        context = SurfacelessContext::make();
        RenderTest::SetUp();
        if (!context)
            GTEST_SKIP() << "no EGL context without a window here";
        Settings::s_useSoftwareBackground = false;
        view.record.m_forceSoftwareCopy = 0;
        setBackground(0.25f);
        resize(width, height);
        add(makeSphere(12, 24));
        begin();
    }
    void TearDown() override
    {
        Settings::s_useSoftwareBackground = true;
        setBackground(0.0f);
        RenderTest::TearDown();
        context.reset();
    }
    static void setBackground(float value)
    {
        znRTRenderUtils::s_backgroundColor =
            znRTColorPacket(value, value, value, value > 0.0f ? 1.0f : 0.0f);
    }
    void upload(bool force = false) { instance->uploadImage(&view.record, 2, force, false); }
    std::vector<ZN_RGBA32F> shownFrame()
    {
        std::vector<ZN_RGBA32F> pixels(width * height, ZN_RGBA32F{-1, -1, -1, -1});
        view.record.m_frameTexture.bindTexture();
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, pixels.data());
        view.record.m_frameTexture.unbindTexture();
        return pixels;
    }
    /// The texture holds exactly what was traced into memory.
    bool showsFrame()
    {
        const std::vector<ZN_RGBA32F> shown = shownFrame();
        return std::memcmp(shown.data(), view.frame.data(), shown.size() * sizeof(ZN_RGBA32F)) == 0;
    }

    std::unique_ptr<SurfacelessContext> context;
};

} // namespace

TEST_F(FrameUpload, ShowsWhatWasTracedIntoTheDisplaysMemory)
{
    ASSERT_FALSE(instance->traceImage(&view.record, 2, false));
    EXPECT_EQ(view.frame[0].r, View::guardValue); // the main buffer was left out
    upload();
    ASSERT_FALSE(trace()); // the same frame, into memory
    EXPECT_TRUE(showsFrame());
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(FrameUpload, CopiesAFrameThatWasTracedIntoMemory)
{
    ASSERT_FALSE(instance->traceImage(&view.record, 2, false));
    upload();
    setBackground(0.75f);
    ASSERT_FALSE(trace());
    upload();
    EXPECT_EQ(shownFrame()[0].g, 0.75f); // not what the display's memory still holds
    EXPECT_TRUE(showsFrame());
}

TEST_F(FrameUpload, FollowsTheSizeOfTheFrame)
{
    view.resize(64, 64);
    instance->generateRenderTiles(&view.record, tileSize);
    begin();
    ASSERT_FALSE(instance->traceImage(&view.record, 2, false));
    upload();
    resize(width, height);
    begin();
    ASSERT_FALSE(instance->traceImage(&view.record, 2, false));
    upload();
    ASSERT_FALSE(trace());
    EXPECT_TRUE(showsFrame());
}

TEST_F(FrameUpload, KeepsTheTextureWhileTheHostSaysSo)
{
    ASSERT_FALSE(trace());
    upload();
    const u8 isSaving = 1;
    view.record.m_noDisplayUpload = &isSaving;
    setBackground(0.75f);
    ASSERT_FALSE(trace());
    upload();
    EXPECT_EQ(shownFrame()[0].g, 0.25f);
    view.record.m_noDisplayUpload = nullptr;
    upload();
    EXPECT_EQ(shownFrame()[0].g, 0.75f);
}

// Mean values of the sums, at the first iteration, in copy rounds and at the end.
TEST_F(FrameUpload, ShowsForcedStillFramesInCopyRoundsOnly)
{
    begin(true);
    view.record.m_iterationCount = 40;
    std::set<u32> shown;
    for (u32 iteration = 0; iteration < 40; ++iteration) {
        view.record.m_iteration = iteration;
        updateCamera();
        instance->updateRendertargets(&view.record, false);
        ASSERT_FALSE(trace());
        view.record.m_frameTexture.bindTexture();
        view.record.m_frameTexture.resize(width, height);
        const std::vector<float> mark(width * height * 4, -3.0f);
        view.record.m_frameTexture.subImage(width, height, mark.data());
        view.record.m_frameTexture.unbindTexture();
        upload(true);
        if (shownFrame()[0].r != -3.0f)
            shown.insert(iteration);
    }
    EXPECT_EQ(shown, (std::set<u32>{0, 32, 39}));
    const std::vector<ZN_RGBA32F> last = shownFrame();
    EXPECT_FLOAT_EQ(last[0].g, 0.25f);
    EXPECT_NEAR(last[(height / 2) * width + width / 2].a, 1.0f, 1e-6f);
}

TEST_F(FrameUpload, ShowsStillFramesAsMeansAfterEveryIteration)
{
    begin(true);
    accumulate(5);
    upload();
    EXPECT_FLOAT_EQ(shownFrame()[width - 1].r, 0.25f);
}
