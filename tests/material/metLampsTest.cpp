// Lamps by directions of the lobes beside points on the lamps: means are those of the lamps alone,
// and no single sample outshines the lamp.

#include "brdf/referenceLobes.h"
#include "core/rayTypes.h"
#include "host/osg/UAreaLight.h"
#include "material/materialFixture.h"
#include "support/hostScene.h"
#include "support/pathTracer.h"
#include "support/pictureAgreement.h"

#include <list>
#include <numeric>

using namespace materialTest;

namespace {

constexpr double exponent = 2000.0, radiance = 8.0, halfEdge = 0.5, height = 2.0;
constexpr double pointX = 0.2, pointY = 0.1; ///< of the point that is looked at

PhongPtr makeShiny(float reflectance)
{
    const PhongPtr material = makeDiffuse(0.0f);
    material->setGlossy(gray(reflectance));
    material->setRoughness(float(1.0 / std::sqrt(exponent)));
    return material;
}

class MetLamps : public MaterialTest
{
protected:
    ~MetLamps() override { scene.scene->clear(); }

    /// A square lamp that shines down onto the square of the scene.
    void addLamp(double x = 0.0, double y = 0.0)
    {
        lamps.emplace_back();
        PlacedCore<osg::URectangularLight>& lamp = lamps.back();
        lamp.move(float(x), float(y), float(height));
        lamp.core->setSizeX(float(halfEdge));
        lamp.core->setSizeY(float(halfEdge));
        lamp.core->setGlossy(osg::ColorComponent(osg::Vec3f(1, 1, 1), float(radiance)));
        addLight(lamp);
    }
    /// Values of pixels, seen straight from above.
    std::vector<double> samples(int count, int depth)
    {
        std::vector<double> values;
        for (int i = 0; i < count; i += 4)
            for (int lane = 0; lane < 4; ++lane)
                values.push_back(
                    shade(float(pointX), float(pointY), 15, i / 4, depth).color.g[lane]);
        return values;
    }

    std::list<PlacedCore<osg::URectangularLight>> lamps;
};

double meanOf(const std::vector<double>& values)
{
    return std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
}

/// The lobe times the cosine, summed over cells of a lamp.
double reflectedLamp(double lampX, double lampY)
{
    constexpr int cells = 800;
    double sum = 0.0;
    for (int j = 0; j < cells; ++j)
        for (int i = 0; i < cells; ++i) {
            const reference::Vector way{lampX + halfEdge * (2.0 * (i + 0.5) / cells - 1.0) - pointX,
                                        lampY + halfEdge * (2.0 * (j + 0.5) / cells - 1.0) - pointY,
                                        height};
            const double d = way.length();
            const reference::Vector wi = way * (1.0 / d);
            sum += reference::powerValue({0, 0, 1}, wi, exponent, exponent) * wi.z * wi.z / (d * d);
        }
    return radiance * sum * 4.0 * halfEdge * halfEdge / (cells * cells);
}

} // namespace

TEST_F(MetLamps, BringTheMeanOfTheirPoints)
{
    addSquare(makeShiny(1.0f));
    addLamp();
    const double expected = reflectedLamp(0.0, 0.0);
    for (const int depth : {0, 1})
        EXPECT_NEAR(meanOf(samples(8192, depth)), expected, 0.01 * expected) << depth;
}

// The lamp's edge stands in the middle of the peak.
TEST_F(MetLamps, BringTheMeanAtTheirEdges)
{
    addSquare(makeShiny(1.0f));
    addLamp(pointX + halfEdge, pointY);
    const double expected = reflectedLamp(pointX + halfEdge, pointY);
    for (const int depth : {0, 1})
        EXPECT_NEAR(meanOf(samples(16384, depth)), expected, 0.01 * expected) << depth;
}

TEST_F(MetLamps, BringTheMeanAmongManyThatAreDrawn)
{
    addSquare(makeShiny(1.0f));
    double expected = 0.0;
    for (int i = 0; i < 7; ++i) {
        const double x = 0.25 * (i - 3);
        addLamp(x, x);
        expected += reflectedLamp(x, x);
    }
    Settings::s_lightOptimizationMode = 1;
    for (const int depth : {0, 1})
        EXPECT_NEAR(meanOf(samples(16384, depth)), expected, 0.02 * expected) << depth;
    Settings::s_lightOptimizationMode = 0;
    EXPECT_NEAR(meanOf(samples(8192, 0)), expected, 0.01 * expected);
}

// A point on the lamp inside the peak would bring (e + 2) / (8 pi) * solid angle, 20 lamps; with
// its weight it brings no more than what a direction of the lobe brings, a little more than one.
TEST_F(MetLamps, NeverOutshineTheLamp)
{
    addSquare(makeShiny(1.0f));
    addLamp();
    for (const int depth : {0, 1})
        for (const double value : samples(4096, depth))
            ASSERT_LT(value, 2.5 * radiance) << depth;
}

// The sun on a nearly perfect mirror, by rays from all about the mirror's direction. What scattered
// rays find is spread over a small cone: the same sum, without the specks.
TEST_F(MetLamps, AreAllLightsForScatteredRays)
{
    const PhongPtr material = makeShiny(1.0f);
    material->setRoughness(float(1.0 / std::sqrt(8000.0)));
    addSquare(material);
    addSun();
    constexpr int steps = 33, count = 8;
    constexpr double step = 0.011;
    double sum = 0.0, scatteredSum = 0.0, most = 0.0, scatteredMost = 0.0;
    for (int j = -steps; j <= steps; ++j)
        for (int i = -steps; i <= steps; ++i) {
            const float x = float(i * step), y = float(j * step);
            const znRTVector3f direction = znRTVector3f(x, y, -1.0f).getNormalized();
            znRTRayDifferentialPacket ray(znRTRayPacket(
                znRTVector3fPacket(0.2f - x, 0.1f - y, 1.0f), znRTVector3fPacket(direction)));
            // Places on a plane, as solid angles of the rays.
            const double angle = std::pow(1.0 + double(x) * x + double(y) * y, -1.5);
            const double exact = double(shade(ray, 15, 0, 1).color.g[0]);
            sum += angle * exact;
            most = std::max(most, exact);
            ray.type = znIntType<2>(int(rayType::diffuseScatter | rayType::stochasticBounce));
            for (int k = 0; k < count; ++k) {
                const znRTColorPacket found = shade(ray, 15, k, 1).color;
                for (int lane = 0; lane < 4; ++lane) {
                    scatteredSum += angle * double(found.g[lane]) / (4.0 * count);
                    scatteredMost = std::max(scatteredMost, double(found.g[lane]));
                }
            }
        }
    EXPECT_GT(sum, 0.0);
    EXPECT_NEAR(scatteredSum, sum, 0.03 * sum);
    EXPECT_LT(scatteredMost, 0.25 * most);
}

namespace {

using reference::Color;

/// Shiny things under lamps of two kinds, one of them behind a pane.
reference::Scene shinyThings()
{
    reference::Scene scene;
    const int floor =
        scene.add({.diffuse = {0.3, 0.3, 0.4}, .glossy = Color::gray(0.5), .exponent = 60.0});
    const int ball = scene.add({.glossy = {0.8, 0.7, 0.5}, .exponent = 40.0});
    const int lamp = scene.add({.emission = {3.0, 2.5, 2.0}});
    const int pane = scene.add({.diffuse = {0.1, 0.2, 0.1}, .passes = {0.7, 0.5, 0.3}});
    scene.addFloor(20.0, floor);
    scene.balls.push_back({{0.2, 0.1, 0.8}, 0.8, ball});
    scene.rectangles.push_back({{1.0, 1.6, 2.5}, 0.8, 0.8, Color{2.0, 2.2, 2.6}});
    scene.parallelograms.push_back({{-3.0, 1.5, 0.2}, {1.6, 0.8, 0.0}, {0.0, 0.0, 1.8}, lamp});
    scene.parallelograms.push_back({{-1.8, 0.3, 0.0}, {1.2, 0.5, 0.0}, {0.0, 0.0, 1.2}, pane});
    scene.view = {{0.5, -4.0, 2.2}, {0.0, 0.0, 0.6}, 40.0};
    return scene;
}

/// The whole picture, and its quarters.
void expectAgreement(const reference::Scene& scene, int bounces, int side, int samples,
                     const reference::StillFrameQuality& quality = {})
{
    const reference::Picture expected = reference::PathTracer(scene, {bounces}).render(side);
    const reference::Picture found = reference::HostScene(scene, quality).render(samples);
    // Dark quarters may be off by as much as those of the mean brightness.
    const double least = reference::blockOf(expected, 0, 0, 32, 32).mean.luminance();
    const auto agree = [&](int x, int y, int size, double tolerance) {
        reference::expectBlocksAgree(reference::blockOf(found, x, y, x + size, y + size),
                                     reference::blockOf(expected, x, y, x + size, y + size),
                                     tolerance, least,
                                     "from " + std::to_string(x) + ", " + std::to_string(y));
    };
    agree(0, 0, 32, 0.01);
    for (const int y : {0, 16})
        for (const int x : {0, 16})
            agree(x, y, 16, 0.02);
}

} // namespace

TEST(MetLampsPictures, AgreeOnShinyThings)
{
    expectAgreement(shinyThings(), 0, 36, 24);
}

// Each lamp is found among five by its power.
TEST(MetLampsPictures, AgreeOnShinyThingsAmongManyLamps)
{
    reference::Scene scene = shinyThings();
    for (int i = 0; i < 3; ++i)
        scene.rectangles.push_back({{-2.0 + i, 2.0, 1.0 + 0.5 * i}, 0.3, 0.3, Color::gray(3.0)});
    expectAgreement(scene, 0, 36, 24);
}

// Shiny walls light each other, too: what a ray meets is lit by both ways.
TEST(MetLampsPictures, AgreeBetweenShinyThings)
{
    reference::Scene scene = shinyThings();
    for (reference::Finish& finish : scene.finishes)
        finish.exponent = std::min(finish.exponent, 16.0);
    expectAgreement(scene, 1, 36, 20, {.illumination = 3, .depth = 1});
}
