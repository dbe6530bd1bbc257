#include "light/znRTLightBVH.h"

#include "light/lightFixture.h"
#include "light/znRTUDirectionalLight.h"
#include "light/znRTUPointLight.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {

class LightTree : public testing::Test
{
protected:
    znRTUPointLight& addPoint(float x, float y, float z, float intensity)
    {
        auto& place = *places.emplace_back(std::make_unique<PlacedCore<osg::UPointLight>>());
        place.move(x, y, z);
        place.core->setIntensity(intensity);
        auto light = std::make_unique<znRTUPointLight>(place.node.get(), place.core);
        light->update();
        znRTUPointLight& added = *light;
        append(std::move(light));
        return added;
    }
    void addRandom(int count)
    {
        std::mt19937 engine(3);
        std::uniform_real_distribution<float> at(-10.0f, 10.0f), power(0.0f, 5.0f);
        for (int i = 0; i < count; ++i) {
            const float x = at(engine), y = at(engine), z = at(engine);
            addPoint(x, y, z, power(engine));
        }
    }
    void append(std::unique_ptr<znRTLight> light)
    {
        list.reserve(list.size + 1, false);
        list[list.size++] = light.get();
        lights.push_back(std::move(light));
    }
    /// Power below a node; collects the lights, and checks boxes and powers on the way.
    double walk(const znRTLightBVHNode& node, std::multiset<znRTLight*>& found,
                znRTBoundingBox& box)
    {
        double power = 0.0;
        if (!node.isInteriorNode()) {
            EXPECT_LE(node.getLightCount(), znRTLightBVHNode::s_maxLights);
            for (unsigned i = 0; i < node.getLightCount(); ++i) {
                znRTLight* const light = node.getLight(i);
                found.insert(light);
                power += light->getPower();
                const znRTBoundingBox own = light->getBoundingBox();
                for (int a = 0; a < 3; ++a)
                    box.setAxis(a, std::min(box.low(a), own.low(a)),
                                std::max(box.high(a), own.high(a)));
            }
            return power;
        }
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(node.getLeftNode()) % 64, 0u);
        const float stated[2] = {node.getLeftPower(), node.getRightPower()};
        for (int side = 0; side < 2; ++side) {
            znRTBoundingBox below;
            const double sum = walk(node.getLeftNode()[side], found, below);
            EXPECT_NEAR(stated[side], sum, 1e-4 * sum);
            for (int a = 0; a < 3; ++a) {
                EXPECT_EQ(node.getBox(side).low(a), below.low(a));
                EXPECT_EQ(node.getBox(side).high(a), below.high(a));
                box.setAxis(a, std::min(box.low(a), below.low(a)),
                            std::max(box.high(a), below.high(a)));
            }
            power += sum;
        }
        return power;
    }

    std::vector<std::unique_ptr<PlacedCore<osg::UPointLight>>> places;
    std::vector<std::unique_ptr<znRTLight>> lights;
    znDynArray<znRTLight*> list;
    znRTLightBVH tree;
};

TEST_F(LightTree, HoldsEachLightOnceWithThePowersBelow)
{
    for (const int count : {2, 6, 7, 64, 65, 1000}) {
        addRandom(count - int(list.size));
        tree.build(list);
        ASSERT_TRUE(tree.isValid());
        EXPECT_EQ(tree.getActiveLightCount(), u64(count));
        std::multiset<znRTLight*> found;
        znRTBoundingBox box;
        double sum = 0.0;
        for (const auto& light : lights)
            sum += light->getPower();
        EXPECT_NEAR(walk(*tree.getRoot(), found, box), sum, 1e-4 * sum) << count;
        EXPECT_EQ(found, std::multiset<znRTLight*>(list.begin(), list.end())) << count;
    }
}

TEST_F(LightTree, IsBuiltTheSameEachTime)
{
    addRandom(300);
    znRTLightBVH other;
    tree.build(list);
    other.build(list);
    const auto leaves = [](const znRTLightBVH& of) {
        std::vector<const znRTLight*> order;
        std::vector<const znRTLightBVHNode*> open{of.getRoot()};
        while (!open.empty()) {
            const znRTLightBVHNode* const node = open.back();
            open.pop_back();
            if (node->isInteriorNode()) {
                open.push_back(node->getLeftNode());
                open.push_back(node->getRightNode());
                continue;
            }
            for (unsigned i = 0; i < node->getLightCount(); ++i)
                order.push_back(node->getLight(i));
        }
        return order;
    };
    EXPECT_EQ(leaves(tree), leaves(other));
}

TEST_F(LightTree, EndsForLightsInOnePlace)
{
    for (int i = 0; i < 100; ++i)
        addPoint(1.0f, 2.0f, 3.0f, 1.0f);
    tree.build(list);
    std::multiset<znRTLight*> found;
    znRTBoundingBox box;
    walk(*tree.getRoot(), found, box);
    EXPECT_EQ(found.size(), 100u);
}

TEST_F(LightTree, NeedsTwoLights)
{
    addPoint(0, 0, 0, 1.0f);
    tree.build(list);
    EXPECT_FALSE(tree.isValid());
    EXPECT_EQ(tree.getActiveLightCount(), 1u);
    ASSERT_EQ(tree.getAlwaysEvalLights().size, 1u);
    EXPECT_EQ(tree.getAlwaysEvalLights()[0], list[0]);
}

TEST_F(LightTree, KeepsLightsWithoutPlaceApartAndLeavesOutWhatIsOff)
{
    addPoint(0, 0, 0, 1.0f);
    addPoint(1, 0, 0, 1.0f);
    places.back()->core->setOn(false);
    lights.back()->update();
    const PlacedCore<osg::UDirectionalLight> sun;
    auto light = std::make_unique<znRTUDirectionalLight>(sun.node.get(), sun.core);
    light->update();
    znRTLight* const parallel = light.get();
    append(std::move(light));
    tree.build(list);
    EXPECT_EQ(tree.getActiveLightCount(), 2u);
    ASSERT_EQ(tree.getAlwaysEvalLights().size, 1u);
    EXPECT_EQ(tree.getAlwaysEvalLights()[0], parallel);
    ASSERT_FALSE(tree.getRoot()->isInteriorNode());
    EXPECT_EQ(tree.getRoot()->getLightCount(), 1u);
    tree.clear();
    EXPECT_FALSE(tree.isValid());
    EXPECT_EQ(tree.getActiveLightCount(), 0u);
}

TEST_F(LightTree, HasAnEmptyRootWithoutPlacedLights)
{
    const PlacedCore<osg::UDirectionalLight> one, two;
    for (const auto* sun : {&one, &two}) {
        append(std::make_unique<znRTUDirectionalLight>(sun->node.get(), sun->core));
        lights.back()->update();
    }
    tree.build(list);
    EXPECT_FALSE(tree.isValid());
    ASSERT_TRUE(tree.getRoot());
    EXPECT_EQ(tree.getRoot()->getLightCount(), 0u);
    EXPECT_EQ(tree.getAlwaysEvalLights().size, 2u);
}

} // namespace
