// Frosted glass, and the light that surfaces gather through glass.

#include "glassFixture.h"

#include "host/znRenderPasses.h"

using namespace materialTest;

namespace {

class FrostedGlass : public GlassTest
{
protected:
    static GlassPtr makeFrosted(float roughness, bool isThin)
    {
        const auto glass = makeGlass(1.5f);
        glass->setFinish(1);
        glass->setRoughness(roughness);
        glass->setUseIor(!isThin);
        return glass;
    }
};

} // namespace

// A lamp of half width 0.2 at a distance of 1: a narrow lobe sees it as clear glass does, a wide
// one as a part of what it spreads over.
TEST_F(FrostedGlass, SpreadsLampsByItsRoughness)
{
    const auto glass = makeFrosted(0.01f, true);
    addFace(glass, 0.0f, true);
    addLamp(-1.0f, 0.2f);
    const znRTRayDifferentialPacket ray = slanting(0.05f, 0.0);
    EXPECT_NEAR(mean(ray, 64), 0.923, 0.005);
    // Density (e + 1) / (2 pi) cos^e about the axis, over the square: by the midpoint rule.
    glass->setRoughness(0.2f);
    scene.scene->applyMaterialChanges();
    constexpr double e = 25.0;
    double expected = 0.0;
    constexpr int cells = 200;
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < cells; ++j) {
            const double x = -0.2 + 0.402 * (i + 0.5) / cells - 0.05;
            const double y = -0.2 + 0.402 * (j + 0.5) / cells - 0.1;
            const double square = x * x + y * y + 1.0;
            expected += (e + 1.0) / (2.0 * testPi) * std::pow(square, -0.5 * e - 1.5) * 0.402 *
                        0.402 / (cells * cells);
        }
    EXPECT_NEAR(mean(ray, 2048), 0.923 * expected, 0.01);
    EXPECT_LT(0.923 * expected, 0.6);
}

// In white surroundings a thin pane and a plate are white, but for what the rough reflection loses
// below its horizon.
TEST_F(FrostedGlass, KeepsTheLightOfWhiteSurroundings)
{
    for (const bool isThin : {true, false}) {
        surround(white());
        const auto glass = makeFrosted(0.1f, isThin);
        if (isThin)
            addFace(glass, 0.0f, true);
        else
            addSlab(glass, 0.5f);
        for (const double degrees : {0.0, 30.0, 60.0})
            EXPECT_NEAR(mean(slanting(0.3f, degrees), 256), 1.0, 0.02) << isThin << " " << degrees;
        scene.scene->clear();
        squares.clear();
        znRTRenderUtils::updateEnvironment();
    }
}

TEST_F(FrostedGlass, ReflectsLightSources)
{
    addFace(makeFrosted(0.2f, false), 0.0f, true);
    addSun();
    EXPECT_GT(shade().color.g[0], 0.1f);
    EXPECT_GT(shade().layer(ZN_PASS_GLOSSY_LIGHT).g[0], 0.1f);
}

// Light that comes through glass counts once, whether shadow rays bring it or bent ways do: a white
// floor below a pane in white surroundings is white. A part is
// lost with the number of bounces.
TEST_F(FrostedGlass, LetsSurfacesGatherTheLightBehindItOnce)
{
    for (const bool isColoured : {true, false})
        for (const bool isSolid : {false, true}) {
            Settings::s_interactiveReflectionDepth = Settings::s_stillFrameReflectionDepth = 6;
            surround(white(), 3);
            const auto glass = makeGlass(1.5f);
            glass->setColouredShadow(isColoured);
            glass->setUseIor(isSolid);
            if (isSolid)
                addSlab(glass, 0.5f);
            else
                addFace(glass, 0.0f, true);
            addFace(makeDiffuse(1.0f), -1.5f, true);
            beStill();
            const znRTRayDifferentialPacket below(
                znRTRayPacket({0.3f, 0.1f, -1.0f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
            const double seen = mean(below, 512);
            EXPECT_GT(seen, 0.93) << isColoured << " " << isSolid;
            EXPECT_LT(seen, 1.02) << isColoured << " " << isSolid;
            scene.scene->clear();
            squares.clear();
            znRTRenderUtils::updateEnvironment();
        }
    Settings::s_stillFrameReflectionDepth = 10;
}
