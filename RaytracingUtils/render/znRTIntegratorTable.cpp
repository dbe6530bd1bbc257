#include "render/znRTIntegratorTable.h"

#include "render/integratorTasks.h"
#include "render/notAvailable.h"

namespace {

constexpr u32 backgroundColorPass = 15, backplatesPass = 28, frontplatesPass = 29;
constexpr u32 occlusionPass = 30;

/// Layers that are read back from their own store have no integrator of their own.
bool isCryptomattePass(u32 pass)
{
    return pass >= 33 && pass <= 38;
}

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
    choice.passIndex = isCryptomattePass(pass) ? 0 : int(pass);
    choice.renderFrontplates = choice.renderBackplates = false;
    choice.occlusionPass = 0;
    if (pass == backgroundColorPass)
        choice.renderBackplates = true;
    if (pass == backplatesPass || pass == frontplatesPass) {
        choice.applyTonemapping = false;
        choice.renderBackplates = pass == backplatesPass;
        choice.renderFrontplates = pass == frontplatesPass;
    }
    if (pass == occlusionPass)
        choice.occlusionPass = 1;
    const bool isData = pass >= occlusionPass && !isCryptomattePass(pass);
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
