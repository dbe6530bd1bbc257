#pragma once

// Walk of one ray through a binary tree of either kind. The four lanes of a register hold near and
// far distances of both children: near left, near right, minus far left, minus far right, so that
// one maximum narrows all four.

#include "accel/walk/laneShuffle.h"
#include "accel/znRTBVHNode.h"
#include "core/znRTVector3fPacket.h"

/// Entries of a walk's stack; trees are far less deep (builders fall back to medians).
inline constexpr int s_walkStackSize = 512;

/// @param Signs   bit a: the inverse direction has a negative sign on axis a. The sign bit decides,
///                so that -0 is walked as the negative direction that its inverse is.
/// @tparam Shadow ends the walk as soon as the ray's t is 0
template <int Signs, bool Shadow, class LeafTest>
void walkLaneOctant(u64 reference, int lane, const znRTVector3fPacket& inverse,
                    const znRTVector3fPacket& origin, const znRTVector3fPacket& direction,
                    float tMin, LeafTest& leafTest)
{
    struct Entry
    {
        float near;
        u64 reference;
    };
    Entry stack[s_walkStackSize];
    int depth = 0;

    const znFloatType<2> farSigns = _mm_castsi128_ps(_mm_setr_epi32(0, 0, 1 << 31, 1 << 31));
    const znFloatType<2> ox = broadcast(origin.x, lane), oy = broadcast(origin.y, lane),
                         oz = broadcast(origin.z, lane);
    const znFloatType<2> ix = broadcast(inverse.x, lane) ^ farSigns,
                         iy = broadcast(inverse.y, lane) ^ farSigns,
                         iz = broadcast(inverse.z, lane) ^ farSigns;
    const znRTVector3fPacket laneOrigin(ox, oy, oz);
    const znRTVector3fPacket laneDirection(
        broadcast(direction.x, lane), broadcast(direction.y, lane), broadcast(direction.z, lane));
    float t = leafTest.getT(lane);
    znFloatType<2> range(tMin, tMin, -t, -t);

    const auto planes = [](const float* axis, bool negative) {
        const znFloatType<2> values = znFloatType<2>::load(axis);
        return negative ? swapHalves(values) : values;
    };

    while (true) {
        while (!znRTBVHNodeLayout::isLeaf(reference)) {
            const znRTBVHNodeLayout& node = *reinterpret_cast<const znRTBVHNodeLayout*>(reference);
            // The left child lies directly behind. Without a right one, the node itself: a branch
            // would cost more than a load that is not needed.
            _mm_prefetch(reinterpret_cast<const char*>(
                             znRTBVHNodeLayout::isLeaf(node.right) ? reference : node.right),
                         _MM_HINT_T0);
            // The running value is the second operand: a NaN, from a ray inside a plane, is
            // dropped and the axis does not cull.
            znFloatType<2> v = maximum((planes(node.x, Signs & 1) - ox) * ix, range);
            v = maximum((planes(node.y, Signs & 2) - oy) * iy, v);
            v = maximum((planes(node.z, Signs & 4) - oz) * iz, v);
            v ^= farSigns;
            const int children = moveMask(v <= swapHalves(v)) & 3;
            if (children == 3) {
                const float nearLeft = firstLane(v), nearRight = firstLane(swapPairs(v));
                const bool leftFirst = nearRight >= nearLeft;
                stack[depth++] =
                    leftFirst ? Entry{nearRight, node.right} : Entry{nearLeft, node.left};
                // The child that is met next comes by itself: branches are predicted and loads run
                // ahead. Prefetching the left child or a leaf before each test costs a third.
                leafTest.prefetch(stack[depth - 1].reference);
                reference = leftFirst ? node.left : node.right;
            } else if (children == 0) {
                goto pop;
            } else
                reference = children == 1 ? node.left : node.right;
        }
        leafTest.test(reference, lane, laneOrigin, laneDirection);
        if (const float nearest = leafTest.getT(lane); nearest != t) {
            t = nearest;
            if (Shadow && t == 0.0f)
                return;
            range = znFloatType<2>(tMin, tMin, -t, -t);
        }
    pop:
        do {
            if (depth == 0)
                return;
            --depth;
        } while (stack[depth].near >= t);
        reference = stack[depth].reference;
    }
}

/// Walks one lane from a node or leaf on.
template <bool Shadow, class LeafTest>
void walkLane(u64 reference, int lane, const znRTVector3fPacket& inverse,
              const znRTVector3fPacket& origin, const znRTVector3fPacket& direction,
              const znFloatType<2>& tMin, LeafTest& leafTest)
{
    const int signs = ((moveMask(inverse.x) >> lane) & 1) |
                      ((moveMask(inverse.y) >> lane) & 1) << 1 |
                      ((moveMask(inverse.z) >> lane) & 1) << 2;
    const auto walk = [&]<int Signs>() {
        walkLaneOctant<Signs, Shadow>(reference, lane, inverse, origin, direction,
                                      reinterpret_cast<const float*>(&tMin)[lane], leafTest);
    };
    switch (signs) {
    case 0:
        return walk.template operator()<0>();
    case 1:
        return walk.template operator()<1>();
    case 2:
        return walk.template operator()<2>();
    case 3:
        return walk.template operator()<3>();
    case 4:
        return walk.template operator()<4>();
    case 5:
        return walk.template operator()<5>();
    case 6:
        return walk.template operator()<6>();
    default:
        return walk.template operator()<7>();
    }
}
