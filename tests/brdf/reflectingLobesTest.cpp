// What is special about single reflecting lobes; common promises stand in lobeContractTest.cpp.

#include "brdf/analytic/znRTAnisotropicASBRDF.h"
#include "brdf/analytic/znRTCookTorranceBRDF.h"
#include "brdf/analytic/znRTDiffuseASBRDF.h"
#include "brdf/analytic/znRTDiffuseFresnelBRDF.h"
#include "brdf/analytic/znRTIsotropicASBRDF.h"
#include "brdf/analytic/znRTMatrixWardBRDF.h"
#include "brdf/analytic/znRTMinnaertBRDF.h"
#include "brdf/analytic/znRTPhongBRDF.h"
#include "brdf/analytic/znRTSubstanceGGXBRDF.h"
#include "brdf/analytic/znRTVelvetyBRDF.h"
#include "brdf/fresnelSetting.h"
#include "brdf/lobeCases.h"
#include "brdf/opticalConstants.h"
#include "support/lanes.h"

using reference::Uniform;
using reference::Vector;

namespace {

const znRTDifferentialGeometry dg{};

Vector direction(double degrees, double azimuth = 0.7)
{
    return Vector::polar(degrees * reference::pi / 180.0, azimuth);
}

znRTColorPacket valueOf(const znRTBRDF& lobe, const Vector& wo, const Vector& wi)
{
    return lobe.evaluate(lanesOf(wo), lanesOf(wi), dg);
}

float redOf(const znRTBRDF& lobe, const Vector& wo, const Vector& wi)
{
    return valueOf(lobe, wo, wi).r[0];
}

znRTBSDFAttributes exponents(float u, float v)
{
    znRTBSDFAttributes record;
    record.setExponents(u, v);
    record.useSchlick = true;
    record.reflectance = 1.0f;
    return record;
}

znRTBSDFAttributes slopes(float x, float y, float degrees = 0.0f)
{
    znRTBSDFAttributes record = exponents(50.0f, 50.0f);
    record.setSlopes(x, y);
    record.anisotropyAngle = degrees;
    return record;
}

/// Light that leaves the surface of all that comes from the whole hemisphere.
double albedo(const znRTBRDF& lobe, const Vector& wo)
{
    constexpr int rows = 180, columns = 360;
    constexpr double dTheta = 0.5 * reference::pi / rows, dPhi = 2.0 * reference::pi / columns;
    double sum = 0.0;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            const double theta = (row + 0.5) * dTheta;
            sum += redOf(lobe, wo, Vector::polar(theta, (column + 0.5) * dPhi)) * std::sin(theta) *
                   std::cos(theta) * dTheta * dPhi;
        }
    return sum;
}

/// Opens the cache of a lobe, to see whether setup touches it.
struct OpenLambert : znRTLambertBRDF
{
    using znRTLambertBRDF::termA;
};
struct OpenPhong : znRTPhongBRDF<0>
{
    using znRTPhongBRDF<0>::width;
};
struct OpenDiffuseAS : znRTDiffuseASBRDF
{
    using znRTDiffuseASBRDF::layeredWeight;
};
struct OpenAnisotropic : znRTAnisotropicASBRDF<0>
{
    using znRTAnisotropicASBRDF<0>::pdfNorm;
};
struct OpenWard : znRTMatrixWardBRDF<0>
{
    using znRTMatrixWardBRDF<0>::invPiAB;
};

/// A marker in the cache outlives a setup with the same record, and not one with another.
template <class Lobe, class Record>
void expectWorkOnlyForChanges(float& (*cache)(Lobe&), const Record& record, const Record& other)
{
    Lobe lobe;
    lobe.setup(record, 4);
    const float derived = cache(lobe);
    cache(lobe) = -5.0f;
    lobe.setup(record, 4);
    EXPECT_EQ(cache(lobe), -5.0f);
    lobe.setup(other, 4);
    EXPECT_NE(cache(lobe), -5.0f);
    lobe.setup(record, 4);
    EXPECT_EQ(cache(lobe), derived);
}

} // namespace

TEST(LobeSetup, DoesNothingForTheParametersItHas)
{
    znRTBSDFAttributes facets, other;
    facets.diffuseRoughness = 0.3f;
    facets.reflectance = 0.3f;
    expectWorkOnlyForChanges<OpenLambert>([](OpenLambert& l) -> float& { return l.termA; }, facets,
                                          other);
    expectWorkOnlyForChanges<OpenPhong>([](OpenPhong& l) -> float& { return l.width.evalNorm; },
                                        exponents(20, 20), exponents(30, 30));
    expectWorkOnlyForChanges<OpenDiffuseAS>(
        [](OpenDiffuseAS& l) -> float& { return l.layeredWeight; }, facets, other);
    expectWorkOnlyForChanges<OpenAnisotropic>(
        [](OpenAnisotropic& l) -> float& { return l.pdfNorm; }, exponents(20, 30),
        exponents(30, 20 + 10.5f));
    expectWorkOnlyForChanges<OpenWard>([](OpenWard& l) -> float& { return l.invPiAB; },
                                       slopes(0.5f, 0.5f), slopes(0.6f, 0.5f));
}

// Even an exponent of 0, which a zeroed cache would take for its own.
TEST(LobeSetup, BuildsAllCachesTheFirstTime)
{
    znRTPhongBRDF<0> lobe;
    lobe.setup(exponents(0.0f, 0.0f), 4);
    EXPECT_NEAR(lobe.getWidth().evalNorm, 1.0f / reference::pi, 1e-6);
    EXPECT_NEAR(lobe.getWidth().pdfNorm, 0.5f / reference::pi, 1e-6);
    EXPECT_EQ(lobe.getWidth().invExponentPlusOne, 1.0f);
    lobe.setup(exponents(1e9f, 0.0f), 4);
    EXPECT_EQ(lobe.getWidth().exponent, 1e5f);
}

TEST(LobeSetup, LeavesALobeAloneForARecordOfAnotherClass)
{
    const znRTSpecularBTDFAttributes strange;
    for (const LobeCase& c : lobeCases()) {
        if (c.name == "orenNayar")
            continue; // it becomes smooth, see below
        const LobeSetting setting(c);
        const znRTVector3fPacket wo = lanesOf(viewer(c, 40.0));
        znRTVector3fPacket wi;
        setting.lobe->sample({0.3f, 0.4f}, wo, setting.dg, wi);
        const float before = setting.lobe->evaluate(wo, wi, setting.dg).r[0];
        setting.lobe->setup(strange, 4);
        EXPECT_EQ(setting.lobe->evaluate(wo, wi, setting.dg).r[0], before) << c.name;
        EXPECT_GT(before, 0.0f) << c.name;
    }
}

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
