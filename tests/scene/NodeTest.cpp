#include "host/osg/Node.h"

#include "host/osg/Geometry.h"
#include "host/osg/nodeCores.h"

#include <gtest/gtest.h>
#include <thread>

using namespace osg;

namespace {

Ref<Node> movedNode(float x, float y, float z)
{
    const auto transform = Transform::create();
    Matrix m;
    m.setTranslate(Vec3f(x, y, z));
    transform->setMatrix(m);
    return Node::create(transform);
}

Vec3f placeOf(const NodePtr& node)
{
    return node->getToWorld().getTranslation();
}

TEST(Node, KeepsChildrenInOrderWithOneParentEach)
{
    const Ref<Node> root = Node::create(), other = Node::create();
    const NodePtr a = Node::create(), b = Node::create(), c = Node::create();
    EXPECT_TRUE(root->addChild(a));
    EXPECT_TRUE(root->addChild(c));
    EXPECT_TRUE(root->insertChild(1, b));
    EXPECT_EQ(root->getChildren(), (std::vector<NodePtr>{a, b, c}));
    EXPECT_EQ(b->getParent(), root.get());
    EXPECT_TRUE(other->addChild(b));
    EXPECT_EQ(root->getNChildren(), 2u);
    EXPECT_EQ(b->getParent(), other.get());
    EXPECT_FALSE(root->getChild(2));
    EXPECT_TRUE(root->subChild(root->getChildren()[0]));
    EXPECT_FALSE(root->subChild(b));
    EXPECT_EQ(root->getChildren(), (std::vector<NodePtr>{c}));
}

TEST(Node, RefusesItselfAndItsAncestorsAsChildren)
{
    const Ref<Node> root = Node::create();
    const NodePtr child = Node::create(), grandChild = Node::create();
    root->addChild(child);
    child->addChild(grandChild);
    EXPECT_FALSE(root->addChild(root));
    EXPECT_FALSE(grandChild->addChild(root));
    EXPECT_FALSE(grandChild->addChild(child));
    EXPECT_FALSE(root->addChild(nullptr));
    EXPECT_EQ(child->getParent(), root.get());
    EXPECT_EQ(grandChild->getNChildren(), 0u);
}

TEST(Node, DestroysWhatOnlyItOwnsAndFreesTheRest)
{
    Ref<Node> kept;
    u32 lostId;
    {
        const Ref<Node> root = Node::create();
        kept = Node::create();
        const NodePtr lost = Node::create();
        lostId = lost->getId();
        root->addChild(kept);
        root->addChild(lost);
    }
    EXPECT_FALSE(kept->getParent());
    EXPECT_FALSE(FieldContainerFactory::the()->getContainer(lostId));
}

TEST(Node, MultipliesTransformsFromTheRootToItself)
{
    const Ref<Node> root = movedNode(1, 0, 0);
    const auto turn = Transform::create();
    Matrix quarterTurn; // about z
    quarterTurn.setTransform({0, 0, 0}, {0, 0, std::sqrt(0.5f), std::sqrt(0.5f)});
    turn->setMatrix(quarterTurn);
    const NodePtr middle = Node::create(turn);
    const Ref<Node> leaf = movedNode(0, 2, 0);
    root->addChild(middle);
    middle->addChild(leaf);
    // (0, 2, 0) turned by 90 degrees is (-2, 0, 0), then moved by (1, 0, 0).
    EXPECT_NEAR(placeOf(leaf)[0], -1.0f, 1e-6f);
    EXPECT_NEAR(placeOf(leaf)[1], 0.0f, 1e-6f);
}

TEST(Node, FollowsEditsOfTransformsCoresAndParents)
{
    const Ref<Node> root = movedNode(1, 0, 0), other = movedNode(10, 0, 0);
    const Ref<Node> leaf = movedNode(0, 0, 5);
    root->addChild(leaf);
    EXPECT_EQ(placeOf(leaf), Vec3f(1, 0, 5));
    Matrix m;
    m.setTranslate({2, 0, 0});
    Transform::Ptr::dcast(root->getCore())->setMatrix(m);
    EXPECT_EQ(placeOf(leaf), Vec3f(2, 0, 5));
    other->addChild(leaf);
    EXPECT_EQ(placeOf(leaf), Vec3f(10, 0, 5));
    other->setCore(Group::create());
    EXPECT_EQ(placeOf(leaf), Vec3f(0, 0, 5));
    other->subChild(leaf);
    EXPECT_EQ(placeOf(leaf), Vec3f(0, 0, 5));
    // Inside an edit the matrix counts when the edit ends.
    {
        const EditScope edit(leaf->getCore());
        Transform::Ptr::dcast(leaf->getCore())->setMatrix(m);
    }
    EXPECT_EQ(placeOf(leaf), Vec3f(2, 0, 0));
}

TEST(Node, GivesTheSameWorldMatrixToManyThreads)
{
    const Ref<Node> root = movedNode(1, 0, 0);
    std::vector<NodePtr> leaves;
    for (int i = 0; i < 200; ++i) {
        const Ref<Node> leaf = movedNode(float(i), 0, 0);
        root->addChild(leaf);
        leaves.push_back(leaf);
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i)
                if (placeOf(leaves[i])[0] != float(i + 1))
                    ++wrong;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

// A tree as deep as this would need some ten megabytes of stack if anything recursed on it.
TEST(Node, TakesAHundredThousandLevels)
{
    constexpr int depth = 100000;
    const std::size_t before = FieldContainerFactory::the()->getContainerCount();
    {
        const Ref<Node> root = movedNode(1, 0, 0);
        NodePtr last = root;
        for (int i = 1; i < depth; ++i) {
            const Ref<Node> next = movedNode(1, 0, 0);
            ASSERT_TRUE(last->addChild(next));
            last = next;
        }
        EXPECT_EQ(placeOf(last)[0], float(depth));
        int visited = 0;
        traverse(root, [&visited](const NodePtr&) {
            ++visited;
            return true;
        });
        EXPECT_EQ(visited, depth);
        EXPECT_TRUE(last->isVisibleInTree());
        root->setHidden(true);
        EXPECT_FALSE(last->isVisibleInTree());
        EXPECT_TRUE(root->getWorldBox().isEmpty());
    }
    EXPECT_EQ(FieldContainerFactory::the()->getContainerCount(), before);
}

TEST(Node, IsVisibleOnlyWhenAllAboveShowIt)
{
    const Ref<Node> root = Node::create();
    const auto choice = Switch::create();
    const NodePtr middle = Node::create(choice), first = Node::create(), second = Node::create();
    root->addChild(middle);
    middle->addChild(first);
    middle->addChild(second);
    EXPECT_TRUE(first->isVisibleInTree());
    EXPECT_FALSE(second->isVisibleInTree());
    choice->setChoice(1);
    EXPECT_FALSE(first->isVisibleInTree());
    EXPECT_TRUE(second->isVisibleInTree());
    choice->setChoice(Switch::all);
    EXPECT_TRUE(first->isVisibleInTree());
    choice->setChoice(Switch::none);
    EXPECT_FALSE(first->isVisibleInTree());
    EXPECT_TRUE(middle->isVisibleInTree());
    root->setActive(false);
    EXPECT_FALSE(middle->isVisibleInTree());
}

TEST(Node, KnowsOfLockedParents)
{
    const Ref<Node> root = Node::create();
    const NodePtr child = Node::create();
    root->addChild(child);
    EXPECT_FALSE(child->hasLockedParent());
    root->setLock(true);
    EXPECT_TRUE(child->hasLockedParent());
    EXPECT_FALSE(root->hasLockedParent());
}

TEST(Node, VisitsParentsFirstAndLeavesOutWhatIsNotWanted)
{
    const Ref<Node> root = Node::create(nullptr, "r");
    const NodePtr a = Node::create(nullptr, "a"), b = Node::create(nullptr, "b");
    root->addChild(a);
    a->addChild(Node::create(nullptr, "c"));
    root->addChild(b);
    b->addChild(Node::create(nullptr, "d"));
    std::string names;
    traverse(root, [&names](const NodePtr& node) {
        names += getName(node);
        return getName(node) != "a";
    });
    EXPECT_EQ(names, "rabd");
}

TEST(Node, BoxesItsGeometryInWorldSpace)
{
    const Ref<Node> root = movedNode(10, 0, 0);
    const auto geometry = Geometry::create();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    geometry->setPositions(GeoProperty::create({{-1, -2, -3}, {1, 2, 3}, {nan, 100, 100}}));
    root->addChild(Node::create(geometry));
    const Box box = root->getWorldBox();
    EXPECT_EQ(box.minimum, Pnt3f(9, -2, -3));
    EXPECT_EQ(box.maximum, Pnt3f(11, 2, 3));
}

} // namespace
