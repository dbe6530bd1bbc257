// What surfaces show under lights whose irradiance has a closed form, through shading as a whole.

#include "io/lightProfile.h"
#include "material/materialFixture.h"

#include "host/osg/UAreaLight.h"
#include "host/osg/UPointLight.h"

#include <filesystem>

using namespace materialTest;

namespace {

using Point = std::array<double, 3>;

Point operator-(const Point& a, const Point& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
double dot(const Point& a, const Point& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Point cross(const Point& a, const Point& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double length(const Point& a)
{
    return std::sqrt(dot(a, a));
}

/// Corners of a polygon on one side of a plane z = 0.
std::vector<Point> above(const std::vector<Point>& polygon)
{
    std::vector<Point> kept;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Point &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
        if (a[2] >= 0.0)
            kept.push_back(a);
        if ((a[2] < 0.0) != (b[2] < 0.0)) {
            const double t = a[2] / (a[2] - b[2]);
            kept.push_back({a[0] + t * (b[0] - a[0]), a[1] + t * (b[1] - a[1]), 0.0});
        }
    }
    return kept;
}

/// Irradiance of a point of the plane z = 0, facing up, by a polygon of radiance 1 that shines on
/// both sides. J. Lambert, "Photometria", 1760: half the sum over the edges of the angle that each
/// is seen under, times the cosine between the normal and that of the triangle it makes with the
/// point.
double polygonIrradiance(std::vector<Point> polygon, double x, double y)
{
    for (Point& corner : polygon)
        corner = corner - Point{x, y, 0.0};
    polygon = above(polygon);
    double sum = 0.0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Point &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
        const Point side = cross(a, b);
        if (length(side) > 0.0)
            sum += std::atan2(length(side), dot(a, b)) * side[2] / length(side);
    }
    return 0.5 * std::fabs(sum);
}

class ClosedForms : public MaterialTest
{
protected:
    ~ClosedForms() override { scene.scene->clear(); }

    double mean(float x, float y, int samples)
    {
        double sum = 0.0;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket c = shade(x, y, 15, i).color;
            for (int lane = 0; lane < 4; ++lane)
                sum += double(c.g[lane]);
        }
        return sum / (4.0 * samples);
    }

    /// A white floor that a lamp hangs over, high enough for rays from z = 5 to pass below nothing.
    void addFloor() { addSquare(makeDiffuse(1.0f)); }

    void addMeshLamp(const std::vector<osg::Vec3f>& corners, const std::vector<u32>& indices,
                     float radiance)
    {
        const PhongPtr material = makeDiffuse(0.0f);
        material->setIncandescence(gray(radiance));
        material->setIncandescenceActive(true);
        squares.push_back(makeMesh(corners, indices));
        squares.back()->setMaterial(material);
        scene.add(squares.back().get());
        scene.scene->initMaterials();
        scene.build();
        scene.scene->updateGeometryLights();
        znRTRenderUtils::updateLightDistribution(true);
    }
};

osg::ColorComponent light(float value)
{
    return osg::ColorComponent(osg::Vec3f(1.0f, 1.0f, 1.0f), value);
}

} // namespace

// Turned by 50 degrees about y, so that some of it is below the horizon of all points.
TEST_F(ClosedForms, HoldUnderATiltedRectangle)
{
    addFloor();
    PlacedCore<osg::URectangularLight> lamp;
    lamp.core->setSizeX(1.2f);
    lamp.core->setSizeY(0.5f);
    lamp.core->setDiffuse(light(3.0f));
    const double c = std::cos(50.0 * testPi / 180.0), s = std::sin(50.0 * testPi / 180.0);
    lamp.turn({float(c), 0, float(s)}, {0, 1, 0}, {float(-s), 0, float(c)});
    lamp.move(0.2f, 0.2f, 0.7f);
    addLight(lamp);
    const auto corner = [&](double a, double b) {
        return Point{0.2 + a * c, 0.2 + b, 0.7 + a * s};
    };
    const std::vector<Point> corners{corner(-1.2, -0.5), corner(1.2, -0.5), corner(1.2, 0.5),
                                     corner(-1.2, 0.5)};
    ASSERT_LT(corners[0][2], 0.0) << "reaches below the floor";
    // Points on the side that it shines to: behind it there is nothing.
    for (const auto& [x, y] : {std::array{0.4, 0.3}, {0.1, -0.8}}) {
        const double expected = 3.0 * polygonIrradiance(corners, x, y) / testPi;
        EXPECT_NEAR(mean(float(x), float(y), 2048), expected, 0.01 * expected) << x << ", " << y;
    }
    EXPECT_EQ(mean(-0.9f, 0.1f, 4), 0.0);
}

// Three triangles of no common plane, at different distances; they do not hide each other.
TEST_F(ClosedForms, HoldUnderAMesh)
{
    addFloor();
    const std::vector<osg::Vec3f> corners{{-1, -1, 6},        {1, -1, 6},      {0, 0, 7},
                                          {0.8f, 0.8f, 5.5f}, {1.6f, 0.9f, 6}, {1.0f, 1.8f, 6.5f},
                                          {-2, 1, 8},         {-1, 1.5f, 8},   {-1.5f, 2.5f, 7}};
    addMeshLamp(corners, {0, 1, 2, 3, 4, 5, 6, 7, 8}, 20.0f);
    for (const auto& [x, y] : {std::array{0.1, 0.2}, {-0.7, 0.9}, {0.8, -0.6}}) {
        double expected = 0.0;
        for (int t = 0; t < 3; ++t) {
            std::vector<Point> triangle;
            for (int k = 0; k < 3; ++k) {
                const osg::Vec3f& v = corners[std::size_t(3 * t + k)];
                triangle.push_back({v[0], v[1], v[2]});
            }
            expected += 20.0 * polygonIrradiance(triangle, x, y) / testPi;
        }
        EXPECT_NEAR(mean(float(x), float(y), 2048), expected, 0.01 * expected) << x << ", " << y;
    }
}

// A sphere that the horizon cuts: the cosine over the cone that it fills, by a fine grid.
TEST_F(ClosedForms, HoldUnderASphereAtTheHorizon)
{
    addFloor();
    PlacedCore<osg::USphericalLight> lamp;
    lamp.core->setRadius(0.6f);
    lamp.core->setDiffuse(light(5.0f));
    lamp.move(2.0f, 0.1f, 0.2f);
    addLight(lamp);
    const double x = 0.3, y = 0.1;
    const Point way{2.0 - x, 0.0, 0.2};
    const double d = length(way), least = std::sqrt(1.0 - 0.36 / (d * d));
    const Point n{way[0] / d, 0.0, way[2] / d}, u{0, 1, 0}, v = cross(n, u);
    double sum = 0.0;
    constexpr int steps = 600;
    for (int i = 0; i < steps; ++i)
        for (int j = 0; j < steps; ++j) {
            const double z = 1.0 - (1.0 - least) * (i + 0.5) / steps, r = std::sqrt(1.0 - z * z);
            const double phi = 2.0 * testPi * (j + 0.5) / steps;
            sum += std::max(0.0, z * n[2] + r * (std::cos(phi) * u[2] + std::sin(phi) * v[2]));
        }
    const double expected = 5.0 * sum * 2.0 * (1.0 - least) / (steps * steps); // over pi
    EXPECT_NEAR(mean(float(x), float(y), 2048), expected, 0.01 * expected);
}

// Half a plane hides what of a rectangle lies behind its edge. The rest is a rectangle again:
// through the edge at a, half way up, the floor's point sees the lamp from 2 a - x on.
TEST_F(ClosedForms, HoldInThePenumbraOfAnEdge)
{
    addFloor();
    const GeometryRef wall = makeMesh(
        {{-9, -9, 1.5f}, {0.2f, -9, 1.5f}, {0.2f, 9, 1.5f}, {-9, 9, 1.5f}}, {0, 1, 2, 0, 2, 3});
    wall->setMaterial(makeDiffuse(0.0f));
    scene.add(wall.get());
    scene.scene->initMaterials();
    scene.build();
    PlacedCore<osg::URectangularLight> lamp;
    lamp.core->setSizeX(0.5f);
    lamp.core->setSizeY(0.8f);
    lamp.core->setDiffuse(light(10.0f));
    lamp.move(0.3f, 0.0f, 3.0f);
    addLight(lamp);
    // Seen from just above the floor: the wall is in the way of rays from higher up.
    const auto seen = [&](double x, int samples) {
        const znRTRayDifferentialPacket ray(
            znRTRayPacket({float(x), 0.15f, 1.0f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
        double sum = 0.0;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket c = shade(ray, 15, i).color;
            for (int lane = 0; lane < 4; ++lane)
                sum += double(c.g[lane]);
        }
        return sum / (4.0 * samples);
    };
    for (const double x : {-0.2, 0.0, 0.1, 0.3, 0.5}) {
        const double from = std::clamp(0.4 - x, -0.2, 0.8);
        const double expected =
            10.0 / testPi *
            polygonIrradiance({{from, -0.8, 3}, {0.8, -0.8, 3}, {0.8, 0.8, 3}, {from, 0.8, 3}}, x,
                              0.15);
        EXPECT_NEAR(seen(x, 8192), expected, 0.01 * expected) << x;
    }
    EXPECT_EQ(seen(-0.45, 64), 0.0) << "umbra";
}

// colour cos / falloff, with the three falloffs.
TEST_F(ClosedForms, HoldUnderAPointOfEveryFalloff)
{
    addFloor();
    for (const int kind : {0, 1, 2}) {
        PlacedCore<osg::UPointLight> lamp;
        lamp.core->setAttenuationType(kind);
        lamp.core->setDiffuse(light(6.0f));
        lamp.move(0.5f, -0.4f, 2.0f);
        addLight(lamp);
        const double dx = 0.2, dy = -0.6, d2 = dx * dx + dy * dy + 4.0, d = std::sqrt(d2);
        const double falloff = kind == 0 ? 1.0 : kind == 1 ? d : d2;
        EXPECT_NEAR(shade(0.3f, 0.2f).color.g[0], 6.0 * (2.0 / d) / falloff, 1e-4) << kind;
        scene.scene->deleteLight(lamp.node->getId());
        scene.scene->updateLights();
        znRTRenderUtils::updateLightDistribution(true);
    }
}

// 3 t^2 - 2 t^3 of the cosine between the cones of 18 and 33 degrees.
TEST_F(ClosedForms, HoldUnderASpot)
{
    addFloor();
    PlacedCore<osg::USpotLight> lamp;
    lamp.core->setConeAngle(18.0f);
    lamp.core->setPenumbraAngle(15.0f);
    lamp.core->setDiffuse(light(6.0f));
    lamp.move(0, 0, 2);
    addLight(lamp);
    const double inner = std::cos(18.0 * testPi / 180.0), outer = std::cos(33.0 * testPi / 180.0);
    for (const double x : {0.1, 0.5, 0.8, 0.9}) {
        const double d2 = x * x + 0.04 + 4.0, c = 2.0 / std::sqrt(d2);
        const double t = std::clamp((c - outer) / (inner - outer), 0.0, 1.0);
        const double expected = 6.0 * t * t * (3.0 - 2.0 * t) * c / d2;
        EXPECT_NEAR(shade(float(x), -0.2f).color.g[0], expected, 2e-5) << x;
    }
    EXPECT_EQ(shade(0.99f, -0.99f).color.g[0], 0.0f);
}

// A luminaire of 1000 cos(theta) candela, brought to one unit of flux: cos(theta) / pi. The file's
// steps of 2.5 degrees and the map's texels are worth a few tenths of a percent.
TEST_F(ClosedForms, HoldUnderAMeasuredLuminaire)
{
    const std::string path = ZN_SOURCE_DIR "/../shared/data/ies/own_lambert_axial.ies";
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << "no " << path;
    addFloor();
    PlacedCore<osg::UPointLight> lamp;
    lamp.core->setDiffuse(light(6.0f));
    lamp.core->addAttachment(io::makeLightProfileAttachment(io::readLightProfile(path)));
    lamp.move(0, 0, 1);
    addLight(lamp);
    for (const double x : {0.05, 0.3, 0.6, 0.9}) {
        const double d2 = x * x + 0.01 + 1.0, c = 1.0 / std::sqrt(d2);
        const double expected = 6.0 * (c / testPi) * c / d2;
        EXPECT_NEAR(shade(float(x), 0.1f).color.g[0], expected, 0.01 * expected) << x;
    }
}
