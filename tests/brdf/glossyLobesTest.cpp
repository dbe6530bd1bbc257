// What is special about single glossy lobes; common promises stand in lobeContractTest.cpp.

#include "brdf/analytic/znRTAnisotropicASBRDF.h"
#include "brdf/analytic/znRTCookTorranceBRDF.h"
#include "brdf/analytic/znRTIsotropicASBRDF.h"
#include "brdf/analytic/znRTLambertBRDF.h"
#include "brdf/analytic/znRTMatrixWardBRDF.h"
#include "brdf/analytic/znRTPhongBRDF.h"
#include "brdf/analytic/znRTSubstanceGGXBRDF.h"
#include "brdf/lobeProbe.h"
#include "brdf/opticalConstants.h"
#include "support/lanes.h"

using namespace lobeProbe;
using reference::Uniform;

// Half vectors on the horizon: opposite directions along it.
TEST(PowerLobes, AreBlackWhereTheHalfVectorLiesFlat)
{
    for (const char* name : {"phong20", "isotropicASCopper", "anisotropicAS", "cookTorrance"}) {
        const LobeSetting setting(lobeCase(name));
        znFloatType<2> pdf;
        const znRTColorPacket f =
            setting.lobe->evaluate(lanesOf({1.0, 0.0, 0.0}), lanesOf({0.0, 1.0, 0.0}), dg, pdf);
        EXPECT_EQ(f.r[0], 0.0f) << name;
        EXPECT_EQ(pdf[0], 0.0f) << name;
    }
}

TEST(AnisotropicLobe, IsTheIsotropicOneForEqualExponents)
{
    znRTAnisotropicASBRDF<0> two;
    znRTIsotropicASBRDF<0> one;
    two.setup(exponents(35.0f, 35.0f), 4);
    one.setup(exponents(35.0f, 35.0f), 4);
    EXPECT_FALSE(two.isAnisotropic());
    EXPECT_FLOAT_EQ(two.getLevel(), one.getWidth().level);
    Uniform uniform(1);
    for (int i = 0; i < 100; ++i) {
        const Vector wo = direction(80.0 * uniform()), wi = upperHemisphere(uniform);
        EXPECT_NEAR(redOf(two, wo, wi), redOf(one, wo, wi), 1e-5f * redOf(one, wo, wi));
        const znFloatType<2> u(uniform()), v(uniform());
        znRTVector3fPacket a, b;
        two.sample({u, v}, lanesOf(wo), dg, a);
        one.sample({u, v}, lanesOf(wo), dg, b);
        EXPECT_NEAR(dot(a, b)[0], 1.0f, 1e-6f);
    }
}

TEST(AnisotropicLobe, TurnsByARightAngleWhenItsExponentsAreExchanged)
{
    znRTAnisotropicASBRDF<0> lobe, exchanged;
    lobe.setup(exponents(10.0f, 200.0f), 4);
    exchanged.setup(exponents(200.0f, 10.0f), 4);
    EXPECT_TRUE(lobe.isAnisotropic());
    Uniform uniform(2);
    for (int i = 0; i < 200; ++i) {
        const Vector wo = direction(80.0 * uniform()), wi = upperHemisphere(uniform);
        const float expected = redOf(lobe, wo, wi);
        EXPECT_NEAR(redOf(exchanged, wo.swapped(), wi.swapped()), expected,
                    1e-4f * expected + 1e-6f);
    }
}

TEST(FacetLobe, TurnsByARightAngleWhenItsSlopesAreExchanged)
{
    znRTGGXBRDF<0> lobe, turned;
    lobe.setup(slopes(0.1f, 0.4f, 90.0f), 4);
    turned.setup(slopes(0.4f, 0.1f), 4);
    Uniform uniform(3);
    for (int i = 0; i < 200; ++i) {
        const Vector wo = direction(80.0 * uniform()), wi = upperHemisphere(uniform);
        const float expected = redOf(turned, wo, wi);
        EXPECT_NEAR(redOf(lobe, wo, wi), expected, 1e-4f * expected + 1e-6f);
    }
}

// What facets would need a second bounce for is lost: energies of slope 0.3 by a separate
// quadrature over 1500 x 3000 directions.
TEST(FacetLobe, LosesTheLightOfSecondBounces)
{
    znRTGGXBRDF<0> lobe, rougher;
    lobe.setup(slopes(0.3f, 0.3f), 4);
    rougher.setup(slopes(0.9f, 0.9f), 4);
    const std::pair<double, double> energies[] = {
        {0.0, 0.877}, {30.0, 0.864}, {60.0, 0.822}, {80.0, 0.848}, {88.0, 0.948}};
    for (const auto& [degrees, energy] : energies) {
        EXPECT_NEAR(albedo(lobe, direction(degrees)), energy, 0.005) << degrees;
        EXPECT_LT(albedo(rougher, direction(degrees)), energy) << degrees;
    }
}

TEST(WardLobe, HoldsItsSlopesInsideTheirRange)
{
    const auto lobeOf = [](float x) {
        znRTBSDFAttributes record;
        record.roughnessX = record.roughnessY = x;
        znRTMatrixWardBRDF<0> lobe;
        lobe.setup(record, 4);
        return lobe;
    };
    EXPECT_EQ(lobeOf(2.0f).getSlopes().alphaX, 1.0f);
    EXPECT_EQ(lobeOf(0.0f).getSlopes().alphaY, 1e-4f);
    const Vector wo = direction(30), mirrored{-wo.x, -wo.y, wo.z};
    EXPECT_EQ(redOf(lobeOf(2.0f), wo, direction(50)), redOf(lobeOf(1.0f), wo, direction(50)));
    EXPECT_EQ(redOf(lobeOf(0.0f), wo, mirrored), redOf(lobeOf(1e-4f), wo, mirrored));
    EXPECT_GT(redOf(lobeOf(0.0f), wo, mirrored), 1e6f);
}

// Value of the other channels over red is that of the metal's reflectances.
TEST(FresnelLobes, TintTheirValueByTheMetal)
{
    const LobeSetting setting(lobeCase("isotropicASCopper"));
    const Vector wo = direction(40), wi = direction(30, 3.6);
    const znRTColorPacket f = valueOf(*setting.lobe, wo, wi);
    const double c = reference::half(wo, wi).dot(wo);
    const znOpticalConstants& copper = getOpticalConstants(6);
    const double red = reference::conductor(c, copper.n[0], copper.k[0]);
    EXPECT_NEAR(f.g[0] / f.r[0], reference::conductor(c, copper.n[1], copper.k[1]) / red, 1e-4);
    EXPECT_NEAR(f.b[0] / f.r[0], reference::conductor(c, copper.n[2], copper.k[2]) / red, 1e-4);
    EXPECT_EQ(f.a[0], 1.0f);
}

TEST(FresnelLobes, ChooseTheirTermByTheRecord)
{
    znRTIsotropicASBRDF<0> lobe;
    znRTBSDFAttributes record;
    record.fresnelTable = 4;
    lobe.setup(record, 4);
    EXPECT_TRUE(lobe.getFresnel()->isOfType(znRTFresnelApprox::s_typeId));
    EXPECT_EQ(lobe.getFresnel()->getTableIndex(), 4u);
    record.fresnelTable = znRTBSDFAttributes::noTable;
    record.reflectance = 0.5f;
    lobe.setup(record, 4);
    EXPECT_NEAR(lobe.getFresnel()->conductor(1.0f)[0], 0.5395f, 1e-4f);
    record.useSchlick = true;
    lobe.setup(record, 4);
    EXPECT_TRUE(lobe.getFresnel()->isOfType(znRTFresnelSchlick::s_typeId));
    EXPECT_NEAR(lobe.getFresnel()->conductor(1.0f)[0], 0.5f, 1e-6f);
    lobe.setReflectanceColor(znRTColor(0.1f, 0.2f, 0.3f));
    EXPECT_NEAR(lobe.getFresnel()->conductorColor(1.0f).b[0], 0.3f, 1e-6f);
    lobe.setup(record, 4); // the record's term again
    EXPECT_NEAR(lobe.getFresnel()->conductorColor(1.0f).b[0], 0.5f, 1e-6f);

    EXPECT_NE(znRTAnisotropicASBRDF<1>().getFresnel(), nullptr);
    EXPECT_NE(znRTCookTorranceBRDF<0>().getFresnel(), nullptr);
    EXPECT_NE(znRTGGXBRDF<0>().getFresnel(), nullptr);
    EXPECT_NE(znRTSubstanceGGXBRDF().getFresnel(), nullptr);
    EXPECT_EQ(znRTPhongBRDF<0>().getFresnel(), nullptr);
    EXPECT_EQ(znRTMatrixWardBRDF<0>().getFresnel(), nullptr);
}

TEST(Lobes, WeighTheirPartInABlend)
{
    EXPECT_FLOAT_EQ(znRTPhongBRDF<1>().getBlendWeight(0.3f)[0], 0.4f);
    EXPECT_FLOAT_EQ(znRTMatrixWardBRDF<0>().getBlendWeight(0.3f)[0], 0.4f);
    EXPECT_FLOAT_EQ(znRTLambertBRDF().getBlendWeight(0.3f)[0], 0.5f);
    znRTBSDFAttributes record;
    record.useSchlick = true;
    record.reflectance = 0.04f;
    znRTIsotropicASBRDF<0> lobe;
    lobe.setup(record, 4);
    EXPECT_NEAR(lobe.getBlendWeight(0.3f)[0], reference::schlick(0.3, 0.04), 1e-5);
}

TEST(Lobes, EstimateReflectanceByTheLaneWhereItHasOne)
{
    LobeBlock block{};
    block[0].clear();
    block[0].setReflectance({0.9f, 0.6f, 0.3f, 1.0f}, expandLanes(0b0001));
    znRTDifferentialGeometry withBlock{};
    withBlock.parameters = block.data();
    const auto expectLane = [&](const znRTBRDF& lobe) {
        const znRTColorPacket rho = lobe.rho(withBlock, {0.5f, 0.5f}, znFloatType<2>::allLanes());
        EXPECT_LANES_EQ(rho.r, 0.9f, 1, 1, 1);
        EXPECT_LANES_EQ(rho.b, 0.3f, 1, 1, 1);
    };
    expectLane(znRTPhongBRDF<1>());
    expectLane(znRTIsotropicASBRDF<1>());
    expectLane(znRTAnisotropicASBRDF<1>());
    expectLane(znRTCookTorranceBRDF<1>());
    expectLane(znRTGGXBRDF<1>());
    expectLane(znRTMatrixWardBRDF<1>());
    const znRTColorPacket own =
        znRTPhongBRDF<0>().rho(withBlock, {0.5f, 0.5f}, znFloatType<2>::allLanes());
    EXPECT_LANES_EQ(own.b, 1, 1, 1, 1);
}

// Schlick's formula from the lane's colour: no optical constants are known for it.
TEST(FresnelLobes, FollowTheColourOfALane)
{
    LobeBlock block{};
    block[0].clear();
    block[0].setReflectance({0.9f, 0.6f, 0.3f, 1.0f}, expandLanes(0b0011));
    znRTDifferentialGeometry withBlock{};
    withBlock.parameters = block.data();
    znRTSubstanceGGXBRDF lobe;
    znRTSubstanceAttributes record;
    record.specularLevel = 1.0f;
    lobe.setup(record, 4);
    const Vector wo = direction(30), wi{-wo.x, -wo.y, wo.z};
    const znRTColorPacket f = lobe.evaluate(lanesOf(wo), lanesOf(wi), withBlock);
    const double base = reference::schlick(wo.z, 0.08);
    EXPECT_NEAR(f.r[0] / f.r[3], reference::schlick(wo.z, 0.9) / base, 1e-3);
    EXPECT_NEAR(f.b[1] / f.b[2], reference::schlick(wo.z, 0.3) / base, 1e-3);
}

// 0.08 times the level for what is no metal; aspect sqrt(1 - 0.9 anisotropy).
TEST(SubstanceLobe, DerivesSlopesAndColourFromTheWorkflow)
{
    const znRTColorPacket base(0.9f, 0.5f, 0.2f, 1.0f);
    const znRTColorPacket f0 = znRTSubstanceGGXBRDF::getReflectanceOf(
        base, {0.0f, 1.0f, 0.5f, 0.0f}, {0.5f, 0.5f, 0.5f, 1.0f});
    EXPECT_LANES_NEAR(f0.r, 0.04f, 0.9f, 0.47f, 0.08f, 1e-6f);
    const znRTVector2fPacket alpha =
        znRTSubstanceGGXBRDF::getSlopesOf({0.5f, 0.5f, 1.0f, 0.0f}, {0.0f, 1.0f, 0.5f, 0.3f});
    const float narrow = std::sqrt(0.1f), middle = std::sqrt(0.55f);
    EXPECT_LANES_NEAR(alpha.x, 0.25f, 0.25f / narrow, 1.0f / middle, 0.0f, 1e-5f);
    EXPECT_LANES_NEAR(alpha.y, 0.25f, 0.25f * narrow, middle, 0.0f, 1e-5f);
}
