#include "material/znRTSphereEnvironmentMaterial.h"

#include "light/znRTInfiniteAreaLight.h"
#include "light/znRTInfiniteSunSkyShape.h"
#include "material/znRTSkylightMaterial.h"
#include "surroundedFixture.h"

using namespace materialTest;

namespace {

class EnvironmentSurface : public SurroundedTest
{
protected:
    znRTSphereEnvironmentMaterial& dome()
    {
        return static_cast<znRTSphereEnvironmentMaterial&>(
            addSquare(osg::MaterialPtr(surroundings.get()), 4.0f));
    }
};

class SkySurface : public SurroundedTest
{
protected:
    SkySurface()
    {
        sky->setUseSunDirection(true);
        sky->setSunDirection({0.0f, 0.0f, 1.0f});
    }
    znRTSkylightMaterial& dome()
    {
        auto& material = addSquare(osg::MaterialPtr(sky.get()), 4.0f);
        znRTRenderUtils::updateEnvironment();
        return static_cast<znRTSkylightMaterial&>(material);
    }
    const osg::Ref<osg::USkylightMaterial> sky{osg::USkylightMaterial::create()};
};

} // namespace

TEST_F(EnvironmentSurface, IsVisibleAsItsSwitchesSay)
{
    surround(white());
    znRTSphereEnvironmentMaterial& material = dome();
    EXPECT_EQ(material.getVisibility(), 0xF330C);
    EXPECT_EQ(material.getMaterialAttributes(), 1u);
    EXPECT_EQ(material.getShadingRequirements(), 2u);
    EXPECT_EQ(material.getSideness(), 2) << "seen from inside";
    surroundings->setFlip(true);
    surroundings->setPrimaryVisible(false);
    material.update();
    EXPECT_EQ(material.getVisibility(), 0xF0300);
    EXPECT_EQ(material.getSideness(), 1);
    surroundings->setVisibleInReflections(false);
    material.update();
    EXPECT_EQ(material.getVisibility(), 0xF0000);
    EXPECT_FALSE(material.isLightSource());
}

TEST_F(EnvironmentSurface, ShowsCorrectedColorsNotBelowZero)
{
    surround(white());
    osg::Matrix correction; // red halved, green 1 - 2, blue from red
    correction[0][0] = 0.5f;
    correction[3][1] = -2.0f;
    correction[2][2] = 0.0f, correction[0][2] = 3.0f;
    surroundings->setColorCorrectionMatrix(correction);
    surroundings->setUseColorCorrection(true);
    znRTSphereEnvironmentMaterial& material = dome();
    znRTRenderUtils::updateEnvironment();
    const znRTColorPacket c =
        material.environmentLookup(znRTVector3fPacket(0.0f, 0.6f, 0.8f), expandLanes(7));
    EXPECT_LANES_NEAR(c.r, 0.5f, 0.5f, 0.5f, 0.0f, 1e-5f);
    EXPECT_LANES_NEAR(c.g, 0.0f, 0.0f, 0.0f, 0.0f, 1e-5f);
    EXPECT_LANES_NEAR(c.b, 3.0f, 3.0f, 3.0f, 0.0f, 1e-5f);
    EXPECT_LANES_NEAR(c.a, 1.0f, 1.0f, 1.0f, 0.0f, 0.0f);
}

TEST_F(EnvironmentSurface, TakesAnotherImage)
{
    surround(white());
    znRTSphereEnvironmentMaterial& material = dome();
    const znRTVector3fPacket up(0.0f, 0.0f, 1.0f);
    EXPECT_EQ(material.getOSGImage(), surroundings->getImage());
    EXPECT_FALSE(material.updatedOSGImage());
    const auto brighter = greyEnvironment(8, 4, [](int, int) { return 7.0f; });
    material.setUpdatedOSGImage(brighter.get());
    EXPECT_TRUE(material.updatedOSGImage());
    EXPECT_EQ(material.getOSGImage(), osg::ImagePtr(brighter.get()));
    material.updateLightsources();
    EXPECT_FALSE(material.updatedOSGImage());
    EXPECT_EQ(material.environmentLookup(up, everyLane4).r[0], 7.0f);
    // The same image with other pixels.
    auto* const pixels = reinterpret_cast<float*>(const_cast<u8*>(brighter->getData()));
    std::fill(pixels, pixels + 8 * 4 * 3, 2.0f);
    material.setUpdatedOSGImage(brighter.get());
    EXPECT_TRUE(material.updatedOSGImage());
    znRTRenderUtils::updateEnvironment();
    EXPECT_FALSE(material.updatedOSGImage());
    EXPECT_EQ(material.environmentLookup(up, everyLane4).r[0], 2.0f);
}

TEST_F(EnvironmentSurface, IsBlackWithoutAScene)
{
    surroundings = environmentOf(white());
    const znRTSphereEnvironmentMaterial material{osg::MaterialPtr(surroundings.get())};
    const znRTColorPacket c =
        material.environmentLookup(znRTVector3fPacket(0.0f, 0.0f, 1.0f), everyLane4);
    EXPECT_EQ(c.r[0], 0.0f);
    EXPECT_EQ(c.a[0], 1.0f);
}

// The disk has 2 atan(0.6957 / 149.6) = 0.533 degrees.
TEST_F(SkySurface, ShowsTheSunsDisk)
{
    znRTSkylightMaterial& material = dome();
    const auto at = [&](double degrees) {
        const double a = degrees * testPi / 180.0;
        return material
            .lookupSun(znRTVector3fPacket(float(std::sin(a)), 0.0f, float(std::cos(a))), everyLane4)
            .r[0];
    };
    EXPECT_GT(at(0.0), 1e4f);
    EXPECT_EQ(at(0.26), at(0.0));
    EXPECT_EQ(at(0.274), 0.0f);
    sky->setSunScale(2.0f);
    znRTRenderUtils::updateEnvironment();
    EXPECT_GT(at(0.52), 1e4f);
    EXPECT_EQ(at(0.545), 0.0f);
    sky->setExposure(1.0f);
    const float before = at(0.0);
    znRTRenderUtils::updateEnvironment();
    EXPECT_NEAR(at(0.0), 2.0f * before, 1e-3f * before);
}

// What is seen is sky plus sun, and black nowhere above the ground.
TEST_F(SkySurface, ShowsSkyAndSun)
{
    znRTSkylightMaterial& material = dome();
    const znRTRayDifferentialPacket upward(
        znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 1.0f), znRTVector3fPacket(0.0f, 0.0f, 1.0f)));
    EXPECT_GT(shade(upward).color.r[0], 1e4f);
    const znRTColorPacket beside =
        material.environmentLookup(znRTVector3fPacket(0.6f, 0.0f, 0.8f), everyLane4);
    EXPECT_GT(beside.b[0], beside.r[0]);
    EXPECT_LT(beside.b[0], 10.0f);
    EXPECT_TRUE(
        std::unique_ptr<znRTMaterial>(material.getDuplicate())->isOfType(znRTSkylightMaterial::id));
}

// Texels of equal area: their mean is that of the sphere.
TEST_F(SkySurface, HasAMapOfEqualAreas)
{
    znRTSkylightMaterial& material = dome();
    const auto map = material.getPetersMap(64, 64);
    ASSERT_EQ(map.size(), 64u * 64u);
    double sum = 0.0;
    for (const znRTColor& c : map)
        sum += double(c.g) / (64.0 * 64.0);
    const auto& light =
        *static_cast<znRTInfiniteAreaLight*>(znRTRenderUtils::getEnvironmentLight());
    const auto& shape = static_cast<const znRTInfiniteSunSkyShape&>(*light.getInfiniteShape());
    EXPECT_NEAR(sum, shape.getSky().getAverageColor().g, 0.01 * sum);
    EXPECT_TRUE(material.getPetersMap(0, 4).empty());
}

// A white floor under a sun straight above: radiance times solid angle over pi, and 1 of the sky.
TEST_F(SkySurface, LightsAFloorByTheSunsSolidAngle)
{
    setIllumination(2, 4);
    znRTMaterial::updateStaticSettings();
    znRTSkylightMaterial& material = dome();
    addSquare(makeDiffuse(1.0f));
    znRTRenderUtils::updateEnvironment();
    const double radiance =
        material.lookupSun(znRTVector3fPacket(0.0f, 0.0f, 1.0f), everyLane4).r[0];
    const double sun = radiance * 6.79397e-5 / testPi;
    EXPECT_NEAR(sun, 5.0, 0.01) << "five times the sky's";
    const auto& light =
        *static_cast<znRTInfiniteAreaLight*>(znRTRenderUtils::getEnvironmentLight());
    const double expected = environmentIrradiance(light, {0, 0, 1}) / testPi;
    EXPECT_GT(expected, sun);
    EXPECT_NEAR(mean(512), expected, 0.01 * expected);
}
