#include "light/znRTPortalGuide.h"
#include "light/environmentFixture.h"
#include "support/meshScene.h"

namespace {

/// Opening in a plane z = height, edges along x and y.
znRTPortalOpening flatOpening(float x, float y, float z, float halfU, float halfV)
{
    return {{x, y, z}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, halfU, halfV, 1.0f};
}

znRTPortalGuide guideOf(std::vector<znRTPortalOpening> openings)
{
    znRTPortalGuide guide;
    guide.set(std::move(openings));
    return guide;
}

/// Three windows of different sizes, two of them one behind the other.
znRTPortalGuide severalOpenings()
{
    return guideOf({flatOpening(0.0f, 0.0f, 1.0f, 0.6f, 0.4f),
                    flatOpening(0.3f, 0.0f, 2.0f, 0.8f, 0.5f),
                    {{2, 0, 0.5f}, {0, 1, 0}, {0, 0, 1}, {1, 0, 0}, 0.5f, 0.3f, 1.0f}});
}

std::vector<znRTPortalOpening> openingsOf(const GeometryRef& geometry,
                                          const osg::Matrix& matrix = {})
{
    MeshScene scene;
    const osg::NodePtr node = scene.add(geometry.get(), matrix);
    scene.build();
    return findOpenings(scene.mesh(node), 2.0f);
}

osg::Matrix turned(float degrees, float scale)
{
    osg::Matrix m;
    const float c = std::cos(degrees * float(testPi) / 180.0f);
    const float s = std::sin(degrees * float(testPi) / 180.0f);
    m[0][0] = c * scale, m[0][1] = s * scale;
    m[1][0] = -s * scale, m[1][1] = c * scale;
    m[2][2] = scale;
    return m;
}

} // namespace

// A density integrates to 1 over the sphere, at points below, beside, and far from the openings.
TEST(PortalGuide, HasADensityOverAllDirections)
{
    const znRTPortalGuide guide = severalOpenings();
    for (const znRTVector3f& from :
         {znRTVector3f(0, 0, 0), znRTVector3f(0.1f, 0.2f, 0.9f), znRTVector3f(1.0f, 0.3f, 0.2f),
          znRTVector3f(-1.5f, 1.0f, -0.5f), znRTVector3f(0, 0, 1.5f)}) {
        const znRTVector3fPacket p(from);
        const double whole = overSphere([&](const znRTVector3f& d) {
            return double(guide.pdf(p, znRTVector3fPacket(d), everyLane4)[0]);
        });
        EXPECT_NEAR(whole, 1.0, 0.02) << from.x << ' ' << from.y << ' ' << from.z;
    }
}

TEST(PortalGuide, DrawsDirectionsWithTheDensityThatItTells)
{
    const znRTPortalGuide guide = severalOpenings();
    const znRTVector3fPacket p(0.1f, 0.2f, 0.3f);
    for (int i = 0; i < 4096; i += 4) {
        znRTVector3fPacket d;
        const znFloatType<2> pdf = guide.sample(p, tablePoints(i), everyLane4, d);
        const znFloatType<2> told = guide.pdf(p, d, everyLane4);
        for (int lane = 0; lane < 4; ++lane) {
            ASSERT_GT(pdf[lane], 0.0f);
            EXPECT_NEAR(d.getLane(lane).getLength(), 1.0f, 1e-5f);
            // Drawn on an edge, a direction may count as beside the opening.
            if (told[lane] > 0.0f) {
                EXPECT_NEAR(told[lane] / pdf[lane], 1.0f, 2e-3f);
            }
        }
    }
}

// Means of functions of the direction over the openings, by drawn directions and by a fine grid.
TEST(PortalGuide, FindsWhatAGridOfDirectionsFinds)
{
    const znRTPortalGuide guide = severalOpenings();
    const znRTVector3fPacket p(0.4f, -0.1f, 0.1f);
    const auto value = [](const znRTVector3f& d) {
        return 1.0 + double(d.x) + 2.0 * double(d.y) * d.y + 0.5 * double(d.z);
    };
    const double expected = overSphere(
        [&](const znRTVector3f& d) {
            return guide.pdf(p, znRTVector3fPacket(d), everyLane4)[0] > 0.0f ? value(d) : 0.0;
        },
        1024);
    double sum = 0.0;
    constexpr int samples = 1 << 16;
    for (int i = 0; i < samples; i += 4) {
        znRTVector3fPacket d;
        const znFloatType<2> pdf = guide.sample(p, tablePoints(i), everyLane4, d);
        for (int lane = 0; lane < 4; ++lane)
            sum += value(d.getLane(lane)) / double(pdf[lane]);
    }
    EXPECT_NEAR(sum / samples, expected, 0.01 * expected);
}

// The solid angle of a right pyramid of height h over a rectangle with half edges a and b:
// 4 asin(a b / sqrt((a2 + h2)(b2 + h2))).
TEST(PortalGuide, DrawsEvenlyBySolidAngle)
{
    const znRTPortalGuide guide = guideOf({flatOpening(0, 0, 0.5f, 0.8f, 0.3f)});
    const double a = 0.8, b = 0.3, h = 0.5;
    const double angle = 4.0 * std::asin(a * b / std::sqrt((a * a + h * h) * (b * b + h * h)));
    const znRTVector3fPacket p(0.0f, 0.0f, 0.0f);
    for (int i = 0; i < 64; i += 4) {
        znRTVector3fPacket d;
        const znFloatType<2> pdf = guide.sample(p, tablePoints(i), everyLane4, d);
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_NEAR(pdf[lane] * angle, 1.0, 1e-3);
    }
}

TEST(PortalGuide, LooksThroughFromBothSides)
{
    const znRTPortalGuide guide = guideOf({flatOpening(0, 0, 0, 1, 1)});
    for (const float z : {-0.5f, 0.5f}) {
        znRTVector3fPacket d;
        const znFloatType<2> pdf =
            guide.sample(inAllLanes(0.2f, 0.1f, z), tablePoints(0), everyLane4, d);
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_GT(pdf[lane], 0.0f);
            EXPECT_LT(d.z[lane] * z, 0.0f);
        }
    }
}

// In the plane of an opening nothing of it is seen.
TEST(PortalGuide, DrawsNothingFromInsideThePlane)
{
    const znRTPortalGuide guide = guideOf({flatOpening(0, 0, 0, 1, 1)});
    znRTVector3fPacket d;
    const znFloatType<2> pdf =
        guide.sample(inAllLanes(0.2f, 0.1f, 0.0f), tablePoints(0), everyLane4, d);
    EXPECT_LANES_EQ(pdf, 0.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(d.z, 1.0f, 1.0f, 1.0f, 1.0f);
}

TEST(PortalGuide, LeavesLanesOffTheMaskAlone)
{
    const znRTPortalGuide guide = severalOpenings();
    znRTVector3fPacket d;
    const znFloatType<2> pdf = guide.sample(inAllLanes(0, 0, 0), tablePoints(0), expandLanes(5), d);
    EXPECT_GT(pdf[0], 0.0f);
    EXPECT_EQ(pdf[1], 0.0f);
    EXPECT_GT(pdf[2], 0.0f);
    EXPECT_EQ(pdf[3], 0.0f);
}

// Two equal openings at the same distance share the directions by their strengths.
TEST(PortalGuide, ChoosesByStrength)
{
    auto left = flatOpening(-3, 0, 0, 0.2f, 0.2f), right = flatOpening(3, 0, 0, 0.2f, 0.2f);
    left.strength = 3.0f;
    const znRTPortalGuide guide = guideOf({left, right});
    int toLeft = 0;
    constexpr int samples = 4096;
    for (int i = 0; i < samples; i += 4) {
        znRTVector3fPacket d;
        guide.sample(inAllLanes(0, 0, 2), tablePoints(i), everyLane4, d);
        for (int lane = 0; lane < 4; ++lane)
            toLeft += d.x[lane] < 0.0f;
    }
    EXPECT_NEAR(double(toLeft) / samples, 0.75, 0.01);
}

TEST(PortalGuide, KeepsTheLargestOpenings)
{
    std::vector<znRTPortalOpening> openings;
    for (int i = 0; i < 100; ++i)
        openings.push_back(flatOpening(float(i), 0, 0, 0.01f * float(i), 0.5f));
    const znRTPortalGuide guide = guideOf(openings);
    ASSERT_EQ(guide.getOpenings().size(), znRTPortalGuide::s_mostOpenings);
    EXPECT_EQ(guide.getOpenings().front().halfU, 0.01f * 99.0f);
    EXPECT_EQ(guide.getOpenings().back().halfU, 0.01f * 36.0f);
}

TEST(PortalGuide, LeavesOutOpeningsWithoutAreaOrStrength)
{
    auto weak = flatOpening(0, 0, 0, 1, 1);
    weak.strength = 0.0f;
    EXPECT_TRUE(guideOf({weak, flatOpening(0, 0, 0, 0, 1)}).isEmpty());
}

// Rays of a direction over the area across it: the mean of 1 over their density is the area that
// the openings cover, seen along the direction.
TEST(PortalGuide, DrawsRaysOverTheOpeningsAreas)
{
    const znRTPortalGuide guide =
        guideOf({flatOpening(0, 0, 0, 0.5f, 0.3f), flatOpening(4, 0, 1, 0.2f, 0.7f)});
    const znRTVector3fPacket down(0.0f, 0.6f, -0.8f);
    double sum = 0.0;
    constexpr int samples = 4096;
    int first = 0;
    for (int i = 0; i < samples; i += 4) {
        znRTVector3fPacket point;
        const znFloatType<2> pdf = guide.sampleRays(down, tablePoints(i), everyLane4, point);
        const znFloatType<2> told = guide.rayPdf(point + down * 3.0f, down, everyLane4);
        for (int lane = 0; lane < 4; ++lane) {
            ASSERT_GT(pdf[lane], 0.0f);
            sum += 1.0 / pdf[lane];
            first += point.x[lane] < 2.0f;
            if (told[lane] > 0.0f) {
                EXPECT_NEAR(told[lane] / pdf[lane], 1.0f, 1e-4f);
            }
        }
    }
    const double areas[2] = {4.0 * 0.5 * 0.3, 4.0 * 0.2 * 0.7};
    EXPECT_NEAR(sum / samples, 0.8 * (areas[0] + areas[1]), 1e-3);
    EXPECT_NEAR(double(first) / samples, areas[0] / (areas[0] + areas[1]), 0.01);
}

TEST(PortalOpenings, AreTheRectangleOfASquareMesh)
{
    osg::Matrix place = turned(30.0f, 1.5f);
    place[3][2] = 4.0f;
    const auto openings = openingsOf(makeSquare(), place);
    ASSERT_EQ(openings.size(), 1u);
    const znRTPortalOpening& o = openings[0];
    EXPECT_NEAR(o.halfU, 1.5f, 1e-5f);
    EXPECT_NEAR(o.halfV, 1.5f, 1e-5f);
    EXPECT_NEAR(o.getArea(), 9.0f, 1e-4f);
    EXPECT_NEAR(std::fabs(o.normal.z), 1.0f, 1e-6f);
    EXPECT_NEAR(o.center.x, 0.0f, 1e-5f);
    EXPECT_NEAR(o.center.z, 4.0f, 1e-5f);
    EXPECT_NEAR(dot(o.axisU, o.axisV), 0.0f, 1e-6f);
    EXPECT_EQ(o.strength, 2.0f);
}

// Panes of one object that stand apart are openings of their own.
TEST(PortalOpenings, AreOneForEachPane)
{
    const auto openings = openingsOf(makeMesh(
        {{0, 0, 0}, {1, 0, 0}, {1, 2, 0}, {0, 2, 0}, {5, 0, 0}, {6, 0, 0}, {6, 0, 3}, {5, 0, 3}},
        {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7}));
    ASSERT_EQ(openings.size(), 2u);
    EXPECT_NEAR(openings[0].getArea(), 2.0f, 1e-5f);
    EXPECT_NEAR(openings[1].getArea(), 3.0f, 1e-5f);
    EXPECT_NEAR(std::fabs(openings[1].normal.y), 1.0f, 1e-6f);
}

// Sides of a box share edges, but lie in different planes.
TEST(PortalOpenings, AreTheSidesOfABox)
{
    const auto openings = openingsOf(makeMesh(
        {{0, 0, 0}, {1, 0, 0}, {1, 2, 0}, {0, 2, 0}, {0, 0, 3}, {1, 0, 3}, {1, 2, 3}, {0, 2, 3}},
        {0, 2, 1, 0, 3, 2, 4, 5, 6, 4, 6, 7, 0, 1, 5, 0, 5, 4,
         1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7}));
    ASSERT_EQ(openings.size(), 6u);
    float area = 0.0f;
    for (const znRTPortalOpening& o : openings)
        area += o.getArea();
    EXPECT_NEAR(area, 22.0f, 1e-4f);
}

TEST(PortalOpenings, SurroundWhatIsNoRectangle)
{
    // A right triangle with legs 3 and 4: around it 3 x 4, or 5 x 2.4, which is the same area.
    const auto openings = openingsOf(makeMesh({{0, 0, 0}, {3, 0, 0}, {0, 4, 0}}, {0, 1, 2}));
    ASSERT_EQ(openings.size(), 1u);
    EXPECT_NEAR(openings[0].getArea(), 12.0f, 1e-4f);
}

TEST(PortalOpenings, AreNotMadeOfTrianglesWithoutArea)
{
    EXPECT_TRUE(openingsOf(makeMesh({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {0, 1, 2})).empty());
}
