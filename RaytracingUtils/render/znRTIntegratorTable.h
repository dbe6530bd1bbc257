#pragma once

// Which integrator renders what. A row stands for one integrator; adding one is a row and a source
// file that instantiates its tasks.

#include "render/znRTRenderTask.h"

struct znRTIntegratorRow
{
    const char* name;
    /// Makes the task of a key. `multilayer` tells which fragment it shades into.
    znRTRenderTask* (*create)(const znRTRenderTaskKey& key, bool multilayer);
};

/// Values of m_renderMode.
enum znRTRenderMode : u32 {
    ZN_RENDER_BEAUTY = 0,
    ZN_RENDER_NORMALS = 1,
    ZN_RENDER_DISCONTINUITY = 2,
    ZN_RENDER_OCCLUSION = 3,
    ZN_RENDER_INDIRECT = 4,
    ZN_RENDER_ANALYTIC = 5,
    ZN_RENDER_ILLUMINANCE = 6
};

/// What goes with a choice: which steps the copy stage takes and which layers are prepared.
struct znRTIntegratorChoice
{
    const char* name;             ///< integrator that is meant
    const znRTIntegratorRow* row; ///< integrator that renders it
    bool applyTonemapping = true;
    bool applyColorCorrection = true;
    bool renderFrontplates = true;
    bool renderBackplates = true;
    int occlusionPass = -1; ///< 0 off, 1 on, -1 as it is
    int passIndex = 0;      ///< layer that a single-pass integrator shows
};

/// @param selector          render setting, see znRTRenderTaskKey
/// @param hasOcclusionPass  the view has a buffer for the occlusion layer
znRTIntegratorChoice chooseIntegrator(u32 renderMode, u32 selector, u32 currentPass,
                                      bool passesEnabled, bool hasOcclusionPass);
