#include "light/znRTLight.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "core/znRTSpectralData.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/Spectrum.h"
#include "host/znDistribution2D.h"
#include "host/znRTRaytracingSettings.h"
#include "light/lightFixture.h"

#include <limits>

namespace {

/// Only what the base brings.
class PlainLight : public znRTLight
{
public:
    explicit PlainLight(const PlacedCore<osg::UDirectionalLight>& placed)
        : znRTLight(id, placed.node.get(), placed.core)
    {
    }
    znRTColorPacket sample_L_Out(const znRTVector2fPacket&, const znRTVector2fPacket&,
                                 const znFloatType<2>&, znRTVector3fPacket&, znRTVector3fPacket&,
                                 znRTVector3fPacket&, znFloatType<2>&) const override
    {
        return znRTColorPacket(0.0f);
    }
};

class Light : public testing::Test
{
protected:
    PlacedCore<osg::UDirectionalLight> placed;
    PlainLight light{placed};
    const znRTVector3fPacket a = inAllLanes(0, 0, 1);
    const znFloatType<2> mixed = expandLanes(5);
};

TEST_F(Light, WeighsTwoDensitiesByTheirSum)
{
    EXPECT_LANES_NEAR(light.getMISWeight(znFloatType<2>(0.0f, 1.0f, 0.0f, 2.0f),
                                         znFloatType<2>(0.0f, 3.0f, 5.0f, 0.0f)),
                      0.0f, 0.25f, 0.2f, 0.5f, 1e-6f);
}

TEST_F(Light, HasTheDensityOfAHemisphereWithoutFurtherKnowledge)
{
    constexpr float invPi = 0.31830987f;
    EXPECT_EQ(light.getPDF(znRTVector3f(), znRTVector3f(), znRTVector3f()), invPi);
    EXPECT_LANES_EQ(light.getPDF(a, a, mixed), invPi, invPi, invPi, invPi);
    EXPECT_LANES_EQ(light.getPDF(a, a, a, a, mixed, 7.0f), invPi, invPi, invPi, invPi);
}

TEST_F(Light, ShinesInTheLanesOfTheMaskAlone)
{
    const znRTVector2fPacket uv(0.0f, 0.0f);
    const znRTColorPacket plain = light.getIntensity(a, a, uv, mixed);
    EXPECT_LANES_EQ(plain.r, 1, 0, 1, 0);
    EXPECT_LANES_EQ(plain.g, 1, 0, 1, 0);
    EXPECT_LANES_EQ(plain.b, 1, 0, 1, 0);
    EXPECT_LANES_EQ(plain.a, 0, 0, 0, 0);
    EXPECT_LANES_EQ(light.getIntensity(a, a, a, uv, mixed).r, 1, 0, 1, 0);
    const znRTRayDifferentialPacket ray{znRTRayPacket(a, a)};
    znRTDataBlockPacket data(1.0f);
    EXPECT_LANES_EQ(light.getIntensity(ray, data, mixed).r, 1, 0, 1, 0);
}

TEST_F(Light, CullsNothingAndEndsNowhere)
{
    constexpr float largest = std::numeric_limits<float>::max();
    EXPECT_EQ(moveMask(light.cullLight(a, a, mixed)), 5);
    EXPECT_LANES_EQ(light.getDistance(a), largest, largest, largest, largest);
    EXPECT_FALSE(light.getBoundingBox().isValid());
    EXPECT_EQ(light.getPower(), 0.0f);
    EXPECT_EQ(light.getLuminousIntensity(), 0.0f);
    EXPECT_EQ(light.getProfilePower(), 1.0f);
    EXPECT_EQ(light.getCdfAverage(), 1.0f);
}

TEST_F(Light, TakesColoursFromItsCore)
{
    placed.core->setDiffuse(osg::ColorComponent(osg::Vec3f(0.5f, 1.0f, 0.25f), 4.0f));
    placed.core->setGlossy(osg::ColorComponent(osg::Vec3f(1.0f, 0.0f, 3.0f), 2.0f));
    light.update();
    EXPECT_EQ(light.getDiffuseColor(), znRTColor(2.0f, 4.0f, 1.0f, 1.0f));
    EXPECT_EQ(light.getGlossyColor(), znRTColor(2.0f, 0.0f, 6.0f, 1.0f));
    EXPECT_EQ(light.getMaxIntensity(), 6.0f);
    // Luminance weights 0.2125, 0.7154, 0.0721.
    EXPECT_NEAR(light.getDiffusePhotometric(), 2 * 0.2125 + 4 * 0.7154 + 0.0721, 1e-6);
    EXPECT_NEAR(light.getGlossyPhotometric(), 2 * 0.2125 + 6 * 0.0721, 1e-6);
}

TEST_F(Light, HasOneColourWherePhysicallyBasedParametersAreOn)
{
    placed.core->setDiffuse(osg::ColorComponent(osg::Vec3f(0.5f, 1.0f, 0.25f), 4.0f));
    placed.core->setGlossy(osg::ColorComponent(osg::Vec3f(1.0f, 0.0f, 3.0f), 2.0f));
    znRTRaytracingSettings::s_pbParameters = true;
    light.update();
    znRTRaytracingSettings::s_pbParameters = false;
    EXPECT_EQ(light.getGlossyColor(), light.getDiffuseColor());
}

TEST_F(Light, PrefersASpectrumToRgb)
{
    const osg::Ref<osg::Spectrum> spectrum = osg::Spectrum::create();
    std::vector<float> bands(40, 0.0f);
    for (int i = 20; i < 40; ++i)
        bands[i] = 1.0f; // 580 nm and above
    spectrum->setSamples(bands);
    spectrum->setUseSpectrum(true);
    const znRTColor color = znRTLight::calculateLightSpectrum(spectrum.get().get(), 2.0f, 0, 0, 1);
    const znRTColor expected =
        znRTSpectralData::Instance().getEmittedColor(znRTSpectrum(bands.data()));
    EXPECT_NEAR(color.r, 2.0f * expected.r, 1e-5f);
    EXPECT_GT(color.r, 1.0f);
    EXPECT_NEAR(color.b, 0.0f, 0.05f);
    EXPECT_GE(color.b, 0.0f) << "negative light is none";

    spectrum->setUseSpectrum(false);
    EXPECT_EQ(znRTLight::calculateLightSpectrum(spectrum.get().get(), 2.0f, 0, 0.5f, 1),
              znRTColor(0.0f, 1.0f, 2.0f, 1.0f));
    EXPECT_EQ(znRTLight::calculateLightSpectrum(nullptr, 3.0f, 1, 0.5f, 0),
              znRTColor(3.0f, 1.5f, 0.0f, 1.0f));
}

TEST_F(Light, KeepsItsColourWhileItStandsNowhere)
{
    light.update();
    placed.root->setHidden(true);
    placed.core->setIntensity(9.0f);
    light.update();
    EXPECT_FALSE(light.isOn());
    EXPECT_EQ(light.getMaxIntensity(), 1.0f);
    placed.root->setHidden(false);
    light.update();
    EXPECT_TRUE(light.isOn());
    EXPECT_EQ(light.getMaxIntensity(), 9.0f);
}

TEST_F(Light, TakesShadowsAndImportanceFromTheAttachment)
{
    light.update();
    EXPECT_EQ(light.getShadowIntensity(), 1.0f);
    EXPECT_EQ(light.getImportanceMultiplier(), 1.0f);
    EXPECT_TRUE(light.getCastShadowOnShadowMaterial());
    EXPECT_TRUE(light.emitsCausticPhotons());
    const auto attachment = osg::RaytracingLightAttachment::create();
    attachment->setShadowIntensity(0.25f);
    attachment->setGroundShadowIntensity(0.5f);
    attachment->setImportanceMultiplier(3.0f);
    attachment->setDirectWithPhotons(true);
    attachment->setEmitCausticPhotons(false);
    attachment->setIlluminateShadowMaterial(true);
    placed.node->addAttachment(attachment);
    light.update();
    EXPECT_EQ(light.getShadowIntensity(), 0.25f);
    EXPECT_EQ(light.getGroundShadowIntensity(), 0.5f);
    EXPECT_EQ(light.getImportanceMultiplier(), 3.0f);
    EXPECT_TRUE(light.getDirectWithPhotons());
    EXPECT_FALSE(light.emitsCausticPhotons());
    EXPECT_TRUE(light.getIlluminateShadowMaterial());
}

/// Two texels, 1 and 3.
osg::ImagePtr makeTwoTexels(float right = 3.0f)
{
    const osg::ImagePtr image = osg::Image::create();
    const float texels[] = {1.0f, right};
    image->set(osg::Image::L, 2, 1, 1, 1, 1, texels, osg::Image::Float32);
    image->setColorSpaceGamma(1.0f);
    return image;
}

// Luminance of a grey texel is its value (the weights sum to 1), so the mean is 2.
TEST_F(Light, GuidesItsSamplesByTheEmissionTexture)
{
    const osg::Ref<osg::Image> image(makeTwoTexels());
    placed.core->setEmissionTexture(image.get());
    light.update();
    EXPECT_EQ(light.texture, nullptr) << "not active";
    placed.core->setEmissionTextureActive(true);
    light.update();
    ASSERT_NE(light.texture, nullptr);
    ASSERT_NE(light.textureDistribution, nullptr);
    EXPECT_NEAR(light.getCdfAverage(), 2.0f, 1e-5f);
    EXPECT_EQ(light.textureImage.get(), image.get());

    const znDistribution2D* const before = light.textureDistribution.get();
    light.update();
    EXPECT_EQ(light.textureDistribution.get(), before) << "the same image builds nothing";
    reinterpret_cast<float*>(image->getData())[1] = 5.0f;
    light.update();
    EXPECT_NEAR(light.getCdfAverage(), 3.0f, 1e-5f) << "its pixels were edited";

    placed.core->setEmissionTextureImportanceSampling(false);
    light.update();
    EXPECT_NE(light.texture, nullptr);
    EXPECT_EQ(light.getCdfAverage(), 1.0f);
}

} // namespace
