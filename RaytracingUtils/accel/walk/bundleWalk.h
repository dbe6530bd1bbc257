#pragma once

// Walk of a bundle through a tree over intersectors: packets with one origin and one sign of the
// direction per axis share one walk. It carries the first packet that is active in a subtree; later
// ones are looked at when that one misses, and all of them where an object is met.
//
// The frustum that the four corner rays of the representative span culls a child before the later
// packets are tested one by one (I. Wald et al., "Ray Tracing Deformable Scenes Using Dynamic
// Bounding Volume Hierarchies", 2007).

#include "accel/znRTDynamicBVHNode.h"
#include "core/znRTRayPacketBundle.h"

/// @param root      node or leaf reference of the tree
/// @param masks     lanes of each packet; 0 skips it
/// @param clipping  whether clipping shapes count
void walkBundle(u64 root, const znRTRayPacketBundle& bundle, const znFloatType<2>* tMin,
                const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits, const int* masks,
                bool clipping);
