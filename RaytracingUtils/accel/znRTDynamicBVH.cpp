#include "accel/znRTDynamicBVH.h"

#include "accel/walk/bundleWalk.h"
#include "accel/walk/objectTests.h"
#include "accel/walk/packetWalk.h"
#include "accel/znRTDynamicBVHBuilder.h"

namespace {
/// A walk with several lanes or one; without lanes nothing happens.
template <bool Shadow>
void walkObjects(u64 root, const znRTRayPacket& ray, const znFloatType<2>& tMin,
                 znRTHitInfoPacket& hit, int mask, bool clipping)
{
    if (!mask || znRTBVHNodeLayout::isLeaf(root))
        return;
    znRTObjectTest<Shadow, true> test(ray, tMin, hit, clipping);
    walkPacket<Shadow>(root, ray.invDirection, ray.origin, ray.direction, tMin, mask, test);
}
} // namespace

void znRTDynamicBVH::clear()
{
    dropTrees();
    znRTDynamicAccelerator::clear();
}

void znRTDynamicBVH::dropTrees()
{
    for (unsigned tree = 0; tree < treeCount; ++tree) {
        nodes[tree].clear();
        roots[tree] = znRTBVHNodeLayout::s_emptyReference;
    }
    recordCount = 0;
}

bool znRTDynamicBVH::optimize(float*)
{
    return nodes[all].size > 0;
}

bool znRTDynamicBVH::isValid() const
{
    return recordCount > 0 && nodes[all].size > 0 && sceneNodes.size > 0;
}

u64 znRTDynamicBVH::buildTreeIterative(unsigned int tree,
                                       znDynArray<znRTDynamicAcceleratorNode>& records)
{
    znDynArray<znRTDynamicBVHNode>& target = nodes[tree];
    target.clear();
    roots[tree] = znRTBVHNodeLayout::s_emptyReference;
    if (tree == all)
        recordCount = records.size;
    // Selections are empty most of the time: a tree without objects has no nodes then.
    if (records.size == 0 && tree != all)
        return 0;
    float box[6];
    znRTDynamicBVHBuilder(records.data, records.size, target).run(box);
    if (records.size > 0 && target.data)
        roots[tree] = znRTDynamicBVHNode::encodeNode(target.data);
    return target.capacity * sizeof(znRTDynamicBVHNode);
}

void znRTDynamicBVH::intersectCO(const znRTRayPacketBundle& rays, const znFloatType<2>* tMin,
                                 const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits,
                                 const int* masks, bool clipping) const
{
    walkBundle(roots[all], rays, tMin, tMax, hits, masks, clipping);
}

void znRTDynamicBVH::intersect(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                               const znFloatType<2>&, znRTHitInfoPacket& hit, int mask,
                               bool clipping) const
{
    walkObjects<false>(roots[all], ray, tMin, hit, mask, clipping);
}

void znRTDynamicBVH::intersectShadow(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                     const znFloatType<2>&, znRTHitInfoPacket& hit, int mask,
                                     bool clipping) const
{
    walkObjects<true>(roots[all], ray, tMin, hit, mask, clipping);
}

void znRTDynamicBVH::intersectSelection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                        const znFloatType<2>&, znRTHitInfoPacket& hit, int mask,
                                        bool clipping) const
{
    walkObjects<false>(roots[selected], ray, tMin, hit, mask, clipping);
}

void znRTDynamicBVH::intersectHierarchy(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                        const znFloatType<2>&, znRTHitInfoPacket& hit, int mask,
                                        bool clipping, unsigned int tree) const
{
    if (tree < treeCount)
        walkObjects<false>(roots[tree], ray, tMin, hit, mask, clipping);
}
