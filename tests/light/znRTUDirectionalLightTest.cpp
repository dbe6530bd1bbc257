#include "light/znRTUDirectionalLight.h"
#include "light/lightFixture.h"
#include "render/znRTRenderUtils.h"
#include "support/meshScene.h"

#include <limits>

namespace {

class DirectionalLight : public testing::Test
{
protected:
    DirectionalLight() : previous(znRTRenderUtils::s_currentAccelerator)
    {
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
    }
    ~DirectionalLight() override { znRTRenderUtils::s_currentAccelerator = previous; }

    MeshScene scene;
    PlacedCore<osg::UDirectionalLight> placed;
    znRTUDirectionalLight light{placed.node.get(), placed.core};

private:
    znRTAccelerator* previous;
};

TEST_F(DirectionalLight, ShinesAlongItsNegativeZ)
{
    placed.turn({0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    light.update();
    EXPECT_EQ(light.getDirection(), znRTVector3f(-1, 0, 0));
    const znRTVector3fPacket towards = light.getLightVector(inAllLanes(4, 5, 6));
    EXPECT_LANES_EQ(towards.x, 1, 1, 1, 1);
    constexpr float largest = std::numeric_limits<float>::max();
    EXPECT_LANES_EQ(light.getDistance(towards), largest, largest, largest, largest);
    EXPECT_FALSE(light.getBoundingBox().isValid());
}

// Radiance of white Lambert: 1/pi cos colour / (1/pi).
TEST_F(DirectionalLight, LightsAWhiteFloorByTheCosine)
{
    placed.turn({1, 0, 0}, {0, 0.8f, 0.6f}, {0, -0.6f, 0.8f}); // turned about x
    placed.core->setIntensity(3.0f);
    light.update();
    const znRTVector3fPacket p = inAllLanes(0, 0, 0), wi = light.getLightVector(p);
    const znRTColorPacket value =
        light.getIntensity(p, wi, znRTVector2fPacket(0.0f, 0.0f), everyLane4);
    const double radiance = 1.0 / testPi * wi.z[0] * light.getDiffuseColor().g * value.g[0] /
                            light.getPDF(p, wi, everyLane4)[0];
    EXPECT_NEAR(radiance, 3.0 * 0.8, 1e-6);
}

TEST_F(DirectionalLight, CoversTheSceneWithPhotons)
{
    const GeometryRef square = makeSquare();
    scene.add(square.get(), makeTranslation(10, 20, 30));
    scene.build();
    placed.core->setIntensity(2.0f);
    light.update();
    const double radius = std::sqrt(2.0);
    EXPECT_NEAR(light.getPower(), testPi * radius * radius * 2.0, 1e-4);
    double bins[8] = {};
    constexpr int count = 40000;
    for (int i = 0; i < count; i += 4) {
        znRTVector3fPacket position, direction, normal;
        znFloatType<2> pdf;
        const znRTColorPacket value = light.sample_L_Out(
            tablePoints(i), tablePoints(i, 1), everyLane4, position, direction, normal, pdf);
        for (int lane = 0; lane < 4; ++lane) {
            const znRTVector3f p = position.getLane(lane);
            EXPECT_NEAR(p.z, 30 + radius, 1e-4) << "outside of the scene";
            EXPECT_EQ(direction.getLane(lane), znRTVector3f(0, 0, -1));
            EXPECT_NEAR(pdf[lane], 1.0 / (2.0 * testPi), 1e-6);
            EXPECT_NEAR(value.r[lane], 2.0 * testPi, 1e-5);
            const double r2 = (std::pow(p.x - 10.0, 2) + std::pow(p.y - 20.0, 2)) / 2.0;
            ASSERT_LE(r2, 1.001);
            bins[std::min(int(r2 * 8), 7)] += 8.0 / count; // equal areas
        }
    }
    for (const double share : bins)
        EXPECT_NEAR(share, 1.0, 0.03);
    // Irradiance by sampling is pi colour, over the disk pi r^2.
    EXPECT_NEAR(sampledFlux(light), testPi * 2.0 * testPi * 2.0, 1e-3);
}

TEST_F(DirectionalLight, EmitsNothingIntoAnEmptyScene)
{
    light.update();
    EXPECT_EQ(light.getPower(), 0.0f);
    EXPECT_EQ(sampledFlux(light, 16), 0.0);
}

TEST_F(DirectionalLight, IsRankedByTheSquareOfTheUnit)
{
    const UnitsScope units(2.0f);
    placed.core->setIntensity(5.0f);
    light.update();
    EXPECT_EQ(light.getLuminousIntensity(), 20.0f);
    placed.core->setOn(false);
    light.update();
    EXPECT_EQ(light.getLuminousIntensity(), 0.0f);
    EXPECT_EQ(light.getPower(), 0.0f);
}

} // namespace
