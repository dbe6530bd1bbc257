#include "material/translucency.h"
#include "materialFixture.h"

#include "host/znRenderPasses.h"

using namespace materialTest;

namespace {

PhongPtr makeLeaf(float diffuse, float translucent)
{
    const PhongPtr material = makeDiffuse(diffuse);
    material->setTranslucencyMode(translucent > 0.0f ? 1 : 0);
    material->setTranslucency(gray(translucent));
    material->setTranslucencyExponent(1.0f);
    return material;
}

class Translucency : public MaterialTest
{
protected:
    double mean(int pass)
    {
        double sum = 0.0;
        for (int i = 0; i < samples; ++i) {
            const Shaded seen = shade(0.2f, 0.1f, 15, i);
            for (int lane = 0; lane < 4; ++lane)
                sum += double(pass < 0 ? seen.color.r[lane] : seen.layer(pass).r[lane]);
        }
        return sum / (4.0 * samples);
    }
    static constexpr int samples = 1024;
};

} // namespace

// A light behind the leaf: pi f cos with f = (e + 2) / (2 pi) at normal incidence, 1.5 for e = 1,
// times the colour. Without translucency the leaf is dark.
TEST_F(Translucency, LetsALightShineThroughALeaf)
{
    const PhongPtr leaf = makeLeaf(0.4f, 0.2f);
    addSquare(leaf);
    addSun(180.0);
    EXPECT_NEAR(mean(-1), 0.2 * 1.5, 0.01 * 0.3);
    EXPECT_NEAR(mean(ZN_PASS_TRANSLUCENCY), 0.2 * 1.5, 0.01 * 0.3);
    leaf->setTranslucencyMode(0);
    scene.scene->applyMaterialChanges();
    EXPECT_EQ(shade().color.r[0], 0.0f);
}

TEST_F(Translucency, ShowsNothingBehindFromALightInFront)
{
    addSquare(makeLeaf(0.0f, 0.5f));
    addSun(20.0);
    EXPECT_EQ(mean(-1), 0.0);
}

// With lights on both sides the mean over the samples is the sum of both sides, each of which is
// known: 0.4 cos 0 of the front's diffuse light, and the above of the back.
TEST_F(Translucency, ChoosesSidesWithoutBias)
{
    addSquare(makeLeaf(0.4f, 0.2f));
    addSun(0.0);
    addSun(180.0);
    EXPECT_NEAR(mean(-1), 0.4 + 0.3, 0.01 * 0.7);
    const znRTColorPacket one = shade(0.2f, 0.1f, 15, 3).color;
    // p = 0.9 (0.4 / 0.6) + 0.05 = 0.65: each lane shows 0.4 / p or 0.3 / (1 - p).
    for (int lane = 0; lane < 4; ++lane)
        EXPECT_TRUE(std::abs(one.r[lane] - 0.4f / 0.65f) < 1e-4f ||
                    std::abs(one.r[lane] - 0.3f / 0.35f) < 1e-3f)
            << one.r[lane];
}

TEST_F(Translucency, LeavesEmissionOutOfTheChoice)
{
    const PhongPtr leaf = makeLeaf(0.4f, 0.2f);
    leaf->setIncandescence(gray(0.7f));
    leaf->setIncandescenceActive(true);
    addSquare(leaf);
    for (int i = 0; i < 8; ++i)
        EXPECT_LANES_NEAR(shade(0.2f, 0.1f, 15, i).color.r, 0.7f, 0.7f, 0.7f, 0.7f, 1e-6f);
}

// The lobe stands in the frame of the negated normal: the viewer is below it.
TEST_F(Translucency, EntersItsLobeInTheFrameOfTheBack)
{
    znRTMaterial& shading = addSquare(makeLeaf(0.4f, 0.2f));
    znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data = blockOf(ray);
    const znRTDifferentialGeometry before = data.dg;
    znRTSurfaceProperties surface;
    surface.reset();
    znRTShadingState state = stateOf(0);
    shading.evaluateMaterial(ray, data, surface, znFloatType<2>::allLanes(), state, -1,
                             znRTMaterial::gather);
    constexpr int transmission = 3;
    ASSERT_EQ(surface.groups[transmission].count, 1u);
    const znRTONB& onb = surface.groups[transmission].onb;
    EXPECT_LANES_NEAR(onb.n.z, -1, -1, -1, -1, 1e-6f);
    EXPECT_LANES_NEAR(dot(cross(onb.u, onb.v), onb.n), 1, 1, 1, 1, 1e-6f);
    shade(); // leaves blocks as they were
    EXPECT_LANES_NEAR(data.dg.shadingNormal.z - before.shadingNormal.z, 0, 0, 0, 0, 0.0f);
}
