#include "brdf/analytic/znRTFresnelBlendBRDF.h"

#include "brdf/analytic/znRTIsotropicASBRDF.h"
#include "brdf/analytic/znRTLambertBRDF.h"
#include "brdf/analytic/znRTPhongBRDF.h"
#include "brdf/lobeCases.h"
#include "brdf/znRTRoughnessTextures.h"
#include "support/lanes.h"

using reference::Vector;

namespace {

const znRTDifferentialGeometry dg{};
const Vector wo = Vector::polar(0.5, 0.7), wi = Vector::polar(0.6, 3.5);

class FresnelBlend : public testing::Test
{
protected:
    FresnelBlend()
    {
        record.setExponents(20.0f, 20.0f);
        blend.setup(record, 4);
    }

    float density(unsigned flags) const
    {
        return blend.pdf(flags, lanesOf(wo), lanesOf(wi), dg)[0];
    }

    znRTBSDFAttributes record;
    znRTLambertBRDF diffuse;
    znRTPhongBRDF<0> glossy;
    znRTFresnelBlendBRDF blend{diffuse, glossy};
};

class HalfTextures : public znRTRoughnessTextures
{
public:
    znFloatType<2> getGlossiness(const znRTDifferentialGeometry&,
                                 const znFloatType<2>&) const override
    {
        return 0.5f;
    }
    znFloatType<2> getAnisotropy(const znRTDifferentialGeometry&,
                                 const znFloatType<2>&) const override
    {
        return 0.25f;
    }
};

} // namespace

TEST_F(FresnelBlend, BringsItsLobesTogether)
{
    EXPECT_EQ(blend.getTypeFlags(), 35u);
    EXPECT_EQ(blend.getOutRayMask(), 0xF0u);
    EXPECT_EQ(&blend.getFirst(), &diffuse);
    EXPECT_EQ(&blend.getSecond(), &glossy);
    diffuse.setColorFactor(znRTColor(0.5f, 0.25f, 0.0f));
    glossy.setColorFactor(znRTColor(0.75f, 0.25f, 0.0f));
    blend.setup(record, 16);
    EXPECT_EQ(blend.getColorFactor().r, 1.25f);
    EXPECT_EQ(blend.getColorFactor().g, 0.5f);
    EXPECT_EQ(blend.getSampleCount(), 16u);
    EXPECT_EQ(glossy.getWidth().exponent, 20.0f);
    int photons = 0;
    blend.setPhotonData(&photons);
    EXPECT_EQ(diffuse.getPhotonData(), &photons);
    EXPECT_EQ(glossy.getPhotonData(), &photons);
}

// b = 0.4 * 0.75 + 0.2 = 0.5 for a power lobe; w1 = 0.2 (1 - b), w2 = 0.8 b.
TEST_F(FresnelBlend, DrawsFromItsLobesByTheirWeights)
{
    blend.setMix(0.2f, 0.8f);
    znFloatType<2> a(9.0f), b(9.0f);
    blend.getTransmissionWeightA(0.5f, a);
    blend.getTransmissionWeightB(0.5f, b);
    EXPECT_LANES_NEAR(a, 0.2f, 0.2f, 0.2f, 0.2f, 1e-6f);
    EXPECT_LANES_NEAR(b, 0.8f, 0.8f, 0.8f, 0.8f, 1e-6f);
    const float ofDiffuse = diffuse.pdf(lanesOf(wo), lanesOf(wi), dg)[0];
    const float ofGlossy = glossy.pdf(lanesOf(wo), lanesOf(wi), dg)[0];
    EXPECT_NEAR(density(lobeType::diffuse), 0.2f * ofDiffuse, 1e-6f);
    EXPECT_NEAR(density(lobeType::glossy), 0.8f * ofGlossy, 1e-6f);
    EXPECT_NEAR(density(lobeType::selecting), 0.2f * ofDiffuse + 0.8f * ofGlossy, 1e-6f);
}

// The same number that chose the lobe, stretched to the whole range, draws its direction.
TEST_F(FresnelBlend, UsesTheChoosingNumberAgain)
{
    blend.setMix(0.2f, 0.8f);
    const znRTVector3fPacket view = lanesOf(wo);
    znRTVector3fPacket mixed, ofFirst, ofSecond;
    blend.sample({{0.05f, 0.15f, 0.2000001f, 0.6f}, 0.3f}, view, dg, mixed);
    diffuse.sample({{0.25f, 0.75f, 0.0f, 0.0f}, 0.3f}, view, dg, ofFirst);
    glossy.sample({{0.0f, 0.0f, 0.0f, 0.5f}, 0.3f}, view, dg, ofSecond);
    const znRTVector3fPacket expected = select(expandLanes(0b0011), ofFirst, ofSecond);
    EXPECT_LANES_NEAR(mixed.x, expected.x[0], expected.x[1], expected.x[2], expected.x[3], 1e-5f);
    EXPECT_LANES_NEAR(mixed.y, expected.y[0], expected.y[1], expected.y[2], expected.y[3], 1e-5f);
}

// The reflectance at the view angle is that of the second lobe: metal draws more often from it.
TEST(FresnelBlendOfPaint, FollowsTheReflectanceOfItsSecondLobe)
{
    znRTLambertBRDF diffuse;
    znRTIsotropicASBRDF<0> glossy;
    znRTFresnelBlendBRDF blend(diffuse, glossy);
    znRTBSDFAttributes record;
    record.useSchlick = true;
    record.reflectance = 0.04f;
    blend.setup(record, 4);
    blend.setMix(1.0f, 1.0f);
    EXPECT_EQ(blend.getFresnel(), glossy.getFresnel());
    znFloatType<2> share;
    blend.getTransmissionWeightB({1.0f, 0.5f, 0.0f, -0.5f}, share);
    // b = F(cos) * 0.75 + 0.2 with the cosine held at 0: weights are 1 - b and b.
    const auto b = [](double c) { return float(reference::schlick(c, 0.04) * 0.75 + 0.2); };
    EXPECT_LANES_NEAR(share, b(1.0), b(0.5), b(0.0), b(0.0), 1e-5f);
}

TEST_F(FresnelBlend, IsOneLobeAloneWhenTheOtherHasNoWeight)
{
    const znRTVector3fPacket view = lanesOf(wo), light = lanesOf(wi);
    blend.setMix(0.3f, 0.0f);
    EXPECT_EQ(blend.evaluate(view, light, dg).r[0], diffuse.evaluate(view, light, dg).r[0]);
    EXPECT_EQ(density(lobeType::selecting), diffuse.pdf(view, light, dg)[0]);
    EXPECT_EQ(density(lobeType::glossy), 0.0f);
    znRTVector3fPacket drawn, expected;
    blend.sample({0.9f, 0.4f}, view, dg, drawn);
    diffuse.sample({0.9f, 0.4f}, view, dg, expected);
    EXPECT_EQ(drawn.getLane(0), expected.getLane(0));

    blend.setMix(0.0f, 0.3f);
    EXPECT_EQ(blend.evaluate(view, light, dg).r[0], glossy.evaluate(view, light, dg).r[0]);
    EXPECT_EQ(density(lobeType::selecting), glossy.pdf(view, light, dg)[0]);
    blend.sample({0.9f, 0.4f}, view, dg, drawn);
    glossy.sample({0.9f, 0.4f}, view, dg, expected);
    EXPECT_EQ(drawn.getLane(0), expected.getLane(0));
}

TEST_F(FresnelBlend, IsBlackWithoutAnyWeight)
{
    for (const float weight : {0.0f, -1.0f}) {
        blend.setMix(weight, weight);
        znFloatType<2> pdf(1.0f);
        EXPECT_EQ(blend.evaluate(lanesOf(wo), lanesOf(wi), dg, pdf).r[0], 0.0f);
        EXPECT_EQ(pdf[0], 0.0f);
        EXPECT_EQ(density(lobeType::selecting), 0.0f);
        znRTVector3fPacket drawn;
        EXPECT_EQ(moveMask(blend.sample({0.2f, 0.4f}, lanesOf(wo), dg, drawn)), 0);
        znFloatType<2> share;
        blend.getTransmissionWeightB(1.0f, share);
        EXPECT_EQ(share[0], 0.0f);
    }
}

// Each part is one lobe's value; the densities of both parts add up to the mixture's.
TEST_F(FresnelBlend, SplitsIntoItsLobes)
{
    blend.setMix(0.2f, 0.8f);
    const znRTVector3fPacket view = lanesOf(wo), light = lanesOf(wi);
    znRTColorPacket ofDiffuse, ofGlossy;
    znFloatType<2> pdf;
    blend.evaluateSplit(view, light, dg, ofDiffuse, ofGlossy, pdf);
    EXPECT_EQ(ofDiffuse.r[0], diffuse.evaluate(view, light, dg).r[0]);
    EXPECT_EQ(ofGlossy.r[0], glossy.evaluate(view, light, dg).r[0]);
    EXPECT_FLOAT_EQ(pdf[0], density(lobeType::selecting));
    EXPECT_EQ(blend.getReflectionWeight()[0], 1.0f);
}

TEST_F(FresnelBlend, TakesAnotherPairOfLobes)
{
    znRTPhongBRDF<1> perLane;
    blend.setLobes(diffuse, perLane);
    EXPECT_EQ(&blend.getSecond(), &perLane);
    EXPECT_EQ(blend.getTypeFlags(), 35u);
}

TEST_F(FresnelBlend, LetsTexturesDriveItsSecondLobe)
{
    HalfTextures textures;
    textures.minimum = 2.0f;
    textures.maximum = 4.0f;
    glossy.setSamplePower(2.0f);
    EXPECT_EQ(blend.getSamplePower(), 2.0f);
    EXPECT_NEAR(blend.convertExponent(3.0f)[0], 9.0f, 1e-4f);
    znRTLobeParameters block{};
    block.clear();
    blend.prepareParameterLanes(dg, textures, znFloatType<2>::allLanes(), block);
    EXPECT_NEAR(block.exponent[0], 9.0f, 1e-4f);
    EXPECT_NEAR(block.exponentV[0], 9.0f, 1e-4f);
    blend.prepareParameterLanes2(dg, textures, znFloatType<2>::allLanes(), block);
    EXPECT_NEAR(block.exponentV[0], 6.25f, 1e-4f);
}
