#include "light/znRTUPointLight.h"
#include "light/lightFixture.h"

namespace {

class PointLight : public testing::Test
{
protected:
    PointLight() { placed.move(1, 2, 3); }
    znFloatType<2> intensityAt(znFloatType<2> distance, int lanes = 15)
    {
        const znRTVector3fPacket from(1.0f, 2.0f, znFloatType<2>(3.0f) - distance);
        return light
            .getIntensity(from, inAllLanes(0, 0, 1), znRTVector2fPacket(0.0f, 0.0f),
                          expandLanes(lanes))
            .g;
    }

    PlacedCore<osg::UPointLight> placed;
    znRTUPointLight light{placed.node.get(), placed.core};
};

// The falloffs: 1, 1/d, 1/d^2.
TEST_F(PointLight, FallsOffByItsKind)
{
    const znFloatType<2> distances(1.0f, 2.0f, 5.0f, 0.0f);
    placed.core->setAttenuationType(0);
    light.update();
    EXPECT_LANES_NEAR(intensityAt(distances), 1, 1, 1, 1, 1e-6f);
    placed.core->setAttenuationType(1);
    light.update();
    EXPECT_LANES_NEAR(intensityAt(distances), 1, 0.5f, 0.2f, 0, 1e-6f);
    for (const int type : {2, 7}) {
        placed.core->setAttenuationType(type);
        light.update();
        EXPECT_LANES_NEAR(intensityAt(distances), 1, 0.25f, 0.04f, 0, 1e-6f);
    }
    EXPECT_LANES_NEAR(intensityAt(1.0f, 6), 0, 1, 1, 0, 1e-6f);
}

// Strengths of different falloffs meet at one metre: u u, u, and for the inverse square none, since
// its luminous intensity comes scaled by u u from the scene.
TEST_F(PointLight, BringsFalloffsToOneScale)
{
    const UnitsScope scene(2.0f);
    const float stored[] = {3.0f, 3.0f, 0.75f, 0.75f}, expected[] = {12.0f, 6.0f, 3.0f, 3.0f};
    const int types[] = {0, 1, 2, 7};
    for (int i = 0; i < 4; ++i) {
        placed.core->setDiffuse(osg::ColorComponent(osg::Vec3f(1, 1, 1), stored[i]));
        placed.core->setGlossy(osg::ColorComponent(osg::Vec3f(1, 1, 1), stored[i]));
        placed.core->setAttenuationType(types[i]);
        light.update();
        EXPECT_FLOAT_EQ(light.getMaxIntensity(), expected[i]) << "type " << types[i];
        EXPECT_FLOAT_EQ(light.getPower(), expected[i] * 12.566371f);
    }
    placed.core->setAttenuationType(1);
    light.update();
    EXPECT_FLOAT_EQ(light.getLuminousIntensity(), 2.0f * light.getMaxIntensity());
}

TEST_F(PointLight, IsOfNoPowerWhileOff)
{
    placed.core->setOn(false);
    light.update();
    EXPECT_EQ(light.getPower(), 0.0f);
    EXPECT_EQ(light.getLuminousIntensity(), 0.0f);
}

// Radiance of a surface of albedo rho: rho / pi cos colour I / pdf with pdf 1 / pi.
TEST_F(PointLight, LightsAWhiteFloorByTheInverseSquareLaw)
{
    placed.core->setIntensity(7.0f);
    light.update();
    const znRTVector3fPacket p(znFloatType<2>(1.0f, 2.0f, 4.0f, -3.0f), 2.0f, 0.0f);
    const znRTVector3fPacket wi = light.getLightVector(p), n = inAllLanes(0, 0, 1);
    const znRTColorPacket value =
        light.getIntensity(p, wi, znRTVector2fPacket(0.0f, 0.0f), everyLane4);
    const znFloatType<2> pdf = light.getPDF(p, wi, everyLane4);
    for (int lane = 0; lane < 4; ++lane) {
        const double radiance =
            1.0 / testPi * dot(wi, n)[lane] * light.getDiffuseColor().r * value.r[lane] / pdf[lane];
        const double dx = double(p.x[lane]) - 1.0, d2 = dx * dx + 9.0;
        EXPECT_NEAR(radiance, 7.0 * 3.0 / std::sqrt(d2) / d2, 2e-6) << lane;
    }
    EXPECT_LANES_NEAR(light.getDistance(p), 3.0f, std::sqrt(10.0f), std::sqrt(18.0f), 5.0f, 1e-6f);
}

TEST_F(PointLight, IsCulledBehindTheSurface)
{
    light.update();
    const znRTVector3fPacket p(1.0f, 2.0f, znFloatType<2>(2.0f, 4.0f, 3.0f, 0.0f));
    EXPECT_EQ(moveMask(light.cullLight(p, inAllLanes(0, 0, 1), everyLane4)), 0b1101);
    EXPECT_EQ(moveMask(light.cullLight(p, inAllLanes(0, 0, 1), expandLanes(6))), 0b0100);
}

TEST_F(PointLight, HasABoxAroundItsPosition)
{
    light.update();
    const znRTBoundingBox box = light.getBoundingBox();
    EXPECT_TRUE(box.isValid());
    EXPECT_FLOAT_EQ(box.xmin, 1.0f - 1e-6f);
    EXPECT_FLOAT_EQ(box.zmax, 3.0f + 1e-6f);
    EXPECT_GT(box.ymax, box.ymin);
}

// First moments of the uniform sphere are 0, second moments 1/3.
TEST_F(PointLight, SendsPhotonsInAllDirectionsAlike)
{
    light.update();
    double first[3] = {}, second[3] = {};
    constexpr int count = 100000;
    for (int i = 0; i < count; i += 4) {
        znRTVector3fPacket position, direction, normal;
        znFloatType<2> pdf;
        light.sample_L_Out(tablePoints(i), tablePoints(i, 1), everyLane4, position, direction,
                           normal, pdf);
        EXPECT_LANES_EQ(pdf, 0.07957747f, 0.07957747f, 0.07957747f, 0.07957747f);
        EXPECT_EQ(position.getLane(2), znRTVector3f(1, 2, 3));
        for (int lane = 0; lane < 4; ++lane)
            for (int axis = 0; axis < 3; ++axis) {
                const double x = direction.getLane(lane)[axis];
                first[axis] += x / count;
                second[axis] += x * x / count;
            }
    }
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(first[axis], 0.0, 0.01);
        EXPECT_NEAR(second[axis], 1.0 / 3.0, 0.01);
    }
}

// A sphere of radius R around the light receives E = pi colour / R^2 by light sampling (density
// 1 / pi): 4 pi^2 colour in all.
TEST_F(PointLight, SendsAsMuchByPhotonsAsSamplingFinds)
{
    placed.core->setIntensity(2.0f);
    light.update();
    EXPECT_NEAR(sampledFlux(light), 4.0 * testPi * testPi * 2.0, 1e-3);
    znRTVector3fPacket position, direction, normal;
    znFloatType<2> pdf;
    const znRTColorPacket value = light.sample_L_Out(tablePoints(0), tablePoints(0), expandLanes(9),
                                                     position, direction, normal, pdf);
    EXPECT_EQ(value.r[1], 0.0f);
    EXPECT_EQ(pdf[2], 0.0f);
    EXPECT_LANES_NEAR(dot(direction, normal), 1, 1, 1, 1, 1e-5f);
}

TEST_F(PointLight, MayGoWithTheCamera)
{
    light.update();
    osg::Matrix worldToCamera;
    worldToCamera[3][1] = -8.0f;
    light.followCamera(worldToCamera);
    EXPECT_EQ(light.getPosition(), znRTVector3f(0, 8, 0));
    EXPECT_LANES_NEAR(light.getDistance(inAllLanes(0, 3, 0)), 5, 5, 5, 5, 1e-6f);
    light.update();
    EXPECT_EQ(light.getPosition(), znRTVector3f(1, 2, 3));
}

TEST_F(PointLight, IsLeftAsItWasByACoreOfAnotherKind)
{
    PlacedCore<osg::UDirectionalLight> other;
    znRTUPointLight odd(other.node.get(), other.core);
    other.move(5, 5, 5);
    odd.update();
    EXPECT_EQ(odd.getPosition(), znRTVector3f(0, 0, 0));
}

} // namespace
