#include "material/znRTLightMaterial.h"

#include "light/znRTLight.h"
#include "materialFixture.h"

using namespace materialTest;

namespace {

using LampPtr = osg::FCPtr<osg::ULightMaterial>;

class LampSurface : public MaterialTest
{
};

} // namespace

// What a lamp emits comes on top of what its own lobes reflect.
TEST_F(LampSurface, ReflectsBesideItsOwnLight)
{
    const LampPtr lamp = osg::ULightMaterial::create();
    lamp->setEmissiveComponent(osg::ColorComponent(osg::Vec3f(1.0f, 0.5f, 0.0f)));
    lamp->setIntensity(4.0f);
    lamp->setDiffuse(gray(0.25f));
    addSquare(lamp);
    EXPECT_LANES_NEAR(shade().color.g, 2, 2, 2, 2, 1e-6f);
    addSun(60.0); // cosine 1/2
    const znRTColorPacket lit = shade().color;
    EXPECT_LANES_NEAR(lit.r, 4.125f, 4.125f, 4.125f, 4.125f, 1e-5f);
    EXPECT_LANES_NEAR(lit.g, 2.125f, 2.125f, 2.125f, 2.125f, 1e-5f);
    EXPECT_LANES_NEAR(lit.b, 0.125f, 0.125f, 0.125f, 0.125f, 1e-5f);
}

TEST_F(LampSurface, EmitsItsSpectrumInPlaceOfItsColor)
{
    std::vector<float> bands(40, 0.0f);
    std::fill(bands.begin() + 22, bands.end(), 1.0f); // 600 nm and longer
    osg::ColorComponent red(osg::Vec3f(0.0f, 0.0f, 1.0f));
    red.spectrum = osg::Ref<osg::Spectrum>(osg::Spectrum::create());
    red.spectrum->setUseSpectrum(true);
    red.spectrum->setSamples(bands);
    const LampPtr lamp = osg::ULightMaterial::create();
    lamp->setEmissiveComponent(red);
    lamp->setIntensity(3.0f);
    addSquare(lamp);
    const znRTColor expected =
        znRTLight::calculateLightSpectrum(red.spectrum.get().get(), 3.0f, 0.0f, 0.0f, 1.0f);
    const znRTColorPacket seen = shade().color;
    EXPECT_GT(expected.r, 0.0f);
    EXPECT_LT(expected.b, 0.1f * expected.r);
    for (int channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(seen[channel][0], expected[channel], 1e-5f * expected.r) << channel;
}

TEST_F(LampSurface, IsALightSourceWhileItEmits)
{
    const LampPtr lamp = osg::ULightMaterial::create();
    znRTMaterial& material = addSquare(lamp);
    EXPECT_TRUE(material.isLightSource());
    lamp->setIntensity(0.0f);
    scene.scene->applyMaterialChanges();
    EXPECT_FALSE(material.isLightSource());
    EXPECT_LANES_EQ(shade().color.r, 0, 0, 0, 0);
    lamp->setIntensity(1.0f);
    lamp->setEmissiveComponent(gray(0.0f));
    scene.scene->applyMaterialChanges();
    EXPECT_FALSE(material.isLightSource());
}
