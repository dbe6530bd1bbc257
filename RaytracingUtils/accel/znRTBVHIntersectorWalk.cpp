// The walks of a geometry's tree: which transform, which leaf test, which walk.

#include "accel/walk/leafTests.h"
#include "accel/walk/packetWalk.h"
#include "accel/walk/rayTransform.h"
#include "accel/walk/triangleBundle.h"
#include "accel/znRTBVHIntersector.h"
#include "accel/znRTIntersector.h"
#include "core/znRTRayPacketBundle.h"
#include "geometry/znRTGeometryNode.h"

namespace {
const znMatrix4x4* getTransform(const znRTIntersector* owner)
{
    const znRTGeometryNode* const node = owner->getNode();
    return node && node->hasTransform() ? &node->getToObjectMatrix() : nullptr;
}

/// Calls with the leaf's sides as a constant.
template <class Call>
void withSides(int sides, const Call& call)
{
    switch (sides) {
    case 1:
        return call.template operator()<1>();
    case 2:
        return call.template operator()<2>();
    default:
        return call.template operator()<3>();
    }
}

/// A walk of several lanes or, below, of one.
struct PacketWalk
{
    int mask;

    template <bool Shadow, class Rays, class LeafTest>
    void run(u64 root, const Rays& rays, const znFloatType<2>& tMin, LeafTest& test) const
    {
        walkPacket<Shadow>(root, rays.invDirection, rays.origin, rays.direction, tMin, mask, test);
    }
};

struct LaneWalk
{
    int lane;

    template <bool Shadow, class Rays, class LeafTest>
    void run(u64 root, const Rays& rays, const znFloatType<2>& tMin, LeafTest& test) const
    {
        walkLane<Shadow>(root, lane, rays.invDirection, rays.origin, rays.direction, tMin, test);
    }
};

template <bool Shadow, class Rays, class Walk>
void walkTriangles(const znRTSharedTree& tree, const znRTLeafIntersector& leaf, const Rays& rays,
                   const znFloatType<2>& tMin, znRTHitInfoPacket& hit, const Walk& walk)
{
    const u64 root = znRTBVHNode::encodeNode(tree.nodes.data);
    withSides(leaf.getSideness(), [&]<int Sides>() {
        znRTTriangleLeafTest<Sides, Shadow> test(tree.leafPositions.data, rays.origin,
                                                 rays.direction, tMin, leaf, hit);
        walk.template run<Shadow>(root, rays, tMin, test);
    });
}

template <bool Shadow, class Walk>
void walkObjects(const znRTSharedTree& tree, const znRTLeafIntersector& leaf,
                 const znRTRayPacket& ray, const znFloatType<2>& tMin, znRTHitInfoPacket& hit,
                 const Walk& walk)
{
    znRTObjectLeafTest<Shadow> test(ray, tMin, leaf, hit);
    walk.template run<Shadow>(znRTBVHNode::encodeNode(tree.nodes.data), ray, tMin, test);
}

/// @param transform  null to take the rays as they stand
template <bool Shadow, class Walk>
void walkTree(const znRTSharedTree* tree, const znRTIntersector* owner,
              const znMatrix4x4* transform, const znRTRayPacket& ray, const znFloatType<2>& tMin,
              znRTHitInfoPacket& hit, const Walk& walk)
{
    const znRTLeafIntersector* const leaf = owner->getLeaf();
    if (!leaf || !tree || tree->nodes.size == 0)
        return;
    const bool isPlain = leaf->isPlainTriangles() && tree->leafPositions.size > 0;
    if (isPlain && transform)
        walkTriangles<Shadow>(*tree, *leaf, znRTObjectRays(ray, *transform), tMin, hit, walk);
    else if (isPlain)
        walkTriangles<Shadow>(*tree, *leaf, ray, tMin, hit, walk);
    else if (transform)
        walkObjects<Shadow>(*tree, *leaf, ray.getTransformedPacket(*transform), tMin, hit, walk);
    else
        walkObjects<Shadow>(*tree, *leaf, ray, tMin, hit, walk);
}

void walkTreeBundle(const znRTSharedTree* tree, const znRTIntersector* owner,
                    const znMatrix4x4* transform, const znRTRayPacketBundle& bundle,
                    const znFloatType<2>* tMin, znRTHitInfoPacketBundle& hits, const int* masks,
                    unsigned first)
{
    const znRTLeafIntersector* const leaf = owner->getLeaf();
    if (!leaf || !tree || tree->nodes.size == 0)
        return;
    // What packets share has to be worth making the pyramid of all of them.
    constexpr unsigned minPackets = 16;
    unsigned active = 0;
    for (unsigned i = first; i < bundle.count; ++i)
        active += masks[i] != 0;
    const bool isPlain = leaf->isPlainTriangles() && tree->leafPositions.size > 0;
    if (isPlain && active >= minPackets &&
        walkTriangleBundle(*tree, *leaf, transform, bundle, tMin, hits, masks, first))
        return;
    for (unsigned i = first; i < bundle.count; ++i)
        if (masks[i])
            walkTree<false>(tree, owner, transform, bundle.rays[i], tMin[i], hits.hits[i],
                            PacketWalk{masks[i]});
}
} // namespace

void znRTBVHIntersector::intersectNoTransform(const znRTIntersector* owner,
                                              const znRTRayPacketBundle& bundle,
                                              const znFloatType<2>* tMin, const znFloatType<2>*,
                                              znRTHitInfoPacketBundle& hits, const int* masks,
                                              unsigned int first) const
{
    walkTreeBundle(tree, owner, nullptr, bundle, tMin, hits, masks, first);
}

void znRTBVHIntersector::intersectNoTransform(const znRTIntersector* owner,
                                              const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                              const znFloatType<2>&, znRTHitInfoPacket& hit,
                                              int mask) const
{
    if (mask)
        walkTree<false>(tree, owner, nullptr, ray, tMin, hit, PacketWalk{mask});
}

void znRTBVHIntersector::intersectNoTransform(const znRTIntersector* owner,
                                              const znRTRayPacket& ray, int lane,
                                              const znFloatType<2>& tMin, const znFloatType<2>&,
                                              znRTHitInfoPacket& hit) const
{
    walkTree<false>(tree, owner, nullptr, ray, tMin, hit, LaneWalk{lane});
}

void znRTBVHIntersector::intersect(const znRTIntersector* owner, const znRTRayPacketBundle& bundle,
                                   const znFloatType<2>* tMin, const znFloatType<2>*,
                                   znRTHitInfoPacketBundle& hits, const int* masks,
                                   unsigned int first) const
{
    walkTreeBundle(tree, owner, getTransform(owner), bundle, tMin, hits, masks, first);
}

void znRTBVHIntersector::intersect(const znRTIntersector* owner, const znRTRayPacket& ray, int lane,
                                   const znFloatType<2>& tMin, const znFloatType<2>&,
                                   znRTHitInfoPacket& hit) const
{
    walkTree<false>(tree, owner, getTransform(owner), ray, tMin, hit, LaneWalk{lane});
}

void znRTBVHIntersector::intersect(const znRTIntersector* owner, const znRTRayPacket& ray,
                                   const znFloatType<2>& tMin, const znFloatType<2>&,
                                   znRTHitInfoPacket& hit, int mask) const
{
    if (mask)
        walkTree<false>(tree, owner, getTransform(owner), ray, tMin, hit, PacketWalk{mask});
}

void znRTBVHIntersector::intersectShadow(const znRTIntersector* owner, const znRTRayPacket& ray,
                                         int lane, const znFloatType<2>& tMin,
                                         const znFloatType<2>&, znRTHitInfoPacket& hit) const
{
    walkTree<true>(tree, owner, getTransform(owner), ray, tMin, hit, LaneWalk{lane});
}

void znRTBVHIntersector::intersectShadow(const znRTIntersector* owner, const znRTRayPacket& ray,
                                         const znFloatType<2>& tMin, const znFloatType<2>&,
                                         znRTHitInfoPacket& hit, int mask) const
{
    if (mask)
        walkTree<true>(tree, owner, getTransform(owner), ray, tMin, hit, PacketWalk{mask});
}

void znRTBVHIntersector::intersectShadowNoTransform(const znRTIntersector* owner,
                                                    const znRTRayPacket& ray, int lane,
                                                    const znFloatType<2>& tMin,
                                                    const znFloatType<2>&,
                                                    znRTHitInfoPacket& hit) const
{
    walkTree<true>(tree, owner, nullptr, ray, tMin, hit, LaneWalk{lane});
}

void znRTBVHIntersector::intersectShadowNoTransform(const znRTIntersector* owner,
                                                    const znRTRayPacket& ray,
                                                    const znFloatType<2>& tMin,
                                                    const znFloatType<2>&, znRTHitInfoPacket& hit,
                                                    int mask) const
{
    if (mask)
        walkTree<true>(tree, owner, nullptr, ray, tMin, hit, PacketWalk{mask});
}
