#pragma once

// Walk of a packet through a binary tree of either kind: the four lanes hold the four rays. A
// packet that starts with one ray takes the one-lane walk. One that is left with a single ray in a
// subtree goes on as a packet: its steps wait for branches and memory, which idle lanes do not
// change, and starting another walk costs more than the few nodes that are left.

#include "accel/walk/laneWalk.h"

#include <bit>

/// Inverse directions in which a zero component is +infinity whatever its sign. With it, minimum
/// and maximum in the order used below drop the NaN of a ray inside a plane, on either face.
inline znRTVector3fPacket withoutNegativeZero(const znRTVector3fPacket& inverse,
                                              const znRTVector3fPacket& direction)
{
    const znFloatType<2> zero = znFloatType<2>::noLanes(), sign(-0.0f);
    return {andNot((direction.x == zero) & sign, inverse.x),
            andNot((direction.y == zero) & sign, inverse.y),
            andNot((direction.z == zero) & sign, inverse.z)};
}

/// Interval of four rays inside the boxes of two children.
struct znRTChildIntervals
{
    znFloatType<2> nearLeft, nearRight, farLeft, farRight;
};

/// Any directions: near and far plane of an axis are told apart per lane.
class znRTMixedSigns
{
public:
    znRTMixedSigns(const znRTVector3fPacket& inverse, const znRTVector3fPacket& origin)
        : inv(inverse), o(origin)
    {
    }

    void narrow(const znRTBVHNodeLayout& node, znRTChildIntervals& v) const
    {
        narrow(node.x, o.x, inv.x, v);
        narrow(node.y, o.y, inv.y, v);
        narrow(node.z, o.z, inv.z, v);
    }

private:
    static void narrow(const float* axis, znFloatType<2> origin, znFloatType<2> inverse,
                       znRTChildIntervals& v)
    {
        const znFloatType<2> planes = znFloatType<2>::load(axis);
        const znFloatType<2> lowLeft = (broadcast<0>(planes) - origin) * inverse;
        const znFloatType<2> lowRight = (broadcast<1>(planes) - origin) * inverse;
        const znFloatType<2> highLeft = (broadcast<2>(planes) - origin) * inverse;
        const znFloatType<2> highRight = (broadcast<3>(planes) - origin) * inverse;
        v.nearLeft = maximum(minimum(highLeft, lowLeft), v.nearLeft);
        v.nearRight = maximum(minimum(highRight, lowRight), v.nearRight);
        v.farLeft = minimum(maximum(lowLeft, highLeft), v.farLeft);
        v.farRight = minimum(maximum(lowRight, highRight), v.farRight);
    }

    const znRTVector3fPacket inv, o;
};

/// Directions with one sign per axis: the sign names near and far plane.
class znRTUniformSigns
{
public:
    znRTUniformSigns(const znRTVector3fPacket& inverse, const znRTVector3fPacket& origin, int mask)
        : inv(inverse), o(origin), x(moveMask(inverse.x) & mask ? 2 : 0),
          y(moveMask(inverse.y) & mask ? 2 : 0), z(moveMask(inverse.z) & mask ? 2 : 0)
    {
    }

    static bool isUniform(const znRTVector3fPacket& inverse, int mask)
    {
        const auto uniform = [mask](znFloatType<2> d) {
            const int signs = moveMask(d) & mask;
            return signs == 0 || signs == mask;
        };
        return uniform(inverse.x) && uniform(inverse.y) && uniform(inverse.z);
    }

    void narrow(const znRTBVHNodeLayout& node, znRTChildIntervals& v) const
    {
        narrow(node.x, x, o.x, inv.x, v);
        narrow(node.y, y, o.y, inv.y, v);
        narrow(node.z, z, o.z, inv.z, v);
    }

private:
    static void narrow(const float* axis, int near, znFloatType<2> origin, znFloatType<2> inverse,
                       znRTChildIntervals& v)
    {
        const float* const nearPlanes = axis + near;
        const float* const farPlanes = axis + (near ^ 2);
        v.nearLeft = maximum((znFloatType<2>(nearPlanes[0]) - origin) * inverse, v.nearLeft);
        v.nearRight = maximum((znFloatType<2>(nearPlanes[1]) - origin) * inverse, v.nearRight);
        v.farLeft = minimum((znFloatType<2>(farPlanes[0]) - origin) * inverse, v.farLeft);
        v.farRight = minimum((znFloatType<2>(farPlanes[1]) - origin) * inverse, v.farRight);
    }

    const znRTVector3fPacket inv, o;
    const int x, y, z; ///< place of the near planes in a node's four values
};

/// @tparam Slabs   znRTMixedSigns or znRTUniformSigns
/// @tparam Shadow  lanes with t 0 are finished
template <class Slabs, bool Shadow, class LeafTest>
void walkPacketFrom(u64 reference, const Slabs& slabs, const znFloatType<2>& tMin, int mask,
                    LeafTest& leafTest)
{
    struct Entry
    {
        znFloatType<2> near;
        u64 reference;
        int mask;
    };
    Entry stack[s_walkStackSize];
    int depth = 0;
    int alive = mask;
    znFloatType<2> t = leafTest.getT();
    const znFloatType<2> zero = znFloatType<2>::noLanes();

    while (true) {
        while (!znRTBVHNodeLayout::isLeaf(reference)) {
            const znRTBVHNodeLayout& node = *reinterpret_cast<const znRTBVHNodeLayout*>(reference);
            leafTest.prefetch(node.left);
            leafTest.prefetch(node.right);
            znRTChildIntervals v{tMin, tMin, t, t};
            slabs.narrow(node, v);
            const int left = moveMask(v.nearLeft <= v.farLeft) & mask;
            const int right = moveMask(v.nearRight <= v.farRight) & mask;
            if (left && right) {
                if (moveMask(v.nearLeft <= v.nearRight) & left) {
                    stack[depth++] = {v.nearRight, node.right, right};
                    reference = node.left;
                    mask = left;
                } else {
                    stack[depth++] = {v.nearLeft, node.left, left};
                    reference = node.right;
                    mask = right;
                }
            } else if (left) {
                reference = node.left;
                mask = left;
            } else if (right) {
                reference = node.right;
                mask = right;
            } else
                goto pop;
        }
        leafTest.test(reference, mask);
        t = leafTest.getT();
        if (Shadow) {
            alive &= moveMask(zero < t);
            if (alive == 0)
                return;
        }
    pop:
        do {
            if (depth == 0)
                return;
            --depth;
            mask = moveMask(stack[depth].near < t) & stack[depth].mask & alive;
        } while (mask == 0);
        reference = stack[depth].reference;
    }
}

/// Walks the lanes of a mask, which has at least one bit.
template <bool Shadow, class LeafTest>
void walkPacket(u64 root, const znRTVector3fPacket& inverse, const znRTVector3fPacket& origin,
                const znRTVector3fPacket& direction, const znFloatType<2>& tMin, int mask,
                LeafTest& leafTest)
{
    if ((mask & (mask - 1)) == 0)
        return walkLane<Shadow>(root, std::countr_zero(unsigned(mask)), inverse, origin, direction,
                                tMin, leafTest);
    const znRTVector3fPacket local = withoutNegativeZero(inverse, direction);
    if (znRTUniformSigns::isUniform(local, mask))
        walkPacketFrom<znRTUniformSigns, Shadow>(root, znRTUniformSigns(local, origin, mask), tMin,
                                                 mask, leafTest);
    else
        walkPacketFrom<znRTMixedSigns, Shadow>(root, znRTMixedSigns(local, origin), tMin, mask,
                                               leafTest);
}
