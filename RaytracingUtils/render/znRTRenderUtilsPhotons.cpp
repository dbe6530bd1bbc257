// Photon maps of the render state. There are none yet: nothing allocates them, so every pass ends
// where it asks for the current map.

#include "render/notAvailable.h"
#include "render/znRTRenderUtils.h"

void znRTRenderUtils::initPhotonMap(int, int) {}

void znRTRenderUtils::deletePhotonMap()
{
    s_currentPhotonMap = s_interactivePhotonMap = s_stillFramePhotonMap = nullptr;
}

void znRTRenderUtils::requestPhotonMapRefresh() {}

bool znRTRenderUtils::updatePhotonMap(znRaytracerP*, u32, int)
{
    if (!s_photonMapUpdateEnable)
        return true;
    static znRTOnceWarning noPhotons("Photons are not traced yet: photon settings have no effect.");
    noPhotons();
    return true;
}
