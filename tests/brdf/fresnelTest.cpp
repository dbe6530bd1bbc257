#include "brdf/znRTFresnelApprox.h"
#include "brdf/znRTFresnelSchlick.h"

#include "brdf/opticalConstants.h"
#include "brdf/referenceLobes.h"
#include "support/lanes.h"

namespace {

znRTFresnelApprox dielectricOf(float n)
{
    znRTFresnelApprox term;
    term.setRefraction(n, 0.0f, 1.0f);
    return term;
}

} // namespace

// The exact form follows from both cosines, which Snell's law ties together, and equals the form of
// Cook and Torrance that needs the incident one alone.
TEST(FresnelDielectric, AgreesInBothFormsWithTheComplexEquations)
{
    for (const float n : {1.0f, 1.33f, 1.5f, 2.4f})
        for (float c = 0.01f; c <= 1.0f; c += 0.01f) {
            const znRTFresnelApprox term = dielectricOf(n);
            const float cosT = std::sqrt(1.0f - (1.0f - c * c) / (n * n));
            const double expected = reference::complexFresnel(c, n, 0.0);
            EXPECT_NEAR(term.dielectric(c)[0], expected, 2e-5) << n << " " << c;
            EXPECT_NEAR(term.dielectricExact(c, cosT)[0], expected, 2e-5) << n << " " << c;
            EXPECT_NEAR(term.dielectric(c, n)[0], expected, 2e-5) << n << " " << c;
            EXPECT_NEAR(term.dielectricColor(c, cosT).b[0], expected, 2e-5) << n << " " << c;
        }
    EXPECT_LANES_EQ(dielectricOf(1.5f).dielectricColor(0.5f, 0.8f).a, 1, 1, 1, 1);
}

// With n = 0.5 nothing passes below cosine sqrt(1 - n^2) = 0.866; at normal incidence the
// reflectance is ((n - 1) / (n + 1))^2 = 1/9.
TEST(FresnelDielectric, ReflectsEverythingBeyondTheCriticalAngle)
{
    const znFloatType<2> cosTheta(0.0f, 0.1f, 0.8f, 1.0f);
    const znFloatType<2> reflected = znRTFresnelApprox().dielectric(cosTheta, znFloatType<2>(0.5f));
    EXPECT_LANES_NEAR(reflected, 1.0f, 1.0f, 1.0f, 1.0f / 9.0f, 1e-5f);
    EXPECT_EQ(reflected[0], 1.0f);
    EXPECT_EQ(reflected[2], 1.0f);
    EXPECT_LANES_NEAR(dielectricOf(0.5f).dielectric(cosTheta), 1.0f, 1.0f, 1.0f, 1.0f / 9.0f,
                      1e-5f);
}

// Reflectance at normal incidence is ((n - 1)^2 + k^2) / ((n + 1)^2 + k^2), and the usual form for
// strong absorption stays within 0.01 of the complex equations at 60 degrees (potassium is the
// worst).
TEST(FresnelConductor, KeepsToTheComplexEquationsForEveryMetal)
{
    for (unsigned index = 1; index < znRTFresnelApprox::s_tableSize; ++index) {
        znRTFresnelApprox term;
        term.setFromTable(index);
        EXPECT_EQ(term.getTableIndex(), index);
        const znOpticalConstants& metal = getOpticalConstants(index);
        const znRTColorPacket normal = term.conductorColor(1.0f),
                              slanted = term.conductorColor(0.5f);
        for (int channel = 0; channel < 3; ++channel) {
            const double n = metal.n[channel], k = metal.k[channel];
            const double r0 = ((n - 1) * (n - 1) + k * k) / ((n + 1) * (n + 1) + k * k);
            EXPECT_NEAR(normal[channel][0], r0, 1e-5) << index;
            EXPECT_NEAR(slanted[channel][0], reference::complexFresnel(0.5, n, k), 0.01) << index;
            EXPECT_NEAR(slanted[channel][0], reference::conductor(0.5, n, k), 1e-5) << index;
        }
        EXPECT_EQ(normal.a[0], 1.0f);
    }
}

// Published figures of some metals' colours at normal incidence.
TEST(FresnelConductor, KnowsTheColoursOfMetals)
{
    const auto expectColour = [](unsigned index, float r, float g, float b) {
        znRTFresnelApprox term;
        term.setFromTable(index);
        const znRTColorPacket colour = term.conductorColor(1.0f);
        EXPECT_NEAR(colour.r[0], r, 6e-4f) << index;
        EXPECT_NEAR(colour.g[0], g, 6e-4f) << index;
        EXPECT_NEAR(colour.b[0], b, 6e-4f) << index;
    };
    expectColour(1, 0.915f, 0.920f, 0.923f);  // aluminium
    expectColour(4, 0.929f, 0.782f, 0.388f);  // gold
    expectColour(6, 0.837f, 0.652f, 0.549f);  // copper
    expectColour(11, 0.948f, 0.938f, 0.921f); // potassium
    expectColour(14, 0.353f, 0.372f, 0.425f); // silicon
}

// (n - i k) = 1: no reflection straight on, and (1/2 - 1)^2 / (1/2 + 1)^2 at 60 degrees, since the
// form for strong absorption does not know transmission.
TEST(FresnelConductor, TreatsUnknownMetalsAsNeutral)
{
    for (const unsigned index : {0u, 21u, 100u, 254u}) {
        znRTFresnelApprox term;
        term.setFromTable(index);
        EXPECT_EQ(term.getTableIndex(), 0u);
        EXPECT_NEAR(term.conductor(1.0f)[0], 0.0f, 1e-6f);
        EXPECT_NEAR(term.conductor(0.5f)[0], 1.0f / 9.0f, 1e-5f);
    }
}

// n = (1 + s) / (1 - s) with s = sqrt(f0), k = 2 sqrt(f0 / (1 - f0)): each alone reflects f0.
TEST(FresnelReflectance, MakesAConductorThatReflectsSomewhatMore)
{
    const auto expectReflectance = [](float f0, float asSet, float tolerance) {
        znRTFresnelApprox term;
        term.setFromTable(3);
        term.setReflectance(f0);
        EXPECT_EQ(term.getTableIndex(), 0u);
        EXPECT_EQ(term.getBlend(), 1.0f);
        EXPECT_NEAR(term.conductor(1.0f)[0], asSet, tolerance) << f0;
        EXPECT_NEAR(term.getApproximateReflectance(), f0, 2e-4f) << f0;
    };
    expectReflectance(0.02f, 0.0345f, 1e-4f);
    expectReflectance(0.04f, 0.0649f, 1e-4f);
    expectReflectance(0.25f, 0.3077f, 1e-3f);
    expectReflectance(0.5f, 0.5395f, 1e-4f);
    expectReflectance(0.95f, 0.9506f, 1e-4f);
}

TEST(FresnelReflectance, IsHeldInsideItsRange)
{
    znRTFresnelApprox lowest, zero, highest, one;
    lowest.setReflectance(1e-6f);
    zero.setReflectance(0.0f);
    highest.setReflectance(0.999999f);
    one.setReflectance(1.0f);
    EXPECT_EQ(zero.getRefraction(0), lowest.getRefraction(0));
    EXPECT_EQ(zero.getAbsorption(0), lowest.getAbsorption(0));
    EXPECT_EQ(one.getRefraction(0), highest.getRefraction(0));
    EXPECT_EQ(one.getAbsorption(0), highest.getAbsorption(0));
    EXPECT_GT(one.conductor(1.0f)[0], 0.999f);
    EXPECT_LE(one.conductor(0.0f)[0], 1.0001f);
}

TEST(FresnelRefraction, SetsAllChannels)
{
    znRTFresnelApprox term;
    term.setRefraction(1.7f, 0.3f, 0.25f);
    for (int channel = 0; channel < 3; ++channel) {
        EXPECT_EQ(term.getRefraction(channel), 1.7f);
        EXPECT_EQ(term.getAbsorption(channel), 0.3f);
    }
    EXPECT_EQ(term.getBlend(), 0.25f);
    EXPECT_LANES_EQ(term.evaluateColor().g, 1, 1, 1, 1);
    term.setReflectanceColor(znRTColor(0.1f, 0.2f, 0.3f)); // no such thing here
    EXPECT_EQ(term.getRefraction(0), 1.7f);
}

// f0 + (1 - f0) (1 - c)^5
TEST(FresnelSchlick, RisesFromItsReflectanceToOne)
{
    const znFloatType<2> cosTheta(1.0f, 0.5f, 0.1f, 0.0f);
    const auto expected = [&](int lane, double f0) {
        return float(reference::schlick(cosTheta[lane], f0));
    };
    const znRTFresnelSchlick schlick;
    const znRTFresnelApprox approx;
    EXPECT_LANES_NEAR(approx.schlick(cosTheta, 0.2f), expected(0, 0.2), expected(1, 0.2),
                      expected(2, 0.2), expected(3, 0.2), 1e-6f);
    EXPECT_LANES_NEAR(schlick.schlick(cosTheta, 0.2f), expected(0, 0.2), expected(1, 0.2),
                      expected(2, 0.2), expected(3, 0.2), 1e-6f);
    const znRTColorPacket f0(0.1f, 0.2f, 0.3f, 0.5f);
    EXPECT_LANES_NEAR(approx.schlickColor(cosTheta, f0).b, expected(0, 0.3), expected(1, 0.3),
                      expected(2, 0.3), expected(3, 0.3), 1e-6f);
    EXPECT_LANES_EQ(approx.schlickColor(cosTheta, f0).a, 1, 1, 1, 1);
    EXPECT_LANES_EQ(schlick.schlickColor(cosTheta, f0).a, 0, 0, 0, 0);
}

TEST(FresnelSchlick, AnswersEveryQuestionFromOneReflectance)
{
    znRTFresnelSchlick term;
    term.setRefraction(1.5f, 3.0f, 0.5f); // 0.2^2
    const float expected = float(reference::schlick(0.3, 0.04));
    EXPECT_NEAR(term.getApproximateReflectance(), 0.04f, 1e-6f);
    EXPECT_EQ(term.getTableIndex(), 0u);
    EXPECT_NEAR(term.dielectric(0.3f)[0], expected, 1e-6f);
    EXPECT_NEAR(term.dielectricExact(0.3f, 0.9f)[0], expected, 1e-6f);
    EXPECT_NEAR(term.conductor(0.3f)[0], expected, 1e-6f);
    for (const znRTColorPacket& colour :
         {term.conductorColor(0.3f), term.dielectricColor(0.3f, 0.9f)}) {
        EXPECT_NEAR(colour.r[0], expected, 1e-6f);
        EXPECT_NEAR(colour.b[0], expected, 1e-6f);
        EXPECT_EQ(colour.a[0], 0.0f);
    }
    // n per lane has its own reflectance: ((2 - 1) / (2 + 1))^2.
    EXPECT_NEAR(term.dielectric(0.3f, 2.0f)[0], reference::schlick(0.3, 1.0 / 9.0), 1e-6);
}

TEST(FresnelSchlick, TakesAColourUntilAnotherReflectanceIsSet)
{
    znRTFresnelSchlick term;
    term.setReflectanceColor(znRTColor(0.9f, 0.6f, 0.3f));
    EXPECT_NEAR(term.getApproximateReflectance(), 0.6f, 1e-6f);
    EXPECT_NEAR(term.conductorColor(0.5f).r[0], reference::schlick(0.5, 0.9), 1e-6);
    EXPECT_NEAR(term.conductorColor(0.5f).b[0], reference::schlick(0.5, 0.3), 1e-6);
    EXPECT_NEAR(term.evaluateColor().g[0], 0.6f, 1e-6f);
    term.setReflectance(0.2f);
    EXPECT_NEAR(term.conductorColor(0.5f).r[0], reference::schlick(0.5, 0.2), 1e-6);
    term.setFromTable(4); // gold
    EXPECT_NEAR(term.conductorColor(1.0f).g[0], 0.782f, 6e-4f);
}
