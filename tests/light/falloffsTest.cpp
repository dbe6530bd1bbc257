// Every kind of light under every falloff, against sums over its surface that know nothing of how
// points are drawn. Falloffs other than the inverse square have the density 1/pi and no cosine at
// the light: E = pi L times the mean of cos / falloff over its points.

#include "host/osg/UAreaLight.h"
#include "host/osg/UPointLight.h"
#include "light/lightFixture.h"
#include "light/znRTUDiskLight.h"
#include "light/znRTURectangularLight.h"
#include "light/znRTUSphericalLight.h"
#include "light/znRTUSpotLight.h"

#include <functional>

namespace {

constexpr double height = 1.25, aside = 0.7; ///< of the light's middle over the illuminated point

double falloffOf(int type, double distance)
{
    return type == 0 ? 1.0 : type == 1 ? distance : distance * distance;
}

/// Irradiance of a point below, facing up, from a flat light of radiance 3 that shines down.
/// @param contains  of places on it, from the middle
double flatIrradiance(int type, double halfX, double halfY,
                      const std::function<bool(double, double)>& contains)
{
    constexpr int steps = 1000;
    double sum = 0.0;
    int count = 0;
    for (int i = 0; i < steps; ++i)
        for (int j = 0; j < steps; ++j) {
            const double x = halfX * (2.0 * (i + 0.5) / steps - 1.0);
            const double y = halfY * (2.0 * (j + 0.5) / steps - 1.0);
            if (!contains(x, y))
                continue;
            ++count;
            const double across = x + aside;
            const double distance = std::sqrt(across * across + y * y + height * height);
            const double cosine = height / distance;
            sum += type == 2 ? cosine * cosine / (distance * distance)
                             : cosine / falloffOf(type, distance);
        }
    const double cell = 4.0 * halfX * halfY / (double(steps) * steps);
    return 3.0 * (type == 2 ? sum * cell : testPi * sum / count);
}

template <class Light, class Core>
double sampled(PlacedCore<Core>& placed, int type)
{
    placed.move(float(aside), 0.0f, float(height));
    placed.core->setAttenuationType(type);
    placed.core->setIntensity(3.0f);
    Light light(placed.node.get(), osg::NodeCorePtr(placed.core));
    light.update();
    return sampledIrradiance(light, {0, 0, 0}, {0, 0, 1}, 16384);
}

} // namespace

TEST(Falloffs, HoldForDisks)
{
    for (int type = 0; type < 3; ++type) {
        PlacedCore<osg::UDiskLight> placed;
        placed.core->setSizeX(0.8f);
        placed.core->setSizeY(0.5f);
        const double expected = flatIrradiance(
            type, 0.8, 0.5, [](double x, double y) { return x * x / 0.64 + y * y / 0.25 <= 1.0; });
        EXPECT_NEAR(sampled<znRTUDiskLight>(placed, type), expected, 0.005 * expected) << type;
    }
}

TEST(Falloffs, HoldForRectangles)
{
    for (int type = 0; type < 3; ++type) {
        PlacedCore<osg::URectangularLight> placed;
        placed.core->setSizeX(0.8f);
        placed.core->setSizeY(0.5f);
        const double expected = flatIrradiance(type, 0.8, 0.5, [](double, double) { return true; });
        EXPECT_NEAR(sampled<znRTURectangularLight>(placed, type), expected, 0.005 * expected)
            << type;
    }
}

// A small ball is a point: its middle's falloff; under the inverse square pi (r / d)^2 cos.
TEST(Falloffs, HoldForSmallSpheres)
{
    const double distance = std::sqrt(height * height + aside * aside);
    for (int type = 0; type < 3; ++type) {
        PlacedCore<osg::USphericalLight> placed;
        placed.core->setRadius(0.02f);
        const double cosine = height / distance;
        const double expected = type == 2 ? 3.0 * testPi * 4e-4 / (distance * distance) * cosine
                                          : 3.0 * testPi * cosine / falloffOf(type, distance);
        EXPECT_NEAR(sampled<znRTUSphericalLight>(placed, type), expected, 0.02 * expected) << type;
    }
}

// On the axis of a spot: intensity over falloff, at two distances.
TEST(Falloffs, HoldForSpots)
{
    for (int type = 0; type < 4; ++type)
        for (const float distance : {0.5f, 3.0f}) {
            PlacedCore<osg::USpotLight> placed;
            placed.core->setAttenuationType(type);
            placed.move(0, 0, distance);
            znRTUSpotLight light(placed.node.get(), osg::NodeCorePtr(placed.core));
            light.update();
            const znRTColorPacket value =
                light.getIntensity(inAllLanes(0, 0, 0), inAllLanes(0, 0, 1),
                                   znRTVector2fPacket(0.0f, 0.0f), everyLane4);
            EXPECT_NEAR(value.g[2] * falloffOf(std::min(type, 2), distance), 1.0, 1e-5)
                << type << ' ' << distance;
        }
}
