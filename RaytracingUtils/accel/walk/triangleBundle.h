#pragma once

// Walk of a bundle of packets with one origin through a tree over plain triangles.
//
// The packets form a pyramid: four rays make a packet, four neighbouring packets a block, four
// blocks a quarter, four quarters the bundle. On each level one register holds four members, each
// with the interval of its inverse directions per axis, so that one slab test in interval
// arithmetic tells which of the four meet a box: rounding is monotone, so a member that is culled
// holds no ray that the packet test would let through. The walk starts with the quarters and goes
// down one level wherever a single member is left, so that the upper tree is walked once and the
// lower nodes only by those who meet them.

#include "accel/znRTBVHIntersector.h"
#include "accel/znRTLeafIntersector.h"
#include "core/znRTRayPacketBundle.h"

/// Traces the packets from first on, each in the lanes of its mask. Each triangle's distance is bit
/// for bit that of the packet walk; of two triangles that are less than a rounding apart another
/// one may be found, since the walks visit boxes in different order. Packets with different signs
/// of direction among close neighbours are walked one by one.
/// @param transform  world to object; null takes the rays as they stand
/// @param tree       with positions in leaf order
/// @param leaf       a plain triangle leaf
/// @return false if the packets have no common origin; nothing is traced then
bool walkTriangleBundle(const znRTSharedTree& tree, const znRTLeafIntersector& leaf,
                        const znMatrix4x4* transform, const znRTRayPacketBundle& bundle,
                        const znFloatType<2>* tMin, znRTHitInfoPacketBundle& hits, const int* masks,
                        unsigned first);
