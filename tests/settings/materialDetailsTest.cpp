// What records hold beside plain copies of fields.

#include "host/osg/ChangeList.h"
#include "host/osg/Materials.h"
#include "host/osg/UTextureSettings.h"
#include "host/znDaylightUtils.h"
#include "host/znLog.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

osg::Ref<osg::Image> flatImage(u32 width, u32 height, u8 value)
{
    const osg::Ref<osg::Image> image(osg::Image::create());
    const std::vector<u8> pixels(std::size_t(width) * height * 3, value);
    image->set(osg::Image::RGB, width, height, 1, 1, 1, pixels.data());
    return image;
}

osg::UTextureSettingsPtr textureOf(const osg::ImagePtr& image)
{
    const auto settings = osg::UTextureSettings::create();
    settings->setImage(image);
    settings->setIsActive(true);
    return settings;
}

class MaterialDetails : public testing::Test
{
protected:
    osg::Ref<osg::UPhongMaterial> phong{osg::UPhongMaterial::create()};
    const osg::UPhongMaterial::RaytracingAttributes& record()
    {
        return phong->getRaytracingAttributes();
    }
};

TEST_F(MaterialDetails, MarkTheRecordWheneverAnEditEnds)
{
    EXPECT_TRUE(record().settingsDirty) << "a new material";
    phong->getRaytracingAttributes().settingsDirty = false;
    EXPECT_FALSE(record().settingsDirty) << "reading changes nothing";
    {
        const osg::EditScope edit(phong.get());
        phong->setRoughness(0.5f);
        EXPECT_FALSE(record().settingsDirty) << "the edit has not ended";
        EXPECT_EQ(record().roughness, 0.1f);
    }
    EXPECT_TRUE(record().settingsDirty);
    EXPECT_EQ(record().roughness, 0.5f);
}

TEST_F(MaterialDetails, KeepWhatTheCoreWrote)
{
    phong->getRaytracingAttributes().transparent = true;
    phong->setRoughness(0.5f);
    EXPECT_TRUE(record().transparent);
}

// Setters do not check ranges; the record does.
TEST_F(MaterialDetails, BringNumbersIntoTheirRange)
{
    phong->setRoughness(7.0f);
    EXPECT_EQ(record().roughness, 1.0f);
    phong->setRoughness(std::nanf(""));
    EXPECT_EQ(record().roughness, 0.0f);
    phong->setSideness(99);
    EXPECT_EQ(record().sideness, 3);
    phong->setDiffuse(ColorComponent(std::nanf(""), 0.5f, INFINITY));
    EXPECT_EQ(record().diffuse, znRTVector3f(0.0f, 0.5f, 0.0f));
}

TEST_F(MaterialDetails, DeriveExponentsFromRoughness)
{
    EXPECT_NEAR(record().exponent, 100.0f, 1e-3f);
    phong->setRoughness(1.0f);
    phong->setRoughnessV(0.0f);
    EXPECT_EQ(record().exponent, 1.0f);
    EXPECT_EQ(record().exponentV, 1e6f);
}

TEST_F(MaterialDetails, DescribeOwnLight)
{
    ColorComponent light(0.2f, 0.4f, 0.6f);
    light.intensity = 50.0f;
    light.temperature = 3000.0f;
    phong->setIncandescence(light);
    EXPECT_FALSE(record().incandescenceActive);
    EXPECT_EQ(record().analyticEmission, znRTVector3f(0.0f, 0.0f, 0.0f));
    phong->setIncandescenceActive(true);
    EXPECT_TRUE(record().incandescenceActive);
    EXPECT_EQ(record().incandescenceIntensity, 50.0f);
    EXPECT_EQ(record().incandescenceTemperature, 3000.0f);
    EXPECT_EQ(record().incandescenceUnitA, 0.2f);
    EXPECT_EQ(record().incandescenceUnitB, 0.4f);
    EXPECT_EQ(record().incandescenceUnitC, 0.6f);
    EXPECT_FLOAT_EQ(record().analyticEmission.y, 20.0f);
}

TEST_F(MaterialDetails, ShowPreviewColours)
{
    phong->setDiffuse(ColorComponent(0.1f, 0.2f, 0.3f));
    EXPECT_EQ(record().analyticDiffuse, znRTVector3f(0.1f, 0.2f, 0.3f));
    const osg::Ref<osg::UUnicolorPaintMaterial> paint(osg::UUnicolorPaintMaterial::create());
    EXPECT_EQ(paint->getRaytracingAttributes().analyticDiffuse, znRTVector3f(0.5f, 0.02f, 0.02f));
}

TEST_F(MaterialDetails, GiveEachMaterialAColourOfItsOwn)
{
    const osg::Ref<osg::UPhongMaterial> other(osg::UPhongMaterial::create());
    EXPECT_FALSE(record().materialIDColor == other->getRaytracingAttributes().materialIDColor);
    EXPECT_EQ(record().materialIDColor[3], 1.0f);
    phong->setMaterialIDColor(osg::Vec4f(0.1f, 0.2f, 0.3f, 1.0f));
    EXPECT_EQ(record().materialIDColor, osg::Vec4f(0.1f, 0.2f, 0.3f, 1.0f));
}

TEST_F(MaterialDetails, ShareASamplerAmongMaterialsWithTheSameSettings)
{
    const osg::Ref<osg::Image> image = flatImage(4, 4, 100);
    const osg::UTextureSettingsPtr settings = textureOf(image.get());
    const osg::Ref<osg::UPhongMaterial> other(osg::UPhongMaterial::create());
    phong->setDiffuseTexture(settings);
    phong->setBumpTexture(settings);
    other->setDiffuseTexture(settings);
    EXPECT_EQ(record().diffuseSampler, other->getRaytracingAttributes().diffuseSampler);
    EXPECT_NE(record().diffuseSampler, record().bumpSampler) << "data are read otherwise";
    EXPECT_NE(record().diffuseAttributes, other->getRaytracingAttributes().diffuseAttributes);
}

// sRGB 188 stands for about one half of the linear range.
TEST_F(MaterialDetails, ReadColoursThroughTheirCurveAndDataLinearly)
{
    const osg::Ref<osg::Image> image = flatImage(1, 1, 188);
    const osg::UTextureSettingsPtr settings = textureOf(image.get());
    phong->setDiffuseTexture(settings);
    phong->setBumpTexture(settings);
    EXPECT_NEAR(record().diffuseSampler->getTexel(0, 0, 0, 0).x, 0.5029f, 1e-3f);
    EXPECT_NEAR(record().bumpSampler->getTexel(0, 0, 0, 0).x, 188.0f / 255.0f, 1e-4f);
    settings->setGamma(1.0f);
    EXPECT_NEAR(record().diffuseSampler->getTexel(0, 0, 0, 0).x, 188.0f / 255.0f, 1e-4f);
    settings->setInvert(true);
    EXPECT_NEAR(record().diffuseSampler->getTexel(0, 0, 0, 0).x, 67.0f / 255.0f, 1e-4f);
    settings->setGamma(2.2f);
    settings->setInvert(false);
    image->setColorSpaceGamma(1.0f);
    EXPECT_NEAR(record().diffuseSampler->getTexel(0, 0, 0, 0).x, 188.0f / 255.0f, 1e-4f)
        << "the file says that it is linear";
}

// 0x3400 is 0.25 as a half.
TEST_F(MaterialDetails, InvertHalvesAndLeaveAlphaAlone)
{
    const osg::Ref<osg::Image> image(osg::Image::create());
    const u16 pixel[] = {0x3400, 0x0000, 0x3C00, 0x3400};
    image->set(osg::Image::RGBA, 1, 1, 1, 1, 1, pixel, osg::Image::Float16);
    const osg::UTextureSettingsPtr settings = textureOf(image.get());
    settings->setGamma(1.0f);
    settings->setInvert(true);
    phong->setDiffuseTexture(settings);
    EXPECT_EQ(record().diffuseSampler->getTexel(0, 0, 0, 0),
              znRTVector4f(0.75f, 1.0f, 0.0f, 0.25f));
}

TEST_F(MaterialDetails, LeaveOutImagesWithoutTheirPixels)
{
    const osg::Ref<osg::Image> image = flatImage(2, 2, 188);
    image->setHeight(4096);
    const osg::UTextureSettingsPtr settings = textureOf(image.get());
    phong->setDiffuseTexture(settings);
    EXPECT_FALSE(record().diffuseActive);
    settings->setInvert(true);
    EXPECT_FALSE(record().diffuseActive);
}

TEST_F(MaterialDetails, FollowTextureSettingsThatWereEditedLater)
{
    const osg::Ref<osg::Image> image = flatImage(2, 2, 10), wide = flatImage(8, 2, 10);
    const osg::UTextureSettingsPtr settings = textureOf(image.get());
    phong->setDiffuseTexture(settings);
    EXPECT_EQ(record().diffuseSampler->width, 2);
    settings->setRepeat(osg::Vec2f(3, 2));
    settings->setWrapS(1);
    settings->setWrapT(3);
    settings->setMappingType(1);
    EXPECT_EQ(record().diffuseSampler->repeatU, 3.0f);
    EXPECT_EQ(record().diffuseSampler->wrapMode, 1 + 4 * 3);
    EXPECT_EQ(record().diffuseSampler->projectionMode, 1);
    EXPECT_TRUE(record().diffuseAttributes->hasTextureProjection);
    EXPECT_EQ(record().diffuseAttributes->repeat, znRTVector2f(3.0f, 2.0f));
    settings->setImage(wide.get());
    EXPECT_EQ(record().diffuseSampler->width, 8);
    settings->setImage({});
    EXPECT_EQ(record().diffuseSampler, nullptr);
    EXPECT_FALSE(record().diffuseActive);
}

TEST_F(MaterialDetails, ReadPixelsAgainThatWereWrittenInPlace)
{
    const osg::Ref<osg::Image> image = flatImage(1, 1, 0);
    phong->setBumpTexture(textureOf(image.get()));
    EXPECT_EQ(record().bumpSampler->getTexel(0, 0, 0, 0).x, 0.0f);
    image->getData()[0] = 255;
    znRTMaterialSlots::reloadImage(image->getId());
    EXPECT_EQ(record().bumpSampler->getTexel(0, 0, 0, 0).x, 1.0f);
}

TEST_F(MaterialDetails, MapAlongTheAxesWhereSettingsAskForIt)
{
    const osg::Ref<osg::Image> image = flatImage(1, 1, 0);
    const osg::UTextureSettingsPtr settings = textureOf(image.get());
    const auto triplanar = osg::UTriplanarSettings::create();
    triplanar->setRotation(osg::Vec3f(0, 90, 0));
    triplanar->setRepeatU(osg::Vec3f(1, 2, 3));
    triplanar->setTextureSize(osg::Vec2f(0.5f, 1.0f));
    triplanar->setSpace(1);
    phong->setTriplanar(triplanar);
    phong->setDiffuseTexture(settings);
    EXPECT_EQ(record().diffuseAttributes->mapping, nullptr);
    settings->setMappingType(2);
    ASSERT_TRUE(record().diffuseAttributes->hasMapping);
    const auto* mapping =
        static_cast<const znRTTriplanarTextureAttributes*>(record().diffuseAttributes->mapping);
    EXPECT_EQ(mapping->typeId, znRTTextureMapping::triplanar);
    EXPECT_NEAR(mapping->sinRot[1], 1.0f, 1e-6f);
    EXPECT_EQ(mapping->repeatU[2], 6.0f) << "three repeats over half a unit";
    EXPECT_EQ(mapping->space[0], 1);
}

TEST_F(MaterialDetails, WrapTiresAroundTheirAxle)
{
    const osg::Ref<osg::Image> image = flatImage(1, 1, 0);
    const osg::Ref<osg::UTireMaterial> tire(osg::UTireMaterial::create());
    tire->setAxis(osg::Vec3f(0, 0, 2));
    tire->setOuterRadius(0.35f);
    tire->setDiffuseTexture(textureOf(image.get()));
    tire->setDisplacementTexture(textureOf(image.get()));
    const auto& attributes = tire->getRaytracingAttributes();
    EXPECT_EQ(attributes.mapping.axis, znRTVector3f(0.0f, 0.0f, 1.0f));
    EXPECT_EQ(attributes.mapping.outerRadius, 0.35f);
    EXPECT_EQ(attributes.diffuseAttributes->mapping, &attributes.mapping);
    EXPECT_EQ(attributes.displacementAttributes->mapping, &attributes.mapping);
    tire->setAxis(osg::Vec3f(0, 0, 0));
    EXPECT_EQ(tire->getRaytracingAttributes().mapping.axis, znRTVector3f(0.0f, 1.0f, 0.0f));
}

TEST_F(MaterialDetails, PresetTheMetalOfMetals)
{
    const osg::Ref<osg::UChromeMaterial> chrome(osg::UChromeMaterial::create());
    EXPECT_EQ(chrome->getRaytracingAttributes().fresnelTable, 7u);
    const osg::Ref<osg::UPlasticMaterial> plastic(osg::UPlasticMaterial::create());
    EXPECT_EQ(plastic->getRaytracingAttributes().fresnelTable, 255u);
}

TEST_F(MaterialDetails, NameTheIndicesOfGlass)
{
    const osg::Ref<osg::UGlassMaterial> glass(osg::UGlassMaterial::create());
    glass->setIor(1.7f);
    EXPECT_EQ(glass->getRaytracingAttributes().indexA, 1.0f);
    EXPECT_EQ(glass->getRaytracingAttributes().indexB, 1.7f);
}

TEST_F(MaterialDetails, ListTheSlotsOfMeasuredSurfaces)
{
    const osg::Ref<osg::Image> image = flatImage(1, 1, 0);
    const osg::Ref<osg::UMeasuredMaterial> measured(osg::UMeasuredMaterial::create());
    measured->setSlot1Texture(textureOf(image.get()));
    measured->setSlot9Texture(textureOf(image.get()));
    measured->setChannels(9);
    const auto& attributes = measured->getRaytracingAttributes();
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(attributes.valid[i], i == 0 || i == 8) << i;
    EXPECT_EQ(attributes.samplers[8], attributes.slot9Sampler);
    EXPECT_EQ(attributes.channels, 8) << "4, 8 or 12";
}

TEST_F(MaterialDetails, LeadToTheEnvironmentOfTheMaterial)
{
    EXPECT_FALSE(record().ownEnvironment);
    phong->setEnvironment(osg::USphereEnvironmentMaterial::create());
    EXPECT_TRUE(record().ownEnvironment);
}

// A flat environment has the same mean radiance as each of its pixels, whatever its layout.
TEST_F(MaterialDetails, BringEnvironmentsIntoOneForm)
{
    const osg::Ref<osg::USphereEnvironmentMaterial> environment(
        osg::USphereEnvironmentMaterial::create());
    EXPECT_EQ(environment->getRaytracingAttributes().environmentSampler, nullptr);
    EXPECT_EQ(environment->makeBlurSampler(), nullptr);
    const osg::Ref<osg::Image> picture = flatImage(16, 8, 51), cross = flatImage(16, 12, 51);
    environment->setImage(picture.get());
    ASSERT_NE(environment->getRaytracingAttributes().environmentSampler, nullptr);
    EXPECT_NEAR(environment->getRaytracingAttributes().averageColor.x, 0.2f, 1e-4f);
    environment->setGamma(2.0f);
    EXPECT_NEAR(environment->getRaytracingAttributes().averageColor.x, 0.04f, 1e-3f);
    EXPECT_EQ(environment->getRaytracingAttributes().blurSampler, nullptr) << "nobody asked";
    EXPECT_NE(environment->makeBlurSampler(), nullptr);
    EXPECT_NE(environment->getRaytracingAttributes().blurSampler, nullptr);
    environment->setImage(cross.get());
    environment->setLayout(2);
    EXPECT_NEAR(environment->getRaytracingAttributes().averageColor.y, 0.04f, 1e-3f);
    EXPECT_EQ(environment->getRaytracingAttributes().blurSampler, nullptr) << "of another image";
}

TEST_F(MaterialDetails, WarnOfEnvironmentsThatDoNotFitTheirLayout)
{
    std::vector<std::string> lines;
    const znLog::Sink previous =
        znLog::setSink([&](znLog::Level, const char* text) { lines.push_back(text); });
    const osg::Ref<osg::USphereEnvironmentMaterial> environment(
        osg::USphereEnvironmentMaterial::create());
    const osg::Ref<osg::Image> picture = flatImage(7, 5, 51);
    environment->setLayout(2);
    environment->setImage(picture.get());
    znLog::setSink(previous);
    EXPECT_EQ(lines, std::vector<std::string>{
                         "Environment: the image does not have the form of its layout"});
    EXPECT_EQ(environment->getRaytracingAttributes().environmentSampler, nullptr);
}

TEST_F(MaterialDetails, PlaceTheSunByDateOrByHand)
{
    const osg::Ref<osg::USkylightMaterial> sky(osg::USkylightMaterial::create());
    const znRTVector3f noon = sky->getRaytracingAttributes().sunDirection;
    EXPECT_NEAR(noon.getLength(), 1.0f, 1e-5f);
    EXPECT_GT(noon.z, 0.8f) << "a summer's noon";
    sky->setTime(0.0f);
    EXPECT_LT(sky->getRaytracingAttributes().sunDirection.z, 0.0f);
    sky->setUseSunDirection(true);
    sky->setSunDirection(osg::Vec3f(3, 0, 4));
    EXPECT_EQ(sky->getRaytracingAttributes().sunDirection, znRTVector3f(0.6f, 0.0f, 0.8f));
}

TEST_F(MaterialDetails, ChooseByNumber)
{
    const osg::Ref<osg::SwitchMaterial> choice(osg::SwitchMaterial::create());
    EXPECT_FALSE(choice->getChosen());
    choice->setMaterials({osg::MaterialPtr(phong.get())});
    EXPECT_EQ(choice->getChosen(), phong.get());
    choice->setChoice(1);
    EXPECT_FALSE(choice->getChosen());
}

TEST_F(MaterialDetails, FindChunksOfPlainMaterials)
{
    const osg::Ref<osg::ChunkMaterial> material(osg::ChunkMaterial::create());
    EXPECT_FALSE(material->find<osg::LineChunk>());
    EXPECT_FLOAT_EQ(material->getLineWidth(), 0.001f);
    const auto line = osg::LineChunk::create();
    line->setWidth(0.5f);
    material->setChunks({osg::FCPtr<osg::StateChunk>(osg::MaterialChunk::create()),
                         osg::FCPtr<osg::StateChunk>(line)});
    EXPECT_EQ(material->find<osg::LineChunk>(), line);
    EXPECT_EQ(material->getLineWidth(), 0.5f);
}

} // namespace
