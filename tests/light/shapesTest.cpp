// Shapes: densities that integrate to 1 and samples that follow them.

#include "light/lightFixture.h"
#include "light/znRTDiskShape.h"
#include "light/znRTPlaneShape.h"
#include "light/znRTSphereShape.h"

#include <functional>
#include <random>

namespace {

/// Upper bound of chi-square at p = 1e-3 with many degrees of freedom (E. Wilson, M. Hilferty,
/// "The Distribution of Chi-Square", PNAS 17, 1931).
double chiSquareLimit(int degrees)
{
    const double z = 3.09, k = 2.0 / (9.0 * degrees);
    return degrees * std::pow(1.0 - k + z * std::sqrt(k), 3);
}

/// Shares of random points in a grid of cells of equal probability.
/// @param place  cell coordinates of a point, both in [0, 1)
double chiSquare(const znRTShape& shape, int cells,
                 const std::function<std::array<double, 2>(const znRTVector3f&)>& place)
{
    std::mt19937 engine(7);
    std::uniform_real_distribution<float> number(0.0f, 1.0f);
    std::vector<int> counts(std::size_t(cells) * cells);
    constexpr int packets = 25000;
    for (int i = 0; i < packets; ++i) {
        const znFloatType<2> u(number(engine), number(engine), number(engine), number(engine));
        const znFloatType<2> v(number(engine), number(engine), number(engine), number(engine));
        znFloatType<2> mask = everyLane4;
        znRTShapePoint point;
        shape.samplePoint(mask, u, v, point);
        for (int lane = 0; lane < 4; ++lane) {
            const auto [a, b] = place(point.position.getLane(lane));
            const int x = std::clamp(int(a * cells), 0, cells - 1);
            const int y = std::clamp(int(b * cells), 0, cells - 1);
            ++counts[std::size_t(y) * cells + x];
        }
    }
    const double expected = 4.0 * packets / (double(cells) * cells);
    double sum = 0.0;
    for (const int count : counts)
        sum += std::pow(count - expected, 2) / expected;
    return sum;
}

double turnOf(double y, double x)
{
    const double turn = std::atan2(y, x) / (2.0 * testPi);
    return turn < 0.0 ? turn + 1.0 : turn;
}

TEST(DiskShape, DrawsPointsUniformly)
{
    const znRTDiskShape disk(2.0f, 0.5f);
    // Equal areas of the unit disk: r^2 and the angle.
    const double sum = chiSquare(disk, 16, [](const znRTVector3f& p) {
        const double a = p.x / 2.0, b = p.y / 0.5;
        return std::array{a * a + b * b, turnOf(b, a)};
    });
    EXPECT_LT(sum, chiSquareLimit(255));
}

TEST(PlaneShape, DrawsPointsUniformly)
{
    const znRTPlaneShape plane(2.0f, 0.5f);
    const double sum = chiSquare(plane, 16, [](const znRTVector3f& p) {
        return std::array{p.x / 4.0 + 0.5, p.y + 0.5};
    });
    EXPECT_LT(sum, chiSquareLimit(255));
}

TEST(SphereShape, DrawsPointsUniformly)
{
    const znRTSphereShape sphere(3.0f);
    const double sum = chiSquare(sphere, 16, [](const znRTVector3f& p) {
        return std::array{p.z / 6.0 + 0.5, turnOf(p.y, p.x)};
    });
    EXPECT_LT(sum, chiSquareLimit(255));
}

/// Integral of the density over all directions from a point, by rays to the shape.
double integrateDensity(const znRTShape& shape, const znRTVector3f& origin)
{
    double sum = 0.0;
    constexpr int rows = 1500, columns = 3000;
    for (int y = 0; y < rows; ++y) {
        const double z = 1.0 - 2.0 * (y + 0.5) / rows, r = std::sqrt(1.0 - z * z);
        for (int x = 0; x < columns; x += 4) {
            znRTVector3fPacket direction;
            for (int lane = 0; lane < 4; ++lane) {
                const double phi = 2.0 * testPi * (x + lane + 0.5) / columns;
                direction.setLane(lane,
                                  {float(r * std::cos(phi)), float(r * std::sin(phi)), float(z)});
            }
            znFloatType<2> t;
            znRTShapePoint point;
            const znRTVector3fPacket from(origin);
            const znFloatType<2> found =
                shape.intersectOrEvaluate(from, direction, everyLane4, t, point);
            if (!anyLane(found))
                continue;
            const znFloatType<2> pdf =
                shape.getPdf(from, point.position, point.normal, point.pdf, found);
            for (int lane = 0; lane < 4; ++lane)
                sum += pdf[lane];
        }
    }
    return sum * 4.0 * testPi / (double(rows) * columns);
}

TEST(Shapes, HaveDensitiesThatIntegrateToOne)
{
    EXPECT_NEAR(integrateDensity(znRTDiskShape(1.0f, 0.7f), {0.3f, 0.2f, -0.8f}), 1.0, 0.01);
    EXPECT_NEAR(integrateDensity(znRTPlaneShape(1.0f, 0.7f), {0.3f, 0.2f, -0.8f}), 1.0, 0.01);
    EXPECT_NEAR(integrateDensity(znRTSphereShape(1.0f), {1.0f, 1.0f, 0.5f}), 1.0, 0.01);
    EXPECT_NEAR(integrateDensity(znRTSphereShape(1.0f), {0.4f, 0.2f, 0.1f}), 1.0, 0.01)
        << "from inside";
    EXPECT_EQ(integrateDensity(znRTPlaneShape(1.0f, 0.7f), {0.3f, 0.2f, 0.8f}), 0.0)
        << "from behind";
}

// All samples of the cone hit the sphere where the ray to them does.
TEST(SphereShape, IsSeenWhereItIsSampled)
{
    const znRTSphereShape sphere(0.5f);
    const znRTVector3fPacket origin = inAllLanes(0.3f, -2.0f, 1.0f);
    for (int i = 0; i < 4096; i += 4) {
        znFloatType<2> mask = everyLane4;
        znRTShapePoint drawn, met;
        sphere.samplePointFromOrigin(origin, mask, tablePoints(i), drawn);
        const znRTVector3fPacket direction = (drawn.position - origin).getNormalized();
        znFloatType<2> t;
        const znFloatType<2> found =
            sphere.intersectOrEvaluate(origin, direction, everyLane4, t, met);
        const znFloatType<2> facing = -dot(direction, drawn.normal);
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_GT(facing[lane], -1e-3f);
            if (facing[lane] < 0.05f)
                continue; // at the rim a ray may pass by
            EXPECT_TRUE(moveMask(found) >> lane & 1);
            EXPECT_NEAR((met.position - drawn.position).getLength()[lane], 0.0f, 1e-4f);
        }
    }
}

TEST(SphereShape, TakesThePointNearestToTheRayWhereRoundingMisses)
{
    const znRTSphereShape sphere(1e-4f);
    const znRTVector3fPacket origin = inAllLanes(0.7f, 0.2f, 0.6f);
    for (int i = 0; i < 256; i += 4) {
        znFloatType<2> mask = everyLane4;
        znRTShapePoint point;
        sphere.samplePointFromOrigin(origin, mask, tablePoints(i), point);
        const znFloatType<2> radius = point.position.getLength();
        EXPECT_LANES_NEAR(radius, 1e-4f, 1e-4f, 1e-4f, 1e-4f, 1e-7f);
    }
}

TEST(Shapes, OfferTheirMiddle)
{
    osg::Matrix matrix;
    matrix[3][0] = 5.0f;
    znRTDiskShape disk(1.0f, 2.0f);
    disk.setTransform(matrix);
    znFloatType<2> mask = everyLane4;
    znRTShapePoint point;
    disk.samplePointCentre(mask, point);
    EXPECT_LANES_NEAR(point.position.x, 5, 5, 5, 5, 1e-6f);
    EXPECT_LANES_NEAR(point.normal.z, -1, -1, -1, -1, 0.0f);
    EXPECT_LANES_NEAR(point.uv.x, 0.5f, 0.5f, 0.5f, 0.5f, 1e-6f);
    EXPECT_EQ(disk.getAveragePoint({1, 1, 1}), znRTVector3f(5, 0, 0));
    EXPECT_TRUE(disk.getBoundingBoxInner().isValid());
    EXPECT_FLOAT_EQ(disk.getBoundingBoxInner().ymax, 2.0f);
}

TEST(Shapes, PointFromPlaceToPlace)
{
    const znRTDiskShape disk(1.0f, 1.0f);
    const znRTVector3f d = disk.getDirection({1, 2, 3}, {1, 5, 7});
    EXPECT_NEAR(d.y, 0.6f, 1e-6f);
    EXPECT_NEAR(d.z, 0.8f, 1e-6f);
    const znRTVector3fPacket v = disk.getLightVector(inAllLanes(1, 2, 3), inAllLanes(1, 5, 7));
    EXPECT_LANES_NEAR(v.z, 0.8f, 0.8f, 0.8f, 0.8f, 1e-6f);
}

// Lanes of a packet equal the same numbers alone.
TEST(Shapes, KeepLanesApart)
{
    const znRTSphereShape sphere(1.0f);
    const znRTVector3fPacket origin(znFloatType<2>(3.0f, 0.1f, -2.0f, 0.0f), 0.0f,
                                    znFloatType<2>(0.0f, 0.0f, 2.0f, 5.0f));
    const znRTVector2fPacket u = tablePoints(100);
    znFloatType<2> mask = everyLane4;
    znRTShapePoint all;
    sphere.samplePointFromOrigin(origin, mask, u, all);
    for (int lane = 0; lane < 4; ++lane) {
        znFloatType<2> one = expandLanes(1 << lane);
        znRTShapePoint alone;
        sphere.samplePointFromOrigin(origin, one, u, alone);
        EXPECT_EQ(alone.position.getLane(lane), all.position.getLane(lane));
        EXPECT_EQ(alone.pdf[lane], all.pdf[lane]);
        EXPECT_EQ(alone.pdf[(lane + 1) % 4], 0.0f);
    }
}

} // namespace
