#pragma once

// What the trace operations say to an observer of rays (host/znRTRayObserver.h). Out of line, so
// that frames without an observer carry nothing but the test of its pointer.

#include "host/znRTRayObserver.h"

class znRTHitInfoPacket;
class znRTHitInfoPacketBundle;
class znRTRayPacket;
class znRTRayPacketBundle;
template <int N>
struct znFloatType;

/// Tells the observer of the lanes that belong to its pixel. Runs behind the walk.
/// @param mask  bits of the lanes that were traced
void observeRays(znRTObservedRay::Query query, const znRTRayPacket& ray, const znFloatType<2>& tMin,
                 const znFloatType<2>& tMax, const znRTHitInfoPacket& hit, int mask);

/// The same for a bundle of camera rays.
void observeBundle(const znRTRayPacketBundle& rays, const znFloatType<2>* tMin,
                   const znFloatType<2>* tMax, const znRTHitInfoPacketBundle& hits,
                   const int* laneMasks);
