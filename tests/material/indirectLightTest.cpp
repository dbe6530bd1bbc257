#include "material/indirectLight.h"
#include "materialFixture.h"
#include "support/meshes.h"

#include "host/osg/UPointLight.h"
#include "host/znRenderPasses.h"

#include <set>

using namespace materialTest;

namespace {

class IndirectLight : public MaterialTest
{
protected:
    IndirectLight() { trace(1, 1); }
    ~IndirectLight() override
    {
        Settings::s_interactiveReflectionDepth = 4;
        Settings::s_stillFrameReflectionDepth = 10;
        Settings::s_stillFrameQualityMode = 3;
        Settings::s_stillFrameQuality = 4;
        Settings::s_environmentStillQuality = 4;
        Settings::s_clamping = false;
        Settings::s_reflectionClampValue = 100.0f;
        znRTRenderUtils::s_backgroundColor = {0.0f, 0.0f, 0.0f, 0.0f};
        znRTMaterial::updateStaticSettings();
    }

    /// Full illumination without an environment, the same for both kinds of frames.
    void trace(int depth, int quality)
    {
        setIllumination(3, 0);
        Settings::s_stillFrameQualityMode = 3;
        Settings::s_environmentStillQuality = 0;
        Settings::s_interactiveReflectionDepth = Settings::s_stillFrameReflectionDepth = depth;
        Settings::s_interactiveQuality = Settings::s_stillFrameQuality = quality;
        update();
    }
    void update()
    {
        znRTMaterial::updateStaticSettings();
        for (const osg::MaterialPtr& material : materials)
            scene.scene->getMaterial(material)->update();
    }
    void addMesh(const GeometryRef& mesh, const osg::MaterialPtr& material,
                 const osg::Matrix& place = {})
    {
        squares.push_back(mesh);
        mesh->setMaterial(material);
        materials.insert(material);
        scene.add(mesh.get(), place);
        scene.scene->initMaterials();
        scene.build();
    }
    /// A lamp of intensity 1 in the middle of a closed sphere of radius 1.
    void addLitSphere(const osg::MaterialPtr& material)
    {
        const TestMesh sphere = makeSphere(40);
        std::vector<osg::Vec3f> positions;
        for (u32 i = 0; i < sphere.positions.size() / 3; ++i) {
            const float* p = sphere.vertex(i);
            positions.emplace_back(p[0], p[1], p[2]);
        }
        std::vector<u32> indices;
        for (const znRTTriangle& t : sphere.triangles)
            for (u32 corner : {t.a, t.b, t.c})
                indices.push_back(corner);
        addMesh(makeMesh(positions, indices), material);
        lamp.core->setDiffuse(osg::ColorComponent(osg::Vec3f(1, 1, 1), 1.0f));
        addLight(lamp);
    }
    static znRTRayDifferentialPacket inside()
    {
        return znRTRayDifferentialPacket(znRTRayPacket(
            {0.1f, 0.2f, 0.3f, -0.2f}, {0.0f, 0.3f, -0.1f, 0.2f}, {0.2f, 0.1f, -0.3f, -0.1f},
            {0.3f, -0.5f, 0.7f, -0.9f}, {0.5f, 0.4f, -0.6f, 0.1f}, {-0.7f, 0.6f, 0.2f, 0.3f}));
    }
    struct Statistics
    {
        double mean[3] = {0.0, 0.0, 0.0};
        double variance = 0.0; ///< of single samples, red
    };
    /// Of a layer over samples of the pixels of four rays, in double precision.
    Statistics statisticsOf(int layer, const znRTRayDifferentialPacket& ray, int samples,
                            int depth = 0)
    {
        Statistics result;
        double squares = 0.0;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket color = shade(ray, 15, i, depth).layer(layer);
            for (int lane = 0; lane < 4; ++lane) {
                for (int channel = 0; channel < 3; ++channel)
                    result.mean[channel] += double(color[channel][lane]) / (4.0 * samples);
                squares += double(color.r[lane]) * double(color.r[lane]) / (4.0 * samples);
            }
        }
        result.variance = squares - result.mean[0] * result.mean[0];
        return result;
    }
    double meanOf(int layer, const znRTRayDifferentialPacket& ray, int samples)
    {
        return statisticsOf(layer, ray, samples).mean[0];
    }

    std::set<osg::MaterialPtr> materials;
    PlacedCore<osg::UPointLight> lamp;
};

/// A wall of edge 2 that stands on the floor at x = 1 and looks along -x.
osg::Matrix standingWall()
{
    osg::Matrix m; // columns: where x, y, z go
    m[0][0] = 0, m[0][1] = 1, m[0][2] = 0;
    m[1][0] = 0, m[1][1] = 0, m[1][2] = -1;
    m[2][0] = -1, m[2][1] = 0, m[2][2] = 0;
    m[3][0] = 1, m[3][1] = 0, m[3][2] = 1;
    return m;
}

/// Form factor from the point (x, y, 0) with normal +z to that wall, by a grid of 400 x 400:
/// the mean of cos cos' / (pi d^2) times the area.
double wallFormFactor(double x, double y)
{
    double sum = 0.0;
    constexpr int n = 400;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const double wy = 2.0 * (i + 0.5) / n - 1.0, wz = 2.0 * (j + 0.5) / n;
            const double dx = 1.0 - x, dy = wy - y, d2 = dx * dx + dy * dy + wz * wz;
            sum += wz * dx / (testPi * d2 * d2);
        }
    return sum * 4.0 / (double(n) * n);
}

} // namespace

// In a closed sphere every point sends as much to every other: with reflectance a, bounce k brings
// a^k of what the lamp, of intensity 1 at distance 1, brings. The polyhedron is 0.3 % off.
TEST_F(IndirectLight, AddsUpBounceByBounce)
{
    constexpr float a = 0.7f;
    addLitSphere(makeDiffuse(a));
    double expected = 0.0, power = 1.0;
    for (int depth = 0; depth <= 3; ++depth) {
        trace(depth, 1);
        const double light = meanOf(ZN_PASS_DIFFUSE_INDIRECT_ILLUMINATION, inside(), 512);
        EXPECT_NEAR(light, expected, 0.012 * expected + 1e-7) << "depth " << depth;
        power *= double(a);
        expected += power;
    }
}

// Paths end by chance at 1/2 in interactive and at 1/8 in still frames: dark walls, where all
// bounces together bring a / (1 - a), show the same. One sample deviates by 1.8 times the mean,
// so that 65,536 are good to 0.7 %.
TEST_F(IndirectLight, DoesNotDependOnWherePathsEnd)
{
    constexpr double a = 0.2, expected = a / (1.0 - a);
    addLitSphere(makeDiffuse(float(a)));
    for (const auto mode : {Settings::interactive, Settings::stillFrame}) {
        Settings::s_qualityMode = mode;
        trace(8, 1);
        const double light = meanOf(ZN_PASS_DIFFUSE_INDIRECT_ILLUMINATION, inside(), 16384);
        EXPECT_NEAR(light, expected, 0.012 * expected) << mode;
    }
}

// The light of a wall that the sun meets head on: reflectance times form factor, in each colour.
// The floor lies along the sun's rays and has no light but that.
TEST_F(IndirectLight, FallsOffWithTheFormFactorAndBleedsColor)
{
    const PhongPtr red = makeDiffuse(0.0f);
    red->setDiffuse(osg::ColorComponent(osg::Vec3f(0.8f, 0.2f, 0.1f)));
    addMesh(makeSquare(), makeDiffuse(1.0f));
    addMesh(makeSquare(), red, standingWall());
    suns.emplace_back();
    suns.back().turn({0, 0, 1}, {0, 1, 0}, {-1, 0, 0}); // shines along +x
    addLight(suns.back());
    for (const float x : {0.8f, 0.3f, -0.6f}) {
        const double factor = wallFormFactor(double(x), 0.1);
        const Statistics light = statisticsOf(ZN_PASS_DIFFUSE_INDIRECT, downward(x, 0.1f), 2048);
        EXPECT_NEAR(light.mean[0], 0.8 * factor, 0.012 * 0.8 * factor) << x;
        EXPECT_NEAR(light.mean[1], 0.2 * factor, 0.012 * 0.2 * factor) << x;
        EXPECT_NEAR(light.mean[2], 0.1 * factor, 0.012 * 0.1 * factor) << x;
        EXPECT_LANES_NEAR(shade(x, 0.1f).layer(ZN_PASS_DIFFUSE_LIGHT).r, 0, 0, 0, 0, 1e-6f);
    }
}

// The walls of the sphere show the same light from everywhere, so that a small glossy plate shows
// that light times the share that its lobe reflects: 1e5 points of a grid of directions.
TEST_F(IndirectLight, ReachesGlossyLobesByTheirShape)
{
    const PhongPtr shiny = makeDiffuse(0.0f);
    shiny->setGlossy(gray(1.0f));
    shiny->setRoughness(0.2236f);
    addLitSphere(makeDiffuse(0.5f));
    osg::Matrix small = makeTranslation(0.3f, 0.2f, 0.1f);
    for (int axis = 0; axis < 3; ++axis)
        small[axis][axis] = 0.02f;
    addMesh(makeSquare(), shiny, small);
    const znRTRayDifferentialPacket ray(znRTRayPacket({0.305f, 0.207f, 0.5f}, // at 45 degrees
                                                      znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    znRTDataBlockPacket data = blockOf(ray);
    znRTSurfaceProperties surface;
    surface.reset();
    znRTShadingState state = stateOf(0);
    znRTRayDifferentialPacket copy = ray;
    data.materials[0]->evaluateMaterial(copy, data, surface, everyLane4, state, -1,
                                        znRTMaterial::gather);
    ASSERT_EQ(surface.groups[1].count, 1u);
    const znRTBRDF& lobe = *surface.groups[1].slots[0].lobe;
    double share = 0.0;
    constexpr int rings = 400;
    for (int i = 0; i < rings; ++i)
        for (int j = 0; j < rings; ++j) {
            const double z = (i + 0.5) / rings, phi = 2.0 * testPi * (j + 0.5) / rings;
            const double r = std::sqrt(1.0 - z * z);
            const auto wi =
                inAllLanes(float(r * std::cos(phi)), float(r * std::sin(phi)), float(z));
            share += double(lobe.evaluate(inAllLanes(0, 0, 1), wi, data.dg).r[0]) * z;
        }
    share *= 2.0 * testPi / (double(rings) * rings);
    const double light = meanOf(ZN_PASS_GLOSSY_INDIRECT_ILLUMINATION, ray, 2048);
    EXPECT_NEAR(light, 0.5 * share, 0.012 * 0.5 * share);
    EXPECT_GT(share, 0.5);
}

// Beyond the first hit one ray serves both kinds of lobes: their sum is what both bring apart.
TEST_F(IndirectLight, OfDeepHitsIsThatOfFirstOnes)
{
    const PhongPtr both = makeDiffuse(0.3f);
    both->setGlossy(gray(0.5f));
    both->setRoughness(0.45f);
    addLitSphere(both);
    trace(1, 1);
    const Statistics firstD = statisticsOf(ZN_PASS_DIFFUSE_INDIRECT, inside(), 2048);
    const Statistics firstG = statisticsOf(ZN_PASS_GLOSSY_INDIRECT, inside(), 2048);
    trace(2, 1); // a state of depth 1 has one bounce left, as above
    const Statistics deepD = statisticsOf(ZN_PASS_DIFFUSE_INDIRECT, inside(), 2048, 1);
    const Statistics deepG = statisticsOf(ZN_PASS_GLOSSY_INDIRECT, inside(), 2048, 1);
    EXPECT_NEAR(deepD.mean[0], firstD.mean[0], 0.015 * firstD.mean[0]);
    EXPECT_NEAR(deepG.mean[0], firstG.mean[0], 0.015 * firstG.mean[0]);
    EXPECT_GT(firstG.mean[0], 0.05);
}

TEST_F(IndirectLight, GetsSmootherWithItsQuality)
{
    addMesh(makeSquare(), makeDiffuse(1.0f));
    addMesh(makeSquare(), makeDiffuse(1.0f), standingWall());
    suns.emplace_back();
    suns.back().turn({0, 0, 1}, {0, 1, 0}, {-1, 0, 0});
    addLight(suns.back());
    const int layer = ZN_PASS_DIFFUSE_INDIRECT;
    const auto ray = downward(0.3f, 0.1f);
    const Statistics one = statisticsOf(layer, ray, 2048);
    trace(1, 3); // counts as one: bit for bit the same
    const Statistics three = statisticsOf(layer, ray, 64);
    trace(1, 1);
    EXPECT_EQ(three.mean[0], statisticsOf(layer, ray, 64).mean[0]);
    trace(1, 8);
    const Statistics eight = statisticsOf(layer, ray, 256); // the same rays
    EXPECT_NEAR(eight.mean[0], one.mean[0], 1e-3 * one.mean[0]);
    // Independent rays would leave an eighth of the variance, well spread ones leave less.
    EXPECT_LT(eight.variance, one.variance / 8.0);
}

// Rays of one point meet different decisions at what they hit: of eight rays onto a wall that half
// of the hits pass by chance, about four pass, and the variance falls well below that of one ray.
TEST_F(IndirectLight, DecidesAnewForEachRayOfAPoint)
{
    const PhongPtr wall = makeDiffuse(1.0f);
    wall->setTransparencyColor(gray(0.5f)); // half of the hits pass, into the dark
    addMesh(makeSquare(), makeDiffuse(1.0f));
    addMesh(makeSquare(), wall, standingWall());
    suns.emplace_back();
    suns.back().turn({0, 0, 1}, {0, 1, 0}, {-1, 0, 0});
    addLight(suns.back());
    const auto ray = downward(0.7f, 0.1f);
    const double factor = wallFormFactor(0.7, 0.1);
    const Statistics one = statisticsOf(ZN_PASS_DIFFUSE_INDIRECT, ray, 2048);
    EXPECT_NEAR(one.mean[0], 0.5 * factor, 0.02 * factor);
    trace(1, 8);
    const Statistics eight = statisticsOf(ZN_PASS_DIFFUSE_INDIRECT, ray, 512);
    EXPECT_NEAR(eight.mean[0], 0.5 * factor, 0.02 * factor);
    EXPECT_LT(eight.variance, one.variance / 6.0);
}

TEST_F(IndirectLight, SeesNoLampsAndNoBackground)
{
    const auto lampMaterial = osg::ULightMaterial::create();
    lampMaterial->setIntensity(4.0f);
    lampMaterial->setDiffuse(gray(0.0f));
    addMesh(makeSquare(), makeDiffuse(1.0f));
    addMesh(makeSquare(), osg::MaterialPtr(lampMaterial.get()), makeTranslation(0, 0, 2));
    znRTRenderUtils::s_backgroundColor = {5.0f, 5.0f, 5.0f, 0.0f};
    scene.scene->updateGeometryLights();
    znRTRenderUtils::updateLightDistribution(true);
    const znRTRayDifferentialPacket ray(
        znRTRayPacket({1e-3f, 2e-3f, 1.0f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    const Shaded seen = shade(ray);
    EXPECT_GT(seen.layer(ZN_PASS_DIFFUSE_LIGHT).r[0], 0.1f);
    EXPECT_EQ(meanOf(ZN_PASS_DIFFUSE_INDIRECT, ray, 64), 0.0);
}

TEST_F(IndirectLight, SeesNoBackgroundBehindPanes)
{
    const PhongPtr pane = makeDiffuse(0.0f);
    pane->setTransparencyColor(gray(0.5f));
    addMesh(makeSquare(), makeDiffuse(1.0f));
    addMesh(makeSquare(), pane, makeTranslation(0, 0, 0.5f));
    znRTRenderUtils::s_backgroundColor = {5.0f, 5.0f, 5.0f, 0.0f};
    const znRTRayDifferentialPacket ray(
        znRTRayPacket({1e-3f, 2e-3f, 0.25f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    EXPECT_EQ(meanOf(ZN_PASS_DIFFUSE_INDIRECT, ray, 64), 0.0);
}

TEST_F(IndirectLight, StaysWithinTheClamp)
{
    addLitSphere(makeDiffuse(0.9f));
    trace(3, 1);
    EXPECT_GT(meanOf(ZN_PASS_DIFFUSE_INDIRECT_ILLUMINATION, inside(), 16), 1.0);
    Settings::s_clamping = true;
    Settings::s_reflectionClampValue = 0.25f;
    for (int i = 0; i < 16; ++i) {
        const znRTColorPacket light =
            shade(inside(), 15, i).layer(ZN_PASS_DIFFUSE_INDIRECT_ILLUMINATION);
        EXPECT_LANES_NEAR(maximum(light.r, 0.25f), 0.25f, 0.25f, 0.25f, 0.25f, 0.0f);
    }
}

TEST_F(IndirectLight, FollowsTheSettingsOfMaterials)
{
    const PhongPtr material = makeDiffuse(0.5f);
    addLitSphere(material);
    const auto isTraced = [&] {
        update();
        return meanOf(ZN_PASS_DIFFUSE_INDIRECT, inside(), 16) > 0.0;
    };
    EXPECT_TRUE(isTraced());
    for (int mode = 0; mode < 5; ++mode) {
        material->setLightingMode(mode);
        EXPECT_EQ(isTraced(), mode == 0) << mode; // in mode 1 no light reaches the walls at all
    }
    material->setLightingMode(0);
    material->setOverrideTraceDepth(true);
    material->setTraceDepthInteractive(0);
    EXPECT_FALSE(isTraced());
    Settings::s_ignoreOverrideTraceDepth = true;
    EXPECT_TRUE(isTraced());
    Settings::s_ignoreOverrideTraceDepth = false;
    material->setTraceDepthInteractive(1);
    material->setOverrideIndirect(true);
    material->setIndirectInteractive(0);
    EXPECT_FALSE(isTraced());
    Settings::s_ignoreOverrideReflectionQuality = true;
    EXPECT_TRUE(isTraced());
    Settings::s_ignoreOverrideReflectionQuality = false;
    for (int illumination = 0; illumination < 4; ++illumination) {
        material->setOverrideIndirect(false);
        setIllumination(illumination, 0);
        EXPECT_EQ(isTraced(), illumination == 3) << illumination;
    }
}

// Four rays together, two and two, and each alone: bit for bit the same.
TEST_F(IndirectLight, TreatsEachLaneByItself)
{
    const PhongPtr both = makeDiffuse(0.4f);
    both->setGlossy(gray(0.4f));
    both->setTransparencyColor(gray(0.2f));
    addLitSphere(both);
    trace(4, 4);
    for (int sample = 0; sample < 8; ++sample) {
        const znRTColorPacket whole = shade(inside(), 15, sample).color;
        for (const int mask : {3, 12, 1, 2, 4, 8, 5}) {
            const znRTColorPacket part = shade(inside(), mask, sample).color;
            for (int lane = 0; lane < 4; ++lane)
                for (int channel = 0; channel < 4; ++channel)
                    if (mask >> lane & 1) {
                        EXPECT_EQ(part[channel][lane], whole[channel][lane]) << mask << " " << lane;
                    }
        }
    }
}

TEST_F(IndirectLight, IsPartOfThePicture)
{
    const PhongPtr both = makeDiffuse(0.4f);
    both->setGlossy(gray(0.4f));
    addLitSphere(both);
    const Shaded seen = shade(inside(), 15, 3);
    const znRTColorPacket sum =
        seen.layer(ZN_PASS_DIFFUSE_LIGHT) + seen.layer(ZN_PASS_GLOSSY_LIGHT) +
        seen.layer(ZN_PASS_DIFFUSE_INDIRECT) + seen.layer(ZN_PASS_GLOSSY_INDIRECT);
    EXPECT_LANES_NEAR(seen.color.r - sum.r, 0, 0, 0, 0, 1e-5f);
    EXPECT_NE(moveMask(seen.layer(ZN_PASS_DIFFUSE_INDIRECT).getMax() > znFloatType<2>(0.0f)), 0);
}

// A lamp above the floor, a mirror to the side: by way of the mirror the lamp stands a second time
// behind it, and rays that gather light meet it there, which light sampling does not. The mirror's
// plane is x = 1, and it is much larger than all that is seen in it, so the floor at (x, y) gets
// from it the reflectance times the form factor of a lamp around (2 - x of the lamp).
TEST_F(IndirectLight, BringsMirroredLampsOnce)
{
    const auto lampMaterial = osg::ULightMaterial::create();
    lampMaterial->setIntensity(4.0f);
    lampMaterial->setDiffuse(gray(0.0f));
    const auto chrome = osg::UChromeMaterial::create();
    chrome->setFresnelTable(255); // the reflectance below, at all angles
    chrome->setReflectance(1.0f);
    chrome->setReflection(gray(1.0f));
    chrome->setRoughness(0.0f);
    osg::Matrix big = standingWall();
    for (int axis = 0; axis < 2; ++axis)
        for (int i = 0; i < 3; ++i)
            big[axis][i] *= 40.0f;
    addMesh(makeSquare(), makeDiffuse(1.0f));
    addMesh(makeSquare(), osg::MaterialPtr(chrome.get()), big);
    addMesh(makeSquare(), osg::MaterialPtr(lampMaterial.get()), makeTranslation(0, 0, 1.5f));
    scene.scene->updateGeometryLights();
    znRTRenderUtils::updateLightDistribution(true);
    trace(2, 1);
    const znRTRayDifferentialPacket ray(
        znRTRayPacket({0.31f, 0.17f, 1.0f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    // Mean of cos cos' / (pi d^2) over a lamp of edge 2 about (center, 0, 1.5), times its area.
    const auto formFactor = [](double center) {
        double sum = 0.0;
        constexpr int n = 200;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                const double dx = center + 2.0 * (i + 0.5) / n - 1.0 - 0.31;
                const double dy = 2.0 * (j + 0.5) / n - 1.0 - 0.17;
                const double d2 = dx * dx + dy * dy + 1.5 * 1.5;
                sum += 1.5 * 1.5 / (testPi * d2 * d2);
            }
        return sum * 4.0 / (double(n) * n);
    };
    const double own = 4.0 * formFactor(0.0), mirrored = 4.0 * formFactor(2.0);
    EXPECT_NEAR(meanOf(ZN_PASS_DIFFUSE_LIGHT, ray, 1024), own, 0.01 * own);
    EXPECT_NEAR(meanOf(ZN_PASS_DIFFUSE_INDIRECT, ray, 4096), mirrored, 0.02 * mirrored);
}
