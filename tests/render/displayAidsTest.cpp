// Displays that show something of the scene other than its light.

#include "host/znRTSceneHandler.h"
#include "integratorFixture.h"
#include "render/integrators/idColor.h"
#include "render/integrators/znRTAORenderingIntegrator.h"
#include "render/integrators/znRTAnalyticRenderingIntegrator.h"
#include "render/integrators/znRTDebugIntegrator.h"
#include "render/integrators/znRTDiscontinuityRenderingIntegrator.h"

#include <cmath>

namespace {

/// Box with faces of their own normals; edges at +-size.
GeometryRef makeBox(float size)
{
    std::vector<osg::Vec3f> positions, normals;
    std::vector<u32> indices;
    for (int axis = 0; axis < 3; ++axis)
        for (float side : {-1.0f, 1.0f}) {
            const u32 first = u32(positions.size());
            osg::Vec3f normal(0, 0, 0);
            normal[unsigned(axis)] = side;
            for (int corner = 0; corner < 4; ++corner) {
                osg::Vec3f p;
                p[unsigned(axis)] = side * size;
                p[unsigned(axis + 1) % 3] = (corner == 1 || corner == 2 ? 1.0f : -1.0f) * size;
                p[unsigned(axis + 2) % 3] = (corner >= 2 ? 1.0f : -1.0f) * size;
                positions.push_back(p);
                normals.push_back(normal);
            }
            for (u32 i : {0u, 1u, 2u, 0u, 2u, 3u})
                indices.push_back(first + (side > 0 ? i : 3 - i));
        }
    return makeMesh(positions, indices, normals);
}

class DisplayAid : public IntegratorTest
{
protected:
    ScriptedMaterial material, other;
    const float pixel = 0.02f; ///< width of a pixel in the scene

    /// What a row of pixels at places x shows at height y, seen from above.
    template <template <class> class I>
    std::vector<znRTColor> row(float from, float to, float y)
    {
        std::vector<znRTColor> colors;
        for (float x = from; x < to; x += 4.0f * pixel) {
            integrate<I>(downwardPixels({x, x + pixel, x + 2 * pixel, x + 3 * pixel}, y, pixel));
            for (int lane = 0; lane < 4; ++lane)
                colors.push_back(fragment.colour.getComponent(lane));
        }
        return colors;
    }
};

using DiscontinuityDisplay = DisplayAid;
using OcclusionDisplay = DisplayAid;
using DebugDisplay = DisplayAid;

enum class Line { none, depth, node, material, crease };

/// Kind of line by its colour; paper is grey.
Line lineOf(const znRTColor& c)
{
    if (c.r == c.g && c.g == c.b)
        return c.r < 0.5f ? Line::depth : Line::none;
    return c.b > c.r && c.b > c.g   ? Line::crease
           : c.g > c.r && c.g > c.b ? Line::material
                                    : Line::node;
}

/// Places of a row that show lines of a kind.
std::vector<std::size_t> placesOf(const std::vector<znRTColor>& colors, Line line)
{
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < colors.size(); ++i)
        if (colors[i].a > 0.0f && lineOf(colors[i]) == line)
            places.push_back(i);
    return places;
}

using Places = std::vector<std::size_t>;

} // namespace

TEST_F(DiscontinuityDisplay, DrawsNothingOnAFlatSquare)
{
    add(makeSquare(), material);
    scene.build();
    for (const float y : {0.013f, -0.41f, 0.77f})
        for (const znRTColor& c : row<znRTDiscontinuityRenderingIntegrator>(-0.9f, 0.9f, y))
            EXPECT_EQ(lineOf(c), Line::none);
}

// The square ends at x = -1 and 1; pixel i of the row lies at -1.205 + 0.02 i. The last pixels on
// the square are 11 (at -0.985) and 110 (at 0.995).
TEST_F(DiscontinuityDisplay, DrawsTheSilhouetteOnePixelWide)
{
    add(makeSquare(), material);
    scene.build();
    const auto colors = row<znRTDiscontinuityRenderingIntegrator>(-1.205f, 1.2f, 0.013f);
    EXPECT_EQ(placesOf(colors, Line::depth), (Places{11, 110}));
    EXPECT_EQ(placesOf(colors, Line::crease), Places{});
    EXPECT_EQ(colors[10], background);
}

// A roof of two squares that meet at x = 0: a crease, drawn by the pixel to the left of it.
TEST_F(DiscontinuityDisplay, DrawsCreases)
{
    const float s = std::sqrt(0.5f);
    add(makeMesh({{-1, -1, -1},
                  {0, -1, 0},
                  {0, 1, 0},
                  {-1, 1, -1},
                  {0, -1, 0},
                  {1, -1, -1},
                  {1, 1, -1},
                  {0, 1, 0}},
                 {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7},
                 {{-s, 0, s},
                  {-s, 0, s},
                  {-s, 0, s},
                  {-s, 0, s},
                  {s, 0, s},
                  {s, 0, s},
                  {s, 0, s},
                  {s, 0, s}}),
        material);
    scene.build();
    const auto colors = row<znRTDiscontinuityRenderingIntegrator>(-0.41f, 0.38f, 0.013f);
    EXPECT_EQ(placesOf(colors, Line::crease), Places{20}); // at -0.01
    EXPECT_EQ(placesOf(colors, Line::depth), Places{});
}

// All twelve edges of a box in a general view are drawn, and its faces are not.
TEST_F(DiscontinuityDisplay, DrawsTheEdgesOfABox)
{
    osg::Matrix turned;
    turned.setTransform({0.0f, 0.0f, 0.0f}, {0.2798f, 0.3643f, 0.1159f, 0.8804f});
    add(makeBox(0.5f), material, turned);
    scene.build();
    std::size_t silhouette = 0, creases = 0, paper = 0, others = 0;
    for (float y = -0.95f; y < 0.95f; y += pixel)
        for (const znRTColor& c : row<znRTDiscontinuityRenderingIntegrator>(-0.955f, 0.95f, y)) {
            if (c == background)
                continue;
            const Line line = lineOf(c);
            silhouette += line == Line::depth;
            creases += line == Line::crease;
            paper += line == Line::none;
            others += line == Line::node || line == Line::material;
        }
    // Three faces are seen: six edges of their hexagon, and three inside, of some 30 pixels each.
    EXPECT_GT(silhouette, 140u);
    EXPECT_LT(silhouette, 260u);
    EXPECT_GT(creases, 60u);
    EXPECT_LT(creases, 180u);
    EXPECT_GT(paper, 8 * (silhouette + creases) / 2);
    EXPECT_EQ(others, 0u);
}

TEST_F(DiscontinuityDisplay, TellsObjectsAndMaterialsApart)
{
    // Squares side by side in one plane: one object of its own, then another material.
    add(makeSquare(), material);
    add(makeSquare(), material, makeTranslation(2.0f, 0.0f, 0.0f));
    scene.build();
    const auto colors = row<znRTDiscontinuityRenderingIntegrator>(0.51f, 1.5f, 0.013f);
    EXPECT_EQ(placesOf(colors, Line::node), Places{24}); // at 0.99
    EXPECT_EQ(placesOf(colors, Line::depth), Places{});
}

// The step of 0.3 between two squares is drawn on the upper one, where the lower one begins.
TEST_F(DiscontinuityDisplay, DrawsStepsOnTheNearerSurface)
{
    add(makeSquare(), material, makeTranslation(0.0f, 0.0f, 0.3f));
    add(makeSquare(), other, makeTranslation(1.5f, 0.0f, 0.0f));
    scene.build();
    const auto colors = row<znRTDiscontinuityRenderingIntegrator>(0.51f, 1.5f, 0.013f);
    EXPECT_EQ(placesOf(colors, Line::depth), Places{24}); // at 0.99
}

TEST_F(DiscontinuityDisplay, DrawsNoLinesInsideASmoothSphere)
{
    std::vector<osg::Vec3f> positions;
    std::vector<u32> indices;
    const u32 rings = 48, around = 96;
    for (u32 i = 0; i <= rings; ++i)
        for (u32 j = 0; j <= around; ++j) {
            const double theta = M_PI * i / rings, phi = 2 * M_PI * j / around;
            positions.emplace_back(float(std::sin(theta) * std::cos(phi)),
                                   float(std::sin(theta) * std::sin(phi)), float(std::cos(theta)));
        }
    for (u32 i = 0; i < rings; ++i)
        for (u32 j = 0; j < around; ++j) {
            const u32 a = i * (around + 1) + j, b = a + around + 1;
            for (u32 index : {a, b, b + 1, a, b + 1, a + 1})
                indices.push_back(index);
        }
    add(makeMesh(positions, indices, positions), material);
    scene.build();
    for (const znRTColor& c : row<znRTDiscontinuityRenderingIntegrator>(-0.9f, 0.9f, 0.313f))
        EXPECT_EQ(lineOf(c), Line::none);
}

TEST_F(DiscontinuityDisplay, DrawsNothingWithoutDifferentials)
{
    add(makeSquare(), material);
    scene.build();
    znRTRayDifferentialPacket ray = downwardPixels({0.0f, 0.99f, 2.0f, 0.5f}, 0.0f, pixel);
    ray.hasDifferentials = 0;
    integrate<znRTDiscontinuityRenderingIntegrator>(ray);
    EXPECT_GT(fragment.colour.r[1], 0.5f);
    EXPECT_EQ(fragment.colour.r[2], background.r);
}

TEST_F(OcclusionDisplay, IsWhiteOnAFreePlane)
{
    add(makeSquare(), material);
    scene.build();
    integrate<znRTAORenderingIntegrator>(downward({0.0f, 0.5f, -0.9f, 4.0f}, 0.1f));
    EXPECT_LANES_EQ(fragment.colour.g, 1.0f, 1.0f, 1.0f, background.g);
    EXPECT_LANES_EQ(fragment.colour.a, 1.0f, 1.0f, 1.0f, background.a);
}

// At the foot of a long wall half of the cosine-weighted hemisphere is blocked; at height h in
// front of a wall of height H at distance x the form factor of the infinite wall is (1 - x /
// sqrt(x^2 + H^2)) / 2.
TEST_F(OcclusionDisplay, DarkensInFrontOfAWallByItsFormFactor)
{
    const float far = 1000.0f, height = 1.0f;
    add(makeMesh({{-far, -far, 0}, {far, -far, 0}, {far, far, 0}, {-far, far, 0}},
                 {0, 1, 2, 0, 2, 3}),
        material);
    add(makeMesh({{0, -far, 0}, {0, far, 0}, {0, far, height}, {0, -far, height}},
                 {0, 1, 2, 0, 2, 3}),
        material);
    scene.build();
    const float xs[4] = {0.05f, 0.5f, 1.0f, 3.0f};
    double sums[4] = {0, 0, 0, 0};
    constexpr int samples = 400;
    for (int sample = 0; sample < samples; ++sample) {
        znRTRayDifferentialPacket ray = downward({xs[0], xs[1], xs[2], xs[3]}, 0.1f);
        ray.pixelX = znIntType<2>(0, 1, 2, 3);
        ray.pixelY = znIntType<2>(9);
        integrate<znRTAORenderingIntegrator>(ray, u32(sample));
        for (int lane = 0; lane < 4; ++lane)
            sums[lane] += fragment.colour.r[lane];
    }
    // 3200 rays in a well spread order: the error stays far below 0.5 / sqrt(3200).
    for (int lane = 0; lane < 4; ++lane) {
        const double x = xs[lane];
        const double open = 0.5 + 0.5 * x / std::sqrt(x * x + height * height);
        EXPECT_NEAR(sums[lane] / samples, open, 0.01) << x;
    }
}

TEST_F(OcclusionDisplay, LooksNoFurtherThanTheRange)
{
    add(makeSquare(), material);
    add(makeSquare(), material, makeTranslation(0.0f, 0.0f, 0.5f));
    scene.build();
    znRTRayDifferentialPacket ray(
        znRTRayPacket({znFloatType<2>(0.3f), znFloatType<2>(0.1f), znFloatType<2>(0.25f)},
                      znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    ray.pixelX = ray.pixelY = znIntType<2>(0);
    znRTRenderUtils::setRange(0.0f, 0.4f);
    integrate<znRTAORenderingIntegrator>(ray);
    EXPECT_LANES_EQ(fragment.colour.r, 1.0f, 1.0f, 1.0f, 1.0f);
    znRTRenderUtils::setRange(0.0f, 0.6f);
    integrate<znRTAORenderingIntegrator>(ray);
    EXPECT_LT(fragment.colour.r[0], 0.9f);
    znRTRenderUtils::setRange(5.0f, 6.0f); // no nearer either
    integrate<znRTAORenderingIntegrator>(ray);
    EXPECT_LANES_EQ(fragment.colour.r, 1.0f, 1.0f, 1.0f, 1.0f);
    znRTRenderUtils::setRange(0.0f, 1e6f);
}

// A pane over everything dims the hemisphere to its own share; what lies behind the pane still
// occludes, so that a lid above it makes it black whatever the pane lets through.
TEST_F(OcclusionDisplay, LooksThroughTransparentSurfacesToWhatIsBehindThem)
{
    const float far = 1000.0f;
    const auto above = [&](float height) {
        return makeMesh(
            {{-far, -far, height}, {far, -far, height}, {far, far, height}, {-far, far, height}},
            {0, 1, 2, 0, 2, 3});
    };
    // The rays start below the panes.
    znRTRayDifferentialPacket ray(
        znRTRayPacket({znFloatType<2>(0.3f), znFloatType<2>(0.1f), znFloatType<2>(0.05f)},
                      znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    ray.pixelX = ray.pixelY = znIntType<2>(0);
    znRTRenderUtils::setRange(0.0f, 500.0f);
    ScriptedMaterial pane, lid;
    pane.passed = {1.0f, 0.5f, 0.25f, 1.0f};
    add(makeSquare(), material);
    add(above(0.1f), pane);
    scene.build();
    integrate<znRTAORenderingIntegrator>(ray);
    EXPECT_LANES_NEAR(fragment.colour.r, 1.0f, 1.0f, 1.0f, 1.0f, 1e-6f);
    EXPECT_LANES_NEAR(fragment.colour.g, 0.5f, 0.5f, 0.5f, 0.5f, 1e-6f);
    EXPECT_LANES_NEAR(fragment.colour.b, 0.25f, 0.25f, 0.25f, 0.25f, 1e-6f);

    add(above(0.2f), lid);
    scene.build();
    integrate<znRTAORenderingIntegrator>(ray);
    znRTRenderUtils::setRange(0.0f, 1e6f);
    EXPECT_LANES_EQ(fragment.colour.r, 0.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(fragment.colour.g, 0.0f, 0.0f, 0.0f, 0.0f);
}

// The lid is farther away than half the size of what it covers, and stays so when something a
// hundred times as large surrounds both.
TEST_F(OcclusionDisplay, ReachesAsFarWithSurroundingsAsWithout)
{
    add(makeSquare(), material);
    add(makeSquare(), material, makeTranslation(0.0f, 0.0f, 0.95f));
    scene.build();
    znRTRayDifferentialPacket ray(
        znRTRayPacket({znFloatType<2>(0.3f), znFloatType<2>(0.1f), znFloatType<2>(0.5f)},
                      znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    ray.pixelX = ray.pixelY = znIntType<2>(0);
    integrate<znRTAORenderingIntegrator>(ray);
    EXPECT_LANES_EQ(fragment.colour.r, 1.0f, 1.0f, 1.0f, 1.0f);

    other.environment = true;
    osg::Matrix large = makeTranslation(0.0f, 0.0f, -100.0f);
    large[0][0] = large[1][1] = 100.0f;
    add(makeSquare(), other, large);
    scene.build();
    ASSERT_GT(znRTRenderUtils::getFullBoundingSphere().radius, 70.0f);
    integrate<znRTAORenderingIntegrator>(ray);
    EXPECT_LANES_EQ(fragment.colour.r, 1.0f, 1.0f, 1.0f, 1.0f);
}

TEST_F(DebugDisplay, GivesObjectsHuesAndTrianglesBrightnesses)
{
    const osg::NodePtr first = add(makeSquare(), material);
    const osg::NodePtr second = add(makeSquare(), material, makeTranslation(4.0f, 0.0f, 0.0f));
    scene.build();
    // Lower right and upper left triangle of the first square, the same of the second.
    znRTRayDifferentialPacket ray = downward({0.5f, -0.5f, 4.5f, 3.5f}, {-0.5f, 0.5f, -0.5f, 0.5f});
    ray.pixelX = ray.pixelY = znIntType<2>(0);
    integrate<znRTDebugIntegrator>(ray);
    const auto sum = [](const znRTColor& c) { return c.r + c.g + c.b; };
    const auto expectHue = [&](int lane, const osg::NodePtr& node) {
        const znRTColor hue = idColor(node->getId());
        const znRTColor shown = fragment.colour.getComponent(lane);
        EXPECT_NEAR(shown.r / sum(shown), hue.r / sum(hue), 1e-5f) << lane;
        EXPECT_NEAR(shown.g / sum(shown), hue.g / sum(hue), 1e-5f) << lane;
    };
    expectHue(0, first);
    expectHue(1, first);
    expectHue(2, second);
    expectHue(3, second);
    const auto brightness = [&](int lane) { return sum(fragment.colour.getComponent(lane)); };
    EXPECT_NEAR(brightness(0) / brightness(1), idBrightness(0) / idBrightness(1), 1e-5f);
    EXPECT_NEAR(brightness(2) / brightness(3), idBrightness(0) / idBrightness(1), 1e-5f);

    // The pixel that is being looked at.
    ray.pixelX = znIntType<2>(7, 8, 9, 10);
    znRTRayPacket::s_debugPixelX = 8;
    znRTRayPacket::s_debugPixelY = 0;
    integrate<znRTDebugIntegrator>(ray);
    znRTRayPacket::s_debugPixelX = znRTRayPacket::s_debugPixelY = -1;
    EXPECT_LANES_EQ(fragment.colour.r + fragment.colour.g + fragment.colour.b,
                    fragment.colour.r[0] + fragment.colour.g[0] + fragment.colour.b[0], 3.0f,
                    fragment.colour.r[2] + fragment.colour.g[2] + fragment.colour.b[2],
                    fragment.colour.r[3] + fragment.colour.g[3] + fragment.colour.b[3]);
    EXPECT_LT(fragment.colour.r[0] + fragment.colour.g[0] + fragment.colour.b[0], 2.9f);
}

// Bit for bit: a lane does not know what is in the others, nor where in the packet it is.
void expectLanesToBeIndependent(const std::function<znRTColorPacket(int)>& coloursFrom)
{
    const znRTColorPacket straight = coloursFrom(0);
    for (int first = 1; first < 4; ++first) {
        const znRTColorPacket turned = coloursFrom(first);
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_EQ(turned.getComponent(lane), straight.getComponent((first + lane) & 3))
                << "turned by " << first << ", lane " << lane;
    }
}

TEST_F(DisplayAid, GivesEachLaneTheSameWhateverItsPlaceInThePacket)
{
    add(makeRandomMesh(200, 11), material);
    add(makeSquare(), other, makeTranslation(0.0f, 0.0f, -1.5f));
    scene.build();
    const osg::Ref<osg::SurfaceAnalysisAttachment> stripes(
        osg::SurfaceAnalysisAttachment::create());
    stripes->setMode(znRTSurfaceAnalysisSettings::sphere);
    znRTSceneHandler::s_currentSurfaceAnalysisSettings.updateSettings(stripes.get().get());
    const float xs[4] = {-0.7f, 0.2f, 0.55f, 4.0f};
    const auto rays = [&](int first) {
        znFloatType<2> x;
        znIntType<2> pixels(0);
        for (int lane = 0; lane < 4; ++lane) {
            x.set(lane, xs[(first + lane) & 3]);
            pixels.set(lane, (first + lane) & 3);
        }
        znRTRayDifferentialPacket ray = downwardPixels(x, 0.13f, pixel);
        ray.pixelX = pixels;
        return ray;
    };
    expectLanesToBeIndependent([&](int first) {
        integrate<znRTDiscontinuityRenderingIntegrator>(rays(first));
        return fragment.colour;
    });
    expectLanesToBeIndependent([&](int first) {
        integrate<znRTAORenderingIntegrator>(rays(first));
        return fragment.colour;
    });
    expectLanesToBeIndependent([&](int first) {
        integrate<znRTDebugIntegrator>(rays(first));
        return fragment.colour;
    });
    expectLanesToBeIndependent([&](int first) {
        integrate<znRTAnalyticRenderingIntegrator>(rays(first));
        return fragment.colour;
    });
    znRTSceneHandler::s_currentSurfaceAnalysisSettings = {};
}
