#include "render/znRTIntegratorTable.h"

#include "host/znRTRaytracingSettings.h"
#include "material/znRTMaterial.h"
#include "renderFixture.h"

#include <set>
#include <string>

using namespace renderTest;

namespace {

std::string nameOf(u32 mode, u32 selector, u32 pass = 0, bool passes = false)
{
    return chooseIntegrator(mode, selector, pass, passes, false, ZN_OFFERS_EVERYTHING).name;
}

class TaskSelection : public RenderTest
{
protected:
    void SetUp() override
    {
        RenderTest::SetUp();
        resize(32, 32);
        begin();
    }
    znRTRenderTask* ensure(u32 flags = 182, u32 format = ZN_FORMAT_RGBA32F)
    {
        ensureRenderTask(view.record.m_renderTask, view.record, flags, format);
        return view.record.m_renderTask;
    }
};

} // namespace

TEST(IntegratorChoice, FollowsTheSelectorInBeautyMode)
{
    EXPECT_EQ(nameOf(0, 4), "znRTLightAnalyzingIntegrator");
    EXPECT_EQ(nameOf(0, 5), "znRTDebugIntegrator");
    EXPECT_EQ(nameOf(0, 6), "znRTIlluminanceIntegrator");
    for (u32 selector : {0u, 1u, 2u, 3u, 7u, 100u})
        EXPECT_EQ(nameOf(0, selector), "znRTDistributedIntegrator");
    EXPECT_EQ(nameOf(0, 4, 12, true), "znRTLightAnalyzingIntegrator"); // all layers at once
}

TEST(IntegratorChoice, FollowsTheRenderModeOtherwise)
{
    const char* const names[] = {"",
                                 "znRTNormalRenderingIntegrator",
                                 "znRTDiscontinuityRenderingIntegrator",
                                 "znRTAORenderingIntegrator",
                                 "znRTIndirectIllumRenderingIntegrator",
                                 "znRTAnalyticRenderingIntegrator",
                                 "znRTIlluminanceIntegrator",
                                 "znRTDistributedIntegrator"};
    for (u32 mode = 1; mode < 8; ++mode)
        for (u32 pass = 0; pass < 43; ++pass) {
            const znRTIntegratorChoice choice =
                chooseIntegrator(mode, 4, pass, false, true, ZN_OFFERS_EVERYTHING);
            EXPECT_STREQ(choice.name, names[mode]);
            const bool isDisplayAid = mode <= 3;
            EXPECT_EQ(choice.applyTonemapping, !isDisplayAid);
            EXPECT_EQ(choice.applyColorCorrection, !isDisplayAid);
            EXPECT_EQ(choice.occlusionPass, isDisplayAid ? 0 : -1);
            EXPECT_TRUE(choice.renderFrontplates && choice.renderBackplates);
        }
}

TEST(IntegratorChoice, SwitchesPlatesAndColourForSingleLayers)
{
    const std::set<u32> dataPasses = {30, 31, 32, 39, 40, 41, 42};
    for (u32 pass = 1; pass < 43; ++pass) {
        const znRTIntegratorChoice choice =
            chooseIntegrator(0, 0, pass, false, true, ZN_OFFERS_EVERYTHING);
        EXPECT_STREQ(choice.name, "znRTDistributedPassesIntegrator");
        EXPECT_EQ(choice.passIndex, pass >= 33 && pass <= 38 ? 0 : int(pass));
        EXPECT_EQ(choice.renderBackplates, pass == 15 || pass == 28) << pass;
        EXPECT_EQ(choice.renderFrontplates, pass == 29) << pass;
        EXPECT_EQ(choice.applyTonemapping, !dataPasses.count(pass) && pass != 28 && pass != 29)
            << pass;
        EXPECT_EQ(choice.applyColorCorrection, !dataPasses.count(pass)) << pass;
        EXPECT_EQ(choice.occlusionPass, pass == 30 ? 1 : 0) << pass;
    }
    EXPECT_EQ(chooseIntegrator(0, 0, 0, false, true, ZN_OFFERS_EVERYTHING).occlusionPass, 1);
    EXPECT_EQ(chooseIntegrator(0, 0, 0, false, false, ZN_OFFERS_EVERYTHING).occlusionPass, 0);
}

// What has nothing to show gives way to the normal display, and comes into its own as soon as the
// scene has what it needs.
TEST(IntegratorChoice, ShowsNormalsWhereTheSceneLacksWhatIsNeeded)
{
    const auto shown = [](u32 mode, u32 selector, u32 pass, u32 offers) {
        return std::string(chooseIntegrator(mode, selector, pass, false, false, offers).row->name);
    };
    const std::string normals = "znRTNormalRenderingIntegrator";
    EXPECT_EQ(shown(0, 0, 0, 0), normals);
    EXPECT_EQ(shown(0, 0, 0, ZN_OFFERS_SHADING), "znRTDistributedIntegrator");
    EXPECT_EQ(shown(0, 4, 0, 0), normals);
    EXPECT_EQ(shown(0, 4, 0, ZN_OFFERS_SHADING), "znRTLightAnalyzingIntegrator");
    EXPECT_EQ(shown(0, 5, 0, 0), "znRTDebugIntegrator");
    EXPECT_EQ(shown(0, 6, 0, ZN_OFFERS_SHADING), normals);
    EXPECT_EQ(shown(6, 0, 0, ZN_OFFERS_LUX), "znRTIlluminanceIntegrator");
    EXPECT_EQ(shown(2, 0, 0, 0), "znRTDiscontinuityRenderingIntegrator");
    EXPECT_EQ(shown(3, 0, 0, 0), "znRTAORenderingIntegrator");
    EXPECT_EQ(shown(4, 0, 0, 0), normals);
    EXPECT_EQ(shown(5, 0, 0, 0), normals);
    EXPECT_EQ(shown(5, 0, 0, ZN_OFFERS_ANALYSIS), "znRTAnalyticRenderingIntegrator");
    // Layers hold the colours of surfaces without any light.
    EXPECT_EQ(shown(0, 0, 0, ZN_OFFERS_COLORS), normals);
    EXPECT_EQ(shown(0, 0, 10, ZN_OFFERS_COLORS), "znRTDistributedPassesIntegrator");
    EXPECT_STREQ(chooseIntegrator(0, 0, 0, true, false, ZN_OFFERS_COLORS).row->name,
                 "znRTDistributedIntegrator");
    EXPECT_EQ(chooseIntegrator(0, 0, 0, true, false, 0).row->name, normals);
    // Layers of geometry need no light.
    EXPECT_EQ(shown(0, 0, 2, 0), normals);
    for (u32 pass : {31u, 32u, 39u, 40u, 41u, 42u})
        EXPECT_EQ(shown(0, 0, pass, 0), "znRTDistributedPassesIntegrator");
}

TEST(IntegratorTable, HasARowForEachIntegrator)
{
    for (u32 mode = 0; mode < 8; ++mode)
        for (u32 selector = 0; selector < 8; ++selector)
            for (u32 pass = 0; pass < 43; ++pass) {
                const znRTIntegratorChoice choice =
                    chooseIntegrator(mode, selector, pass, false, false, ZN_OFFERS_EVERYTHING);
                ASSERT_STREQ(choice.row->name, choice.name);
            }
    EXPECT_EQ(findIntegratorRow("noIntegrator"), nullptr);
}

TEST(CopyFlags, AreReducedToWhatALayerShows)
{
    EXPECT_EQ(reduceCopyFlags(182, 15), 54u);
    EXPECT_EQ(reduceCopyFlags(182, 28), 50u);
    EXPECT_EQ(reduceCopyFlags(182, 29), 146u);
    EXPECT_EQ(reduceCopyFlags(182, 31), 22u);
    EXPECT_EQ(reduceCopyFlags(190, 0), 158u);
    EXPECT_EQ(reduceCopyFlags(182, 0), 182u);
}

TEST_F(TaskSelection, KeepsTheTaskWhileNothingChanges)
{
    for (u32 flags : {182u, 190u}) {
        znRTRenderTask* const first = ensure(flags);
        for (int frame = 0; frame < 10; ++frame)
            EXPECT_EQ(ensure(flags), first);
    }
}

TEST_F(TaskSelection, ReplacesTheTaskForEachPartOfItsKey)
{
    using Settings = znRTRaytracingSettings;
    // The next task may get the memory of the one before: the key tells them apart.
    const auto changes = [this](const std::function<void()>& change, u32 flags = 182,
                                u32 format = ZN_FORMAT_RGBA32F) {
        ensure();
        const znRTRenderTaskKey before = *view.record.m_renderTask;
        change();
        ensure(flags, format);
        return !before.needsSameTaskAs(*view.record.m_renderTask);
    };
    EXPECT_TRUE(changes([] { Settings::s_renderer = 4; }));
    EXPECT_TRUE(changes([] { Settings::s_qualityMode = Settings::stillFrame; }));
    Settings::s_qualityMode = Settings::interactive;
    EXPECT_TRUE(changes([this] { view.record.m_renderMode = 0; }));
    EXPECT_TRUE(changes([] { Settings::s_clamping = true; }));
    EXPECT_TRUE(changes([] { Settings::s_reflectionClampValue = 7.0f; }));
    EXPECT_TRUE(changes([this] { view.record.m_outputMode = 6; })); // lifts the clamp
    EXPECT_TRUE(changes([this] { view.record.m_outputMode = 7; }));
    EXPECT_TRUE(changes([this] { view.record.m_currentPass = 12; }));
    EXPECT_TRUE(changes([this] { view.record.m_renderPassesEnabled = 1; }));
    EXPECT_TRUE(changes([] {}, 178));
    EXPECT_TRUE(changes([this] { view.record.m_traceAndCopy = 1; }));
    EXPECT_TRUE(changes([] {}, 182, ZN_FORMAT_BGRA));
    EXPECT_FALSE(changes([] {}));
    view.record.m_traceAndCopy = 0;
    ensure();
    EXPECT_FALSE(changes([] {}, 182, ZN_FORMAT_BGRA)); // no format without a pixel store
    Settings::s_renderer = 0;
    Settings::s_clamping = false;
    Settings::s_reflectionClampValue = 100.0f;
}

TEST_F(TaskSelection, LeavesOutStepsThatTheSceneTurnsOff)
{
    using Settings = znRTRaytracingSettings;
    view.record.m_renderMode = 0;
    ensure();
    EXPECT_TRUE(Settings::s_applyTonemapping && Settings::s_applyColorCorrection);
    instance->setApplyTonemapping(false);
    view.record.m_renderMode = 1; // a display aid, and back
    ensure();
    EXPECT_FALSE(Settings::s_applyTonemapping || Settings::s_applyColorCorrection);
    view.record.m_renderMode = 0;
    ensure();
    EXPECT_FALSE(Settings::s_applyTonemapping);
    EXPECT_TRUE(Settings::s_applyColorCorrection);
    instance->setApplyTonemapping(true);
}

// An update of the scene before each frame brings the scene's settings back, whatever is shown.
TEST_F(TaskSelection, LeavesOutStepsInEveryFrameOfADisplayAid)
{
    using Settings = znRTRaytracingSettings;
    view.record.m_renderMode = 1;
    for (int frame = 0; frame < 3; ++frame) {
        begin();
        ASSERT_FALSE(trace());
        EXPECT_FALSE(Settings::s_applyTonemapping || Settings::s_applyColorCorrection) << frame;
    }
}

TEST_F(TaskSelection, TellsTheCopyOfPlatesAndMaterialsOfOcclusion)
{
    using Settings = znRTRaytracingSettings;
    view.record.m_renderMode = 0;
    const auto expect = [this](u32 pass, bool back, bool front, bool occlusion) {
        view.record.m_currentPass = pass;
        ensure();
        EXPECT_EQ(Settings::s_renderBackplates, back) << pass;
        EXPECT_EQ(Settings::s_renderFrontplates, front) << pass;
        EXPECT_EQ(znRTMaterial::s_enableOcclusionPass, occlusion) << pass;
    };
    expect(30, false, false, true);
    expect(15, true, false, false);
    expect(28, true, false, false);
    expect(29, false, true, false);
    expect(2, false, false, false);
    expect(0, true, true, false);
    view.record.m_passBuffers[30] = view.record.m_passBuffers[0];
    expect(0, true, true, true); // as soon as there is a buffer
    view.record.m_passBuffers[30] = nullptr;
    expect(0, true, true, false);
}

TEST_F(TaskSelection, ReadsTheBuffersOfEachFrame)
{
    ensure();
    std::vector<ZN_RGBA32F> other(32 * 32);
    view.record.m_passBuffers[0] = other.data();
    EXPECT_EQ(ensure()->pixelTarget, other.data());
}

TEST_F(TaskSelection, StartsWithTheValuesOfANewKey)
{
    const znRTRenderTaskKey key;
    EXPECT_EQ(key.integratorSelector, 0xffffffffu);
    EXPECT_EQ(key.qualityMode, 99999999u);
    u32 bits;
    std::memcpy(&bits, &key.sampleClamp, sizeof bits);
    EXPECT_EQ(bits, 0x65a96816u);
}
