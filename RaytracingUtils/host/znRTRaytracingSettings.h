#pragma once

// Mirror of the render settings: what frame code reads. The host writes between frames; while a
// frame runs nothing changes, so no lock guards these statics.

#include "host/raytracingSettingsTable.h"
#include "host/znAligned.h"

namespace osg {
class RaytracingSettingsAttachment;
}

class znRTRaytracingSettings
{
public:
    enum QualityMode { interactive = 1, stillFrame = 2, ambientOcclusion = 4 };

    /// Copies every setting of the attachment into the statics below, clamped to its range, and
    /// hands the surface parameters to znRTNurbsUtil. A null attachment leaves all as it is.
    /// @return true when a value changed
    bool updateSettings(const osg::RaytracingSettingsAttachment* attachment);

    /// Hands on what follows from the statics: surface parameters, the switch of the denoiser.
    static void updateDerived();

    // One static per row of the settings table, s_<field>; lengths in scene units.
#define ZN_MIRROR(type, stem, field, standard, lowest, highest, meaning)                           \
    static inline type s_##field = standard;
    ZN_RENDER_SETTINGS(ZN_MIRROR, ZN_MIRROR)
#undef ZN_MIRROR

    static inline int s_qualityMode = interactive;
    static inline u32 s_viewport = 0; ///< container id of the active viewport, 0 none

    // Pixel rectangle of the current region; right and top are one past the end.
    static inline u32 s_imageLeftBound = 0, s_imageRightBound = 0;
    static inline u32 s_imageBottomBound = 0, s_imageTopBound = 0;

    static inline bool s_useSoftwareBackground = true; ///< plates are composed by the copy stage
    static inline bool s_directToGpu = false;          ///< the frame goes into mapped GL memory
    static inline bool s_premultipliedAlpha = false;
    // Switches of the copy stage; the first two begin with the settings of the same name.
    // (s_applyTonemapping and s_applyColorCorrection are rows of the table.)
    static inline bool s_renderFrontplates = true, s_renderBackplates = true;
    static inline bool s_lensFlareEnabled = true;
    static inline bool s_showDenoisedImage = true;
    static inline bool s_resetRayFileCursor = true; ///< ray lights begin at ray 0 at each update
    static inline bool s_useBundleTracing = true;   ///< primary rays are traced 64 packets at once

    // Values that follow from the settings and the quality mode.

    static bool isStillFrame()
    {
        return s_qualityMode != interactive;
    }
    static int reflectionDepth()
    {
        return isStillFrame() ? s_stillFrameReflectionDepth : s_interactiveReflectionDepth;
    }
    static int reflectionQuality()
    {
        return isStillFrame() ? s_stillFrameQuality : s_interactiveQuality;
    }
    static int environmentQuality()
    {
        return isStillFrame() ? s_environmentStillQuality : s_environmentInteractiveQuality;
    }
    /// 0 baked, 1 baked with environment shadows, 2 sampled environment, 3 full illumination.
    static int illuminationMode()
    {
        return isStillFrame() ? s_stillFrameQualityMode : s_interactiveQualityMode;
    }
    static int finalGatherQuality()
    {
        return isStillFrame() ? s_stillFrameFinalGatherQuality : s_interactiveFinalGatherQuality;
    }
    static float textureSharpness()
    {
        return isStillFrame() ? s_stillFrameTextureSharpness : s_interactiveTextureSharpness;
    }
    /// Photons of the global map: modes 1 and 2.
    static u32 globalPhotonCount()
    {
        return s_photonMode == 1 || s_photonMode == 2 ? photonCount() : 0;
    }
    /// Photons of the caustic map: modes 2 and 3.
    static u32 causticPhotonCount()
    {
        return s_photonMode >= 2 ? photonCount() : 0;
    }
    static u32 photonCount()
    {
        return isStillFrame() ? s_stillFramePhotonCount : s_interactivePhotonCount;
    }
    static bool useEnergyConservingFresnel()
    {
        return s_brdfMode == 1;
    }
    /// Contrast below which a pixel counts as finished, and above which its neighbourhood goes on;
    /// zero when adaptive sampling is off.
    static float adaptiveThresholdLow();
    static float adaptiveThresholdHigh();
};
