// Glass: shares of light, ways of rays and shadows against closed forms in double precision.

#include "glassFixture.h"

#include "host/osg/Spectrum.h"
#include "host/znRenderPasses.h"
#include "material/znRTVolumeScatterMaterial.h"

using namespace materialTest;

namespace {

constexpr int mirrorGroup = 2, roughGroup = 3, refractionGroup = 4;

osg::ColorComponent color(float r, float g, float b)
{
    return osg::ColorComponent(osg::Vec3f(r, g, b));
}

osg::Ref<osg::Spectrum> spectrumOf(std::vector<float> bands)
{
    const osg::Ref<osg::Spectrum> spectrum(osg::Spectrum::create());
    spectrum->setUseSpectrum(true);
    spectrum->setSamples(std::move(bands));
    return spectrum;
}

class Glass : public GlassTest
{
protected:
    /// Where rays from above have to aim at z = 0 to just miss the end of a lamp at x = 0.5 below;
    /// NaN if that is not near a place.
    double edgeSeen(double degrees, int channel, double near)
    {
        const auto isLit = [&](double x) {
            return shade(slanting(float(x), degrees)).color[channel][0] > 0.5f;
        };
        double lit = near - 0.2, dark = near + 0.2;
        if (!isLit(lit) || isLit(dark))
            return std::nan("");
        for (int i = 0; i < 24; ++i) {
            const double middle = 0.5 * (lit + dark);
            (isLit(middle) ? lit : dark) = middle;
        }
        return lit;
    }
    void expectEdge(double degrees, int channel, double n, double thickness, double depth)
    {
        const double expected = edgeBehindSlab(degrees, n, thickness, depth);
        EXPECT_NEAR(edgeSeen(degrees, channel, expected), expected, 1e-4)
            << degrees << " degrees, channel " << channel;
    }
    /// The same by Snell's law.
    static double edgeBehindSlab(double degrees, double n, double thickness, double depth)
    {
        const double inside = std::asin(std::sin(radians(degrees)) / n);
        return 0.5 * 1.01 - thickness * std::tan(inside) -
               (depth - thickness) * std::tan(radians(degrees));
    }
};

} // namespace

TEST_F(Glass, ReflectsByFresnelsEquations)
{
    const znRTMaterial& shading = addFace(makeGlass(1.5f), 0.0f, true);
    constexpr double outside[4] = {0.0, 45.0, 80.0, 89.0}, inside[4] = {0.0, 30.0, 41.0, 60.0};
    const znRTSurfaceProperties above = recordOf(shading, slanting(0.3f, outside, 0.2f));
    const znRTSurfaceProperties below = recordOf(shading, slanting(0.3f, inside, -0.2f));
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(colorOf(above, mirrorGroup).g[i], fresnel(outside[i], 1.5), 2e-5) << i;
        EXPECT_NEAR(colorOf(below, mirrorGroup).g[i], fresnel(inside[i], 1.0 / 1.5), 2e-5) << i;
        for (const auto* surface : {&above, &below})
            EXPECT_NEAR(colorOf(*surface, mirrorGroup).g[i] +
                            colorOf(*surface, refractionGroup).g[i],
                        1.0f, 1e-6f)
                << i;
    }
    EXPECT_NEAR(colorOf(above, mirrorGroup).r[0], 0.04f, 1e-6f);
}

// sin = 1 / 1.5 at 41.8103 degrees.
TEST_F(Glass, ReflectsAllBeyondTheCriticalAngle)
{
    const znRTMaterial& shading = addFace(makeGlass(1.5f), 0.0f, true);
    constexpr double angles[4] = {41.7, 41.9, 60.0, 75.0};
    const znRTRayDifferentialPacket ray = slanting(0.3f, angles, -0.2f);
    const znRTSurfaceProperties surface = recordOf(shading, ray);
    EXPECT_LT(colorOf(surface, mirrorGroup).g[0], 0.8f);
    for (int i = 1; i < 4; ++i) {
        EXPECT_EQ(colorOf(surface, mirrorGroup).g[i], 1.0f) << i;
        EXPECT_EQ(colorOf(surface, refractionGroup).g[i], 0.0f) << i;
    }
    // The lamp below is seen in full; above there is none.
    addLamp(-4.0f);
    const znRTColorPacket seen = shade(ray).color;
    EXPECT_LANES_NEAR(seen.g, float(fresnel(41.7, 1.0 / 1.5)), 1.0f, 1.0f, 1.0f, 2e-4f);
}

TEST_F(Glass, BendsRaysBySnellsLaw)
{
    addSlab(makeGlass(1.5f), 1.0f);
    addLamp(-3.0f, 0.5f);
    for (const double degrees : {0.0, 30.0, 60.0})
        expectEdge(degrees, 1, 1.5, 1.0, 3.0);
}

// The lamp lies as far aside as without glass.
TEST_F(Glass, LetsRaysGoStraightThroughThinPanesAndWithoutContrast)
{
    const auto thin = makeGlass(1.5f);
    thin->setUseIor(false);
    addFace(thin, 0.0f, true);
    addSlab(makeGlass(1.0f), 1.0f);
    addLamp(-3.0f, 0.5f);
    for (const double degrees : {0.0, 30.0, 60.0})
        expectEdge(degrees, 1, 1.0, 1.0, 3.0);
}

TEST_F(Glass, IsInvisibleWithoutContrast)
{
    addFace(makeGlass(1.0f), 0.0f, true);
    setBackground(0.7f);
    addLamp(-1.0f, 0.25f);
    const znRTRayDifferentialPacket ray = slanting(0.9f, 20.0);
    const znRTColorPacket seen = shade(ray).color;
    EXPECT_LANES_NEAR(seen.g, 0.7f, 0.7f, 0.7f, 0.7f, 1e-6f);
    EXPECT_LANES_NEAR(seen.a, 0.0f, 0.0f, 0.0f, 0.0f, 1e-6f);
    EXPECT_NEAR(shade(slanting(0.0f, 5.0)).color.g[0], 1.0f, 1e-6f);
}

// Of both faces and all reflections between them: T = 2 n / (n^2 + 1), 0.923077 for 1.5. In the
// thin pane the sum is in the surface.
TEST_F(Glass, PassesTheLightOfAPaneWithItsInnerReflections)
{
    addSlab(makeGlass(1.5f), 0.5f);
    addLamp(-2.0f);
    EXPECT_NEAR(shade().color.r[0], 0.923077f, 1e-4f);

    const auto thin = makeGlass(1.5f);
    thin->setUseIor(false);
    thin->setTransmission(color(1.0f, 0.5f, 0.25f));
    const znRTMaterial& pane = addFace(thin, 1.0f, true);
    constexpr double angles[4] = {0.0, 45.0, 80.0, 85.0};
    const znRTSurfaceProperties surface = recordOf(pane, slanting(0.3f, angles, 1.5f));
    for (int i = 0; i < 4; ++i) {
        const double f = fresnel(angles[i], 1.5), passed = (1.0 - f) / (1.0 + f);
        EXPECT_NEAR(colorOf(surface, refractionGroup).r[i], passed, 2e-5) << i;
        EXPECT_NEAR(colorOf(surface, refractionGroup).g[i], 0.5 * passed, 2e-5) << i;
        EXPECT_NEAR(colorOf(surface, mirrorGroup).b[i], 1.0 - passed, 2e-5) << i;
    }
}

TEST_F(Glass, ReflectsWhatItDoesNotPass)
{
    addSlab(makeGlass(1.5f), 0.5f);
    addLamp(2.0f);
    EXPECT_NEAR(shade(znRTRayDifferentialPacket(
                          znRTRayPacket({0.3f, 0.1f, 1.0f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f))))
                    .color.r[0],
                1.0f - 0.923077f, 1e-4f);
}

// The colour is reached after the distance: c^(way / distance), along the ray.
TEST_F(Glass, AbsorbsByTheWayInside)
{
    const auto glass = makeGlass(1.0f);
    glass->setTransmission(color(0.5f, 0.25f, 1.0f));
    glass->setAttenuationDistance(0.4f);
    addSlab(glass, 0.7f);
    addLamp(-2.0f);
    for (const double degrees : {0.0, 30.0, 60.0}) {
        const double way = 0.7 / std::cos(radians(degrees));
        const znRTColorPacket seen = shade(slanting(0.3f, degrees)).color;
        EXPECT_NEAR(seen.r[0], std::pow(0.5, way / 0.4), 1e-5) << degrees;
        EXPECT_NEAR(seen.g[0], std::pow(0.25, way / 0.4), 1e-5) << degrees;
        EXPECT_NEAR(seen.b[0], 1.0, 1e-5) << degrees;
    }
}

// The record of a hit from inside holds the way to it.
TEST_F(Glass, EntersWhatTheWayToAHitLeaves)
{
    const auto glass = makeGlass(1.0f);
    glass->setTransmission(color(0.5f, 0.25f, 1.0f));
    glass->setAttenuationDistance(0.4f);
    const znRTMaterial& shading = addFace(glass, 0.0f, true);
    const znRTSurfaceProperties from = recordOf(shading, slanting(0.3f, 60.0, -0.2f));
    EXPECT_NEAR(colorOf(from, refractionGroup).g[0], std::pow(0.25, 0.4 / 0.4), 1e-5);
    EXPECT_NEAR(colorOf(recordOf(shading, slanting(0.3f, 60.0)), refractionGroup).g[0], 1.0f,
                1e-6f);
}

// A lamp in the middle of the glass is as deep below its surface as for shadow rays to there.
TEST_F(Glass, AbsorbsBeforeWhatIsEnclosed)
{
    const auto glass = makeGlass(1.0f);
    glass->setTransmission(color(0.5f, 0.25f, 1.0f));
    glass->setAttenuationDistance(0.4f);
    addSlab(glass, 0.8f);
    addLamp(-0.3f, 0.5f);
    EXPECT_NEAR(shade(slanting(0.3f, 0.0)).color.g[0], std::pow(0.25, 0.3 / 0.4), 1e-5);
}

TEST_F(Glass, AbsorbsTheLightOfShadowRays)
{
    const auto glass = makeGlass(1.0f);
    glass->setTransmission(color(0.5f, 0.25f, 1.0f));
    glass->setAttenuationDistance(0.4f);
    addSlab(glass, 0.7f);
    for (const double degrees : {0.0, 60.0}) {
        const double way = 0.7 / std::cos(radians(degrees));
        EXPECT_NEAR(shadowBelow(5.0f, 100.0f, degrees).r[0], std::pow(0.5, way / 0.4), 2e-5);
        EXPECT_NEAR(shadowBelow(5.0f, 100.0f, degrees).g[0], std::pow(0.25, way / 0.4), 2e-5);
    }
    // From inside the glass, half way up.
    EXPECT_NEAR(shadowBelow(-0.35f, 100.0f).g[0], std::pow(0.25, 0.35 / 0.4), 2e-5);
}

TEST_F(Glass, ColoursItsShadowOncePerSurface)
{
    const auto glass = makeGlass(1.0f);
    glass->setTransmission(color(0.5f, 0.25f, 1.0f));
    addFace(glass, 0.0f, true);
    const znRTColorPacket pane = shadowBelow(5.0f, 100.0f);
    EXPECT_LANES_NEAR(pane.r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-6f);
    EXPECT_NEAR(pane.g[0], 0.25f, 1e-6f);
    addFace(glass, -1.0f, false);
    EXPECT_NEAR(shadowBelow(5.0f, 100.0f).g[0], 0.0625f, 1e-6f);
}

// What is mirrored is missing, on both faces as seen from outside: beyond the critical angle of the
// straight ray too.
TEST_F(Glass, PassesNoLightToShadowsThatItMirrors)
{
    addSlab(makeGlass(1.5f), 0.5f);
    for (const double degrees : {0.0, 45.0, 75.0}) {
        const double passed = 1.0 - fresnel(degrees, 1.5);
        EXPECT_NEAR(shadowBelow(5.0f, 100.0f, degrees).g[0], passed * passed, 5e-5) << degrees;
    }
}

TEST_F(Glass, HidesLightOnRequestInStillFramesAlone)
{
    const auto opaque = makeGlass(1.5f), clear = makeGlass(1.0f);
    opaque->setColouredShadow(false);
    clear->setColouredShadow(false);
    clear->setTransmission(color(0.5f, 0.5f, 0.5f));
    const auto& shading = dynamic_cast<const znRTGlassMaterial&>(addFace(opaque, 0.0f, true));
    EXPECT_FALSE(shading.hasOpaqueShadow());
    EXPECT_NEAR(shadowBelow(5.0f, 100.0f).g[0], 0.96f, 1e-5f);
    beStill();
    EXPECT_TRUE(shading.hasOpaqueShadow());
    EXPECT_EQ(shadowBelow(5.0f, 100.0f).g[0], 0.0f);
    opaque->setColouredShadow(true);
    scene.scene->applyMaterialChanges();
    EXPECT_NEAR(shadowBelow(5.0f, 100.0f).g[0], 0.96f, 1e-5f);
    // A surface that bends nothing hides nothing.
    addFace(clear, -1.0f, true);
    const znRTRayDifferentialPacket down = slanting(0.3f, 0.0);
    const znRTColorPacket passed = znRTLight::getShadowFactor(
        down, {0.3f, 0.1f, -0.5f}, down.direction, 0.0f, 100.0f,
        znIntType<2>(int(rayType::lightShadow)), znFloatType<2>::allLanes(), 1.0f, stateOf(0));
    EXPECT_NEAR(passed.g[0], 0.5f, 1e-6f);
}

TEST_F(Glass, SeparatesColoursFromTheSmallestDispersionOn)
{
    const auto glass = makeGlass(1.5f);
    znRTGlassMaterial& shading = addSlab(glass, 1.0f);
    addLamp(-3.0f, 0.5f);
    const auto raysWith = [&](float dispersion) {
        glass->setDispersion(dispersion);
        scene.scene->applyMaterialChanges();
        return shading.getRefractedRays();
    };
    EXPECT_EQ(raysWith(0.1f), 1) << "interactive frames";
    beStill();
    EXPECT_EQ(raysWith(0.0f), 1);
    EXPECT_EQ(raysWith(1e-9f), 1);
    EXPECT_EQ(raysWith(0.1f), 3);
    // The index rises toward blue.
    for (const double degrees : {30.0, 60.0})
        for (int channel = 0; channel < 3; ++channel)
            expectEdge(degrees, channel, 1.4 + 0.1 * channel, 1.0, 3.0);
}

TEST_F(Glass, TakesItsIndicesFromASpectrumOfFortyBands)
{
    std::vector<float> bands(40);
    for (std::size_t i = 0; i < bands.size(); ++i)
        bands[i] = 1.6f - 0.005f * float(i);
    const auto glass = makeGlass(1.3f);
    znRTGlassMaterial& shading = addSlab(glass, 1.0f);
    addLamp(-3.0f, 0.5f);
    beStill();
    const auto shortSpectrum = spectrumOf({bands.begin(), bands.end() - 1});
    glass->setRefractionSpectrum(shortSpectrum.get());
    scene.scene->applyMaterialChanges();
    EXPECT_FALSE(shading.isDispersive());
    EXPECT_EQ(shading.getRefractedRays(), 1);
    expectEdge(30.0, 0, 1.3, 1.0, 3.0);
    const auto whole = spectrumOf(bands);
    glass->setRefractionSpectrum(whole.get());
    scene.scene->applyMaterialChanges();
    EXPECT_TRUE(shading.isDispersive());
    EXPECT_EQ(shading.getRefractedRays(), 3);
    // 610, 550 and 465 nm: bands 22.5, 16.5 and 8.
    constexpr double places[3] = {22.5, 16.5, 8.0};
    for (int channel = 0; channel < 3; ++channel)
        expectEdge(30.0, channel, 1.6 - 0.005 * places[channel], 1.0, 3.0);
}

// f0 = ((n - 1) / (n + 1))^2 of the spectrum's index: 1/9 for 2.
TEST_F(Glass, TakesItsReflectanceFromASpectrum)
{
    const auto glass = makeGlass(1.5f);
    const auto spectrum = spectrumOf(std::vector<float>(40, 2.0f));
    glass->setReflectanceSpectrum(spectrum.get());
    const znRTMaterial& shading = addFace(glass, 0.0f, true);
    EXPECT_NEAR(colorOf(recordOf(shading, slanting(0.3f, 0.0)), mirrorGroup).g[0], 1.0f / 9.0f,
                1e-5f);
    // Total reflection stays where the index has it.
    EXPECT_EQ(colorOf(recordOf(shading, slanting(0.3f, 60.0, -0.2f)), refractionGroup).g[0], 0.0f);
}

// All that is seen is white: nothing is lost but what is left out as too dark, nothing gained.
TEST_F(Glass, ShowsAWhiteWorldInABall)
{
    const TestMesh ball = makeSphere(24);
    std::vector<osg::Vec3f> positions;
    for (std::size_t i = 0; i < ball.positions.size(); i += 3)
        positions.push_back({ball.positions[i], ball.positions[i + 1], ball.positions[i + 2]});
    std::vector<u32> indices;
    for (const znRTTriangle& t : ball.triangles)
        indices.insert(indices.end(), {t.a, t.b, t.c});
    Settings::s_interactiveReflectionDepth = 64;
    znRTMaterial::updateStaticSettings();
    const auto glass = makeGlass(1.5f);
    glass->setDepthLimit(64);
    // Smooth normals: those of a ball are its places.
    addMesh(makeMesh(positions, indices, positions), glass);
    setBackground(1.0f);
    for (const float x : {0.05f, 0.3f, 0.6f, 0.85f, 0.97f}) {
        const znRTColorPacket seen =
            shade(downward({x, -0.7f * x, 0.5f * x, -x}, {0.02f, 0.3f * x, -0.6f * x, 0.05f}))
                .color;
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_GT(seen.g[lane], 0.99f) << x << " " << lane;
            EXPECT_LT(seen.g[lane], 1.0005f) << x << " " << lane;
        }
    }
}

TEST_F(Glass, EndsInTheSurroundingsAtItsDepthLimit)
{
    const auto glass = makeGlass(1.5f);
    znRTGlassMaterial& shading = addSlab(glass, 0.5f);
    addLamp(-2.0f);
    setBackground(0.25f);
    glass->setDepthLimit(0);
    scene.scene->applyMaterialChanges();
    EXPECT_NEAR(shade().color.g[0], 0.25f, 1e-5f);
    // One ray further the lower face is reached, and shows the surroundings.
    glass->setDepthLimit(1);
    scene.scene->applyMaterialChanges();
    EXPECT_NEAR(shade().color.g[0], 0.25f, 1e-5f);
    glass->setDepthLimit(2);
    scene.scene->applyMaterialChanges();
    EXPECT_GT(shade().color.g[0], 0.9f);
    // The frame's limit holds as well.
    Settings::s_interactiveReflectionDepth = 1;
    znRTMaterial::updateStaticSettings();
    scene.scene->updateMaterials();
    EXPECT_NEAR(shade().color.g[0], 0.25f, 1e-5f);
    EXPECT_EQ(shading.getSideness(), 3);
}

TEST_F(Glass, TreatsEachLaneByItself)
{
    for (const int finish : {0, 1}) {
        const auto glass = makeGlass(1.5f);
        glass->setFinish(finish);
        glass->setDispersion(0.05f);
        glass->setTransmission(color(0.9f, 0.8f, 0.7f));
        addSlab(glass, 0.5f);
        addLamp(-2.0f, 0.6f);
        setBackground(0.25f);
        beStill();
        constexpr double angles[4] = {0.0, 30.0, 60.0, 80.0};
        const znRTRayDifferentialPacket ray =
            slanting(znFloatType<2>(-0.4f, 0.3f, 0.5f, 0.0f), angles);
        const znRTColorPacket whole = shade(ray).color;
        for (const int mask : {3, 12, 1, 2, 4, 8, 5}) {
            const znRTColorPacket part = shade(ray, mask).color;
            for (int lane = 0; lane < 4; ++lane)
                for (int channel = 0; channel < 3; ++channel)
                    if (mask >> lane & 1) {
                        EXPECT_EQ(part[channel][lane], whole[channel][lane])
                            << finish << " " << mask << " " << lane;
                    }
        }
        scene.scene->clear();
        squares.clear();
    }
}

TEST_F(Glass, LeavesLanesOffTheMaskAlone)
{
    const znRTMaterial& shading = addFace(makeGlass(1.5f), 0.0f, true);
    setBackground(1.0f);
    const znRTRayDifferentialPacket ray = slanting(0.3f, 30.0);
    znRTDataBlockPacket data = blockOf(ray);
    znRTFragment fragment;
    fragment.colour = znRTColorPacket(7.0f);
    znRTShadingState state = stateOf(0);
    shading.shade(ray, data, fragment, expandLanes(5), state);
    EXPECT_LANES_NEAR(fragment.colour.g, 1.0f, 7.0f, 1.0f, 7.0f, 1e-5f);
}

// Layers hold what the picture holds, and the colour of the traced light is that of the record.
TEST_F(Glass, ShadesWithTheColoursOfItsRecord)
{
    const auto glass = makeGlass(1.5f);
    glass->setReflection(color(1.0f, 0.5f, 0.25f));
    glass->setTransmission(color(0.2f, 0.4f, 0.8f));
    const znRTMaterial& shading = addFace(glass, 0.0f, true);
    setBackground(0.5f);
    constexpr double angles[4] = {0.0, 45.0, 70.0, 85.0};
    const znRTRayDifferentialPacket ray = slanting(0.3f, angles);
    const znRTSurfaceProperties surface = recordOf(shading, ray);
    const Shaded seen = shade(ray);
    for (int channel = 0; channel < 3; ++channel)
        for (int lane = 0; lane < 4; ++lane) {
            const float both = colorOf(surface, mirrorGroup)[channel][lane] +
                               colorOf(surface, refractionGroup)[channel][lane];
            EXPECT_NEAR(seen.layer(ZN_PASS_SPECULAR_COLOR)[channel][lane], both, 1e-6f);
            EXPECT_NEAR(seen.layer(ZN_PASS_SPECULAR_REFLECTION)[channel][lane],
                        seen.color[channel][lane], 1e-6f);
            EXPECT_NEAR(seen.color[channel][lane], 0.5f * both, 1e-5f);
        }
}

TEST_F(Glass, EntersDeltaLobesOfItsLiveForm)
{
    const auto glass = makeGlass(1.5f);
    const znRTMaterial& shading = addFace(glass, 0.0f, true);
    const znRTSurfaceProperties clear = recordOf(shading, slanting(0.3f, 20.0));
    EXPECT_EQ(clear.groups[1].count, 0u);
    ASSERT_EQ(clear.groups[refractionGroup].count, 1u);
    EXPECT_EQ(moveMask(clear.groups[refractionGroup].slots[0].deltaMask), 15);
    glass->setFinish(1);
    scene.scene->applyMaterialChanges();
    const znRTSurfaceProperties frosted = recordOf(shading, slanting(0.3f, 20.0));
    EXPECT_EQ(frosted.groups[1].count, 1u);
    EXPECT_EQ(frosted.groups[roughGroup].count, 1u);
    EXPECT_EQ(frosted.groups[refractionGroup].count, 0u);
    EXPECT_EQ(frosted.groups[roughGroup].slots[0].lobe->getOutRayMask(),
              rayType::specularRefraction);
}

TEST_F(Glass, LeavesVolumesToTheirMedium)
{
    const auto host = osg::UVolumeScatterMaterial::create();
    host->setScatterCoefficient(0.5f);
    host->setAnisotropy(0.25f);
    const auto& volume =
        static_cast<znRTVolumeScatterMaterial&>(addMesh(makeSquare(), osg::MaterialPtr(host)));
    EXPECT_TRUE(volume.isParticipatingMedia());
    EXPECT_EQ(volume.getScatterCoefficient(), 0.5f);
    EXPECT_EQ(volume.getAnisotropy(), 0.25f);
    addLamp(-1.0f);
    // Its surface is not seen, and throws no shadow.
    EXPECT_LANES_NEAR(shade().color.g, 1.0f, 1.0f, 1.0f, 1.0f, 1e-6f);
    EXPECT_EQ(shadowBelow(5.0f, 5.5f).g[0], 1.0f);
    // It is entered from the front and left at the back. Rays find media by their nodes: the block
    // is that of another surface.
    addFace(makeGlass(1.0f), 0.0f, true);
    for (const bool isEntered : {true, false}) {
        const znRTRayDifferentialPacket ray = slanting(0.3f, 0.0, isEntered ? 2.0f : -0.5f);
        znRTDataBlockPacket data = blockOf(ray);
        data.volumeEntry = data.volumeExit = znFloatType<2>(-1.0f);
        znRTFragment fragment;
        fragment.clear();
        znRTShadingState state = stateOf(0);
        volume.shade(ray, data, fragment, znFloatType<2>::allLanes(), state);
        EXPECT_NEAR(data.volumeEntry[0], isEntered ? 2.0f : -1.0f, 1e-5f);
        EXPECT_NEAR(data.volumeExit[0], isEntered ? -1.0f : 0.5f, 1e-5f);
    }
}
