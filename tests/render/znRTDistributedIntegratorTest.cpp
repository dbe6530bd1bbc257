#include "render/integrators/znRTDistributedIntegrator.h"

#include "camera/znRTParticipatingMedia.h"
#include "integratorFixture.h"
#include "render/integrators/znRTDistributedPassesIntegrator.h"
#include "render/integrators/znRTIlluminanceIntegrator.h"
#include "render/integrators/znRTIndirectIllumRenderingIntegrator.h"
#include "render/integrators/znRTLightAnalyzingIntegrator.h"

namespace {

/// Four rays: two on the square at the origin, one on the one at x = 4, one past both.
const znFloatType<2> placesX(0.0f, 4.0f, 0.5f, 20.0f);

class DistributedIntegrator : public IntegratorTest
{
protected:
    ScriptedMaterial red{znRTColor(1.0f, 0.0f, 0.0f, 0.5f)};
    ScriptedMaterial green{znRTColor(0.0f, 1.0f, 0.0f, 1.0f)};
    void addTwoSquares()
    {
        add(makeSquare(), red);
        add(makeSquare(), green, makeTranslation(4.0f, 0.0f, 0.0f));
        scene.build();
    }
};

using LightAnalysis = DistributedIntegrator;
using IlluminanceDisplay = DistributedIntegrator;
using IndirectDisplay = DistributedIntegrator;
using SingleLayer = DistributedIntegrator;

/// Lets through a half and adds a constant.
class HalfFog : public znRTParticipatingMedia
{
public:
    HalfFog() : znRTParticipatingMedia(typeId) {}
    void update() override {}
    znRTColorPacket evaluateTransmittance(const znRTRayPacket&, const znFloatType<2>& distance,
                                          const znFloatType<2>& mask) const override
    {
        lastDistance = distance & mask;
        return znRTColorPacket(0.5f);
    }
    znRTColorPacket evaluateScattering(const znRTRayPacket&, const znFloatType<2>&,
                                       const znFloatType<2>&) const override
    {
        return znRTColorPacket(znRTColor(0.25f, 0.125f, 0.0f, 1.0f));
    }
    mutable znFloatType<2> lastDistance{0.0f};
    static inline const znRTTypeId typeId{"HalfFog"};
};

} // namespace

TEST_F(DistributedIntegrator, ShadesTheMaterialsOfAPacketInTurnWithDisjointMasks)
{
    std::vector<const ScriptedMaterial*> order;
    red.order = green.order = &order;
    addTwoSquares();
    integrate<znRTDistributedIntegrator>(downward(placesX, 0.1f));
    EXPECT_EQ(red.masks, std::vector<int>{5});
    EXPECT_EQ(green.masks, std::vector<int>{2});
    EXPECT_EQ(order, (std::vector<const ScriptedMaterial*>{&red, &green}));
    EXPECT_LANES_EQ(fragment.colour.r, 1.0f, 0.0f, 1.0f, background.r);
    EXPECT_LANES_EQ(fragment.colour.g, 0.0f, 1.0f, 0.0f, background.g);
    EXPECT_LANES_EQ(fragment.colour.a, 0.5f, 1.0f, 0.5f, background.a);
    EXPECT_LANES_EQ(fragment.coverage, 1.0f, 1.0f, 1.0f, 0.0f);

    // The order is that of the first lanes.
    order.clear();
    integrate<znRTDistributedIntegrator>(downward({4.0f, 0.0f, 4.5f, 0.5f}, 0.1f));
    EXPECT_EQ(order, (std::vector<const ScriptedMaterial*>{&green, &red}));
}

TEST_F(DistributedIntegrator, StartsPathsAtTheRootOfTheRayTree)
{
    addTwoSquares();
    camera.iteration = 9;
    znRTRayDifferentialPacket ray = downward(placesX, 0.1f);
    ray.pixelX = znIntType<2>(0, 1, 2, 3);
    ray.pixelY = znIntType<2>(4);
    ray.weight = znRTVector3fPacket(0.0f, 0.0f, 0.0f);
    znRTVector3fPacket weight;
    znFloatType<2> alpha(9.0f);
    red.script = [&](const znRTRayDifferentialPacket& seen, znRTDataBlockPacket&, znRTFragment&,
                     const znFloatType<2>&, znRTShadingState&) {
        weight = seen.weight;
        alpha = seen.alpha;
    };
    integrate<znRTDistributedIntegrator>(ray, 3);
    EXPECT_LANES_EQ(weight.y, 1.0f, 1.0f, 1.0f, 1.0f);
    EXPECT_LANES_EQ(alpha, 0.0f, 0.0f, 0.0f, 0.0f);
    ASSERT_EQ(red.states.size(), 1u);
    const znRTShadingState& state = red.states[0];
    EXPECT_EQ(state.sampleIndex, 3 + 9 / 4);
    EXPECT_EQ(state.dimension, 0);
    EXPECT_EQ(state.counterA + state.counterB + state.counterC + state.counterD, 0);
    const znIntType<2> seed = pixelScramble(ray.pixelX, ray.pixelY, 1);
    EXPECT_INT_LANES(state.pixelSeed, seed[0], seed[1], seed[2], seed[3]);
    EXPECT_INT_LANES(state.pixelSeed2, 0, 0, 0, 0);
    EXPECT_INT_LANES(state.maskB, -1, -1, -1, -1);
    // What one material draws does not move on the numbers of the next.
    ASSERT_EQ(green.states.size(), 1u);
    EXPECT_EQ(green.states[0].dimension, 0);
}

// Hits on an object that is gone have no surface: only the background is left.
TEST_F(DistributedIntegrator, KeepsTheBackgroundWhereNoHitIsCovered)
{
    addTwoSquares();
    znRTRayDifferentialPacket ray = downward(placesX, 0.1f);
    znRTHitInfoPacket hit = scene.trace(ray);
    ASSERT_EQ(hit.hitMask, 7u);
    hit.geometry = znIntType<2>(1000000);
    znRTDataBlockPacket data(hit);
    znRTDistributedIntegrator<znRTFragment>().integrate(fragment, &camera, ray, data, 0);
    EXPECT_TRUE(red.masks.empty() && green.masks.empty());
    EXPECT_LANES_EQ(fragment.colour.b, 0.3f, 0.3f, 0.3f, 0.3f);
    EXPECT_LANES_EQ(fragment.coverage, 0.0f, 0.0f, 0.0f, 0.0f);
}

// Bit for bit: a lane does not know what is in the others, nor where in the packet it is.
TEST_F(DistributedIntegrator, GivesEachLaneTheSameWhateverItsPlaceInThePacket)
{
    // Colours of the point, the normal and the random state.
    const auto script = [](const znRTRayDifferentialPacket&, znRTDataBlockPacket& data,
                           znRTFragment& out, const znFloatType<2>& mask, znRTShadingState& state) {
        const znFloatType<2> number = toFloat(state.pixelSeed) + float(state.dimension);
        out.updateFragmentColor({data.position().x, data.shadingNormal().z, number, 1.0f},
                                data.cosIncidence, mask);
    };
    red.script = green.script = script;
    add(makeRandomMesh(200, 11), red);
    add(makeSquare(), green, makeTranslation(0.0f, 0.0f, -1.5f));
    scene.build();
    const float xs[4] = {-0.7f, 0.2f, 0.55f, 4.0f};
    const auto colours = [&](int first) {
        znFloatType<2> x;
        znIntType<2> pixel(0);
        for (int lane = 0; lane < 4; ++lane) {
            x.set(lane, xs[(first + lane) & 3]);
            pixel.set(lane, (first + lane) & 3);
        }
        znRTRayDifferentialPacket ray = downward(x, 0.13f);
        ray.pixelX = pixel;
        integrate<znRTDistributedIntegrator>(ray);
        return fragment.colour;
    };
    const znRTColorPacket straight = colours(0);
    for (int first = 1; first < 4; ++first) {
        const znRTColorPacket turned = colours(first);
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_EQ(turned.getComponent(lane), straight.getComponent((first + lane) & 3))
                << "turned by " << first << ", lane " << lane;
    }
}

TEST_F(DistributedIntegrator, LetsTheAtmosphereWorkOnHitLanesAlone)
{
    addTwoSquares();
    HalfFog fog;
    znRTRenderUtils::s_atmosphere = &fog;
    integrate<znRTDistributedIntegrator>(downward(placesX, 0.1f));
    EXPECT_LANES_EQ(fragment.colour.r, 0.75f, 0.25f, 0.75f, background.r);
    EXPECT_LANES_EQ(fragment.colour.g, 0.125f, 0.625f, 0.125f, background.g);
    EXPECT_LANES_EQ(fragment.colour.a, 0.5f, 1.0f, 0.5f, background.a); // stays
    EXPECT_LANES_NEAR(fog.lastDistance, 5.0f, 5.0f, 5.0f, 0.0f, 1e-5f);

    integrateLayers<znRTDistributedIntegrator>(downward(placesX, 0.1f));
    znRTRenderUtils::s_atmosphere = nullptr;
    for (int lane = 0; lane < 4; ++lane)
        EXPECT_EQ(layers.colour.getComponent(lane), fragment.colour.getComponent(lane)) << lane;
    EXPECT_LANES_EQ(layers.layers[ZN_PASS_FOG].r, 0.25f, 0.25f, 0.25f, 0.0f);
}

TEST_F(DistributedIntegrator, ShowsTheSameWithLayers)
{
    addTwoSquares();
    integrate<znRTDistributedIntegrator>(downward(placesX, 0.1f));
    integrateLayers<znRTDistributedIntegrator>(downward(placesX, 0.1f));
    for (int lane = 0; lane < 4; ++lane) {
        EXPECT_EQ(layers.colour.getComponent(lane), fragment.colour.getComponent(lane));
        EXPECT_EQ(layers.layers[0].getComponent(lane), fragment.colour.getComponent(lane));
    }
    EXPECT_LANES_EQ(layers.coverage, 1.0f, 1.0f, 1.0f, 0.0f);
    EXPECT_LANES_NEAR(layers.layers[ZN_PASS_NORMAL].b, 1.0f, 1.0f, 1.0f, 0.0f, 1e-6f);
}

TEST_F(SingleLayer, ReplacesTheColourByTheLayer)
{
    addTwoSquares();
    znRTRayDifferentialPacket ray = downward(placesX, 0.1f);
    znRTDistributedPassesIntegrator<znRTFragment, ZN_PASS_POSITION>().integrate(fragment, &camera,
                                                                                ray, trace(ray), 0);
    EXPECT_LANES_NEAR(fragment.colour.r, 0.0f, 4.0f, 0.5f, 0.0f, 1e-5f);
    EXPECT_LANES_NEAR(fragment.colour.g, 0.1f, 0.1f, 0.1f, 0.0f, 1e-5f);
    EXPECT_LANES_EQ(fragment.coverage, 1.0f, 1.0f, 1.0f, 0.0f);

    // The same as that layer of a frame with all of them.
    integrateLayers<znRTDistributedIntegrator>(downward(placesX, 0.1f));
    znRTDistributedPassesIntegrator<znRTFragment, ZN_PASS_VIEW>().integrate(fragment, &camera, ray,
                                                                            trace(ray), 0);
    for (int lane = 0; lane < 4; ++lane)
        EXPECT_EQ(fragment.colour.getComponent(lane),
                  layers.layers[ZN_PASS_VIEW].getComponent(lane));

    resetFragment();
    znRTDistributedPassesIntegrator<znRTFragment, ZN_PASS_BEAUTY>().integrate(fragment, &camera,
                                                                              ray, trace(ray), 0);
    EXPECT_LANES_EQ(fragment.colour.r, 1.0f, 0.0f, 1.0f, background.r);
}

TEST_F(LightAnalysis, ShowsTheLuminanceOfShadedSurfaces)
{
    red.color = znRTColor(8000.0f, 8000.0f, 8000.0f, 1.0f);
    green.color = znRTColor(0.0f, 0.0f, 0.0f, 1.0f);
    addTwoSquares();
    integrate<znRTLightAnalyzingIntegrator>(downward(placesX, 0.1f));
    EXPECT_LANES_NEAR(fragment.colour.r, 1.0f, 0.0f, 1.0f, background.r, 1e-3f);
    EXPECT_LANES_NEAR(fragment.colour.b, 0.0f, 1.0f, 0.0f, background.b, 1e-3f);
    EXPECT_LANES_EQ(fragment.coverage, 1.0f, 1.0f, 1.0f, 0.0f);

    // Seen through fog that leaves half of it: the middle of the scale, green.
    HalfFog fog;
    znRTRenderUtils::s_atmosphere = &fog;
    resetFragment();
    integrate<znRTLightAnalyzingIntegrator>(downward(placesX, 0.1f));
    znRTRenderUtils::s_atmosphere = nullptr;
    EXPECT_LANES_NEAR(fragment.colour.r, 0.0f, 0.0f, 0.0f, background.r, 2e-3f);
    EXPECT_LANES_NEAR(fragment.colour.g, 1.0f, 0.0f, 1.0f, background.g, 2e-3f);
}

// E = I cos(theta) / d^2 of a point light of 1 cd, one unit above the first point: the measuring
// material of the test knows it, the integrator has to ask it in the right lanes.
TEST_F(IlluminanceDisplay, ShowsWhatTheMeasuringMaterialReads)
{
    ScriptedMaterial lux;
    lux.script = [](const znRTRayDifferentialPacket&, znRTDataBlockPacket& data, znRTFragment& out,
                    const znFloatType<2>& mask, znRTShadingState&) {
        const znRTVector3fPacket toLight = znRTVector3fPacket(0.0f, 0.1f, 1.0f) - data.position();
        const znFloatType<2> square = toLight.getSquareLength();
        const znFloatType<2> lx =
            dot(toLight, data.shadingNormal()) / (square * squareRoot(square));
        out.updateFragmentColor({lx, lx, lx, 1.0f}, 1.0f, mask);
    };
    green.environment = true;
    addTwoSquares();
    znRTMaterial* const before = znRTRenderUtils::s_luxMaterial;
    znRTRenderUtils::s_luxMaterial = &lux;
    integrate<znRTIlluminanceIntegrator>(downward(placesX, 0.1f));
    znRTRenderUtils::s_luxMaterial = before;
    EXPECT_EQ(lux.masks, std::vector<int>{5});
    EXPECT_TRUE(red.masks.empty() && green.masks.empty());
    // cos / d^2 = 1 / (1 + 0.25)^1.5 half a unit away; environments and misses keep the background.
    EXPECT_LANES_NEAR(fragment.colour.r, 1.0f, background.r, 0.7155418f, background.r, 1e-5f);
    EXPECT_LANES_EQ(fragment.coverage, 1.0f, 1.0f, 1.0f, 1.0f);
}

TEST_F(IndirectDisplay, ShowsLightFromOtherSurfacesWithoutTheColourOfTheSurface)
{
    red.script = [](const znRTRayDifferentialPacket&, znRTDataBlockPacket&, znRTFragment& out,
                    const znFloatType<2>& mask, znRTShadingState&) {
        auto& shaded = dynamic_cast<znRTMultilayerFragment&>(out);
        shaded.layers[ZN_PASS_DIFFUSE_INDIRECT_ILLUMINATION].maskedUpdate(znRTColorPacket(0.5f),
                                                                          mask);
        shaded.layers[ZN_PASS_GLOSSY_INDIRECT_ILLUMINATION].maskedUpdate(znRTColorPacket(0.125f),
                                                                         mask);
        shaded.layers[ZN_PASS_TRANSLUCENCY_INDIRECT_ILLUMINATION].maskedUpdate(
            znRTColorPacket(0.25f), mask);
        shaded.layers[ZN_PASS_DIFFUSE_LIGHT].maskedUpdate(znRTColorPacket(9.0f), mask);
    };
    addTwoSquares();
    integrate<znRTIndirectIllumRenderingIntegrator>(downward(placesX, 0.1f));
    EXPECT_LANES_EQ(fragment.colour.g, 0.875f, 0.0f, 0.875f, background.g);
    EXPECT_LANES_EQ(fragment.colour.a, 1.0f, 1.0f, 1.0f, 0.0f);
}
