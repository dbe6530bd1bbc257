#include "core/rayTypes.h"
#include "core/znRTShadingState.h"
#include "material/znRTMaterial.h"
#include "render/znRTFragment.h"
#include "render/znRTRenderUtils.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <cmath>

namespace {

const znRTTypeId paneTypeId("PaneMaterial");

/// A pane of one colour and opacity; counts how often it is shaded, and by which rays.
class PaneMaterial : public znRTMaterial
{
public:
    PaneMaterial(const znRTColor& paneColor, float paneAlpha)
        : znRTMaterial(paneTypeId, nullptr), color(paneColor), alpha(paneAlpha)
    {
    }
    znRTMaterial* getDuplicate() const override { return new PaneMaterial(color, alpha); }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        ++shadeCount;
        rayTypes = ray.type;
        znRTThroughput throughput;
        throughput.surfaceAlpha = znFloatType<2>(alpha);
        if (alpha < 1.0f)
            throughput.hitLanes = mask;
        fragment.updateToColor(ray, data, znRTColorPacket(color), white, state, throughput, mask);
    }

    const znRTColorPacket white{znRTColor(1.0f, 1.0f, 1.0f, 0.0f)};
    znRTColor color;
    float alpha;
    mutable int shadeCount = 0;
    mutable znIntType<2> rayTypes{0};
};

class FragmentUpdates : public testing::Test
{
protected:
    FragmentUpdates()
        : previous(znRTRenderUtils::s_currentAccelerator),
          background(znRTRenderUtils::s_backgroundColor)
    {
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
        znRTRenderUtils::s_backgroundColor = znRTColorPacket(znRTColor(0.2f, 0.4f, 0.6f, 0.0f));
        fragment.clear();
        for (int i = 0; i < surfaceTermCount; ++i)
            surface[i] = znRTColorPacket(0.0f);
        for (int i = 0; i < 4; ++i)
            ibl[i] = light[i] = indirect[i] = znRTColorPacket(0.0f);
    }
    ~FragmentUpdates() override
    {
        znRTRenderUtils::s_currentAccelerator = previous;
        znRTRenderUtils::s_backgroundColor = background;
    }

    /// Panes below each other at z = -1, -2, ...
    void addPanes(int count, const PaneMaterial& pane)
    {
        for (int i = 1; i <= count; ++i) {
            const osg::NodePtr node =
                scene.add(makeSquare().get(), makeTranslation(0.0f, 0.0f, float(-i)));
            scene.mesh(node).setMaterial(const_cast<PaneMaterial*>(&pane));
        }
        scene.build();
    }
    /// The block of a hit at z = 0 that rays from above reach.
    void makeBlock()
    {
        ray = downward(znFloatType<2>(0.1f, 0.3f, -0.2f, -0.5f), 0.4f);
        ray.hasDifferentials = 0;
        block.reset(znFloatType<2>(5.0f));
        block.dg.position = ray.pointAt(block.hit.t);
        block.dg.geometricNormal = block.dg.shadingNormal = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    }
    void expectColor(float r, float g, float b, float a, float tolerance = 1e-6f)
    {
        EXPECT_LANES_NEAR(fragment.colour.r, r, r, r, r, tolerance);
        EXPECT_LANES_NEAR(fragment.colour.g, g, g, g, g, tolerance);
        EXPECT_LANES_NEAR(fragment.colour.b, b, b, b, b, tolerance);
        EXPECT_LANES_NEAR(fragment.colour.a, a, a, a, a, tolerance);
    }

    const znFloatType<2> all = expandLanes(15);
    MeshScene scene;
    znRTRayDifferentialPacket ray;
    znRTDataBlockPacket block;
    znRTFragment fragment;
    znRTShadingState state;
    znRTThroughput throughput;
    znRTColorPacket surface[surfaceTermCount], ibl[4], light[4], indirect[4];
    znRTLightTerms terms{ibl, light, indirect};

private:
    znRTAccelerator* previous;
    znRTColorPacket background;
};

} // namespace

TEST_F(FragmentUpdates, SumTheLobesThatTheNameTells)
{
    makeBlock();
    for (int i = 0; i < 4; ++i) {
        // Lobe i brings 10^i, from three kinds of light.
        const float value = std::pow(10.0f, float(i));
        surface[i] = znRTColorPacket(znRTColor(value, 0.0f, 2.0f * value, 1.0f));
        ibl[i] = znRTColorPacket(znFloatType<2>(0.5f));
        light[i] = znRTColorPacket(znFloatType<2>(0.25f));
        indirect[i] = znRTColorPacket(znFloatType<2>(0.25f));
    }
    surface[surfaceEmission] = znRTColorPacket(znRTColor(0.0f, 0.5f, 0.0f, 0.0f));
    using Update = void (znRTFragment::*)(
        const znRTRayDifferentialPacket&, znRTDataBlockPacket&, const znRTColorPacket*,
        const znRTLightTerms&, znRTShadingState&, const znRTThroughput&, const znFloatType<2>&);
    const std::pair<Update, float> updates[] = {
        {&znRTFragment::updateD, 1.0f},      {&znRTFragment::updateG, 10.0f},
        {&znRTFragment::updateS, 100.0f},    {&znRTFragment::updateDG, 11.0f},
        {&znRTFragment::updateDS, 101.0f},   {&znRTFragment::updateDGS, 111.0f},
        {&znRTFragment::updateDGT, 1011.0f}, {&znRTFragment::updateDGST, 1111.0f},
        {&znRTFragment::updateDST, 1101.0f}};
    for (const auto& [update, sum] : updates) {
        (fragment.*update)(ray, block, surface, terms, state, throughput, all);
        expectColor(sum, 0.5f, 2.0f * sum, 1.0f, 1e-3f);
    }
}

TEST_F(FragmentUpdates, StartNoRayForOpaqueSurfaces)
{
    const PaneMaterial pane(znRTColor(1.0f, 0.0f, 0.0f), 0.5f);
    addPanes(1, pane);
    makeBlock();
    fragment.updateToColor(ray, block, znRTColorPacket(znRTColor(0.1f, 0.2f, 0.3f, 1.0f)),
                           pane.white, state, throughput, expandLanes(3));
    EXPECT_LANES_EQ(fragment.colour.g, 0.2f, 0.2f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(fragment.colour.a, 1.0f, 1.0f, 0.0f, 0.0f);
    EXPECT_EQ(pane.shadeCount, 0);
}

// Behind is the background (0.2, 0.4, 0.6), tinted by (1, 0.5, 0); a quarter of the surface's own
// colour lies over it.
TEST_F(FragmentUpdates, MixASurfaceOverWhatLiesBehind)
{
    makeBlock();
    throughput.surfaceAlpha = znFloatType<2>(0.25f);
    throughput.hitLanes = all;
    const znRTColorPacket tint(znRTColor(1.0f, 0.5f, 0.0f, 0.0f));
    fragment.updateToColor(ray, block, znRTColorPacket(znRTColor(1.0f, 1.0f, 1.0f, 1.0f)), tint,
                           state, throughput, all);
    expectColor(0.25f + 0.75f * 0.2f, 0.25f + 0.75f * 0.2f, 0.25f, 0.25f);

    // Half cut out: what is seen through the holes keeps its colour.
    throughput.cutoutAlpha = znFloatType<2>(0.5f);
    fragment.updateToColor(ray, block, znRTColorPacket(znRTColor(1.0f, 1.0f, 1.0f, 1.0f)), tint,
                           state, throughput, all);
    expectColor(0.25f + 0.75f * 0.2f, 0.25f + 0.75f * 0.3f, 0.25f + 0.75f * 0.3f, 0.25f);
}

TEST_F(FragmentUpdates, DivideTheTintByWhatItsAlphaLeaves)
{
    makeBlock();
    throughput.surfaceAlpha = znFloatType<2>(0.0f);
    throughput.hitLanes = all;
    const znRTColorPacket black(znRTColor(0.0f, 0.0f, 0.0f, 0.0f));
    fragment.updateToColor(ray, block, black, znRTColorPacket(znRTColor(0.5f, 0.25f, 0.5f, 0.5f)),
                           state, throughput, all);
    expectColor(0.2f, 0.2f, 0.6f, 0.0f);
    // An alpha of 1 leaves nothing to divide by; it counts as no division.
    fragment.updateToColor(ray, block, black, znRTColorPacket(znRTColor(0.5f, 0.25f, 0.5f, 1.0f)),
                           state, throughput, all);
    expectColor(0.1f, 0.1f, 0.3f, 0.0f);
}

TEST_F(FragmentUpdates, ShowEitherTheSurfaceOrWhatIsBehindByLane)
{
    makeBlock();
    throughput.surfaceAlpha = znFloatType<2>(0.0f);
    throughput.blend = expandLanes(5);
    throughput.hitLanes = expandLanes(10);
    const znRTColorPacket white(znRTColor(1.0f, 1.0f, 1.0f, 0.0f));
    fragment.updateToColor(ray, block, znRTColorPacket(znRTColor(0.7f, 0.8f, 0.9f, 1.0f)), white,
                           state, throughput, all);
    EXPECT_LANES_NEAR(fragment.colour.r, 0.7f, 0.2f, 0.7f, 0.2f, 1e-6f);
    EXPECT_LANES_NEAR(fragment.colour.b, 0.9f, 0.6f, 0.9f, 0.6f, 1e-6f);
    EXPECT_LANES_NEAR(fragment.colour.a, 1.0f, 0.0f, 1.0f, 0.0f, 1e-6f);
}

TEST_F(FragmentUpdates, StartNoSecondRayBehindASurface)
{
    const PaneMaterial pane(znRTColor(1.0f, 0.0f, 0.0f), 0.5f);
    addPanes(1, pane);
    throughput.surfaceAlpha = znFloatType<2>(0.3f);
    throughput.hitLanes = all;
    for (u32 flag : {rayType::passThroughLeft, rayType::passThroughRight}) {
        makeBlock();
        ray.type = znIntType<2>(int(rayType::cameraLeft | flag));
        fragment.updateToColor(ray, block, znRTColorPacket(znRTColor(0.1f, 0.2f, 0.3f, 1.0f)),
                               pane.white, state, throughput, all);
        expectColor(0.1f, 0.2f, 0.3f, 0.3f);
    }
    EXPECT_EQ(pane.shadeCount, 0);
}

// n panes of opacity a in front of the background: (1 - a)^n of it comes through.
TEST_F(FragmentUpdates, SeeThroughStacksOfPanes)
{
    const std::pair<int, float> stacks[] = {
        {1, 0.25f}, {2, 0.25f}, {5, 0.25f}, {20, 0.25f}, {64, 0.1f}};
    for (const auto& [n, a] : stacks) {
        const PaneMaterial pane(znRTColor(1.0f, 0.5f, 0.0f), a);
        MeshScene other;
        znRTRenderUtils::s_currentAccelerator = other.scene.get();
        for (int i = 1; i <= n; ++i) {
            const osg::NodePtr node =
                other.add(makeSquare().get(), makeTranslation(0.0f, 0.0f, float(-i)));
            other.mesh(node).setMaterial(const_cast<PaneMaterial*>(&pane));
        }
        other.build();
        makeBlock();
        ray.type = znIntType<2>(4, 8, 12, 4);
        const znRTColorPacket seen = znRTFragment::getPassThroughColor(
            ray, block, znFloatType<2>(1.0f), expandLanes(7), state);
        const float left = std::pow(1.0f - a, float(n));
        const float r = 1.0f - left + 0.2f * left, b = 0.6f * left;
        EXPECT_LANES_NEAR(seen.r, r, r, r, 0.0f, 1e-5f);
        EXPECT_LANES_NEAR(seen.b, b, b, b, 0.0f, 1e-5f);
        EXPECT_LANES_NEAR(seen.a, 1.0f - left, 1.0f - left, 1.0f - left, 0.0f, 1e-5f);
        EXPECT_EQ(pane.shadeCount, n);
        EXPECT_INT_LANES(pane.rayTypes, 0x100004, 0x200008, 0x20000c, 0x100004);
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
    }
}

// Half of the light passes each pane: after eleven less than 0.0005 of it is left.
TEST_F(FragmentUpdates, StopWhereNextToNothingComesThrough)
{
    const PaneMaterial pane(znRTColor(0.25f, 0.5f, 1.0f), 0.5f);
    addPanes(30, pane);
    makeBlock();
    const znRTColorPacket seen =
        znRTFragment::getPassThroughColor(ray, block, znFloatType<2>(1.0f), all, state);
    EXPECT_EQ(pane.shadeCount, 11);
    const float g = 0.5f * (1.0f - std::pow(0.5f, 11.0f));
    EXPECT_LANES_NEAR(seen.g, g, g, g, g, 1e-6f);
}

TEST_F(FragmentUpdates, StopBehindAnOpaqueSurface)
{
    const PaneMaterial wall(znRTColor(0.3f, 0.6f, 0.9f), 1.0f);
    addPanes(3, wall);
    makeBlock();
    throughput.surfaceAlpha = znFloatType<2>(0.5f);
    throughput.hitLanes = all;
    fragment.updateToColor(ray, block, znRTColorPacket(0.0f), wall.white, state, throughput, all);
    expectColor(0.15f, 0.3f, 0.45f, 1.0f);
    EXPECT_EQ(wall.shadeCount, 1);
}
