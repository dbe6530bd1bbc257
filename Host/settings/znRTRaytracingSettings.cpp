#include "host/znRTRaytracingSettings.h"

#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/znRTNurbsUtil.h"
#include "host/znRaytracingUtilsBase.h"
#include "host/znSceneDataManager.h"
#include "settings/settingRange.h"

#include <array>
#include <utility>

namespace {

template <class T>
bool replace(T& old, const T& value)
{
    return !(std::exchange(old, value) == value);
}

void updateNurbsUtil()
{
    using Settings = znRTRaytracingSettings;
    znRTNurbsUtil& util = znRTNurbsUtil::instance();
    util.setNewtonEpsilon(Settings::s_nurbsNewtonEpsilon);
    util.setIntersectEpsilon(Settings::s_nurbsEpsilon);
    util.setNormalCriterionThreshold(Settings::s_nurbsThresholdSurface, znRTNurbsUtil::surface);
    util.setNormalCriterionThreshold(Settings::s_nurbsThresholdCurve, znRTNurbsUtil::curve);
    util.minDepthSurface = Settings::s_nurbsMinDepthSurface;
    util.maxDepthSurface = Settings::s_nurbsMaxDepthSurface;
    util.minDepthCurve = Settings::s_nurbsMinDepthCurve;
    util.maxDepthCurve = Settings::s_nurbsMaxDepthCurve;
    util.usePreclassification = Settings::s_nurbsUsePreclassification;
}

} // namespace

bool znRTRaytracingSettings::updateSettings(const osg::RaytracingSettingsAttachment* attachment)
{
    if (!attachment)
        return false;
    bool changed = false;
    const float scale = znSceneDataManager::getUnitsPerMetre();
#define ZN_COPY(type, stem, field, standard, lowest, highest, meaning)                             \
    changed |= replace(s_##field, clampSetting(type(attachment->get##stem()), lowest, highest));
#define ZN_COPY_LENGTH(type, stem, field, standard, lowest, highest, meaning)                      \
    changed |=                                                                                     \
        replace(s_##field, clampSetting(type(attachment->get##stem()), lowest, highest) * scale);
    ZN_RENDER_SETTINGS(ZN_COPY, ZN_COPY_LENGTH)
#undef ZN_COPY
#undef ZN_COPY_LENGTH
    updateDerived();
    return changed;
}

void znRTRaytracingSettings::updateDerived()
{
    constexpr int hostFilter = 1;
    znRaytracingUtilsBase::s_bDenoiseOn = s_denoiseFilter == hostFilter;
    updateNurbsUtil();
}

namespace {

struct Thresholds
{
    float low, high;
};
/// By adaptiveAAThresholdQuality; the last row switches the test off.
constexpr std::array<Thresholds, 6> adaptiveThresholds{
    {{0.04f, 0.4f}, {0.02f, 0.3f}, {0.01f, 0.2f}, {0.005f, 0.1f}, {0.0025f, 0.05f}, {0.0f, 0.0f}}};

} // namespace

float znRTRaytracingSettings::adaptiveThresholdLow()
{
    return adaptiveThresholds[s_adaptiveAAThresholdQuality].low;
}

float znRTRaytracingSettings::adaptiveThresholdHigh()
{
    return adaptiveThresholds[s_adaptiveAAThresholdQuality].high;
}
