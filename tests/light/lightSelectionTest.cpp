#include "gi/znRTPoisson.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/UberLight.h"
#include "light/environmentFixture.h"
#include "light/znRTLight.h"
#include "render/znRTRenderUtils.h"
#include "support/meshScene.h"

#include <gtest/gtest.h>

namespace {

class LightSelection : public testing::Test
{
protected:
    LightSelection() { znRTRenderUtils::s_currentAccelerator = scene.scene.get(); }
    ~LightSelection() override
    {
        znRTRenderUtils::s_currentAccelerator = before;
        znRTRenderUtils::s_maxLightEvaluations = 1;
    }
    osg::NodePtr add(float intensity)
    {
        const auto core = osg::UPointLight::create();
        core->setIntensity(intensity);
        const osg::NodePtr node = osg::Node::create(osg::NodeCorePtr(core));
        scene.root->addChild(node);
        scene.scene->addLight(node);
        return node;
    }
    const znDistribution1D& table() { return *znRTRenderUtils::getLightDistribution(); }

    MeshScene scene;
    znRTAccelerator* const before = znRTRenderUtils::s_currentAccelerator;
};

// Half the square root of the count, truncated, from 1 to 16: 6^2 / 4 = 9 and so on.
TEST_F(LightSelection, DrawsHalfTheRootOfTheNumberOfLights)
{
    const std::pair<u64, int> expected[] = {{0, 1},     {1, 1},     {15, 1},     {16, 2},
                                            {99, 4},    {100, 5},   {1000, 15},  {1023, 15},
                                            {1024, 16}, {1296, 16}, {100000, 16}};
    for (const auto& [lights, draws] : expected)
        EXPECT_EQ(znRTRenderUtils::countLightEvaluations(lights), draws) << lights << " lights";
    add(1.0f);
    znRTRenderUtils::updateLightDistribution(true);
    EXPECT_EQ(znRTRenderUtils::s_maxLightEvaluations, 1);
}

TEST_F(LightSelection, ChoosesLightsInProportionToTheirPower)
{
    for (const float intensity : {1.0f, 3.0f, 0.0f, 4.0f})
        add(intensity);
    znRTRenderUtils::updateLightDistribution(true);
    ASSERT_EQ(table().count, 4);
    const float expected[] = {0.0f, 0.125f, 0.5f, 0.5f, 1.0f};
    for (int i = 0; i <= 4; ++i)
        EXPECT_FLOAT_EQ(table().cdf[i], expected[i]) << i;
}

TEST_F(LightSelection, CountsImportanceAndSwitches)
{
    add(1.0f);
    const osg::NodePtr important = add(1.0f), off = add(1.0f);
    const auto attachment = osg::RaytracingLightAttachment::create();
    attachment->setImportanceMultiplier(3.0f);
    important->getCore()->addAttachment(attachment);
    osg::FCPtr<osg::UberLight>::dcast(off->getCore())->setOn(false);
    scene.scene->updateLights();
    znRTRenderUtils::updateLightDistribution(true);
    EXPECT_FLOAT_EQ(table().cdf[1], 0.25f);
    EXPECT_FLOAT_EQ(table().cdf[2], 1.0f);
}

TEST_F(LightSelection, KeepsPowersInUnitsOfMetres)
{
    add(2.0f);
    const UnitsScope millimetres(1000.0f);
    scene.scene->updateLights();
    const float power = scene.scene->getLights()[0]->getPower();
    znRTRenderUtils::updateLightDistribution(true);
    EXPECT_FLOAT_EQ(table().function[0], power * 1e-6f);
}

// The surroundings come behind the lamps, in the same unit; importance is a matter of lamps.
TEST_F(LightSelection, PutsTheEnvironmentLast)
{
    const GeometryRef square = makeSquare(); // what surroundings light has a size
    scene.add(square.get());
    scene.build();
    const osg::NodePtr lamp = add(1.0f);
    add(2.0f);
    const auto attachment = osg::RaytracingLightAttachment::create();
    attachment->setImportanceMultiplier(7.0f);
    lamp->getCore()->addAttachment(attachment);
    const auto environment = environmentOf(greyEnvironment(8, 4, [](int, int) { return 1.0f; }));
    scene.scene->addEnvironmentLight(osg::MaterialPtr(environment.get()));
    const UnitsScope decimetres(10.0f);
    znRTRenderUtils::updateEnvironment();
    scene.scene->updateLights();
    znRTRenderUtils::updateLightDistribution(true);
    const znDynArray<znRTLight*>& lights = scene.scene->getLights();
    const float around = znRTRenderUtils::getEnvironmentLight()->getPower();
    ASSERT_GT(around, 0.0f);
    EXPECT_EQ(table().count, 2);
    const znDistribution1D& all = *znRTRenderUtils::getLightDistributionWithEnv();
    ASSERT_EQ(all.count, 3);
    const float expected[] = {0.07f * lights[0]->getPower(), 0.01f * lights[1]->getPower(),
                              0.01f * around};
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(all.function[i], expected[i], 1e-5f * expected[i]) << i;
    EXPECT_EQ(all.cdf[3], 1.0f);
}

TEST_F(LightSelection, IsEmptyWithoutLightsAndUniformWithoutPower)
{
    znRTRenderUtils::updateLightDistribution(true);
    EXPECT_EQ(table().count, 0);
    add(0.0f);
    add(0.0f);
    znRTRenderUtils::updateLightDistribution(true);
    EXPECT_FLOAT_EQ(table().cdf[1], 0.5f);
    scene.scene->clear();
    EXPECT_EQ(table().count, 0);
}

/// Light that the walk through the table with its head start catches.
int caught(const znDistribution1D& table, float u)
{
    int i = std::max(table.startTable[int(u * 255.0f)], 1);
    while (i < table.count && u > table.cdf[i])
        ++i;
    return i - 1;
}

// Every draw against the definition, the first i with u <= cdf[i], over all rows of the table of
// random numbers: then each light is drawn with its own probability.
TEST_F(LightSelection, CatchesTheSameLightWithTheHeadStart)
{
    ensurePointTable();
    for (const int lights : {5, 50, 1000, 20000}) {
        std::vector<float> powers;
        for (int i = 0; i < lights; ++i)
            powers.push_back(float((i * 2654435761u >> 8) % 1000) * (i % 7 == 0 ? 30.0f : 1.0f));
        znDistribution1D distribution;
        distribution.setFunction(powers.data(), lights);
        const float* const begin = distribution.cdf + 1;
        int wrong = 0;
        for (int row = 0; row < 1 << 18; row += 4) {
            const znRTVector2fPacket u = znRTPoisson::getRows({row, row + 1, row + 2, row + 3});
            for (int lane = 0; lane < 4; ++lane) {
                const float value = u.x[lane];
                const long first = std::lower_bound(begin, begin + lights, value) - begin;
                wrong += caught(distribution, value) != int(first);
            }
        }
        EXPECT_EQ(wrong, 0) << lights << " lights";
    }
}

} // namespace
