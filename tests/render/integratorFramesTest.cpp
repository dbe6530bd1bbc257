// Whole frames of every integrator: what is chosen, made and run together.

#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/SurfaceAnalysisAttachment.h"
#include "material/znRTMaterial.h"
#include "render/znRTIntegratorTable.h"
#include "renderFixture.h"

#include <array>
#include <cmath>
#include <string>
#include <utility>

using namespace renderTest;
using Settings = znRTRaytracingSettings;

namespace {

class IntegratorFrames : public RenderTest
{
protected:
    static constexpr u32 width = 40, height = 24;

    void SetUp() override
    {
        RenderTest::SetUp();
        resize(width, height);
        add(makeSquare(1.0f)); // covers the middle of the image, not its sides
    }
    void TearDown() override
    {
        Settings::s_renderer = 0;
        znRTSceneHandler::s_currentSurfaceAnalysisSettings = {};
        RenderTest::TearDown();
    }
    void showStripes()
    {
        const auto attachment = znRTSceneHandler::getSurfaceAnalysisAttachment();
        attachment->setMode(znRTSurfaceAnalysisSettings::linear);
        znRTSceneHandler::s_currentSurfaceAnalysisSettings.updateSettings(attachment.get());
    }
    std::string rendererName() const { return view.record.m_renderTask->integrator->name; }
    const ZN_RGBA32F& middle() const { return view.pixel(width / 2 - 3, height / 2 + 1); }
};

} // namespace

TEST_F(IntegratorFrames, ShowSurfacesInEveryModeAndQuality)
{
    showStripes();
    for (const bool isStillFrame : {false, true})
        for (u32 mode = 0; mode < 8; ++mode) {
            view.record.m_renderMode = mode;
            begin(isStillFrame);
            showStripes(); // a scene update reads the settings again
            accumulate(isStillFrame ? 4 : 1);
            const ZN_RGBA32F& hit = middle();
            EXPECT_GT(hit.a, 0.9f) << mode;
            if (mode == ZN_RENDER_ILLUMINANCE)
                EXPECT_EQ(hit.r + hit.g + hit.b, 0.0f) << "no light arrives";
            else
                EXPECT_GT(hit.r + hit.g + hit.b, 0.05f) << mode;
            EXPECT_EQ(view.pixel(0, 0).a, 0.0f) << mode;
            EXPECT_TRUE(view.guardIsIntact());
        }
}

TEST_F(IntegratorFrames, FillLayersOfGeometryInEveryMode)
{
    std::array<std::vector<ZN_RGBA32F>, 2> layers;
    for (auto& layer : layers)
        layer.assign(width * height, {0, 0, 0, 0});
    view.record.m_passBuffers[ZN_PASS_NORMAL] = layers[0].data();
    view.record.m_passBuffers[ZN_PASS_POSITION] = layers[1].data();
    view.record.m_renderPassesEnabled = 1;
    for (u32 mode = 0; mode < 8; ++mode) {
        view.record.m_renderMode = mode;
        for (auto& layer : layers)
            layer.assign(width * height, {0, 0, 0, 0});
        begin();
        showStripes();
        ASSERT_FALSE(trace());
        const std::size_t place = (height / 2 + 1) * width + width / 2 - 3;
        EXPECT_NEAR(layers[0][place].b, 1.0f, 1e-5f) << mode;
        EXPECT_NEAR(layers[1][place].b, 0.0f, 1e-4f) << mode;
        EXPECT_LT(layers[1][place].r, 0.0f) << mode;
        EXPECT_EQ(layers[1][0].a, 0.0f) << mode;
    }
    view.record.m_renderPassesEnabled = 0;
    view.record.m_passBuffers[ZN_PASS_NORMAL] = view.record.m_passBuffers[ZN_PASS_POSITION] =
        nullptr;
}

TEST_F(IntegratorFrames, ShowOneLayerAsAFrameWithAllOfThemHoldsIt)
{
    std::vector<ZN_RGBA32F> layer(width * height, ZN_RGBA32F{0, 0, 0, 0});
    view.record.m_renderMode = 0;
    // Behind the surfaces of a layer is nothing, whatever stands behind those of the beauty.
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.25f, 0.5f, 1.0f, 1.0f);
    for (const u32 pass : {u32(ZN_PASS_NORMAL), u32(ZN_PASS_MATERIAL_ID), u32(ZN_PASS_MASK),
                           u32(ZN_PASS_POSITION), u32(ZN_PASS_VIEW)}) {
        view.record.m_currentPass = pass;
        begin();
        ASSERT_FALSE(trace());
        EXPECT_EQ(rendererName(), "znRTDistributedPassesIntegrator");
        const std::vector<ZN_RGBA32F> shown = view.frame;

        view.record.m_currentPass = 0;
        view.record.m_renderPassesEnabled = 1;
        view.record.m_passBuffers[pass] = layer.data();
        begin();
        ASSERT_FALSE(trace());
        for (std::size_t i = 0; i < layer.size(); ++i)
            for (int channel = 0; channel < 4; ++channel)
                ASSERT_EQ((&shown[i].r)[channel], (&layer[i].r)[channel]) << pass << " at " << i;
        view.record.m_renderPassesEnabled = 0;
        view.record.m_passBuffers[pass] = nullptr;
    }
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.0f, 0.0f, 0.0f, 0.0f);
}

TEST_F(IntegratorFrames, MakeTheTaskAgainWhenTheSceneHasWhatWasMissing)
{
    view.record.m_renderMode = 6;
    begin();
    znRTMaterial* const lux = std::exchange(znRTRenderUtils::s_luxMaterial, nullptr);
    ASSERT_FALSE(trace());
    EXPECT_EQ(rendererName(), "znRTNormalRenderingIntegrator");
    znRTRenderUtils::s_luxMaterial = lux;
    ASSERT_FALSE(trace());
    EXPECT_EQ(rendererName(), "znRTIlluminanceIntegrator");

    view.record.m_renderMode = 5;
    ASSERT_FALSE(trace());
    EXPECT_EQ(rendererName(), "znRTNormalRenderingIntegrator");
    showStripes();
    ASSERT_FALSE(trace());
    EXPECT_EQ(rendererName(), "znRTAnalyticRenderingIntegrator");
}

// The measuring material belongs to no scene, and is told of the quality of a frame all the same.
TEST_F(IntegratorFrames, MeasureWithTheLightThatTheQualityOfTheFrameAsksFor)
{
    const auto settings = znRTSceneHandler::getRaytracingSettingsAttachment();
    const int interactive = settings->getInteractiveQualityMode();
    const int still = settings->getStillFrameQualityMode();
    settings->setInteractiveQualityMode(0);
    settings->setStillFrameQualityMode(2);
    for (const bool isStillFrame : {false, true, false}) {
        begin(isStillFrame);
        EXPECT_EQ(znRTRenderUtils::getLuxMaterial()->getState().fullLighting, isStillFrame);
    }
    settings->setInteractiveQualityMode(interactive);
    settings->setStillFrameQualityMode(still);
}

TEST_F(IntegratorFrames, FollowTheSelector)
{
    view.record.m_renderMode = 0;
    begin();
    Settings::s_renderer = 5;
    ASSERT_FALSE(trace());
    EXPECT_EQ(rendererName(), "znRTDebugIntegrator");
}
