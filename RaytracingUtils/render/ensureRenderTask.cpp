#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneHandler.h"
#include "host/znRaytracerP.h"
#include "render/copyTasks.h"
#include "render/notAvailable.h"
#include "render/znRTIntegratorTable.h"
#include "render/znRTRenderTask.h"
#include "render/znRTRenderUtils.h"

#include <limits>

namespace {

constexpr u32 backgroundColorPass = 15, backplatesPass = 28, frontplatesPass = 29;
constexpr u32 occlusionPass = 30;
constexpr u32 illuminanceSelector = 6;
/// Output modes of the view: images of high range are not clamped.
constexpr u32 highRangeOutput = 6, illuminanceOutput = 7;

void readClampAndSelector(const znRaytracerP& view, znRTRenderTaskKey& key)
{
    using Settings = znRTRaytracingSettings;
    constexpr float unlimited = std::numeric_limits<float>::max();
    if (view.m_outputMode == illuminanceOutput) {
        key.integratorSelector = illuminanceSelector;
        key.sampleClamp = unlimited;
        return;
    }
    key.integratorSelector = u32(Settings::s_renderer);
    // Normals, places and distances are shown as they are.
    const bool showsData = !view.m_renderPassesEnabled && isDataPass(view.m_currentPass);
    const bool clamps = Settings::s_clamping && view.m_outputMode != highRangeOutput && !showsData;
    key.sampleClamp = clamps ? Settings::s_reflectionClampValue : unlimited;
}

znRTRenderTaskKey makeKey(const znRaytracerP& view, u32 copyFlags, u32 pixelFormat)
{
    znRTRenderTaskKey key;
    readClampAndSelector(view, key);
    key.qualityMode = u32(znRTRaytracingSettings::s_qualityMode);
    key.renderMode = view.m_renderMode;
    key.singlePass = view.m_currentPass;
    key.passesEnabled = view.m_renderPassesEnabled;
    key.traceAndCopy = view.m_traceAndCopy;
    key.copyFlags = reduceCopyFlags(copyFlags, view.m_currentPass);
    // Only tasks that store finished pixels depend on the format.
    key.pixelFormat = view.m_traceAndCopy ? pixelFormat : u32(ZN_FORMAT_RGBA32F);
    key.sceneOffers = getSceneOffers();
    return key;
}

/// Switches that tell the copy stage what the chosen picture wants. A step that the scene's
/// settings turn off stays off: the mirrors alone would forget that with the first display aid.
void applySwitches(const znRTIntegratorChoice& choice)
{
    using Settings = znRTRaytracingSettings;
    const auto settings = znRTSceneHandler::getRaytracingSettingsAttachment();
    Settings::s_applyTonemapping =
        choice.applyTonemapping && (!settings || settings->getApplyTonemapping());
    Settings::s_applyColorCorrection =
        choice.applyColorCorrection && (!settings || settings->getApplyColorCorrection());
    Settings::s_renderFrontplates = choice.renderFrontplates;
    Settings::s_renderBackplates = choice.renderBackplates;
    if (choice.occlusionPass >= 0)
        znRTRenderUtils::enableOcclusionPass(choice.occlusionPass == 1);
}

/// Tells once which wanted layers stay empty.
void warnOfEmptyLayers(const znRaytracerP& view)
{
    static znRTOnceWarning noPlates(
        "Scene plates are not drawn yet: the passes backplates and frontplates stay empty.");
    const bool wantsPlates =
        view.m_passBuffers[ZN_PASS_BACKPLATES] || view.m_passBuffers[ZN_PASS_FRONTPLATES];
    if (wantsPlates && !znRTRenderUtils::getBackground() && !znRTRenderUtils::getForeground())
        noPlates();
}

} // namespace

u32 reduceCopyFlags(u32 copyFlags, u32 singlePass)
{
    constexpr u32 plates = ZN_COPY_BACKPLATES | ZN_COPY_FRONTPLATES;
    if (copyFlags & ZN_COPY_KEEP_ALPHA)
        copyFlags &= ~u32(ZN_COPY_BACKPLATES);
    switch (singlePass) {
    case 0:
        return copyFlags;
    case frontplatesPass:
        return copyFlags & ~u32(ZN_COPY_BACKPLATES | ZN_COPY_TONEMAP);
    case backplatesPass:
        return copyFlags & ~u32(ZN_COPY_FRONTPLATES | ZN_COPY_TONEMAP);
    case backgroundColorPass:
        return copyFlags & ~u32(ZN_COPY_FRONTPLATES);
    default:
        return copyFlags & ~plates;
    }
}

void ensureRenderTask(znRTRenderTask*& task, znRaytracerP& view, u32 copyFlags, u32 pixelFormat)
{
    const znRTRenderTaskKey key = makeKey(view, copyFlags, pixelFormat);
    const bool hasOcclusionPass = view.m_passBuffers[occlusionPass] != nullptr;
    const znRTIntegratorChoice choice =
        chooseIntegrator(key.renderMode, key.integratorSelector, key.singlePass, key.passesEnabled,
                         hasOcclusionPass, key.sceneOffers);
    // For every frame: each update of the scene sets the mirrors back to the scene's settings.
    applySwitches(choice);
    if (!task || !task->needsSameTaskAs(key)) {
        delete task;
        task = nullptr;
        if (key.passesEnabled)
            warnOfEmptyLayers(view);
        task = choice.row->create(key);
        task->integrator = choice.row;
    }
    task->bind(view);
}
