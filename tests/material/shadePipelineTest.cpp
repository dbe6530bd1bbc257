#include "material/shadePipeline.h"
#include "materialFixture.h"

#include "brdf/analytic/znRTPassThroughBTDF.h"
#include "core/rayTypes.h"
#include "host/osg/UTextureSettings.h"
#include "host/znRenderPasses.h"

using namespace materialTest;

namespace {

class ShadePipeline : public MaterialTest
{
protected:
    static osg::ColorComponent color(float r, float g, float b)
    {
        return osg::ColorComponent(osg::Vec3f(r, g, b));
    }
    /// Lets what is behind a surface be seen against a known background.
    void setBackground(float value)
    {
        znRTRenderUtils::s_backgroundColor = {value, value, value, 0.0f};
    }
    ~ShadePipeline() override { setBackground(0.0f); }

    double meanOfSamples(int samples, int channel, bool alpha = false)
    {
        double sum = 0.0;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket c = shade(0.2f, 0.1f, 15, i).color;
            for (int lane = 0; lane < 4; ++lane)
                sum += double(alpha ? c.a[lane] : c[channel][lane]);
        }
        return sum / (4.0 * samples);
    }
};

} // namespace

TEST_F(ShadePipeline, MixesWhatIsBehindByTheOpacity)
{
    const PhongPtr material = makeDiffuse(0.8f);
    material->setTransparencyColor(gray(0.75f));
    addSquare(material);
    addSun();
    setBackground(2.0f);
    const znRTColorPacket seen = shade().color;
    EXPECT_LANES_NEAR(seen.r, 1.7f, 1.7f, 1.7f, 1.7f, 1e-5f); // 0.25 * 0.8 + 0.75 * 2
    EXPECT_LANES_NEAR(seen.a, 0.25f, 0.25f, 0.25f, 0.25f, 1e-6f);
}

TEST_F(ShadePipeline, ShowsNothingOfASurfaceWithoutOpacity)
{
    const PhongPtr material = makeDiffuse(0.8f);
    material->setTransparencyColor(gray(1.0f));
    addSquare(material);
    addSun();
    setBackground(2.0f);
    // Its objects are not met by rays at all; the material alone is asked here.
    znRTMaterial* const shading = scene.scene->getMaterial(material);
    EXPECT_EQ(shading->getVisibility(), 0);
    material->setIncandescenceActive(true);
    material->setIncandescence(gray(7.0f));
    scene.scene->applyMaterialChanges();
    EXPECT_EQ(u32(shading->getVisibility()), rayType::defaultVisibility);
    const znRTColorPacket seen = shade().color;
    EXPECT_LANES_NEAR(seen.r, 2.0f, 2.0f, 2.0f, 2.0f, 1e-6f);
    EXPECT_LANES_EQ(seen.a, 0, 0, 0, 0);
}

// Two panes by chance: each passes a half, so that a quarter of the background is seen; the mean of
// the table's points over 4096 samples is good to a thousandth.
TEST_F(ShadePipeline, DecidesByChanceInStochasticPaths)
{
    setIllumination(2, 1);
    const PhongPtr pane = makeDiffuse(0.0f);
    pane->setTransparencyColor(gray(0.5f));
    addSquare(pane, 1.0f);
    addSquare(pane, 0.0f);
    setBackground(1.0f);
    EXPECT_NEAR(meanOfSamples(1024, 0), 0.25, 2e-3);
    EXPECT_NEAR(meanOfSamples(1024, 3, true), 0.75, 2e-3);
    const znRTColorPacket one = shade(0.2f, 0.1f, 15, 5).color;
    for (int lane = 0; lane < 4; ++lane)
        EXPECT_TRUE(one.a[lane] == 1.0f || std::abs(one.a[lane] - 0.5f) < 1e-6f) << one.a[lane];
}

TEST_F(ShadePipeline, LeavesTheWayBehindToRaysThatGoOnThemselves)
{
    setIllumination(2, 1);
    const PhongPtr pane = makeDiffuse(0.6f);
    pane->setTransparencyColor(gray(0.75f));
    addSquare(pane);
    addSun();
    setBackground(5.0f);
    znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    ray.type = znIntType<2>(int(rayType::camera | rayType::passThrough));
    const znRTColorPacket seen = shade(ray).color;
    EXPECT_LANES_NEAR(seen.r, 0.6f, 0.6f, 0.6f, 0.6f, 1e-5f); // straight, without background
    EXPECT_LANES_NEAR(seen.a, 0.25f, 0.25f, 0.25f, 0.25f, 1e-6f);
}

TEST_F(ShadePipeline, ShowsEmissionToCameraAndMirrorRaysAlone)
{
    const PhongPtr material = makeDiffuse(0.5f);
    material->setIncandescence(color(1.0f, 2.0f, 3.0f));
    material->setIncandescenceActive(true);
    EXPECT_TRUE(addSquare(material).isLightSource());
    znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    ray.type = znIntType<2>(int(rayType::camera), int(rayType::diffuseScatter),
                            int(rayType::mirrorReflection), int(rayType::glossyReflection));
    const Shaded seen = shade(ray);
    EXPECT_LANES_NEAR(seen.color.b, 3, 0, 3, 0, 1e-6f);
    EXPECT_LANES_NEAR(seen.layer(ZN_PASS_INCANDESCENCE).g, 2, 0, 2, 0, 1e-6f);
    material->setIncandescence(gray(1e-7f));
    scene.scene->applyMaterialChanges();
    EXPECT_FALSE(scene.scene->getMaterial(material)->isLightSource());
}

// A lamp shows intensity times colour, and lights a point that faces its middle by the form factor
// of its square: four times that of a corner, J. Howell, "A Catalog of Radiation Heat Transfer
// Configuration Factors", B-3, with equal edges a = half edge / distance:
// F = (a / sqrt(1 + a^2) atan(a / sqrt(1 + a^2))) / pi.
TEST_F(ShadePipeline, ShowsLampsAndLightsByThem)
{
    const auto lamp = osg::ULightMaterial::create();
    lamp->setEmissiveComponent(color(1.0f, 0.5f, 0.25f));
    lamp->setIntensity(4.0f);
    addSquare(makeDiffuse(1.0f), 0.0f);
    znRTMaterial& shading = addSquare(lamp, 2.0f);
    EXPECT_TRUE(shading.isLightSource());
    EXPECT_LANES_NEAR(shade().color.g, 2, 2, 2, 2, 1e-6f);

    scene.scene->updateGeometryLights();
    znRTRenderUtils::updateLightDistribution(true);
    ASSERT_EQ(znRTRenderUtils::getLights().size, 1u);
    const double a = 0.5, root = std::sqrt(1.0 + a * a);
    const double factor = 4.0 * (a / root) * std::atan(a / root) / testPi;
    const znRTRayDifferentialPacket ray(znRTRayPacket(
        {1e-3f, 2e-3f, 1.0f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f))); // below the lamp
    double sum = 0.0;
    constexpr int samples = 1024;
    for (int i = 0; i < samples; ++i)
        sum += double(shade(ray, 15, i).color.r[1]);
    EXPECT_NEAR(sum / samples, 4.0 * factor, 0.01 * 4.0 * factor);
}

TEST_F(ShadePipeline, GivesLayersThatAddUpToThePicture)
{
    const PhongPtr material = makeDiffuse(0.5f);
    material->setGlossy(gray(0.2f));
    material->setIncandescence(gray(0.3f));
    material->setIncandescenceActive(true);
    addSquare(material);
    addSun(15.0);
    const Shaded seen = shade();
    double sum = 0.0;
    for (const int pass :
         {ZN_PASS_DIFFUSE_IBL, ZN_PASS_DIFFUSE_LIGHT, ZN_PASS_DIFFUSE_INDIRECT, ZN_PASS_GLOSSY_IBL,
          ZN_PASS_GLOSSY_LIGHT, ZN_PASS_GLOSSY_INDIRECT, ZN_PASS_SPECULAR_REFLECTION,
          ZN_PASS_TRANSLUCENCY, ZN_PASS_INCANDESCENCE})
        sum += double(seen.layer(pass).r[1]);
    EXPECT_NEAR(seen.color.r[1], sum, 1e-5);
    EXPECT_GT(seen.layer(ZN_PASS_GLOSSY_LIGHT).r[1], 0.01f);
    for (int channel = 0; channel < 4; ++channel)
        EXPECT_EQ(moveMask(seen.color[channel] == seen.layers.colour[channel]), 15);
}

// Which terms are on: no direct light in modes 1 and 3.
TEST_F(ShadePipeline, FollowsTheLightingMode)
{
    const PhongPtr material = makeDiffuse(0.5f);
    addSquare(material);
    addSun();
    const bool isLit[] = {true, false, true, false, true};
    for (int mode = 0; mode < 5; ++mode) {
        material->setLightingMode(mode);
        scene.scene->applyMaterialChanges();
        EXPECT_EQ(shade().color.r[0] > 0.0f, isLit[mode]) << mode;
    }
}

// Baked lanes show their colour once, others the baked irradiance; the ambient colour tints it.
TEST_F(ShadePipeline, ShowsBakedLightOnce)
{
    setIllumination(0, 0);
    Settings::s_interactiveQuality = 0;
    const PhongPtr material = makeDiffuse(0.5f);
    material->setAmbient(gray(0.5f));
    znRTMaterial& shading = addSquare(material);
    const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data = blockOf(ray);
    data.bakedColor = {3.0f, 3.0f, 3.0f, expandLanes(3)};
    data.bakedIrradiance = {8.0f, 8.0f, 8.0f, 0.0f};
    znRTFragment fragment;
    fragment.clear();
    znRTShadingState state = stateOf(0);
    shading.shade(ray, data, fragment, znFloatType<2>::allLanes(), state);
    EXPECT_LANES_NEAR(fragment.colour.r, 1.5f, 1.5f, 2.0f, 2.0f, 1e-5f);
}

// Four rays together, two and two, and each alone: bit for bit the same.
TEST_F(ShadePipeline, TreatsEachLaneByItself)
{
    setIllumination(2, 1);
    const PhongPtr material = makeDiffuse(0.5f);
    material->setGlossy(gray(0.2f));
    material->setTransparencyColor(gray(0.4f));
    addSquare(material);
    for (int i = 0; i < 6; ++i)
        addSun(12.0 * i);
    setBackground(0.7f);
    const znFloatType<2> x(-0.9f, -0.2f, 0.3f, 0.8f), y(0.1f, 0.5f, -0.4f, -0.7f);
    const znRTColorPacket whole = shade(x, y, 15, 9).color;
    for (const int mask : {3, 12, 1, 2, 4, 8, 5}) {
        const znRTColorPacket part = shade(x, y, mask, 9).color;
        for (int lane = 0; lane < 4; ++lane)
            for (int channel = 0; channel < 4; ++channel)
                if (mask >> lane & 1) {
                    EXPECT_EQ(part[channel][lane], whole[channel][lane]) << mask << " " << lane;
                }
    }
}

// The record of lobes is what the shade showed: light from the record's lobes, drawn or not, is the
// layer of the shade.
TEST_F(ShadePipeline, EntersTheLobesThatItShadesWith)
{
    const auto material = osg::UPlasticMaterial::create();
    material->setDiffuse(color(0.5f, 0.4f, 0.3f));
    material->setGlossy(color(0.9f, 0.8f, 0.7f));
    material->setRoughness(0.4f);
    material->setTransparencyColor(gray(0.25f));
    znRTMaterial& shading = addSquare(material);
    addSun(25.0);
    const znRTRayDifferentialPacket above = downward(0.2f, 0.1f);
    znRTRayDifferentialPacket ray = above;
    const Shaded seen = shade(ray);

    znRTDataBlockPacket data = blockOf(ray);
    znRTSurfaceProperties surface;
    surface.reset();
    znRTShadingState state = stateOf(0);
    const znFloatType<2> mask = expandLanes(7);
    shading.evaluateMaterial(ray, data, surface, mask, state, -1, znRTMaterial::gather);
    EXPECT_EQ(moveMask(surface.activeMask), 7);
    const float s = float(std::sin(25.0 * testPi / 180.0));
    const znRTVector3fPacket wi = inAllLanes(s, 0, std::sqrt(1.0f - s * s));
    const int layers[2] = {ZN_PASS_DIFFUSE_LIGHT, ZN_PASS_GLOSSY_LIGHT};
    for (int group = 0; group < 2; ++group) {
        ASSERT_EQ(surface.groups[group].count, 1u);
        const auto& slot = surface.groups[group].slots[0];
        const znRTONB& onb = surface.groups[group].onb;
        EXPECT_EQ(moveMask(slot.mask), 7);
        EXPECT_LANES_NEAR(slot.weight & mask, 0.75f, 0.75f, 0.75f, 0.0f, 1e-6f);
        znFloatType<2> pdf;
        const znRTColorPacket value =
            slot.lobe->evaluate(onb.toLocal(-ray.direction), onb.toLocal(wi), data.dg, pdf) *
            slot.color;
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(value[channel][0] * wi.z[0] * testPi * slot.weight[0],
                        seen.layer(layers[group])[channel][0], 1e-5);
    }
    ASSERT_EQ(surface.groups[2].count, 1u); // what goes straight on
    EXPECT_LANES_NEAR(surface.groups[2].slots[0].color.r & mask, 0.25f, 0.25f, 0.25f, 0.0f, 1e-6f);
    surface.reset();
    shading.evaluateMaterial(ray, data, surface, mask, state, -1, znRTMaterial::emissionOnly);
    EXPECT_EQ(moveMask(surface.activeMask), 0);
}

TEST_F(ShadePipeline, PreviewsByThePlainColors)
{
    const PhongPtr material = makeDiffuse(0.5f);
    material->setAnalyticTransparency(0.5f);
    znRTMaterial& shading = addSquare(material);
    addSun(60.0);
    setBackground(1.0f);
    const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data = blockOf(ray);
    for (const float transparency : {0.0f, 0.5f, 1.0f}) {
        material->setAnalyticTransparency(transparency);
        shading.update();
        znRTFragment fragment;
        fragment.clear();
        znRTShadingState state = stateOf(0);
        shading.shadeAnalytic(ray, data, fragment, znFloatType<2>::allLanes(), state);
        const float expected = 0.25f * (1.0f - transparency) + transparency;
        EXPECT_LANES_NEAR(fragment.colour.g, expected, expected, expected, expected, 1e-4f);
    }
}

// Slopes as of a normal map; the sun is straight above: the cosine is that of the bent normal.
TEST_F(ShadePipeline, PreviewsBumpsAndTheLightingMode)
{
    const osg::Ref<osg::Image> image = osg::Image::create();
    std::vector<u8> texels = {204, 128, 230, 204, 128, 230, 204, 128, 230, 204, 128, 230};
    ASSERT_TRUE(image->take(osg::Image::RGB, 2, 2, std::move(texels), osg::Image::UInt8));
    const osg::Ref<osg::UTextureSettings> texture(osg::UTextureSettings::create());
    texture->setImage(image.get());
    texture->setIsActive(true);
    texture->setGamma(1.0f);
    const PhongPtr material = makeDiffuse(0.5f);
    material->setBumpTexture(texture.get());
    material->setBumpKind(1);
    znRTMaterial& shading = addSquare(material);
    addSun();
    const auto preview = [&] {
        const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
        znRTDataBlockPacket data = blockOf(ray);
        znRTFragment fragment;
        fragment.clear();
        znRTShadingState state = stateOf(0);
        shading.shadeAnalytic(ray, data, fragment, znFloatType<2>::allLanes(), state);
        return fragment.colour.g;
    };
    const double x = 2.0 * 204.0 / 255.0 - 1.0, y = 2.0 * 128.0 / 255.0 - 1.0,
                 z = 2.0 * 230.0 / 255.0 - 1.0;
    const float expected = float(0.5 * z / std::sqrt(x * x + y * y + z * z));
    EXPECT_LANES_NEAR(preview(), expected, expected, expected, expected, 1e-4f);
    material->setLightingMode(1); // no direct light
    scene.scene->applyMaterialChanges();
    EXPECT_LANES_EQ(preview(), 0, 0, 0, 0);
}

// Panes of a half in a row: the chances of three are independent of each other.
TEST_F(ShadePipeline, DecidesForEachOfThreePanesByItself)
{
    setIllumination(2, 1);
    const PhongPtr pane = makeDiffuse(0.0f);
    pane->setTransparencyColor(gray(0.5f));
    for (const float height : {0.0f, 1.0f, 2.0f})
        addSquare(pane, height);
    setBackground(1.0f);
    EXPECT_NEAR(meanOfSamples(2048, 0), 0.125, 2e-3);
}
