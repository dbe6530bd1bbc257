#include "brdf/analytic/znRTPBRDF.h"

#include "brdf/analytic/tableLookup.h"
#include "brdf/lobeCases.h"
#include "support/lanes.h"

using reference::pi;
using reference::Uniform;
using reference::Vector;

namespace {

const znRTDifferentialGeometry dg{};

/// Texels count up from 0 along x, then y, then slices; the other channels are 2, 3 and 4 times.
void fillCounting(znRTSampler3D& volume, int type, int width, int height, int depth)
{
    std::vector<float> texels;
    for (int i = 0; i < width * height * depth; ++i) {
        const float x = float(i);
        if (type == znRTTextureSampler::typeLFloat)
            texels.push_back(x);
        else
            texels.insert(texels.end(), {x, 2 * x, 3 * x, 4 * x});
    }
    ASSERT_TRUE(volume.setTexels(type, width, height, depth, texels.data()));
}

/// A volume of a function of its three coordinates in [0, 1], the ends at texel centres.
template <class Function>
void fill(znRTSampler3D& volume, int n, const Function& function)
{
    std::vector<float> texels;
    for (int z = 0; z < n; ++z)
        for (int y = 0; y < n; ++y)
            for (int x = 0; x < n; ++x) {
                const double at = 1.0 / (n - 1);
                const float f = float(function(x * at, y * at, z * at));
                texels.insert(texels.end(), {f, f, f, 1.0f});
            }
    ASSERT_TRUE(volume.setTexels(znRTTextureSampler::typeRGBAFloat, n, n, n, texels.data()));
}

/// Maps ranges that begin at low and have a length onto texel centres.
znRTPBRDFAttributes recordOf(const znRTSampler3D& volume, int n, int mode,
                             std::initializer_list<std::pair<double, double>> ranges)
{
    znRTPBRDFAttributes record;
    record.table = &volume;
    record.mode = mode;
    int axis = 0;
    for (const auto& [low, length] : ranges) {
        record.scale[axis] = float((n - 1.0) / n / length);
        record.offset[axis] = float(0.5 / n - low * (n - 1.0) / n / length);
        ++axis;
    }
    return record;
}

} // namespace

// Texel centres lie at (i + 0.5) / n.
TEST(TableLookup, InterpolatesBetweenTexelCentres)
{
    znRTSampler3D volume;
    fillCounting(volume, znRTTextureSampler::typeRGBAFloat, 4, 2, 2);
    const znFloatType<2> all = znFloatType<2>::allLanes();
    const znRTColorPacket centres = readTable(volume,
                                              {{0.125f, 0.375f, 0.875f, 0.125f},
                                               {0.25f, 0.25f, 0.75f, 0.25f},
                                               {0.25f, 0.25f, 0.25f, 0.75f}},
                                              all);
    EXPECT_LANES_NEAR(centres.r, 0, 1, 7, 8, 1e-5f);
    EXPECT_LANES_NEAR(centres.a, 0, 4, 28, 32, 1e-4f);
    // Half way along one, two and all three axes: texels 0, 1; 0, 4; 0, 8.
    const znRTColorPacket between = readTable(
        volume,
        {{0.25f, 0.125f, 0.125f, 0.25f}, {0.25f, 0.5f, 0.25f, 0.5f}, {0.25f, 0.25f, 0.5f, 0.5f}},
        all);
    EXPECT_LANES_NEAR(between.r, 0.5f, 2, 4, 6.5f, 1e-5f);
    EXPECT_LANES_NEAR(between.g, 1, 4, 8, 13, 1e-5f);
}

TEST(TableLookup, HoldsPlacesInsideTheTable)
{
    znRTSampler3D volume;
    fillCounting(volume, znRTTextureSampler::typeRGBAFloat, 4, 2, 2);
    const float nan = std::nanf("");
    const znRTColorPacket texels = readTable(
        volume, {{-5.0f, 9.0f, nan, 1.0f}, {-5.0f, 9.0f, nan, 0.0f}, {-5.0f, 9.0f, nan, 0.0f}},
        znFloatType<2>::allLanes());
    EXPECT_LANES_NEAR(texels.r, 0, 15, 0, 3, 1e-5f);
}

TEST(TableLookup, ReadsOnlyLanesOfTheMaskAndOtherStorage)
{
    znRTSampler3D grey, empty;
    fillCounting(grey, znRTTextureSampler::typeLFloat, 2, 1, 1);
    const znRTColorPacket texels = readTable(grey, {0.75f, 0.5f, 0.5f}, expandLanes(0b0101));
    EXPECT_LANES_NEAR(texels.g, 1, 0, 1, 0, 1e-6f);
    EXPECT_LANES_EQ(readTable(empty, {0.5f, 0.5f, 0.5f}, znFloatType<2>::allLanes()).r, 0, 0, 0, 0);
}

// One function tabulated twice: over angles and over their cosines. Steps of 1/64 of the range
// leave an error of curvature / 8.
TEST(TableLobe, ReadsAnglesOrCosinesOfTheSameData)
{
    constexpr int n = 65;
    const auto function = [](double thetaI, double thetaO, double phi) {
        return 0.4 + 0.2 * std::cos(thetaI) * std::cos(thetaO) + 0.1 * std::cos(phi);
    };
    znRTSampler3D angles, cosines;
    fill(angles, n, [&](double x, double y, double z) {
        return function(x * pi / 2.0, y * pi / 2.0, z * pi);
    });
    fill(cosines, n, [&](double x, double y, double z) {
        return function(std::acos(x), std::acos(y), std::acos(2.0 * z - 1.0));
    });
    znRTPBRDF ofAngles, ofCosines;
    ofAngles.setup(recordOf(angles, n, 3, {{0.0, pi / 2.0}, {0.0, pi / 2.0}, {0.0, pi}}), 4);
    ofCosines.setup(recordOf(cosines, n, 1, {{0.0, 1.0}, {0.0, 1.0}, {-1.0, 2.0}}), 4);
    Uniform uniform(1);
    for (int i = 0; i < 300; ++i) {
        const Vector wo = upperHemisphere(uniform), wi = upperHemisphere(uniform);
        const double phi = std::atan2(wi.y, wi.x) - std::atan2(wo.y, wo.x);
        const double expected = function(std::acos(wi.z), std::acos(wo.z), phi) / pi;
        EXPECT_NEAR(ofAngles.evaluate(lanesOf(wo), lanesOf(wi), dg).r[0], expected, 3e-4);
        EXPECT_NEAR(ofCosines.evaluate(lanesOf(wo), lanesOf(wi), dg).r[0], expected, 3e-4);
    }
    // A direction on the normal has no azimuth: the difference counts as 0.
    const Vector up{0.0, 0.0, 1.0}, slanted = Vector::polar(0.5, 2.0);
    const double expected = function(0.0, 0.5, 0.0) / pi;
    EXPECT_NEAR(ofAngles.evaluate(lanesOf(slanted), lanesOf(up), dg).r[0], expected, 3e-4);
    EXPECT_NEAR(ofCosines.evaluate(lanesOf(slanted), lanesOf(up), dg).r[0], expected, 3e-4);
}

// A constant of one half: alpha is 1, whatever the table has there.
TEST(TableLobe, IsLambertianForAConstantTable)
{
    znRTSampler3D volume;
    const float texels[] = {0.5f, 0.25f, 1.0f, 0.0f};
    ASSERT_TRUE(volume.setTexels(znRTTextureSampler::typeRGBAFloat, 1, 1, 1, texels));
    znRTPBRDFAttributes record;
    record.table = &volume;
    znRTPBRDF lobe;
    lobe.setup(record, 4);
    const Vector wo = Vector::polar(0.5, 2.0), wi = Vector::polar(1.0, 0.0);
    const znRTColorPacket f = lobe.evaluate(lanesOf(wo), lanesOf(wi), dg);
    EXPECT_NEAR(f.r[0], 0.5 / pi, 1e-6);
    EXPECT_NEAR(f.g[0], 0.25 / pi, 1e-6);
    EXPECT_NEAR(f.b[0], 1.0 / pi, 1e-6);
    EXPECT_EQ(f.a[0], 1.0f);
}

TEST(TableLobe, IsBlackWithoutATable)
{
    znRTPBRDF lobe;
    lobe.setup(znRTPBRDFAttributes(), 4);
    const Vector up{0.0, 0.0, 1.0};
    znFloatType<2> pdf(1.0f);
    EXPECT_EQ(lobe.evaluate(lanesOf(up), lanesOf(up), dg, pdf).r[0], 0.0f);
    EXPECT_EQ(pdf[0], 0.0f);
    EXPECT_EQ(lobe.pdf(lanesOf(up), lanesOf(up), dg)[0], 0.0f);
    znRTVector3fPacket wi;
    EXPECT_EQ(moveMask(lobe.sample({0.5f, 0.5f}, lanesOf(up), dg, wi)), 0);
}
