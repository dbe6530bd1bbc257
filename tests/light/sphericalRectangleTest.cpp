#include "light/sphericalRectangle.h"

#include "light/lightFixture.h"
#include "light/znRTPlaneShape.h"

#include <random>

namespace {

/// Solid angle of a rectangle at height z, by four corners (Howell's pi times the view factor of a
/// sphere): the sum of +-atan(x y / (z r)).
double solidAngle(double x0, double x1, double y0, double y1, double z)
{
    const auto corner = [z](double x, double y) {
        return std::atan(x * y / (z * std::sqrt(x * x + y * y + z * z)));
    };
    return corner(x1, y1) - corner(x0, y1) - corner(x1, y0) + corner(x0, y0);
}

struct Place
{
    double x0, x1, y0, y1, z;
};

/// In front of the middle, beside it, beyond corners and edges, long and thin, all but touching.
constexpr Place places[] = {{-1.0, 1.0, -1.0, 1.0, 1.0},   {-0.3, 1.2, 0.1, 0.9, 0.4},
                            {0.2, 1.0, 0.3, 2.0, 0.5},     {-2.0, -0.1, -1.0, 0.5, 0.3},
                            {-3.0, -1.0, -2.0, -0.5, 1.5}, {-4.0, 5.0, -0.1, 0.1, 0.2},
                            {-1.0, 2.0, -2.0, 0.5, 0.05}};

znRTSphericalRectangle rectangleAt(const Place& p)
{
    return {float(p.x0), float(p.x1), float(p.y0), float(p.y1), float(p.z)};
}

/// Upper bound of chi-square at p = 1e-3 for 15 degrees of freedom.
constexpr double chiSquareLimit15 = 37.70;

} // namespace

TEST(SphericalRectangle, KnowsItsSolidAngle)
{
    for (const Place& p : places)
        EXPECT_NEAR(rectangleAt(p).getSolidAngle()[0], solidAngle(p.x0, p.x1, p.y0, p.y1, p.z),
                    4e-5)
            << p.x0 << " " << p.z;
    // A face of a cube about the point is a sixth of the sphere.
    EXPECT_NEAR(rectangleAt(places[0]).getSolidAngle()[0], 4.0 * testPi / 6.0, 4e-5);
}

// Random points in a grid of 4 x 4 cells against the solid angles of the cells.
TEST(SphericalRectangle, DrawsPointsEvenlyBySolidAngle)
{
    for (const Place& p : places) {
        std::mt19937 engine(5);
        std::uniform_real_distribution<float> number(0.0f, 1.0f);
        const znRTSphericalRectangle rectangle = rectangleAt(p);
        constexpr int cells = 4, packets = 10000;
        int counts[cells * cells] = {};
        for (int i = 0; i < packets; ++i) {
            const znRTVector2fPacket u(
                znFloatType<2>(number(engine), number(engine), number(engine), number(engine)),
                znFloatType<2>(number(engine), number(engine), number(engine), number(engine)));
            const znRTVector2fPacket drawn = rectangle.draw(u);
            for (int lane = 0; lane < 4; ++lane) {
                const double x = (double(drawn.x[lane]) - p.x0) / (p.x1 - p.x0);
                const double y = (double(drawn.y[lane]) - p.y0) / (p.y1 - p.y0);
                ASSERT_GT(x, -1e-5);
                ASSERT_LT(x, 1.00001);
                ASSERT_GT(y, -1e-5);
                ASSERT_LT(y, 1.00001);
                ++counts[std::clamp(int(y * cells), 0, cells - 1) * cells +
                         std::clamp(int(x * cells), 0, cells - 1)];
            }
        }
        const double whole = solidAngle(p.x0, p.x1, p.y0, p.y1, p.z);
        double sum = 0.0;
        for (int j = 0; j < cells; ++j)
            for (int i = 0; i < cells; ++i) {
                const auto at = [](double a, double b, int k) { return a + (b - a) * k / cells; };
                const double share = solidAngle(at(p.x0, p.x1, i), at(p.x0, p.x1, i + 1),
                                                at(p.y0, p.y1, j), at(p.y0, p.y1, j + 1), p.z) /
                                     whole;
                const double expected = 4.0 * packets * share;
                sum += std::pow(counts[j * cells + i] - expected, 2) / std::max(expected, 1e-9);
            }
        EXPECT_LT(sum, chiSquareLimit15) << p.x0 << " " << p.z;
    }
}

// The shape's density is one over the solid angle from near by, and what it was from far away.
TEST(SphericalRectangle, GivesPlanesTheirDensity)
{
    znRTPlaneShape plane(1.0f, 0.5f);
    plane.setDrawnByAngle(true);
    const znRTPlaneShape byArea(1.0f, 0.5f);
    for (const auto& [x, y, z] : {std::array{0.2f, 0.1f, -0.3f},
                                  {0.9f, 0.4f, -0.05f},
                                  {1.3f, -0.2f, -0.4f},
                                  {0.1f, 0.2f, -0.8f}}) {
        const znRTVector3fPacket origin(x, y, z);
        znFloatType<2> mask = everyLane4;
        znRTShapePoint point;
        plane.samplePointFromOrigin(origin, mask, tablePoints(0), point);
        const znFloatType<2> pdf =
            plane.getPdf(origin, point.position, point.normal, point.pdf, everyLane4);
        const znRTVector3fPacket wi = (point.position - origin).getNormalized();
        znFloatType<2> t;
        znRTShapePoint met;
        const znFloatType<2> found = plane.intersectOrEvaluate(origin, wi, everyLane4, t, met);
        const znFloatType<2> pdfOfMet =
            plane.getPdf(origin, met.position, met.normal, met.pdf, found);
        const double expected = 1.0 / solidAngle(-1.0 - x, 1.0 - x, -0.5 - y, 0.5 - y, -z);
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_NEAR(pdf[lane], expected, 1e-3 * expected);
            EXPECT_NEAR(pdfOfMet[lane], expected, 2e-3 * expected);
        }
    }
    const znRTVector3fPacket far(0.5f, 3.0f, -8.0f);
    znFloatType<2> mask = everyLane4;
    znRTShapePoint point, other;
    plane.samplePointFromOrigin(far, mask, tablePoints(0), point);
    byArea.samplePointFromOrigin(far, mask, tablePoints(0), other);
    for (int lane = 0; lane < 4; ++lane) {
        EXPECT_EQ(point.pdf[lane], other.pdf[lane]);
        EXPECT_EQ(point.position.x[lane], other.position.x[lane]);
    }
}

// A point that all but touches the lamp sees half a sphere of radiance 1: pi, with hardly any
// noise, where drawing by area finds it in one sample of thousands.
TEST(SphericalRectangle, LightsWhatIsNextToIt)
{
    znRTPlaneShape plane(1.0f, 0.5f);
    plane.setDrawnByAngle(true);
    const znRTVector3fPacket origin(0.2f, 0.1f, -0.001f), toward(0.0f, 0.0f, 1.0f);
    double sum = 0.0, squares = 0.0;
    constexpr int samples = 4096;
    for (int i = 0; i < samples; i += 4) {
        znFloatType<2> mask = everyLane4;
        znRTShapePoint point;
        plane.samplePointFromOrigin(origin, mask, tablePoints(i), point);
        const znFloatType<2> pdf =
            plane.getPdf(origin, point.position, point.normal, point.pdf, everyLane4);
        const znFloatType<2> cosine = dot((point.position - origin).getNormalized(), toward);
        for (int lane = 0; lane < 4; ++lane) {
            const double value = double(cosine[lane]) / double(pdf[lane]);
            sum += value / samples;
            squares += value * value / samples;
        }
    }
    EXPECT_NEAR(sum, testPi, 0.01 * testPi);
    // Of a cosine under an even choice of directions: 4/3 pi^2 - pi^2.
    EXPECT_LT(squares - sum * sum, 0.4 * testPi * testPi);
}
