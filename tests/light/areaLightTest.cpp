// Area lights against closed forms of irradiance.

#include "host/osg/UAreaLight.h"
#include "host/znRTLensFlare.h"
#include "host/znRTRaytracingSettings.h"
#include "light/lightFixture.h"
#include "light/znRTUDiskLight.h"
#include "light/znRTURectangularLight.h"
#include "light/znRTUSphericalLight.h"

namespace {

const znRTVector3f up(0, 0, 1);

/// A light above the origin, facing down.
template <class Light, class Core>
struct Lamp : PlacedCore<Core>
{
    Lamp() : light(this->node.get(), this->core) {}
    void hang(float x, float y, float height)
    {
        this->move(x, y, height);
        light.update();
    }

    Light light;
};
using DiskLamp = Lamp<znRTUDiskLight, osg::UDiskLight>;
using RectangleLamp = Lamp<znRTURectangularLight, osg::URectangularLight>;
using SphereLamp = Lamp<znRTUSphericalLight, osg::USphericalLight>;

/// Irradiance below a parallel disk of radiance 1: pi/2 (1 - (h^2 + a^2 - R^2) / sqrt((h^2 + a^2 +
/// R^2)^2 - 4 R^2 a^2)). J. Howell, "A Catalog of Radiation Heat Transfer Configuration Factors",
/// B-12.
double diskIrradiance(double radius, double height, double offset)
{
    const double h2 = height * height, a2 = offset * offset, r2 = radius * radius;
    const double root = std::sqrt(std::pow(h2 + a2 + r2, 2) - 4.0 * r2 * a2);
    return testPi / 2.0 * (1.0 - (h2 + a2 - r2) / root);
}

/// Irradiance by a parallel rectangle of radiance 1 from a point below one of its corners (Howell,
/// B-3).
double cornerIrradiance(double a, double b, double height)
{
    const double x = a / height, y = b / height;
    const double sx = std::sqrt(1 + x * x), sy = std::sqrt(1 + y * y);
    return 0.5 * (x / sx * std::atan(y / sx) + y / sy * std::atan(x / sy));
}

double rectangleIrradiance(double halfX, double halfY, double height, double x, double y)
{
    double sum = 0.0;
    for (const double sx : {-1.0, 1.0})
        for (const double sy : {-1.0, 1.0}) {
            const double a = sx * halfX - x, b = sy * halfY - y;
            sum += sx * sy * std::copysign(1.0, a) * std::copysign(1.0, b) *
                   cornerIrradiance(std::fabs(a), std::fabs(b), height);
        }
    return sum;
}

TEST(DiskLight, BringsTheIrradianceOfItsFormFactor)
{
    for (const auto& [radius, height, offset] :
         {std::array{1.5, 2.0, 0.0}, {1.0, 1.0, 0.0}, {0.5, 0.25, 0.3}, {0.5, 2.0, 1.0}}) {
        DiskLamp lamp;
        lamp.core->setSizeX(float(radius));
        lamp.core->setSizeY(float(radius));
        lamp.hang(float(offset), 0, float(height));
        const double expected = diskIrradiance(radius, height, offset);
        EXPECT_NEAR(sampledIrradiance(lamp.light, {}, up), expected, 0.01 * expected)
            << radius << " " << height << " " << offset;
    }
    EXPECT_NEAR(diskIrradiance(1.5, 2.0, 0.0), 1.13097, 1e-5);
}

TEST(RectangularLight, BringsTheIrradianceOfItsFormFactor)
{
    for (const auto& [halfX, halfY, height, x, y] : {std::array{1.0, 0.5, 1.0, 0.0, 0.0},
                                                     {1.0, 1.0, 1.0, 0.0, 0.0},
                                                     {0.5, 0.25, 0.25, 0.7, 0.1},
                                                     {0.5, 0.25, 4.0, 0.7, 0.1}}) {
        RectangleLamp lamp;
        lamp.core->setSizeX(float(halfX));
        lamp.core->setSizeY(float(halfY));
        lamp.hang(float(-x), float(-y), float(height));
        const double expected = rectangleIrradiance(halfX, halfY, height, x, y);
        EXPECT_NEAR(sampledIrradiance(lamp.light, {}, up), expected, 0.01 * expected)
            << halfX << " " << halfY << " " << height;
    }
    EXPECT_NEAR(rectangleIrradiance(1.0, 0.5, 1.0, 0, 0), 1.13329, 1e-5);
    EXPECT_NEAR(rectangleIrradiance(1.0, 1.0, 1.0, 0, 0), 1.74084, 1e-5);
}

// Above the horizon a sphere of radiance 1 brings pi (r/d)^2 cos.
TEST(SphericalLight, BringsTheIrradianceOfItsFormFactor)
{
    for (const double ratio : {0.5, 0.25, 1e-1, 1e-2, 1e-3, 1e-4}) {
        SphereLamp lamp;
        lamp.core->setRadius(float(2.0 * ratio));
        lamp.hang(0, 0, 2);
        const double expected = testPi * ratio * ratio;
        EXPECT_NEAR(sampledIrradiance(lamp.light, {}, up), expected, 1e-3 * expected) << ratio;
        const znRTVector3f tilted(0.5f, 0.0f, std::sqrt(0.75f));
        EXPECT_NEAR(sampledIrradiance(lamp.light, {}, tilted), expected * std::sqrt(0.75),
                    2e-3 * expected)
            << ratio;
    }
}

// Inside a sphere of radiance 1 every surface receives pi.
TEST(SphericalLight, LightsItsInsideByUniformPoints)
{
    SphereLamp lamp;
    lamp.core->setRadius(2.0f);
    lamp.hang(0, 0, 1);
    EXPECT_NEAR(sampledIrradiance(lamp.light, {}, up, 16384), testPi, 0.02 * testPi);

    double mean = 0.0;
    for (int i = 0; i < 4096; i += 4) {
        znRTShapePoint point;
        lamp.light.getPointOnLightAndPdf(inAllLanes(0, 0, 0), znRTVector3fPacket(up),
                                         tablePoints(i), everyLane4, point);
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_NEAR((point.position.getLane(lane) - znRTVector3f(0, 0, 1)).getLength(), 2.0f,
                        1e-5f);
            mean += point.position.z[lane] / 4096.0;
        }
    }
    EXPECT_NEAR(mean, 1.0, 0.02) << "no cone: points lie all around the centre";
}

// An ellipse by a midpoint sum of cos cos / d^2 over its area.
TEST(DiskLight, MayBeAnEllipse)
{
    DiskLamp lamp;
    lamp.core->setSizeX(1.5f);
    lamp.core->setSizeY(0.5f);
    lamp.hang(0.4f, 0.2f, 1.0f);
    double expected = 0.0;
    constexpr int cells = 1000;
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < cells; ++j) {
            const double a = (i + 0.5) * 2.0 / cells - 1.0, b = (j + 0.5) * 2.0 / cells - 1.0;
            if (a * a + b * b > 1.0)
                continue;
            const double x = 0.4 + 1.5 * a, y = 0.2 + 0.5 * b, d2 = x * x + y * y + 1.0;
            expected += 1.0 / (d2 * d2) * 1.5 * 0.5 * 4.0 / (double(cells) * cells);
        }
    EXPECT_NEAR(sampledIrradiance(lamp.light, {}, up), expected, 0.01 * expected);
    EXPECT_NEAR(lamp.light.getShape()->getArea(), testPi * 0.75, 1e-5);
}

// A transform scales the shape with it.
TEST(RectangularLight, FollowsItsTransform)
{
    RectangleLamp lamp;
    lamp.core->setSizeX(1.0f);
    lamp.core->setSizeY(1.0f);
    lamp.turn({2, 0, 0}, {0.5f, 1, 0}, {0, 0, 3}); // sheared: area 4 |x cross y| = 8
    lamp.hang(0, 0, 2);
    EXPECT_NEAR(lamp.light.getShape()->getArea(), 8.0f, 1e-5f);
    const znRTBoundingBox box = lamp.light.getBoundingBox();
    EXPECT_FLOAT_EQ(box.xmax, 2.5f);
    EXPECT_FLOAT_EQ(box.ymin, -1.0f);
    EXPECT_FLOAT_EQ(box.zmin, 2.0f);
    // The edge of the parallelogram at y = 1 runs from x = -1.5 to 2.5.
    const znFloatType<2> x(-1.4f, 2.4f, -1.6f, 2.6f);
    znFloatType<2> t;
    znRTShapePoint point;
    const znFloatType<2> found = lamp.light.getShape()->intersectOrEvaluate(
        znRTVector3fPacket(x, 0.999f, 0.0f), znRTVector3fPacket(up), everyLane4, t, point);
    EXPECT_EQ(moveMask(found), 0b0011);
    EXPECT_NEAR(t[0], 2.0f, 1e-6f);
}

TEST(DiskLight, ShinesOnOneSideOnly)
{
    DiskLamp lamp;
    lamp.hang(0, 0, -1); // below the receiver, facing away
    EXPECT_EQ(sampledIrradiance(lamp.light, {}, znRTVector3f(0, 0, -1), 64), 0.0);
    znRTShapePoint point;
    EXPECT_LANES_EQ(lamp.light.getPointOnLightAndPdf(inAllLanes(0, 0, 0), znRTVector3fPacket(up),
                                                     tablePoints(0), everyLane4, point),
                    0, 0, 0, 0);
}

// Falloffs other than the inverse square treat points as lights without area: colour over falloff,
// density 1/pi, no cosine at the light.
TEST(DiskLight, IsOfNoSizeUnderOtherFalloffs)
{
    for (const float size : {0.01f, 0.02f}) {
        DiskLamp lamp;
        lamp.core->setSizeX(size);
        lamp.core->setSizeY(size);
        lamp.core->setAttenuationType(0);
        lamp.core->setIntensity(3.0f);
        lamp.hang(0, 0, 2);
        EXPECT_EQ(lamp.light.getLightKind(), 0);
        EXPECT_NEAR(sampledIrradiance(lamp.light, {}, up), 3.0 * testPi, 0.01);
        lamp.core->setAttenuationType(1);
        lamp.light.update();
        EXPECT_NEAR(sampledIrradiance(lamp.light, {}, up), 1.5 * testPi, 0.01);
        EXPECT_NEAR(lamp.light.getPower(), testPi * size * size * 3.0, 1e-8);
    }
}

TEST(AreaLight, ScalesItsStrengthByFalloffAndUnit)
{
    const UnitsScope units(2.0f);
    DiskLamp lamp;
    lamp.core->setIntensity(3.0f);
    const float expected[] = {12.0f, 6.0f, 3.0f};
    for (int type = 0; type < 3; ++type) {
        lamp.core->setAttenuationType(type);
        lamp.light.update();
        EXPECT_FLOAT_EQ(lamp.light.getMaxIntensity(), expected[type]);
        const float area = lamp.light.getShape()->getArea();
        EXPECT_FLOAT_EQ(lamp.light.getPower(),
                        area * expected[type] * (type == 2 ? 3.1415927f : 1.0f));
        EXPECT_FLOAT_EQ(lamp.light.getLuminousIntensity(), area * expected[type]);
        // Photons follow the same scale: pi A L.
        EXPECT_NEAR(sampledFlux(lamp.light), testPi * area * expected[type],
                    0.01 * area * expected[type]);
    }
    lamp.core->setOn(false);
    lamp.light.update();
    EXPECT_EQ(lamp.light.getPower(), 0.0f);
    EXPECT_EQ(lamp.light.getLuminousIntensity(), 0.0f);
}

/// Flux pi A L and the cosine law: the mean of cos^2 under density cos / pi is 1/2.
template <class L>
void expectLambertianPhotons(L& lamp, double area)
{
    EXPECT_NEAR(sampledFlux(lamp.light), testPi * area, 0.01 * testPi * area);
    double square = 0.0;
    constexpr int count = 16384;
    for (int i = 0; i < count; i += 4) {
        znRTVector3fPacket position, direction, normal;
        znFloatType<2> pdf;
        lamp.light.sample_L_Out(tablePoints(i), tablePoints(i, 1), everyLane4, position, direction,
                                normal, pdf);
        const znFloatType<2> cosine = dot(direction, normal);
        EXPECT_EQ(moveMask(cosine >= znFloatType<2>(0.0f)), 15);
        for (int lane = 0; lane < 4; ++lane)
            square += double(cosine[lane]) * cosine[lane] / count;
    }
    EXPECT_NEAR(square, 0.5, 0.005);
}

TEST(AreaLight, SendsPhotonsByTheCosineLaw)
{
    DiskLamp disk;
    disk.hang(1, 2, 3);
    expectLambertianPhotons(disk, testPi * 0.25);
    RectangleLamp rectangle;
    rectangle.hang(1, 2, 3);
    expectLambertianPhotons(rectangle, 1.0);
    SphereLamp sphere;
    sphere.hang(1, 2, 3);
    expectLambertianPhotons(sphere, testPi);
}

// The falloff of a cone over the hemisphere, times the cosine, by quadrature.
TEST(AreaLight, ShinesIntoALimitedCone)
{
    DiskLamp lamp;
    lamp.core->setSizeX(0.01f);
    lamp.core->setSizeY(0.01f);
    lamp.core->setUseConeAngle(true);
    lamp.core->setConeAngle(20.0f);
    lamp.core->setPenumbraAngle(20.0f);
    lamp.hang(0, 0, 1);
    const double inner = std::cos(20 * testPi / 180), outer = std::cos(40 * testPi / 180);
    const auto falloff = [&](double cosine) {
        const double t = std::clamp((cosine - outer) / (inner - outer), 0.0, 1.0);
        return t * t * (3 - 2 * t);
    };
    for (const float x : {0.0f, 0.5f, 0.7f, 1.0f}) {
        const double cosine = 1.0 / std::sqrt(1.0 + double(x) * x);
        const double area = testPi * 1e-4;
        const double expected = area * std::pow(cosine, 4) * falloff(cosine);
        EXPECT_NEAR(sampledIrradiance(lamp.light, {x, 0, 0}, up), expected, 0.01 * area) << x;
    }
    double flux = 0.0;
    constexpr int steps = 100000;
    for (int i = 0; i < steps; ++i) {
        const double cosine = (i + 0.5) / steps;
        flux += 2.0 * testPi * cosine * falloff(cosine) / steps;
    }
    const double area = testPi * 1e-4;
    EXPECT_NEAR(sampledFlux(lamp.light), flux * area, 0.01 * flux * area);
    EXPECT_NEAR(lamp.light.getPower(), testPi * area * (2.0 - inner - outer) / 2.0, 1e-8);
    lamp.core->setConeAngle(90.0f);
    lamp.core->setPenumbraAngle(0.0f);
    lamp.light.update();
    EXPECT_NEAR(lamp.light.getPower(), testPi * area, 1e-9);
}

TEST(AreaLight, ReadsItsQualityInUpdateAlone)
{
    using Settings = znRTRaytracingSettings;
    const int before = Settings::s_qualityMode;
    DiskLamp lamp;
    lamp.core->setInteractiveQuality(0);
    lamp.core->setStillQuality(9);
    Settings::s_qualityMode = Settings::interactive;
    lamp.light.update();
    EXPECT_EQ(lamp.light.getNumSamples(), 1u) << "at least one";
    Settings::s_qualityMode = Settings::stillFrame;
    EXPECT_EQ(lamp.light.getNumSamples(), 1u);
    lamp.light.update();
    EXPECT_EQ(lamp.light.getNumSamples(), 9u);
    Settings::s_qualityMode = before;
}

TEST(AreaLight, IsOffWithoutArea)
{
    DiskLamp lamp;
    lamp.core->setSizeX(0.0f);
    lamp.light.update();
    EXPECT_FALSE(lamp.light.isOn());
    EXPECT_EQ(lamp.light.getPower(), 0.0f);
    EXPECT_EQ(sampledFlux(lamp.light, 16), 0.0);
    lamp.core->setSizeX(1.0f);
    lamp.light.update();
    EXPECT_TRUE(lamp.light.isOn());
}

TEST(AreaLight, TakesItsVisibilityAndSilencesItsFlare)
{
    znRTLensFlare flare;
    DiskLamp lamp;
    lamp.core->setLensFlare(&flare);
    lamp.core->setVisibleInReflections(false);
    lamp.light.update();
    EXPECT_FALSE(flare.isEnabled());
    EXPECT_FALSE(lamp.light.isVisibleInReflections());
    EXPECT_TRUE(lamp.light.hasPrimaryVisibility());
}

TEST(AreaLight, IsLeftAsItWasByACoreOfAnotherKind)
{
    PlacedCore<osg::UDirectionalLight> other;
    znRTUDiskLight light(other.node.get(), other.core);
    light.update();
    EXPECT_EQ(light.getShape(), nullptr);
    EXPECT_EQ(light.getPower(), 0.0f);
    EXPECT_EQ(moveMask(light.cullLight(inAllLanes(0, 0, 0), inAllLanes(0, 0, 1), everyLane4)), 0);
}

TEST(DiskLight, IsCulledWhenAllItsCornersAreBehindTheSurface)
{
    DiskLamp lamp;
    lamp.core->setSizeX(1.0f);
    lamp.core->setSizeY(1.0f);
    lamp.hang(0, 0, 1);
    const znRTVector3fPacket below = inAllLanes(0, 0, 0);
    const znRTVector3fPacket normals(znFloatType<2>(0.0f, 0.0f, 0.8f, 0.9f), 0.0f,
                                     znFloatType<2>(1.0f, -1.0f, -0.6f, -0.95f));
    // With normal (0.8, 0, -0.6) the corner at x = 1 stands at 0.8 - 0.6 > 0; with (0.9, -0.95) at
    // -0.05.
    EXPECT_EQ(moveMask(lamp.light.cullLight(below, normals, everyLane4)), 0b0101);
    EXPECT_EQ(moveMask(lamp.light.cullLight(below, normals, expandLanes(0b1110))), 0b0100);
}

TEST(SphericalLight, IsCulledWhenNoneOfItIsAboveTheHorizon)
{
    SphereLamp lamp;
    lamp.core->setRadius(0.5f);
    lamp.hang(0, 0, 0);
    const znRTVector3fPacket p(0.0f, 0.0f, znFloatType<2>(-1.0f, 0.4f, 0.6f, 0.0f));
    EXPECT_EQ(moveMask(lamp.light.cullLight(p, znRTVector3fPacket(up), everyLane4)), 0b1011);
}

TEST(AreaLight, StandsForItsMiddle)
{
    RectangleLamp lamp;
    lamp.hang(0, 0, 2);
    const znRTVector3fPacket p = inAllLanes(0, 0, 0);
    EXPECT_LANES_NEAR(lamp.light.getDistance(p), 2, 2, 2, 2, 1e-6f);
    EXPECT_LANES_NEAR(lamp.light.getAverageLightVector(p).z, 1, 1, 1, 1, 1e-6f);
    lamp.core->setAttenuationType(1);
    lamp.light.update();
    EXPECT_LANES_NEAR(lamp.light.getAverageIntensity(p, expandLanes(3)).r, 0.5f, 0.5f, 0, 0, 1e-6f);
}

/// Two bright spots, 8 x 8. Between texels values are interpolated while the table has steps, so
/// the ground is not too dark: samples there would carry much.
osg::Ref<osg::Image> makeSpotImage()
{
    std::vector<float> texels(64, 2.0f);
    texels[8 * 5 + 2] = 40.0f;
    texels[8 * 2 + 6] = 10.0f;
    const osg::Ref<osg::Image> image(osg::Image::create());
    image->set(osg::Image::L, 8, 8, 1, 1, 1, texels.data(), osg::Image::Float32);
    image->setColorSpaceGamma(1.0f);
    return image;
}

/// Guided and uniform points estimate the same; a guided estimate needs far fewer.
template <class L>
void expectSameMean(const char* name)
{
    L lamp;
    const osg::Ref<osg::Image> image = makeSpotImage();
    lamp.core->setEmissionTexture(image.get());
    lamp.core->setEmissionTextureActive(true);
    lamp.core->setEmissionTextureImportanceSampling(false);
    lamp.hang(0.3f, 0, 1.2f);
    const double uniform = sampledIrradiance(lamp.light, {}, up, 1 << 18);
    const double uniformFlux = sampledFlux(lamp.light, 1 << 18);
    lamp.core->setEmissionTextureImportanceSampling(true);
    lamp.light.update();
    ASSERT_GT(lamp.light.getShape()->getSampleCount(), 0u);
    EXPECT_NEAR(sampledIrradiance(lamp.light, {}, up, 1 << 18), uniform, 0.01 * uniform) << name;
    EXPECT_NEAR(sampledFlux(lamp.light, 1 << 18), uniformFlux, 0.01 * uniformFlux) << name;
}

TEST(AreaLight, IsAsBrightWhereItsTextureGuidesTheSamples)
{
    expectSameMean<DiskLamp>("disk");
    expectSameMean<RectangleLamp>("rectangle");
    expectSameMean<SphereLamp>("sphere");
}

// A texture of two halves lies along the x axis of the light.
TEST(RectangularLight, LaysItsTextureAlongItsAxes)
{
    const float texels[] = {0.0f, 1.0f};
    const osg::Ref<osg::Image> image(osg::Image::create());
    image->set(osg::Image::L, 2, 1, 1, 1, 1, texels, osg::Image::Float32);
    image->setColorSpaceGamma(1.0f);
    RectangleLamp lamp;
    lamp.core->setEmissionTexture(image.get());
    lamp.core->setEmissionTextureActive(true);
    lamp.hang(0, 0, 1);
    const znRTVector3fPacket on(znFloatType<2>(-0.4f, 0.4f, 0.0f, 0.25f), 0.0f, 1.0f);
    EXPECT_LANES_NEAR(lamp.light.evaluateTexture(on, znRTVector2fPacket(0.0f, 0.0f), everyLane4).g,
                      0, 1, 0.5f, 1, 1e-5f);
}

} // namespace
