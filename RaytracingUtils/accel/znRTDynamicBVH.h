#pragma once

// The accelerator with its trees over objects, in world space, and the walks through them. Trees
// change between frames only; all walks are const and safe on any number of threads.

#include "accel/znRTDynamicAccelerator.h"
#include "accel/znRTDynamicBVHNode.h"

class znRTDynamicBVH : public znRTDynamicAccelerator
{
public:
    void clear() override;
    /// @return whether the tree over all objects has nodes; there is nothing else to do
    bool optimize(float* result) override;
    bool isValid() const override;
    void intersectCO(const znRTRayPacketBundle& rays, const znFloatType<2>* tMin,
                     const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits, const int* masks,
                     bool clipping) const override;
    void intersect(const znRTRayPacket& ray, const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                   znRTHitInfoPacket& hit, int mask, bool clipping) const override;
    void intersectShadow(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                         const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask,
                         bool clipping) const override;
    void intersectSelection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                            const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask,
                            bool clipping) const override;
    void intersectHierarchy(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                            const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask,
                            bool clipping, unsigned int tree) const override;
    bool refit(unsigned long long) override { return true; }

    const znDynArray<znRTDynamicBVHNode>& getNodes(unsigned int tree) const { return nodes[tree]; }

protected:
    u64 buildTreeIterative(unsigned int tree,
                           znDynArray<znRTDynamicAcceleratorNode>& records) override;
    void dropTrees() override;

private:
    znDynArray<znRTDynamicBVHNode> nodes[treeCount] = {
        znDynArray<znRTDynamicBVHNode>(64), znDynArray<znRTDynamicBVHNode>(64),
        znDynArray<znRTDynamicBVHNode>(64), znDynArray<znRTDynamicBVHNode>(64)};
    /// Address of the first node; 1 for a tree without objects.
    u64 roots[treeCount] = {1, 1, 1, 1};
    u64 recordCount = 0; ///< objects in the tree over all
};
