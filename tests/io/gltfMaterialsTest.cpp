#include "io/gltfMaterials.h"

#include "gltfBuilder.h"
#include "gltfReading.h"

#include "host/znRTTextureSampler.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using Json = nlohmann::json;

/// A pixel image in the uncompressed TGA format, rows from the top.
std::vector<u8> tga(u16 width, u16 height, const std::vector<std::array<u8, 4>>& rgba)
{
    std::vector<u8> bytes{0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (const u16 size : {width, height}) {
        bytes.push_back(u8(size));
        bytes.push_back(u8(size >> 8));
    }
    bytes.push_back(32);
    bytes.push_back(0x28);
    for (const auto& pixel : rgba)
        for (const int c : {2, 1, 0, 3})
            bytes.push_back(pixel[std::size_t(c)]);
    return bytes;
}

/// A triangle with a material; textures refer to image 0.
GltfBuilder withMaterial(const Json& material, const std::vector<std::array<u8, 4>>& pixels = {},
                         u16 width = 1, u16 height = 1)
{
    GltfBuilder file;
    const int mesh = file.triangle();
    file.root["materials"] = Json::array({material});
    file.root["meshes"][mesh]["primitives"][0]["material"] = 0;
    file.node({{"mesh", mesh}});
    if (!pixels.empty()) {
        file.root["images"] = {{{"bufferView", file.bufferView(tga(width, height, pixels))},
                                {"mimeType", "image/png"}}};
        file.root["textures"] = {{{"source", 0}}};
    }
    return file;
}

struct Imported
{
    explicit Imported(const GltfBuilder& file) : scene(readGltfText(file.text()))
    {
        const auto found = geometriesOf(scene);
        if (!found.empty())
            material = found[0].geometry->getMaterial();
    }
    std::string type() const { return material ? material->getType().getName() : "none"; }
    osg::FieldVariant field(const char* name) const
    {
        const osg::FieldDescription* found = material->getType().findField(name);
        return found ? found->get(*material) : osg::FieldVariant(false);
    }
    float number(const char* name) const { return std::get<float>(field(name)); }
    osg::Vec3f color(const char* name) const
    {
        return std::get<osg::ColorComponent>(field(name)).color;
    }
    osg::UTextureSettings::Ptr texture(const char* name) const
    {
        return osg::UTextureSettings::Ptr::dcast(std::get<osg::FieldContainerPtr>(field(name)));
    }

    io::SceneFile scene;
    osg::MaterialPtr material;
};

Json pbr(double metallic, double roughness, const Json& more = Json::object())
{
    Json block = {{"metallicFactor", metallic},
                  {"roughnessFactor", roughness},
                  {"baseColorFactor", {0.5, 0.25, 0.125, 1}}};
    block.update(more);
    return {{"pbrMetallicRoughness", block}};
}

Json extended(Json material, const char* name, const Json& block)
{
    material["extensions"][name] = block;
    return material;
}

TEST(GltfMaterials, ChooseTheKindByTheFirstRuleThatFits)
{
    const auto kind = [](const Json& material) { return Imported(withMaterial(material)).type(); };
    // What mirrors has kinds of its own, all else is of the metallic workflow.
    EXPECT_EQ(kind(pbr(1, 0.02)), "UChromeMaterial");
    EXPECT_EQ(kind(pbr(0, 0.02)), "UReflectivePlasticMaterial");
    for (const auto& [metallic, roughness] : {std::pair{1.0, 0.2}, {0.0, 0.9}, {0.5, 0.02}})
        EXPECT_EQ(kind(pbr(metallic, roughness)), "USubstanceMaterial");
    EXPECT_EQ(
        kind(extended(pbr(1, 0.02), "KHR_materials_anisotropy", {{"anisotropyStrength", 0.5}})),
        "USubstanceMaterial");
    const char* coat = "KHR_materials_clearcoat";
    EXPECT_EQ(kind(extended(pbr(0, 0.5), coat, {{"clearcoatFactor", 1}})),
              "UReflectivePlasticMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 0.5), coat,
                            {{"clearcoatFactor", 1}, {"clearcoatRoughnessFactor", 0.4}})),
              "UPlasticMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 0.9), coat, {{"clearcoatFactor", 0}})), "USubstanceMaterial");
    const char* clear = "KHR_materials_transmission";
    EXPECT_EQ(kind(extended(pbr(0, 0), clear, {{"transmissionFactor", 1}})), "UGlassMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 0), clear, {{"transmissionFactor", 0.4}})),
              "USubstanceMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 1), "KHR_materials_sheen", {{"sheenColorFactor", {1, 0, 0}}})),
              "UPlasticMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 1), "KHR_materials_diffuse_transmission",
                            {{"diffuseTransmissionFactor", 0.5}})),
              "UPlasticMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 1), "KHR_materials_unlit", Json::object())), "ULightMaterial");
}

TEST(GltfMaterials, TellWhichRuleFired)
{
    Json material = pbr(1, 0.02);
    material["name"] = "rim";
    const LogCatcher log;
    const Imported imported(withMaterial(material));
    EXPECT_NE(log.infos.find("material \"rim\" becomes UChromeMaterial: polished metal"),
              std::string::npos);
    EXPECT_EQ(getName(imported.material), "rim");
}

TEST(GltfMaterials, GiveMetalsTheColourOfTheirReflection)
{
    const Imported mirror(withMaterial(pbr(1, 0.04)));
    EXPECT_EQ(mirror.color("reflection"), osg::Vec3f(0.5f, 0.25f, 0.125f));
    EXPECT_EQ(std::get<u32>(mirror.field("fresnelTable")), 255u);
    const Imported metal(withMaterial(pbr(1, 0.3)));
    EXPECT_EQ(metal.color("baseColor"), osg::Vec3f(0.5f, 0.25f, 0.125f));
    EXPECT_FLOAT_EQ(metal.number("metallic"), 1.0f);
    EXPECT_FLOAT_EQ(metal.number("roughness"), 0.3f);
}

// Fresnel reflectance at normal incidence, ((n - 1) / (n + 1))^2 = 0.04 for 1.5, 1/9 for 2.
TEST(GltfMaterials, DeriveReflectanceFromTheIndexOfRefraction)
{
    EXPECT_NEAR(Imported(withMaterial(pbr(0, 0.01))).number("clearcoatReflectance"), 0.04f, 1e-6f);
    EXPECT_NEAR(Imported(withMaterial(extended(pbr(0, 0.9), "KHR_materials_ior", {{"ior", 2.0}})))
                    .number("reflectance"),
                1.0f / 9.0f, 1e-6f);
    EXPECT_NEAR(Imported(withMaterial(pbr(0.5, 0.5))).number("specularLevel"), 0.5f, 1e-6f);
}

TEST(GltfMaterials, TakeAbsorptionOfGlassFromItsVolume)
{
    Json material = extended(pbr(0, 0), "KHR_materials_transmission", {{"transmissionFactor", 1}});
    const Imported thin(withMaterial(material));
    EXPECT_EQ(thin.number("attenuationDistance"), 0.0f);
    EXPECT_EQ(thin.color("transmission"), osg::Vec3f(0.5f, 0.25f, 0.125f));
    EXPECT_FALSE(std::get<bool>(thin.field("useIor")));
    material = extended(material, "KHR_materials_volume",
                        {{"thicknessFactor", 1},
                         {"attenuationDistance", 0.25},
                         {"attenuationColor", {0.1, 0.2, 0.3}}});
    material = extended(material, "KHR_materials_ior", {{"ior", 1.33}});
    const Imported solid(withMaterial(material));
    EXPECT_EQ(solid.number("attenuationDistance"), 0.25f);
    EXPECT_EQ(solid.color("transmission"), osg::Vec3f(0.1f, 0.2f, 0.3f));
    EXPECT_FLOAT_EQ(solid.number("ior"), 1.33f);
    EXPECT_TRUE(std::get<bool>(solid.field("useIor")));
}

// Half of (n - 1) / V between red and blue, with 20 / V in the file.
TEST(GltfMaterials, SpreadTheIndexOfGlassByItsDispersion)
{
    Json material = extended(pbr(0, 0), "KHR_materials_transmission", {{"transmissionFactor", 1}});
    material = extended(material, "KHR_materials_volume", {{"thicknessFactor", 1}});
    material = extended(material, "KHR_materials_ior", {{"ior", 1.6}});
    material = extended(material, "KHR_materials_dispersion", {{"dispersion", 0.5}});
    EXPECT_NEAR(Imported(withMaterial(material)).number("dispersion"), 0.5 * 0.6 * 0.5 / 20.0,
                1e-7);
}

TEST(GltfMaterials, MultiplyEmissionByItsStrength)
{
    Json material =
        extended(pbr(0, 0.9), "KHR_materials_emissive_strength", {{"emissiveStrength", 8}});
    material["emissiveFactor"] = {0.1, 0.5, 0.9};
    const Imported imported(withMaterial(material));
    EXPECT_EQ(imported.type(), "USubstanceMaterial");
    EXPECT_EQ(imported.color("incandescence"), osg::Vec3f(0.1f, 0.5f, 0.9f));
    EXPECT_EQ(std::get<osg::ColorComponent>(imported.field("incandescence")).intensity, 8.0f);
    EXPECT_TRUE(std::get<bool>(imported.field("incandescenceActive")));
    EXPECT_FALSE(std::get<bool>(Imported(withMaterial(pbr(0, 0.9))).field("incandescenceActive")));
}

TEST(GltfMaterials, LetLampsOfOneSideShineToTheirFront)
{
    constexpr int front = 1, both = 3;
    Json material = pbr(0, 0.9);
    EXPECT_EQ(std::get<int>(Imported(withMaterial(material)).field("sideness")), both);
    material["emissiveFactor"] = {1, 1, 1};
    EXPECT_EQ(std::get<int>(Imported(withMaterial(material)).field("sideness")), front);
    material["doubleSided"] = true;
    EXPECT_EQ(std::get<int>(Imported(withMaterial(material)).field("sideness")), both);
}

TEST(GltfTextures, SplitRoughnessAndMetalFromTheirChannels)
{
    // Green 128 is roughness, blue 64 metal; factors 0.5 and 1.
    const Imported imported(withMaterial(
        pbr(1, 0.5, {{"metallicRoughnessTexture", {{"index", 0}}}}), {{{9, 128, 64, 255}}}));
    EXPECT_EQ(imported.type(), "USubstanceMaterial");
    const auto roughness = imported.texture("roughnessTexture");
    const auto metallic = imported.texture("metallicTexture");
    ASSERT_TRUE(roughness && metallic);
    EXPECT_EQ(roughness->getGamma(), 1.0f);
    EXPECT_TRUE(roughness->getIsActive());
    EXPECT_FLOAT_EQ(roughness->getImage()->getPixel(0, 0)[0], 64.0f / 255.0f);
    EXPECT_FLOAT_EQ(metallic->getImage()->getPixel(0, 0)[0], 64.0f / 255.0f);
    EXPECT_EQ(imported.number("roughness"), 1.0f);
}

TEST(GltfTextures, PutTheLastRowOfTheFileFirst)
{
    const Imported imported(withMaterial(pbr(0, 1, {{"baseColorTexture", {{"index", 0}}}}),
                                         {{{255, 0, 0, 255}}, {{0, 0, 255, 255}}}, 1, 2));
    const auto slot = imported.texture("baseColorTexture");
    ASSERT_TRUE(slot);
    EXPECT_EQ(slot->getGamma(), 2.2f);
    EXPECT_EQ(slot->getImage()->getPixel(0, 0)[2], 1.0f);
    EXPECT_EQ(slot->getImage()->getPixel(0, 1)[0], 1.0f);
}

TEST(GltfTextures, CutOutBelowTheAlphaThreshold)
{
    Json material = pbr(0, 1, {{"baseColorTexture", {{"index", 0}}}});
    material["alphaMode"] = "MASK";
    material["alphaCutoff"] = 0.4;
    const Imported imported(withMaterial(material, {{{255, 0, 0, 100}}, {{255, 0, 0, 110}}}, 2, 1));
    const auto slot = imported.texture("cutoutTexture");
    ASSERT_TRUE(slot);
    // Kinds cut at a half; in between, the edge runs where the alpha of the file would be cut.
    EXPECT_LT(slot->getImage()->getPixel(0, 0)[0], 0.5f);
    EXPECT_GE(slot->getImage()->getPixel(1, 0)[0], 0.5f);
    for (int i = 0; i < 2; ++i)
        EXPECT_NEAR(slot->getImage()->getPixel(u32(i), 0)[0], (i ? 110 : 100) / 255.0f + 0.1f,
                    0.51f / 255.0f);
}

// Leaves and signs without light are cut and blended as all surfaces are.
TEST(GltfTextures, OpenUnlitSurfacesToo)
{
    Json material = extended(pbr(0, 1, {{"baseColorTexture", {{"index", 0}}}}),
                             "KHR_materials_unlit", Json::object());
    material["alphaMode"] = "MASK";
    const std::vector<std::array<u8, 4>> pixels = {{{255, 0, 0, 51}}};
    EXPECT_TRUE(Imported(withMaterial(material, pixels)).texture("cutoutTexture"));
    material["alphaMode"] = "BLEND";
    const Imported blended(withMaterial(material, pixels));
    ASSERT_TRUE(blended.texture("transparencyTexture"));
    EXPECT_NEAR(blended.texture("transparencyTexture")->getImage()->getPixel(0, 0)[0], 0.8f, 2e-3f);
}

TEST(GltfTextures, AreLeftOutWithAWarningWhenTheyCannotBeRead)
{
    GltfBuilder file = withMaterial(pbr(0, 1, {{"baseColorTexture", {{"index", 0}}}}));
    file.root["images"] = {{{"uri", "data:image/png;base64,AAAA"}}};
    file.root["textures"] = {{{"source", 0}}};
    const LogCatcher log;
    const Imported imported(file);
    EXPECT_TRUE(imported.material);
    EXPECT_EQ(imported.scene.warnings, 1u);
    file.root["images"] = {{{"uri", "other.png"}}};
    EXPECT_TRUE(Imported(file).material);
    file.root["textures"] = {{{"source", 9}}};
    EXPECT_TRUE(Imported(file).material);
}

// However many slots of however many materials wait for it.
TEST(GltfTextures, AreToldOfOnceWhenTheyAreBroken)
{
    const Json info = {{"index", 0}};
    Json material = pbr(0.5, 0.5, {{"baseColorTexture", info}, {"metallicRoughnessTexture", info}});
    material["normalTexture"] = material["occlusionTexture"] = info;
    material["alphaMode"] = "BLEND";
    GltfBuilder file = withMaterial(material);
    const int second = file.triangle();
    file.root["materials"].push_back(material);
    file.root["meshes"][second]["primitives"][0]["material"] = 1;
    file.node({{"mesh", second}});
    file.root["images"] = {{{"uri", "data:image/png;base64,iVBORw0KGgo="}}};
    file.root["textures"] = {{{"source", 0}}};
    const LogCatcher log;
    const Imported imported(file);
    EXPECT_EQ(imported.scene.warnings, 1u) << log.warnings;
    EXPECT_NE(log.warnings.find("image 0"), std::string::npos) << log.warnings;
    EXPECT_EQ(imported.color("baseColor"), osg::Vec3f(0.5f, 0.25f, 0.125f));
    EXPECT_FLOAT_EQ(imported.number("roughness"), 0.5f);
}

// Optional formats may stand beside one that is read.
TEST(GltfTextures, TellOfFormatsThatAreNotReadAndTakeTheOther)
{
    const std::pair<const char*, const char*> formats[] = {{"KHR_texture_basisu", "KTX2"},
                                                           {"EXT_texture_webp", "WebP"}};
    for (const auto& [name, format] : formats) {
        GltfBuilder file =
            withMaterial(pbr(0, 1, {{"baseColorTexture", {{"index", 0}}}}), {{{255, 0, 0, 255}}});
        file.root["extensionsUsed"] = {name};
        file.root["textures"][0]["extensions"][name] = {{"source", 7}};
        const LogCatcher log;
        const Imported both(file);
        EXPECT_TRUE(both.texture("baseColorTexture"));
        EXPECT_EQ(both.scene.warnings, 0u) << log.warnings;
        file.root["textures"][0].erase("source");
        const Imported alone(file);
        EXPECT_FALSE(alone.texture("baseColorTexture"));
        EXPECT_EQ(alone.scene.warnings, 1u);
        EXPECT_NE(log.warnings.find(format), std::string::npos) << log.warnings;
        EXPECT_NE(log.warnings.find("PNG or JPEG"), std::string::npos) << log.warnings;
        file.root["extensionsRequired"] = {name};
        EXPECT_NE(gltfError(file.text()).find(name), std::string::npos);
    }
}

/// Where a slot reads for a texture coordinate of the file (v down), again with v down.
osg::Vec2f placed(const osg::UTextureSettings& slot, double u, double v)
{
    // The sampler: about 0.5 + offset, turned, then repeated (v up).
    const double angle = slot.getRotation() * 3.14159265358979 / 180.0;
    const double c = std::cos(angle), s = std::sin(angle);
    const double x = u - 0.5 - slot.getOffset()[0], y = 1.0 - v - 0.5 - slot.getOffset()[1];
    return {float(slot.getRepeat()[0] * (c * x - s * y) + 0.5),
            float(1.0 - (slot.getRepeat()[1] * (c * y + s * x) + 0.5))};
}

// KHR_texture_transform: coordinates are scaled, turned against the clock as one sees them, moved.
TEST(GltfTextures, FollowTheTransformOfTheirCoordinates)
{
    struct Case
    {
        double ox, oy, rotation, sx, sy;
    };
    for (const Case& t :
         {Case{0.3, 0.1, 0, 2, 3}, Case{0, 0, 0.4, 1, 1}, Case{0.2, 0.7, 1.1, 1.5, 1.5},
          Case{0.5, 0.25, 1.5707963267948966, 2, 5}}) {
        const Imported imported(withMaterial(pbr(0, 1,
                                                 {{"baseColorTexture",
                                                   {{"index", 0},
                                                    {"extensions",
                                                     {{"KHR_texture_transform",
                                                       {{"offset", {t.ox, t.oy}},
                                                        {"rotation", t.rotation},
                                                        {"scale", {t.sx, t.sy}},
                                                        {"texCoord", 1}}}}}}}}),
                                             {{{255, 0, 0, 255}}}));
        const auto slot = imported.texture("baseColorTexture");
        ASSERT_TRUE(slot);
        EXPECT_EQ(slot->getUvSet(), 1);
        const double c = std::cos(t.rotation), s = std::sin(t.rotation);
        for (const auto& [u, v] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}, {0.3, 0.8}}) {
            const osg::Vec2f p = placed(*slot, u, v);
            EXPECT_NEAR(p[0], t.ox + c * t.sx * u + s * t.sy * v, 1e-5);
            EXPECT_NEAR(p[1], t.oy - s * t.sx * u + c * t.sy * v, 1e-5);
        }
    }
}

TEST(GltfMaterials, ReadOlderFilesOfSpecularAndGlossinessAsDielectrics)
{
    LogCatcher log;
    const Imported imported(withMaterial(
        {{"name", "old"},
         {"extensions",
          {{"KHR_materials_pbrSpecularGlossiness",
            {{"diffuseFactor", {0.5, 0.25, 0.125, 1}}, {"glossinessFactor", 0.25}}}}}}));
    EXPECT_EQ(imported.color("baseColor")[1], 0.25f);
    EXPECT_EQ(imported.number("roughness"), 0.75f);
    EXPECT_EQ(imported.number("metallic"), 0.0f);
    EXPECT_NE(log.warnings.find("\"old\""), std::string::npos) << log.warnings;
}

// A black body with the reflection of gold is no dielectric. Alpha holds the glossiness.
TEST(GltfMaterials, ReadOlderFilesWithStrongSpecularAsMetals)
{
    const Imported imported(withMaterial({{"extensions",
                                           {{"KHR_materials_pbrSpecularGlossiness",
                                             {{"diffuseFactor", {0, 0, 0, 1}},
                                              {"specularFactor", {1.0, 0.75, 0.25}},
                                              {"glossinessFactor", 0.5},
                                              {"specularGlossinessTexture", {{"index", 0}}}}}}}},
                                         {{{255, 255, 255, 102}}}));
    EXPECT_EQ(imported.number("metallic"), 1.0f);
    EXPECT_EQ(imported.color("baseColor"), osg::Vec3f(1.0f, 0.75f, 0.25f));
    ASSERT_TRUE(imported.texture("baseColorTexture"));
    ASSERT_TRUE(imported.texture("roughnessTexture"));
    EXPECT_NEAR(imported.texture("roughnessTexture")->getImage()->getPixel(0, 0)[0],
                1.0f - 0.5f * 0.4f, 2e-3f);
}

// The map of a coat is a factor, roughness lies in the second channel, occlusion in the first.
// Texels of glossiness are 1 minus the width of the lobe, alpha / sqrt(2) with alpha = roughness^2.
TEST(GltfTextures, LieOnCoatsAndUnderThem)
{
    Json material = pbr(1.0, 0.5, {{"metallicRoughnessTexture", {{"index", 0}}}});
    material["extensions"]["KHR_materials_clearcoat"] = {
        {"clearcoatFactor", 0.5},
        {"clearcoatTexture", {{"index", 0}}},
        {"clearcoatNormalTexture", {{"index", 0}}}};
    material["occlusionTexture"] = {{"index", 0}, {"strength", 0.5}};
    const Imported imported(withMaterial(material, {{51, 204, 255, 255}}));
    ASSERT_EQ(imported.type(), "UReflectivePlasticMaterial");
    EXPECT_EQ(imported.color("clearcoat")[0], 0.5f);
    // A metal: what reflects below the coat has the colour.
    EXPECT_EQ(imported.color("glossy"), osg::Vec3f(0.5f, 0.25f, 0.125f));
    EXPECT_EQ(imported.color("diffuse"), osg::Vec3f(0.0f, 0.0f, 0.0f));
    const auto texel = [&](const char* name) {
        const auto texture = imported.texture(name);
        return texture ? texture->getImage()->getPixel(0, 0)[0] : -1.0f;
    };
    EXPECT_NEAR(texel("clearcoatTexture"), 0.2f, 1e-6f);
    EXPECT_NEAR(texel("glossinessTexture"), 1.0f - 0.16f / std::sqrt(2.0f), 2e-3f);
    EXPECT_NEAR(texel("occlusionTexture"), 0.6f, 2e-3f);
    EXPECT_TRUE(imported.texture("bumpTexture")) << "the coat's normals, as the body has none";
}

// One highlight: that of the coat.
TEST(GltfTextures, GiveRoughCoatsTheirWidth)
{
    const Json material = extended(pbr(0.0, 0.9), "KHR_materials_clearcoat",
                                   {{"clearcoatFactor", 0.5},
                                    {"clearcoatRoughnessFactor", 0.8},
                                    {"clearcoatRoughnessTexture", {{"index", 0}}}});
    const LogCatcher log;
    const Imported imported(withMaterial(material, {{51, 204, 255, 255}}));
    ASSERT_EQ(imported.type(), "UPlasticMaterial");
    EXPECT_EQ(imported.color("glossy")[0], 0.5f);
    EXPECT_NEAR(imported.texture("glossinessTexture")->getImage()->getPixel(0, 0)[0],
                1.0f - 0.4096f / std::sqrt(2.0f), 2e-3f);
    EXPECT_NE(log.warnings.find("not shown"), std::string::npos);
}

TEST(GltfTextures, TintTheRimOfCloth)
{
    const Json material = extended(pbr(0.0, 0.9), "KHR_materials_sheen",
                                   {{"sheenColorFactor", {0.5, 0.25, 1.0}},
                                    {"sheenColorTexture", {{"index", 0}}},
                                    {"sheenRoughnessFactor", 1.0},
                                    {"sheenRoughnessTexture", {{"index", 0}}}});
    const Imported imported(withMaterial(material, {{51, 204, 255, 204}}));
    EXPECT_EQ(imported.color("diffuse"), osg::Vec3f(0.5f, 0.25f, 0.125f));
    EXPECT_EQ(imported.color("glossy"), osg::Vec3f(0.5f, 0.25f, 1.0f));
    ASSERT_TRUE(imported.texture("glossyTexture"));
    EXPECT_EQ(imported.texture("glossyTexture")->getGamma(), 2.2f);
    EXPECT_NEAR(imported.texture("glossinessTexture")->getImage()->getPixel(0, 0)[0],
                1.0f - 0.64f / std::sqrt(2.0f), 2e-3f);
}

// The strength lies in the third channel, the direction in the first two: (0, 1) is a quarter turn.
TEST(GltfTextures, TurnTheFacetsOfAnisotropicSurfaces)
{
    const Json plain = extended(pbr(1.0, 0.5), "KHR_materials_anisotropy",
                                {{"anisotropyStrength", 1.0}, {"anisotropyRotation", 1.5707963}});
    const Imported even(withMaterial(plain));
    // Slopes 1 along and 1/4 across: their product is the square of 1/2, the fourth power of the
    // roughness, and their ratio 1 - 0.9 level.
    EXPECT_NEAR(even.number("roughness"), std::sqrt(0.5f), 1e-5f);
    EXPECT_NEAR(even.number("anisotropyLevel"), 0.75f / 0.9f, 1e-5f);
    EXPECT_NEAR(even.number("anisotropyAngle"), 0.25f, 1e-5f);
    EXPECT_TRUE(std::get<bool>(even.field("hasAnisotropyLevel")));
    Json mapped = plain;
    mapped["extensions"]["KHR_materials_anisotropy"]["anisotropyTexture"] = {{"index", 0}};
    const Imported varying(withMaterial(mapped, {{128, 255, 128, 255}}));
    const auto texel = [&](const char* name) {
        return varying.texture(name)->getImage()->getPixel(0, 0)[0];
    };
    EXPECT_NEAR(texel("anisotropyAngle"
                      "Texture"),
                0.5f, 4e-3f);
    EXPECT_NEAR(texel("anisotropyLevelTexture"), 0.75f / 0.9f * 0.252f, 4e-3f);
}

TEST(GltfTextures, ScaleTheReflectionOfDielectrics)
{
    Json material = extended(pbr(0.0, 0.9), "KHR_materials_specular",
                             {{"specularFactor", 0.5}, {"specularColorFactor", {0.5, 1.0, 0.25}}});
    EXPECT_NEAR(Imported(withMaterial(material)).number("specularLevel"), 0.25f, 1e-6f);
    material["extensions"]["KHR_materials_specular"]["specularTexture"] = {{"index", 0}};
    const Imported mapped(withMaterial(material, {{0, 0, 0, 204}}));
    EXPECT_NEAR(mapped.texture("specularLevelTexture")->getImage()->getPixel(0, 0)[0], 0.8f * 0.25f,
                2e-3f);
}

TEST(GltfMaterials, LetDiffuseLightThrough)
{
    const Imported imported(
        withMaterial(extended(pbr(0.0, 0.9), "KHR_materials_diffuse_transmission",
                              {{"diffuseTransmissionFactor", 0.25},
                               {"diffuseTransmissionColorFactor", {1.0, 0.5, 0.0}}})));
    EXPECT_EQ(std::get<int>(imported.field("translucencyMode")), 1);
    EXPECT_EQ(imported.color("translucency"), osg::Vec3f(0.25f, 0.125f, 0.0f));
    EXPECT_EQ(imported.color("diffuse"), osg::Vec3f(0.375f, 0.1875f, 0.09375f));
}

TEST(GltfMaterials, LetAnEvenPartThroughStraight)
{
    const Imported imported(withMaterial(
        extended(pbr(0.0, 0.3), "KHR_materials_transmission", {{"transmissionFactor", 0.5}})));
    EXPECT_EQ(imported.color("transparencyColor"), osg::Vec3f(0.25f, 0.125f, 0.0625f));
}

// Images may serve several surfaces: their opaque parts need not be on this one.
TEST(GltfMaterials, TakeMapsOfTransmissionForGlass)
{
    const Json material =
        extended(pbr(0.0, 0.3), "KHR_materials_transmission",
                 {{"transmissionFactor", 1.0}, {"transmissionTexture", {{"index", 0}}}});
    const LogCatcher log;
    EXPECT_EQ(Imported(withMaterial(material, {{255, 0, 0, 255}})).type(), "UGlassMaterial");
    EXPECT_EQ(log.infos.find("opaque"), std::string::npos);
    EXPECT_EQ(Imported(withMaterial(material, {{0, 255, 255, 255}})).type(), "UGlassMaterial");
    EXPECT_NE(log.infos.find("also where its map is opaque"), std::string::npos);
}

TEST(GltfMaterials, TellOfIridescenceThatIsNotShown)
{
    const LogCatcher log;
    const Imported imported(
        withMaterial(extended(pbr(0, 0), "KHR_materials_iridescence", {{"iridescenceFactor", 1}})));
    EXPECT_EQ(imported.scene.warnings, 1u);
    EXPECT_NE(log.warnings.find("iridescence is not shown"), std::string::npos) << log.warnings;
}

TEST(GltfMaterials, TakeColoursOfVerticesOnlyWhereTheyAre)
{
    GltfBuilder file = withMaterial(pbr(0.0, 1.0));
    const int plain = file.triangle();
    file.root["meshes"][plain]["primitives"][0]["material"] = 0;
    file.root["meshes"][plain]["primitives"][0]["attributes"]["COLOR_0"] =
        file.accessor(std::vector<float>(12, 0.5f), "VEC4", 4, GltfBuilder::real);
    file.node({{"mesh", plain}});
    const auto usesOf = [](const io::SceneFile& scene) {
        std::vector<int> uses;
        for (const FoundGeometry& found : geometriesOf(scene)) {
            const osg::MaterialPtr material = found.geometry->getMaterial();
            uses.push_back(
                std::get<int>(material->getType().findField("vertexColors")->get(*material)));
        }
        return uses;
    };
    const io::SceneFile opaque = readGltfText(file.text());
    EXPECT_EQ(usesOf(opaque), (std::vector<int>{0, 1}));
    file.root["materials"][0]["alphaMode"] = "BLEND";
    const io::SceneFile blended = readGltfText(file.text());
    EXPECT_EQ(usesOf(blended), (std::vector<int>{0, 2}));
}

// The wrap modes of the format and ours: clamp 3, mirrored 1, repeat 0, which is also the default.
TEST(GltfTextures, WrapAsTheirSamplerSays)
{
    const std::pair<int, int> modes[] = {{33071, 3}, {33648, 1}, {10497, 0}, {0, 0}};
    for (const auto& [mode, expected] : modes) {
        GltfBuilder file = withMaterial(pbr(0.0, 1.0, {{"baseColorTexture", {{"index", 0}}}}),
                                        {{255, 255, 255, 255}});
        if (mode) {
            file.root["samplers"] = {{{"wrapS", mode}, {"wrapT", mode}, {"minFilter", 9729}}};
            file.root["textures"][0]["sampler"] = 0;
        }
        const Imported imported(file);
        const auto texture = imported.texture("baseColorTexture");
        ASSERT_TRUE(texture);
        EXPECT_EQ(texture->getWrapS(), expected);
        EXPECT_EQ(texture->getWrapT(), expected);
        EXPECT_EQ(texture->getMipmaps(), mode == 0);
    }
}

TEST(GltfTextures, AreReadAtAnyShape)
{
    // One texel, a column, and as wide as large images are.
    for (const auto& [width, height] : {std::pair<u16, u16>(1, 1), {1, 7}, {16384, 2}}) {
        const std::vector<std::array<u8, 4>> pixels(std::size_t(width) * height, {10, 20, 30, 255});
        const Imported imported(withMaterial(pbr(0.0, 1.0, {{"baseColorTexture", {{"index", 0}}}}),
                                             pixels, width, height));
        const auto texture = imported.texture("baseColorTexture");
        ASSERT_TRUE(texture);
        EXPECT_EQ(texture->getImage()->getWidth(), width);
        EXPECT_EQ(texture->getImage()->getHeight(), height);
        EXPECT_EQ(texture->getImage()->getPixel(width - 1u, height - 1u)[2], 30.0f / 255.0f);
    }
}

// Grey with alpha becomes colour with alpha; a byte of the file is a byte of memory.
TEST(GltfTextures, KeepTheTypeOfTheirFile)
{
    GltfBuilder file =
        withMaterial(pbr(0.0, 1.0, {{"baseColorTexture", {{"index", 0}}}}), {{9, 9, 9, 128}});
    // Plain grey, one byte per pixel.
    std::vector<u8> grey{0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 0, 8, 0x20, 40, 200};
    file.root["images"][0]["bufferView"] = file.bufferView(grey);
    const Imported imported(file);
    const auto texture = imported.texture("baseColorTexture");
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->getImage()->getPixelFormat(), osg::Image::L);
    EXPECT_EQ(texture->getImage()->getDataType(), osg::Image::UInt8);
    EXPECT_EQ(texture->getImage()->getSize(), 2u);
}

/// A file of the sample images, empty where these are not there.
std::vector<u8> sampleImage(const std::string& name)
{
    const auto folder = std::filesystem::path(ZN_SOURCE_DIR) / ".." / "shared" / "data" / "images";
    std::ifstream stream(folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Of any kind that stores textures, as colour, and through a channel of its own; with mipmaps down
// to one texel.
TEST(GltfTextures, AreReadOfAnyKind)
{
    const char* const names[] = {"gray_alpha8_48x20.png",  "gray1_13x7.png",     "gray16_33x65.png",
                                 "palette4_trns_19x9.png", "rgb16_40x24.png",    "rgba16_16x11.png",
                                 "adam7_29x31_rgb8.png",   "cmyk_33x17.jpg",     "gray_33x17.jpg",
                                 "progressive_64x48.jpg",  "one_by_one_rgb8.png"};
    if (sampleImage(names[0]).empty())
        GTEST_SKIP() << "no sample images";
    for (const char* name : names) {
        Json material = pbr(
            0.0, 1.0,
            {{"baseColorTexture", {{"index", 0}}}, {"metallicRoughnessTexture", {{"index", 0}}}});
        material["alphaMode"] = "BLEND";
        GltfBuilder file = withMaterial(material, {{0, 0, 0, 0}});
        file.root["images"][0]["bufferView"] = file.bufferView(sampleImage(name));
        const Imported imported(file);
        EXPECT_EQ(imported.scene.warnings, 0u) << name;
        for (const char* slot : {"baseColorTexture", "roughnessTexture", "opacityTexture"}) {
            const auto texture = imported.texture(slot);
            ASSERT_TRUE(texture) << name << " " << slot;
            znRTSampler2D sampler;
            sampler.setGamma(texture->getGamma(), false, true);
            sampler.setImage(texture->getImage());
            ASSERT_TRUE(sampler.prepareData()) << name << " " << slot;
            sampler.createMipmaps();
            EXPECT_EQ(sampler.getLevelWidth(sampler.levelCount), 1);
            EXPECT_EQ(sampler.getLevelHeight(sampler.levelCount), 1);
            EXPECT_EQ(sampler.width, int(texture->getImage()->getWidth()));
            // One value per channel of what the pixel holds, linear.
            const znRTVector4f texel = sampler.getTexel(0, 0, sampler.width - 1, 0);
            const osg::Vec4f stored =
                texture->getImage()->getPixel(texture->getImage()->getWidth() - 1, 0);
            const auto linear = [&](double v) {
                return texture->getGamma() == 1.0f ? v
                       : v <= 0.04045              ? v / 12.92
                                                   : std::pow((v + 0.055) / 1.055, 2.4);
            };
            EXPECT_NEAR(texel.x, linear(stored[0]), 1e-5) << name << " " << slot;
            EXPECT_NEAR(texel.z, linear(stored[2]), 1e-5) << name << " " << slot;
            EXPECT_NEAR(texel.w, stored[3], 1e-6) << name << " " << slot;
        }
    }
}

// Several cores decode the images of all materials before the first is asked for.
TEST(GltfTextures, BelongToTheirMaterialsHoweverManyThereAre)
{
    constexpr int count = 24;
    GltfBuilder file;
    const int broken = 5;
    for (int i = 0; i < count; ++i) {
        const int mesh = file.triangle();
        file.root["meshes"][mesh]["primitives"][0]["material"] = i;
        file.node({{"mesh", mesh}});
        const u8 value = u8(10 * i);
        std::vector<u8> image = tga(1, 1, {{value, value, value, 255}});
        if (i == broken)
            image.resize(19);
        file.root["images"].push_back({{"bufferView", file.bufferView(image)}});
        file.root["textures"].push_back({{"source", i}});
        file.root["materials"].push_back(pbr(0.0, 1.0, {{"baseColorTexture", {{"index", i}}}}));
    }
    LogCatcher log;
    const io::SceneFile scene = readGltfText(file.text());
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), std::size_t(count));
    for (int i = 0; i < count; ++i) {
        const osg::MaterialPtr material = found[std::size_t(i)].geometry->getMaterial();
        const auto* field = material->getType().findField("baseColorTexture");
        const auto texture = field ? osg::UTextureSettings::Ptr::dcast(
                                         std::get<osg::FieldContainerPtr>(field->get(*material)))
                                   : osg::UTextureSettings::Ptr();
        EXPECT_EQ(bool(texture), i != broken) << i;
        if (texture) {
            EXPECT_EQ(texture->getImage()->getPixel(0, 0)[0], float(10 * i) / 255.0f);
        }
    }
    EXPECT_NE(log.warnings.find("image 5"), std::string::npos) << log.warnings;
}

TEST(GltfMaterials, MakeASwitchOfVariants)
{
    GltfBuilder file = withMaterial(pbr(0, 0.9));
    file.root["materials"].push_back(pbr(1, 0.01));
    file.root["extensions"]["KHR_materials_variants"]["variants"] = {{{"name", "matt"}},
                                                                     {{"name", "shiny"}}};
    file.root["meshes"][0]["primitives"][0]["extensions"]["KHR_materials_variants"]["mappings"] = {
        {{"material", 1}, {"variants", {1}}}};
    const Imported imported(file);
    EXPECT_EQ(imported.scene.variants, (std::vector<std::string>{"matt", "shiny"}));
    ASSERT_EQ(imported.type(), "SwitchMaterial");
    const auto list = std::get<std::vector<osg::FieldContainerPtr>>(imported.field("materials"));
    ASSERT_EQ(list.size(), 3u);
    EXPECT_STREQ(list[0]->getType().getName(), "USubstanceMaterial");
    EXPECT_STREQ(list[1]->getType().getName(), "UChromeMaterial");
    // Nobody has chosen a variant: the material that the primitive names itself is shown.
    EXPECT_EQ(list[2], list[0]);
    EXPECT_EQ(std::get<int>(imported.field("choice")), 2);
}

TEST(GltfMaterials, TakeDefaultsForBlocksThatMakeNoSense)
{
    const LogCatcher log;
    const Imported imported(withMaterial({{"pbrMetallicRoughness", {{"metallicFactor", "no"}}}}));
    EXPECT_EQ(imported.type(), "USubstanceMaterial");
    EXPECT_EQ(imported.scene.warnings, 1u);
    GltfBuilder file = withMaterial(pbr(0, 1));
    file.root["meshes"][0]["primitives"][0]["material"] = 5;
    EXPECT_EQ(Imported(file).type(), "USubstanceMaterial");
}

} // namespace
