#include "host/znRTColorTransforms.h"
#include "host/osg/OffsetCameraDecorator.h"
#include "host/osg/Viewport.h"
#include "host/znLog.h"
#include "support/savedProfile.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <fstream>
#include <set>

namespace {

using Transforms = znRTColorTransforms;
using Values = std::array<float, 4>;

Values toValues(__m128 v)
{
    Values values;
    _mm_storeu_ps(values.data(), v);
    return values;
}

__m128 toRegister(float r, float g, float b, float a = 0.5f)
{
    return _mm_setr_ps(r, g, b, a);
}

Values tonemap(const znImagePostprocessor& p, float r, float g, float b)
{
    return toValues(Transforms::applyTonemapper(toRegister(r, g, b), p));
}

float tonemapGrey(const znImagePostprocessor& p, float x)
{
    return tonemap(p, x, x, x)[1];
}

/// All kinds at some settings that are not the default.
std::vector<znImagePostprocessor> allTonemappers()
{
    std::vector<znImagePostprocessor> all;
    for (int kind = 0; kind < znImagePostprocessor::tonemapperCount; ++kind)
        for (float white : {1.0f, 0.3f, 20.0f})
            for (float shape : {1.0f, 0.6f, 1.7f}) {
                znImagePostprocessor p;
                p.tonemapper = kind;
                p.exposure = shape - 1.0f;
                p.whitepoint = white;
                p.burn = 0.5f * shape;
                p.contrast = shape;
                p.saturation = shape;
                p.update();
                all.push_back(p);
            }
    return all;
}

double sRGB(double linear)
{
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}

} // namespace

TEST(Tonemapper, KeepsBlackBlackAndAlphaUntouched)
{
    for (const znImagePostprocessor& p : allTonemappers()) {
        const Values black = tonemap(p, 0.0f, 0.0f, 0.0f);
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(black[c], 0.0f) << p.tonemapper;
        EXPECT_EQ(tonemap(p, 3.0f, 0.2f, 10.0f)[3], 0.5f) << p.tonemapper;
    }
}

TEST(Tonemapper, IsMonotoneInEachChannel)
{
    for (const znImagePostprocessor& p : allTonemappers())
        for (int channel = 0; channel < 3; ++channel) {
            float last = 0.0f;
            for (float x = 1e-4f; x < 1e5f; x *= 1.05f) {
                Values in{0.3f, 0.3f, 0.3f, 1.0f};
                in[channel] = x;
                const float out = tonemap(p, in[0], in[1], in[2])[channel];
                // Powers and logarithms are good to 1e-6.
                ASSERT_GE(out, last * (1.0f - 2e-6f)) << p.tonemapper << " at " << x;
                last = out;
            }
        }
}

TEST(Tonemapper, StaysFiniteForAnything)
{
    for (const znImagePostprocessor& p : allTonemappers())
        for (float x : {-1.0f, 1e30f, INFINITY, NAN, 1e-42f}) {
            const float out = tonemapGrey(p, x);
            if (p.tonemapper != znImagePostprocessor::tonemapLinear) {
                EXPECT_TRUE(std::isfinite(out)) << p.tonemapper << " of " << x;
                EXPECT_GE(out, 0.0f) << p.tonemapper << " of " << x;
            }
        }
}

TEST(Tonemapper, CountsExposureInStops)
{
    znImagePostprocessor p;
    p.exposure = 2.0f;
    p.update();
    EXPECT_FLOAT_EQ(tonemapGrey(p, 0.25f), 1.0f);
    EXPECT_FLOAT_EQ(tonemapGrey(p, -0.25f), -1.0f);
    p.tonemapper = znImagePostprocessor::tonemapClamp;
    p.update();
    EXPECT_FLOAT_EQ(tonemapGrey(p, 0.125f), 0.5f);
    EXPECT_EQ(tonemapGrey(p, 0.5f), 1.0f);
    p.useTonemapping = false;
    EXPECT_EQ(tonemapGrey(p, 0.125f), 0.125f);
}

// Each value from the formula of its publication in double precision.
TEST(Tonemapper, FollowsThePublishedCurves)
{
    znImagePostprocessor p;
    const auto use = [&p](int kind) {
        p.tonemapper = kind;
        p.update();
    };
    p.whitepoint = 4.0f;
    p.burn = 1.0f;
    for (double x : {0.01, 0.18, 0.5, 1.0, 3.0, 4.0}) {
        use(znImagePostprocessor::tonemapReinhard);
        EXPECT_NEAR(tonemapGrey(p, float(x)), x * (1.0 + x / 16.0) / (1.0 + x), 1e-6);

        use(znImagePostprocessor::tonemapFilmic);
        const auto hable = [](double v) {
            return (v * (0.15 * v + 0.1 * 0.5) + 0.2 * 0.02) / (v * (0.15 * v + 0.5) + 0.2 * 0.3) -
                   0.02 / 0.3;
        };
        EXPECT_NEAR(tonemapGrey(p, float(x)), hable(2.0 * x) / hable(11.2 * 4.0), 2e-6);

        use(znImagePostprocessor::tonemapACES);
        EXPECT_NEAR(tonemapGrey(p, float(x)),
                    std::min(1.0, x * (2.51 * x + 0.03) / (x * (2.43 * x + 0.59) + 0.14)), 1e-6);

        use(znImagePostprocessor::tonemapLogarithmic);
        const double base = 2.0 + 8.0 * std::pow(x / 4.0, std::log(0.85) / std::log(0.5));
        EXPECT_NEAR(tonemapGrey(p, float(x)), std::log(1.0 + x) / std::log10(5.0) / std::log(base),
                    3e-6);

        use(znImagePostprocessor::tonemapPhotographic);
        EXPECT_NEAR(tonemapGrey(p, float(x)), 1.0 - std::exp(-x), 1e-6);
    }
    use(znImagePostprocessor::tonemapReinhard);
    EXPECT_NEAR(tonemapGrey(p, 4.0f), 1.0f, 1e-6f);
    use(znImagePostprocessor::tonemapLogarithmic);
    EXPECT_NEAR(tonemapGrey(p, 4.0f), 1.0f, 2e-6f);
}

// Of greys: .04 is taken off (less below .08, where the parabola 6.25 x^2 is left), and above .76
// the distance to 1 falls with the inverse of the light. The brightest channel of a colour follows
// the curve of its grey, and strong colours turn to white.
TEST(Tonemapper, KeepsSurfacesAndBendsLightInTheNeutralKind)
{
    znImagePostprocessor p;
    p.tonemapper = znImagePostprocessor::tonemapNeutral;
    p.update();
    EXPECT_NEAR(tonemapGrey(p, 0.04f), 6.25 * 0.0016, 1e-6);
    EXPECT_NEAR(tonemapGrey(p, 0.5f), 0.46, 1e-6);
    for (const double x : {0.9, 2.0, 10.0, 1000.0})
        EXPECT_NEAR(tonemapGrey(p, float(x)), 1.0 - 0.24 * 0.24 / (x - 0.04 + 0.24 - 0.76), 1e-5);
    const Values matte = tonemap(p, 0.6f, 0.3f, 0.1f);
    EXPECT_NEAR(matte[0], 0.56f, 1e-6f);
    EXPECT_NEAR(matte[1], 0.26f, 1e-6f);
    EXPECT_NEAR(matte[2], 0.06f, 1e-6f);
    const Values red = tonemap(p, 5.04f, 0.04f, 0.04f);
    EXPECT_NEAR(red[0], 1.0 - 0.24 * 0.24 / (5.01 + 0.24 - 0.76), 1e-5);
    EXPECT_GT(red[1], 0.2f);
    EXPECT_LT(red[1], red[0]);
}

// Contrast turns about middle grey, saturation about the luminance.
TEST(Tonemapper, ShapesContrastAndSaturationOfThePhotographicKind)
{
    znImagePostprocessor p;
    p.tonemapper = znImagePostprocessor::tonemapPhotographic;
    p.contrast = 2.0f;
    p.update();
    EXPECT_NEAR(tonemapGrey(p, 0.18f), 1.0 - std::exp(-0.18), 1e-6);
    EXPECT_NEAR(tonemapGrey(p, 0.36f), 1.0 - std::exp(-0.72), 1e-6);
    p.contrast = 1.0f;
    p.saturation = 0.0f;
    p.update();
    const Values grey = tonemap(p, 1.0f, 0.5f, 0.25f);
    const double luminance = 0.2125 * (1 - std::exp(-1.0)) + 0.7154 * (1 - std::exp(-0.5)) +
                             0.0721 * (1 - std::exp(-0.25));
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(grey[c], luminance, 1e-6);
}

TEST(WhiteBalance, IsTheIdentityAtItsNeutralPoint)
{
    const znImagePostprocessor p;
    EXPECT_EQ(toValues(Transforms::applyWhitebalancing(toRegister(0.2f, 0.4f, 0.8f), p)),
              (Values{0.2f, 0.4f, 0.8f, 0.5f}));
    // And nothing jumps beside it.
    znImagePostprocessor near;
    near.whiteBalanceTemperature = 6501.0f;
    near.update();
    const Values c = toValues(Transforms::applyWhitebalancing(toRegister(0.2f, 0.4f, 0.8f), near));
    EXPECT_NEAR(c[0], 0.2f, 1e-4f);
    EXPECT_NEAR(c[2], 0.8f, 2e-4f);
}

// Linear Rec. 709 of a black body of 3200 K (Planck's law through the CIE 1931 observer gives
// x = 0.4234, y = 0.3990) must come out grey.
TEST(WhiteBalance, MakesItsWhiteLookWhite)
{
    const double x = 0.4234, y = 0.3990, X = x / y, Z = (1.0 - x - y) / y;
    const float r = float(3.2409699 * X - 1.5373832 - 0.4986108 * Z);
    const float g = float(-0.9692436 * X + 1.8759675 + 0.0415551 * Z);
    const float b = float(0.0556301 * X - 0.2039770 + 1.0569715 * Z);
    znImagePostprocessor p;
    p.whiteBalanceTemperature = 3200.0f;
    p.update();
    const Values c = toValues(Transforms::applyWhitebalancing(toRegister(r, g, b), p));
    EXPECT_NEAR(c[0], 1.0f, 0.02f);
    EXPECT_NEAR(c[1], 1.0f, 0.02f);
    EXPECT_NEAR(c[2], 1.0f, 0.02f);
    EXPECT_EQ(c[3], 0.5f);
}

TEST(WhiteBalance, TurnsMagentaWithPositiveTint)
{
    znImagePostprocessor p;
    p.whiteBalanceTint = 0.5f;
    p.update();
    const Values magenta = toValues(Transforms::applyWhitebalancing(toRegister(1, 1, 1), p));
    EXPECT_LT(magenta[1], magenta[0]);
    EXPECT_LT(magenta[1], magenta[2]);
    p.whiteBalanceTint = -0.5f;
    p.update();
    const Values green = toValues(Transforms::applyWhitebalancing(toRegister(1, 1, 1), p));
    EXPECT_GT(green[1], green[0]);
    EXPECT_GT(green[1], green[2]);
}

TEST(ColorCorrection, DoesNothingWithNeutralParameters)
{
    const znImagePostprocessor p;
    const Values c = toValues(Transforms::applyColorCorrection(toRegister(-0.5f, 0.25f, 7.0f),
                                                               p.lift, p.gamma, p.gain, p.matrix));
    EXPECT_EQ(c, (Values{-0.5f, 0.25f, 7.0f, 0.5f}));
}

// (gain (c + lift (1 - c)))^(1 / gamma) channel by channel, then red and blue exchanged and green
// raised by a constant.
TEST(ColorCorrection, LiftsScalesBendsAndMixes)
{
    znImagePostprocessor p;
    p.liftValues = {0.1f, 0.0f, -0.2f, 9.0f};
    p.gammaValues = {2.0f, 1.0f, 0.5f, 9.0f};
    p.gainValues = {1.5f, 2.0f, 1.0f, 9.0f};
    p.matrixValues = {{{0, 0, 1, 0}, {0, 1, 0, 0.25f}, {1, 0, 0, 0}}};
    p.update();
    const Values c = toValues(Transforms::applyColorCorrection(toRegister(0.4f, 0.3f, 0.8f), p.lift,
                                                               p.gamma, p.gain, p.matrix));
    EXPECT_NEAR(c[2], std::sqrt(1.5 * (0.4 + 0.1 * 0.6)), 2e-6);
    EXPECT_NEAR(c[1], 2.0 * 0.3 + 0.25, 1e-6);
    EXPECT_NEAR(c[0], std::pow(0.8 - 0.2 * 0.2, 2.0), 2e-6);
    EXPECT_EQ(c[3], 0.5f);
}

TEST(ColorCorrection, GivesPlatesTheWholeChain)
{
    znImagePostprocessor p;
    p.tonemapper = znImagePostprocessor::tonemapReinhard;
    p.whiteBalanceTemperature = 5000.0f;
    p.gainValues = {0.5f, 0.5f, 0.5f, 1.0f};
    p.useColorCorrection = true;
    p.update();
    const __m128 color = toRegister(0.3f, 0.6f, 0.9f);
    __m128 expected = Transforms::applyWhitebalancing(color, p);
    expected = Transforms::applyTonemapper(expected, p);
    const Values uncorrected = toValues(expected);
    expected = Transforms::applyColorCorrection(expected, p.lift, p.gamma, p.gain, p.matrix);
    EXPECT_EQ(toValues(Transforms::applySceneplateColorCorrection(color, p)), toValues(expected));
    p.useColorCorrection = false;
    EXPECT_EQ(toValues(Transforms::applySceneplateColorCorrection(color, p)), uncorrected);
}

// IEC 61966-2-1 in double precision.
TEST(ColorProfile, EncodesSRGB)
{
    const znColorProfile profile;
    ASSERT_EQ(profile.kind, znColorProfile::sRGB);
    for (double x : {0.0, 0.001, 0.0031308, 0.0032, 0.01, 0.05, 0.18, 0.5, 0.75, 1.0, 4.0}) {
        const Values c =
            toValues(Transforms::applyColorProfile(toRegister(float(x), 0, 0), profile));
        EXPECT_NEAR(c[0], sRGB(double(float(x))), 2e-6 * std::max(1.0, x)) << x;
        EXPECT_EQ(c[3], 0.5f);
    }
    EXPECT_EQ(toValues(Transforms::applyColorProfile(toRegister(-1, NAN, 0), profile))[0], 0.0f);
    EXPECT_EQ(toValues(Transforms::applyColorProfile(toRegister(-1, NAN, 0), profile))[1], 0.0f);
}

TEST(ColorProfile, AgreesWithTheReferenceTable)
{
    std::ifstream file(ZN_SOURCE_DIR "/../shared/data/reference/colour.json");
    if (!file)
        GTEST_SKIP() << "reference data is not here";
    const auto reference = nlohmann::json::parse(file);
    for (const auto& row : reference["srgb_transfer"]) {
        const float linear = row["linear"];
        const Values c =
            toValues(Transforms::applyColorProfile(toRegister(linear, 0, 0), znColorProfile()));
        EXPECT_NEAR(c[0], row["encoded"].get<double>(), 2e-6) << linear;
    }
}

TEST(ColorProfile, RaisesToTheInverseOfItsGamma)
{
    znColorProfile profile;
    profile.setGamma(1.8f);
    for (float x : {0.0f, 1e-3f, 0.3f, 1.0f, 2.5f}) {
        const Values c = toValues(Transforms::applyColorProfile(toRegister(x, x, x), profile));
        EXPECT_NEAR(c[2], std::pow(x, 1.0 / 1.8), 4e-6) << x;
    }
    profile.setGamma(-2.0f);
    EXPECT_FLOAT_EQ(profile.inverseGamma, 1.0f / 1.8f);
    profile.kind = znColorProfile::linear;
    EXPECT_EQ(toValues(Transforms::applyColorProfile(toRegister(-2, 0.5f, 3), profile)),
              (Values{-2.0f, 0.5f, 3.0f, 0.5f}));
}

// A table baked from sRGB itself must give sRGB; from a gamma 1.8 display with the same primaries
// the encoded value to another power. Tolerance: the cells of a 33^3 table, less than half an
// 8-bit step.
TEST(ColorProfile, BakesICCProfiles)
{
    znColorProfile profile;
    const auto sRGBBytes = savedProfile(cmsCreate_sRGBProfile());
    ASSERT_TRUE(profile.setICCProfile(sRGBBytes.data(), sRGBBytes.size(), "sRGB"));
    EXPECT_EQ(profile.kind, znColorProfile::table);
    for (float x : {0.0f, 0.02f, 0.2f, 0.5f, 0.77f, 1.0f}) {
        const Values c =
            toValues(Transforms::applyColorProfile(toRegister(x, x * x, 1.0f - x), profile));
        EXPECT_NEAR(c[0], sRGB(x), 0.0019) << x;
        EXPECT_NEAR(c[1], sRGB(x * x), 0.0019) << x;
        EXPECT_NEAR(c[2], sRGB(1.0f - x), 0.0019) << x;
    }

    cmsCIExyY white{0.3127, 0.3290, 1.0};
    cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1.0}, {0.30, 0.60, 1.0}, {0.15, 0.06, 1.0}};
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 1.8);
    cmsToneCurve* curves[3] = {curve, curve, curve};
    const auto gammaBytes = savedProfile(cmsCreateRGBProfile(&white, &primaries, curves));
    cmsFreeToneCurve(curve);
    ASSERT_TRUE(profile.setICCProfile(gammaBytes.data(), gammaBytes.size(), "1.8"));
    for (float x : {0.05f, 0.2f, 0.5f, 1.0f})
        EXPECT_NEAR(toValues(Transforms::applyColorProfile(toRegister(x, x, x), profile))[1],
                    std::pow(x, 1.0 / 1.8), 0.0019)
            << x;
}

TEST(ColorProfile, RefusesWhatIsNoDisplayProfile)
{
    znColorProfile profile;
    const unsigned warnings = znLog::getCount(znLog::Level::warning);
    const std::vector<u8> noise(500, 0x5a);
    EXPECT_FALSE(profile.setICCProfile(noise.data(), noise.size(), "noise"));
    EXPECT_FALSE(profile.setICCProfile(nullptr, 0, "nothing"));
    const auto lab = savedProfile(cmsCreateLab4Profile(nullptr));
    EXPECT_FALSE(profile.setICCProfile(lab.data(), lab.size(), "Lab"));
    auto cut = savedProfile(cmsCreate_sRGBProfile());
    cut.resize(cut.size() / 3);
    EXPECT_FALSE(profile.setICCProfile(cut.data(), cut.size(), "cut"));
    EXPECT_EQ(profile.kind, znColorProfile::sRGB);
    EXPECT_EQ(znLog::getCount(znLog::Level::warning), warnings + 4);
}

TEST(DataPasses, CompressNormals)
{
    EXPECT_EQ(toValues(Transforms::applyNormalCompression(toRegister(-1, 0, 1))),
              (Values{0.0f, 0.5f, 1.0f, 0.5f}));
}

// Stored depth by its formula for near 1 and far 101; back comes the share of the distance.
TEST(DataPasses, TurnStoredDepthIntoTheShareOfTheDistance)
{
    const double n = 1.0, f = 101.0;
    for (double d : {1.0, 2.0, 10.0, 51.0, 101.0}) {
        const float stored = float(n * f / (f - n) / d + 0.5 - 0.5 * (n + f) / (f - n));
        const Values c = toValues(
            Transforms::applyZDepthHandling(toRegister(stored, stored, stored), 1.0f, 101.0f));
        EXPECT_NEAR(c[0], (d - n) / (f - n), 2e-5 * d) << d;
    }
    EXPECT_EQ(toValues(Transforms::applyZDepthHandling(toRegister(0, 0, 0), 1.0f, 101.0f))[0],
              1.0f);
}

// Values that nine bits hold exactly, and the bounds of the format.
TEST(RGB9E5, PacksAndRounds)
{
    const auto unpack = [](u32 packed, int channel) {
        return std::ldexp(double(packed >> (9 * channel) & 511u), int(packed >> 27) - 15 - 9);
    };
    const u32 exact = Transforms::toRGB9_E5(toRegister(1.0f, 0.5f, 0.25f));
    EXPECT_EQ(unpack(exact, 0), 1.0);
    EXPECT_EQ(unpack(exact, 1), 0.5);
    EXPECT_EQ(unpack(exact, 2), 0.25);
    EXPECT_EQ(Transforms::toRGB9_E5(toRegister(0, 0, 0)), 0u);
    EXPECT_EQ(Transforms::toRGB9_E5(toRegister(-1, NAN, 0)), 0u);
    EXPECT_EQ(unpack(Transforms::toRGB9_E5(toRegister(INFINITY, 0, 0)), 0), 65408.0);
    for (float x = 1e-4f; x < 65000.0f; x *= 1.37f) {
        const u32 packed = Transforms::toRGB9_E5(toRegister(x, 0.7f * x, 0.01f * x));
        EXPECT_NEAR(unpack(packed, 0), x, x / 512.0) << x;
        EXPECT_NEAR(unpack(packed, 1), 0.7f * x, x / 512.0) << x;
        EXPECT_NEAR(unpack(packed, 2), 0.01f * x, x / 512.0) << x;
    }
    // Just below a power of two the mantissa rounds up into the next exponent.
    EXPECT_EQ(unpack(Transforms::toRGB9_E5(toRegister(1.9999f, 0, 0)), 0), 2.0);
}

TEST(Dithering, TakesEachOf64ThresholdsOnceInACell)
{
    std::set<float> offsets;
    double sum = 0.0;
    for (int y = 8; y < 16; ++y)
        for (int x = 0; x < 8; ++x) {
            const Values c = toValues(Transforms::applyDithering(toRegister(0, 0, 0), x, y));
            EXPECT_EQ(c[0], c[2]);
            EXPECT_EQ(c[3], 0.5f);
            EXPECT_LT(std::fabs(c[0]), 0.5f / 255.0f);
            offsets.insert(c[0]);
            sum += c[0];
        }
    EXPECT_EQ(offsets.size(), 64u);
    EXPECT_NEAR(sum, 0.0, 1e-7);
}

// A grey between two 8-bit values comes out as their mix over a cell.
TEST(Dithering, KeepsTheMeanOfAGrey)
{
    const float grey = 100.25f / 255.0f;
    int sum = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const Values c =
                toValues(Transforms::applyDithering(toRegister(grey, grey, grey), x, y));
            sum += int(c[1] * 255.0f + 0.5f);
        }
    EXPECT_EQ(sum, 64 * 100 + 16);
}

TEST(ImagePostprocessor, TakesTheSettingsOfTheUndecoratedCamera)
{
    osg::Ref<osg::UberCamera> camera(osg::UberCamera::create());
    osg::Ref<osg::TonemappingSettings> settings(osg::TonemappingSettings::create());
    settings->setTonemapperType(4);
    settings->setExposure(1.0f);
    settings->setUseColorCorrection(true);
    settings->setGain(osg::Vec4f(2, 3, 4, 1));
    settings->setColorProfile(2);
    settings->setDisplayGamma(2.0f);
    settings->setTonemapFloatImages(true);
    osg::Matrix matrix;
    matrix[3][0] = 0.5;
    settings->setColorMatrix(matrix);
    camera->setTonemappingSettings(settings);
    osg::Ref<osg::OffsetCameraDecorator> decorator(osg::OffsetCameraDecorator::create());
    decorator->setDecoratee(camera.get());
    osg::Ref<osg::Viewport> viewport(osg::Viewport::create());
    viewport->setCamera(decorator.get());

    const auto p = znImagePostprocessor::getImagePostprocessor(viewport.get().get());
    EXPECT_EQ(p.tonemapper, znImagePostprocessor::tonemapACES);
    EXPECT_EQ(p.exposureScale, 2.0f);
    EXPECT_TRUE(p.useColorCorrection);
    EXPECT_EQ(p.gainValues[1], 3.0f);
    EXPECT_EQ(p.profile.kind, znColorProfile::gamma);
    EXPECT_EQ(p.profile.inverseGamma, 0.5f);
    EXPECT_EQ(p.flags, 1);
    EXPECT_EQ(p.matrixValues[0][3], 0.5f);
    EXPECT_EQ(toValues(p.matrix.column[3])[0], 0.5f);

    const osg::Viewport* none = nullptr;
    EXPECT_EQ(znImagePostprocessor::getImagePostprocessor(none).tonemapper, 0);
}

TEST(ImagePostprocessor, LendsTheDisplayProfileToCamerasThatAskForATable)
{
    osg::Ref<osg::UberCamera> camera(osg::UberCamera::create());
    osg::Ref<osg::TonemappingSettings> settings(osg::TonemappingSettings::create());
    settings->setColorProfile(3);
    camera->setTonemappingSettings(settings);
    const osg::Camera* plain = camera.get().get();
    EXPECT_EQ(znImagePostprocessor::getImagePostprocessor(plain).profile.kind,
              znColorProfile::sRGB);
    znColorProfile display;
    display.kind = znColorProfile::table;
    display.entries = std::make_shared<std::vector<float>>(33 * 33 * 33 * 4, 0.25f);
    znImagePostprocessor::setDisplayProfile(display);
    const auto p = znImagePostprocessor::getImagePostprocessor(plain);
    EXPECT_EQ(toValues(Transforms::applyColorProfile(toRegister(1, 0, 1), p.profile))[0], 0.25f);
    znImagePostprocessor::setDisplayProfile({});
}
