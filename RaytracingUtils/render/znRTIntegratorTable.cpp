#include "render/znRTIntegratorTable.h"

#include "accel/znRTAccelerator.h"
#include "host/znRTSceneHandler.h"
#include "host/znRenderPasses.h"
#include "light/znRTLight.h"
#include "render/integratorTasks.h"
#include "render/notAvailable.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

namespace {

const char* bySelector(u32 selector)
{
    switch (selector) {
    case 4:
        return "znRTLightAnalyzingIntegrator";
    case 5:
        return "znRTDebugIntegrator";
    case 6:
        return "znRTIlluminanceIntegrator";
    default:
        return "znRTDistributedIntegrator";
    }
}

/// Switches of a picture that shows one layer.
void setSinglePass(znRTIntegratorChoice& choice, u32 pass)
{
    choice.name = "znRTDistributedPassesIntegrator";
    // Id mattes are read back from their own store: behind them stands the beauty.
    choice.passIndex = isCryptomattePass(pass) ? 0 : int(pass);
    choice.renderFrontplates = choice.renderBackplates = false;
    choice.occlusionPass = 0;
    if (pass == ZN_PASS_BACKGROUND_COLOR)
        choice.renderBackplates = true;
    if (pass == ZN_PASS_BACKPLATES || pass == ZN_PASS_FRONTPLATES) {
        choice.applyTonemapping = false;
        choice.renderBackplates = pass == ZN_PASS_BACKPLATES;
        choice.renderFrontplates = pass == ZN_PASS_FRONTPLATES;
    }
    if (pass == ZN_PASS_OCCLUSION)
        choice.occlusionPass = 1;
    const bool isData = pass >= ZN_PASS_OCCLUSION && !isCryptomattePass(pass);
    if (isData)
        choice.applyTonemapping = choice.applyColorCorrection = false;
}

void setDisplayAid(znRTIntegratorChoice& choice, const char* name)
{
    choice.name = name;
    choice.applyTonemapping = choice.applyColorCorrection = false;
    choice.occlusionPass = 0;
}

const znRTIntegratorRow integratorRows[] = {
    {"znRTDistributedIntegrator", ZN_OFFERS_SHADING, &createDistributedTask},
    {"znRTDistributedPassesIntegrator", ZN_OFFERS_SHADING, &createDistributedPassesTask},
    {"znRTLightAnalyzingIntegrator", ZN_OFFERS_SHADING, &createLightAnalyzingTask},
    {"znRTDebugIntegrator", 0, &createDebugTask},
    {"znRTIlluminanceIntegrator", ZN_OFFERS_LUX, &createIlluminanceTask},
    {"znRTNormalRenderingIntegrator", 0, &createNormalRenderingTask},
    {"znRTDiscontinuityRenderingIntegrator", 0, &createDiscontinuityTask},
    {"znRTAORenderingIntegrator", 0, &createAmbientOcclusionTask},
    {"znRTIndirectIllumRenderingIntegrator", ZN_OFFERS_SHADING, &createIndirectTask},
    {"znRTAnalyticRenderingIntegrator", ZN_OFFERS_ANALYSIS, &createAnalyticTask},
};

/// What a picture needs. Layers of geometry are filled without any shading; and whoever asks for
/// layers wants the colours of surfaces, and black where no light is, never a display aid.
u32 needsOf(const znRTIntegratorChoice& choice, u32 needs, bool showsLayers)
{
    if (isDataPass(u32(choice.passIndex)))
        return 0;
    if (showsLayers && needs == ZN_OFFERS_SHADING)
        return ZN_OFFERS_COLORS;
    return needs;
}

/// The integrator that renders what is meant.
/// @param showsLayers  all layers are rendered, or one that is not the beauty
const znRTIntegratorRow& rowOf(const znRTIntegratorChoice& choice, bool showsLayers, u32 offers)
{
    const znRTIntegratorRow& row = *findIntegratorRow(choice.name);
    const u32 needs = needsOf(choice, row.needs, showsLayers);
    if ((needs & ~offers) == 0)
        return row;
    static znRTOnceWarning noShading(
        "Nothing lights the surfaces of this scene: this view shows normals.");
    static znRTOnceWarning noLux("Illuminance is not measured yet: this view shows normals.");
    static znRTOnceWarning noLight(
        "Surface analysis has no light (its mode is off): this view shows normals.");
    if (needs & ZN_OFFERS_LUX)
        noLux();
    else if (needs & ZN_OFFERS_ANALYSIS)
        noLight();
    else
        noShading();
    return *findIntegratorRow("znRTNormalRenderingIntegrator");
}

} // namespace

znRTIntegratorChoice chooseIntegrator(u32 renderMode, u32 selector, u32 currentPass,
                                      bool passesEnabled, bool hasOcclusionPass, u32 offers)
{
    znRTIntegratorChoice choice;
    switch (renderMode) {
    case ZN_RENDER_BEAUTY:
        if (currentPass != 0 && !passesEnabled) {
            setSinglePass(choice, currentPass);
        } else {
            choice.name = bySelector(selector);
            choice.occlusionPass = hasOcclusionPass;
        }
        break;
    case ZN_RENDER_NORMALS:
        setDisplayAid(choice, "znRTNormalRenderingIntegrator");
        break;
    case ZN_RENDER_DISCONTINUITY:
        setDisplayAid(choice, "znRTDiscontinuityRenderingIntegrator");
        break;
    case ZN_RENDER_OCCLUSION:
        setDisplayAid(choice, "znRTAORenderingIntegrator");
        break;
    case ZN_RENDER_INDIRECT:
        choice.name = "znRTIndirectIllumRenderingIntegrator";
        break;
    case ZN_RENDER_ANALYTIC:
        choice.name = "znRTAnalyticRenderingIntegrator";
        break;
    case ZN_RENDER_ILLUMINANCE:
        choice.name = "znRTIlluminanceIntegrator";
        break;
    default:
        choice.name = "znRTDistributedIntegrator";
        break;
    }
    choice.row = &rowOf(choice, passesEnabled || choice.passIndex != 0, offers);
    return choice;
}

const znRTIntegratorRow* findIntegratorRow(std::string_view name)
{
    for (const znRTIntegratorRow& row : integratorRows)
        if (name == row.name)
            return &row;
    return nullptr;
}

namespace {

bool hasLight(const znRTAccelerator& scene)
{
    const znDynArray<znRTLight*>& lights = scene.getLights();
    return znRTRenderUtils::getEnvironmentLight() ||
           std::any_of(lights.begin(), lights.end(),
                       [](const znRTLight* light) { return light->isOn(); });
}

} // namespace

u32 getSceneOffers()
{
    const znRTAccelerator* const scene = znRTRenderUtils::getCurrentAccelerator();
    const bool hasStripes = znRTSceneHandler::s_currentSurfaceAnalysisSettings.getMode() !=
                            znRTSurfaceAnalysisSettings::off;
    const bool hasColors = scene && scene->hasShadingMaterials();
    const bool hasShading = hasColors && hasLight(*scene);
    return (hasShading ? ZN_OFFERS_SHADING : 0u) | (hasColors ? ZN_OFFERS_COLORS : 0u) |
           (znRTRenderUtils::getLuxMaterial() ? ZN_OFFERS_LUX : 0u) |
           (hasShading || hasStripes ? ZN_OFFERS_ANALYSIS : 0u);
}
