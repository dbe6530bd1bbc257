#pragma once

// Builds the tree over a geometry's primitives: binary, cut where the surface area heuristic is
// cheapest (J. Goldsmith, J. Salmon, "Automatic Creation of Object Hierarchies for Ray Tracing",
// 1987), with leaves of up to four primitives. Only the extent along the cut axis is measured; the
// other two are those of the node. Above 64 primitives sixteen planes per axis are candidates (I.
// Wald, "On fast Construction of SAH-based Bounding Volume Hierarchies", 2007), at or below the
// middles of all primitives.
//
// Work items are disjoint ranges of one array, so threads share nothing but the node store.

#include "accel/build/buildReference.h"
#include "accel/build/exactSearch.h"
#include "accel/build/planeSearch.h"
#include "accel/znDynBlockArray.h"
#include "accel/znRTBVHNode.h"
#include "core/znDynArray.h"
#include "core/znRTBoundingBox.h"

#include <tbb/parallel_for.h>
#include <tbb/parallel_for_each.h>
#include <tbb/task_group.h>

/// Work item of a build: one node and its range. From the scalable allocator; whoever finishes the
/// subtree frees it.
struct alignas(16) znRTBVHBuilderNode
{
    znRTBuildBox box;
    znRTBVHNode* node;
    u64 first, last; ///< range of references, last is one past the end
    u32 depth;

    static znRTBVHBuilderNode* create(const znRTBVHBuilderNode& value);
    static void destroy(znRTBVHBuilderNode* item);
};

/// The build over references, whatever they stand for.
class znRTBVHTreeBuilder
{
public:
    /// Most primitives of a node that is searched exactly.
    static constexpr u64 s_maxExact = znRTExactNodes::s_maxCount;
    /// Below this size spawning costs more than the work.
    static constexpr u64 s_minSpawn = 32;
    /// Deeper nodes are halved without a search; no tree of real geometry comes near.
    static constexpr u32 s_maxSearchDepth = 400;

    znRTBVHTreeBuilder(znRTBuildReference* references, u64 count, const znRTBoundingBox& box,
                       u32 maxLeafSize, znDynBlockArray<znRTBVHNode>& blocks);

    void run();

    /// Best cut of a range.
    /// @param box  of the range
    static znRTSplit findBestApproximation(const znRTBuildReference* references, u64 first,
                                           u64 last, const znRTBuildBox& box);

    /// Right halves that were handed to the scheduler.
    u64 getSpawnCount() const { return spawnCount; }

private:
    using Feeder = tbb::feeder<znRTBVHBuilderNode*>;

    void process(znRTBVHBuilderNode* item, Feeder* feeder);
    void processExact(znRTExactNodes& nodes, u64 base, u32 begin, u32 end, const znRTBuildBox& box,
                      znRTBVHNode* node, u32 depth);
    u64 cut(znRTBVHBuilderNode& item, znRTBuildBox& left, znRTBuildBox& right);
    void takeChildren(znRTBVHNode* node, u64 first, u64 split, u64 last, const znRTBuildBox& left,
                      const znRTBuildBox& right, znRTBVHNode*& leftNode, znRTBVHNode*& rightNode);

    znRTBuildReference* refs;
    u64 count;
    znRTBuildBox rootBox;
    u32 maxLeaf;
    znDynBlockArray<znRTBVHNode>& blocks;
    std::atomic<u64> spawnCount{0};
};

/// @tparam T  kind of primitive; trivially copyable
template <class T>
class znRTBVHBuilder
{
public:
    /// @param primitives, boxes  permuted alike; one box per primitive to build
    znRTBVHBuilder(T* primitives, znDynArray<znRTBoundingBox>& boxes, const znRTBoundingBox& box,
                   u32 maxLeafSize, znDynBlockArray<znRTBVHNode>& blocks)
        : items(primitives), itemBoxes(boxes), rootBox(box), maxLeaf(maxLeafSize), nodes(blocks)
    {
    }

    void run();

private:
    using Range = tbb::blocked_range<u64>;
    static constexpr u64 s_grain = 8192;

    T* items;
    znDynArray<znRTBoundingBox>& itemBoxes;
    const znRTBoundingBox& rootBox;
    u32 maxLeaf;
    znDynBlockArray<znRTBVHNode>& nodes;
};

template <class T>
void znRTBVHBuilder<T>::run()
{
    const u64 n = itemBoxes.size;
    znDynArray<znRTBuildReference> references(64);
    references.reserve(n, true);
    if (!references.data)
        return;
    tbb::parallel_for(Range(0, n, s_grain), [&](const Range& range) {
        for (u64 i = range.begin(); i != range.end(); ++i) {
            const znRTBoundingBox& b = itemBoxes[i];
            references[i] = {{b.xmin, b.ymin, b.zmin}, u32(i), {b.xmax, b.ymax, b.zmax}, 0};
        }
    });
    znRTBVHTreeBuilder(references.data, n, rootBox, maxLeaf, nodes).run();

    znDynArray<T> unsorted;
    unsorted.reserve(n, true);
    if (!unsorted.data)
        return nodes.clear(); // leaves would name primitives that are not there
    std::copy(items, items + n, unsorted.data);
    tbb::parallel_for(Range(0, n, s_grain), [&](const Range& range) {
        for (u64 i = range.begin(); i != range.end(); ++i) {
            const znRTBuildReference& r = references[i];
            items[i] = unsorted[r.primitive];
            itemBoxes[i] =
                znRTBoundingBox({r.low[0], r.low[1], r.low[2]}, {r.high[0], r.high[1], r.high[2]});
        }
    });
}
