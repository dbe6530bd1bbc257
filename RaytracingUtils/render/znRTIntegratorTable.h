#pragma once

// Which integrator renders what. A row stands for one integrator; adding one is a row and a source
// file that instantiates its tasks. An integrator that would have nothing to show, because the
// scene lacks what it needs, gives way to the normal display.

#include "render/znRTRenderTask.h"

#include <string_view>

/// What integrators need besides hits; bits.
enum znRTSceneOffer : u32 {
    ZN_OFFERS_SHADING = 1,  ///< a material with a shading class of its own, and light on it
    ZN_OFFERS_LUX = 2,      ///< the measuring material
    ZN_OFFERS_ANALYSIS = 4, ///< shading, or a light of surface analysis
    ZN_OFFERS_COLORS = 8,   ///< a material with a shading class of its own, lit or not
    ZN_OFFERS_EVERYTHING = 15
};

/// Offers of the current scene and settings.
u32 getSceneOffers();

struct znRTIntegratorRow
{
    const char* name;
    u32 needs; ///< offers without which there is nothing to show
    /// Makes the task of a key.
    znRTRenderTask* (*create)(const znRTRenderTaskKey& key);
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

/// An integrator and what goes with it: which steps the copy stage takes, which layers are wanted.
struct znRTIntegratorChoice
{
    const char* name = nullptr;             ///< integrator that is meant
    const znRTIntegratorRow* row = nullptr; ///< integrator that renders it
    bool applyTonemapping = true;
    bool applyColorCorrection = true;
    bool renderFrontplates = true;
    bool renderBackplates = true;
    int occlusionPass = -1; ///< 0 off, 1 on, -1 as it is
    int passIndex = 0;      ///< layer that a single-pass integrator shows
};

/// @param selector          render setting, see znRTRenderTaskKey
/// @param hasOcclusionPass  the view has a buffer for the occlusion layer
/// @param offers            of getSceneOffers
znRTIntegratorChoice chooseIntegrator(u32 renderMode, u32 selector, u32 currentPass,
                                      bool passesEnabled, bool hasOcclusionPass, u32 offers);

/// The row of a name; null without.
const znRTIntegratorRow* findIntegratorRow(std::string_view name);
