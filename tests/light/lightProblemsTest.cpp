// Lights that cannot shine as they are set up: a line names them, and the rest goes on.

#include "host/osg/AttachmentContainer.h"
#include "host/osg/UAreaLight.h"
#include "host/osg/UPointLight.h"
#include "host/znLog.h"
#include "light/lightFixture.h"
#include "light/znRTUDirectionalLight.h"
#include "light/znRTUDiskLight.h"
#include "light/znRTUPointLight.h"
#include "light/znRTUSphericalLight.h"
#include "light/znRTUSpotLight.h"

#include <limits>

namespace {

constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();

class LightProblems : public testing::Test
{
protected:
    LightProblems()
        : sink(znLog::setSink([this](znLog::Level, const char* text) { log.push_back(text); }))
    {
    }
    ~LightProblems() override { znLog::setSink(sink); }

    template <class Core>
    static void name(PlacedCore<Core>& placed, const char* text)
    {
        osg::setName(placed.node.get(), text);
    }

    std::vector<std::string> log;

private:
    znLog::Sink sink;
};

} // namespace

TEST_F(LightProblems, AreToldOncePerLight)
{
    PlacedCore<osg::UPointLight> placed;
    name(placed, "kitchen");
    placed.core->setDiffuse(osg::ColorComponent(osg::Vec3f(-1.0f, 0.5f, noNumber)));
    znRTUPointLight light(placed.node.get(), osg::NodeCorePtr(placed.core));
    light.update();
    light.update();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], "Light \"kitchen\": its colour times its intensity is negative or no number, "
                      "which counts as 0.");
    EXPECT_EQ(light.getDiffuseColor().r, 0.0f);
    EXPECT_EQ(light.getDiffuseColor().g, 0.5f);
    EXPECT_EQ(light.getDiffuseColor().b, 0.0f);
    EXPECT_EQ(light.getPower(), float(4.0 * testPi)) << "the glossy colour is white";
}

TEST_F(LightProblems, OfPowerLeaveLightsDark)
{
    for (const float intensity : {-2.0f, noNumber, std::numeric_limits<float>::infinity()}) {
        log.clear();
        PlacedCore<osg::UPointLight> placed;
        osg::ColorComponent color(osg::Vec3f(1.0f, 1.0f, 1.0f));
        color.intensity = intensity;
        placed.core->setDiffuse(color);
        placed.core->setGlossy(color);
        znRTUPointLight light(placed.node.get(), osg::NodeCorePtr(placed.core));
        light.update();
        EXPECT_EQ(light.getPower(), 0.0f) << intensity;
        ASSERT_EQ(log.size(), 1u) << intensity;
        EXPECT_EQ(log[0].rfind("Light number ", 0), 0u) << log[0];
    }
}

TEST_F(LightProblems, TurnOffAreasWithoutSize)
{
    PlacedCore<osg::UDiskLight> disk;
    name(disk, "disk");
    disk.core->setSizeX(0.0f);
    znRTUDiskLight diskLight(disk.node.get(), osg::NodeCorePtr(disk.core));
    diskLight.update();
    EXPECT_FALSE(diskLight.isOn());
    PlacedCore<osg::USphericalLight> ball;
    name(ball, "ball");
    ball.core->setRadius(0.0f);
    znRTUSphericalLight ballLight(ball.node.get(), osg::NodeCorePtr(ball.core));
    ballLight.update();
    EXPECT_FALSE(ballLight.isOn());
    EXPECT_EQ(log, (std::vector<std::string>{"Light \"disk\": it has no size: it is off.",
                                             "Light \"ball\": it has no size: it is off."}));
    // A light that is off by itself is no problem.
    disk.core->setOn(false);
    osg::setName(disk.node.get(), "other");
    diskLight.update();
    EXPECT_EQ(log.size(), 2u);
}

TEST_F(LightProblems, TurnOffLightsWithoutPlace)
{
    PlacedCore<osg::UPointLight> placed;
    name(placed, "lost");
    placed.move(1.0f, noNumber, 0.0f);
    znRTUPointLight light(placed.node.get(), osg::NodeCorePtr(placed.core));
    light.update();
    EXPECT_FALSE(light.isOn());
    EXPECT_EQ(log, std::vector<std::string>{"Light \"lost\": its place is no number: it is off."});
    placed.move(1.0f, 2.0f, 0.0f);
    light.update();
    EXPECT_TRUE(light.isOn());
    EXPECT_EQ(light.getPosition().y, 2.0f);
}

TEST_F(LightProblems, TurnOffLightsWithoutDirection)
{
    PlacedCore<osg::USpotLight> spot;
    name(spot, "spot");
    spot.turn({1, 0, 0}, {0, 1, 0}, {0, 0, 0});
    znRTUSpotLight spotLight(spot.node.get(), osg::NodeCorePtr(spot.core));
    spotLight.update();
    EXPECT_FALSE(spotLight.isOn());
    PlacedCore<osg::UDirectionalLight> sun;
    name(sun, "sun");
    sun.turn({1, 0, 0}, {0, 1, 0}, {0, 0, 0});
    znRTUDirectionalLight sunLight(sun.node.get(), osg::NodeCorePtr(sun.core));
    sunLight.update();
    EXPECT_FALSE(sunLight.isOn());
    EXPECT_EQ(log, (std::vector<std::string>{
                       "Light \"spot\": its transform leaves it no direction: it is off.",
                       "Light \"sun\": its transform leaves it no direction: it is off."}));
}
