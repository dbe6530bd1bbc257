#include "core/znRTSpectrum.h"

#include "core/smitsWeights.h"
#include "core/znRTSpectraPacket.h"
#include "core/znRTSpectralData.h"
#include "host/osg/Spectrum.h"
#include "support/lanes.h"

#include <limits>
#include <random>

namespace {

znRTSpectrum squares()
{
    znRTSpectrum spectrum;
    for (int i = 0; i < znRTSpectrum::bandCount; ++i)
        spectrum[i] = float(i * i);
    return spectrum;
}

/// Linear between band centres i + 0.5, the outer bands held; in double.
double interpolate(const znRTSpectrum& spectrum, double position)
{
    const double place = std::min(std::max(position - 0.5, 0.0), 39.0);
    const int i = std::min(int(place), 38);
    return spectrum[i] + (place - i) * (double(spectrum[i + 1]) - spectrum[i]);
}

} // namespace

TEST(Spectrum, IsLinearBetweenBandCentres)
{
    const znRTSpectrum spectrum = squares();
    for (float position :
         {0.0f, 0.25f, 0.5f, 0.75f, 1.0f, 7.3f, 7.5f, 7.9f, 20.0f, 38.6f, 39.0f, 39.5f, 39.9f})
        EXPECT_NEAR(spectrum.getSampleAt(position), interpolate(spectrum, position), 1e-3)
            << "at " << position;
}

TEST(Spectrum, HoldsTheOuterBandsAndIsZeroOutside)
{
    const znRTSpectrum spectrum(2.0f);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_LANES_NEAR(spectrum.getSamplesAt2(znFloatType<2>(39.9f, 0.1f, 40.0f, -0.1f)), 2.0f, 2.0f,
                      0.0f, 0.0f, 0.0f);
    EXPECT_LANES_NEAR(spectrum.getSamplesAt2(znFloatType<2>(nan, 1e30f, -1e30f, 39.5f)), 0.0f, 0.0f,
                      0.0f, 2.0f, 0.0f);
    // Exactly, for values that a sum of two weighted parts would round.
    for (int i = 1; i < 50; ++i) {
        const znRTSpectrum uneven(0.1f * float(i));
        EXPECT_EQ(uneven.getSampleAt(39.9f), 0.1f * float(i));
        EXPECT_EQ(uneven.getSampleAt(0.1f * float(i % 5)), 0.1f * float(i));
    }
    EXPECT_EQ(squares().getSampleAt(39.9f), 39.0f * 39.0f);
}

TEST(Spectrum, TakesTheSamplesOfAHostSpectrum)
{
    const auto source = osg::Spectrum::create();
    osg::addRef(source);
    source->setSamples({1.0f, 2.0f, 3.0f});
    const znRTSpectrum spectrum(*source, 0.5f);
    EXPECT_EQ(spectrum[1], 2.0f);
    EXPECT_EQ(spectrum[3], 0.0f);
    EXPECT_EQ(spectrum.scalar, 0.5f);
    EXPECT_EQ(znRTSpectrum(1.0f).scalar, 0.0f);
    osg::subRef(source);
}

// B. Smits 1999: white up to the smallest channel, the secondary of the two others up to the middle
// one, the primary of the largest for the rest.
TEST(SmitsWeights, FollowTheOrderOfTheChannels)
{
    using W = znSmitsWeights;
    struct Case
    {
        float r, g, b;
        W::Basis secondary, primary;
        float white, second, first;
    };
    const Case cases[] = {
        {0.1f, 0.2f, 0.5f, W::cyan, W::blue, 0.1f, 0.1f, 0.3f},
        {0.1f, 0.5f, 0.2f, W::cyan, W::green, 0.1f, 0.1f, 0.3f},
        {0.2f, 0.1f, 0.5f, W::magenta, W::blue, 0.1f, 0.1f, 0.3f},
        {0.5f, 0.1f, 0.2f, W::magenta, W::red, 0.1f, 0.1f, 0.3f},
        {0.2f, 0.5f, 0.1f, W::yellow, W::green, 0.1f, 0.1f, 0.3f},
        {0.5f, 0.2f, 0.1f, W::yellow, W::red, 0.1f, 0.1f, 0.3f},
        // Ties: red counts as the smallest before green, and the later channel as the larger.
        {0.4f, 0.4f, 0.4f, W::cyan, W::blue, 0.4f, 0.0f, 0.0f},
        {0.1f, 0.4f, 0.4f, W::cyan, W::blue, 0.1f, 0.3f, 0.0f},
        {0.4f, 0.1f, 0.4f, W::magenta, W::blue, 0.1f, 0.3f, 0.0f},
        {0.4f, 0.4f, 0.1f, W::yellow, W::green, 0.1f, 0.3f, 0.0f},
        {0.1f, 0.1f, 0.4f, W::cyan, W::blue, 0.1f, 0.0f, 0.3f},
        {0.1f, 0.4f, 0.1f, W::cyan, W::green, 0.1f, 0.0f, 0.3f},
        {0.4f, 0.1f, 0.1f, W::magenta, W::red, 0.1f, 0.0f, 0.3f},
        {0.0f, 0.0f, 0.0f, W::cyan, W::blue, 0.0f, 0.0f, 0.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.r << ", " << c.g << ", " << c.b);
        const W weights(c.r, c.g, c.b);
        EXPECT_EQ(weights.secondary, c.secondary);
        EXPECT_EQ(weights.primary, c.primary);
        EXPECT_FLOAT_EQ(weights.ofWhite, c.white);
        EXPECT_NEAR(weights.ofSecondary, c.second, 1e-7f);
        EXPECT_NEAR(weights.ofPrimary, c.first, 1e-7f);
    }
}

TEST(Spectrum, ReturnsTheColourOfAReflectanceItWasMadeOf)
{
    znRTSpectralData& data = znRTSpectralData::Instance();
    std::mt19937 random(7);
    std::uniform_real_distribution<float> uniform(0.0f, 1.0f);
    for (int i = 0; i < 200; ++i) {
        const float r = uniform(random), g = uniform(random), b = uniform(random);
        const znRTColor back = data.getReflectedColor(znRTSpectrum::RGB2ReflSpec(r, g, b));
        EXPECT_NEAR(back.r, r, 2e-3f);
        EXPECT_NEAR(back.g, g, 2e-3f);
        EXPECT_NEAR(back.b, b, 2e-3f);
    }
}

TEST(Spectrum, ReturnsTheColourOfALightItWasMadeOf)
{
    const znRTSpectralData& data = znRTSpectralData::Instance();
    std::mt19937 random(8);
    std::uniform_real_distribution<float> uniform(0.0f, 50.0f);
    for (int i = 0; i < 200; ++i) {
        const float r = uniform(random), g = uniform(random), b = uniform(random);
        const znRTColor back = data.getEmittedColor(znRTSpectrum::RGB2IlluSpec(r, g, b));
        EXPECT_NEAR(back.r, r, 2e-3f * 50.0f);
        EXPECT_NEAR(back.g, g, 2e-3f * 50.0f);
        EXPECT_NEAR(back.b, b, 2e-3f * 50.0f);
    }
    EXPECT_EQ(znRTSpectrum::RGB2IlluSpec(0.0f, 0.0f, 0.0f).bands, znRTSpectrum().bands);
}

TEST(Spectrum, MakesWhiteReflectancesOfOneInEveryBand)
{
    const znRTSpectrum white = znRTSpectrum::RGB2ReflSpec(1.0f, 1.0f, 1.0f);
    for (int i = 0; i < znRTSpectrum::bandCount; ++i)
        EXPECT_NEAR(white[i], 1.0f, 1e-5f) << "band " << i;
    EXPECT_NEAR(znRTSpectrum::RGB2IlluSpec(1.0f, 1.0f, 1.0f).getPhotometricValue(), 1.0f, 1e-4f);
}

TEST(Spectrum, KeepsReflectancesBetweenZeroAndOne)
{
    for (int corner = 0; corner < 8; ++corner) {
        const znRTSpectrum spectrum = znRTSpectrum::RGB2ReflSpec(
            float(corner & 1), float(corner >> 1 & 1), float(corner >> 2));
        for (float band : spectrum.bands) {
            EXPECT_GE(band, -1e-6f);
            EXPECT_LE(band, 1.0f + 1e-5f);
        }
    }
}

// Sums of the published tables: x and y of the whites to the accuracy of 10 nm bands.
TEST(SpectralData, HasTheWhitesOfTheIlluminants)
{
    const znRTSpectralData& data = znRTSpectralData::Instance();
    const auto chromaticity = [&](const znRTSpectrum& light, float& x, float& y) {
        double sums[3] = {};
        for (int i = 0; i < znRTSpectrum::bandCount; ++i) {
            sums[0] += data.getX()[i] * light[i];
            sums[1] += data.getY()[i] * light[i];
            sums[2] += data.getZ()[i] * light[i];
        }
        const double sum = sums[0] + sums[1] + sums[2];
        x = float(sums[0] / sum);
        y = float(sums[1] / sum);
    };
    float x, y;
    chromaticity(data.getD65(), x, y);
    EXPECT_NEAR(x, 0.3127f, 3e-4f);
    EXPECT_NEAR(y, 0.3290f, 3e-4f);
    chromaticity(data.getA(), x, y);
    EXPECT_NEAR(x, 0.4476f, 3e-4f);
    EXPECT_NEAR(y, 0.4074f, 3e-4f);
    chromaticity(data.getE(), x, y);
    EXPECT_NEAR(x, 1.0f / 3.0f, 3e-4f);
    EXPECT_NEAR(y, 1.0f / 3.0f, 3e-4f);
}

TEST(SpectralData, GivesThePhotometricValueOneToAFlatSpectrum)
{
    EXPECT_NEAR(znRTSpectrum(1.0f).getPhotometricValue(), 1.0f, 1e-5f);
    EXPECT_LANES_NEAR(
        znRTSpectraPacket(znFloatType<2>(0.0f, 1.0f, 2.0f, 3.0f)).getPhotometricValue(), 0.0f, 1.0f,
        2.0f, 3.0f, 1e-5f);
}

TEST(SpectralData, SwitchesTheIlluminantAndKeepsWhiteWhite)
{
    znRTSpectralData& data = znRTSpectralData::Instance();
    const znRTSpectrum red = znRTSpectrum::RGB2ReflSpec(0.8f, 0.2f, 0.1f);
    const znRTColor underDaylight = data.getReflectedColor(red);
    for (u32 illuminant : {1u, 2u}) {
        data.setIlluminant(illuminant);
        EXPECT_EQ(data.getIlluminant(), illuminant);
        data.reinit();
        const znRTColor white = data.getReflectedColor(znRTSpectrum(1.0f));
        EXPECT_NEAR(white.r, 1.0f, 1e-5f);
        EXPECT_NEAR(white.g, 1.0f, 1e-5f);
        EXPECT_NEAR(white.b, 1.0f, 1e-5f);
        EXPECT_GT(std::fabs(data.getReflectedColor(red).r - underDaylight.r), 1e-3f);
    }
    EXPECT_EQ(&data.getIlluminantSpectrum(), &data.getE());
    data.setIlluminant(77);
    EXPECT_EQ(data.getIlluminant(), 0u);
    data.reinit();
    EXPECT_EQ(data.getReflectedColor(red), underDaylight);
}
