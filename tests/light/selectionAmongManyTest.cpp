// Drawing among many lights against the sum over all of them.

#include "material/materialFixture.h"

#include "host/osg/UPointLight.h"
#include "light/znRTLightBVH.h"

#include <random>

using namespace materialTest;

namespace {

class SelectionAmongMany : public MaterialTest
{
protected:
    ~SelectionAmongMany() override { scene.scene->clear(); }

    /// Points of light over four decades of strength. One in eleven is off, one in thirteen without
    /// any strength, one in seven below the floor.
    void addLamps(int count)
    {
        std::mt19937 engine(7);
        std::uniform_real_distribution<float> uniform(0.0f, 1.0f);
        for (int i = 0; i < count; ++i) {
            lamps.emplace_back();
            const float height = (i % 7 == 3 ? -1.0f : 1.0f) * (0.5f + uniform(engine));
            lamps.back().move(3.0f * uniform(engine) - 1.5f, 3.0f * uniform(engine) - 1.5f, height);
            const float strength = i % 13 == 5 ? 0.0f : std::pow(10.0f, 4.0f * uniform(engine));
            lamps.back().core->setDiffuse(
                osg::ColorComponent(osg::Vec3f(1.0f, 0.5f, 0.25f), strength / float(count)));
            lamps.back().core->setOn(i % 11 != 4);
            scene.scene->addLight(lamps.back().node.get());
        }
        scene.scene->updateLights();
        znRTRenderUtils::updateLightDistribution(true);
    }
    void removeLamps()
    {
        for (const auto& lamp : lamps)
            scene.scene->deleteLight(lamp.node->getId());
        lamps.clear();
    }
    double sumOfAll()
    {
        Settings::s_lightOptimizationMode = 0;
        const double sum = shade().color.r[0];
        Settings::s_lightOptimizationMode = 1;
        return sum;
    }

    struct Mean
    {
        double value, error;
    };
    /// Mean of draws, and its standard error by sixteen parts.
    Mean meanOfDraws(int samples)
    {
        constexpr int parts = 16;
        double sum = 0.0, squares = 0.0;
        for (int part = 0; part < parts; ++part) {
            double own = 0.0;
            for (int i = 0; i < samples / parts; ++i) {
                const znRTColorPacket c = shade(0.2f, 0.1f, 15, part * samples / parts + i).color;
                for (int lane = 0; lane < 4; ++lane)
                    own += double(c.r[lane]);
            }
            own /= 4.0 * samples / parts;
            sum += own / parts;
            squares += own * own / parts;
        }
        return {sum, std::sqrt(std::max(0.0, squares - sum * sum) / (parts - 1))};
    }

    std::list<PlacedCore<osg::UPointLight>> lamps;
};

} // namespace

TEST_F(SelectionAmongMany, HasTheMeanOfAll)
{
    addSquare(makeDiffuse(1.0f));
    for (const int count : {5, 50, 1000}) {
        removeLamps();
        addLamps(count);
        const double all = sumOfAll();
        ASSERT_GT(all, 0.0);
        const Mean drawn = meanOfDraws(8192);
        EXPECT_LT(3.0 * drawn.error, 0.01 * all) << count << " lights: too noisy to tell";
        EXPECT_NEAR(drawn.value, all, 0.01 * all) << count << " lights";
    }
}

// Four points together, two and two, and each alone, with several draws each: bit for bit the same.
TEST_F(SelectionAmongMany, ChoosesForEachLaneByItself)
{
    addSquare(makeDiffuse(1.0f));
    addLamps(150);
    ASSERT_EQ(znRTRenderUtils::s_maxLightEvaluations, 6);
    const znFloatType<2> x(-0.9f, -0.2f, 0.3f, 0.8f), y(0.1f, 0.5f, -0.4f, -0.7f);
    for (const int sample : {0, 5, 77}) {
        const znRTColorPacket whole = shade(x, y, 15, sample).color;
        for (int mask = 1; mask < 15; ++mask) {
            const znRTColorPacket part = shade(x, y, mask, sample).color;
            for (int lane = 0; lane < 4; ++lane)
                for (int channel = 0; channel < 3; ++channel)
                    if (mask >> lane & 1) {
                        EXPECT_EQ(part[channel][lane], whole[channel][lane]) << mask << " " << lane;
                    }
        }
    }
}

// Who descends the tree with chances in proportion to the powers, and takes one light of the leaf
// by its power, finds each light with its share of all power.
TEST_F(SelectionAmongMany, FindsLightsInTheTreeByTheirPower)
{
    addLamps(200);
    const znRTLightBVH* const tree = znRTRenderUtils::getLightHierarchy();
    ASSERT_NE(tree, nullptr);
    ASSERT_TRUE(tree->isValid());
    double total = 0.0;
    for (const znRTLight* lamp : znRTRenderUtils::getLights())
        total += double(lamp->getPower());
    double found = 0.0;
    const auto descend = [&](const auto& self, const znRTLightBVHNode* node,
                             double chance) -> void {
        if (node->isInteriorNode()) {
            const double left = node->getLeftPower(), right = node->getRightPower();
            const double both = left + right;
            self(self, node->getLeftNode(), both > 0.0 ? chance * left / both : 0.0);
            self(self, node->getRightNode(), both > 0.0 ? chance * right / both : 0.0);
            return;
        }
        double power = 0.0;
        for (unsigned i = 0; i < node->getLightCount(); ++i)
            power += double(node->getLight(i)->getPower());
        for (unsigned i = 0; i < node->getLightCount() && power > 0.0; ++i) {
            const double own = double(node->getLight(i)->getPower()) / power * chance;
            EXPECT_NEAR(own, node->getLight(i)->getPower() / total, 1e-6);
            found += own;
        }
    };
    descend(descend, tree->getRoot(), 1.0);
    EXPECT_NEAR(found, 1.0, 1e-5);
}
