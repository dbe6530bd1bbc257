#include "render/photonRefresh.h"

#include "host/znRaytracerP.h"

znRTPhotonDecision decidePhotonRefresh(const znRTPhotonState& state)
{
    // Two bounces reach what is sampled directly anyway.
    constexpr int directDepth = 2;
    // A running image gets new photons now and then, so that their noise averages out.
    constexpr u32 refreshInterval = 4;

    if (state.photonMode == 0 || state.traceDepth <= directDepth)
        return {znRTPhotonDecision::clearMap, 0, 0};
    const u32 iteration = state.iteration == znRaytracerP::preparatoryPass ? 0 : state.iteration;
    const bool stillFrameStart = state.stillFrame && iteration == 0;
    bool refresh = state.refreshRequested || (iteration != 0 && iteration % refreshInterval == 0);
    if (stillFrameStart)
        refresh = refresh || state.photonMode >= 2 || state.gatherQuality == 0;
    if (refresh)
        return {znRTPhotonDecision::updateMap, iteration, 0};
    if (!stillFrameStart || !state.hasPhotonOnlyLights || state.gatherQuality < 1)
        return {znRTPhotonDecision::keepMap, 0, 0};
    return {znRTPhotonDecision::updateMap, 1, -1};
}
