#include "gi/randomDecisions.h"
#include "render/fragmentFixture.h"

namespace {

using FragmentUpdates = FragmentFixture;

/// Keeps the places of its hits on the object.
class PlacedPane : public PaneMaterial
{
public:
    using PaneMaterial::PaneMaterial;
    using PaneMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        places.push_back(data.objectPosition);
        PaneMaterial::shade(ray, data, fragment, mask, state);
    }

    mutable std::vector<znRTVector3fPacket> places;
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
        EXPECT_INT_LANES(pane.rays.back().type, 0x100004, 0x200008, 0x20000c, 0x100004);
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
    }
}

// Rays go on as they came, with the share of their weight that is left; their neighbours drift
// apart as if there were no surfaces. Hits lie at distances of 5, 6 and 7.
TEST_F(FragmentUpdates, KeepRaysAndTheirNeighboursOnTheirWay)
{
    const PaneMaterial pane(znRTColor(1.0f, 1.0f, 1.0f), 0.5f);
    addPanes(2, pane);
    makeBlock();
    ray.weight = znRTVector3fPacket(0.5f, 1.0f, 0.25f);
    ray.rxOrigin = ray.origin + znRTVector3fPacket(1e-3f, 0.0f, 0.0f);
    ray.ryOrigin = ray.origin + znRTVector3fPacket(0.0f, 2e-3f, 0.0f);
    ray.rxDirection = ray.direction + znRTVector3fPacket(1e-2f, 0.0f, 0.0f);
    ray.ryDirection = ray.direction + znRTVector3fPacket(0.0f, -1e-2f, 0.0f);
    ray.hasDifferentials = 1;
    znRTFragment::getPassThroughColor(ray, block, znFloatType<2>(0.5f), all, state);
    ASSERT_EQ(pane.rays.size(), 2u);
    for (int i = 0; i < 2; ++i) {
        SCOPED_TRACE(i);
        const znRTRayDifferentialPacket& seen = pane.rays[std::size_t(i)];
        const float z = float(-i), t = float(6 + i);
        EXPECT_LANES_NEAR(seen.origin.z, z, z, z, z, 2e-5f);
        EXPECT_LANES_NEAR(seen.direction.z, -1, -1, -1, -1, 1e-6f);
        EXPECT_LANES_EQ(seen.weight.x, 0.25f, 0.25f, 0.25f, 0.25f);
        EXPECT_LANES_EQ(seen.weight.z, 0.125f, 0.125f, 0.125f, 0.125f);
        const znFloatType<2> dx = seen.rxOrigin.x + seen.rxDirection.x - seen.origin.x;
        const znFloatType<2> dy = seen.ryOrigin.y + seen.ryDirection.y - seen.origin.y;
        const float x = 1e-3f + 1e-2f * t, y = 2e-3f - 1e-2f * t;
        EXPECT_LANES_NEAR(dx, x, x, x, x, 1e-5f);
        EXPECT_LANES_NEAR(dy, y, y, y, y, 1e-5f);
    }
}

// Panes are moved squares: what their materials ask for in object space lies in the plane z = 0.
TEST_F(FragmentUpdates, ShadeSurfacesBehindWithTheirPlacesOnTheObject)
{
    const PlacedPane pane(znRTColor(1.0f, 1.0f, 1.0f), 0.5f);
    addPanes(2, pane);
    makeBlock();
    znRTFragment::getPassThroughColor(ray, block, znFloatType<2>(1.0f), all, state);
    ASSERT_EQ(pane.places.size(), 2u);
    for (const znRTVector3fPacket& place : pane.places) {
        EXPECT_LANES_NEAR(place.x, 0.1f, 0.3f, -0.2f, -0.5f, 1e-5f);
        EXPECT_LANES_NEAR(place.z, 0, 0, 0, 0, 1e-5f);
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

// Clear panes weaken nothing: the walk behind them ends by their number.
TEST_F(FragmentUpdates, FollowARayThroughALimitedNumberOfSurfaces)
{
    const PaneMaterial pane(znRTColor(1.0f, 1.0f, 1.0f), 0.0f);
    addPanes(1030, pane);
    makeBlock();
    znRTFragment::getPassThroughColor(ray, block, znFloatType<2>(1.0f), all, state);
    EXPECT_EQ(pane.shadeCount, 1023);
}

// traced * its colour + (direct + environment) * glossy colour + emission; the opacity is the alpha
// of the colour, until what lies behind shows through.
TEST_F(FragmentUpdates, SumTheTermsOfGlass)
{
    makeBlock();
    const auto color = [](float r, float g, float b, float a) {
        return znRTColorPacket(znRTColor(r, g, b, a));
    };
    const znRTGlassTerms glass{color(1, 2, 3, 0.25f),    color(0.5f, 0.25f, 2, 0.75f),
                               color(2, 2, 0, 1),        color(0.5f, 0, 1, 1),
                               color(0.25f, 0.5f, 1, 1), color(0, 0.5f, 0.125f, 1)};
    const znRTColorPacket clear = color(1, 1, 1, 0);
    for (auto update : {&znRTFragment::updateGlass, &znRTFragment::updateFrostedGlass}) {
        (fragment.*update)(ray, block, glass, clear, state, throughput, all);
        expectColor(2.0f, 2.0f, 6.125f, 0.75f);
        znRTThroughput half;
        half.surfaceAlpha = znFloatType<2>(0.5f);
        half.hitLanes = expandLanes(3);
        (fragment.*update)(ray, block, glass, clear, state, half, all);
        EXPECT_LANES_NEAR(fragment.colour.r, 1.1f, 1.1f, 2.0f, 2.0f, 1e-6f);
        EXPECT_LANES_NEAR(fragment.colour.a, 0.5f, 0.5f, 0.75f, 0.75f, 1e-6f);
    }
}

// Each surface behind has decisions of its own, at the depth of the ray that came: two panes that
// decide by chance would else decide alike. What shading draws does not carry over.
TEST_F(FragmentUpdates, GiveEverySurfaceBehindItsOwnRandomDecisions)
{
    const PaneMaterial pane(znRTColor(1.0f, 1.0f, 1.0f), 0.25f);
    addPanes(3, pane);
    makeBlock();
    znRTShadingState seen(znIntType<2>(5), znIntType<2>(0), 9, 2, 1, 32, 4, 6);
    znRTFragment::getPassThroughColor(ray, block, znFloatType<2>(1.0f), all, seen);
    ASSERT_EQ(pane.states.size(), 3u);
    for (int i = 0; i < 3; ++i) {
        const znRTShadingState& state = pane.states[std::size_t(i)];
        EXPECT_EQ(state.counterB, 32 + (i + 1) * decisionsPerDepth);
        EXPECT_EQ(state.counterA, 0);
        EXPECT_EQ(state.counterC, 4);
        EXPECT_EQ(state.counterD, 6 + i + 1);
        EXPECT_EQ(state.sampleIndex, 9);
        EXPECT_EQ(state.dimension, 2);
        EXPECT_INT_LANES(state.pixelSeed, 5, 5, 5, 5);
    }
    EXPECT_EQ(seen.counterB, 32);
    EXPECT_EQ(seen.dimension, 2);
}
