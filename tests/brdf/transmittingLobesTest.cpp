// Mirrors, refraction and rough transmission: lobes that answer for their own direction only.

#include "brdf/analytic/znRTPassThroughBTDF.h"
#include "brdf/analytic/znRTPhongBTDF.h"
#include "brdf/analytic/znRTSpecularBRDF.h"
#include "brdf/analytic/znRTSpecularBTDF.h"
#include "brdf/analytic/znRTTranslucencyBTDF.h"
#include "brdf/lobeCases.h"
#include "support/lanes.h"

using reference::Uniform;
using reference::Vector;

namespace {

znRTDifferentialGeometry sideOf(bool isFront)
{
    znRTDifferentialGeometry dg{};
    dg.frontFacing = isFront ? znFloatType<2>::allLanes() : znFloatType<2>::noLanes();
    return dg;
}

const znRTDifferentialGeometry front = sideOf(true), back = sideOf(false);

znRTSpecularBTDFAttributes glass(float inside, float outside)
{
    znRTSpecularBTDFAttributes record;
    record.indices.indexA = inside;
    record.indices.indexB = outside;
    return record;
}

znRTPhongBTDFAttributes frosted(float exponent, float inside = 1.5f)
{
    znRTPhongBTDFAttributes record;
    record.exponent = exponent;
    record.indices.indexA = inside;
    return record;
}

Vector direction(double degrees, double azimuth = 0.7)
{
    return Vector::polar(degrees * reference::pi / 180.0, azimuth);
}

znRTVector3fPacket drawn(const znRTBRDF& lobe, const Vector& wo, const znRTDifferentialGeometry& dg,
                         int& lanes)
{
    znRTVector3fPacket wi;
    lanes = moveMask(lobe.sample({0.3f, 0.7f}, lanesOf(wo), dg, wi));
    return wi;
}

} // namespace

TEST(MirrorLobe, TurnsLanesAboutTheNormal)
{
    const znRTVector3fPacket wo({0.6f, 0.0f, 0.48f, 0.0f}, {0.0f, 0.8f, -0.64f, 0.6f},
                                {0.8f, 0.6f, 0.6f, -0.8f});
    znRTVector3fPacket wi;
    EXPECT_EQ(moveMask(znRTSpecularBRDF().sample({0.1f, 0.2f}, wo, front, wi)), 0b0111);
    EXPECT_LANES_EQ(wi.x, -0.6f, 0.0f, -0.48f, 0.0f);
    EXPECT_LANES_EQ(wi.y, 0.0f, -0.8f, 0.64f, 0.0f);
    EXPECT_LANES_EQ(wi.z, 0.8f, 0.6f, 0.6f, 1.0f);
}

TEST(PassThroughLobe, GoesStraightOn)
{
    znRTPassThroughBTDF lobe;
    lobe.setup(znRTBSDFAttributes(), 16);
    EXPECT_EQ(lobe.getSampleCount(), 16u);
    EXPECT_TRUE(lobe.getColorFactor().isZero());
    int lanes = 0;
    const Vector wo = direction(50);
    const znRTVector3fPacket wi = drawn(lobe, wo, front, lanes);
    EXPECT_EQ(lanes, 15);
    EXPECT_EQ(wi.getLane(2), (-wo).toFloat());
}

// sin(theta_t) = sin(theta_i) outside / inside, in the plane of incidence, on the other side.
TEST(RefractionLobe, KeepsSnellsLawBothWays)
{
    znRTSpecularBTDF lobe;
    lobe.setup(glass(1.5f, 1.0f), 4);
    for (const double degrees : {0.0, 10.0, 45.0, 80.0, 89.0}) {
        const Vector wo = direction(degrees);
        int lanes = 0;
        const znRTVector3fPacket inward = drawn(lobe, wo, front, lanes);
        ASSERT_EQ(lanes, 15);
        const Vector t = Vector::from(inward.getLane(0));
        EXPECT_NEAR(std::hypot(t.x, t.y), std::sin(degrees * reference::pi / 180.0) / 1.5, 1e-5);
        EXPECT_NEAR(t.x * wo.y - t.y * wo.x, 0.0, 1e-6);
        EXPECT_LT(t.z, 0.0);
        EXPECT_NEAR(t.length(), 1.0, 1e-6);

        // Inside the body the frame faces the ray again, and it leaves where it came from.
        const Vector inside{-t.x, -t.y, -t.z};
        const znRTVector3fPacket outward =
            drawn(lobe, {-inside.x, -inside.y, inside.z}, back, lanes);
        ASSERT_EQ(lanes, 15);
        EXPECT_NEAR(outward.x[0], wo.x, 2e-5);
        EXPECT_NEAR(outward.y[0], wo.y, 2e-5);
        EXPECT_NEAR(outward.z[0], -wo.z, degrees < 85.0 ? 2e-5 : 1e-3);
    }
}

// From inside at 60 degrees 1.5 sin exceeds 1; the same angle from outside passes.
TEST(RefractionLobe, EndsLanesWithTotalReflection)
{
    znRTSpecularBTDF lobe;
    lobe.setup(glass(1.5f, 1.0f), 4);
    znRTDifferentialGeometry dg{};
    dg.frontFacing = expandLanes(0b0101);
    int lanes = 0;
    const znRTVector3fPacket wi = drawn(lobe, direction(60), dg, lanes);
    EXPECT_EQ(lanes, 0b0101);
    EXPECT_LANES_NEAR(wi.z, -0.8164966f, 1.0f, -0.8164966f, 1.0f,
                      1e-5f); // sqrt(1 - (sin 60 / 1.5)^2)
    // A viewer below the surface is no pair.
    drawn(lobe, direction(120), dg, lanes);
    EXPECT_EQ(lanes, 0);
}

TEST(RefractionLobe, GoesStraightOnThroughEqualIndices)
{
    znRTSpecularBTDF lobe;
    lobe.setup(glass(1.3f, 1.3f), 4);
    int lanes = 0;
    const Vector wo = direction(70);
    EXPECT_NEAR(dot(drawn(lobe, wo, back, lanes), lanesOf(wo))[0], -1.0f, 1e-6f);
}

// Bands of 10 nm from 380 nm; the channels stand at 610, 550 and 465 nm.
TEST(RefractionLobe, SpreadsTheChannelsByFullSpectraAlone)
{
    std::vector<float> inside(40), outside(40, 1.0f);
    for (std::size_t band = 0; band < inside.size(); ++band)
        inside[band] = 1.6f - 0.004f * float(band);
    znRTSpecularBTDFAttributes record = glass(2.0f, 1.0f);
    record.indices.spectrumA = &inside;
    record.indices.spectrumB = &outside;
    znRTSpecularBTDF lobe;
    lobe.setup(record, 4);
    ASSERT_TRUE(lobe.getRatios().dispersive);
    const double index[3] = {1.6 - 0.004 * 22.5, 1.6 - 0.004 * 16.5, 1.6 - 0.004 * 8.0};
    const Vector wo = direction(60);
    for (int channel = 0; channel < 3; ++channel) {
        znRTVector3fPacket wi;
        znFloatType<2> mask;
        lobe.sampleChannel(channel, lanesOf(wo), front, wi, mask);
        EXPECT_NEAR(std::hypot(wi.x[0], wi.y[0]), std::sin(reference::pi / 3.0) / index[channel],
                    1e-5);
    }
    inside.pop_back();
    lobe.setup(record, 4);
    EXPECT_FALSE(lobe.getRatios().dispersive);
    EXPECT_FLOAT_EQ(lobe.getRatios().etaEnter[0], 0.5f);
    EXPECT_FLOAT_EQ(lobe.getRatios().etaExit[2], 2.0f);
    record.indices.spectrumA = nullptr;
    lobe.setup(record, 4);
    EXPECT_FALSE(lobe.getRatios().dispersive);
}

TEST(DeltaLobes, GiveTheirOwnRayTheWeightOne)
{
    znRTSpecularBTDF refraction;
    refraction.setup(glass(1.5f, 1.0f), 4);
    znRTPhongBTDF<0> rough;
    rough.setup(frosted(50.0f), 4);
    znRTPhongBTDF2<0> rough2;
    rough2.setup(frosted(50.0f), 4);
    const znRTSpecularBRDF mirror;
    const znRTPassThroughBTDF straight;
    for (const znRTBRDF* lobe :
         std::initializer_list<const znRTBRDF*>{&refraction, &rough, &rough2, &mirror, &straight}) {
        EXPECT_TRUE(lobe->isDelta());
        int lanes = 0;
        const Vector wo = direction(40);
        const znRTVector3fPacket wi = drawn(*lobe, wo, front, lanes);
        ASSERT_EQ(lanes, 15);
        znFloatType<2> pdf;
        const znRTColorPacket f = lobe->evaluate(lanesOf(wo), wi, front, pdf);
        EXPECT_NEAR(f.g[0] * std::fabs(wi.z[0]) / pdf[0], 1.0f, 1e-6f);
        EXPECT_EQ(lobe->pdf(lanesOf(wo), wi, front)[0], pdf[0]);
        EXPECT_EQ(f.a[0], 1.0f);
    }
}

TEST(RoughTransmission, BelongsToGlossyTransmission)
{
    EXPECT_EQ(znRTPhongBTDF<0>().getTypeFlags(), 12u);
    EXPECT_EQ(znRTPhongBTDF<1>().getOutRayMask(), 0xC00u);
    EXPECT_EQ(znRTPhongBTDF2<0>().getTypeFlags(), 12u);
    EXPECT_EQ(znRTPhongBTDF2<1>().getOutRayMask(), 0x3000u);
    EXPECT_EQ(znRTSpecularBTDF().getTypeFlags(), 48u);
    EXPECT_LANES_EQ(znRTPhongBTDF<0>().getTransmissionColor().g, 1, 1, 1, 1);
}

// The mean cosine to the refracted direction is (e + 1) / (e + 2).
template <class Lobe>
double meanSpread(const Lobe& lobe, const Vector& wo, const Vector& axis)
{
    Uniform uniform(1);
    double sum = 0.0;
    int kept = 0;
    for (int i = 0; i < 20000; ++i) {
        znRTVector3fPacket wi;
        const znFloatType<2> u(uniform()), v(uniform());
        if (moveMask(lobe.sample({u, v}, lanesOf(wo), front, wi)) & 1) {
            sum += Vector::from(wi.getLane(0)).dot(axis);
            EXPECT_LT(wi.z[0], 0.0f);
            ++kept;
        }
    }
    EXPECT_GT(kept, 19900);
    return sum / kept;
}

TEST(RoughTransmission, SpreadsAboutTheRefractedDirectionByItsExponent)
{
    const Vector wo = direction(45);
    const double sine = std::sin(reference::pi / 4.0) / 1.5;
    const Vector axis{-wo.x / 1.5, -wo.y / 1.5, -std::sqrt(1.0 - sine * sine)};
    for (const float e : {50.0f, 500.0f, 5000.0f}) {
        znRTPhongBTDF<0> rough;
        rough.setup(frosted(e), 4);
        znRTPhongBTDF2<0> rough2;
        rough2.setup(frosted(e), 4);
        EXPECT_NEAR(1.0 - meanSpread(rough, wo, axis), 1.0 / (e + 2.0), 0.03 / (e + 2.0)) << e;
        EXPECT_NEAR(1.0 - meanSpread(rough2, wo, axis), 1.0 / (e + 2.0), 0.03 / (e + 2.0)) << e;
    }
}

// One form goes straight on where nothing can be refracted, the other ends the lane.
TEST(RoughTransmission, DiffersWhereRefractionIsTotal)
{
    znRTPhongBTDF<0> rough;
    rough.setup(frosted(1e5f), 4);
    znRTPhongBTDF2<0> rough2;
    rough2.setup(frosted(1e5f), 4);
    const Vector wo = direction(60);
    int lanes = 0;
    EXPECT_NEAR(dot(drawn(rough, wo, back, lanes), lanesOf(wo))[0], -1.0f, 1e-3f);
    EXPECT_EQ(lanes, 15);
    EXPECT_EQ(drawn(rough2, wo, back, lanes).z[0], 1.0f);
    EXPECT_EQ(lanes, 0);
}

TEST(RoughTransmission, DropsDirectionsAboveTheSurface)
{
    znRTPhongBTDF<0> rough;
    rough.setup(frosted(1.0f, 1.0f), 4);
    Uniform uniform(2);
    int kept = 0;
    for (int i = 0; i < 1000; ++i) {
        znRTVector3fPacket wi;
        const znFloatType<2> u(uniform()), v(uniform());
        const bool isValid = moveMask(rough.sample({u, v}, lanesOf(direction(80)), front, wi)) & 1;
        EXPECT_EQ(wi.z[0] < 0.0f, isValid);
        kept += isValid;
    }
    EXPECT_GT(kept, 400);
    EXPECT_LT(kept, 900);
}

TEST(RoughTransmission, ReadsItsExponentFromTheLaneInFormOne)
{
    znRTPhongBTDF<0> own;
    own.setup(frosted(80.0f), 4);
    znRTPhongBTDF<1> lane;
    lane.setup(frosted(3.0f), 4);
    znRTPhongBTDF2<0> own2;
    own2.setup(frosted(80.0f), 4);
    znRTPhongBTDF2<1> lane2;
    lane2.setup(frosted(3.0f), 4);
    LobeBlock block{};
    block[0].clear();
    block[0].setExponents(80.0f, expandLanes(0b0001));
    znRTDifferentialGeometry withBlock = front;
    withBlock.parameters = block.data();
    int lanes = 0;
    const Vector wo = direction(30);
    const znRTVector3fPacket a = drawn(own, wo, front, lanes),
                             b = drawn(lane, wo, withBlock, lanes);
    EXPECT_NEAR(dot(a, b)[0], 1.0f, 1e-6f);
    EXPECT_LT(dot(a, b)[1], 0.99f);
    const znRTVector3fPacket c = drawn(own2, wo, front, lanes),
                             d = drawn(lane2, wo, withBlock, lanes);
    EXPECT_NEAR(dot(c, d)[0], 1.0f, 1e-6f);
    EXPECT_LT(dot(c, d)[1], 0.99f);
}

// An ordinary pair, viewer above and light below, belongs to the flipped frame: here it is black.
TEST(TranslucencyLobe, AnswersInTheFrameOfTheNegatedNormal)
{
    const LobeSetting setting(lobeCase("translucencyWide"));
    const Vector viewerAbove = direction(30), lightBelow = -direction(40);
    znFloatType<2> pdf;
    EXPECT_EQ(setting.lobe->evaluate(lanesOf(viewerAbove), lanesOf(lightBelow), front, pdf).r[0],
              0.0f);
    EXPECT_EQ(pdf[0], 0.0f);
    const Vector viewerBelow{viewerAbove.x, viewerAbove.y, -viewerAbove.z};
    const Vector lightAbove{lightBelow.x, lightBelow.y, -lightBelow.z};
    EXPECT_GT(setting.lobe->evaluate(lanesOf(viewerBelow), lanesOf(lightAbove), front, pdf).r[0],
              0.1f);
    EXPECT_GT(pdf[0], 0.1f);
}

// Straight through along the normal at e = 1: evalNorm over the larger cosine is 3 / (2 pi).
TEST(TranslucencyLobe, IsBrightestStraightThrough)
{
    const LobeSetting setting(lobeCase("translucencyWide"));
    const Vector up{0.0, 0.0, 1.0};
    EXPECT_NEAR(setting.lobe->evaluate(lanesOf(-up), lanesOf(up), front).r[0],
                3.0 / (2.0 * reference::pi), 1e-5);
}
