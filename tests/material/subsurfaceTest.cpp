#include "material/subsurface.h"
#include "surroundedFixture.h"

#include "brdf/znRTBxDFAttributes.h"

#include "core/rayTypes.h"
#include "host/znRenderPasses.h"

using namespace materialTest;

namespace {

constexpr double albedo = 0.9;
/// Reflectance of an index of 1.4 at normal incidence.
constexpr double r0 = (0.4 / 2.4) * (0.4 / 2.4);

/// Nothing but light from below the surface.
PhongPtr makeBody(float color, int mode, float millimetres)
{
    const PhongPtr material = makeDiffuse(0.0f);
    material->setTranslucencyMode(mode);
    material->setTranslucency(gray(color));
    material->setMeanFreePath(millimetres);
    material->setScatterAlbedo(float(albedo));
    return material;
}

znRTBSSRDF makeLobe(double extinction, int mode = 3, double anisotropy = 0.0)
{
    znRTPhongBTDFAttributes record;
    record.indices.indexA = 1.4f;
    record.indices.indexB = 1.0f;
    record.medium.extinction = float(extinction);
    record.medium.unit = 0.001f;
    record.medium.anisotropy = float(anisotropy);
    record.medium.mode = mode;
    znRTBSSRDF lobe;
    lobe.setup(record, 1);
    return lobe;
}

/// Share of the light that many scatterings send back, Jensen et al. 2001: both sources of the
/// dipole over the plane.
double diffuseReflectance()
{
    const double root = std::sqrt(3.0 * (1.0 - albedo));
    return 0.5 * albedo * std::exp(-root) *
           (1.0 + std::exp(-4.0 / 3.0 * double(makeLobe(1.0).getBoundaryTerm()) * root));
}

/// Both sides of a plate of edge 2, fronts outside, as one mesh.
GeometryRef makePlate(float thickness)
{
    const float h = thickness;
    return makeMesh({{-1, -1, 0},
                     {1, -1, 0},
                     {1, 1, 0},
                     {-1, 1, 0},
                     {-1, -1, -h},
                     {1, -1, -h},
                     {1, 1, -h},
                     {-1, 1, -h}},
                    {0, 1, 2, 0, 2, 3, 4, 6, 5, 4, 7, 6});
}

class Subsurface : public SurroundedTest
{
protected:
    void addPlate(const osg::MaterialPtr& material, float thickness)
    {
        squares.push_back(makePlate(thickness));
        squares.back()->setMaterial(material);
        scene.add(squares.back().get());
        scene.scene->initMaterials();
        scene.build();
    }
    double layerMean(int pass, int samples)
    {
        double sum = 0.0;
        for (int i = 0; i < samples; ++i) {
            const Shaded seen = shade(0.2f, 0.1f, 15, i);
            for (int lane = 0; lane < 4; ++lane)
                sum += double(seen.layer(pass).r[lane]);
        }
        return sum / (4.0 * samples);
    }
};

} // namespace

// What a wide plane of a medium shows from above under a sun above: the reflectance of the dipole,
// and what both crossings of the surface let through. A millimetre is short in a scene of metres.
TEST_F(Subsurface, SendsBackTheDiffuseReflectanceOfTheMedium)
{
    addSquare(makeBody(0.8f, 3, 1.0f));
    addSun();
    const double expected = 0.8 * diffuseReflectance() * (1.0 - r0) * (1.0 - r0);
    EXPECT_NEAR(mean(8192), expected, 0.02 * expected);
    EXPECT_NEAR(layerMean(ZN_PASS_TRANSLUCENCY, 8192), expected, 0.02 * expected);
    EXPECT_EQ(layerMean(ZN_PASS_DIFFUSE_LIGHT, 8), 0.0);
}

// Light that scatters once turns around: albedo * phase(-1) * pi under a sun of intensity 1, with
// the function of Henyey and Greenstein (1 - g^2) / (4 pi (1 + g)^3) there.
TEST_F(Subsurface, SendsBackLightThatScatteredOnce)
{
    const double g = 0.3;
    const PhongPtr body = makeBody(1.0f, 4, 5.0f);
    body->setScatterAnisotropy(float(g));
    addSquare(body);
    addSun();
    const double phase = (1.0 - g * g) / (4.0 * testPi * std::pow(1.0 + g, 3.0));
    const double expected = albedo * phase * testPi * (1.0 - r0) * (1.0 - r0);
    EXPECT_NEAR(mean(16384), expected, 0.02 * expected);
}

// Through a plate of the thickness h: the dipole at sqrt(r^2 + h^2), over the other side.
TEST_F(Subsurface, ShinesThroughAThinPlate)
{
    const float h = 0.02f;
    addPlate(makeBody(1.0f, 3, 20.0f), h);
    addSun(180.0);
    const znRTBSSRDF lobe = makeLobe(50.0);
    double through = 0.0;
    constexpr int steps = 4000;
    for (int i = 0; i < steps; ++i) {
        const double r = (i + 0.5) * 1.0 / steps;
        through += double(lobe.getDipole(float(std::hypot(r, h)))[0]) * 2.0 * testPi * r / steps;
    }
    const double expected = through * (1.0 - r0) * (1.0 - r0);
    EXPECT_GT(expected, 0.01);
    EXPECT_NEAR(mean(8192), expected, 0.03 * expected);
}

// Both walls of the plate are met by the same rays; either counts whole.
TEST_F(Subsurface, CountsEachWallOfABodyWhole)
{
    addPlate(makeBody(1.0f, 3, 20.0f), 0.02f);
    addSun();
    const double expected = diffuseReflectance() * (1.0 - r0) * (1.0 - r0);
    EXPECT_NEAR(mean(8192), expected, 0.03 * expected);
}

// The sun shines on x > 0 alone: light bleeds into the shadow by what the half plane beyond x
// sends.
TEST_F(Subsurface, BleedsIntoShadows)
{
    addSquare(makeBody(1.0f, 3, 50.0f));
    const PhongPtr blind = makeDiffuse(0.0f);
    squares.push_back(
        makeMesh({{-9, -9, 1}, {0, -9, 1}, {0, 9, 1}, {-9, 9, 1}}, {0, 1, 2, 0, 2, 3}));
    squares.back()->setMaterial(blind);
    scene.add(squares.back().get());
    scene.scene->initMaterials();
    scene.build();
    addSun();
    const auto seen = [&](float x) {
        // From below the blind.
        const znRTRayDifferentialPacket ray(
            znRTRayPacket({x, 0.1f, 0.5f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
        return mean(ray, 2048);
    };
    const double whole = diffuseReflectance() * (1.0 - r0) * (1.0 - r0);
    const double edge = seen(-0.001f), inside = seen(-0.05f), deep = seen(-0.6f);
    EXPECT_NEAR(edge, 0.5 * whole, 0.05 * whole);
    EXPECT_GT(inside, 0.02 * whole);
    EXPECT_LT(inside, 0.4 * whole);
    EXPECT_LT(deep, 0.01 * whole);
}

// A square of another object right below catches no light for this one, though it has the material.
TEST_F(Subsurface, KeepsToItsOwnObject)
{
    const PhongPtr body = makeBody(1.0f, 3, 20.0f);
    addSquare(body);
    addSquare(body, -0.01f);
    addSun(180.0);
    EXPECT_EQ(mean(256), 0.0);
}

// White all around: what enters is 1 - r0 - (1 - r0) / 21 of the light, by the mean of the
// Schlick rise over the cosine. Sampled, looked up and found by rays alike.
TEST_F(Subsurface, ShowsWhiteSurroundingsTheSameInAllQualities)
{
    const double expected = diffuseReflectance() * (1.0 - r0) * (1.0 - r0) * 20.0 / 21.0;
    for (const int illumination : {0, 1, 2, 3}) {
        surround(white(), illumination);
        addSquare(makeBody(1.0f, 3, 2.0f));
        EXPECT_NEAR(mean(2048), expected, 0.025 * expected) << illumination;
        scene.scene->clear();
        squares.clear();
        znRTRenderUtils::updateEnvironment();
    }
}

// Beside a diffuse colour each lane shows one of both, and the mean is the sum.
TEST_F(Subsurface, AddsToWhatTheSurfaceReflects)
{
    const PhongPtr body = makeBody(0.5f, 3, 1.0f);
    body->setDiffuse(gray(0.4f));
    addSquare(body);
    addSun();
    const double expected = 0.4 + 0.5 * diffuseReflectance() * (1.0 - r0) * (1.0 - r0);
    EXPECT_NEAR(mean(8192), expected, 0.02 * expected);
}

TEST_F(Subsurface, EntersItsLobeInItsOwnGroup)
{
    znRTMaterial& shading = addSquare(makeBody(0.5f, 3, 1.0f));
    znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data = blockOf(ray);
    znRTSurfaceProperties surface;
    surface.reset();
    znRTShadingState state = stateOf(0);
    shading.evaluateMaterial(ray, data, surface, znFloatType<2>::allLanes(), state, -1,
                             znRTMaterial::gather);
    constexpr int below = 5, sheet = 3;
    EXPECT_EQ(surface.groups[sheet].count, 0u);
    ASSERT_EQ(surface.groups[below].count, 1u);
    EXPECT_LANES_NEAR(surface.groups[below].slots[0].color.r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-6f);
    EXPECT_LANES_NEAR(surface.groups[below].onb.n.z, 1, 1, 1, 1, 1e-6f);
}

// A restricted sheet, where light goes from surface to surface: rays that gather light see none.
TEST_F(Subsurface, LeavesRestrictedSheetsToThoseWhoLook)
{
    const PhongPtr leaf = makeDiffuse(0.0f);
    leaf->setTranslucency(gray(0.2f));
    addSun(180.0);
    for (const int illumination : {2, 3})
        for (const int mode : {1, 2}) {
            leaf->setTranslucencyMode(mode);
            setIllumination(illumination, 1);
            addSquare(leaf);
            scene.scene->applyMaterialChanges();
            znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
            ray.type = znIntType<2>(int(rayType::camera), int(rayType::mirrorReflection),
                                    int(rayType::diffuseScatter), int(rayType::glossyReflection));
            znRTColorPacket sum(0.0f);
            for (int i = 0; i < 64; ++i)
                sum += shade(ray, 15, i).color;
            const bool isRestricted = illumination == 3 && mode == 2;
            for (int lane = 0; lane < 4; ++lane)
                EXPECT_EQ(sum.r[lane] > 0.0f, lane < 2 || !isRestricted)
                    << illumination << " " << mode << " " << lane;
            scene.scene->clear();
            squares.clear();
            addSun(180.0);
        }
}
