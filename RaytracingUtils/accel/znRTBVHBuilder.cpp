#include "accel/znRTBVHBuilder.h"

#include "accel/znRTBVHIntersector.h"
#include "core/znRTFloatControl.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_reduce.h>
#include <tbb/scalable_allocator.h>
#include <tbb/task_arena.h>

#include <new>

namespace {
/// From this size on a node's primitives are counted by several threads.
constexpr u64 s_parallelCount = 1 << 16;

/// Work of a build on other threads runs under the float control of the one that started it.
tbb::task_group_context::kind_type boundKind()
{
    return tbb::task_group_context::bound;
}
constexpr auto s_contextTraits =
    tbb::task_group_context::default_traits | tbb::task_group_context::fp_settings;

void countInParallel(znRTSplitBins& bins, const znRTSplitPlanes& planes,
                     const znRTBuildReference* begin, u64 n)
{
    using Range = tbb::blocked_range<u64>;
    const auto count = [&](const Range& range, znRTSplitBins part) {
        part.add(planes, begin + range.begin(), begin + range.end());
        return part;
    };
    const auto join = [](znRTSplitBins a, const znRTSplitBins& b) {
        a.add(b);
        return a;
    };
    tbb::task_group_context context(boundKind(), s_contextTraits);
    // Isolated: while it waits, this thread must not start on another subtree.
    tbb::this_task_arena::isolate([&] {
        bins = tbb::parallel_reduce(Range(0, n, s_parallelCount / 4), bins, count, join,
                                    tbb::auto_partitioner(), context);
    });
}

/// Puts what is at or below the position to the front by exchanges.
template <int Axis>
u64 exchange(znRTBuildReference* refs, u64 first, u64 last, float position, znRTBuildBox& left,
             znRTBuildBox& right)
{
    const znFloatType<2> positions(position);
    u64 split = first;
    for (u64 i = first; i < last; ++i) {
        const znFloatType<2> low = refs[i].getLow(), high = refs[i].getHigh();
        const znFloatType<2> isLeft = positions >= refs[i].getCenter();
        const znFloatType<2> mask =
            _mm_shuffle_ps(isLeft.v, isLeft.v, _MM_SHUFFLE(Axis, Axis, Axis, Axis));
        left.growIf(mask, low, high);
        right.growIf(~mask, low, high);
        // A primitive that goes right is exchanged with itself, which saves the branch.
        const u64 goesLeft = u64(moveMask(mask) & 1);
        znRTBuildReference* const other = refs + (goesLeft ? split : i);
        const znFloatType<2> otherLow = other->getLow(), otherHigh = other->getHigh();
        otherLow.store(refs[i].low);
        otherHigh.store(refs[i].high);
        low.store(other->low);
        high.store(other->high);
        split += goesLeft;
    }
    return split;
}

void storeBox(znRTBVHNode& node, bool isRight, const znRTBuildBox& box)
{
    alignas(16) float low[4], high[4];
    box.low.store(low);
    box.high.store(high);
    if (isRight)
        node.setRightBox(low, high);
    else
        node.setLeftBox(low, high);
}
} // namespace

znRTBVHBuilderNode* znRTBVHBuilderNode::create(const znRTBVHBuilderNode& value)
{
    void* const memory = scalable_aligned_malloc(sizeof(znRTBVHBuilderNode), 64);
    if (!memory)
        throw std::bad_alloc();
    return new (memory) znRTBVHBuilderNode(value);
}

void znRTBVHBuilderNode::destroy(znRTBVHBuilderNode* item)
{
    scalable_aligned_free(item);
}

znRTBVHTreeBuilder::znRTBVHTreeBuilder(znRTBuildReference* references, u64 n,
                                       const znRTBoundingBox& box, u32 maxLeafSize,
                                       znDynBlockArray<znRTBVHNode>& nodeStore)
    : refs(references), count(n), maxLeaf(maxLeafSize), blocks(nodeStore)
{
    rootBox.low = znFloatType<2>(box.xmin, box.ymin, box.zmin, 0.0f);
    rootBox.high = znFloatType<2>(box.xmax, box.ymax, box.zmax, 0.0f);
}

void znRTBVHTreeBuilder::run()
{
    blocks.reserve(count);
    znRTBVHNode* const root = blocks.get(blocks.take());
    if (!root)
        return;
    znRTBVHBuilderNode* const item = znRTBVHBuilderNode::create({rootBox, root, 0, count, 0});
    if (count < s_minSpawn)
        return process(item, nullptr);
    const znRTFloatControl floatControl;
    tbb::task_group_context context(tbb::task_group_context::isolated, s_contextTraits);
    znRTBVHBuilderNode* const items[] = {item};
    tbb::parallel_for_each(
        items, items + 1,
        [this](znRTBVHBuilderNode* work, Feeder& feeder) { process(work, &feeder); }, context);
}

znRTSplit znRTBVHTreeBuilder::findBestApproximation(const znRTBuildReference* references, u64 first,
                                                    u64 last, const znRTBuildBox& box)
{
    const u64 n = last - first;
    if (n <= s_maxExact)
        return znRTExactNodes(references + first, u32(n)).findSplit(0, u32(n), box);
    const znRTSplitPlanes planes(box);
    znRTSplitBins bins;
    bins.clear();
    if (n >= s_parallelCount)
        countInParallel(bins, planes, references + first, n);
    else
        bins.add(planes, references + first, references + last);
    znRTSplit split;
    bins.findSplit(planes, box, u32(n), split);
    return split;
}

/// Cuts an item's range in two and measures both sides.
/// @return first reference of the right side; neither side is empty
u64 znRTBVHTreeBuilder::cut(znRTBVHBuilderNode& item, znRTBuildBox& left, znRTBuildBox& right)
{
    u64 middle = item.first;
    if (item.depth <= s_maxSearchDepth) {
        const znRTSplit split = findBestApproximation(refs, item.first, item.last, item.box);
        if (split.found) {
            const auto run = split.axis == 0   ? exchange<0>
                             : split.axis == 1 ? exchange<1>
                                               : exchange<2>;
            middle = run(refs, item.first, item.last, split.position, left, right);
        }
    }
    if (middle == item.first || middle == item.last) {
        left = right = {};
        middle = item.first + (item.last - item.first) / 2;
        for (u64 i = item.first; i < item.last; ++i)
            (i < middle ? left : right).grow(refs[i]);
    }
    return middle;
}

/// Writes a node with both boxes; a side of at most maxLeaf primitives becomes a leaf, for the
/// other sides nodes are taken from the store.
void znRTBVHTreeBuilder::takeChildren(znRTBVHNode* node, u64 first, u64 split, u64 last,
                                      const znRTBuildBox& left, const znRTBuildBox& right,
                                      znRTBVHNode*& leftNode, znRTBVHNode*& rightNode)
{
    const u64 leftCount = split - first, rightCount = last - split;
    const bool leftIsLeaf = leftCount <= maxLeaf, rightIsLeaf = rightCount <= maxLeaf;
    leftNode = rightNode = nullptr;
    u64 next = 0;
    if (!leftIsLeaf || !rightIsLeaf)
        next = blocks.take(u64(!leftIsLeaf) + u64(!rightIsLeaf));
    if (!leftIsLeaf)
        leftNode = blocks.get(next++);
    if (!rightIsLeaf)
        rightNode = blocks.get(next);
    const auto reference = [](bool isLeaf, u64 begin, u64 n, const znRTBVHNode* child) {
        if (isLeaf)
            return znRTBVHNode::encodeLeaf(u32(begin), u32(n));
        // Out of memory: what has no node is left out of the tree.
        return child ? znRTBVHNode::encodeNode(child) : znRTBVHNode::s_emptyReference;
    };
    storeBox(*node, false, left);
    storeBox(*node, true, right);
    node->left = reference(leftIsLeaf, first, leftCount, leftNode);
    node->right = reference(rightIsLeaf, split, rightCount, rightNode);
}

void znRTBVHTreeBuilder::process(znRTBVHBuilderNode* item, Feeder* feeder)
{
    const u64 n = item->last - item->first;
    if (n <= maxLeaf) {
        storeBox(*item->node, false, item->box);
        item->node->left = znRTBVHNode::encodeLeaf(u32(item->first), u32(n));
        item->node->setEmptyRight();
        return znRTBVHBuilderNode::destroy(item);
    }
    const znRTFloatControl floatControl;
    if (n < s_minSpawn && item->depth + n <= s_maxSearchDepth) {
        znRTExactNodes nodes(refs + item->first, u32(n));
        processExact(nodes, item->first, 0, u32(n), item->box, item->node, item->depth);
        nodes.store(refs + item->first);
        return znRTBVHBuilderNode::destroy(item);
    }
    znRTBuildBox left, right;
    const u64 split = cut(*item, left, right);
    znRTBVHNode *leftNode, *rightNode;
    takeChildren(item->node, item->first, split, item->last, left, right, leftNode, rightNode);
    const u64 last = item->last;
    const u32 depth = item->depth + 1;
    if (rightNode) {
        znRTBVHBuilderNode* const rightItem =
            leftNode ? znRTBVHBuilderNode::create({right, rightNode, split, last, depth}) : item;
        if (!leftNode) {
            *item = {right, rightNode, split, last, depth};
            return process(item, feeder);
        }
        // Left continues in this call while the right half is stolen.
        if (n >= s_minSpawn && feeder) {
            spawnCount.fetch_add(1, std::memory_order_relaxed);
            feeder->add(rightItem);
        } else
            process(rightItem, feeder);
    }
    if (!leftNode)
        return znRTBVHBuilderNode::destroy(item);
    *item = {left, leftNode, item->first, split, depth};
    process(item, feeder);
}

/// Builds a small subtree on lists that stay sorted.
/// @param base  first reference of the lists
void znRTBVHTreeBuilder::processExact(znRTExactNodes& nodes, u64 base, u32 begin, u32 end,
                                      const znRTBuildBox& box, znRTBVHNode* node, u32 depth)
{
    znRTBuildBox left, right;
    const znRTSplit split = nodes.findSplit(begin, end, box);
    const u32 middle = nodes.partition(begin, end, split, left, right);
    znRTBVHNode *leftNode, *rightNode;
    takeChildren(node, base + begin, base + middle, base + end, left, right, leftNode, rightNode);
    if (rightNode)
        processExact(nodes, base, middle, end, right, rightNode, depth + 1);
    if (leftNode)
        processExact(nodes, base, begin, middle, left, leftNode, depth + 1);
}
