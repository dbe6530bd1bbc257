#include "material/directLighting.h"
#include "materialFixture.h"

#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/UAreaLight.h"
#include "host/osg/UPointLight.h"

using namespace materialTest;

namespace {

class DirectLighting : public MaterialTest
{
protected:
    /// Mean over samples of the pixel, double sums.
    double meanRed(int samples, int depth = 0)
    {
        double sum = 0.0;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket color = shade(0.2f, 0.1f, 15, i, depth).color;
            for (int lane = 0; lane < 4; ++lane)
                sum += double(color.r[lane]);
        }
        return sum / (4.0 * samples);
    }
};

} // namespace

// White Lambert under parallel light of 1 shows the cosine.
TEST_F(DirectLighting, OfTheSunFallsWithTheCosine)
{
    addSquare(makeDiffuse(1.0f));
    addSun(60.0);
    EXPECT_LANES_NEAR(shade().color.g, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
}

TEST_F(DirectLighting, OfTwoEqualLightsIsTwice)
{
    addSquare(makeDiffuse(0.5f));
    addSun(30.0);
    const float one = shade().color.r[0];
    addSun(30.0);
    EXPECT_NEAR(shade().color.r[0], 2.0f * one, 1e-6f);
}

// I cos / d^2, at four distances from the foot of the light.
TEST_F(DirectLighting, OfAPointFallsWithTheSquareOfTheDistance)
{
    addSquare(makeDiffuse(1.0f));
    PlacedCore<osg::UPointLight> lamp;
    lamp.move(0, 0, 2);
    lamp.core->setDiffuse(osg::ColorComponent(osg::Vec3f(1, 1, 1), 12.0f));
    addLight(lamp);
    const znRTColorPacket color = shade(znFloatType<2>(0.0f, 0.3f, 0.6f, 0.9f), -0.1f).color;
    for (int lane = 0; lane < 4; ++lane) {
        const double x = 0.3 * lane, d2 = x * x + 0.01 + 4.0;
        EXPECT_NEAR(color.r[lane], 12.0 * (2.0 / std::sqrt(d2)) / d2, 2e-5);
    }
    scene.scene->clear();
}

// Form factor from a point on the axis to a parallel disk, r^2 / (r^2 + d^2), times its radiance.
TEST_F(DirectLighting, OfADiskIsItsFormFactor)
{
    addSquare(makeDiffuse(1.0f));
    PlacedCore<osg::UDiskLight> disk;
    disk.move(0.2f, 0.1f, 2);
    disk.core->setSizeX(0.5f);
    disk.core->setSizeY(0.5f);
    disk.core->setDiffuse(osg::ColorComponent(osg::Vec3f(1, 1, 1), 8.0f));
    addLight(disk);
    const double expected = 8.0 * 0.25 / (0.25 + 4.0);
    EXPECT_NEAR(meanRed(1024), expected, 0.005 * expected);
    scene.scene->clear();
}

TEST_F(DirectLighting, IsNothingBelowTheHorizonAndWithoutLights)
{
    addSquare(makeDiffuse(1.0f));
    EXPECT_LANES_EQ(shade().color.r, 0, 0, 0, 0);
    addSun(120.0);
    EXPECT_LANES_EQ(shade().color.r, 0, 0, 0, 0);
}

TEST_F(DirectLighting, LeavesOutLightsThatAreOffOrCarriedByPhotons)
{
    addSquare(makeDiffuse(1.0f));
    PlacedCore<osg::UDirectionalLight>& sun = addSun();
    sun.core->setOn(false);
    scene.scene->updateLights();
    EXPECT_LANES_EQ(shade().color.r, 0, 0, 0, 0);
    sun.core->setOn(true);
    scene.scene->updateLights();
    EXPECT_LANES_NEAR(shade().color.r, 1, 1, 1, 1, 1e-5f);
    const auto attachment = osg::RaytracingLightAttachment::create();
    attachment->setDirectWithPhotons(true);
    sun.core->addAttachment(attachment);
    scene.scene->updateLights();
    EXPECT_LANES_EQ(shade().color.r, 0, 0, 0, 0);
}

// Lanes 0 and 1 lie below a second square that covers x > 0.
TEST_F(DirectLighting, StopsAtOpaqueSurfacesAndIsDimmedByTransparentOnes)
{
    addSquare(makeDiffuse(1.0f));
    addSun(45.0);
    const PhongPtr blocker = makeDiffuse(0.0f);
    addSquare(blocker, 1.0f);
    // Rays start between the squares; the light comes over the upper one's edge at x = 1.
    const znFloatType<2> x(-0.8f, -0.1f, 0.15f, 0.8f);
    const znRTRayDifferentialPacket ray(
        znRTRayPacket({x, 0.1f, 0.5f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    const float open = std::sqrt(0.5f);
    EXPECT_LANES_NEAR(shade(ray).color.r, 0, 0, open, open, 1e-5f);

    blocker->setTransparencyColor(osg::ColorComponent(osg::Vec3f(0.5f, 0.25f, 0.0f)));
    scene.scene->applyMaterialChanges();
    const znRTColorPacket dimmed = shade(ray).color;
    EXPECT_LANES_NEAR(dimmed.r, 0.5f * open, 0.5f * open, open, open, 1e-5f);
    EXPECT_LANES_NEAR(dimmed.g, 0.25f * open, 0.25f * open, open, open, 1e-5f);
    EXPECT_LANES_NEAR(dimmed.b, 0, 0, open, open, 1e-5f);
}

TEST_F(DirectLighting, KeepsTheLobesApart)
{
    const PhongPtr material = makeDiffuse(0.5f);
    addSquare(material);
    addSun(20.0);
    const Shaded dull = shade();
    EXPECT_LANES_EQ(dull.layer(ZN_PASS_GLOSSY_LIGHT).r, 0, 0, 0, 0);
    material->setGlossy(gray(0.3f));
    scene.scene->applyMaterialChanges();
    const Shaded shiny = shade();
    for (int lane = 0; lane < 4; ++lane) {
        EXPECT_EQ(shiny.layer(ZN_PASS_DIFFUSE_LIGHT).r[lane],
                  dull.layer(ZN_PASS_DIFFUSE_LIGHT).r[lane]);
        EXPECT_GT(shiny.layer(ZN_PASS_GLOSSY_LIGHT).r[lane], 0.0f);
    }
}

TEST_F(DirectLighting, UsesTheGlossyColorOfTheLightForGlossyLobes)
{
    const PhongPtr material = makeDiffuse(0.5f);
    material->setGlossy(gray(0.25f));
    addSquare(material);
    PlacedCore<osg::UDirectionalLight>& sun = addSun();
    sun.core->setDiffuse(osg::ColorComponent(osg::Vec3f(1.0f, 0.0f, 0.0f)));
    sun.core->setGlossy(osg::ColorComponent(osg::Vec3f(0.0f, 0.0f, 1.0f)));
    scene.scene->updateLights();
    const Shaded shaded = shade();
    EXPECT_LANES_NEAR(shaded.layer(ZN_PASS_DIFFUSE_LIGHT).r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
    EXPECT_LANES_EQ(shaded.layer(ZN_PASS_DIFFUSE_LIGHT).b, 0, 0, 0, 0);
    EXPECT_LANES_EQ(shaded.layer(ZN_PASS_GLOSSY_LIGHT).r, 0, 0, 0, 0);
    EXPECT_GT(shaded.layer(ZN_PASS_GLOSSY_LIGHT).b[0], 1.0f);
}

// Seven suns of different strength, one of them off: the mean of draws is the sum over all.
TEST_F(DirectLighting, DrawnAmongManyLightsHasTheMeanOfAll)
{
    addSquare(makeDiffuse(1.0f));
    for (int i = 0; i < 7; ++i) {
        const float strength = float(1 << i);
        PlacedCore<osg::UDirectionalLight>& sun = addSun(8.0 * i);
        sun.core->setDiffuse(osg::ColorComponent(osg::Vec3f(strength, strength, strength)));
        sun.core->setOn(i != 3);
    }
    scene.scene->updateLights();
    znRTRenderUtils::updateLightDistribution(true);
    double all = 0.0;
    for (int i = 0; i < 7; ++i)
        all += i != 3 ? (1 << i) * std::cos(8.0 * i * testPi / 180.0) : 0.0;

    Settings::s_lightOptimizationMode = 0;
    EXPECT_NEAR(shade().color.r[0], all, 1e-4 * all);
    Settings::s_lightOptimizationMode = 1;
    EXPECT_GT(std::abs(shade().color.r[0] - all), 1e-3 * all); // drawn
    EXPECT_NEAR(meanRed(4096), all, 0.005 * all);
    Settings::s_lightOptimizationMode = 0;
    EXPECT_GT(std::abs(shade(0.2f, 0.1f, 15, 0, 1).color.r[0] - all), 1e-3 * all); // deeper
}

TEST_F(DirectLighting, EvaluatesFourLightsExactlyInEveryMode)
{
    addSquare(makeDiffuse(1.0f));
    for (int i = 0; i < 4; ++i)
        addSun(10.0 * i);
    double all = 0.0;
    for (int i = 0; i < 4; ++i)
        all += std::cos(10.0 * i * testPi / 180.0);
    for (const int mode : {0, 1})
        for (const int depth : {0, 2}) {
            Settings::s_lightOptimizationMode = mode;
            EXPECT_NEAR(shade(0.2f, 0.1f, 15, 3, depth).color.r[0], all, 1e-5 * all);
        }
}

// A local light reaches the lanes whose object lists it, and none without any list; draws that fall
// on it elsewhere are lost.
TEST_F(DirectLighting, OfLocalLightsReachesLanesThatListThem)
{
    znRTMaterial& material = addSquare(makeDiffuse(1.0f));
    for (int i = 0; i < 6; ++i)
        addSun().core->setLocalLighting(i == 2);
    scene.scene->updateLights();
    znDynArray<const znRTLight*> listed;
    listed.reserve(1, false);
    listed[listed.size++] = scene.scene->getLights()[2];
    const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    const auto meanOf = [&](bool hasLists, int samples) {
        znFloatType<2> sum(0.0f);
        for (int i = 0; i < samples; ++i) {
            znRTDataBlockPacket data = blockOf(ray);
            data.hasLocalLights = hasLists;
            data.localLights[1] = hasLists ? &listed : nullptr;
            znRTFragment fragment;
            fragment.clear();
            znRTShadingState state = stateOf(i);
            material.shade(ray, data, fragment, znFloatType<2>::allLanes(), state);
            sum += fragment.colour.r;
        }
        return sum * (1.0f / float(samples));
    };
    Settings::s_lightOptimizationMode = 0;
    EXPECT_LANES_NEAR(meanOf(false, 1), 5, 5, 5, 5, 1e-4f);
    EXPECT_LANES_NEAR(meanOf(true, 1), 5, 6, 5, 5, 1e-4f);
    // Each draw weighs 6 / 4, with chances of 5/6: a deviation of 1.1 a sample.
    Settings::s_lightOptimizationMode = 1;
    EXPECT_LANES_NEAR(meanOf(false, 2048), 5, 5, 5, 5, 0.08f);
    EXPECT_LANES_NEAR(meanOf(true, 2048), 5, 6, 5, 5, 0.08f);
}

// Importance shifts draws and not light; a light that is never drawn is still one of all.
TEST_F(DirectLighting, DrawsNoLightWithoutImportance)
{
    addSquare(makeDiffuse(1.0f));
    for (int i = 0; i < 6; ++i) {
        const auto attachment = osg::RaytracingLightAttachment::create();
        attachment->setImportanceMultiplier(float(i));
        addSun().core->addAttachment(attachment);
    }
    scene.scene->updateLights();
    znRTRenderUtils::updateLightDistribution(true);
    Settings::s_lightOptimizationMode = 0;
    EXPECT_NEAR(shade().color.r[0], 6.0, 1e-4);
    Settings::s_lightOptimizationMode = 1;
    EXPECT_NEAR(meanRed(4096), 5.0, 0.05);
}
