#include "light/znRTInfiniteSunSkyShape.h"

#include "light/environmentFixture.h"
#include "light/skyModel.h"
#include "material/znRTMaterial.h"

#include <bit>
#include <gtest/gtest.h>

namespace {

/// A sky with its shape; the sun stands as it is told to.
struct Sky
{
    Sky()
    {
        material->setUseSunDirection(true);
        material->setSunDirection({0.6f, 0.0f, 0.8f});
        update();
    }
    void update() { shape.setAttributes(osg::MaterialPtr(material.get())); }

    osg::Ref<osg::USkylightMaterial> material{osg::USkylightMaterial::create()};
    znRTInfiniteSunSkyShape shape;
};

const znRTVector3f towardSun(0.6f, 0.0f, 0.8f);

double chordFromSun(const znRTVector3fPacket& d, int lane)
{
    const double x = d.x[lane] - 0.6, y = d.y[lane], z = d.z[lane] - 0.8;
    return std::sqrt(x * x + y * y + z * z);
}

TEST(SunAndSky, ChooseTheSunByItsPower)
{
    Sky s;
    // A sun of a third of the sky's power.
    const float sky = s.shape.getSky().getPower();
    const float radiance = sky / 3.0f / znRTInfiniteSunSkyShape::s_sunSolidAngle;
    s.shape.setSun({radiance, radiance, radiance, 1.0f}, towardSun, 1.0f);
    EXPECT_NEAR(s.shape.getSunProbability(), 0.25f, 1e-5f);
    s.shape.setSun({0.0f, 0.0f, 0.0f, 1.0f}, towardSun, 1.0f);
    EXPECT_EQ(s.shape.getSunProbability(), 0.0f);
    // cos(atan(0.6957 / 149.6)) = 1 - 1.08129e-5
    EXPECT_NEAR(1.0 - s.shape.getCosSunCone(), 1.0813e-5, 6e-8);
}

TEST(SunAndSky, DrawTheSunWithinItsDiskAndAnswerOneDensity)
{
    Sky s;
    const int samples = 20000;
    int onSun = 0, apart = 0;
    for (int i = 0; i < samples; i += 4) {
        znRTVector3fPacket d;
        znRTVector2fPacket uv;
        const auto pdf = s.shape.sample(tablePoints(i), everyLane4, false, d, uv);
        const auto asked = s.shape.pdf(d, everyLane4);
        const int lanes = moveMask(s.shape.isOnSun(d));
        for (int lane = 0; lane < 4; ++lane) {
            onSun += (lanes >> lane) & 1;
            apart += std::fabs(asked[lane] / pdf[lane] - 1.0f) > 1e-4f;
            if ((lanes >> lane) & 1) {
                EXPECT_LT(chordFromSun(d, lane), 0.004651);
            }
        }
    }
    EXPECT_EQ(apart, 0);
    EXPECT_NEAR(double(onSun) / samples, s.shape.getSunProbability(), 0.01);
}

// The sun stands at a cosine of 0.8 to the ground. The sky's part by a fine grid.
TEST(SunAndSky, DrawTheSunForTheGroundByItsShareThere)
{
    Sky s;
    const double ofSky = overSphere([&](const znRTVector3f& d) {
        const znRTColorPacket c = s.shape.getSky().evaluate(znRTVector3fPacket(d), everyLane4);
        return double(luminance(c)[0]) * std::max(0.0f, d.z);
    });
    const double ofSun = 0.8 * double(s.shape.getSunPower());
    EXPECT_NEAR(s.shape.getGroundIrradiance(), ofSky + ofSun, 0.005 * (ofSky + ofSun));
    int onSun = 0;
    constexpr int samples = 16384;
    for (int i = 0; i < samples; i += 4)
        onSun += std::popcount(unsigned(
            moveMask(s.shape.isOnSun(s.shape.sampleOnGround(tablePoints(i), everyLane4)))));
    EXPECT_NEAR(double(onSun) / samples, ofSun / (ofSky + ofSun), 0.01);
}

// 2 pi (1 - cos(atan(r / d))) = 6.79397e-5 sr: irradiance of a facing surface over the radiance.
TEST(SunAndSky, LightByTheSolidAngleOfTheDisk)
{
    for (const float scale : {0.5f, 1.0f, 50.0f}) {
        Sky s;
        const float radiance = 1e9f; // next to which the sky is nothing
        s.shape.setSun({radiance, radiance, radiance, 1.0f}, towardSun, scale);
        double sum = 0.0;
        const int samples = 16384;
        for (int i = 0; i < samples; i += 4) {
            znRTVector3fPacket d;
            znRTVector2fPacket uv;
            const auto pdf = s.shape.sample(tablePoints(i), everyLane4, false, d, uv);
            const auto light = s.shape.evaluate(d, everyLane4);
            for (int lane = 0; lane < 4; ++lane)
                if (pdf[lane] > 0.0f)
                    sum += double(light.r[lane]) / pdf[lane];
        }
        const double angle = std::atan(scale * 0.6957 / 149.6);
        const double expected = 2.0 * testPi * (1.0 - std::cos(angle)) * radiance;
        EXPECT_NEAR(sum / samples, expected, 0.005 * expected) << "scale " << scale;
    }
}

// The level that the sky is made to: a white floor shows its intensity.
TEST(SunAndSky, ShowAWhiteFloorTheIntensityOfTheSky)
{
    Sky s;
    s.material->setSunBrightness(0.0f);
    s.material->setHorizonBlur(0.0f);
    s.material->setSkyIntensity(0.7f);
    s.update();
    const double irradiance = overSphere([&](const znRTVector3f& d) {
        const auto c = s.shape.evaluate(znRTVector3fPacket(d), everyLane4);
        return (0.2125 * c.r[0] + 0.7154 * c.g[0] + 0.0721 * c.b[0]) * std::max(0.0f, d.z);
    });
    EXPECT_NEAR(irradiance / testPi, 0.7, 0.007);
    EXPECT_EQ(s.shape.getSunProbability(), 0.0f);
}

// A floor of the ground's colour under the sky, whose light on it counts as 1 over pi, and a sun at
// a height of sin 0.8: its radiance times its solid angle times 0.8, over pi.
TEST(SunAndSky, LightTheGroundBelowTheHorizon)
{
    Sky s;
    s.material->setHorizonBlur(0.0f);
    s.material->setSkyIntensity(0.7f);
    s.material->setGroundColor({0.4f, 0.3f, 0.2f});
    s.material->setSunColor({1.0f, 0.9f, 0.8f});
    s.update();
    const znRTVector3fPacket down(0.3f, -0.2f, -0.9f);
    const znRTColorPacket ground = s.shape.evaluate(down.getNormalized(), everyLane4);
    const znRTColorPacket sun = s.shape.lookupSun(znRTVector3fPacket(0.6f, 0.0f, 0.8f), everyLane4);
    const float colors[3] = {0.4f, 0.3f, 0.2f};
    for (int c = 0; c < 3; ++c) {
        const double onFloor = 0.7 + double(sun[c][0]) * 6.79397e-5 * 0.8 / testPi;
        EXPECT_NEAR(ground[c][0], colors[c] * onFloor, 1e-3 * onFloor) << c;
    }
    EXPECT_GT(sun[0][0], 0.0f);
}

TEST(SunAndSky, AreBlueAboveAndBrightestAboutTheSun)
{
    Sky s;
    const auto skyAt = [&](float x, float z) {
        const auto c = s.shape.getSky().evaluate(inAllLanes(x, 0, z), everyLane4);
        return znRTColor(c.r[0], c.g[0], c.b[0], 1.0f);
    };
    const znRTColor away = skyAt(-0.6f, 0.8f), near = skyAt(0.65f, 0.76f);
    EXPECT_GT(away.b, 1.5f * away.r);
    EXPECT_GT(near.g, 2.0f * away.g);
}

TEST(SunAndSky, LeaveTheImageWhileOnlyTheExposureChanges)
{
    Sky s;
    const unsigned builds = s.shape.getSky().getTableBuilds();
    const float power = s.shape.getPower();
    s.material->setExposure(1.0f);
    s.update();
    EXPECT_EQ(s.shape.getSky().getTableBuilds(), builds);
    EXPECT_NEAR(s.shape.getPower(), 2.0f * power, 1e-3f * power);
    s.material->setTurbidity(6.0f);
    s.update();
    EXPECT_EQ(s.shape.getSky().getTableBuilds(), builds + 1);
}

TEST(SunAndSky, LoseTheSunBelowTheHorizon)
{
    Sky s;
    s.material->setSunDirection({0.6f, 0.0f, -0.8f});
    s.update();
    EXPECT_EQ(s.shape.getSunPower(), 0.0f);
    EXPECT_GT(s.shape.getPower(), 0.0f);
}

// Usual figures for the ground under a clear sky: 3.4 lx at the end of civil twilight, 0.008 lx
// of nautical, 0.0006 lx of astronomical, where the sun at the horizon has about 760 lx.
TEST(SunAndSky, FadeAsTwilightDoes)
{
    const auto share = [](double degrees) {
        return double(SkyModel::getTwilightShare(float(std::sin(degrees * testPi / 180.0))));
    };
    EXPECT_EQ(share(30.0), 1.0);
    EXPECT_EQ(share(0.0), 1.0);
    EXPECT_NEAR(share(-6.0) * 760.0, 3.4, 0.3);
    EXPECT_NEAR(share(-12.0) * 760.0, 0.008, 0.001);
    EXPECT_NEAR(share(-18.0) * 760.0, 0.0006, 0.0001);
    EXPECT_EQ(share(-18.001), share(-90.0));
    for (double degrees = 0.0; degrees > -18.0; degrees -= 0.25)
        EXPECT_LT(share(degrees - 0.25), share(degrees)) << degrees;
}

TEST(SunAndSky, AreDarkAtNight)
{
    Sky s;
    const float noon = s.shape.getSky().getPower();
    const auto powerAt = [&](float height) {
        s.material->setSunDirection({std::sqrt(1.0f - height * height), 0.0f, height});
        s.update();
        return s.shape.getPower();
    };
    EXPECT_LT(powerAt(-0.104f), 0.01f * noon) << "6 degrees below";
    EXPECT_LT(powerAt(-1.0f), 1e-5f * noon);
    EXPECT_GT(powerAt(-1.0f), 0.0f);
}

// The disk has a radius of 0.266 degrees: half of it at the horizon.
TEST(SunAndSky, SetThroughTheHorizon)
{
    Sky s;
    s.material->setSaturation(1.0f);
    const auto sunAt = [&](double degrees) {
        const double angle = degrees * testPi / 180.0;
        s.material->setSunDirection({float(std::cos(angle)), 0.0f, float(std::sin(angle))});
        s.update();
        return double(s.shape.getSunPower());
    };
    const double whole = sunAt(10.0);
    EXPECT_NEAR(sunAt(0.27) / whole, 1.0, 1e-5);
    EXPECT_NEAR(sunAt(0.0) / whole, 0.5, 1e-3);
    EXPECT_EQ(sunAt(-0.27), 0.0);
    // A circle cut at half its radius: 1/3 - sqrt(3) / (4 pi) of it is beyond.
    EXPECT_NEAR(sunAt(-0.5 * 0.26645) / whole, 0.19550, 1e-3);
}

// Pictures in cd/m2: what counts from white is as bright as the display's white.
TEST(SunAndSky, ShineInTheUnitsOfTheDisplay)
{
    Sky s;
    const float power = s.shape.getPower(), sun = s.shape.getSunPower();
    znRTRaytracingSettings::s_sim2LuminanceMapping = true;
    znRTRaytracingSettings::s_displayLuminance = 250.0f;
    EXPECT_TRUE(znRTMaterial::updateStaticSettings());
    s.update();
    EXPECT_NEAR(s.shape.getPower() / power, 250.0f, 0.1f);
    EXPECT_NEAR(s.shape.getSunPower() / sun, 250.0f, 0.1f);
    znRTRaytracingSettings::s_sim2LuminanceMapping = false;
    znRTRaytracingSettings::s_displayLuminance = 100.0f;
    EXPECT_TRUE(znRTMaterial::updateStaticSettings());
    s.update();
    EXPECT_EQ(s.shape.getPower(), power);
}

TEST(SunAndSky, NeedASkyMaterial)
{
    const auto other = environmentOf(greyEnvironment(4, 2, [](int, int) { return 1.0f; }));
    znRTInfiniteSunSkyShape shape;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(shape.setAttributes(osg::MaterialPtr(other.get())));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[znRTInfiniteSunSkyShape::setAttributes] No Skylight material\n");
}

TEST(SunAndSky, AreTheLightOfASkyMaterial)
{
    Sky s;
    znRTInfiniteAreaLight light{osg::MaterialPtr(s.material.get())};
    light.update();
    EXPECT_TRUE(light.isOn());
    EXPECT_TRUE(light.getInfiniteShape()->isOfType(znRTInfiniteSunSkyShape::id));
    // Sun of brightness 1: five times what the sky brings to a floor.
    const double facing = environmentIrradiance(light, towardSun);
    EXPECT_GT(facing / testPi, 5.0);
    EXPECT_LT(facing / testPi, 7.0);
}

} // namespace
