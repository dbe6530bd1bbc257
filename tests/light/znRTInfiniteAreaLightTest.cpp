#include "light/environmentFixture.h"
#include "light/znRTUEnvironmentLight.h"
#include "render/znRTRenderUtils.h"
#include "support/meshScene.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

namespace {

/// An environment with its light.
struct Surroundings
{
    explicit Surroundings(const osg::Ref<osg::Image>& image)
        : material(environmentOf(image)), light(osg::MaterialPtr(material.get()))
    {
        light.update();
    }
    const znRTInfiniteHemisphereShape& shape() const
    {
        return static_cast<const znRTInfiniteHemisphereShape&>(*light.getInfiniteShape());
    }
    float uAlong(float x, float y, float z) { return shape().getCoordinates({x, y, z}).x[0]; }
    osg::Ref<osg::USphereEnvironmentMaterial> material;
    znRTInfiniteAreaLight light;
};

osg::Ref<osg::Image> white()
{
    return greyEnvironment(32, 16, [](int, int) { return 1.0f; });
}

/// Bright and dark places side by side, all above 0.
osg::Ref<osg::Image> uneven()
{
    return greyEnvironment(32, 16, [](int x, int y) {
        return 0.1f + float((x * 7 + y * 13) % 11) + (x == 20 && y == 3 ? 200.0f : 0.0f);
    });
}

// u = atan2(x, y) / (2 pi), v = acos(z) / pi.
TEST(EnvironmentLight, FindsDirectionsInTheImage)
{
    Surroundings s(white());
    EXPECT_NEAR(s.uAlong(1, 0, 0), 0.25f, 2e-6f);
    EXPECT_NEAR(s.uAlong(-1, 0, 0), 0.75f, 2e-6f);
    EXPECT_NEAR(s.uAlong(0, 1, 0), 0.0f, 2e-6f);
    EXPECT_NEAR(s.uAlong(0, -1, 0), 0.5f, 2e-6f);
    const float diagonal = std::sqrt(0.5f);
    EXPECT_NEAR(s.uAlong(diagonal, diagonal, 0), 0.125f, 2e-6f);
    EXPECT_NEAR(s.shape().getCoordinates({0.0f, 0.0f, 1.0f}).y[0], 0.0f, 2e-6f);
    EXPECT_NEAR(s.shape().getCoordinates({1.0f, 0.0f, 0.0f}).y[0], 0.5f, 2e-6f);
    EXPECT_NEAR(s.shape().getCoordinates({0.0f, 0.0f, -1.0f}).y[0], 1.0f, 2e-6f);
}

TEST(EnvironmentLight, HasTheFirstRowOfThePictureAtTheZenith)
{
    Surroundings s(greyEnvironment(8, 4, [](int, int y) { return y < 2 ? 3.0f : 1.0f; }));
    const auto radiance = [&](float z) {
        return s.light
            .getIntensity(inAllLanes(0, 0, 0), inAllLanes(0, std::sqrt(1 - z * z), z),
                          znRTVector2fPacket(0.0f, 0.0f), everyLane4)
            .r[0];
    };
    EXPECT_NEAR(radiance(0.99f), 3.0f, 1e-5f);
    EXPECT_NEAR(radiance(-0.99f), 1.0f, 1e-5f);
}

// Density over the sphere: integrals by a grid finer than the table.
TEST(EnvironmentLight, DrawsFromADensityThatIntegratesToOne)
{
    for (const auto& image : {white(), uneven()}) {
        Surroundings s(image);
        const auto density = [&](const znRTVector3f& d) {
            return double(s.light.getPDF(znRTVector3f(), znRTVector3f(), d));
        };
        EXPECT_NEAR(overSphere(density), 1.0, 2e-3);
        const auto upper = [&](const znRTVector3f& d) {
            return double(s.shape().density(znRTVector3fPacket(d), everyLane4, true)[0]);
        };
        EXPECT_NEAR(overSphere(upper), 1.0, 2e-3);
    }
}

TEST(EnvironmentLight, AnswersTheDensityThatItDrewWith)
{
    Surroundings s(uneven());
    int compared = 0, apart = 0;
    for (int i = 0; i < 20000; i += 4) {
        znFloatType<2> pdf;
        znRTVector2fPacket uv;
        const auto d = s.light.getFullSphereSample(tablePoints(i), pdf, uv, everyLane4);
        const znFloatType<2> asked = s.light.getPDF(d, d, everyLane4);
        for (int lane = 0; lane < 4; ++lane) {
            ++compared;
            apart += std::fabs(asked[lane] / pdf[lane] - 1.0f) > 2e-3f;
        }
    }
    // A direction within the error of the sine, 2e-4, of a cell's edge may be told to the next
    // one: 4 * 2e-4 / 0.1 of them, cells being 0.1 wide.
    EXPECT_LT(apart, compared / 100);
}

// Pearson's test over the texels: 511 degrees of freedom, 640 has the probability 7e-5.
TEST(EnvironmentLight, DrawsTexelsInProportionToTheirLight)
{
    const auto value = [](int x, int y) { return 1.0f + float((x * 7 + y * 13) % 11); };
    Surroundings s(greyEnvironment(32, 16, value));
    std::vector<double> expected(512);
    std::vector<int> counts(512);
    const auto cell = [](const znRTVector2fPacket& uv, int lane) {
        return std::min(int(uv.y[lane] * 16), 15) * 32 + std::min(int(uv.x[lane] * 32), 31);
    };
    overSphere(
        [&](const znRTVector3f& d) {
            const auto uv = s.shape().getCoordinates(znRTVector3fPacket(d));
            expected[std::size_t(cell(uv, 0))] +=
                s.light.getPDF(znRTVector3f(), znRTVector3f(), d) *
                std::sqrt(double(d.x) * d.x + double(d.y) * d.y);
            return 0.0;
        },
        256);
    double total = 0.0;
    for (const double e : expected)
        total += e;
    std::mt19937 engine(5);
    std::uniform_real_distribution<float> number(0.0f, 1.0f);
    const auto four = [&] {
        return znFloatType<2>(number(engine), number(engine), number(engine), number(engine));
    };
    const int samples = 400000;
    for (int i = 0; i < samples; i += 4) {
        znFloatType<2> pdf;
        znRTVector2fPacket uv;
        const znFloatType<2> u = four();
        s.light.getFullSphereSample({u, four()}, pdf, uv, everyLane4);
        for (int lane = 0; lane < 4; ++lane)
            ++counts[std::size_t(cell(uv, lane))];
    }
    double chi2 = 0.0;
    for (int i = 0; i < 512; ++i) {
        const double mean = expected[std::size_t(i)] / total * samples;
        chi2 += (counts[std::size_t(i)] - mean) * (counts[std::size_t(i)] - mean) / mean;
    }
    EXPECT_LT(chi2, 640.0);
}

// Means over the directions against integrals of radiance times cosine by a fine grid; the
// environment is tilted, and its ground with it.
TEST(EnvironmentLight, DrawsForTheGroundWhatItReceives)
{
    Surroundings s(uneven());
    osg::Matrix tilted; // about x: z goes to y
    tilted[1] = {0.0f, 0.0f, -1.0f, 0.0f};
    tilted[2] = {0.0f, 1.0f, 0.0f, 0.0f};
    s.material->setRotation(tilted);
    s.material->setUseRotation(true);
    s.material->setIntensity(3.0f);
    s.light.update();
    const znRTVector3fPacket up = s.shape().toWorld(znRTVector3fPacket(0.0f, 0.0f, 1.0f));
    const znRTVector3f ground(up.x[0], up.y[0], up.z[0]);
    ASSERT_NEAR(std::fabs(ground.y), 1.0f, 1e-6f);
    const auto received = [&](const znRTVector3f& d) {
        const float cosine = d.x * ground.x + d.y * ground.y + d.z * ground.z;
        const auto c = s.light.getIntensity(inAllLanes(0, 0, 0), znRTVector3fPacket(d),
                                            znRTVector2fPacket(0.0f, 0.0f), everyLane4);
        return double(c.r[0]) * std::max(0.0f, cosine);
    };
    const double all = overSphere(received);
    EXPECT_NEAR(s.light.getGroundIrradiance(), all, 0.005 * all);
    double expected[4], found[4] = {};
    const auto moments = [&](const znRTVector3f& d) {
        return std::array<double, 4>{d.x, d.z, d.x * d.x, d.x * d.z};
    };
    for (unsigned k = 0; k < 4; ++k)
        expected[k] =
            overSphere([&](const znRTVector3f& d) { return moments(d)[k] * received(d); }) / all;
    constexpr int samples = 16384;
    for (int i = 0; i < samples; i += 4) {
        const znRTVector3fPacket d = s.light.getGroundSample(tablePoints(i), everyLane4);
        for (int lane = 0; lane < 4; ++lane) {
            const znRTVector3f one(d.x[lane], d.y[lane], d.z[lane]);
            EXPECT_GE(one.y * ground.y, -1e-5f);
            for (unsigned k = 0; k < 4; ++k)
                found[k] += moments(one)[k] / samples;
        }
    }
    for (unsigned k = 0; k < 4; ++k)
        EXPECT_NEAR(found[k], expected[k], 0.005) << k;
}

// White surroundings bring pi to every surface.
TEST(EnvironmentLight, BringsPiFromWhiteSurroundings)
{
    Surroundings s(white());
    const float third = std::sqrt(1.0f / 3.0f);
    for (const znRTVector3f& n : {znRTVector3f(0, 0, 1), znRTVector3f(0, 0, -1),
                                  znRTVector3f(1, 0, 0), znRTVector3f(third, -third, third)})
        EXPECT_NEAR(environmentIrradiance(s.light, n), testPi, 0.01 * testPi);
}

// Light-only sampling of one bright texel against the integral by a grid.
TEST(EnvironmentLight, FindsALoneTexelToItsFilteredEdge)
{
    Surroundings s(
        greyEnvironment(64, 32, [](int x, int y) { return x == 40 && y == 9 ? 50.0f : 0.0f; }));
    const znRTVector3f n(0, 0, 1);
    const double expected = overSphere([&](const znRTVector3f& d) {
        const auto c = s.light.getIntensity(inAllLanes(0, 0, 0), znRTVector3fPacket(d),
                                            znRTVector2fPacket(0.0f, 0.0f), everyLane4);
        return double(c.r[0]) * std::max(0.0f, d.z);
    });
    EXPECT_NEAR(environmentIrradiance(s.light, n), expected, 0.01 * expected);
}

TEST(EnvironmentLight, IsUniformAndBlackWithoutLight)
{
    Surroundings s(greyEnvironment(8, 4, [](int, int) { return 0.0f; }));
    EXPECT_TRUE(s.light.isOn());
    EXPECT_EQ(environmentIrradiance(s.light, {0, 0, 1}, 1024), 0.0);
    EXPECT_GT(s.light.getPDF(znRTVector3f(), znRTVector3f(), {1, 0, 0}), 0.0f);
    EXPECT_EQ(s.light.getPDF(znRTVector3f(), znRTVector3f(), {0, 0, 1}), 0.0f);
    EXPECT_EQ(s.light.getPower(), 0.0f);
}

TEST(EnvironmentLight, TurnsWithoutNewTables)
{
    Surroundings s(uneven());
    const float before = s.uAlong(0, 1, 0);
    const unsigned builds = s.shape().getTableBuilds();
    osg::Matrix quarter; // x goes to y, y to -x
    quarter[0][0] = 0.0f, quarter[0][1] = 1.0f;
    quarter[1][0] = -1.0f, quarter[1][1] = 0.0f;
    s.material->setRotation(quarter);
    s.material->setUseRotation(true);
    s.light.update();
    EXPECT_EQ(s.shape().getTableBuilds(), builds);
    EXPECT_NEAR(s.uAlong(-1, 0, 0), before, 2e-6f);
    s.material->setExposure(1.0f);
    s.light.update();
    EXPECT_EQ(s.shape().getTableBuilds(), builds) << "a factor leaves the tables";
    const auto other = white();
    s.material->setImage(other.get());
    s.light.update();
    EXPECT_EQ(s.shape().getTableBuilds(), builds + 1);
}

TEST(EnvironmentLight, CountsExposureAndIntensity)
{
    Surroundings s(white());
    s.material->setExposure(2.0f);
    s.material->setIntensity(0.5f);
    s.light.update();
    EXPECT_NEAR(environmentIrradiance(s.light, {0, 0, 1}), 2.0 * testPi, 0.02 * testPi);
    EXPECT_NEAR(s.shape().getPower(), 2.0 * 4.0 * testPi, 1e-3);
}

TEST(EnvironmentLight, TakesTheSamplesOfTheQuality)
{
    Surroundings s(white());
    s.material->setOverrideQuality(true);
    s.material->setPreviewCount(3);
    s.material->setStillCount(16);
    const auto before = znRTRaytracingSettings::s_qualityMode;
    znRTRaytracingSettings::s_qualityMode = znRTRaytracingSettings::interactive;
    s.light.update();
    EXPECT_EQ(s.light.getNumSamples(), 1u) << "3 counts as 1";
    znRTRaytracingSettings::s_qualityMode = znRTRaytracingSettings::stillFrame;
    s.light.update();
    EXPECT_EQ(s.light.getNumSamples(), 16u);
    znRTRaytracingSettings::s_qualityMode = before;
}

TEST(EnvironmentLight, IsOffWithoutMaterialOrImage)
{
    znRTInfiniteAreaLight none{osg::MaterialPtr()};
    none.update();
    EXPECT_FALSE(none.isOn());
    EXPECT_EQ(none.getPower(), 0.0f);

    const osg::Ref<osg::USphereEnvironmentMaterial> material(
        osg::USphereEnvironmentMaterial::create());
    znRTInfiniteAreaLight empty{osg::MaterialPtr(material.get())};
    testing::internal::CaptureStdout();
    empty.update();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "m_upperHemisphereEnvCDF invalid\n");
    EXPECT_FALSE(empty.isOn());
    EXPECT_FALSE(empty.emitsCausticPhotons());
}

// Flux of white light on the sphere around a scene: 4 pi from all directions times pi r^2.
TEST(EnvironmentLight, SendsPhotonsThatCoverTheScene)
{
    MeshScene scene;
    const GeometryRef square = makeSquare();
    scene.add(square.get());
    scene.build();
    znRTAccelerator* const before = znRTRenderUtils::s_currentAccelerator;
    znRTRenderUtils::s_currentAccelerator = scene.scene.get();
    {
        Surroundings s(white());
        const double radius = std::sqrt(2.0);
        const double expected = 4.0 * testPi * testPi * radius * radius;
        EXPECT_NEAR(s.light.getPower(), expected, 1e-3 * expected);
        EXPECT_NEAR(sampledFlux(s.light), expected, 0.01 * expected);
        znRTVector3fPacket position, direction, normal;
        znFloatType<2> pdf;
        for (int i = 0; i < 256; i += 4) {
            s.light.sample_L_Out(tablePoints(i), tablePoints(i, 1), everyLane4, position, direction,
                                 normal, pdf);
            for (int lane = 0; lane < 4; ++lane) {
                EXPECT_NEAR(dot(position, direction)[lane], -radius, 1e-4);
                EXPECT_LT((position + direction * float(radius)).getLength()[lane],
                          radius * 1.0005);
            }
        }
    }
    znRTRenderUtils::s_currentAccelerator = before;
}

TEST(EnvironmentLight, ListsExtractedLightsOnDemand)
{
    Surroundings s(white());
    const osg::Ref<osg::UEnvironmentLight> lamp(osg::UEnvironmentLight::create());
    lamp->setDirection({0, 3, 0});
    lamp->setIntensity(4.0f);
    const osg::Ref<osg::UEnvironmentChunk> chunk(osg::UEnvironmentChunk::create());
    chunk->setLights({osg::FCPtr<osg::UEnvironmentLight>(lamp.get())});
    s.material->setChunk(chunk.get());
    s.light.update();
    EXPECT_EQ(s.light.getEnvironmentLights().size, 0u);
    s.material->setUseExtractedLights(true);
    s.light.update();
    ASSERT_EQ(s.light.getEnvironmentLights().size, 1u);
    const auto& light = static_cast<znRTUEnvironmentLight&>(*s.light.getEnvironmentLights()[0]);
    EXPECT_TRUE(light.isOn());
    EXPECT_EQ(light.getMaxIntensity(), 4.0f);
    EXPECT_NEAR(light.getLightVector(inAllLanes(5, 5, 5)).y[0], 1.0f, 1e-6f);
    osg::Matrix quarter; // y goes to -x
    quarter[0][0] = 0.0f, quarter[0][1] = 1.0f;
    quarter[1][0] = -1.0f, quarter[1][1] = 0.0f;
    s.material->setRotation(quarter);
    s.material->setUseRotation(true);
    s.light.update();
    EXPECT_NEAR(light.getLightVector(inAllLanes(5, 5, 5)).x[0], -1.0f, 1e-6f);
}

TEST(EnvironmentsOfAScene, ComeAndGoByTheirMaterials)
{
    MeshScene scene;
    const auto image = white();
    const auto first = environmentOf(image), second = environmentOf(image);
    const osg::MaterialPtr firstPtr(first.get()), secondPtr(second.get());
    scene.scene->addEnvironmentLight(firstPtr);
    scene.scene->addEnvironmentLight(firstPtr);
    scene.scene->addEnvironmentLight(secondPtr);
    EXPECT_TRUE(scene.scene->getEnvironmentLight(1u));
    EXPECT_FALSE(scene.scene->getEnvironmentLight(2u));
    znRTAccelerator* const before = znRTRenderUtils::s_currentAccelerator;
    znRTRenderUtils::s_currentAccelerator = scene.scene.get();
    znRTRenderUtils::updateEnvironment();
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), scene.scene->getEnvironmentLight(firstPtr));
    znRTRenderUtils::updateLightDistribution(true);
    EXPECT_EQ(znRTRenderUtils::getLightDistributionWithEnv()->count, 1);
    EXPECT_EQ(znRTRenderUtils::getLightDistribution()->count, 0);
    EXPECT_TRUE(scene.scene->deleteEnvironmentLight(firstPtr));
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), nullptr);
    EXPECT_FALSE(scene.scene->deleteEnvironmentLight(firstPtr));
    EXPECT_TRUE(scene.hasLogged("EnvironmentLightPtr invalid, can not delete it\n"));
    znRTRenderUtils::updateEnvironment();
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), scene.scene->getEnvironmentLight(secondPtr));
    scene.scene->clear();
    znRTRenderUtils::updateEnvironment();
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), nullptr);
    znRTRenderUtils::s_currentAccelerator = before;
}

} // namespace
