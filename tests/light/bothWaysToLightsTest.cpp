// Lights are found by drawing points on them and by drawing directions about the surface that they
// light. Either way alone brings all of the light, and so do both with their balance weights: the
// density of a direction is the same whoever has drawn it.

#include "brdf/lobeSampling.h"
#include "brdf/znRTONB.h"
#include "host/osg/UAreaLight.h"
#include "light/environmentFixture.h"
#include "light/znRTUDiskLight.h"
#include "light/znRTURectangularLight.h"
#include "light/znRTUSphericalLight.h"

namespace {

struct Ways
{
    double byLight = 0.0, bySurface = 0.0, byBoth = 0.0;
};

/// Irradiance at a point by each way.
Ways irradianceOf(const znRTUAreaLight& light, const znRTVector3f& position,
                  const znRTVector3f& normal, int samples = 65536)
{
    const znRTVector3fPacket p(position), n(normal);
    znRTONB frame;
    frame.set(n);
    Ways ways;
    const auto add = [&](double& sum, const znRTColorPacket& light, const znFloatType<2>& factor) {
        for (int lane = 0; lane < 4; ++lane)
            sum += double(light.r[lane]) * double(factor[lane]) / samples;
    };
    const znFloatType<2> zero(0.0f);
    for (int i = 0; i < samples; i += 4) {
        znRTShapePoint point;
        const znFloatType<2> lightPdf =
            light.getPointOnLightAndPdf(p, n, tablePoints(i), everyLane4, point);
        const znRTVector3fPacket toLight = (point.position - p).getNormalized();
        const znFloatType<2> lit = lightPdf > zero;
        const znRTColorPacket drawn =
            light.getIntensity(p, toLight, point.position, point.uv, everyLane4) & lit;
        const znFloatType<2> cosine = maximum(dot(toLight, n), zero);
        add(ways.byLight, drawn, cosine * reciprocalOrZero(lightPdf));
        add(ways.byBoth, drawn, cosine * light.getMISWeight(lightPdf, cosine * lobeMath::invPi));

        const znRTVector3fPacket wi =
            frame.toWorld(lobeSampling::cosineHemisphere(tablePoints(i, 1)));
        const znFloatType<2> surfacePdf = dot(wi, n) * lobeMath::invPi;
        const znRTColorPacket met =
            light.getIntensity(p, wi, znRTVector2fPacket(0.0f, 0.0f), everyLane4);
        const znFloatType<2> pdfOfMet = light.getPDF(p, wi, everyLane4);
        add(ways.bySurface, met, lobeMath::pi);
        add(ways.byBoth, met, dot(wi, n) * light.getMISWeight(surfacePdf, pdfOfMet));
    }
    return ways;
}

/// @param tolerance  of the way by the surface, which finds small lights seldom
void expectAgreement(const znRTUAreaLight& light, const znRTVector3f& position,
                     const znRTVector3f& normal, double tolerance)
{
    const Ways ways = irradianceOf(light, position, normal);
    EXPECT_GT(ways.byLight, 0.0);
    EXPECT_NEAR(ways.bySurface, ways.byLight, tolerance * ways.byLight);
    EXPECT_NEAR(ways.byBoth, ways.byLight, 0.01 * ways.byLight);
}

template <class Light, class Core>
struct Hanging : PlacedCore<Core>
{
    Hanging() : light(this->node.get(), this->core) {}
    Light light;
};

const znRTVector3f up(0, 0, 1);
const znRTVector3f tilted(0.6f, 0.0f, 0.8f);

} // namespace

TEST(BothWaysToLights, AgreeOnRectangles)
{
    Hanging<znRTURectangularLight, osg::URectangularLight> lamp;
    lamp.core->setSizeX(0.8f);
    lamp.core->setSizeY(0.5f);
    for (const auto& [height, x] :
         {std::array{0.1f, 0.3f}, {0.5f, 0.0f}, {0.5f, 1.0f}, {2.0f, 0.2f}}) {
        lamp.move(x, 0.1f, height);
        lamp.light.update();
        expectAgreement(lamp.light, {}, up, 0.03);
        expectAgreement(lamp.light, {}, tilted, 0.03);
    }
}

TEST(BothWaysToLights, AgreeOnDisks)
{
    Hanging<znRTUDiskLight, osg::UDiskLight> lamp;
    lamp.core->setSizeX(0.8f);
    lamp.core->setSizeY(0.5f);
    lamp.move(0.3f, 0.1f, 0.7f);
    lamp.light.update();
    expectAgreement(lamp.light, {}, up, 0.02);
    expectAgreement(lamp.light, {}, tilted, 0.02);
}

TEST(BothWaysToLights, AgreeOnSpheres)
{
    Hanging<znRTUSphericalLight, osg::USphericalLight> lamp;
    lamp.core->setRadius(0.5f);
    for (const float height : {0.7f, 2.0f}) {
        lamp.move(0.2f, 0.1f, height);
        lamp.light.update();
        expectAgreement(lamp.light, {}, up, 0.03);
        expectAgreement(lamp.light, {}, tilted, 0.03);
    }
}

TEST(BothWaysToLights, AgreeOnEnvironments)
{
    const auto material = environmentOf(greyEnvironment(32, 16, [](int x, int y) {
        return 0.1f + float((x * 7 + y * 13) % 11) + (x == 20 && y == 3 ? 40.0f : 0.0f);
    }));
    znRTInfiniteAreaLight light{osg::MaterialPtr(material.get())};
    light.update();
    EXPECT_FALSE(light.isEven());
    expectAgreement(light, {}, up, 0.02);
    expectAgreement(light, {}, tilted, 0.02);
}

// One value all around, or nearly so, is no reason to aim at anything.
TEST(BothWaysToLights, AreOneForEvenEnvironments)
{
    const auto isEven = [](const std::function<float(int, int)>& radiance) {
        const auto material = environmentOf(greyEnvironment(32, 16, radiance));
        znRTInfiniteAreaLight light{osg::MaterialPtr(material.get())};
        light.update();
        return light.isEven();
    };
    EXPECT_TRUE(isEven([](int, int) { return 0.5f; }));
    EXPECT_TRUE(isEven([](int x, int) { return 0.5f + 0.02f * float(x % 2); }));
    EXPECT_FALSE(isEven([](int, int y) { return y < 8 ? 1.0f : 0.2f; }));
    EXPECT_FALSE(isEven([](int x, int y) { return x == 3 && y == 4 ? 100.0f : 0.5f; }));
}
