#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "light/lightFixture.h"
#include "light/znRTUPointLight.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"
#include "support/meshScene.h"

#include <limits>

namespace {

const znRTTypeId paneTypeId("ShadowPane");

/// A surface that lets a colour through, or none at all, and counts how often it is asked.
class Pane : public znRTMaterial
{
public:
    explicit Pane(const znRTColor& newColor, bool newIsTransparent = true)
        : znRTMaterial(paneTypeId, nullptr), color(newColor), transparent(newIsTransparent)
    {
    }
    znRTMaterial* getDuplicate() const override { return new Pane(color, transparent); }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket&, znRTDataBlockPacket&, znRTFragment&,
               const znFloatType<2>&, znRTShadingState&) const override
    {
    }
    bool isTransparent() const override { return transparent; }
    int getVisibility() const override { return int(visibility); }
    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override
    {
        ++asked;
        lanes = moveMask(mask);
        type = ray.type;
        height = data.position().z;
        decision = state.counterB;
        return znRTColorPacket(color);
    }

    znRTColor color;
    bool transparent;
    u32 visibility = rayType::defaultVisibility;
    mutable int asked = 0, lanes = 0, decision = 0;
    mutable znIntType<2> type{0};
    mutable znFloatType<2> height{0.0f};
};

class Shadow : public testing::Test
{
protected:
    Shadow() : previous(znRTRenderUtils::s_currentAccelerator)
    {
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
    }
    ~Shadow() override { znRTRenderUtils::s_currentAccelerator = previous; }

    /// A square from -1 to 1 about (x, 0) at a height.
    void addPane(Pane& material, float height, float x = 0.0f)
    {
        const osg::NodePtr node = scene.add(square.get(), makeTranslation(x, 0, height));
        scene.mesh(node).setMaterial(&material);
    }
    /// Rays upwards from z = 0 at x = 0, 10, 20, 30, a little off the diagonal of the squares.
    znRTColorPacket factor(znFloatType<2> strength = 1.0f, int mask = 15, float end = 1e6f,
                           u32 rayWord = rayType::camera)
    {
        const znRTVector3fPacket origin(x, 0.1f, 0.0f);
        znRTRayPacket ray(origin, inAllLanes(0, 0, -1));
        ray.type = znIntType<2>(int(rayWord));
        return znRTLight::getShadowFactor(ray, origin, inAllLanes(0, 0, 2), 0.0f, end,
                                          int(rayType::lightShadow), expandLanes(mask), strength,
                                          znRTShadingState());
    }

    const znFloatType<2> x{0.3f, 10.3f, 20.3f, 30.3f};
    const GeometryRef square = makeSquare();
    MeshScene scene;

private:
    znRTAccelerator* previous;
};

TEST_F(Shadow, IsDarkBehindAnOpaqueSurfaceAlone)
{
    Pane wall(znRTColor(), false);
    addPane(wall, 1.0f);
    addPane(wall, 3.0f, 10.0f);
    scene.build();
    const znRTColorPacket result = factor(1.0f, 15, 2.0f);
    EXPECT_LANES_EQ(result.r, 0, 1, 1, 1);
    EXPECT_LANES_EQ(result.g, 0, 1, 1, 1);
    EXPECT_LANES_EQ(result.a, 0, 0, 0, 0);
    EXPECT_LANES_EQ(factor().r, 0, 0, 1, 1);
    EXPECT_LANES_EQ(factor(1.0f, 0b1101).r, 0, 1, 1, 1);
}

TEST_F(Shadow, IsAsStrongAsTheLightAsks)
{
    Pane wall(znRTColor(), false);
    for (int i = 0; i < 4; ++i)
        addPane(wall, 1.0f, 10.0f * float(i));
    scene.build();
    EXPECT_LANES_NEAR(factor(znFloatType<2>(0.3f, 0.0f, 1.0f, 0.5f)).b, 0.7f, 1.0f, 0.0f, 0.5f,
                      1e-6f);
}

TEST_F(Shadow, LooksForNothingWithoutStrength)
{
    Pane glass(znRTColor(0.5f, 0.5f, 0.5f));
    addPane(glass, 1.0f);
    scene.build();
    const znRTColorPacket result = factor(1e-7f);
    EXPECT_LANES_EQ(result.r, 1, 1, 1, 1);
    EXPECT_LANES_EQ(result.a, 0, 0, 0, 0);
    EXPECT_EQ(glass.asked, 0);
    EXPECT_LANES_EQ(factor(1.0f, 0).g, 1, 1, 1, 1);
    EXPECT_EQ(glass.asked, 0);
}

TEST_F(Shadow, TakesTheColourOfEveryPane)
{
    Pane red(znRTColor(0.5f, 0.25f, 0.0f)), blue(znRTColor(0.5f, 1.0f, 1.0f));
    addPane(red, 1.0f);
    addPane(blue, 2.0f);
    addPane(blue, 3.0f);
    addPane(blue, 1.0f, 10.0f);
    scene.build();
    const znRTColorPacket result = factor();
    EXPECT_LANES_NEAR(result.r, 0.125f, 0.5f, 1, 1, 1e-6f);
    EXPECT_LANES_NEAR(result.g, 0.25f, 1, 1, 1, 1e-6f);
    EXPECT_LANES_NEAR(result.b, 0, 1, 1, 1, 1e-6f);
    EXPECT_EQ(red.asked, 1);
    EXPECT_NEAR(red.height[0], 1.0f, 1e-5f);
    EXPECT_EQ(blue.type[0] & ~int(rayType::lightShadow), 0);
}

// Each pane halves the light: 0.5^n.
TEST_F(Shadow, HalvesWithEveryHalfTransparentPane)
{
    Pane glass(znRTColor(0.5f, 0.5f, 0.5f));
    for (int i = 1; i <= 10; ++i)
        addPane(glass, float(i));
    scene.build();
    for (const int n : {1, 4, 10})
        EXPECT_NEAR(factor(1.0f, 1, float(n) + 0.5f).r[0], std::pow(0.5, n), 1e-7) << n;
}

TEST_F(Shadow, GivesEveryPaneDecisionsOfItsOwn)
{
    Pane first(znRTColor(0.5f, 0.5f, 0.5f)), second(znRTColor(0.5f, 0.5f, 0.5f));
    addPane(first, 1.0f);
    addPane(second, 2.0f);
    scene.build();
    factor();
    EXPECT_EQ(first.decision, 16);
    EXPECT_EQ(second.decision, 32);
}

TEST_F(Shadow, GivesUpAfterAThousandPanes)
{
    Pane clear(znRTColor(1.0f, 1.0f, 1.0f));
    for (int i = 1; i <= 1100; ++i)
        addPane(clear, float(i));
    scene.build();
    EXPECT_LANES_EQ(factor(1.0f, 1).r, 1, 1, 1, 1);
    EXPECT_EQ(clear.asked, 1023);
}

TEST_F(Shadow, EndsWhereNothingIsLeft)
{
    Pane black(znRTColor(0.0f, 0.0f, 0.0f)), behind(znRTColor(1.0f, 1.0f, 1.0f));
    addPane(black, 1.0f);
    addPane(behind, 2.0f);
    scene.build();
    EXPECT_LANES_EQ(factor().r, 0, 1, 1, 1);
    EXPECT_EQ(behind.asked, 0);
}

// An opaque hit holds no primitive: geometry 0 stands in its place and must not be asked.
TEST_F(Shadow, ShadesNoOpaqueHit)
{
    Pane tinted(znRTColor(0.1f, 0.2f, 0.3f)), wall(znRTColor(), false);
    addPane(tinted, 50.0f, 100.0f); // geometry 0, out of the way
    addPane(wall, 1.0f);
    addPane(wall, 1.0f, 10.0f);
    scene.build();
    EXPECT_LANES_EQ(factor().g, 0, 0, 1, 1);
    EXPECT_EQ(tinted.asked, 0);
}

TEST_F(Shadow, TreatsOpaqueAndTransparentLanesApart)
{
    Pane glass(znRTColor(0.5f, 0.5f, 0.5f)), wall(znRTColor(), false);
    addPane(glass, 1.0f);
    addPane(wall, 1.0f, 10.0f);
    addPane(glass, 1.0f, 20.0f);
    addPane(wall, 2.0f, 20.0f);
    addPane(glass, 1.0f, 30.0f);
    scene.build();
    EXPECT_LANES_NEAR(factor(1.0f, 0b0111).r, 0.5f, 0, 0, 1, 1e-6f);
    EXPECT_EQ(glass.lanes & 0b1010, 0) << "of walls, and off the mask";
}

// What is shown to one eye shades only what that eye sees; rays of both eyes follow the right one.
TEST_F(Shadow, KeepsTheEyesApart)
{
    Pane left(znRTColor(), false), right(znRTColor(), false);
    left.visibility = rayType::leftEye & rayType::defaultVisibility;
    right.visibility = rayType::rightEye & rayType::defaultVisibility;
    addPane(left, 1.0f);
    addPane(right, 1.0f, 10.0f);
    scene.build();
    EXPECT_LANES_EQ(factor(1.0f, 15, 1e6f, rayType::cameraLeft).r, 0, 1, 1, 1);
    EXPECT_LANES_EQ(factor(1.0f, 15, 1e6f, rayType::cameraRight).r, 1, 0, 1, 1);
    EXPECT_LANES_EQ(factor(1.0f, 15, 1e6f, rayType::camera).r, 1, 0, 1, 1);
}

TEST_F(Shadow, IsOfTheClassThatIsAskedFor)
{
    Pane noShadows(znRTColor(), false);
    noShadows.visibility = rayType::defaultVisibility & ~rayType::lightShadow;
    addPane(noShadows, 1.0f);
    scene.build();
    EXPECT_LANES_EQ(factor().r, 1, 1, 1, 1);
    const znRTVector3fPacket origin(x, 0.1f, 0.0f);
    const znRTRayPacket ray(origin, inAllLanes(0, 0, -1));
    const znRTColorPacket dark = znRTLight::getEnvironmentShadowFactor(
        ray, origin, inAllLanes(0, 0, 1), 0.0f, everyLane4, 1.0f, znRTShadingState(),
        int(rayType::environmentShadow));
    EXPECT_LANES_EQ(dark.r, 0, 1, 1, 1);
}

TEST_F(Shadow, KnowsRaysThatStartInReflections)
{
    znRTRayPacket ray(inAllLanes(0, 0, 0), inAllLanes(0, 0, -1));
    ray.type = znIntType<2>(int(rayType::camera), int(rayType::mirrorReflection),
                            int(rayType::glossyReflection & rayType::leftEye),
                            int(rayType::specularRefraction));
    EXPECT_INT_LANES(znRTLight::shadowVisibility(ray), rayType::lightShadow,
                     rayType::reflectedShadow, rayType::reflectedShadow, rayType::lightShadow);
}

TEST_F(Shadow, EndsAtTheLight)
{
    Pane wall(znRTColor(), false);
    addPane(wall, 5.0f);
    scene.build();
    PlacedCore<osg::UPointLight> placed;
    znRTUPointLight light(placed.node.get(), placed.core);
    const znRTVector3fPacket origin(x, 0.1f, 0.0f);
    const znRTRayPacket ray(origin, inAllLanes(0, 0, -1));
    const auto shadowAt = [&](float height) {
        placed.move(0.3f, 0.1f, height);
        light.update();
        return light.getShadowFactor(ray, origin, light.getLightVector(origin),
                                     znRTLight::shadowVisibility(ray), expandLanes(1),
                                     znRTShadingState());
    };
    EXPECT_EQ(shadowAt(4.0f).r[0], 1.0f);
    EXPECT_EQ(shadowAt(6.0f).r[0], 0.0f);
}

// The surface of the light itself is in the scene.
TEST_F(Shadow, EndsBeforeASurfaceThatEmits)
{
    Pane wall(znRTColor(), false);
    for (const float height : {0.001f, 1.0f, 10000.0f}) {
        MeshScene own;
        znRTRenderUtils::s_currentAccelerator = own.scene.get();
        const osg::NodePtr node = own.add(square.get(), makeTranslation(0, 0, height));
        own.mesh(node).setMaterial(&wall);
        own.build();
        PlacedCore<osg::UPointLight> placed;
        znRTUPointLight light(placed.node.get(), placed.core);
        light.update();
        const znRTVector3fPacket origin(0.0f, 0.0f, 0.0f);
        const znRTRayPacket ray(origin, inAllLanes(0, 0, -1));
        const znRTVector3fPacket onLight(znFloatType<2>(0.1f, 0.5f, -0.7f, 0.9f), 0.2f, height);
        const znRTColorPacket seen = light.getShadowFactorToPoint(
            ray, origin, onLight, int(rayType::lightShadow), everyLane4, znRTShadingState());
        EXPECT_LANES_EQ(seen.r, 1, 1, 1, 1);
        const znRTColorPacket beyond =
            light.getShadowFactorToPoint(ray, origin, onLight * 1.001f, int(rayType::lightShadow),
                                         everyLane4, znRTShadingState());
        EXPECT_LANES_EQ(beyond.r, 0, 0, 0, 0);
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
    }
}

} // namespace
