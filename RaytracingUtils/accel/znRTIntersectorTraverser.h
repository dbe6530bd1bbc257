#pragma once

// Walk of rays through the tree of one object: over primitives (znRTBVHIntersector) or, in a
// shell, over the intersectors of its children (znRTBVHTraverser). The tree belongs to the
// traverser, the test at the leaves to the intersector that is handed in.
//
// The plain forms take rays in world space and move them to object space; the NoTransform forms
// take the packet as it stands. A walk accepts hits strictly between tMin and the t of the hit
// packet: whoever starts a walk sets that t to the far end of the ray. tMax is not read. Lanes and
// packets outside the masks are never written; mask 0 writes nothing.

#include "accel/znRTDynamicAcceleratorNode.h"
#include "accel/znRTGeometryType.h"
#include "core/znDynArray.h"
#include "core/znFloatType.h"

class znRTBoundingBox;
class znRTHitInfoPacket;
class znRTHitInfoPacketBundle;
class znRTGeometryNode;
class znRTIntersector;
class znRTRayPacket;
class znRTRayPacketBundle;

class znRTIntersectorTraverser : public znAlignedBase32
{
public:
    virtual ~znRTIntersectorTraverser() = default;
    /// Gives up the tree shared under this key.
    virtual void clear(unsigned long long key) = 0;
    /// @return bytes, shared arrays counted in each sharer
    virtual u64 getMemoryUsage() const = 0;

    /// Builds a tree over intersectors and sorts the objects.
    virtual void build(const znRTIntersector* owner, znRTGeometryNode* node, znRTBoundingBox& box,
                       znDynArray<znRTDynamicAcceleratorNode>& objects) = 0;
    /// Builds a tree over primitives; primitives and boxes are permuted alike.
    /// @param boxes  one per primitive; entries of the primitive array behind them stay in place
    virtual void build(const znRTIntersector* owner, znRTGeometryNode* node, void* primitives,
                       znRTBoundingBox& box, znDynArray<znRTBoundingBox>& boxes, GeometryType type,
                       unsigned int maxLeafSize) = 0;
    virtual bool isValid() const = 0;

    /// @param first  index of the first packet of the bundle to trace
    virtual void intersectNoTransform(const znRTIntersector* owner,
                                      const znRTRayPacketBundle& bundle, const znFloatType<2>* tMin,
                                      const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits,
                                      const int* masks, unsigned int first) const = 0;
    virtual void intersectNoTransform(const znRTIntersector* owner, const znRTRayPacket& ray,
                                      const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                                      znRTHitInfoPacket& hit, int mask) const = 0;
    virtual void intersectNoTransform(const znRTIntersector* owner, const znRTRayPacket& ray,
                                      int lane, const znFloatType<2>& tMin,
                                      const znFloatType<2>& tMax, znRTHitInfoPacket& hit) const = 0;

    virtual void intersect(const znRTIntersector* owner, const znRTRayPacketBundle& bundle,
                           const znFloatType<2>* tMin, const znFloatType<2>* tMax,
                           znRTHitInfoPacketBundle& hits, const int* masks,
                           unsigned int first) const = 0;
    virtual void intersect(const znRTIntersector* owner, const znRTRayPacket& ray, int lane,
                           const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                           znRTHitInfoPacket& hit) const = 0;
    virtual void intersect(const znRTIntersector* owner, const znRTRayPacket& ray,
                           const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                           znRTHitInfoPacket& hit, int mask) const = 0;

    virtual void intersectShadow(const znRTIntersector* owner, const znRTRayPacket& ray, int lane,
                                 const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                                 znRTHitInfoPacket& hit) const = 0;
    virtual void intersectShadow(const znRTIntersector* owner, const znRTRayPacket& ray,
                                 const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                                 znRTHitInfoPacket& hit, int mask) const = 0;
    virtual void intersectShadowNoTransform(const znRTIntersector* owner, const znRTRayPacket& ray,
                                            int lane, const znFloatType<2>& tMin,
                                            const znFloatType<2>& tMax,
                                            znRTHitInfoPacket& hit) const = 0;
    virtual void intersectShadowNoTransform(const znRTIntersector* owner, const znRTRayPacket& ray,
                                            const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                                            znRTHitInfoPacket& hit, int mask) const = 0;
};
