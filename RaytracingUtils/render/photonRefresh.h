#pragma once

// Whether photons have to be shot before a frame.

#include "host/znAligned.h"

/// What the decision depends on.
struct znRTPhotonState
{
    int photonMode = 0;    ///< 0 off, 1 indirect, 2 indirect and caustics, 3 caustics
    int traceDepth = 0;    ///< of photons
    int gatherQuality = 0; ///< gather rays of still frames
    u32 iteration = 0;     ///< of the view
    bool stillFrame = false;
    bool refreshRequested = false;    ///< of the map
    bool hasPhotonOnlyLights = false; ///< the scene has lights that light through photons alone
};

struct znRTPhotonDecision
{
    enum Action { clearMap, keepMap, updateMap };
    Action action = keepMap;
    u32 iteration = 0; ///< number of the pass
    int mode = 0;      ///< 0 everything, -1 what the map needs

    bool operator==(const znRTPhotonDecision&) const = default;
};

znRTPhotonDecision decidePhotonRefresh(const znRTPhotonState& state);
