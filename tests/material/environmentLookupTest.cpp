#include "material/environmentLookup.h"

#include "brdf/lobeMath.h"
#include "light/znRTInfiniteAreaLight.h"
#include "surroundedFixture.h"

using namespace materialTest;

namespace {

class EnvironmentLookup : public SurroundedTest
{
protected:
    const znRTInfiniteAreaLight& light() const
    {
        return *static_cast<znRTInfiniteAreaLight*>(znRTRenderUtils::getEnvironmentLight());
    }
    float filtered(const znRTVector3f& direction, float level) const
    {
        return light().getFilteredIntensity(znRTVector3fPacket(direction), level, everyLane4).r[0];
    }
    /// Mean radiance under a power lobe about a direction, by a fine grid.
    double underLobe(const znRTVector3f& axis, double exponent) const
    {
        double weight = 0.0;
        const double sum = overSphere([&](const znRTVector3f& d) {
            const double w = std::pow(std::max(0.0, double(dot(d, axis))), exponent);
            if (w < 1e-7)
                return 0.0;
            const auto c = light().getIntensity(inAllLanes(0, 0, 0), znRTVector3fPacket(d),
                                                znRTVector2fPacket(0.0f, 0.0f), everyLane4);
            return w * double(c.r[0]);
        });
        weight = 2.0 * testPi / (exponent + 1.0);
        return sum / weight;
    }
};

/// Smooth, with all directions different.
osg::Ref<osg::Image> smooth()
{
    return greyEnvironment(64, 32, [](int x, int y) {
        return 2.0f + std::sin(float(x) * float(2.0 * testPi / 64.0)) +
               std::cos(float(y) * float(testPi / 32.0));
    });
}

} // namespace

// White surroundings bring the reflectance, sampled, looked up behind traced shadows, and looked up
// as baked scenes do.
TEST_F(EnvironmentLookup, AgreesWithSamplingInWhiteSurroundings)
{
    for (const int illumination : {2, 1, 0}) {
        surround(white(), illumination);
        const PhongPtr material = makeDiffuse(0.5f);
        addSquare(material);
        EXPECT_NEAR(mean(illumination == 2 ? 4096 : 64), 0.5, 0.005) << illumination;
        scene.scene->clear();
    }
}

TEST_F(EnvironmentLookup, AgreesWithSamplingOfGlossyLobes)
{
    for (const int illumination : {2, 1}) {
        surround(white(), illumination);
        const PhongPtr material = makeDiffuse(0.0f);
        material->setGlossy(gray(0.5f));
        material->setRoughness(0.05f);
        addSquare(material);
        EXPECT_NEAR(mean(illumination == 2 ? 1024 : 64), 0.5, 0.01) << illumination;
        scene.scene->clear();
    }
}

// The stack against the definition of its levels, on an uneven image.
TEST_F(EnvironmentLookup, FindsTheMeanUnderTheLobeOfItsLevel)
{
    surround(smooth(), 0);
    const znRTVector3f axes[] = {{0, 0, 1}, {0.6f, 0, 0.8f}, {0, -0.8f, -0.6f}};
    for (const znRTVector3f& axis : axes)
        for (const float exponent : {1.0f, 4.0f, 64.0f, 1024.0f}) {
            const double expected = underLobe(axis, double(exponent));
            EXPECT_NEAR(filtered(axis, lobeMath::environmentLevel(exponent)), expected,
                        0.02 * expected)
                << exponent;
        }
}

// Irradiance over pi of a sky with a sun, which no image holds: the sun's part is radiance times
// solid angle times cosine over pi.
TEST_F(EnvironmentLookup, CountsTheSunOfASky)
{
    const osg::Ref<osg::USkylightMaterial> sky(osg::USkylightMaterial::create());
    sky->setUseSunDirection(true);
    sky->setSunDirection({0.6f, 0.0f, 0.8f});
    setIllumination(0, 0);
    znRTMaterial::updateStaticSettings();
    scene.scene->addEnvironmentLight(osg::MaterialPtr(sky.get()));
    znRTRenderUtils::updateEnvironment();
    const double expected = environmentIrradiance(light(), {0, 0, 1}) / testPi;
    EXPECT_NEAR(filtered({0, 0, 1}, 0.0f), expected, 0.02 * expected);
    // The disk itself fills the sharpest lobes.
    const auto onDisk = light().getSeenIntensity({0.6f, 0.0f, 0.8f}, everyLane4).r[0];
    EXPECT_GT(onDisk, 1e4f);
    EXPECT_GT(filtered({0.6f, 0.0f, 0.8f}, 1.0f), 0.5f * onDisk);
    EXPECT_LT(filtered({0.6f, 0.0f, 0.8f}, 0.5f), 0.1f * onDisk);
}

// F = f0 + (1 - f0) (1 - cos)^5 on the glossy light, 1 - s F on the diffuse light, at 60 degrees.
TEST_F(EnvironmentLookup, ReflectsByTheRecordOfLobesWithoutFresnel)
{
    surround(white(), 0);
    const PhongPtr material = makeDiffuse(1.0f);
    material->setGlossy(gray(1.0f));
    material->setEnvironmentF0(0.2f);
    material->setEnvironmentFresnelScale(0.5f);
    addSquare(material);
    const float s = std::sqrt(0.75f);
    const znRTRayDifferentialPacket ray(znRTRayPacket(znRTVector3fPacket(0.2f - s, 0.1f, 0.5f),
                                                      znRTVector3fPacket(s, 0.0f, -0.5f)));
    const double fresnel = 0.2 + 0.8 * std::pow(0.5, 5.0);
    const Shaded shaded = shade(ray);
    EXPECT_NEAR(shaded.layer(ZN_PASS_GLOSSY_IBL).r[0], fresnel, 1e-3);
    EXPECT_NEAR(shaded.layer(ZN_PASS_DIFFUSE_IBL).r[0], 1.0 - 0.5 * fresnel, 1e-3);
}

// Colours baked into the vertices take the place of the diffuse light in their lanes alone.
TEST_F(EnvironmentLookup, GivesWayToBakedColors)
{
    surround(white(), 0);
    znRTMaterial& shading = addSquare(makeDiffuse(0.5f));
    const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data = blockOf(ray);
    data.bakedColor = {3.0f, 3.0f, 3.0f, expandLanes(3)};
    data.bakedIrradiance = znRTColorPacket(0.0f);
    znRTFragment fragment;
    fragment.clear();
    znRTShadingState state = stateOf(0);
    shading.shade(ray, data, fragment, everyLane4, state);
    EXPECT_LANES_NEAR(fragment.colour.r, 1.5f, 1.5f, 0.5f, 0.5f, 1e-3f);
}

// A floor at the foot of a wall that is many times as high as the distance sees half of the sky.
TEST_F(EnvironmentLookup, IsShadowedByWhatTracedRaysMeet)
{
    surround(white(), 1, 64);
    addSquare(makeDiffuse(1.0f));
    EXPECT_NEAR(mean(16), 1.0, 1e-4);
    // A lid that covers nearly all.
    addSquare(makeDiffuse(1.0f), 0.02f);
    const znRTRayDifferentialPacket below(znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 0.01f),
                                                        znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    EXPECT_LT(mean(below, 16), 0.01);
}

// A lid that lets half of the light through leaves half of the environment, in the colour that it
// lets through; at a height of its half edge some of the sky is open besides. From the middle the
// lid's form factor is 4 / pi (a / sqrt(1 + a^2)) atan(a / sqrt(1 + a^2)) / 2 with a = 1.
TEST_F(EnvironmentLookup, SeesThroughTransparentLids)
{
    surround(white(), 1, 64);
    addSquare(makeDiffuse(1.0f));
    const PhongPtr lid = makeDiffuse(0.0f);
    lid->setTransparencyColor(osg::ColorComponent(osg::Vec3f(0.5f, 0.25f, 1.0f)));
    addSquare(lid, 1.0f);
    const znRTRayDifferentialPacket below(znRTRayPacket(znRTVector3fPacket(0.0f, 0.001f, 0.5f),
                                                        znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    const double q = 1.0 / std::sqrt(2.0);
    const double covered = 4.0 / testPi * q * std::atan(q);
    EXPECT_NEAR(mean(below, 64), 1.0 - 0.5 * covered, 0.01);
    const znRTColorPacket c = shade(below).color;
    EXPECT_LT(c.g[0], c.r[0]);
    EXPECT_GT(c.b[0], c.r[0]);
}

// lightingMode 4 is direct light alone.
TEST_F(EnvironmentLookup, IsLeftOutOfDirectLight)
{
    for (const int illumination : {0, 1, 2}) {
        surround(white(), illumination);
        const PhongPtr material = makeDiffuse(1.0f);
        material->setLightingMode(4);
        addSquare(material);
        EXPECT_EQ(mean(8), 0.0);
        scene.scene->clear();
    }
}

// The layer of occlusion, with a lid that lets half of the light through: the share of the sky
// beside it, and half of what it covers. The picture is the same with and without the layer.
TEST_F(EnvironmentLookup, HasALayerOfOcclusion)
{
    surround(white(), 2);
    const PhongPtr floor = makeDiffuse(0.5f);
    floor->setOcclusionSamplesInteractive(256);
    addSquare(floor);
    const PhongPtr lid = makeDiffuse(0.0f);
    lid->setTransparencyColor(gray(0.5f));
    addSquare(lid, 1.0f);
    const znRTRayDifferentialPacket below(znRTRayPacket(znRTVector3fPacket(0.0f, 0.001f, 0.5f),
                                                        znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    const double q = 1.0 / std::sqrt(2.0);
    const double covered = 4.0 / testPi * q * std::atan(q);
    const auto layers = [&](int depth) {
        znRTDataBlockPacket data = blockOf(below);
        znRTMultilayerFragment fragment;
        fragment.clear();
        znRTShadingState state = stateOf(0, depth);
        data.materials[0]->shade(below, data, fragment, everyLane4, state);
        return fragment;
    };
    const float without = layers(0).colour.r[0];
    znRTRenderUtils::enableOcclusionPass(true);
    const znRTMultilayerFragment shaded = layers(0), deeper = layers(1);
    znRTRenderUtils::enableOcclusionPass(false);
    EXPECT_NEAR(shaded.layers[ZN_PASS_OCCLUSION].r[0], 1.0 - 0.5 * covered, 0.02);
    EXPECT_EQ(shaded.colour.r[0], without);
    EXPECT_EQ(deeper.layers[ZN_PASS_OCCLUSION].r[0], 0.0f) << "of camera rays alone";
}
