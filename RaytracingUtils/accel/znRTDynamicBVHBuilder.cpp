#include "accel/znRTDynamicBVHBuilder.h"

#include "core/znRTFloatControl.h"

#include <algorithm>
#include <limits>
#include <tbb/parallel_for.h>
#include <tbb/scalable_allocator.h>
#include <tbb/task_arena.h>

namespace {
constexpr float s_infinity = std::numeric_limits<float>::infinity();
constexpr float s_degenerateExtent = 1e-6f;
/// From this size on the three axes are searched by several threads.
constexpr u64 s_parallelSearch = 4096;
constexpr auto s_contextTraits =
    tbb::task_group_context::default_traits | tbb::task_group_context::fp_settings;

struct Box
{
    float v[6] = {s_infinity, -s_infinity, s_infinity, -s_infinity, s_infinity, -s_infinity};

    void grow(const float* other)
    {
        for (int axis = 0; axis < 3; ++axis) {
            v[2 * axis] = std::min(v[2 * axis], other[2 * axis]);
            v[2 * axis + 1] = std::max(v[2 * axis + 1], other[2 * axis + 1]);
        }
    }
    float getHalfSurface() const
    {
        const float dx = v[1] - v[0], dy = v[3] - v[2], dz = v[5] - v[4];
        return dx * dy + dz * dy + dz * dx;
    }
};

/// Infinity where a side is empty or the cost is not a number.
float getCost(const Box& left, u32 leftCount, const Box& right, u32 rightCount)
{
    if (leftCount == 0 || rightCount == 0)
        return s_infinity;
    const float cost =
        left.getHalfSurface() * float(leftCount) + right.getHalfSurface() * float(rightCount);
    return cost == cost ? cost : s_infinity;
}

/// Takes the cheapest of the candidates, four at a time: within a group the last of equal ones,
/// between groups the first.
void select(const float* costs, const float* positions, u32 count, int axis,
            znRTDynamicSplit& split)
{
    for (u32 group = 0; group < count; group += 4) {
        u32 best = group;
        for (u32 i = group + 1; i < group + 4; ++i)
            if (costs[i] <= costs[best])
                best = i;
        if (costs[best] < split.cost)
            split = {costs[best], positions[best], axis, true};
    }
}

void searchMiddles(const znRTDynamicAcceleratorNode* objects, u32 n, int axis,
                   znRTDynamicSplit& split)
{
    constexpr u32 maximum = u32(znRTDynamicBVHBuilder::s_maxExact);
    u32 order[maximum];
    for (u32 i = 0; i < n; ++i)
        order[i] = i;
    const auto center = [&](u32 i) {
        const float c = objects[i].center[axis];
        return c == c ? c : s_infinity; // NaN would confuse the sort
    };
    std::sort(order, order + n, [&](u32 a, u32 b) { return center(a) < center(b); });

    Box rights[maximum];
    Box right;
    for (u32 i = n; i-- > 1;) {
        right.grow(objects[order[i]].box);
        rights[i - 1] = right;
    }
    float costs[maximum], positions[maximum];
    Box left;
    for (u32 i = 0, begin = 0; i < n; ++i) {
        left.grow(objects[order[i]].box);
        if (i + 1 < n && center(order[i + 1]) == center(order[i]))
            continue;
        // Objects with one middle are candidates with one cost.
        const float cost = getCost(left, i + 1, rights[i], n - 1 - i);
        for (; begin <= i; ++begin)
            costs[order[begin]] = cost;
    }
    const u32 padded = (n + 3) & ~3u;
    for (u32 i = 0; i < padded; ++i) {
        costs[i] = costs[std::min(i, n - 1)];
        positions[i] = center(std::min(i, n - 1));
    }
    select(costs, positions, padded, axis, split);
}

void searchPlanes(const znRTDynamicAcceleratorNode* objects, u64 n, const float* box, int axis,
                  znRTDynamicSplit& split)
{
    constexpr u32 planeCount = znRTDynamicBVHBuilder::s_planeCount;
    const float low = box[2 * axis], high = box[2 * axis + 1];
    const float step = float((high - low) * (1.0 / (double(planeCount) + 1.0)));
    float planes[planeCount]; // ascending
    for (u32 k = 0; k < 4; ++k)
        planes[k] = float(k + 1) * step + low;
    for (u32 k = 4; k < planeCount; ++k)
        planes[k] = planes[k - 4] + 4.0f * step;

    struct Interval
    {
        Box box;
        u32 count = 0;
    };
    Interval intervals[planeCount + 1];
    for (u64 i = 0; i < n; ++i) {
        const float c = objects[i].center[axis];
        // Number of planes below; a NaN is left of no plane.
        u32 k = 0;
        while (k < planeCount && !(c <= planes[k]))
            ++k;
        intervals[k].box.grow(objects[i].box);
        ++intervals[k].count;
    }
    Box rights[planeCount];
    Box right;
    for (u32 k = planeCount; k > 0; --k) {
        right.grow(intervals[k].box.v);
        rights[k - 1] = right;
    }
    // Groups hold their planes in falling order.
    float costs[planeCount], positions[planeCount];
    Box left;
    u32 leftCount = 0;
    for (u32 k = 0; k < planeCount; ++k) {
        left.grow(intervals[k].box.v);
        leftCount += intervals[k].count;
        const u32 place = k / 4 * 4 + 3 - k % 4;
        costs[place] = getCost(left, leftCount, rights[k], u32(n) - leftCount);
        positions[place] = planes[k];
    }
    select(costs, positions, planeCount, axis, split);
}
} // namespace

znRTDynamicBVHBuilder::znRTDynamicBVHBuilder(znRTDynamicAcceleratorNode* objectArray, u64 n,
                                             znDynArray<znRTDynamicBVHNode>& nodeArray)
    : objects(objectArray), count(n), nodes(nodeArray)
{
}

void znRTDynamicBVHBuilder::run(float* box)
{
    Box all;
    for (u64 i = 0; i < count; ++i)
        all.grow(objects[i].box);
    std::copy_n(all.v, 6, box);
    nodes.reserve(std::max<u64>(count, 2) - 1, true);
    if (!nodes.data)
        return;
    if (count == 0)
        return nodes[0].setEmpty();

    auto* const item = new (scalable_malloc(sizeof(znRTDynamicBVHBuilderNode)))
        znRTDynamicBVHBuilderNode{nodes.data, 0, count, {}, 0};
    std::copy_n(all.v, 6, item->box);
    if (count < s_minSpawn)
        return process(item, nullptr);
    tbb::task_group_context context(tbb::task_group_context::isolated, s_contextTraits);
    znRTDynamicBVHBuilderNode* const items[] = {item};
    tbb::parallel_for_each(
        items, items + 1,
        [this](znRTDynamicBVHBuilderNode* work, Feeder& feeder) { process(work, &feeder); },
        context);
}

znRTDynamicSplit
znRTDynamicBVHBuilder::findBestApproximation(const znRTDynamicAcceleratorNode* objects, u64 first,
                                             u64 last, const float* box)
{
    const u64 n = last - first;
    znRTDynamicSplit splits[3];
    const auto search = [&](int axis) {
        splits[axis] = {s_infinity, 0.0f, 0, false};
        if (s_degenerateExtent > box[2 * axis + 1] - box[2 * axis])
            return;
        if (n <= s_maxExact)
            searchMiddles(objects + first, u32(n), axis, splits[axis]);
        else
            searchPlanes(objects + first, n, box, axis, splits[axis]);
    };
    if (n >= s_parallelSearch) {
        tbb::task_group_context context(tbb::task_group_context::bound, s_contextTraits);
        // Isolated: while it waits, this thread must not start on another subtree.
        tbb::this_task_arena::isolate(
            [&] { tbb::parallel_for(0, 3, search, tbb::auto_partitioner(), context); });
    } else
        for (int axis = 0; axis < 3; ++axis)
            search(axis);
    znRTDynamicSplit best = splits[0];
    for (int axis = 1; axis < 3; ++axis)
        if (splits[axis].cost < best.cost)
            best = splits[axis];
    return best;
}

/// @return first object of the right side; neither side is empty
u64 znRTDynamicBVHBuilder::cut(const znRTDynamicBVHBuilderNode& item, float* left, float* right)
{
    Box leftBox, rightBox;
    u64 middle = item.first;
    znRTDynamicSplit split{s_infinity, 0.0f, 0, false};
    if (item.depth <= s_maxSearchDepth)
        split = findBestApproximation(objects, item.first, item.last, item.box);
    if (split.found)
        for (u64 i = item.first; i < item.last; ++i) {
            if (split.position >= objects[i].center[split.axis]) {
                leftBox.grow(objects[i].box);
                std::swap(objects[i], objects[middle++]);
            } else
                rightBox.grow(objects[i].box);
        }
    if (middle == item.first || middle == item.last) {
        leftBox = rightBox = {};
        middle = item.first + (item.last - item.first) / 2;
        for (u64 i = item.first; i < item.last; ++i)
            (i < middle ? leftBox : rightBox).grow(objects[i].box);
    }
    std::copy_n(leftBox.v, 6, left);
    std::copy_n(rightBox.v, 6, right);
    return middle;
}

void znRTDynamicBVHBuilder::process(znRTDynamicBVHBuilderNode* item, Feeder* feeder)
{
    const u64 n = item->last - item->first;
    if (n > 2) {
        const znRTFloatControl floatControl;
        return cutNode(item, feeder);
    }
    if (n == 2)
        item->node->setFullLeafNode(objects[item->first], objects[item->first + 1]);
    else
        item->node->setPartialLeafNode(objects[item->first]);
    scalable_free(item);
}

void znRTDynamicBVHBuilder::cutNode(znRTDynamicBVHBuilderNode* item, Feeder* feeder)
{
    float left[6], right[6];
    const u64 n = item->last - item->first;
    const u64 split = cut(*item, left, right);
    const u64 leftCount = split - item->first, rightCount = item->last - split;
    const u32 depth = item->depth + 1;
    const auto reuse = [&](znRTDynamicBVHNode* node, u64 first, u64 last, const float* box) {
        *item = {node, first, last, {}, depth};
        std::copy_n(box, 6, item->box);
        process(item, feeder);
    };
    if (leftCount > 1 && rightCount > 1) {
        znRTDynamicBVHNode* const children = &nodes[nextNode.fetch_add(2)];
        item->node->setInteriorNode(left, children, right, children + 1);
        auto* const rightItem = new (scalable_malloc(sizeof(znRTDynamicBVHBuilderNode)))
            znRTDynamicBVHBuilderNode{children + 1, split, item->last, {}, depth};
        std::copy_n(right, 6, rightItem->box);
        // Left continues in this call while the right half is stolen.
        if (n >= s_minSpawn && feeder)
            feeder->add(rightItem);
        else
            process(rightItem, feeder);
        return reuse(children, item->first, split, left);
    }
    znRTDynamicBVHNode* const child = &nodes[nextNode.fetch_add(1)];
    if (leftCount == 1) {
        item->node->setPartialInteriorNode(objects[item->first], right, child);
        return reuse(child, split, item->last, right);
    }
    item->node->setPartialInteriorNode(objects[split], left, child);
    reuse(child, item->first, split, left);
}
