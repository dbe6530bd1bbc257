// What is special about single diffuse lobes; common promises stand in lobeContractTest.cpp.

#include "brdf/analytic/znRTDiffuseASBRDF.h"
#include "brdf/analytic/znRTDiffuseFresnelBRDF.h"
#include "brdf/analytic/znRTMinnaertBRDF.h"
#include "brdf/analytic/znRTVelvetyBRDF.h"
#include "brdf/fresnelSetting.h"
#include "brdf/lobeProbe.h"
#include "support/lanes.h"

using namespace lobeProbe;

TEST(LambertLobe, IsSmoothForARecordThatKnowsNoFacets)
{
    znRTBSDFAttributes facets;
    facets.diffuseRoughness = 0.5f;
    znRTLambertBRDF lobe;
    lobe.setup(facets, 4);
    EXPECT_LT(redOf(lobe, direction(0), direction(0)), 0.3f);
    lobe.setup(znRTSpecularBTDFAttributes(), 4);
    EXPECT_NEAR(redOf(lobe, direction(0), direction(0)), 1.0 / reference::pi, 1e-6);
}

// Along the normal the azimuth of either direction is that of the frame's u: then the cosine
// between azimuths is the x of the other's, and only A remains, since one angle is 0.
TEST(LambertLobe, HasAValueForDirectionsOnTheNormal)
{
    znRTBSDFAttributes facets;
    facets.diffuseRoughness = 0.5f;
    znRTLambertBRDF lobe;
    lobe.setup(facets, 4);
    const double a = 1.0 - 0.25 / (2.0 * 0.58);
    EXPECT_NEAR(redOf(lobe, direction(0), direction(60)), a / reference::pi, 1e-6);
    EXPECT_NEAR(redOf(lobe, direction(60), direction(0)), a / reference::pi, 1e-6);
}

TEST(LambertLobe, EstimatesItsReflectanceAsItsColour)
{
    znRTLambertBRDF lobe;
    lobe.setColorFactor(znRTColor(0.2f, 0.4f, 0.6f, 0.0f));
    const znRTColorPacket rho = lobe.rho(dg, {0.5f, 0.5f}, znFloatType<2>::allLanes());
    EXPECT_LANES_EQ(rho.g, 0.4f, 0.4f, 0.4f, 0.4f);
    EXPECT_LANES_EQ(rho.a, 1, 1, 1, 1);
}

// 28 (1 - f) / (23 pi) in the classic form; with the other setting 21 r (1 - f) / (20 pi) and the
// rest plainly diffuse. At the normal both sides of the shape are 1 - 2^-5 or 1.
TEST(LayeredDiffuseLobe, FollowsTheSettingOfTheFresnelMode)
{
    znRTBSDFAttributes record;
    record.reflectance = 0.2f;
    record.diffuseShare = 0.5f;
    znRTDiffuseASBRDF lobe;
    {
        const FresnelSetting classic(false);
        lobe.setup(record, 4);
    }
    const double side = 1.0 - std::pow(0.5, 5.0);
    EXPECT_NEAR(redOf(lobe, direction(0), direction(0)),
                28.0 * 0.8 / (23.0 * reference::pi) * side * side, 1e-5);
    const FresnelSetting conserving(true);
    lobe.setup(record, 4);
    EXPECT_NEAR(redOf(lobe, direction(0), direction(0)),
                0.5 / reference::pi + 0.5 * 21.0 * 0.8 / (20.0 * reference::pi), 1e-5);
}

// The lane's weight keeps the diffuse share: without it, half plain and fully layered light would
// add up to 1.46.
TEST(LayeredDiffuseLobe, KeepsTheEnergyWhereALaneHasItsOwnReflectance)
{
    const FresnelSetting conserving(true);
    znRTBSDFAttributes record;
    record.reflectance = 0.9f;
    record.diffuseShare = 0.5f;
    znRTDiffuseASBRDF lobe;
    lobe.setup(record, 4);
    LobeBlock block{};
    block[0].clear();
    block[0].setReflectance(znRTColorPacket(0.0f), znFloatType<2>::allLanes());
    znRTDifferentialGeometry withBlock{};
    withBlock.parameters = block.data();
    const Vector wo = direction(0);
    double sum = 0.0;
    constexpr int rows = 500;
    for (int row = 0; row < rows; ++row) {
        const double theta = (row + 0.5) * 0.5 * reference::pi / rows;
        sum += lobe.evaluate(lanesOf(wo), lanesOf(Vector::polar(theta, 0.0)), withBlock).r[0] *
               std::sin(theta) * std::cos(theta) * reference::pi * reference::pi / rows;
    }
    EXPECT_NEAR(sum, 0.5 + 0.5, 0.01);
}

// (0.5^2)^(0.5 - 1) = 2 where both cosines are a half, and the ceiling of 10 at the rim.
TEST(MinnaertLobe, BrightensTheRimUpToItsCeiling)
{
    const LobeSetting setting(lobeCase("minnaertBright"));
    EXPECT_NEAR(redOf(*setting.lobe, direction(60), direction(60, 2.0)), 2.0 / reference::pi, 1e-5);
    EXPECT_NEAR(redOf(*setting.lobe, direction(89.9), direction(89.9, 2.0)), 10.0 / reference::pi,
                1e-5);
    EXPECT_EQ(valueOf(*setting.lobe, direction(60), direction(60)).a[0], 0.0f);
}

TEST(MinnaertLobe, ReadsItsDarkeningFromEitherRecord)
{
    znRTBSDFAttributes surface;
    surface.darkening = 2.0f;
    znRTPhongBTDFAttributes rough;
    rough.darkening = 3.0f;
    znRTMinnaertBRDF lobe;
    lobe.setup(surface, 4);
    EXPECT_NEAR(redOf(lobe, direction(60), direction(60)), 0.25 / reference::pi, 1e-6);
    lobe.setup(rough, 4);
    EXPECT_NEAR(redOf(lobe, direction(60), direction(60)), 0.0625 / reference::pi, 1e-6);
}

TEST(VelvetyLobe, TakesTextureValuesAsExponents)
{
    EXPECT_EQ(znRTVelvetyBRDF().convertExponent(7.0f)[0], 7.0f);
    znRTVelvetyBRDF lobe;
    EXPECT_EQ(valueOf(lobe, direction(60), direction(10)).a[0], 0.0f);
}

// Energies at the normal, by quadrature of the renormalised form for r = 0, 0.5, 1.
TEST(DiffuseFresnelLobe, KeepsItsEnergyOverRoughness)
{
    const auto energy = [](float roughness) {
        znRTSubstanceAttributes record;
        record.roughness = roughness;
        znRTDiffuseFresnelBRDF lobe;
        lobe.setup(record, 4);
        return albedo(lobe, {0.0, 0.0, 1.0});
    };
    EXPECT_NEAR(energy(0.0f), 0.95, 0.005);
    EXPECT_NEAR(energy(0.5f), 0.83, 0.005);
    EXPECT_NEAR(energy(1.0f), 0.69, 0.005);
}

TEST(DiffuseFresnelLobe, AveragesTheRoughnessOfBothAxes)
{
    znRTDiffuseFresnelBRDF two, one;
    two.setup(slopes(0.04f, 0.36f), 4); // linear 0.2 and 0.6
    one.setup(slopes(0.16f, 0.16f), 4); // linear 0.4
    EXPECT_TRUE(two.isAnisotropic());
    EXPECT_FALSE(one.isAnisotropic());
    EXPECT_NEAR(redOf(two, direction(70), direction(40)), redOf(one, direction(70), direction(40)),
                1e-6f);
}
