#include "accel/znRTBVHIntersector.h"

#include "accel/znRTBVHBuilder.h"
#include "accel/znRTIntersector.h"
#include "accel/znRTLineSegment.h"
#include "accel/znRTPoint.h"
#include "accel/znRTSurfaceFragment.h"
#include "core/znRTBoundingBox.h"

#include <algorithm>
#include <tbb/concurrent_hash_map.h>
#include <tbb/parallel_for.h>

namespace {
using SharedTrees = tbb::concurrent_hash_map<unsigned long long, znRTSharedTree*>;

SharedTrees& sharedTrees()
{
    static SharedTrees trees;
    return trees;
}

/// Finds the tree of a key and counts the caller in, or makes it with a count of one. Counting
/// happens under the accessor, so that a tree cannot go between being found and being counted.
znRTSharedTree* acquireTree(unsigned long long key)
{
    if (key == 0)
        return new znRTSharedTree;
    SharedTrees::accessor entry;
    if (sharedTrees().insert(entry, key))
        entry->second = new znRTSharedTree;
    else
        ++entry->second->useCount;
    return entry->second;
}

void releaseTree(unsigned long long key, znRTSharedTree* tree)
{
    if (key == 0) {
        delete tree;
        return;
    }
    SharedTrees::accessor entry;
    if (!sharedTrees().find(entry, key) || entry->second != tree)
        return;
    if (--tree->useCount > 0)
        return;
    sharedTrees().erase(entry);
    delete tree;
}

template <class T>
void buildTree(znRTBVHIntersector& target, void* primitives, znRTBoundingBox& box,
               znDynArray<znRTBoundingBox>& boxes, unsigned int maxLeafSize)
{
    znDynBlockArray<znRTBVHNode> blocks;
    znRTBVHBuilder<T>(static_cast<T*>(primitives), boxes, box, maxLeafSize, blocks).run();
    target.copyTreeToArray(blocks);
}

/// Copies the vertices of one leaf, component by component.
void copyLeaf(float* out, const float* positions, const znRTTriangle* triangles, u32 count)
{
    for (u32 k = 0; k < count; ++k) {
        const u32 corners[3] = {triangles[k].a, triangles[k].b, triangles[k].c};
        for (u32 c = 0; c < 3; ++c)
            for (u32 axis = 0; axis < 3; ++axis)
                out[(3 * c + axis) * count + k] = positions[3 * u64(corners[c]) + axis];
    }
}
} // namespace

znRTBVHIntersector::znRTBVHIntersector(unsigned long long sharingKey)
    : key(sharingKey), tree(acquireTree(sharingKey))
{
}

znRTBVHIntersector::~znRTBVHIntersector()
{
    release();
}

void znRTBVHIntersector::release()
{
    if (tree)
        releaseTree(key, tree);
    tree = nullptr;
}

void znRTBVHIntersector::clear(unsigned long long sharingKey)
{
    if (sharingKey == key)
        release();
}

u64 znRTBVHIntersector::getMemoryUsage() const
{
    if (!tree)
        return sizeof(*this);
    return sizeof(*this) + sizeof(*tree) + tree->nodes.capacity * sizeof(znRTBVHNode) +
           tree->leafPositions.capacity * sizeof(float);
}

void znRTBVHIntersector::build(const znRTIntersector*, znRTGeometryNode*, znRTBoundingBox&,
                               znDynArray<znRTDynamicAcceleratorNode>&)
{
    // Trees over intersectors are the other traverser's.
}

void znRTBVHIntersector::build(const znRTIntersector*, znRTGeometryNode*, void* primitives,
                               znRTBoundingBox& box, znDynArray<znRTBoundingBox>& boxes,
                               GeometryType type, unsigned int maxLeafSize)
{
    if (!tree)
        tree = acquireTree(key);
    tree->primitiveCount = boxes.size;
    tree->leafPositions.clear();
    switch (type) {
    case GeometryType::triangles:
        return buildTree<znRTTriangle>(*this, primitives, box, boxes, maxLeafSize);
    case GeometryType::surfaceFragments:
        return buildTree<znRTSurfaceFragment>(*this, primitives, box, boxes, maxLeafSize);
    case GeometryType::lines:
        return buildTree<znRTLineSegment>(*this, primitives, box, boxes, maxLeafSize);
    case GeometryType::points:
        return buildTree<znRTPoint>(*this, primitives, box, boxes, maxLeafSize);
    }
}

bool znRTBVHIntersector::isValid() const
{
    return tree && tree->nodes.size > 0 && tree->primitiveCount > 0;
}

void znRTBVHIntersector::copyPositions(const float* positions, const znRTTriangle* triangles)
{
    constexpr u64 padding = 16;
    if (!isValid())
        return;
    tree->leafPositions.clear();
    tree->leafPositions.reserve(9 * tree->primitiveCount + padding, true);
    float* const out = tree->leafPositions.data;
    if (!out)
        return;
    std::fill_n(out + 9 * tree->primitiveCount, padding, 0.0f);
    const auto copyLeaves = [&](const tbb::blocked_range<u64>& range) {
        for (u64 i = range.begin(); i != range.end(); ++i)
            for (const u64 reference : {tree->nodes[i].left, tree->nodes[i].right})
                if (znRTBVHNode::isLeaf(reference)) {
                    const u32 first = znRTBVHNode::getFirst(reference);
                    copyLeaf(out + 9 * u64(first), positions, triangles + first,
                             znRTBVHNode::getCount(reference));
                }
    };
    tbb::parallel_for(tbb::blocked_range<u64>(0, tree->nodes.size, 1024), copyLeaves);
}

void znRTBVHIntersector::clearStatics()
{
    for (const auto& [key, tree] : sharedTrees())
        delete tree;
    sharedTrees().clear();
}

u64 znRTBVHIntersector::getSharedCount()
{
    return sharedTrees().size();
}
