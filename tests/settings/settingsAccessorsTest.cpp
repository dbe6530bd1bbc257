// Every setting reaches the attachment of the root, the mirror and back.

#include "settings/SceneFixture.h"
#include "settings/SilentInstance.h"

#include "host/osg/Viewport.h"
#include "host/znRTNurbsUtil.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znSceneDataManager.h"

using Settings = znRTRaytracingSettings;

namespace {

class SettingsAccessors : public testing::Test
{
protected:
    SettingsAccessors() { znRTSceneHandler::setRoot(root.get()); }
    ~SettingsAccessors() override
    {
        znSceneDataManager::getSceneData(0)->setUnitsPerMetre(1.0f);
        const osg::RaytracingSettingsAttachmentPtr standard =
            osg::RaytracingSettingsAttachment::create();
        const osg::Ref<osg::RaytracingSettingsAttachment> keep(standard);
        Settings().updateSettings(standard.get());
        znRTSceneHandler::setRoot({});
    }

    osg::Ref<osg::Node> root{osg::Node::create(osg::NodeCorePtr())};
    SilentInstance instance;
};

/// A value in the range that is not the default.
template <class T>
T otherValue(T standard, T lowest, T highest)
{
    const T step = std::is_integral_v<T> ? T(1) : T((highest - lowest) / 4);
    return standard + step <= highest ? standard + step : standard - step;
}
bool otherValue(bool standard, bool, bool)
{
    return !standard;
}
// The row's default and end values come from the table that declares it; the value set is another
// one, so that an accessor that does nothing, or writes a neighbour, is found.
TEST_F(SettingsAccessors, ReturnAndMirrorWhatWasSet)
{
#define ZN_CHECK(type, stem, field, standard, lowest, highest, meaning)                            \
    {                                                                                              \
        const type value = otherValue(type(standard), type(lowest), type(highest));                \
        ASSERT_FALSE(Settings::s_##field == value) << #stem;                                       \
        instance.set##stem(value);                                                                 \
        EXPECT_TRUE(instance.get##stem() == value) << #stem;                                       \
        EXPECT_TRUE(Settings::s_##field == value) << #stem;                                        \
        EXPECT_TRUE(instance.getRaytracingSettingsAttachment()->get##stem() == value) << #stem;    \
    }
    ZN_NURBS_SETTINGS(ZN_CHECK, ZN_CHECK)
    ZN_SAMPLE_ID_SETTINGS(ZN_CHECK)
    ZN_DISPLAY_STAGE_SETTINGS(ZN_CHECK)
    ZN_QUALITY_SETTINGS(ZN_CHECK)
    ZN_PHOTON_SETTINGS(ZN_CHECK, ZN_CHECK)
    ZN_DENOISE_SETTINGS(ZN_CHECK)
    ZN_DENOISE_THRESHOLD_SETTINGS(ZN_CHECK)
    ZN_ILLUMINANT_SETTINGS(ZN_CHECK)
#undef ZN_CHECK
    instance.setRaytracingRenderRegion({0.25f, 0.125f, 0.75f, 0.5f});
    EXPECT_EQ(instance.getRaytracingRenderRegion(), znRTVector4f(0.25f, 0.125f, 0.75f, 0.5f));
    instance.setRaytracingSampleOffset(12);
    EXPECT_EQ(Settings::s_raytracingSampleOffset, 12);
    instance.setLightEvaluationThreshold(0.25f);
    EXPECT_EQ(Settings::s_lightEvaluationThreshold, 0.25f);
}

TEST_F(SettingsAccessors, BringValuesIntoTheirRange)
{
    instance.setStillFrameSupersampling(9);
    EXPECT_EQ(instance.getStillFrameSupersampling(), 4);
    instance.setReflectionClampValue(-1.0f);
    EXPECT_GT(instance.getReflectionClampValue(), 0.0f);
    instance.setInteractiveTextureSharpness(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(instance.getInteractiveTextureSharpness(), 0.1f);
    instance.setRaytracingRenderRegion({-1.0f, 0.0f, 2.0f, 1.0f});
    EXPECT_EQ(instance.getRaytracingRenderRegion(), znRTVector4f(0.0f, 0.0f, 1.0f, 1.0f));
}

// In a scene of millimetres (1000 units per metre) the attachment holds metres.
TEST_F(SettingsAccessors, KeepLengthsInMetresAndHandThemOutInSceneUnits)
{
    znSceneDataManager::getSceneData(0)->setUnitsPerMetre(1000.0f);
    instance.setIndirectPhotonRadius(250.0f);
    EXPECT_FLOAT_EQ(instance.getRaytracingSettingsAttachment()->getIndirectPhotonRadius(), 0.25f);
    EXPECT_EQ(instance.getIndirectPhotonRadius(), 250.0f);
    Settings().updateSettings(instance.getRaytracingSettingsAttachment().get());
    EXPECT_FLOAT_EQ(Settings::s_indirectPhotonRadius, 250.0f);
}

TEST_F(SettingsAccessors, ReadAnAttachmentThatWasEdited)
{
    const auto attachment = znRTSceneHandler::getRaytracingSettingsAttachment();
    attachment->setPhotonMode(2);
    EXPECT_TRUE(znRTSceneHandler::s_currentRaytracingSettings.updateSettings(attachment.get()));
    EXPECT_EQ(instance.getPhotonMode(), 2);
    EXPECT_FALSE(znRTSceneHandler::s_currentRaytracingSettings.updateSettings(attachment.get()));
}

TEST_F(SettingsAccessors, HandSurfaceParametersToTheSurfaceCode)
{
    instance.setNURBSNewtonEpsilon(0.01f);
    instance.setNURBSThresholdCurve(0.5f);
    instance.setNURBSMaxDepthSurface(7);
    EXPECT_EQ(znRTNurbsUtil::instance().getNewtonEpsilon(), 0.01f);
    EXPECT_EQ(znRTNurbsUtil::instance().getNormalCriterionThreshold(znRTNurbsUtil::curve), 0.5f);
    EXPECT_EQ(znRTNurbsUtil::instance().maxDepthSurface, 7);
}

TEST_F(SettingsAccessors, SwitchTheHostsDenoiserByItsNumber)
{
    for (int filter = 0; filter <= 3; ++filter) {
        instance.setDenoiseFilter(filter);
        EXPECT_EQ(instance.getCPUDenoiseFilterEnabled(), filter == 1);
        EXPECT_EQ(znRaytracingUtilsBase::s_bDenoiseOn, filter == 1);
    }
}

TEST_F(SettingsAccessors, AnswerTheQualityMode)
{
    Settings::s_qualityMode = Settings::interactive;
    EXPECT_TRUE(instance.isInteractiveQualityMode() && !instance.isFullQualityMode());
    Settings::s_qualityMode = Settings::stillFrame;
    EXPECT_TRUE(!instance.isInteractiveQualityMode() && instance.isFullQualityMode());
    Settings::s_qualityMode = Settings::ambientOcclusion;
    EXPECT_TRUE(!instance.isInteractiveQualityMode() && !instance.isFullQualityMode());
    Settings::s_qualityMode = Settings::interactive;
}

TEST_F(SettingsAccessors, ChooseByQualityMode)
{
    instance.setStillFramePhotonCount(1000);
    instance.setInteractivePhotonCount(10);
    for (const int mode : {0, 1, 2, 3}) {
        instance.setPhotonMode(mode);
        Settings::s_qualityMode = Settings::stillFrame;
        EXPECT_EQ(Settings::globalPhotonCount(), mode == 1 || mode == 2 ? 1000u : 0u);
        EXPECT_EQ(Settings::causticPhotonCount(), mode >= 2 ? 1000u : 0u);
        Settings::s_qualityMode = Settings::interactive;
        EXPECT_EQ(Settings::globalPhotonCount(), mode == 1 || mode == 2 ? 10u : 0u);
    }
    EXPECT_EQ(Settings::reflectionDepth(), instance.getInteractiveReflectionDepth());
}

TEST_F(SettingsAccessors, RememberTheActiveViewportWhileItLives)
{
    osg::Ref<osg::Viewport> viewport(osg::Viewport::create());
    instance.setActiveViewport(viewport.get().get());
    EXPECT_EQ(Settings::s_viewport, viewport->getId());
    EXPECT_EQ(instance.getActiveViewport(), viewport.get().get());
    viewport = nullptr;
    EXPECT_EQ(instance.getActiveViewport(), nullptr);
    instance.setActiveViewport(nullptr);
}

TEST_F(SettingsAccessors, WorkWithoutARoot)
{
    znRTSceneHandler::setRoot({});
    EXPECT_FALSE(instance.getRaytracingSettingsAttachment());
    instance.setImageSamples(7);
    EXPECT_EQ(instance.getImageSamples(), 7);
}

TEST(SurfaceAnalysisSettings, NormaliseDirectionsAndKeepDefaultsForNullVectors)
{
    const osg::Ref<osg::SurfaceAnalysisAttachment> attachment(
        osg::SurfaceAnalysisAttachment::create());
    attachment->setLinearLightDirection(osg::Vec3f(0, 3, 4));
    attachment->setLightSphereAxis(osg::Vec3f(0, 0, 0));
    attachment->setLightPlaneAxisU(osg::Vec3f(0, 2, 0));
    attachment->setMode(3);
    znRTSurfaceAnalysisSettings settings;
    const osg::Ref<osg::SurfaceAnalysisAttachment> standard(
        osg::SurfaceAnalysisAttachment::create());
    EXPECT_FALSE(settings.updateSettings(standard.get().get())) << "the defaults are in force";
    EXPECT_TRUE(settings.updateSettings(attachment.get().get()));
    EXPECT_EQ(settings.getLinearLightDirection(), znRTVector3f(0.0f, 0.6f, 0.8f));
    EXPECT_EQ(settings.getLightSphereAxis(), znRTVector3f(0.0f, 0.0f, 1.0f));
    EXPECT_EQ(settings.getLightPlaneAxisU(), znRTVector3f(0.0f, 2.0f, 0.0f)) << "a length counts";
    EXPECT_EQ(settings.getMode(), 3);
    EXPECT_FALSE(settings.updateSettings(attachment.get().get()));
}

} // namespace
