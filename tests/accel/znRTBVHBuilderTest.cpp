#include "accel/znRTBVHBuilder.h"
#include "accel/znRTBVHIntersector.h"
#include "support/literalBuilder.h"
#include "support/treeFixture.h"

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <tbb/global_control.h>

namespace {
znRTBuildReference makeReference(const znRTBoundingBox& b, u32 i)
{
    return {{b.xmin, b.ymin, b.zmin}, i, {b.xmax, b.ymax, b.zmax}, 0};
}

std::vector<znRTBoundingBox> boxesOf(const TestMesh& mesh)
{
    std::vector<znRTBoundingBox> boxes;
    for (const znRTTriangle& t : mesh.triangles)
        boxes.push_back(boxOf(mesh, t));
    return boxes;
}

znRTBoundingBox unionOf(const std::vector<znRTBoundingBox>& boxes)
{
    znRTBoundingBox all;
    for (const znRTBoundingBox& b : boxes)
        all.surround(b);
    return all;
}

/// Boxes whose coordinates repeat a lot, so that costs tie.
std::vector<znRTBoundingBox> latticeBoxes(u32 n, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<znRTBoundingBox> boxes;
    for (u32 i = 0; i < n; ++i) {
        const float x = float(random() % 5), y = float(random() % 4), z = float(random() % 3);
        boxes.push_back(znRTBoundingBox({x, y, z}, {x + 1, y + 1, z + 1}));
    }
    return boxes;
}

/// A built tree that permutes plain numbers.
struct Built
{
    explicit Built(const std::vector<znRTBoundingBox>& primitiveBoxes, u32 maxLeaf = 4)
        : intersector(0)
    {
        const u64 n = primitiveBoxes.size();
        numbers.reserve(n + 4, true);
        for (u64 i = 0; i < n + 4; ++i)
            numbers[i] = {u32(i), 0, 0};
        if (n > 0)
            boxes.reserve(n, true);
        std::copy(primitiveBoxes.begin(), primitiveBoxes.end(), boxes.data);
        znRTBoundingBox all = unionOf(primitiveBoxes);
        intersector.build(nullptr, nullptr, numbers.data, all, boxes, GeometryType::triangles,
                          maxLeaf);
    }
    const znDynArray<znRTBVHNode>& nodes() const { return intersector.getNodes(); }

    znRTBVHIntersector intersector;
    znDynArray<znRTTriangle> numbers;
    znDynArray<znRTBoundingBox> boxes;
};

using LeafCall = std::function<void(u32 first, u32 count, const znRTBoundingBox& box)>;

znRTBoundingBox childBox(const znRTBVHNode& n, int side)
{
    return znRTBoundingBox({n.x[side], n.y[side], n.z[side]},
                           {n.x[side + 2], n.y[side + 2], n.z[side + 2]});
}

bool contains(const znRTBoundingBox& outer, const znRTBoundingBox& inner)
{
    for (int axis = 0; axis < 3; ++axis)
        if (inner.low(axis) < outer.low(axis) || inner.high(axis) > outer.high(axis))
            return false;
    return true;
}

/// Calls for all leaves and checks what holds for every tree: children inside of their parent's
/// boxes, a left child directly behind its parent.
/// @return depth
u32 visit(const znRTBVHNode* node, const LeafCall& leaf, u64& nodeCount)
{
    ++nodeCount;
    u32 depth = 0;
    for (const int side : {0, 1}) {
        const u64 reference = side ? node->right : node->left;
        const znRTBoundingBox box = childBox(*node, side);
        if (znRTBVHNode::isLeaf(reference)) {
            leaf(znRTBVHNode::getFirst(reference), znRTBVHNode::getCount(reference), box);
            continue;
        }
        const znRTBVHNode* const child = znRTBVHNode::getNode(reference);
        EXPECT_TRUE(side == 1 || child == node + 1);
        for (const int s : {0, 1}) {
            const bool isEmpty = (s ? child->right : child->left) == znRTBVHNode::s_emptyReference;
            EXPECT_TRUE(isEmpty || contains(box, childBox(*child, s)));
        }
        depth = std::max(depth, visit(child, leaf, nodeCount));
    }
    return depth + 1;
}

struct TreeFigures
{
    u64 nodes = 0, leaves = 0;
    u32 depth = 0;
};

/// Every primitive in exactly one leaf, leaves of 1 to maxLeaf, boxes around what they hold.
TreeFigures checkTree(const Built& built, u64 count, u32 maxLeaf)
{
    std::vector<int> seen(count, 0);
    TreeFigures figures;
    figures.depth = visit(
        built.nodes().data,
        [&](u32 first, u32 n, const znRTBoundingBox& box) {
            if (n == 0)
                return;
            ++figures.leaves;
            EXPECT_LE(n, maxLeaf);
            for (u32 i = first; i < first + n; ++i) {
                ++seen[built.numbers[i].a];
                EXPECT_TRUE(contains(box, built.boxes[i]) ||
                            built.boxes[i].xmin > built.boxes[i].xmax);
            }
        },
        figures.nodes);
    for (u64 i = 0; i < count; ++i)
        EXPECT_EQ(seen[i], 1) << "primitive " << i;
    for (u64 i = count; i < count + 4; ++i)
        EXPECT_EQ(built.numbers[i].a, i) << "what stands behind the boxes is not permuted";
    EXPECT_EQ(figures.nodes, built.nodes().size);
    return figures;
}

void expectSameTree(const znRTBVHNode& node, const LiteralBuilder::Node& expected)
{
    for (const int side : {0, 1}) {
        const znRTBoundingBox box = childBox(node, side);
        const znRTBoundingBox& other = side ? expected.rightBox : expected.leftBox;
        for (int axis = 0; axis < 3; ++axis) {
            ASSERT_EQ(box.low(axis), other.low(axis));
            ASSERT_EQ(box.high(axis), other.high(axis));
        }
        const u64 reference = side ? node.right : node.left;
        const auto& child = side ? expected.right : expected.left;
        ASSERT_EQ(znRTBVHNode::isLeaf(reference), child == nullptr);
        if (child)
            expectSameTree(*znRTBVHNode::getNode(reference), *child);
        else {
            ASSERT_EQ(znRTBVHNode::getFirst(reference),
                      side ? expected.rightFirst : expected.leftFirst);
            ASSERT_EQ(znRTBVHNode::getCount(reference),
                      side ? expected.rightCount : expected.leftCount);
        }
    }
}

void expectLiteralTree(const std::vector<znRTBoundingBox>& boxes, u32 maxLeaf)
{
    const Built built(boxes, maxLeaf);
    LiteralBuilder literal(boxes, maxLeaf);
    const auto root = literal.build(0, u32(boxes.size()), unionOf(boxes));
    expectSameTree(built.nodes()[0], *root);
    for (u32 i = 0; i < boxes.size(); ++i)
        ASSERT_EQ(built.numbers[i].a, literal.order[i]) << "order inside of leaves";
}
} // namespace

TEST(TreeReference, KeepsFirstAndCount)
{
    for (const u32 first : {0u, 1u, 77u, 0xffffffffu})
        for (const u32 count : {0u, 1u, 4u, 0x7fffffffu}) {
            const u64 reference = znRTBVHNode::encodeLeaf(first, count);
            EXPECT_TRUE(znRTBVHNode::isLeaf(reference));
            EXPECT_EQ(znRTBVHNode::getFirst(reference), first);
            EXPECT_EQ(znRTBVHNode::getCount(reference), count);
        }
    EXPECT_EQ(znRTBVHNode::encodeLeaf(0, 0), znRTBVHNode::s_emptyReference);
}

TEST(TreeBuild, FindsTheCutsOfTheLiteralSearch)
{
    for (const u32 n : {5u, 6u, 9u, 31u, 32u, 33u, 63u, 64u, 65u, 66u, 130u, 500u, 3000u})
        for (const u32 maxLeaf : {4u, 2u})
            expectLiteralTree(boxesOf(makeSoup(n, 0.1f, n)), maxLeaf);
    expectLiteralTree(boxesOf(makeSphere(20)), 4);
    expectLiteralTree(boxesOf(makeGrid(20)), 4);
}

TEST(TreeBuild, BreaksTiesLikeTheLiteralSearch)
{
    for (unsigned seed = 0; seed < 60; ++seed)
        expectLiteralTree(latticeBoxes(5 + seed * 3, seed), 4);
}

// Coordinates a few units in the last place apart: the sixteen planes then fall together.
TEST(TreeBuild, FindsTheCutsOfTheLiteralSearchFarFromTheOrigin)
{
    TestMesh mesh = makeSoup(300, 1e-4f, 5);
    for (float& p : mesh.positions)
        p = 1000.0f + p * 1e-3f;
    expectLiteralTree(boxesOf(mesh), 4);
}

// For one axis from 0 to 17, planes lie on the whole numbers 1 to 16: with equal boxes on either
// side the cheapest is the first of the middle ones.
TEST(TreeBuild, PutsPlanesAtSeventeenths)
{
    std::vector<znRTBoundingBox> boxes;
    for (int i = 0; i < 100; ++i)
        boxes.push_back(znRTBoundingBox({float(i % 2 ? 16.9f : 0.0f), 0, 0},
                                        {float(i % 2 ? 17.0f : 0.1f), 1, 1}));
    std::vector<znRTBuildReference> references;
    for (u32 i = 0; i < boxes.size(); ++i)
        references.push_back(makeReference(boxes[i], i));
    znRTBuildBox box;
    for (const auto& r : references)
        box.grow(r);
    const znRTSplit split =
        znRTBVHTreeBuilder::findBestApproximation(references.data(), 0, 100, box);
    ASSERT_TRUE(split.found);
    EXPECT_EQ(split.axis, 0);
    EXPECT_NEAR(split.position, 1.0f, 1e-5f); // all sixteen cost the same: the smallest wins
}

TEST(TreeBuild, PrefersXBeforeYBeforeZAtEqualCost)
{
    // Two piles at opposite corners of a cube look the same along all axes.
    for (const u32 n : {8u, 100u}) {
        std::vector<znRTBuildReference> references;
        znRTBuildBox box;
        for (u32 i = 0; i < n; ++i) {
            const float p = i % 2 ? 4.0f : 0.0f;
            references.push_back(
                makeReference(znRTBoundingBox({p, p, p}, {p + 1, p + 1, p + 1}), i));
            box.grow(references.back());
        }
        const znRTSplit split =
            znRTBVHTreeBuilder::findBestApproximation(references.data(), 0, n, box);
        EXPECT_TRUE(split.found);
        EXPECT_EQ(split.axis, 0);
    }
}

TEST(TreeBuild, HoldsEveryPrimitiveOnce)
{
    for (const u32 n : {1u, 2u, 3u, 4u, 5u, 31u, 32u, 33u, 64u, 65u, 1000u, 20000u})
        for (const u32 maxLeaf : {4u, 2u})
            checkTree(Built(boxesOf(makeSoup(n, 0.05f, n)), maxLeaf), n, maxLeaf);
}

TEST(TreeBuild, StoresAnEmptyNodeWithoutPrimitives)
{
    const Built built(std::vector<znRTBoundingBox>{});
    ASSERT_EQ(built.nodes().size, 1u);
    EXPECT_EQ(built.nodes()[0].left, znRTBVHNode::s_emptyReference);
    EXPECT_EQ(built.nodes()[0].right, znRTBVHNode::s_emptyReference);
    EXPECT_FALSE(built.intersector.isValid());
}

TEST(TreeBuild, HangsASingleLeafOnTheLeft)
{
    for (const u32 n : {1u, 4u}) {
        const Built built(boxesOf(makeSoup(n, 0.1f, n)));
        ASSERT_EQ(built.nodes().size, 1u);
        EXPECT_EQ(built.nodes()[0].left, znRTBVHNode::encodeLeaf(0, n));
        EXPECT_EQ(built.nodes()[0].right, znRTBVHNode::s_emptyReference);
        EXPECT_EQ(built.nodes()[0].y[1], FLT_MAX);
        EXPECT_EQ(built.nodes()[0].y[3], -FLT_MAX);
    }
}

TEST(TreeBuild, SkipsFlatAxes)
{
    for (int flat = 0; flat < 3; ++flat) {
        std::vector<znRTBoundingBox> boxes = boxesOf(makeSoup(200, 0.05f, 9));
        for (znRTBoundingBox& b : boxes)
            b.setAxis(flat, 0.5f, 0.5f + 5e-7f * float(&b - boxes.data()) / 200.0f);
        checkTree(Built(boxes), 200, 4);
        expectLiteralTree(boxes, 4);
    }
}

TEST(TreeBuild, HalvesPrimitivesThatCannotBeToldApart)
{
    const std::vector<znRTBoundingBox> same(1000, znRTBoundingBox({0, 0, 0}, {1, 1, 1}));
    const TreeFigures figures = checkTree(Built(same), 1000, 4);
    EXPECT_EQ(figures.depth, 8u); // 1000 halved until at most 4 are left
    const std::vector<znRTBoundingBox> points(100, znRTBoundingBox({0, 0, 0}, {0, 0, 0}));
    checkTree(Built(points), 100, 4);
}

TEST(TreeBuild, SurvivesBoxesThatAreNotFinite)
{
    const float inf = std::numeric_limits<float>::infinity();
    for (const u32 n : {40u, 400u}) {
        std::vector<znRTBoundingBox> boxes = boxesOf(makeSoup(n, 0.05f, n));
        for (u32 i = 0; i < n; i += 7)
            boxes[i] = znRTBoundingBox(); // inside out: what a triangle without finite box gets
        boxes[3] = znRTBoundingBox({inf, inf, inf}, {-inf, -inf, -inf});
        checkTree(Built(boxes), n, 4);
        boxes[5] = znRTBoundingBox({-1e30f, -1e30f, -1e30f}, {1e30f, 1e30f, 1e30f});
        checkTree(Built(boxes), n, 4);
    }
}

// Geometric spacing is the worst case known for the depth: each cut peels little off.
TEST(TreeBuild, StaysShallowOnAdversarialInput)
{
    std::vector<znRTBoundingBox> boxes;
    float x = 1.0f;
    for (int i = 0; i < 8000; ++i, x *= 0.99f)
        boxes.push_back(znRTBoundingBox({x, 0, 0}, {x * 1.001f, 1, 1}));
    EXPECT_LE(checkTree(Built(boxes), boxes.size(), 4).depth, 64u);
    boxes.clear();
    for (int i = 1; i <= 5000; ++i)
        boxes.push_back(
            znRTBoundingBox({-float(i), -float(i), -float(i)}, {float(i), float(i), float(i)}));
    EXPECT_LE(checkTree(Built(boxes), boxes.size(), 4).depth, 64u);
}

TEST(TreeBuild, GivesOneTreeForAnyNumberOfThreads)
{
    const std::vector<znRTBoundingBox> boxes = boxesOf(makeSoup(150000, 0.01f, 77));
    std::vector<znRTBVHNode> reference;
    for (const std::size_t threads : {1, 2, 4, 8}) {
        tbb::global_control control(tbb::global_control::max_allowed_parallelism, threads);
        const Built built(boxes);
        if (threads == 1) {
            reference.assign(built.nodes().begin(), built.nodes().end());
            continue;
        }
        ASSERT_EQ(built.nodes().size, reference.size());
        for (u64 i = 0; i < reference.size(); ++i) {
            ASSERT_EQ(std::memcmp(reference[i].x, built.nodes()[i].x, 48), 0);
            if (znRTBVHNode::isLeaf(reference[i].left)) {
                ASSERT_EQ(reference[i].left, built.nodes()[i].left);
            }
            if (znRTBVHNode::isLeaf(reference[i].right)) {
                ASSERT_EQ(reference[i].right, built.nodes()[i].right);
            }
        }
    }
}

TEST(TreeBuild, SpawnsFromThirtyTwoPrimitivesOn)
{
    const auto spawns = [](u32 n) {
        std::vector<znRTBuildReference> references;
        const std::vector<znRTBoundingBox> boxes = boxesOf(makeSoup(n, 0.01f, 3));
        for (u32 i = 0; i < n; ++i)
            references.push_back(makeReference(boxes[i], i));
        // References are loaded as aligned registers.
        znDynArray<znRTBuildReference> aligned(64);
        aligned.reserve(n, true);
        std::copy(references.begin(), references.end(), aligned.data);
        znDynBlockArray<znRTBVHNode> blocks;
        znRTBVHTreeBuilder builder(aligned.data, n, unionOf(boxes), 4, blocks);
        builder.run();
        return builder.getSpawnCount();
    };
    EXPECT_EQ(spawns(31), 0u);
    EXPECT_GE(spawns(33), 1u);
}

TEST(TreeBuild, RestoresTheFloatControl)
{
    const unsigned before = _mm_getcsr();
    const Built built(boxesOf(makeSoup(5000, 0.01f, 3)));
    EXPECT_EQ(_mm_getcsr() & ~0x3fu, before & ~0x3fu); // the low bits are sticky exceptions
}

TEST(SharedTree, LivesAsLongAsSomeoneHoldsItsKey)
{
    const u64 before = znRTBVHIntersector::getSharedCount();
    auto first = std::make_unique<znRTBVHIntersector>(4711);
    auto second = std::make_unique<znRTBVHIntersector>(4711);
    EXPECT_EQ(znRTBVHIntersector::getSharedCount(), before + 1);
    EXPECT_EQ(&first->getTree(), &second->getTree());
    first->clear(1); // another key: ignored
    EXPECT_EQ(&first->getTree(), &second->getTree());
    first.reset();
    EXPECT_EQ(znRTBVHIntersector::getSharedCount(), before + 1);
    second->clear(4711);
    EXPECT_EQ(znRTBVHIntersector::getSharedCount(), before);
    EXPECT_FALSE(second->isValid());
}
