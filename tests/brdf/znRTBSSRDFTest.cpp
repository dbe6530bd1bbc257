#include "brdf/analytic/znRTBSSRDF.h"

#include "brdf/lobeCases.h"
#include "support/lanes.h"

using reference::pi;
using reference::Uniform;
using reference::Vector;

namespace {

znRTPhongBTDFAttributes medium(float extinction, float albedo, float inside = 1.3f,
                               float outside = 1.0f)
{
    znRTPhongBTDFAttributes record;
    record.indices.indexA = inside;
    record.indices.indexB = outside;
    record.medium.extinction = extinction;
    record.medium.scatterAlbedo = albedo;
    return record;
}

znRTBSSRDF lobeOf(const znRTPhongBTDFAttributes& record)
{
    znRTBSSRDF lobe;
    lobe.setup(record, 4);
    return lobe;
}

/// Integral over the plane of a function of the distance, by steps that grow with it.
template <class Function>
double overPlane(const Function& function)
{
    double sum = 0.0;
    constexpr double ratio = 1.002;
    for (double r = 1e-6; r < 1e4; r *= ratio) {
        const double middle = r * std::sqrt(ratio);
        sum += function(float(middle)) * 2.0 * pi * middle * r * (ratio - 1.0);
    }
    return sum;
}

struct OpenSubsurface : znRTBSSRDF
{
    using znRTBSSRDF::anisotropy;
    using znRTBSSRDF::getSingle;
    using znRTBSSRDF::mfp;
    using znRTBSSRDF::transmittance;
};

} // namespace

// Integrated over the plane both sources give
// a / 2 (1 + e^(-4/3 A sqrt(3 (1 - a)))) e^(-sqrt(3 (1 - a))), Jensen et al. 2001.
TEST(SubsurfaceLobe, ReflectsTheDiffuseEnergyOfTheDipole)
{
    for (const float albedo : {0.5f, 0.9f, 0.99f})
        for (const float extinction : {0.5f, 2.0f}) {
            const znRTBSSRDF lobe = lobeOf(medium(extinction, albedo));
            const double root = std::sqrt(3.0 * (1.0 - albedo));
            const double closed = 0.5 * albedo *
                                  (1.0 + std::exp(-4.0 / 3.0 * lobe.getBoundaryTerm() * root)) *
                                  std::exp(-root);
            const double total = overPlane([&](float r) { return double(lobe.getDipole(r)[0]); });
            EXPECT_NEAR(total, closed, 0.01 * closed) << albedo << " " << extinction;
        }
    const znRTBSSRDF lobe = lobeOf(medium(1.0f, 0.9f));
    EXPECT_NEAR(overPlane([&](float r) { return double(lobe.getDipole(r)[0]); }), 0.29911, 0.003);
}

// Egan and Hilgeman's mean reflectance, (1 + Fdr) / (1 - Fdr), and the height of the mirrored
// source.
TEST(SubsurfaceLobe, DerivesItsBoundaryFromTheIndices)
{
    for (const double eta : {1.0, 1.3, 1.5, 2.0}) {
        const znRTBSSRDF lobe = lobeOf(medium(4.0f, 0.9f, float(eta)));
        const double fdr = -1.4399 / (eta * eta) + 0.7099 / eta + 0.6681 + 0.0636 * eta;
        const double a = (1.0 + fdr) / (1.0 - fdr);
        EXPECT_NEAR(lobe.getDiffuseFresnel(), fdr, 1e-5);
        EXPECT_NEAR(lobe.getBoundaryTerm(), a, 1e-4);
        EXPECT_FLOAT_EQ(lobe.getMeanFreePath(), 0.25f);
        EXPECT_NEAR(lobe.getVirtualDepth(), 0.25 * (1.0 + 4.0 / 3.0 * a), 1e-4);
        EXPECT_NEAR(lobe.getNormalReflectance(), std::pow((eta - 1.0) / (eta + 1.0), 2.0), 1e-6);
    }
    // Water in glass has the boundary of an index of 1.
    EXPECT_FLOAT_EQ(lobeOf(medium(1.0f, 0.9f, 1.3f, 1.5f)).getDiffuseFresnel(),
                    lobeOf(medium(1.0f, 0.9f, 1.0f, 1.0f)).getDiffuseFresnel());
    // Indices below 1 count as 1.
    EXPECT_FLOAT_EQ(lobeOf(medium(1.0f, 0.9f, 0.5f, 0.2f)).getNormalReflectance(), 0.0f);
}

TEST(SubsurfaceLobe, HoldsItsMediumInsideItsRange)
{
    OpenSubsurface lobe;
    znRTPhongBTDFAttributes record = medium(1e-9f, 0.9f);
    record.medium.anisotropy = -3.0f;
    lobe.setup(record, 4);
    EXPECT_EQ(lobe.mfp, 0.001f);
    EXPECT_EQ(lobe.anisotropy, -0.99f);
    record = medium(1e9f, 0.9f);
    record.medium.anisotropy = 3.0f;
    lobe.setup(record, 4);
    EXPECT_EQ(lobe.mfp, 10.0f);
    EXPECT_EQ(lobe.anisotropy, 0.99f);
}

// Integral over all directions; the mean cosine is g.
TEST(SubsurfaceLobe, ScattersByANormalizedPhaseFunction)
{
    for (const float g : {-0.7f, 0.0f, 0.3f, 0.9f}) {
        znRTPhongBTDFAttributes record = medium(1.0f, 0.9f);
        record.medium.anisotropy = g;
        const znRTBSSRDF lobe = lobeOf(record);
        double sum = 0.0, meanCosine = 0.0;
        constexpr int steps = 20000;
        for (int i = 0; i < steps; ++i) {
            const double c = -1.0 + (i + 0.5) * 2.0 / steps;
            const double share = lobe.getPhase(float(c))[0] * 2.0 * pi * 2.0 / steps;
            sum += share;
            meanCosine += share * c;
        }
        EXPECT_NEAR(sum, 1.0, 1e-3) << g;
        EXPECT_NEAR(meanCosine, g, 1e-3) << g;
    }
}

TEST(SubsurfaceLobe, SpreadsSinglyScatteredLightByTheMeanFreePath)
{
    OpenSubsurface lobe;
    lobe.setup(medium(2.0f, 0.8f), 4);
    EXPECT_NEAR(overPlane([&](float r) { return double(lobe.getSingle(r)[0]); }), 0.8, 0.005);
    EXPECT_NEAR(overPlane([&](float r) { return double(lobe.getSingle(r)[0]) * r; }), 0.8 / 2.0,
                0.005);
}

// Mode 4 takes light that scattered once: profile times phase, and refraction on both ways.
TEST(SubsurfaceLobe, TakesSinglyScatteredLightAloneInItsMode)
{
    znRTPhongBTDFAttributes record = medium(2.0f, 0.8f);
    record.medium.mode = 4;
    record.medium.anisotropy = 0.5f;
    OpenSubsurface lobe;
    lobe.setup(record, 4);
    LobeSetting points(lobeCase("subsurface"));
    const Vector wo = Vector::polar(0.4, 1.0), wi = Vector::polar(0.9, 3.0);
    const double c = -wo.dot(wi), base = 1.0 + 0.25 - c;
    const double phase = 0.75 / (4.0 * pi * std::pow(base, 1.5));
    const double profile = 0.8 * 2.0 * std::exp(-0.5) / (2.0 * pi * 0.25);
    const double crossing = lobe.transmittance(float(wo.z))[0] * lobe.transmittance(float(wi.z))[0];
    const double expected = profile * phase * crossing;
    EXPECT_NEAR(lobe.evaluate(lanesOf(wo), lanesOf(wi), points.dg).r[0], expected, 1e-4 * expected);
}

TEST(SubsurfaceLobe, IsBlackWithoutASecondPoint)
{
    const znRTBSSRDF lobe = lobeOf(medium(1.0f, 0.9f));
    LobeSetting points(lobeCase("subsurface"));
    const Vector up{0.0, 0.0, 1.0};
    znFloatType<2> pdf(1.0f);
    znRTVector3fPacket wi;
    EXPECT_EQ(lobe.evaluate(lanesOf(up), lanesOf(up), znRTDifferentialGeometry{}, pdf).r[0], 0.0f);
    EXPECT_EQ(pdf[0], 0.0f);
    points.block[0].entryMask = expandLanes(0b0010);
    const znRTColorPacket f = lobe.evaluate(lanesOf(up), lanesOf(up), points.dg, pdf);
    EXPECT_EQ(moveMask(pdf > znFloatType<2>(0.0f)), 0b0010);
    EXPECT_EQ(moveMask(f.r > znFloatType<2>(0.0f)), 0b0010);
    EXPECT_EQ(moveMask(lobe.sample({0.3f, 0.4f}, lanesOf(up), points.dg, wi)), 0b0010);
}

// Fractions of points inside rings against the integral of the density; one in a million lies
// farther than the probes reach.
TEST(SubsurfaceLobe, FindsPointsByTheDensityItReports)
{
    for (const float albedo : {0.5f, 1.0f}) { // without absorption a floor keeps points near
        const znRTBSSRDF lobe = lobeOf(medium(2.0f, albedo));
        EXPECT_NEAR(overPlane([&](float r) { return double(lobe.getPointPdf(r)[0]); }), 1.0, 2e-3);
        constexpr int rings = 10, sectors = 8, total = 100000;
        std::vector<double> edges(1, 0.0), counts(rings * sectors), probabilities;
        const double rate = std::max(2.0 * std::sqrt(3.0 * (1.0 - albedo)), 0.2);
        for (int ring = 1; ring < rings; ++ring)
            edges.push_back(-std::log(1.0 - double(ring) / rings) / rate);
        for (int i = 0; i < rings * sectors; ++i)
            probabilities.push_back(1.0 / (rings * sectors));
        Uniform uniform(3);
        for (int i = 0; i < total; ++i) {
            const znFloatType<2> u(uniform()), v(uniform());
            const znRTSubsurfaceProbe probe = lobe.sampleProbe({u, v});
            const double x = probe.origin.x[0], y = probe.origin.y[0], r = std::hypot(x, y);
            EXPECT_NEAR(r, probe.distance[0], 1e-5 * (1.0 + r));
            EXPECT_NEAR(probe.length[0], 2.0f * probe.origin.z[0], 1e-5f);
            EXPECT_EQ(probe.pdf[0], lobe.getPointPdf(probe.distance)[0]);
            const auto ring = std::upper_bound(edges.begin(), edges.end(), r) - edges.begin() - 1;
            const double turn = std::atan2(y, x) / (2.0 * pi) + 0.5;
            ++counts[ring * sectors + std::min(sectors - 1, int(turn * sectors))];
        }
        EXPECT_GT(reference::chiSquareTest(counts, probabilities), 1e-3) << albedo;
    }
}

TEST(SubsurfaceLobe, StaysFiniteWhereBothPointsMeet)
{
    const znRTBSSRDF lobe = lobeOf(medium(10.0f, 1.0f));
    EXPECT_LT(lobe.getDipole(0.0f)[0], 1e3f);
    EXPECT_GT(lobe.getDipole(0.0f)[0], 1.0f);
    EXPECT_EQ(lobe.getPointPdf(0.0f)[0], 0.0f);
    for (const float u : {0.0f, 0.99999994f}) {
        const znRTSubsurfaceProbe probe = lobe.sampleProbe({u, 0.25f});
        EXPECT_TRUE(everyLane(probe.distance >= znFloatType<2>(0.0f)));
        EXPECT_LT(probe.distance[0], 20.0f);
        EXPECT_TRUE(everyLane(probe.length >= znFloatType<2>(0.0f)));
    }
}
