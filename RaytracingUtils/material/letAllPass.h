#pragma once

// Surfaces that only mark a place: openings and borders of volumes. Light passes as if they were
// not there.

#include "core/znRTColorPacket.h"

class znRTDataBlockPacket;
class znRTFragment;
class znRTRayDifferentialPacket;
class znRTShadingState;

/// Goes on behind the hit with nothing added and nothing taken.
void letAllPass(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                znRTFragment& fragment, const znFloatType<2>& mask, znRTShadingState& state);

/// What a shadow ray keeps: everything.
znRTColorPacket allPassed(const znFloatType<2>& mask);
