#include "texture/znRTCleanSurface.h"

#include "support/lanes.h"

#include <random>

namespace {

znRTVector3fPacket randomDirections(std::mt19937& engine)
{
    std::normal_distribution<float> normal;
    const auto lanes = [&] {
        return znFloatType<2>(normal(engine), normal(engine), normal(engine), normal(engine));
    };
    return znRTVector3fPacket(lanes(), lanes(), lanes()).getNormalized();
}

void expectOrthonormal(const znRTONB& onb)
{
    EXPECT_LANES_NEAR(dot(onb.u, onb.v), 0, 0, 0, 0, 2e-6f);
    EXPECT_LANES_NEAR(dot(onb.u, onb.n), 0, 0, 0, 0, 2e-6f);
    EXPECT_LANES_NEAR(onb.u.getLength(), 1, 1, 1, 1, 2e-6f);
    EXPECT_LANES_NEAR(onb.v.getLength(), 1, 1, 1, 1, 2e-6f);
    EXPECT_LANES_NEAR(dot(cross(onb.u, onb.v), onb.n), 1, 1, 1, 1, 4e-6f);
}

} // namespace

TEST(CleanSurface, GivesRightHandedFramesAlongTheTangents)
{
    std::mt19937 engine(3);
    const znRTCleanSurface surface;
    const znFloatType<2> all = znFloatType<2>::allLanes();
    for (int i = 0; i < 250; ++i) {
        znRTDifferentialGeometry dg{};
        dg.shadingNormal = randomDirections(engine);
        dg.tangent = randomDirections(engine) * 3.0f;
        dg.tangentMask = expandLanes(i % 16);
        const znRTONB onb = surface.getFrameAt(dg, all);
        expectOrthonormal(onb);
        EXPECT_LANES_NEAR((onb.n - dg.shadingNormal).getLength(), 0, 0, 0, 0, 0.0f);
        // v is orthogonal to the tangent in lanes that have one.
        const znFloatType<2> across = dot(onb.v, dg.tangent) & dg.tangentMask;
        EXPECT_LANES_NEAR(across, 0, 0, 0, 0, 1e-5f);
        EXPECT_EQ(moveMask((dot(onb.u, dg.tangent) < znFloatType<2>(0.0f)) & dg.tangentMask), 0);
    }
}

// A tangent along the normal tells nothing: the frame is that of the normal alone.
TEST(CleanSurface, IgnoresTangentsAlongTheNormal)
{
    std::mt19937 engine(5);
    const znRTCleanSurface surface;
    const znFloatType<2> all = znFloatType<2>::allLanes();
    znRTDifferentialGeometry dg{};
    dg.shadingNormal = randomDirections(engine);
    dg.tangent = dg.shadingNormal * -2.0f;
    dg.tangentMask = all;
    const znRTONB along = surface.getFrameAt(dg, all);
    expectOrthonormal(along);
    dg.tangentMask = znFloatType<2>::noLanes();
    const znRTONB without = surface.getFrameAt(dg, all);
    EXPECT_LANES_NEAR((along.u - without.u).getLength(), 0, 0, 0, 0, 0.0f);
}

TEST(CleanSurface, KeepsTheNormalAndAsksForNothing)
{
    const znRTCleanSurface surface;
    znRTDifferentialGeometry dg{};
    dg.shadingNormal = {0.0f, 0.6f, 0.8f};
    EXPECT_LANES_EQ(surface.getNormalAt(dg, znFloatType<2>::allLanes()).y, 0.6f, 0.6f, 0.6f, 0.6f);
    EXPECT_EQ(surface.getRequirements(), 0u);
    EXPECT_FALSE(surface.perturbs());
    EXPECT_EQ(surface.getTextureAttributes(), nullptr);
}
