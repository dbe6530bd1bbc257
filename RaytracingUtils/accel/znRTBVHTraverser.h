#pragma once

// Tree of a shell over the intersectors of its children, and its walks. The rays are taken to the
// shell's space once; the children share its transform and are called without one. A child's own
// visibility is tested at the leaf, so that a hidden piece of a visible shell is not hit.

#include "accel/znRTDynamicBVHNode.h"
#include "accel/znRTIntersectorTraverser.h"

class znRTBVHTraverser : public znRTIntersectorTraverser
{
public:
    void clear(unsigned long long key) override;
    u64 getMemoryUsage() const override;
    void build(const znRTIntersector* owner, znRTGeometryNode* node, znRTBoundingBox& box,
               znDynArray<znRTDynamicAcceleratorNode>& objects) override;
    void build(const znRTIntersector* owner, znRTGeometryNode* node, void* primitives,
               znRTBoundingBox& box, znDynArray<znRTBoundingBox>& boxes, GeometryType type,
               unsigned int maxLeafSize) override;
    /// True once a tree over at least one child is there.
    bool isValid() const override;

    void intersectNoTransform(const znRTIntersector* owner, const znRTRayPacketBundle& bundle,
                              const znFloatType<2>* tMin, const znFloatType<2>* tMax,
                              znRTHitInfoPacketBundle& hits, const int* masks,
                              unsigned int first) const override;
    void intersectNoTransform(const znRTIntersector* owner, const znRTRayPacket& ray,
                              const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                              znRTHitInfoPacket& hit, int mask) const override;
    void intersectNoTransform(const znRTIntersector* owner, const znRTRayPacket& ray, int lane,
                              const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                              znRTHitInfoPacket& hit) const override;
    void intersect(const znRTIntersector* owner, const znRTRayPacketBundle& bundle,
                   const znFloatType<2>* tMin, const znFloatType<2>* tMax,
                   znRTHitInfoPacketBundle& hits, const int* masks,
                   unsigned int first) const override;
    void intersect(const znRTIntersector* owner, const znRTRayPacket& ray, int lane,
                   const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                   znRTHitInfoPacket& hit) const override;
    void intersect(const znRTIntersector* owner, const znRTRayPacket& ray,
                   const znFloatType<2>& tMin, const znFloatType<2>& tMax, znRTHitInfoPacket& hit,
                   int mask) const override;
    void intersectShadow(const znRTIntersector* owner, const znRTRayPacket& ray, int lane,
                         const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                         znRTHitInfoPacket& hit) const override;
    void intersectShadow(const znRTIntersector* owner, const znRTRayPacket& ray,
                         const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                         znRTHitInfoPacket& hit, int mask) const override;
    void intersectShadowNoTransform(const znRTIntersector* owner, const znRTRayPacket& ray,
                                    int lane, const znFloatType<2>& tMin,
                                    const znFloatType<2>& tMax,
                                    znRTHitInfoPacket& hit) const override;
    void intersectShadowNoTransform(const znRTIntersector* owner, const znRTRayPacket& ray,
                                    const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                                    znRTHitInfoPacket& hit, int mask) const override;

    const znDynArray<znRTDynamicBVHNode>& getNodes() const { return nodes; }

private:
    znDynArray<znRTDynamicBVHNode> nodes{64};
    u64 childCount = 0;
};
