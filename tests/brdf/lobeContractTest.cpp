// What every lobe with a density promises. A new lobe is one more row of lobeCases().

#include "brdf/lobeCases.h"

#include "core/znRTFloatControl.h"
#include "support/lanes.h"

#include <bit>
#include <gtest/gtest.h>

using reference::Uniform;
using reference::Vector;

namespace {

constexpr double viewAngles[] = {5.0, 30.0, 60.0, 80.0};
constexpr int sampleTotal = 100000;
constexpr int thetaBins = 12, phiBins = 24, cellsPerBin = 48;

class LobeContract : public testing::TestWithParam<LobeCase>
{
protected:
    LobeContract() : setting(GetParam()), lobe(*setting.lobe), dg(setting.dg) {}

    /// Lane 0 of the value's red channel.
    float value(const Vector& wo, const Vector& wi) const
    {
        return lobe.evaluate(lanesOf(wo), lanesOf(wi), dg).r[0];
    }
    float density(const Vector& wo, const Vector& wi) const
    {
        return lobe.pdf(lanesOf(wo), lanesOf(wi), dg)[0];
    }
    /// Directions toward which the lobe reflects, mixed with uniform ones.
    Vector incident(const Vector& wo, Uniform& uniform) const
    {
        znRTVector3fPacket wi;
        const znFloatType<2> u(uniform()), v(uniform());
        const bool isDrawn = moveMask(lobe.sample({u, v}, lanesOf(wo), dg, wi)) & 1;
        return isDrawn && uniform() < 0.5f ? Vector::from(wi.getLane(0)) : upperHemisphere(uniform);
    }

    znRTFloatControl floatControl;
    LobeSetting setting;
    const znRTBRDF& lobe;
    const znRTDifferentialGeometry& dg;
};

/// Integrals over the upper hemisphere by midpoints, of the lobe itself.
struct HemisphereIntegral
{
    HemisphereIntegral(const znRTBRDF& lobe, const Vector& wo, const znRTDifferentialGeometry& dg)
        : bins(thetaBins * phiBins)
    {
        constexpr int rows = thetaBins * cellsPerBin, columns = phiBins * cellsPerBin;
        constexpr double dTheta = 0.5 * reference::pi / rows, dPhi = 2.0 * reference::pi / columns;
        const znRTVector3fPacket view = lanesOf(wo);
        std::vector<float> cosines(columns), sines(columns);
        for (int column = 0; column < columns; ++column) {
            cosines[column] = float(std::cos((column + 0.5) * dPhi));
            sines[column] = float(std::sin((column + 0.5) * dPhi));
        }
        for (int row = 0; row < rows; ++row) {
            const double theta = (row + 0.5) * dTheta;
            const float s = float(std::sin(theta));
            const znFloatType<2> z(float(std::cos(theta)));
            const double solidAngle = std::sin(theta) * dTheta * dPhi;
            for (int column = 0; column < columns; column += 4) {
                const auto c4 = znFloatType<2>::loadUnaligned(&cosines[column]);
                const auto s4 = znFloatType<2>::loadUnaligned(&sines[column]);
                znFloatType<2> pdf;
                const znRTColorPacket f = lobe.evaluate(view, {c4 * s, s4 * s, z}, dg, pdf);
                for (int lane = 0; lane < 4; ++lane) {
                    const int bin = row / cellsPerBin * phiBins + column / cellsPerBin;
                    bins[bin] += pdf[lane] * solidAngle;
                    density += pdf[lane] * solidAngle;
                    albedo += f.r[lane] * std::cos(theta) * solidAngle;
                }
            }
        }
    }

    double density = 0.0, albedo = 0.0;
    std::vector<double> bins; ///< the density's integral
};

int binOf(const znRTVector3f& wi)
{
    const double theta = std::acos(std::clamp(double(wi.z), 0.0, 1.0));
    const double phi = std::atan2(double(wi.y), double(wi.x));
    const double turn = phi < 0.0 ? phi / (2.0 * reference::pi) + 1.0 : phi / (2.0 * reference::pi);
    const int row = std::min(thetaBins - 1, int(theta / (0.5 * reference::pi) * thetaBins));
    return row * phiBins + std::min(phiBins - 1, int(turn * phiBins));
}

/// Directions drawn from a lobe by bins; the last entry counts lanes without a direction.
std::vector<double> drawDirections(const znRTBRDF& lobe, const Vector& wo,
                                   const znRTDifferentialGeometry& dg, unsigned seed)
{
    Uniform uniform(seed);
    std::vector<double> counts(thetaBins * phiBins + 1);
    const znRTVector3fPacket view = lanesOf(wo);
    for (int i = 0; i < sampleTotal; i += 4) {
        const znFloatType<2> u(uniform(), uniform(), uniform(), uniform());
        const znFloatType<2> v(uniform(), uniform(), uniform(), uniform());
        znRTVector3fPacket wi;
        const int valid = moveMask(lobe.sample({u, v}, view, dg, wi));
        for (int lane = 0; lane < 4; ++lane)
            ++counts[valid >> lane & 1 ? binOf(wi.getLane(lane)) : thetaBins * phiBins];
    }
    return counts;
}

std::string rowName(const testing::TestParamInfo<LobeCase>& info)
{
    return info.param.name;
}

} // namespace

// Pearson's test over 12 x 24 bins and a class for lanes that are dropped.
TEST_P(LobeContract, DrawsDirectionsByTheDensityItReports)
{
    for (const double angle : viewAngles) {
        const Vector wo = viewer(GetParam(), angle);
        const HemisphereIntegral integral(lobe, wo, dg);
        std::vector<double> probabilities = integral.bins;
        probabilities.push_back(std::max(0.0, 1.0 - integral.density));
        const auto counts = drawDirections(lobe, wo, dg, 5489 + unsigned(angle));
        EXPECT_GT(reference::chiSquareTest(counts, probabilities), 1e-3) << angle << " degrees";
        // Four standard deviations of the fraction of directions that are kept.
        EXPECT_NEAR(integral.density, 1.0 - counts.back() / sampleTotal, 0.0065)
            << angle << " degrees";
    }
}

// Quadrature of the publication's formula in double precision.
TEST_P(LobeContract, ReflectsTheEnergyOfItsPublication)
{
    constexpr int rows = 360, columns = 720;
    constexpr double dTheta = 0.5 * reference::pi / rows, dPhi = 2.0 * reference::pi / columns;
    for (const double angle : viewAngles) {
        const Vector wo = viewer(GetParam(), angle);
        double albedo = 0.0;
        for (int row = 0; row < rows; ++row) {
            const double theta = (row + 0.5) * dTheta;
            for (int column = 0; column < columns; ++column)
                albedo += GetParam().value(wo, Vector::polar(theta, (column + 0.5) * dPhi)) *
                          std::sin(theta) * std::cos(theta) * dTheta * dPhi;
        }
        const double actual = HemisphereIntegral(lobe, wo, dg).albedo;
        EXPECT_NEAR(actual, albedo, 0.005) << angle << " degrees";
        EXPECT_LE(actual, GetParam().maxAlbedo) << angle << " degrees";
    }
}

// Values of the publications' formulas at directions where the lobe is bright and elsewhere.
TEST_P(LobeContract, AgreesWithThePublishedFormulas)
{
    Uniform uniform(1);
    for (int i = 0; i < 500; ++i) {
        const Vector wo = viewer(GetParam(), 1.0 + 84.0 * uniform());
        const Vector wi = incident(wo, uniform);
        const double expected = GetParam().value(wo, wi);
        const double expectedDensity = GetParam().density(wo, wi);
        EXPECT_NEAR(value(wo, wi), expected, 2e-3 * expected + 1e-6);
        EXPECT_NEAR(density(wo, wi), expectedDensity, 2e-3 * expectedDensity + 1e-6);
        if (HasFailure())
            FAIL() << "wo " << wo.x << " " << wo.y << " " << wo.z << " wi " << wi.x << " " << wi.y
                   << " " << wi.z;
    }
}

TEST_P(LobeContract, ReportsOneDensityFromEvaluateAndPdf)
{
    Uniform uniform(2);
    for (int i = 0; i < 200; ++i) {
        const Vector wo = viewer(GetParam(), 89.0 * uniform());
        const Vector wi = incident(wo, uniform);
        znFloatType<2> pdf;
        lobe.evaluate(lanesOf(wo), lanesOf(wi), dg, pdf);
        EXPECT_EQ(pdf[0], density(wo, wi));
    }
}

TEST_P(LobeContract, GivesTheSameWithBothDirectionsExchanged)
{
    Uniform uniform(3);
    for (int i = 0; i < 1000; ++i) {
        Vector wo = viewer(GetParam(), 88.0 * uniform());
        wo = reference::Vector::polar(std::acos(wo.z), 2.0 * reference::pi * uniform());
        const Vector wi = incident(wo, uniform);
        const float there = value(wo, wi);
        if (!GetParam().isReciprocal) {
            // Follows the viewer alone: the light may as well stand on the normal.
            EXPECT_EQ(there, value(wo, {0.0, 0.0, 1.0}));
            continue;
        }
        // Transmission: the way back meets the sheet from its other side, whose frame is turned.
        const float back = GetParam().isTransmission ? value(-wi, -wo) : value(wi, wo);
        EXPECT_NEAR(back, there, 1e-4f * there + 1e-6f);
    }
}

TEST_P(LobeContract, StaysFiniteAtTheEndsOfTheHemisphere)
{
    std::vector<Vector> directions;
    for (const double degrees : {0.0, 1e-4, 1.0, 45.0, 89.9, 90.0, 90.1, 135.0, 180.0})
        for (const double phi : {0.0, 0.5 * reference::pi, 0.7})
            directions.push_back(Vector::polar(degrees * reference::pi / 180.0, phi));
    const auto isGood = [](znFloatType<2> x) { return everyLane(x >= 0.0f) && x[0] < 1e30f; };
    for (const Vector& wo : directions) {
        std::vector<Vector> incidents = directions;
        incidents.push_back(-wo);
        for (const Vector& wi : incidents) {
            znFloatType<2> pdf;
            const znRTColorPacket f = lobe.evaluate(lanesOf(wo), lanesOf(wi), dg, pdf);
            EXPECT_TRUE(isGood(pdf) && isGood(f.r) && isGood(f.g) && isGood(f.b))
                << wo.z << " " << wi.z << ": " << pdf[0] << " " << f.r[0];
        }
        for (const float u : {0.0f, 0.25f, 0.5f, 0.75f, 0.99999994f})
            for (const float v : {0.0f, 0.5f, 0.99999994f}) {
                znRTVector3fPacket wi;
                lobe.sample({u, v}, lanesOf(wo), dg, wi);
                EXPECT_NEAR(wi.getSquareLength()[0], 1.0f, 1e-5f) << wo.z << " " << u << " " << v;
            }
    }
}

TEST_P(LobeContract, IsBlackForPairsThatCannotOccur)
{
    Uniform uniform(4);
    for (int i = 0; i < 100; ++i) {
        const Vector wo = viewer(GetParam(), 89.0 * uniform());
        const Vector below = -upperHemisphere(uniform);
        const Vector above = upperHemisphere(uniform);
        const bool isTransmission = GetParam().isTransmission;
        EXPECT_EQ(value(wo, below), 0.0f);
        EXPECT_EQ(density(wo, below), 0.0f);
        EXPECT_EQ(value(isTransmission ? above : -above, above), 0.0f);
        EXPECT_EQ(density(isTransmission ? above : -above, above), 0.0f);
        znRTVector3fPacket wi;
        EXPECT_EQ(moveMask(lobe.sample({0.4f, 0.3f}, lanesOf(-wo), dg, wi)), 0);
        EXPECT_LANES_EQ(wi.z, 1.0f, 1.0f, 1.0f, 1.0f);
    }
}

// Bit for bit: a lane does not see its neighbours.
TEST_P(LobeContract, TreatsEachLaneAsIfAlone)
{
    Uniform uniform(6);
    for (int i = 0; i < 100; ++i) {
        znRTVector3fPacket wo, wi;
        znRTVector2fPacket u;
        for (int lane = 0; lane < 4; ++lane) {
            const Vector view = viewer(GetParam(), 95.0 * uniform());
            wo.setLane(lane, view.toFloat());
            wi.setLane(lane, incident(view, uniform).toFloat());
            u.setLane(lane, {uniform(), uniform()});
        }
        znFloatType<2> pdf;
        znRTVector3fPacket drawn;
        const znRTColorPacket f = lobe.evaluate(wo, wi, dg, pdf);
        const int valid = moveMask(lobe.sample(u, wo, dg, drawn));
        for (int lane = 0; lane < 4; ++lane) {
            const znRTVector3fPacket wo1(wo.getLane(lane)), wi1(wi.getLane(lane));
            znFloatType<2> pdf1;
            znRTVector3fPacket drawn1;
            EXPECT_EQ(lobe.evaluate(wo1, wi1, dg, pdf1).r[lane], f.r[lane]);
            EXPECT_EQ(pdf1[lane], pdf[lane]);
            const auto u1 = znRTVector2fPacket(u.getLane(lane));
            const int valid1 = moveMask(lobe.sample(u1, wo1, dg, drawn1));
            EXPECT_EQ(valid1 >> lane & 1, valid >> lane & 1);
            EXPECT_EQ(drawn1.getLane(lane), drawn.getLane(lane));
        }
    }
}

// The bits 32 and 64 stand in many lobes and select none.
TEST_P(LobeContract, AnswersOnlyRequestsThatShareASelectingBit)
{
    const Vector wo = viewer(GetParam(), 30.0);
    znRTVector3fPacket wi;
    ASSERT_TRUE(anyLane(lobe.sample({0.3f, 0.6f}, lanesOf(wo), dg, wi)));
    znFloatType<2> whole;
    const znRTColorPacket all = lobe.evaluate(lanesOf(wo), wi, dg, whole);
    ASSERT_GT(whole[0], 0.0f);
    for (unsigned flags = 0; flags < 256; ++flags) {
        const bool isSelected = (lobe.getTypeFlags() & flags & 0x9F) != 0;
        znFloatType<2> pdf;
        znRTVector3fPacket drawn;
        const znRTColorPacket f = lobe.evaluate(flags, lanesOf(wo), wi, dg, pdf);
        EXPECT_EQ(pdf[0] > 0.0f, isSelected) << flags;
        EXPECT_EQ(f.r[0] > 0.0f, isSelected) << flags;
        EXPECT_EQ(lobe.evaluate(flags, lanesOf(wo), wi, dg).r[0], f.r[0]) << flags;
        EXPECT_EQ(lobe.pdf(flags, lanesOf(wo), wi, dg)[0], pdf[0]) << flags;
        EXPECT_EQ(anyLane(lobe.sample(flags, {0.3f, 0.6f}, lanesOf(wo), dg, drawn)), isSelected);
    }
    EXPECT_EQ(lobe.evaluate(0xFF, lanesOf(wo), wi, dg).r[0], all.r[0]);
}

// The weight of a path that goes on is value times cosine over density.
TEST_P(LobeContract, BoundsTheWeightOfADrawnDirection)
{
    constexpr double unbounded = 300.0;
    const double limit = GetParam().maxWeight > 0.0 ? GetParam().maxWeight : unbounded;
    Uniform uniform(7);
    float largest = 0.0f;
    for (const double angle : {5.0, 30.0, 60.0, 80.0, 88.0}) {
        const znRTVector3fPacket wo = lanesOf(viewer(GetParam(), angle));
        for (int i = 0; i < 5000; ++i) {
            const znFloatType<2> u(uniform(), uniform(), uniform(), uniform());
            const znFloatType<2> v(uniform(), uniform(), uniform(), uniform());
            znRTVector3fPacket wi;
            const znFloatType<2> valid = lobe.sample({u, v}, wo, dg, wi);
            znFloatType<2> pdf;
            const znRTColorPacket f = lobe.evaluate(wo, wi, dg, pdf);
            const znFloatType<2> weight = f.r * wi.z * reciprocalOrZero(pdf) & valid;
            for (int lane = 0; lane < 4; ++lane)
                largest = std::max(largest, weight[lane]);
        }
    }
    EXPECT_LE(largest, limit);
}

INSTANTIATE_TEST_SUITE_P(AllLobes, LobeContract, testing::ValuesIn(lobeCases()), rowName);

namespace {

class LobeForms : public testing::TestWithParam<std::pair<std::string, std::string>>
{
};

std::string formName(const testing::TestParamInfo<LobeForms::ParamType>& info)
{
    return info.param.first;
}

} // namespace

TEST_P(LobeForms, AgreeWhereverTheParametersComeFrom)
{
    const LobeSetting own(lobeCase(GetParam().first));
    const LobeSetting fromBlock(lobeCase(GetParam().second));
    Uniform uniform(8);
    for (int i = 0; i < 300; ++i) {
        const znRTVector3fPacket wo = lanesOf(viewer(lobeCase(GetParam().first), 88.0 * uniform()));
        const znFloatType<2> u(uniform()), v(uniform());
        znRTVector3fPacket wi, wiFromBlock;
        own.lobe->sample({u, v}, wo, own.dg, wi);
        fromBlock.lobe->sample({u, v}, wo, fromBlock.dg, wiFromBlock);
        EXPECT_NEAR(dot(wi, wiFromBlock)[0], 1.0f, 1e-5f);
        znFloatType<2> pdf, pdfFromBlock;
        const float f = own.lobe->evaluate(wo, wi, own.dg, pdf).r[0];
        const float g = fromBlock.lobe->evaluate(wo, wi, fromBlock.dg, pdfFromBlock).r[0];
        EXPECT_NEAR(g, f, 1e-5f * f + 1e-6f);
        EXPECT_NEAR(pdfFromBlock[0], pdf[0], 1e-5f * pdf[0] + 1e-6f);
    }
}

// Lanes 0 and 2 have parameters of their own, the others use those of setup.
TEST_P(LobeForms, MixBothKindsOfLanesInOnePacket)
{
    const LobeSetting fromBlock(lobeCase(GetParam().second));
    LobeSetting mixed(lobeCase(GetParam().second)), none(lobeCase(GetParam().second));
    mixed.block[0].mask &= expandLanes(0b0101);
    mixed.block[0].slopeMask &= expandLanes(0b0101);
    mixed.block[0].reflectanceMask &= expandLanes(0b0101);
    none.dg.parameters = nullptr;
    Uniform uniform(9);
    for (int i = 0; i < 50; ++i) {
        const Vector view = viewer(lobeCase(GetParam().first), 80.0 * uniform());
        const znRTVector3fPacket wo = lanesOf(view), wi = lanesOf(upperHemisphere(uniform));
        const float f = fromBlock.lobe->evaluate(wo, wi, fromBlock.dg).r[0];
        const float g = none.lobe->evaluate(wo, wi, none.dg).r[0];
        EXPECT_LANES_NEAR(mixed.lobe->evaluate(wo, wi, mixed.dg).r, f, g, f, g,
                          1e-5f * (f + g) + 1e-6f);
    }
}

INSTANTIATE_TEST_SUITE_P(AllForms, LobeForms, testing::ValuesIn(lobeForms()), formName);
