#include "accel/znRTDynamicBVHBuilder.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <random>

namespace {
constexpr float s_infinity = std::numeric_limits<float>::infinity();

/// Addresses stand for intersectors here; nothing reads behind them.
znRTIntersector* numbered(u64 i)
{
    return reinterpret_cast<znRTIntersector*>(16 * (i + 1));
}

znRTDynamicAcceleratorNode makeObject(u64 i, const float (&low)[3], const float (&high)[3])
{
    znRTDynamicAcceleratorNode object{};
    for (int a = 0; a < 3; ++a) {
        object.box[2 * a] = low[a];
        object.box[2 * a + 1] = high[a];
        object.center[a] = (low[a] + high[a]) * 0.5f;
    }
    object.intersector = numbered(i);
    object.geometryIndex = u32(i);
    return object;
}

znDynArray<znRTDynamicAcceleratorNode> makeObjects(u32 n, unsigned seed, float grid = 0.0f)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> place(0.0f, 10.0f), size(0.1f, 1.0f);
    znDynArray<znRTDynamicAcceleratorNode> objects(64);
    objects.reserve(n, true);
    objects.size = n;
    for (u32 i = 0; i < n; ++i) {
        float low[3], high[3];
        for (int a = 0; a < 3; ++a) {
            low[a] = grid > 0 ? grid * std::floor(place(random) / grid) : place(random);
            high[a] = low[a] + (grid > 0 ? grid : size(random));
        }
        objects[i] = makeObject(i, low, high);
    }
    return objects;
}

/// The search written out: whole boxes for every candidate, groups of four as they are compared.
znRTDynamicSplit literalSearch(const znRTDynamicAcceleratorNode* objects, u32 n, const float* box)
{
    znRTDynamicSplit best{s_infinity, 0, 0, false};
    for (int axis = 0; axis < 3; ++axis) {
        const float low = box[2 * axis], high = box[2 * axis + 1];
        if (1e-6f > high - low)
            continue;
        std::vector<float> candidates;
        if (n <= 64) {
            for (u32 i = 0; i < n; ++i)
                candidates.push_back(objects[i].center[axis]);
            while (candidates.size() % 4)
                candidates.push_back(candidates.back());
        } else {
            const float d = float((high - low) * (1.0 / 33.0));
            float group[4] = {4 * d + low, 3 * d + low, 2 * d + low, d + low};
            for (int g = 0; g < 8; ++g)
                for (float& plane : group) {
                    candidates.push_back(plane);
                    plane += 4 * d;
                }
        }
        const auto cost = [&](float position) {
            float sides[2][6] = {
                {s_infinity, -s_infinity, s_infinity, -s_infinity, s_infinity, -s_infinity},
                {s_infinity, -s_infinity, s_infinity, -s_infinity, s_infinity, -s_infinity}};
            u32 counts[2] = {0, 0};
            for (u32 i = 0; i < n; ++i) {
                const int side = objects[i].center[axis] <= position ? 0 : 1;
                ++counts[side];
                for (int a = 0; a < 3; ++a) {
                    sides[side][2 * a] = std::min(sides[side][2 * a], objects[i].box[2 * a]);
                    sides[side][2 * a + 1] =
                        std::max(sides[side][2 * a + 1], objects[i].box[2 * a + 1]);
                }
            }
            if (!counts[0] || !counts[1])
                return s_infinity;
            float sum = 0;
            for (int s = 0; s < 2; ++s) {
                const float dx = sides[s][1] - sides[s][0], dy = sides[s][3] - sides[s][2],
                            dz = sides[s][5] - sides[s][4];
                sum += (dx * dy + dz * dy + dz * dx) * float(counts[s]);
            }
            return sum;
        };
        for (std::size_t g = 0; g < candidates.size(); g += 4) {
            float lowest = s_infinity, position = 0;
            for (std::size_t i = g; i < g + 4; ++i)
                if (const float c = cost(candidates[i]); c <= lowest) {
                    lowest = c;
                    position = candidates[i];
                }
            if (lowest < best.cost)
                best = {lowest, position, axis, true};
        }
    }
    return best;
}

void visit(const znRTDynamicBVHNode& node, std::map<const znRTIntersector*, int>& seen,
           u64& nodeCount)
{
    ++nodeCount;
    for (const u64 reference : {node.left, node.right}) {
        if (!znRTDynamicBVHNode::isLeaf(reference))
            visit(*reinterpret_cast<const znRTDynamicBVHNode*>(reference), seen, nodeCount);
        else if (const znRTIntersector* object = znRTDynamicBVHNode::getLeafNode(reference))
            ++seen[object];
    }
}
} // namespace

TEST(ObjectTree, HoldsEachObjectOnceInAsManyNodesAsItNeeds)
{
    for (u32 n = 1; n <= 400; n += n < 70 ? 1 : 33) {
        auto objects = makeObjects(n, n);
        znDynArray<znRTDynamicBVHNode> nodes(64);
        float box[6];
        znRTDynamicBVHBuilder(objects.data, n, nodes).run(box);
        EXPECT_EQ(nodes.size, std::max(n, 2u) - 1);
        std::map<const znRTIntersector*, int> seen;
        u64 nodeCount = 0;
        visit(nodes[0], seen, nodeCount);
        EXPECT_EQ(seen.size(), n);
        for (const auto& [object, count] : seen)
            EXPECT_EQ(count, 1);
        EXPECT_EQ(nodeCount, nodes.size);
    }
}

TEST(ObjectTree, HangsASingleObjectOnTheLeft)
{
    auto objects = makeObjects(1, 1);
    znDynArray<znRTDynamicBVHNode> nodes(64);
    float box[6];
    znRTDynamicBVHBuilder(objects.data, 1, nodes).run(box);
    ASSERT_EQ(nodes.size, 1u);
    EXPECT_EQ(znRTDynamicBVHNode::getLeafNode(nodes[0].left), objects[0].intersector);
    EXPECT_EQ(nodes[0].right, znRTDynamicBVHNode::s_emptyReference);
    EXPECT_EQ(nodes[0].x[1], FLT_MAX);
    EXPECT_EQ(nodes[0].x[3], -FLT_MAX);
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(box[k], objects[0].box[k]);
}

TEST(ObjectTree, IsEmptyWithoutObjects)
{
    znDynArray<znRTDynamicBVHNode> nodes(64);
    float box[6];
    znRTDynamicBVHBuilder(nullptr, 0, nodes).run(box);
    ASSERT_EQ(nodes.size, 1u);
    EXPECT_EQ(nodes[0].left, 1u);
    EXPECT_EQ(nodes[0].right, 1u);
    EXPECT_EQ(nodes[0].z[0], 0.0f);
    EXPECT_EQ(nodes[0].z[1], FLT_MAX);
    EXPECT_EQ(nodes[0].z[2], 0.0f);
    EXPECT_EQ(nodes[0].z[3], -FLT_MAX);
}

TEST(ObjectTree, FindsTheCutsOfTheLiteralSearch)
{
    for (const u32 n : {3u, 4u, 5u, 17u, 63u, 64u, 65u, 300u})
        for (unsigned seed = 0; seed < 20; ++seed) {
            const auto objects = makeObjects(n, seed, seed % 2 ? 2.5f : 0.0f);
            float box[6] = {s_infinity,  -s_infinity, s_infinity,
                            -s_infinity, s_infinity,  -s_infinity};
            for (const auto& o : objects)
                for (int a = 0; a < 3; ++a) {
                    box[2 * a] = std::min(box[2 * a], o.box[2 * a]);
                    box[2 * a + 1] = std::max(box[2 * a + 1], o.box[2 * a + 1]);
                }
            const znRTDynamicSplit expected = literalSearch(objects.data, n, box);
            const znRTDynamicSplit split =
                znRTDynamicBVHBuilder::findBestApproximation(objects.data, 0, n, box);
            ASSERT_EQ(split.found, expected.found);
            ASSERT_EQ(split.cost, expected.cost);
            ASSERT_EQ(split.axis, expected.axis);
            ASSERT_EQ(split.position, expected.position) << n << " objects, seed " << seed;
        }
}

TEST(ObjectTree, HalvesObjectsInOnePlace)
{
    znDynArray<znRTDynamicAcceleratorNode> objects(64);
    objects.reserve(1000, true);
    for (u32 i = 0; i < 1000; ++i)
        objects[i] = makeObject(i, {0, 0, 0}, {1, 1, 1});
    znDynArray<znRTDynamicBVHNode> nodes(64);
    float box[6];
    znRTDynamicBVHBuilder(objects.data, 1000, nodes).run(box);
    std::function<u32(const znRTDynamicBVHNode&)> depth = [&](const znRTDynamicBVHNode& node) {
        u32 deepest = 0;
        for (const u64 r : {node.left, node.right})
            if (!znRTDynamicBVHNode::isLeaf(r))
                deepest = std::max(deepest, depth(*reinterpret_cast<const znRTDynamicBVHNode*>(r)));
        return deepest + 1;
    };
    EXPECT_EQ(depth(nodes[0]), 10u);
}

// Each cut peels one object off: without a limit the tree would be as deep as the list is long.
TEST(ObjectTree, TurnsToHalvingInTheDepth)
{
    znDynArray<znRTDynamicAcceleratorNode> objects(64);
    objects.reserve(2000, true);
    for (u32 i = 0; i < 2000; ++i) {
        const float s = std::pow(1.04f, float(i));
        objects[i] = makeObject(i, {-s, -s, -s}, {s * 1.02f, s * 1.02f, s * 1.02f});
    }
    znDynArray<znRTDynamicBVHNode> nodes(64);
    float box[6];
    znRTDynamicBVHBuilder(objects.data, 2000, nodes).run(box);
    std::map<const znRTIntersector*, int> seen;
    u64 nodeCount = 0;
    visit(nodes[0], seen, nodeCount);
    EXPECT_EQ(seen.size(), 2000u);
    EXPECT_EQ(nodeCount, 1999u);
}
