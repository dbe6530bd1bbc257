#include "surroundedFixture.h"

#include "core/rayTypes.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/environmentSampling.h"

#include <random>

using namespace materialTest;

namespace {

class EnvironmentOnSurfaces : public SurroundedTest
{
};

/// Glossy alone.
PhongPtr makeGlossy(float reflectance, float roughness)
{
    const PhongPtr material = osg::UPhongMaterial::create();
    material->setDiffuse(gray(0.0f));
    material->setGlossy(gray(reflectance));
    material->setRoughness(roughness);
    return material;
}

} // namespace

// A white surface under white surroundings shows white: the cosine integrates to pi, over pi.
TEST_F(EnvironmentOnSurfaces, ShowTheirReflectanceUnderWhiteSurroundings)
{
    surround(white());
    addSquare(makeDiffuse(0.5f));
    EXPECT_NEAR(mean(4096), 0.5, 0.005);
}

// One bright texel over black: the irradiance by a fine grid of directions, over pi.
TEST_F(EnvironmentOnSurfaces, ShowOneBrightTexelWithoutBias)
{
    surround(
        greyEnvironment(64, 32, [](int x, int y) { return x == 40 && y == 9 ? 500.0f : 0.0f; }));
    addSquare(makeDiffuse(1.0f));
    const znRTLight& light = *znRTRenderUtils::getEnvironmentLight();
    const double irradiance = overSphere([&](const znRTVector3f& d) {
        const auto c = light.getIntensity(inAllLanes(0, 0, 0), znRTVector3fPacket(d),
                                          znRTVector2fPacket(0.0f, 0.0f), everyLane4);
        return double(c.r[0]) * std::max(0.0f, d.z);
    });
    const double expected = irradiance / testPi;
    EXPECT_NEAR(mean(4096), expected, 0.01 * expected);
}

// A large square above hides all but a rim: a square of edge 2 at 0.05 leaves well under a tenth.
TEST_F(EnvironmentOnSurfaces, LieInTheShadowOfWhatIsAbove)
{
    surround(white());
    addSquare(makeDiffuse(1.0f), 0.0f);
    addSquare(makeDiffuse(1.0f), 0.05f);
    const znRTRayDifferentialPacket below(znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 0.04f),
                                                        znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    double sum = 0.0;
    for (int i = 0; i < 256; ++i)
        sum += shade(below, 15, i).color.r[0];
    EXPECT_LT(sum / 256, 0.1);
}

// The dome is seen by the camera, and its surface casts no shadow on what it surrounds.
TEST_F(EnvironmentOnSurfaces, AreSurroundedByWhatIsSeen)
{
    surround(greyEnvironment(32, 16, [](int, int y) { return y < 8 ? 3.0f : 1.0f; }));
    addSquare(makeDiffuse(0.5f));
    addSquare(osg::MaterialPtr(surroundings.get()), 4.0f);
    EXPECT_NEAR(mean(1024), 1.5, 0.03) << "half of 3 from above";
    const znRTRayDifferentialPacket upward(
        znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 1.0f), znRTVector3fPacket(0.0f, 0.0f, 1.0f)));
    const znRTColorPacket seen = shade(upward).color;
    EXPECT_LANES_NEAR(seen.r, 3.0f, 3.0f, 3.0f, 3.0f, 1e-5f);
}

TEST_F(EnvironmentOnSurfaces, AreLitByTheEnvironmentOfAnObject)
{
    surroundings = environmentOf(greyEnvironment(8, 4, [](int, int) { return 1.0f; }));
    const osg::MaterialPtr material(surroundings.get());
    addSquare(material, 4.0f);
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), nullptr);
    znRTRenderUtils::updateEnvironment();
    ASSERT_NE(znRTRenderUtils::getEnvironmentLight(), nullptr);
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), scene.scene->getEnvironmentLight(material));
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), znRTMaterial::s_environmentLight);
}

TEST_F(EnvironmentOnSurfaces, AreLitByTheEnvironmentThatWasChosen)
{
    const auto image = greyEnvironment(8, 4, [](int, int) { return 1.0f; });
    const auto first = environmentOf(image), second = environmentOf(image);
    addSquare(osg::MaterialPtr(first.get()), 4.0f);
    znRTMaterial& chosen = addSquare(osg::MaterialPtr(second.get()), 5.0f);
    const auto idInForce = [] {
        znRTRenderUtils::updateEnvironment();
        return znRTRenderUtils::getEnvironmentLight()->getId();
    };
    EXPECT_EQ(idInForce(), first->getId());
    znRTRenderUtils::setActiveEnvironment(nullptr, &chosen);
    EXPECT_EQ(idInForce(), second->getId());
    znRTRenderUtils::setActiveEnvironment(nullptr, nullptr);
}

// A glossy lobe about the mirror's direction under one bright texel: the value of the lobe times
// radiance and cosine, by a fine grid of directions.
TEST_F(EnvironmentOnSurfaces, ShowAGlossyHighlightWithoutBias)
{
    surround(
        greyEnvironment(64, 32, [](int x, int y) { return x == 40 && y == 4 ? 500.0f : 0.0f; }));
    znRTMaterial& material = addSquare(makeGlossy(1.0f, 0.3f));
    const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTRayDifferentialPacket asking = ray;
    znRTDataBlockPacket data = blockOf(ray);
    znRTSurfaceProperties surface;
    surface.reset();
    znRTShadingState state = stateOf(0);
    material.evaluateMaterial(asking, data, surface, everyLane4, state, -1, znRTMaterial::indirect);
    const znRTSurfaceProperties::Group& lobes = surface.groups[1];
    ASSERT_EQ(lobes.count, 1u);
    const znRTLight& light = *znRTRenderUtils::getEnvironmentLight();
    const znRTVector3fPacket up(0.0f, 0.0f, 1.0f);
    const double expected = overSphere([&](const znRTVector3f& d) {
        if (d.z <= 0.0f)
            return 0.0;
        znFloatType<2> pdf;
        const znRTVector3fPacket wi(d);
        const auto c =
            light.getIntensity(inAllLanes(0, 0, 0), wi, znRTVector2fPacket(0.0f, 0.0f), everyLane4);
        if (c.r[0] == 0.0f)
            return 0.0;
        const auto value = lobes.slots[0].lobe->evaluate(up, wi, data.dg, pdf);
        return double(value.r[0]) * double(c.r[0]) * double(d.z);
    });
    EXPECT_GT(expected, 0.1);
    EXPECT_NEAR(mean(4096), expected, 0.02 * expected);
}

namespace {

struct Moments
{
    void add(double value)
    {
        ++count;
        sum += value;
        squares += value * value;
    }
    double mean() const { return sum / count; }
    double variance() const { return squares / count - mean() * mean(); }

    double count = 0.0, sum = 0.0, squares = 0.0;
};

} // namespace

// Two ways to draw a direction, by the surroundings and by the lobes, each without a look at the
// other, and the shade that weighs both: one mean, and at most
// half as much again of the noise that the better way brings alone.
TEST_F(EnvironmentOnSurfaces, WeighTwoWaysOfDrawingLight)
{
    for (const float roughness : {0.15f, 0.6f}) {
        surround(greyEnvironment(64, 32, [](int x, int y) {
            return x >= 38 && x < 44 && y >= 3 && y < 7 ? 50.0f : 0.1f;
        }));
        const PhongPtr shiny = makeGlossy(0.5f, roughness);
        shiny->setDiffuse(gray(0.4f));
        znRTMaterial& material = addSquare(shiny);
        znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
        znRTDataBlockPacket data = blockOf(ray);
        data.dg.parameters = nullptr;
        znRTSurfaceProperties surface;
        surface.reset();
        znRTShadingState state = stateOf(0);
        material.evaluateMaterial(ray, data, surface, everyLane4, state, -1, znRTMaterial::gather);
        const znRTInfiniteAreaLight& light = *znRTMaterial::s_environmentLight;
        const znRTVector3fPacket wo = -ray.direction;

        Moments weighed, byLight, byLobes;
        constexpr int samples = 16384;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket seen = shade(ray, 15, i).color;
            for (int lane = 0; lane < 4; ++lane)
                weighed.add(double(seen.r[lane]));
        }
        std::mt19937 engine(5);
        const auto draw = [&] {
            znFloatType<2> u;
            for (int lane = 0; lane < 4; ++lane)
                u.set(lane, std::uniform_real_distribution<float>(0.0f, 0.999999f)(engine));
            return u;
        };
        for (int i = 0; i < 4 * samples; ++i) {
            znFloatType<2> pdf, valid;
            znRTVector2fPacket uv;
            const znRTVector2fPacket u(draw(), draw());
            const znRTVector3fPacket wi = light.getFullSphereSample(u, pdf, uv, everyLane4);
            znRTColorPacket value(0.0f);
            for (const int group : {0, 1}) {
                const auto& lobes = surface.groups[group];
                znFloatType<2> lobePdf;
                value += lobes.slots[0].lobe->evaluate(lobes.onb.toLocal(wo), lobes.onb.toLocal(wi),
                                                       data.dg, lobePdf) *
                         lobes.slots[0].color;
            }
            value *= light.getDrawnIntensity(wi, uv, everyLane4) *
                     (maximum(wi.z, 0.0f) * reciprocalOrZero(pdf));
            znRTColorPacket reflected;
            znIntType<2> group, rayMask;
            const znRTVector3fPacket drawn =
                surface.sampleBRDF(lobeType::diffuse | lobeType::glossy, draw(), u, wo, data.dg,
                                   everyLane4, reflected, pdf, valid, group, rayMask);
            reflected *= light.getIntensity(data.dg.position, drawn, znRTVector2fPacket(0.0f, 0.0f),
                                            everyLane4) *
                         reciprocalOrZero(pdf);
            for (int lane = 0; lane < 4; ++lane) {
                byLight.add(double(value.r[lane]));
                byLobes.add(double((reflected.r & valid)[lane]));
            }
        }
        const double expected = byLight.mean();
        EXPECT_NEAR(byLobes.mean(), expected, 0.02 * expected) << roughness;
        EXPECT_NEAR(weighed.mean(), expected, 0.02 * expected) << roughness;
        EXPECT_LT(weighed.variance(), 1.5 * std::min(byLight.variance(), byLobes.variance()))
            << roughness << ": " << byLight.variance() << " " << byLobes.variance();
        scene.scene->clear();
        squares.clear();
        znRTRenderUtils::updateEnvironment();
    }
}

TEST_F(EnvironmentOnSurfaces, TurnWithTheEnvironment)
{
    surround(greyEnvironment(64, 32, [](int x, int) { return x < 32 ? 2.0f : 0.0f; }));
    addSquare(osg::MaterialPtr(surroundings.get()), 4.0f);
    const auto toward = [&](float x, float y) {
        return shade(znRTRayDifferentialPacket(
                         znRTRayPacket(znRTVector3fPacket(0.2f - 3.0f * x, 0.1f - 3.0f * y, 1.0f),
                                       znRTVector3fPacket(x, y, 1.0f).getNormalized())))
            .color.r[0];
    };
    // u = atan2(x, y) / (2 pi): below one half for positive x.
    EXPECT_EQ(toward(0.3f, 0.0f), 2.0f);
    EXPECT_EQ(toward(-0.3f, 0.0f), 0.0f);
    osg::Matrix quarter; // x goes to y, y to -x
    quarter[0][0] = 0.0f, quarter[0][1] = 1.0f;
    quarter[1][0] = -1.0f, quarter[1][1] = 0.0f;
    surroundings->setRotation(quarter);
    surroundings->setUseRotation(true);
    znRTRenderUtils::updateEnvironment();
    EXPECT_EQ(toward(0.0f, 0.3f), 2.0f);
    EXPECT_EQ(toward(0.0f, -0.3f), 0.0f);
}

// Camera, mirror and refraction rays see the surface of an environment as its switches say;
// gathering rays never do, since the environment is sampled where they come from.
TEST_F(EnvironmentOnSurfaces, ShowTheirSurroundingsToRaysThatLookForThem)
{
    surround(white());
    addSquare(osg::MaterialPtr(surroundings.get()), 4.0f);
    const auto sees = [&](u32 type) {
        znRTRayDifferentialPacket ray(znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 1.0f),
                                                    znRTVector3fPacket(0.0f, 0.0f, 1.0f)));
        ray.type = znIntType<2>(int(type));
        return scene.trace(ray, 15).hitMask == 15;
    };
    EXPECT_TRUE(sees(rayType::camera));
    EXPECT_TRUE(sees(rayType::mirrorReflection));
    EXPECT_TRUE(sees(rayType::specularRefraction));
    EXPECT_TRUE(sees(rayType::stochasticReflection));
    for (const u32 type : {rayType::diffuseScatter, rayType::glossyReflection,
                           rayType::glossyTransmission, rayType::lightShadow,
                           rayType::environmentShadow, rayType::reflectedShadow, rayType::photon})
        EXPECT_FALSE(sees(type)) << type;
    surroundings->setPrimaryVisible(false);
    scene.scene->applyMaterialChanges();
    EXPECT_FALSE(sees(rayType::camera));
    EXPECT_FALSE(sees(rayType::specularRefraction));
    EXPECT_TRUE(sees(rayType::mirrorReflection));
    surroundings->setVisibleInReflections(false);
    scene.scene->applyMaterialChanges();
    EXPECT_FALSE(sees(rayType::mirrorReflection));
    EXPECT_TRUE(sees(rayType::stochasticReflection));
}

// A sun that was taken out of the image: counted once, by the light that stands for it. Without
// the image's own sun the floor shows what the light brings, E cos / pi.
TEST_F(EnvironmentOnSurfaces, CountASunThatWasTakenOutOnce)
{
    // One texel of 5.6 degrees at 33.75 degrees from the zenith.
    const auto image =
        greyEnvironment(64, 32, [](int x, int y) { return x == 40 && y == 5 ? 400.0f : 0.25f; });
    surround(image);
    addSquare(makeDiffuse(1.0f));
    const double whole = mean(2048);
    const double ofTexel = whole - 0.25;
    const float theta = float(5.5 * testPi / 32.0), phi = float(40.5 * testPi / 32.0);
    const osg::Ref<osg::UEnvironmentLight> sun(osg::UEnvironmentLight::create());
    sun->setDirection(
        {std::sin(theta) * std::sin(phi), std::sin(theta) * std::cos(phi), std::cos(theta)});
    sun->setAngularSize(12.0f); // filtering spreads the texel to its neighbours
    sun->setIntensity(float(ofTexel / std::cos(theta)));
    const osg::Ref<osg::UEnvironmentChunk> chunk(osg::UEnvironmentChunk::create());
    chunk->setLights({osg::FCPtr<osg::UEnvironmentLight>(sun.get())});
    surroundings->setChunk(chunk.get());
    surroundings->setUseExtractedLights(true);
    znRTRenderUtils::updateEnvironment();
    EXPECT_NEAR(mean(256), whole, 0.02 * whole);
    // Who looks there still sees it.
    const auto& light =
        *static_cast<znRTInfiniteAreaLight*>(znRTRenderUtils::getEnvironmentLight());
    const osg::Vec3f d = sun->getDirection();
    const znRTVector3fPacket toward(d[0], d[1], d[2]);
    EXPECT_NEAR(light.getSeenIntensity(toward, everyLane4).r[0], 400.0f, 1.0f);
    EXPECT_NEAR(
        light.getIntensity(inAllLanes(0, 0, 0), toward, znRTVector2fPacket(0.0f, 0.0f), everyLane4)
            .r[0],
        0.25f, 1e-3f);
}

TEST_F(EnvironmentOnSurfaces, HaveTheSameMeanWithManySamples)
{
    surround(greyEnvironment(64, 32, [](int x, int y) { return float((x + y) % 5); }));
    const PhongPtr material = makeGlossy(0.5f, 0.2f);
    material->setDiffuse(gray(0.4f));
    addSquare(material);
    const double single = mean(4096);
    setIllumination(2, 16);
    scene.scene->applyMaterialChanges();
    znRTRenderUtils::updateEnvironment();
    EXPECT_NEAR(mean(512), single, 0.02 * single);
}
