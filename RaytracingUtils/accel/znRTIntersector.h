#pragma once

// What a tree over objects holds at its leaves: the frame that joins a geometry node, the traverser
// with the node's tree and the leaf test. The leaf can be exchanged (sides, displacement) without a
// rebuild of the tree.

#include "accel/znRTGeometryType.h"
#include "accel/znRTIntersectorTraverser.h"
#include "accel/znRTLeafIntersector.h"
#include "core/znDynArray.h"
#include "core/znIntType.h"
#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"

class znRTClippingShape;

class znRTIntersector : public znAlignedBase16
{
public:
    using AcceleratorType = ::AcceleratorType;
    using GeometryType = ::GeometryType;

    znRTIntersector(znRTGeometryNode* node, int index, AcceleratorType acceleratorType,
                    GeometryType geometryType);

    // The order of the virtual operations is part of the interface.
    virtual bool isValid() const;
    /// Number of primitives.
    virtual u64 getCount() const = 0;
    virtual ~znRTIntersector();
    /// Fills the primitive list and builds the tree, unless another node of the same core did.
    /// @return false when there was nothing to do
    virtual bool initialize() = 0;
    virtual void build(unsigned int quality) = 0;
    virtual void rebuild() = 0;
    virtual void clear() = 0;
    virtual u64 getMemoryUsage() const;
    /// @param areas  receives one world area per primitive
    /// @return their sum
    virtual float calculatePrimitiveAreas(znDynArray<float>& areas) const = 0;
    /// A point on a primitive per lane, in world space. Here: position 0, normal (0, 0, 1),
    /// uv (0.5, 0.5), area 0; geometry that can be sampled overrides it.
    /// @param random  two numbers in [0, 1) per lane
    virtual void getSample(const znFloatType<2>& laneMask, const znIntType<2>& primitive,
                           const znRTVector2fPacket& random, znRTVector3fPacket& position,
                           znRTVector3fPacket& normal, znRTVector2fPacket& uv,
                           znFloatType<2>& area) const;
    /// World position and normal of the hits in the hit mask; the same answer as getSample here.
    virtual void getPositionAndNormal(const znFloatType<2>& laneMask, znRTHitInfoPacket& hit,
                                      znRTVector3fPacket& position, znRTVector3fPacket& normal,
                                      znRTVector2fPacket& uv, znFloatType<2>& area) const;
    /// Texture coordinates of a set at the hits; 0 without that set.
    virtual void getUVs(unsigned int set, znRTHitInfoPacket& hit, znRTVector2fPacket& uv) const;

    /// Creates the traverser of a type; one that exists gives up its key and goes first.
    void init(AcceleratorType acceleratorType, GeometryType geometryType);

    // All forms below forward to the traverser; see znRTIntersectorTraverser for their contract.
    void intersect(const znRTRayPacketBundle& bundle, const znFloatType<2>* tMin,
                   const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits, const int* masks,
                   unsigned int first) const
    {
        traverser->intersect(this, bundle, tMin, tMax, hits, masks, first);
    }
    void intersect(const znRTRayPacket& ray, const znFloatType<2>& tMin, const znFloatType<2>& tMax,
                   znRTHitInfoPacket& hit, int mask) const
    {
        traverser->intersect(this, ray, tMin, tMax, hit, mask);
    }
    void intersect(const znRTRayPacket& ray, int lane, const znFloatType<2>& tMin,
                   const znFloatType<2>& tMax, znRTHitInfoPacket& hit) const
    {
        traverser->intersect(this, ray, lane, tMin, tMax, hit);
    }
    void intersectShadow(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                         const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask) const
    {
        traverser->intersectShadow(this, ray, tMin, tMax, hit, mask);
    }
    void intersectShadow(const znRTRayPacket& ray, int lane, const znFloatType<2>& tMin,
                         const znFloatType<2>& tMax, znRTHitInfoPacket& hit) const
    {
        traverser->intersectShadow(this, ray, lane, tMin, tMax, hit);
    }
    void intersectNoTransform(const znRTRayPacketBundle& bundle, const znFloatType<2>* tMin,
                              const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits,
                              const int* masks, unsigned int first) const
    {
        traverser->intersectNoTransform(this, bundle, tMin, tMax, hits, masks, first);
    }
    void intersectNoTransform(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                              const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask) const
    {
        traverser->intersectNoTransform(this, ray, tMin, tMax, hit, mask);
    }
    void intersectNoTransform(const znRTRayPacket& ray, int lane, const znFloatType<2>& tMin,
                              const znFloatType<2>& tMax, znRTHitInfoPacket& hit) const
    {
        traverser->intersectNoTransform(this, ray, lane, tMin, tMax, hit);
    }
    void intersectShadowNoTransform(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                    const znFloatType<2>& tMax, znRTHitInfoPacket& hit,
                                    int mask) const
    {
        traverser->intersectShadowNoTransform(this, ray, tMin, tMax, hit, mask);
    }
    void intersectShadowNoTransform(const znRTRayPacket& ray, int lane, const znFloatType<2>& tMin,
                                    const znFloatType<2>& tMax, znRTHitInfoPacket& hit) const
    {
        traverser->intersectShadowNoTransform(this, ray, lane, tMin, tMax, hit);
    }

    bool isTransparent() const { return transparent; }
    /// Sets the intersector and its leaf.
    void setTransparent(bool isTransparent);
    /// Sets the intersector and its leaf.
    void setGeometryIndex(int index);
    int getGeometryIndex() const { return geometryIndex; }
    /// True if clipping shapes apply to this object: it is clipped and has connected shapes.
    bool isClippingEnable() const;
    bool isClipped() const;
    const znDynArray<const znRTClippingShape*>& getClippingShapes() const;
    /// Bits of ray types that see the node; those for a view with a backplate while one is present.
    u32 getVisibilityFlags() const;

    znRTGeometryNode* getNode() const { return node; }
    void setNode(znRTGeometryNode* newNode) { node = newNode; }
    znRTLeafIntersector* getLeaf() const { return leaf; }
    /// Takes the leaf over; the one before is deleted. Index and transparency are handed on.
    void setLeaf(znRTLeafIntersector* newLeaf);
    znRTIntersectorTraverser* getTraverser() const { return traverser; }

protected:
    znRTGeometryNode* node;
    int geometryIndex;
    bool transparent = false;
    znRTLeafIntersector* leaf = nullptr;           ///< owned
    znRTIntersectorTraverser* traverser = nullptr; ///< owned
};
