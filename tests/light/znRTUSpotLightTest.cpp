#include "light/znRTUSpotLight.h"
#include "light/lightFixture.h"

namespace {

class SpotLight : public testing::Test
{
protected:
    void set(float cone, float penumbra)
    {
        placed.core->setConeAngle(cone);
        placed.core->setPenumbraAngle(penumbra);
        placed.core->setAttenuationType(0);
        light.update();
    }
    /// Value in directions at angles from the axis.
    znFloatType<2> valueAt(double a, double b, double c, double d)
    {
        const double angles[] = {a, b, c, d};
        znRTVector3fPacket away;
        for (int lane = 0; lane < 4; ++lane) {
            const double r = angles[lane] * testPi / 180.0;
            away.setLane(lane, {float(std::sin(r)), 0.0f, float(-std::cos(r))});
        }
        const znRTColorPacket value =
            light.getIntensity(away, -away, znRTVector2fPacket(0.0f, 0.0f), everyLane4);
        if (!light.texture) {
            EXPECT_LANES_EQ(value.a, value.r[0], value.r[1], value.r[2], value.r[3]);
        }
        return value.r;
    }

    PlacedCore<osg::USpotLight> placed;
    znRTUSpotLight light{placed.node.get(), placed.core};
};

TEST_F(SpotLight, DerivesItsConesFromHalfAngles)
{
    set(30, 5);
    const double outer = std::cos(35 * testPi / 180), inner = std::cos(30 * testPi / 180);
    EXPECT_NEAR(light.getOuterCos(), outer, 1e-7);
    EXPECT_NEAR(light.getInnerCos(), inner, 1e-7);
    EXPECT_NEAR(light.getFocus(), 1.0 / std::tan(35 * testPi / 180), 1e-6);
    EXPECT_NEAR(light.getSolidAngle(), testPi * (2.0 - outer - inner), 1e-6);
}

TEST_F(SpotLight, FadesByTheCubicBetweenTheCones)
{
    set(30, 5);
    // Half way between the cosines the cubic is 1/2.
    const double outer = std::cos(35 * testPi / 180), inner = std::cos(30 * testPi / 180);
    const double middle = std::acos(0.5 * (outer + inner)) * 180 / testPi;
    EXPECT_LANES_NEAR(valueAt(0, middle, 36, 29.9), 1.0f, 0.5f, 0.0f, 1.0f, 1e-5f);
    const double quarter = std::acos(outer + 0.25 * (inner - outer)) * 180 / testPi;
    EXPECT_LANES_NEAR(valueAt(quarter, 90, 180, 34.999), 0.15625f, 0, 0, 0, 1e-4f);
}

TEST_F(SpotLight, LightsAHemisphereWithAConeOfNinetyDegrees)
{
    set(90, 0);
    EXPECT_TRUE(std::isfinite(light.getFocus()));
    EXPECT_NEAR(light.getFocus(), 1.0 / std::tan(89.9999 * testPi / 180), 1e-9);
    EXPECT_GE(light.getOuterCos(), 0.0f);
    EXPECT_LT(light.getOuterCos(), 1e-6f);
    EXPECT_NEAR(light.getSolidAngle(), 2 * testPi, 1e-5);
    EXPECT_LANES_NEAR(valueAt(0, 60, 89, 91), 1, 1, 1, 0, 1e-6f);
}

TEST_F(SpotLight, LightsTheCoreOfANarrowCone)
{
    set(1, 0); // both cones have one cosine in single precision
    EXPECT_LANES_NEAR(valueAt(0, 0.5, 1.1, 2), 1, 1, 0, 0, 1e-6f);
}

TEST_F(SpotLight, IsNeverWiderThanAHemisphere)
{
    set(120, 20);
    EXPECT_EQ(light.getOuterCos(), 0.0f);
    EXPECT_EQ(light.getInnerCos(), 0.0f);
    EXPECT_LANES_NEAR(valueAt(0, 80, 100, 180), 1, 1, 0, 0, 1e-6f);
}

// The cubic's integral over the sphere is the mean of the two solid angles; photons carry pi times
// that, as the constant density 1 / pi asks for.
TEST_F(SpotLight, SendsPhotonsOfItsSolidAngle)
{
    for (const auto& [cone, penumbra] :
         {std::pair{30.0f, 5.0f}, {10.0f, 40.0f}, {90.0f, 0.0f}, {0.5f, 0.0f}, {0.0f, 60.0f}}) {
        set(cone, penumbra);
        const double expected = testPi * light.getSolidAngle();
        EXPECT_NEAR(sampledFlux(light), expected, 0.005 * expected) << cone << " " << penumbra;
        EXPECT_FLOAT_EQ(light.getPower(), light.getSolidAngle());
    }
    placed.core->setOn(false);
    light.update();
    EXPECT_EQ(light.getPower(), 0.0f);
}

TEST_F(SpotLight, KeepsPhotonsInsideTheOuterCone)
{
    placed.turn({0, 1, 0}, {0, 0, 1}, {1, 0, 0}); // shines along -x
    set(20, 10);
    EXPECT_NEAR(light.getLightDirection().x, -1.0f, 1e-6f);
    const float outer = std::cos(30.0f * float(testPi) / 180.0f);
    for (int i = 0; i < 4096; i += 4) {
        znRTVector3fPacket position, direction, normal;
        znFloatType<2> pdf;
        light.sample_L_Out(tablePoints(i), tablePoints(i, 1), everyLane4, position, direction,
                           normal, pdf);
        EXPECT_EQ(moveMask(-direction.x > znFloatType<2>(outer - 1e-5f)), 15);
        const float density = float(1.0 / (2 * testPi * (1 - double(outer))));
        EXPECT_LANES_NEAR(pdf, density, density, density, density, 1e-4f * density);
    }
}

// The square around the cone: a direction on the cone's rim along x has u = 1, the axis the middle.
TEST_F(SpotLight, ProjectsItsTexture)
{
    const osg::Ref<osg::Image> image(osg::Image::create());
    const float texels[] = {0.25f, 0.75f};
    image->set(osg::Image::L, 2, 1, 1, 1, 1, texels, osg::Image::Float32);
    image->setColorSpaceGamma(1.0f);
    placed.core->setEmissionTexture(image.get());
    placed.core->setEmissionTextureActive(true);
    set(45, 0);
    EXPECT_NEAR(valueAt(0, 0, 0, 0)[0], 0.5f, 1e-4f) << "half way between two texels";
    // tan(a) = 1/2 lies at u = 3/4, the centre of the second texel.
    const double angle = std::atan(0.5) * 180 / testPi;
    EXPECT_LANES_NEAR(valueAt(angle, -angle, 44, -44), 0.75f, 0.25f, 0.75f, 0.25f, 1e-3f);
}

} // namespace
