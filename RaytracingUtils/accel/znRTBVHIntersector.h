#pragma once

// Tree of one geometry over its primitives, and the walks of rays through it in object space.
//
// The tree belongs to a sharing key, not to the node: every node that shows the same core in the
// same way shares it, so instances cost nothing. Exactly one of them builds. Node addresses are
// absolute: the array never moves once it is built.

#include "accel/znDynBlockArray.h"
#include "accel/znRTBVHNode.h"
#include "accel/znRTIntersectorTraverser.h"
#include "accel/znRTTriangle.h"

#include <atomic>

/// What the nodes of one sharing key have in common.
struct znRTSharedTree
{
    std::atomic<int> useCount{1};
    znDynArray<znRTBVHNode> nodes{64}; ///< depth first, a left child directly behind its parent
    u64 primitiveCount = 0;
    /// Vertex positions of triangles in the order of the leaves; empty if copyPositions was not
    /// called. A leaf of n triangles starting at primitive first has its 9 n floats at 9 first:
    /// n values of A.x, then n of A.y, and so on to C.z, so that a test reads whole registers
    /// without indices. 16 floats of padding keep the last leaf's loads inside.
    znDynArray<float> leafPositions{64};
};

class znRTBVHIntersector : public znRTIntersectorTraverser
{
public:
    /// @param key  sharing key; 0 gives a tree of its own
    explicit znRTBVHIntersector(unsigned long long key);
    ~znRTBVHIntersector() override;
    znRTBVHIntersector(const znRTBVHIntersector&) = delete;
    znRTBVHIntersector& operator=(const znRTBVHIntersector&) = delete;

    /// Gives up the share; the last one frees the tree. A key that is not the own one is ignored:
    /// by the time it comes, the node may already show another core.
    void clear(unsigned long long key) override;
    u64 getMemoryUsage() const override;
    void build(const znRTIntersector* owner, znRTGeometryNode* node, znRTBoundingBox& box,
               znDynArray<znRTDynamicAcceleratorNode>& objects) override;
    void build(const znRTIntersector* owner, znRTGeometryNode* node, void* primitives,
               znRTBoundingBox& box, znDynArray<znRTBoundingBox>& boxes, GeometryType type,
               unsigned int maxLeafSize) override;
    /// True once a tree with at least one primitive is there.
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

    /// Keeps a copy of the vertex positions in leaf order (36 bytes per triangle), which plain
    /// triangle leaves are then tested from. To be called after each build by whoever built; the
    /// results are the same with and without.
    void copyPositions(const float* positions, const znRTTriangle* triangles);

    /// Flattens a build's nodes into the shared array; an array of nothing gives the empty tree.
    /// The block array is released.
    void copyTreeToArray(znDynBlockArray<znRTBVHNode>& blocks);

    const znDynArray<znRTBVHNode>& getNodes() const { return tree->nodes; }
    const znRTSharedTree& getTree() const { return *tree; }
    unsigned long long getKey() const { return key; }

    /// Empties the process-wide table of shared trees.
    static void clearStatics();
    /// Number of keys in use.
    static u64 getSharedCount();

private:
    void release();

    unsigned long long key;
    znRTSharedTree* tree;
};
