#include "light/znRTLightBVH.h"

#include "light/znRTInfiniteAreaLight.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <string_view>
#include <tbb/blocked_range.h>
#include <tbb/concurrent_vector.h>
#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_for_each.h>

namespace {

constexpr u64 mostExact = 64; ///< up to here each light's middle is a candidate
constexpr int planes = 16;
constexpr float leastExtent = 1e-6f;

bool isEmpty(const znRTBoundingBox& box)
{
    return !(box.xmin <= box.xmax && box.ymin <= box.ymax && box.zmin <= box.zmax);
}

void grow(znRTBoundingBox& box, const znRTBoundingBox& other)
{
    for (int axis = 0; axis < 3; ++axis)
        box.setAxis(axis, std::min(box.low(axis), other.low(axis)),
                    std::max(box.high(axis), other.high(axis)));
}

float halfArea(const znRTBoundingBox& box)
{
    const float x = box.xmax - box.xmin, y = box.ymax - box.ymin, z = box.zmax - box.zmin;
    return isEmpty(box) ? 0.0f : x * y + y * z + z * x;
}

float middle(const znRTBoundingBox& box, int axis)
{
    return 0.5f * (box.low(axis) + box.high(axis));
}

/// A light that direct lighting may choose.
bool qualifies(const znRTLight* light)
{
    // Compared by name: measured rays have no class of their own here.
    return light && light->isOn() && !light->getDirectWithPhotons() &&
           !light->isOfType(znRTInfiniteAreaLight::id) &&
           std::string_view(light->getTypeId().getName()) != "znRTURayLight";
}

struct Split
{
    float cost = 0.0f;
    int axis = -1; ///< -1: none found
    float position = 0.0f;
};

/// Counts and boxes of both sides of a plane.
float costOf(const znRTLightAcceleratorNode* begin, const znRTLightAcceleratorNode* end, int axis,
             float position)
{
    znRTBoundingBox boxes[2];
    u64 counts[2] = {0, 0};
    for (; begin != end; ++begin) {
        const int side = middle(begin->box, axis) > position;
        grow(boxes[side], begin->box);
        ++counts[side];
    }
    if (counts[0] == 0 || counts[1] == 0)
        return std::numeric_limits<float>::max();
    return float(counts[0]) * halfArea(boxes[0]) + float(counts[1]) * halfArea(boxes[1]);
}

Split findSplit(const znRTLightAcceleratorNode* begin, const znRTLightAcceleratorNode* end,
                const znRTBoundingBox& box)
{
    Split best;
    best.cost = std::numeric_limits<float>::max();
    const auto test = [&](int axis, float position) {
        const float cost = costOf(begin, end, axis, position);
        if (cost < best.cost)
            best = {cost, axis, position};
    };
    const bool isExact = u64(end - begin) <= mostExact;
    for (int axis = 0; axis < 3; ++axis) {
        const float extent = box.high(axis) - box.low(axis);
        if (!(extent >= leastExtent))
            continue;
        if (isExact)
            for (const auto* node = begin; node != end; ++node)
                test(axis, middle(node->box, axis));
        else
            for (int plane = 1; plane <= planes; ++plane)
                test(axis, box.low(axis) + extent * (float(plane) / float(planes + 1)));
    }
    return best;
}

} // namespace

/// A range of lights that becomes one node.
struct znRTLightBVH::Work
{
    znRTLightBVHNode* node;
    znRTLightAcceleratorNode *begin, *end;
    znRTBoundingBox box;
};

class znRTLightBVH::Builder
{
public:
    Builder(znRTLightBVHNode* newNodes, bool newCountsAlike)
        : nodes(newNodes), countsAlike(newCountsAlike)
    {
    }

    void run(const Work& root)
    {
        tbb::parallel_for_each(
            &root, &root + 1,
            [this](const Work& work, tbb::feeder<Work>& feeder) { process(work, feeder); });
    }

private:
    void process(const Work& work, tbb::feeder<Work>& feeder)
    {
        znRTLightAcceleratorNode* const split = cut(work);
        if (!split)
            return makeLeaf(work);
        znRTLightBVHNode* const children = nodes + taken.fetch_add(2);
        Work sides[2] = {{children, work.begin, split, {}}, {children + 1, split, work.end, {}}};
        float powers[2];
        for (int i = 0; i < 2; ++i) {
            double sum = 0.0;
            for (const auto* node = sides[i].begin; node != sides[i].end; ++node) {
                grow(sides[i].box, node->box);
                sum += countsAlike ? 1.0 : double(node->power);
            }
            powers[i] = float(sum);
        }
        work.node->setInteriorNode(sides[0].box, sides[1].box, children, powers[0], powers[1]);
        feeder.add(sides[0]);
        feeder.add(sides[1]);
    }

    /// Orders a range by its best split.
    /// @return first of the right side; null when the range is to be a leaf
    static znRTLightAcceleratorNode* cut(const Work& work)
    {
        const u64 count = u64(work.end - work.begin);
        const bool fits = count <= znRTLightBVHNode::s_maxLights;
        const Split split = findSplit(work.begin, work.end, work.box);
        if (fits && (split.axis < 0 || !(split.cost < float(count) * halfArea(work.box))))
            return nullptr;
        znRTLightAcceleratorNode* first = nullptr;
        if (split.axis >= 0)
            first = std::partition(work.begin, work.end, [&](const auto& node) {
                return middle(node.box, split.axis) <= split.position;
            });
        // Lights in one place cannot be told apart: by half.
        const bool isCut = first && first != work.begin && first != work.end;
        return isCut ? first : work.begin + count / 2;
    }

    static void makeLeaf(const Work& work)
    {
        work.node->setLeafNode(work.begin == work.end ? nullptr : work.begin->light);
        for (const auto* node = work.begin; node != work.end; ++node)
            work.node->addLightNode(node->light, unsigned(node - work.begin));
    }

    znRTLightBVHNode* const nodes;
    const bool countsAlike;
    std::atomic<u64> taken{1};
};

znRTLightBVH::znRTLightBVH() = default;
znRTLightBVH::~znRTLightBVH() = default;

void znRTLightBVH::clear()
{
    nodes.reset();
    alwaysEvalLights.clear();
    treeCount = 0;
}

void znRTLightBVH::build(const znDynArray<znRTLight*>& lights)
{
    clear();
    // By place in the list, so that equal scenes have equal trees whatever thread was first.
    struct Placed
    {
        u64 place;
        znRTLightAcceleratorNode node;
    };
    tbb::concurrent_vector<Placed> found;
    tbb::concurrent_vector<std::pair<u64, znRTLight*>> always;
    struct Extent
    {
        znRTBoundingBox box;
        float maxPower = 0.0f;
    };
    tbb::enumerable_thread_specific<Extent> extents;
    const auto read = [&](u64 i) {
        znRTLight* const light = lights[i];
        if (!qualifies(light))
            return;
        const znRTBoundingBox box = light->getBoundingBox();
        if (lights.size < 2 || isEmpty(box)) {
            always.push_back({i, light});
            return;
        }
        const float power = std::max(0.0f, light->getPower()); // 0 for no number as well
        found.push_back({i, {box, power, light}});
        Extent& extent = extents.local();
        grow(extent.box, box);
        extent.maxPower = std::max(extent.maxPower, power);
    };
    tbb::parallel_for(
        tbb::blocked_range<u64>(0, lights.size),
        [&](const tbb::blocked_range<u64>& range) {
            for (u64 i = range.begin(); i < range.end(); ++i)
                read(i);
        },
        tbb::auto_partitioner());

    std::sort(always.begin(), always.end());
    alwaysEvalLights.reserve(always.size(), false);
    for (const auto& [place, light] : always)
        alwaysEvalLights[alwaysEvalLights.size++] = light;
    if (lights.size < 2)
        return;
    std::sort(found.begin(), found.end(),
              [](const Placed& a, const Placed& b) { return a.place < b.place; });
    znDynArray<znRTLightAcceleratorNode> records;
    records.reserve(found.size(), false);
    for (const Placed& placed : found)
        records[records.size++] = placed.node;
    Extent all;
    for (const Extent& extent : extents) {
        grow(all.box, extent.box);
        all.maxPower = std::max(all.maxPower, extent.maxPower);
    }
    buildTreeIterative(records, all.box, records.size, all.maxPower);
}

void znRTLightBVH::buildTreeIterative(znDynArray<znRTLightAcceleratorNode>& records,
                                      znRTBoundingBox& box, unsigned long long count,
                                      float maxPower)
{
    treeCount = count;
    nodes = std::make_unique<znRTLightBVHNode[]>(std::max<u64>(2 * count, 2));
    nodes[0].setLeafNode(nullptr);
    if (count == 0)
        return;
    Builder builder(nodes.get(), !(maxPower > 0.0f));
    builder.run({nodes.get(), records.data, records.data + count, box});
}
