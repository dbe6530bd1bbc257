#pragma once

// Builds a tree whose leaves are single objects: the top level of a scene and the inside of a
// shell. Cuts go where the surface area heuristic over whole boxes is cheapest: up to 64 objects at
// their middles, above at 32 planes per axis.

#include "accel/znRTDynamicAcceleratorNode.h"
#include "accel/znRTDynamicBVHNode.h"
#include "core/znDynArray.h"

#include <atomic>
#include <tbb/parallel_for_each.h>

/// Best cut of a range of objects; found stays false when no candidate has objects on both sides.
struct znRTDynamicSplit
{
    float cost;
    float position;
    int axis;
    bool found;
};

struct znRTDynamicBVHBuilderNode
{
    znRTDynamicBVHNode* node;
    u64 first, last; ///< range of objects, last is one past the end
    float box[6];
    u32 depth;
};

class znRTDynamicBVHBuilder
{
public:
    static constexpr u64 s_maxExact = 64;
    static constexpr u32 s_planeCount = 32;
    static constexpr u64 s_minSpawn = 32;
    /// Deeper nodes are halved without a search.
    static constexpr u32 s_maxSearchDepth = 100;

    /// @param objects  is permuted
    znRTDynamicBVHBuilder(znRTDynamicAcceleratorNode* objects, u64 count,
                          znDynArray<znRTDynamicBVHNode>& nodes);

    /// Sizes the node array to max(count, 2) - 1 and fills it; node 0 is the root. No objects give
    /// the empty tree.
    /// @return the box of all objects, six values; inside out without objects
    void run(float* box);

    static znRTDynamicSplit findBestApproximation(const znRTDynamicAcceleratorNode* objects,
                                                  u64 first, u64 last, const float* box);

private:
    using Feeder = tbb::feeder<znRTDynamicBVHBuilderNode*>;

    void process(znRTDynamicBVHBuilderNode* item, Feeder* feeder);
    u64 cut(const znRTDynamicBVHBuilderNode& item, float* left, float* right);
    void cutNode(znRTDynamicBVHBuilderNode* item, Feeder* feeder);

    znRTDynamicAcceleratorNode* objects;
    u64 count;
    znDynArray<znRTDynamicBVHNode>& nodes;
    std::atomic<u64> nextNode{1};
};
