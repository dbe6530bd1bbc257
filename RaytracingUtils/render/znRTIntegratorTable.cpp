#include "render/znRTIntegratorTable.h"

#include "host/znRenderPasses.h"
#include "render/integratorTasks.h"
#include "render/notAvailable.h"

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

} // namespace

znRTIntegratorChoice chooseIntegrator(u32 renderMode, u32 selector, u32 currentPass,
                                      bool passesEnabled, bool hasOcclusionPass)
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
    choice.row = &findIntegratorRow(choice.name);
    return choice;
}

const znRTIntegratorRow& findIntegratorRow(std::string_view name)
{
    static const znRTIntegratorRow rows[] = {
        {"znRTNormalRenderingIntegrator", &createNormalRenderingTask},
    };
    for (const znRTIntegratorRow& row : rows)
        if (name == row.name)
            return row;
    // Everything that needs materials shows normals until materials shade.
    static znRTOnceWarning noMaterials("Materials do not shade yet: this view shows normals.");
    noMaterials();
    return rows[0];
}
