#include "render/znRTMultilayerFragment.h"

#include "render/fragmentFixture.h"

#include <limits>
#include <random>
#include <string>

namespace {

const float notANumber = std::numeric_limits<float>::quiet_NaN();

/// Layers that add up to the beauty.
const znRenderPass sumLayers[] = {ZN_PASS_DIFFUSE_IBL,
                                  ZN_PASS_DIFFUSE_LIGHT,
                                  ZN_PASS_GLOSSY_IBL,
                                  ZN_PASS_GLOSSY_LIGHT,
                                  ZN_PASS_SPECULAR_REFLECTION,
                                  ZN_PASS_TRANSLUCENCY,
                                  ZN_PASS_INCANDESCENCE,
                                  ZN_PASS_DIFFUSE_INDIRECT,
                                  ZN_PASS_GLOSSY_INDIRECT,
                                  ZN_PASS_BACKGROUND_COLOR,
                                  ZN_PASS_FOG};

using Update = void (znRTFragment::*)(const znRTRayDifferentialPacket&, znRTDataBlockPacket&,
                                      const znRTColorPacket*, const znRTLightTerms&,
                                      znRTShadingState&, const znRTThroughput&,
                                      const znFloatType<2>&);
/// Lobes of an update by the letters of its name.
const std::pair<Update, const char*> updates[] = {
    {&znRTFragment::updateD, "D"},     {&znRTFragment::updateG, "G"},
    {&znRTFragment::updateS, "S"},     {&znRTFragment::updateDG, "DG"},
    {&znRTFragment::updateDS, "DS"},   {&znRTFragment::updateDGS, "DGS"},
    {&znRTFragment::updateDGT, "DGT"}, {&znRTFragment::updateDGST, "DGST"},
    {&znRTFragment::updateDST, "DST"}};

znFloatType<2> randomLanes(std::mt19937& engine)
{
    std::uniform_real_distribution<float> value(0.0f, 2.0f);
    const float a = value(engine), b = value(engine), c = value(engine), d = value(engine);
    return {a, b, c, d};
}

znRTColorPacket randomColor(std::mt19937& engine)
{
    const znFloatType<2> r = randomLanes(engine), g = randomLanes(engine), b = randomLanes(engine);
    return {r, g, b, randomLanes(engine)};
}

void expectLanes(const znFloatType<2>& actual, const znFloatType<2>& expected, float tolerance)
{
    EXPECT_LANES_NEAR(actual, expected[0], expected[1], expected[2], expected[3], tolerance);
}

void expectRGB(const znRTColorPacket& actual, const znRTColorPacket& expected, float tolerance)
{
    for (int channel = 0; channel < 3; ++channel)
        expectLanes(actual[channel], expected[channel], tolerance);
}

void expectValue(const znRTColorPacket& actual, float r, float g, float b, float a,
                 float tolerance = 1e-6f)
{
    EXPECT_LANES_NEAR(actual.r, r, r, r, r, tolerance);
    EXPECT_LANES_NEAR(actual.g, g, g, g, g, tolerance);
    EXPECT_LANES_NEAR(actual.b, b, b, b, b, tolerance);
    EXPECT_LANES_NEAR(actual.a, a, a, a, a, tolerance);
}

void expectSameBits(const znRTColorPacket& x, const znRTColorPacket& y)
{
    for (int channel = 0; channel < 4; ++channel)
        expectLanes(x[channel], y[channel], 0.0f);
}

/// Ready layers, each with a colour that tells its number.
znRTMultilayerFragment numbered(float alpha)
{
    znRTMultilayerFragment f;
    f.clear();
    for (u32 i = 0; i < znRenderPassCount; ++i)
        f.layers[i] = znRTColorPacket(znRTColor(float(i + 1), 2.0f * float(i + 1), 0.5f, alpha));
    f.colour = f.layers[ZN_PASS_BEAUTY];
    f.coverage = znFloatType<2>(1.0f);
    return f;
}

/// A pane with four lobes under three kinds of light.
class LobeMaterial : public znRTMaterial
{
public:
    LobeMaterial(unsigned seed, float paneAlpha)
        : znRTMaterial(paneTypeId, nullptr), alpha(paneAlpha)
    {
        std::mt19937 engine(seed);
        for (auto* terms : {surface, ibl, light, indirect})
            for (int i = 0; i < 4; ++i)
                terms[i] = znRTColorPacket(znRTColor(randomColor(engine).getComponent(0)));
        surface[surfaceEmission] = znRTColorPacket(znRTColor(0.1f, 0.0f, 0.2f, 0.0f));
        surface[surfaceTransparency] = znRTColorPacket(znRTColor(0.9f, 0.8f, 0.7f, 0.0f));
    }
    znRTMaterial* getDuplicate() const override { return new LobeMaterial(*this); }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        znRTThroughput throughput;
        throughput.surfaceAlpha = znFloatType<2>(alpha);
        if (alpha < 1.0f)
            throughput.hitLanes = mask;
        fragment.updateDGST(ray, data, surface, {ibl, light, indirect}, state, throughput, mask);
    }
    void setId(float r, float g, float b)
    {
        materialIDColor[0] = r;
        materialIDColor[1] = g;
        materialIDColor[2] = b;
    }

    float alpha;
    znRTColorPacket surface[surfaceTermCount], ibl[4], light[4], indirect[4];
};

class MultilayerFragment : public FragmentFixture
{
protected:
    MultilayerFragment() : engine(7)
    {
        layered.clear();
        layered.coverage = znFloatType<2>(1.0f);
        for (auto* terms : {ibl, light, indirect})
            for (int i = 0; i < 4; ++i)
                terms[i] = randomColor(engine);
        for (znRTColorPacket& term : surface)
            term = randomColor(engine);
        makeBlock();
    }

    /// What an update with some lobes shall leave in a layer, from the layer's name.
    znRTColorPacket expected(const std::string& name, const std::string& lobes) const
    {
        const znRTColorPacket black(0.0f);
        const auto lobeOf = [&](const std::string& word) {
            const std::string names[] = {"diffuse", "glossy", "specular", "translucency"};
            for (int i = 0; i < 4; ++i)
                if (word == names[i])
                    return lobes.find("DGST"[i]) == std::string::npos ? -1 : i;
            return -1;
        };
        const std::size_t first = name.find('_'), last = name.rfind('_');
        const int lobe = lobeOf(name.substr(0, first));
        if (name == "incandescence")
            return surface[surfaceEmission];
        if (name == "transparency_color")
            return surface[surfaceTransparency];
        if (lobe < 0)
            return black;
        const auto lightOf = [&](const std::string& kind) -> const znRTColorPacket* {
            return kind == "ibl" ? ibl : kind == "light" ? light : indirect;
        };
        if (name == "translucency" || name == "specular_reflection")
            return (ibl[lobe] + light[lobe] + indirect[lobe]) * surface[lobe];
        const std::string tail = name.substr(last + 1);
        if (tail == "color")
            return surface[lobe];
        if (tail == "illumination")
            return lightOf(name.substr(first + 1, last - first - 1))[lobe];
        return lightOf(tail)[lobe] * surface[lobe];
    }
    znRTColorPacket sumOfLayers() const
    {
        znRTColorPacket sum(0.0f);
        for (const znRenderPass i : sumLayers)
            sum += layered.layers[i];
        return sum;
    }
    znRTMesh& addPane(znRTMaterial& material, float z)
    {
        const osg::NodePtr node = scene.add(makeSquare().get(), makeTranslation(0.0f, 0.0f, z));
        scene.mesh(node).setMaterial(&material);
        scene.build();
        return scene.mesh(node);
    }

    std::mt19937 engine;
    znRTMultilayerFragment layered;
};

} // namespace

// The names of the layers say what is in them: lobe and light, the lobe's colour, the light alone.
TEST_F(MultilayerFragment, FindsWhatALaneHoldsSoThatClearingThatIsEnough)
{
    znRTMultilayerFragment used;
    used.clear();
    EXPECT_EQ(used.findUsedLayers(), 0u);
    for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
        used.layers[i][int(i % 4)].set(int(i / 4 % 4), i % 2 ? notANumber : 1e-30f);
        EXPECT_EQ(used.findUsedLayers(), u64(1) << i);
        used.clear(used.findUsedLayers());
        EXPECT_EQ(used.findUsedLayers(), 0u);
    }
    used.colour.g = znFloatType<2>(1.0f);
    EXPECT_EQ(used.findUsedLayers(), u64(1) << ZN_PASS_BEAUTY);
    used.clear(0);
    EXPECT_EQ(used.findUsedLayers(), 0u) << "the colour is always cleared";
}

TEST_F(MultilayerFragment, KeepsEveryTermInTheLayerNamedAfterIt)
{
    for (const auto& [update, lobes] : updates) {
        SCOPED_TRACE(lobes);
        layered.clear();
        (layered.*update)(ray, block, surface, terms, state, throughput, all);
        for (u32 i = ZN_PASS_DIFFUSE_IBL; i < ZN_PASS_FOG; ++i) {
            SCOPED_TRACE(znRenderPassNames[i]);
            expectRGB(layered.layers[i], expected(znRenderPassNames[i], lobes), 1e-6f);
            EXPECT_LANES_EQ(layered.layers[i].a, 1, 1, 1, 1);
        }
        expectRGB(sumOfLayers(), layered.colour, 1e-5f);
    }
}

TEST_F(MultilayerFragment, HasTheBeautyOfThePlainFragment)
{
    LobeMaterial near(1, 0.3f), far(2, 1.0f);
    addPane(near, -1.0f);
    addPane(far, -2.0f);
    surface[surfaceTransparency].a = znFloatType<2>(0.0f, 0.5f, 1.0f, 0.25f);
    znRTThroughput blended;
    blended.surfaceAlpha = znFloatType<2>(0.0f, 0.25f, 0.5f, 1.0f);
    blended.cutoutAlpha = znFloatType<2>(1.0f, 0.5f, 1.0f, 0.0f);
    blended.hitLanes = expandLanes(14);
    znRTThroughput byChance = blended;
    byChance.blend = expandLanes(5);
    byChance.hitLanes = expandLanes(10);
    znRTGlassTerms glass;
    for (znRTColorPacket* term : {&glass.traced, &glass.tracedColor, &glass.glossyColor,
                                  &glass.direct, &glass.environment, &glass.emission})
        *term = randomColor(engine);
    for (const znRTThroughput& through : {throughput, blended, byChance})
        for (const znFloatType<2>& mask : {all, expandLanes(6)}) {
            const auto compare = [&](auto&& update) {
                fragment.clear();
                layered.clear();
                update(static_cast<znRTFragment&>(fragment));
                update(static_cast<znRTFragment&>(layered));
                expectSameBits(layered.colour, fragment.colour);
                expectSameBits(layered.layers[ZN_PASS_BEAUTY], fragment.colour);
                expectRGB(sumOfLayers(), layered.colour, 2e-5f);
            };
            for (const auto& entry : updates)
                compare([&](znRTFragment& f) {
                    (f.*entry.first)(ray, block, surface, terms, state, through, mask);
                });
            compare([&](znRTFragment& f) {
                f.updateToColor(ray, block, ibl[0], surface[5], state, through, mask);
            });
            compare([&](znRTFragment& f) {
                f.updateGlass(ray, block, glass, surface[5], state, through, mask);
            });
            compare([&](znRTFragment& f) {
                f.updateFrostedGlass(ray, block, glass, surface[5], state, through, mask);
            });
            compare([&](znRTFragment& f) {
                f.updateDiffuseColor(nullptr, ray, block, ibl[0], ibl[0].a, mask);
            });
            compare([&](znRTFragment& f) {
                f.updateBackgroundColor(nullptr, ray, block, ibl[0], ibl[0].a, mask);
            });
        }
}

// A pane of 0.25 opacity and tint (.9, .8, .7) shows 0.75 of the tinted wall behind it, in every
// layer of terms and light; colours of lobes are not tinted.
TEST_F(MultilayerFragment, MixesWhatLiesBehindLayerByLayer)
{
    LobeMaterial wall(3, 1.0f);
    addPane(wall, -1.0f);
    surface[surfaceTransparency] = znRTColorPacket(znRTColor(0.9f, 0.8f, 0.7f, 0.0f));
    throughput.surfaceAlpha = znFloatType<2>(0.25f);
    throughput.hitLanes = all;
    layered.updateOcclusionColor(znRTColorPacket(znRTColor(0.8f, 0.8f, 0.8f, 1.0f)), all);
    layered.updateDGST(ray, block, surface, terms, state, throughput, all);

    znRTMultilayerFragment alone;
    alone.clear();
    alone.updateDGST(ray, block, wall.surface, {wall.ibl, wall.light, wall.indirect}, state,
                     znRTThroughput(), all);
    for (u32 i = ZN_PASS_DIFFUSE_IBL; i < ZN_PASS_FOG; ++i) {
        SCOPED_TRACE(znRenderPassNames[i]);
        const bool isColor = i >= ZN_PASS_DIFFUSE_COLOR && i <= ZN_PASS_TRANSPARENCY_COLOR;
        const znRTColor tint = isColor ? znRTColor(1, 1, 1, 1) : znRTColor(0.9f, 0.8f, 0.7f, 1);
        const znRTColorPacket own = expected(znRenderPassNames[i], "DGST");
        expectRGB(layered.layers[i], own * 0.25f + alone.layers[i] * znRTColorPacket(tint) * 0.75f,
                  2e-6f);
        EXPECT_LANES_NEAR(layered.layers[i].a, 1, 1, 1, 1, 1e-6f);
    }
    expectValue(layered.layers[ZN_PASS_OCCLUSION], 0.2f, 0.2f, 0.2f, 1.0f);
    expectValue(layered.layers[ZN_PASS_MASK], 1, 1, 1, 1);
}

// n panes of opacity a: (1 - a)^n of the background comes through, in the layer of that name.
TEST_F(MultilayerFragment, SeesTheBackgroundThroughStacksOfPanes)
{
    PaneMaterial pane(znRTColor(1.0f, 0.5f, 0.0f), 0.1f);
    addPanes(64, pane);
    makeBlock();
    znRTMultilayerFragment seen;
    znRTMultilayerFragment::computePassThroughColor(ray, block, 1.0f, expandLanes(7), state, seen);
    const float left = std::pow(0.9f, 64.0f);
    EXPECT_LANES_NEAR(seen.layers[ZN_PASS_BACKGROUND_COLOR].r, 0.2f * left, 0.2f * left,
                      0.2f * left, 0.0f, 1e-6f);
    EXPECT_LANES_NEAR(seen.layers[ZN_PASS_INCANDESCENCE].g, 0.5f * (1 - left), 0.5f * (1 - left),
                      0.5f * (1 - left), 0.0f, 1e-5f);
    EXPECT_LANES_NEAR(seen.layers[ZN_PASS_INCANDESCENCE].a, 1 - left, 1 - left, 1 - left, 0.0f,
                      1e-5f);
    EXPECT_LANES_NEAR(seen.layers[ZN_PASS_MASK].g, 1 - left, 1 - left, 1 - left, 0.0f, 1e-5f);
    EXPECT_LANES_EQ(seen.layers[ZN_PASS_MASK].a, 1, 1, 1, 0);
    expectSameBits(seen.colour,
                   znRTFragment::getPassThroughColor(ray, block, 1.0f, expandLanes(7), state));
    EXPECT_LANES_EQ(seen.layers[ZN_PASS_POSITION].b, -1, -1, -1, 0);
}

TEST_F(MultilayerFragment, StartsNoRayForOpaqueSurfacesOrBehindOne)
{
    PaneMaterial pane(znRTColor(1.0f, 0.0f, 0.0f), 0.5f);
    addPanes(1, pane);
    makeBlock();
    znRTGlassTerms glass{};
    const auto updateAll = [&] {
        for (const auto& entry : updates)
            (layered.*entry.first)(ray, block, surface, terms, state, throughput, all);
        layered.updateToColor(ray, block, ibl[0], surface[5], state, throughput, all);
        layered.updateGlass(ray, block, glass, surface[5], state, throughput, all);
        layered.updateFrostedGlass(ray, block, glass, surface[5], state, throughput, all);
    };
    updateAll();
    throughput.surfaceAlpha = znFloatType<2>(0.3f);
    throughput.hitLanes = all;
    for (u32 flag : {rayType::passThroughLeft, rayType::passThroughRight}) {
        ray.type = znIntType<2>(int(rayType::cameraLeft | flag));
        updateAll();
        EXPECT_LANES_EQ(layered.colour.a, 0.3f, 0.3f, 0.3f, 0.3f);
        EXPECT_LANES_EQ(layered.layers[ZN_PASS_DIFFUSE_IBL].a, 0.3f, 0.3f, 0.3f, 0.3f);
    }
    EXPECT_EQ(pane.shadeCount, 0);
}

TEST_F(MultilayerFragment, ShowsTheVectorsOfTheHit)
{
    LobeMaterial material(4, 1.0f);
    material.setId(0.25f, 0.5f, 0.75f);
    block.clearMaterials();
    block.addMaterial(&material, 7);
    block.dg.shadingNormal = znRTVector3fPacket(0.6f, 0.0f, 0.8f);
    const znMatrix4x4Packet before = znRTDataBlockPacket::s_worldToViewMatrix;
    znMatrix4x4 back = znMatrix4x4::identity();
    back[3][2] = -9.0f; // the viewer stands at z = 9
    znRTDataBlockPacket::s_worldToViewMatrix = znMatrix4x4Packet(back);
    for (znRTColorPacket& layer : layered.layers)
        layer = znRTColorPacket(znFloatType<2>(7.0f));
    layered.updateVectorPasses(ray, block, {0.5f, 0.0f, 1.0f, 1.0f}, expandLanes(7));
    znRTDataBlockPacket::s_worldToViewMatrix = before;

    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MASK].r, 0.5f, 0.0f, 1.0f, 7.0f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MASK].b, 0.5f, 0.0f, 1.0f, 7.0f);
    for (u32 i : {ZN_PASS_MASK, ZN_PASS_NORMAL, ZN_PASS_POSITION, ZN_PASS_VIEW, ZN_PASS_DEPTH})
        EXPECT_LANES_EQ(layered.layers[i].a, 1, 0, 1, 7);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_NORMAL].r, 0.6f, 0.6f, 0.6f, 7.0f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_NORMAL].b, 0.8f, 0.8f, 0.8f, 7.0f);
    EXPECT_LANES_NEAR(layered.layers[ZN_PASS_POSITION].r, 0.1f, 0.3f, -0.2f, 7.0f, 1e-6f);
    EXPECT_LANES_NEAR(layered.layers[ZN_PASS_VIEW].b, -1, -1, -1, 7, 1e-6f);
    EXPECT_LANES_NEAR(layered.layers[ZN_PASS_DEPTH].r, 9, 9, 9, 7, 1e-6f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MATERIAL_ID].g, 0.5f, 0.5f, 0.5f, 7.0f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MATERIAL_ID].a, 1, 1, 1, 7);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_DIFFUSE_IBL].r, 7, 7, 7, 7);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_CRYPTO_OBJECT_00].r, 7, 7, 7, 7);
}

TEST_F(MultilayerFragment, ShowsAPerturbedNormalAndTheMaterialThatShaded)
{
    LobeMaterial stack(5, 1.0f), layer(6, 1.0f);
    layer.setId(1.0f, 0.5f, 0.25f);
    block.clearMaterials();
    block.addMaterial(&stack, 15);
    const znRTVector3fPacket bumped(0.0f, 0.6f, 0.8f);
    throughput.shadingNormal = &bumped;
    throughput.material = &layer;
    layered.updateDG(ray, block, surface, terms, state, throughput, expandLanes(3));
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_NORMAL].g, 0.6f, 0.6f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_NORMAL].a, 1, 1, 0, 0);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MATERIAL_ID].b, 0.25f, 0.25f, 0.0f, 0.0f);
}

// Normal, depth and id are not mixed: 0.3 of a pane over a wall shows the wall's, 0.6 the pane's,
// and in front of nothing even a faint pane is what there is. Nothing of a hole is shown.
TEST_F(MultilayerFragment, TakesDataFromTheSurfaceWithTheGreaterShare)
{
    LobeMaterial pane(5, 0.5f), wall(6, 1.0f);
    pane.setId(1.0f, 0.0f, 0.0f);
    wall.setId(0.0f, 1.0f, 0.0f);
    block.clearMaterials();
    block.addMaterial(&pane, 15);
    throughput.hitLanes = all;
    throughput.surfaceAlpha = znFloatType<2>(0.3f, 0.6f, 0.5f, 0.0f);
    layered.updateDGST(ray, block, surface, terms, state, throughput, all);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MATERIAL_ID].r, 1, 1, 1, 1);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_DEPTH].a, 1, 1, 1, 0);
    EXPECT_LANES_NEAR(layered.layers[ZN_PASS_MASK].r, 0.3f, 0.6f, 0.5f, 0.0f, 1e-6f);

    addPane(wall, -1.0f);
    layered.clear();
    layered.updateDGST(ray, block, surface, terms, state, throughput, all);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MATERIAL_ID].g, 1, 0, 0, 1);
    EXPECT_LANES_NEAR(layered.layers[ZN_PASS_DEPTH].r, 1, 0, 0, 1, 1e-6f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_DEPTH].a, 1, 1, 1, 1);
    EXPECT_LANES_NEAR(layered.layers[ZN_PASS_POSITION].b, -1, 0, 0, -1, 1e-6f);
    EXPECT_LANES_NEAR(layered.layers[ZN_PASS_MASK].r, 1, 1, 1, 1, 1e-6f);

    // Lanes that decided by chance belong to one of the two alone.
    throughput.blend = expandLanes(3);
    throughput.hitLanes = expandLanes(12);
    layered.clear();
    layered.updateDGST(ray, block, surface, terms, state, throughput, all);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MATERIAL_ID].g, 0, 0, 1, 1);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MASK].r, 1, 1, 1, 1);
}

TEST_F(MultilayerFragment, ComparesSharesInTheMixedForms)
{
    layered.updateVectorPasses(ray, block, {0.2f, 0.5f, 0.8f, 0.0f}, all);
    layered.updateDepthMix(3.0f, 1.0f, {0.3f, 0.3f, 0.9f, 0.1f}, expandLanes(7));
    EXPECT_LANES_NEAR(layered.layers[ZN_PASS_DEPTH].r, 3, 0, 3, 0, 1e-6f);
    const znRTColorPacket id(znRTColor(0.5f, 0.5f, 0.5f, 1.0f));
    layered.updateMaterialIDColorMix(id, {0.3f, 0.3f, 0.9f, 0.1f}, expandLanes(13));
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MATERIAL_ID].r, 0.5f, 0.0f, 0.5f, 0.5f);

    // A fragment that takes another over takes its shares, too.
    znRTMultilayerFragment other;
    other.clear();
    other.coverage = znFloatType<2>(1.0f);
    other.updateVectorPasses(ray, block, 0.9f, all);
    layered.updateVectorPasses(ray, block, 0.2f, all);
    layered.updateFragment(other, expandLanes(6));
    layered.updateDepthMix(4.0f, 1.0f, 0.5f, all);
    EXPECT_LANES_NEAR(layered.layers[ZN_PASS_DEPTH].r, 4, 0, 0, 4, 1e-6f);
}

TEST_F(MultilayerFragment, SortsTheLightOfGlass)
{
    znRTGlassTerms glass;
    for (znRTColorPacket* term : {&glass.traced, &glass.tracedColor, &glass.glossyColor,
                                  &glass.direct, &glass.environment, &glass.emission})
        *term = randomColor(engine);
    const znRTColorPacket result = glass.traced * glass.tracedColor +
                                   (glass.direct + glass.environment) * glass.glossyColor +
                                   glass.emission;
    for (bool isFrosted : {false, true}) {
        layered.clear();
        if (isFrosted)
            layered.updateFrostedGlass(ray, block, glass, surface[5], state, throughput, all);
        else
            layered.updateGlass(ray, block, glass, surface[5], state, throughput, all);
        expectRGB(layered.colour, result, 1e-5f);
        expectLanes(layered.colour.a, glass.tracedColor.a, 0.0f);
        expectRGB(sumOfLayers(), layered.colour, 1e-5f);
        const auto traced = [isFrosted](znRenderPass clear, znRenderPass rough) {
            return isFrosted ? rough : clear;
        };
        const znRTColorPacket* const layers = layered.layers;
        expectRGB(layers[traced(ZN_PASS_SPECULAR_REFLECTION, ZN_PASS_TRANSLUCENCY)],
                  glass.traced * glass.tracedColor, 1e-6f);
        expectRGB(layers[traced(ZN_PASS_SPECULAR_COLOR, ZN_PASS_TRANSLUCENCY_COLOR)],
                  glass.tracedColor, 0.0f);
        expectRGB(layers[traced(ZN_PASS_SPECULAR_INDIRECT_ILLUMINATION,
                                ZN_PASS_TRANSLUCENCY_INDIRECT_ILLUMINATION)],
                  glass.traced, 0.0f);
        expectRGB(layers[ZN_PASS_GLOSSY_LIGHT], glass.direct * glass.glossyColor, 1e-6f);
        expectRGB(layers[ZN_PASS_GLOSSY_IBL], glass.environment * glass.glossyColor, 1e-6f);
        expectRGB(layers[ZN_PASS_GLOSSY_LIGHT_ILLUMINATION], glass.direct, 0.0f);
        expectRGB(layers[ZN_PASS_GLOSSY_IBL_ILLUMINATION], glass.environment, 0.0f);
        expectRGB(layers[ZN_PASS_TRANSPARENCY_COLOR], surface[5], 0.0f);
    }
}

TEST_F(MultilayerFragment, CountsReadyColoursAsEmittedAndBackgroundsApart)
{
    const znRTColorPacket color(znRTColor(1.0f, 2.0f, 3.0f, 0.0f));
    layered.updateDiffuseColor(nullptr, ray, block, color, 0.5f, all);
    expectValue(layered.colour, 1, 2, 3, 0.5f);
    expectValue(layered.layers[ZN_PASS_INCANDESCENCE], 1, 2, 3, 0.5f);
    expectValue(layered.layers[ZN_PASS_DIFFUSE_COLOR], 1, 2, 3, 0.5f);
    expectValue(layered.layers[ZN_PASS_DIFFUSE_LIGHT], 0, 0, 0, 0.5f);
    expectValue(layered.layers[ZN_PASS_MASK], 0.5f, 0.5f, 0.5f, 1);

    layered.updateBackgroundColor(nullptr, ray, block, color, 0.0f, expandLanes(3));
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_BACKGROUND_COLOR].b, 3, 3, 0, 0);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_INCANDESCENCE].b, 0, 0, 3, 3);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MASK].a, 0, 0, 1, 1);
    expectRGB(sumOfLayers(), layered.colour, 0.0f);
}

// Red of a quarter in front, green of a half, blue opaque: .25, then .75 * .5, then the rest.
TEST_F(MultilayerFragment, ComposesLayersFrontToBack)
{
    layered.invertAlpha();
    znRTMultilayerFragment other;
    const auto blend = [&](float r, float g, float b, float a) {
        other.clear();
        for (u32 i = 0; i <= ZN_PASS_OCCLUSION; ++i)
            other.layers[i] = znRTColorPacket(znRTColor(r, g, b, a));
        other.colour = other.layers[0];
        other.layers[ZN_PASS_MASK].a = znFloatType<2>(1.0f);
        layered.blendFragment(other, all);
    };
    blend(1.0f, 0.0f, 0.0f, 0.25f);
    blend(0.0f, 1.0f, 0.0f, 0.5f);
    expectValue(layered.colour, 0.25f, 0.375f, 0.0f, 0.375f);
    expectValue(layered.layers[ZN_PASS_MASK], 0.625f, 0.625f, 0.625f, 1.0f);
    blend(0.0f, 0.0f, 1.0f, 1.0f);
    for (u32 i = 0; i <= ZN_PASS_OCCLUSION; ++i)
        expectValue(layered.layers[i], 0.25f, 0.375f, 0.375f, 0.0f);
    expectSameBits(layered.colour, layered.layers[ZN_PASS_BEAUTY]);
    layered.invertAlpha();
    for (u32 i = 0; i <= ZN_PASS_OCCLUSION; ++i)
        EXPECT_LANES_EQ(layered.layers[i].a, 1, 1, 1, 1);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_DEPTH].a, 0, 0, 0, 0);
}

TEST_F(MultilayerFragment, BlendsWithAnAlphaOfItsOwnAndByMaskAlone)
{
    layered = numbered(0.5f);
    const znRTMultilayerFragment before = layered;
    znRTMultilayerFragment other = numbered(1.0f);
    for (znRTColorPacket& layer : other.layers)
        layer.r = znFloatType<2>(notANumber, 4.0f, notANumber, notANumber);
    other.colour = other.layers[0];
    layered.blendFragment(other, expandLanes(0));
    layered.blendFragment(static_cast<const znRTFragment&>(other), expandLanes(0), 0.5f);
    for (u32 i = 0; i < znRenderPassCount; ++i)
        expectSameBits(layered.layers[i], before.layers[i]);
    layered.blendFragment(other, expandLanes(2), 0.5f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_GLOSSY_LIGHT].r, 5, 6, 5, 5);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_GLOSSY_LIGHT].a, 0.5f, 0.25f, 0.5f, 0.5f);
    expectSameBits(layered.colour, layered.layers[0]);
}

TEST_F(MultilayerFragment, CountsBlendedPlainColoursAsEmitted)
{
    layered.invertAlpha();
    znRTFragment plain;
    plain.colour = znRTColorPacket(znRTColor(1.0f, 2.0f, 4.0f, 0.5f));
    plain.coverage = znFloatType<2>(1.0f);
    znRTFragment& base = layered;
    base.blendFragment(plain, all);
    expectValue(layered.colour, 0.5f, 1.0f, 2.0f, 0.5f);
    expectValue(layered.layers[ZN_PASS_INCANDESCENCE], 0.5f, 1.0f, 2.0f, 0.5f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_FOG].a, 0.5f, 0.5f, 0.5f, 0.5f);
    expectRGB(sumOfLayers(), layered.colour, 0.0f);
}

// Fog lets (.5, .25, 1) of the light pass and adds its own.
TEST_F(MultilayerFragment, LaysFogOverAllLight)
{
    layered.updateDGST(ray, block, surface, terms, state, throughput, all);
    const znRTMultilayerFragment before = layered;
    const znRTColorPacket factor(znRTColor(0.5f, 0.25f, 1.0f, 0.0f));
    layered.updateFog(znRTColorPacket(znRTColor(0.1f, 0.2f, 0.3f, 0.4f)), factor, expandLanes(5));
    for (u32 i : {ZN_PASS_DIFFUSE_LIGHT, ZN_PASS_INCANDESCENCE, ZN_PASS_GLOSSY_IBL_ILLUMINATION}) {
        const znRTColorPacket& was = before.layers[i];
        EXPECT_LANES_NEAR(layered.layers[i].r, 0.5f * was.r[0], was.r[1], 0.5f * was.r[2], was.r[3],
                          1e-6f);
    }
    expectSameBits(layered.layers[ZN_PASS_DIFFUSE_COLOR], before.layers[ZN_PASS_DIFFUSE_COLOR]);
    expectSameBits(layered.layers[ZN_PASS_NORMAL], before.layers[ZN_PASS_NORMAL]);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_FOG].g, 0.2f, 0.0f, 0.2f, 0.0f);
    expectRGB(sumOfLayers(), layered.colour, 1e-5f);
    expectSameBits(layered.colour, layered.layers[ZN_PASS_BEAUTY]);
    EXPECT_LANES_EQ(layered.colour.a, 1, 1, 1, 1);
}

TEST_F(MultilayerFragment, WeighsLightButNotColours)
{
    layered = numbered(0.5f);
    layered.weightFragment(znRTColorPacket(znRTColor(0.5f, 0.25f, 2.0f, 9.0f)));
    for (u32 i = 0; i < znRenderPassCount; ++i) {
        SCOPED_TRACE(znRenderPassNames[i]);
        const bool isColor = i >= ZN_PASS_DIFFUSE_COLOR && i <= ZN_PASS_TRANSPARENCY_COLOR;
        const float number = float(i + 1);
        if (isLightPass(i) && !isColor)
            expectValue(layered.layers[i], 0.5f * number, 0.5f * number, 1.0f, 0.5f);
        else
            expectValue(layered.layers[i], number, 2.0f * number, 0.5f, 0.5f);
    }
    expectSameBits(layered.colour, layered.layers[ZN_PASS_BEAUTY]);
}

TEST_F(MultilayerFragment, SetsTheAlphaOfDiffuseLightInTheLanesOfTheMask)
{
    layered = numbered(0.5f);
    layered.setDiffuseAlpha({0.0f, 0.25f, 0.75f, 1.0f}, expandLanes(7));
    for (u32 i = 0; i < znRenderPassCount; ++i) {
        SCOPED_TRACE(znRenderPassNames[i]);
        if (i == ZN_PASS_BEAUTY || i == ZN_PASS_DIFFUSE_IBL || i == ZN_PASS_OCCLUSION)
            EXPECT_LANES_EQ(layered.layers[i].a, 0.0f, 0.25f, 0.75f, 0.5f);
        else if (i == ZN_PASS_MASK)
            EXPECT_LANES_EQ(layered.layers[i].a, 0, 1, 1, 0.5f);
        else
            EXPECT_LANES_EQ(layered.layers[i].a, 0.5f, 0.5f, 0.5f, 0.5f);
    }
    EXPECT_LANES_EQ(layered.colour.a, 0.0f, 0.25f, 0.75f, 0.5f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_MASK].g, 0.0f, 0.25f, 0.75f, 82.0f);
}

TEST_F(MultilayerFragment, SetsTheAlphaOfLayersOutsideTheMask)
{
    layered = numbered(0.5f);
    layered.setAlpha(0.125f, expandLanes(6));
    for (u32 i = 0; i < znRenderPassCount; ++i) {
        SCOPED_TRACE(znRenderPassNames[i]);
        const float outside = i <= ZN_PASS_NORMAL ? 0.125f : 0.5f;
        EXPECT_LANES_EQ(layered.layers[i].a, outside, 0.5f, 0.5f, outside);
        EXPECT_LANES_EQ(layered.layers[i].b, 0.5f, 0.5f, 0.5f, 0.5f);
    }
    EXPECT_LANES_EQ(layered.colour.a, 0.125f, 0.5f, 0.5f, 0.125f);
}

TEST_F(MultilayerFragment, MixesAColourIntoOneLayer)
{
    layered = numbered(0.5f);
    const znRTColorPacket color(znRTColor(8.0f, 10.0f, 4.5f, 1.0f));
    layered.mixColorWithLayer(ZN_PASS_GLOSSY_IBL, color, expandLanes(9), {0.25f, 0.5f, 0.5f, 1.0f});
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_GLOSSY_IBL].r, 5, 4, 4, 8);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_GLOSSY_IBL].b, 1.5f, 0.5f, 0.5f, 4.5f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_GLOSSY_IBL].a, 0.625f, 0.5f, 0.5f, 1.0f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_GLOSSY_LIGHT].r, 5, 5, 5, 5);
    layered.mixColorWithLayer(ZN_PASS_BEAUTY, color, all, 1.0f);
    expectValue(layered.colour, 8.0f, 10.0f, 4.5f, 1.0f);
}

TEST_F(MultilayerFragment, ClearsToBlackWithAnAlpha)
{
    layered = numbered(0.5f);
    layered.updateOcclusionAlphaAndClear(0.25f, expandLanes(2));
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_OCCLUSION].r, 31, 0, 31, 31);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_OCCLUSION].a, 0.5f, 0.25f, 0.5f, 0.5f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_DIFFUSE_IBL].r, 2, 2, 2, 2);
    layered.updateAlphaAndClear(0.75f, expandLanes(1));
    for (u32 i = 0; i < ZN_PASS_OCCLUSION; ++i) {
        EXPECT_LANES_EQ(layered.layers[i].r, 0.0f, i + 1.0f, i + 1.0f, i + 1.0f);
        EXPECT_LANES_EQ(layered.layers[i].a, 0.75f, 0.5f, 0.5f, 0.5f);
    }
    EXPECT_LANES_EQ(layered.colour.a, 0.75f, 0.5f, 0.5f, 0.5f);
    EXPECT_LANES_EQ(layered.layers[ZN_PASS_NORMAL].r, 32, 32, 32, 32);
}

TEST_F(MultilayerFragment, TakesAnotherOverByMask)
{
    layered = numbered(0.5f);
    layered.coverage = znFloatType<2>(1.0f);
    znRTMultilayerFragment other;
    other.clear();
    other.coverage = znFloatType<2>(0.25f);
    layered.updateFragment(other, expandLanes(6));
    EXPECT_LANES_EQ(layered.coverage, 1.0f, 0.25f, 0.25f, 1.0f);
    EXPECT_LANES_EQ(layered.colour.r, 1, 0, 0, 1);
    for (u32 i = 0; i < znRenderPassCount; ++i)
        EXPECT_LANES_EQ(layered.layers[i].r, i + 1.0f, 0.0f, 0.0f, i + 1.0f);
}

TEST_F(MultilayerFragment, ClearsEveryLayer)
{
    layered = numbered(0.5f);
    layered.clear();
    for (const znRTColorPacket& layer : layered.layers)
        expectValue(layer, 0, 0, 0, 0, 0.0f);
    expectValue(layered.colour, 0, 0, 0, 0, 0.0f);
}

// Light is never negative; normals and places may be.
TEST_F(MultilayerFragment, TurnsInvalidValuesIntoZeroInEveryLayer)
{
    for (bool byMask : {false, true}) {
        for (znRTColorPacket& layer : layered.layers)
            layer = {{-1.0f, 1.0f, notANumber, 0.5f}, 0.5f, notANumber, 1.0f};
        layered.colour = layered.layers[0];
        znRTFragment& base = layered;
        byMask ? base.maskInvalidRGBA() : layered.filterNaN();
        for (u32 i = 0; i < znRenderPassCount; ++i) {
            SCOPED_TRACE(znRenderPassNames[i]);
            EXPECT_LANES_EQ(layered.layers[i].r, i < ZN_PASS_NORMAL ? 0.0f : -1.0f, 1.0f, 0.0f,
                            0.5f);
            EXPECT_LANES_EQ(layered.layers[i].b, 0, 0, 0, 0);
            EXPECT_LANES_EQ(layered.layers[i].a, 1, 1, 1, 1);
        }
        EXPECT_LANES_EQ(layered.colour.r, 0.0f, 1.0f, 0.0f, 0.5f);
    }
}

TEST_F(MultilayerFragment, ClampsLightBetweenZeroAndTheLimit)
{
    for (znRTColorPacket& layer : layered.layers)
        layer = znRTColorPacket(znRTColor(-1.0f, 0.5f, 3.0f, 4.0f));
    layered.colour = layered.layers[0];
    layered.clampRGB(2.0f);
    for (u32 i = 0; i < znRenderPassCount; ++i)
        if (isLightPass(i))
            expectValue(layered.layers[i], 0.0f, 0.5f, 2.0f, 4.0f);
        else
            expectValue(layered.layers[i], -1.0f, 0.5f, 3.0f, 4.0f);
    layered.clampRGBA(1.0f);
    expectValue(layered.layers[ZN_PASS_FOG], 0.0f, 0.5f, 1.0f, 1.0f);
    expectValue(layered.layers[ZN_PASS_OCCLUSION], -1.0f, 0.5f, 3.0f, 4.0f);
    expectValue(layered.colour, 0.0f, 0.5f, 1.0f, 1.0f);
}

TEST_F(MultilayerFragment, WritesAPlainColourToTheBeautyAlone)
{
    layered = numbered(0.5f);
    layered.updateFragmentColor(znRTColorPacket(znRTColor(7.0f, 8.0f, 9.0f, 0.0f)), 0.25f,
                                expandLanes(2));
    EXPECT_LANES_EQ(layered.colour.g, 2, 8, 2, 2);
    EXPECT_LANES_EQ(layered.colour.a, 0.5f, 0.25f, 0.5f, 0.5f);
    expectSameBits(layered.colour, layered.layers[0]);
    EXPECT_LANES_EQ(layered.layers[1].g, 4, 4, 4, 4);
}
