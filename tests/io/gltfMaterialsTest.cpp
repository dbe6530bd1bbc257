#include "io/gltfMaterials.h"

#include "gltfBuilder.h"
#include "gltfReading.h"

#include <cmath>
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
    EXPECT_EQ(kind(pbr(1, 0.2)), "UChromeMaterial");
    EXPECT_EQ(
        kind(extended(pbr(1, 0.2), "KHR_materials_anisotropy", {{"anisotropyStrength", 0.5}})),
        "UBrushedMetalMaterial");
    EXPECT_EQ(kind(pbr(0, 0.9)), "UPlasticMaterial");
    EXPECT_EQ(kind(pbr(0, 0.1)), "UReflectivePlasticMaterial");
    EXPECT_EQ(kind(pbr(0.5, 0.5)), "USubstanceMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 0.5), "KHR_materials_clearcoat", {{"clearcoatFactor", 1}})),
              "UUnicolorPaintMaterial");
    EXPECT_EQ(kind(extended(pbr(1, 0.5), "KHR_materials_clearcoat", {{"clearcoatFactor", 1}})),
              "UMetallicPaintMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 0), "KHR_materials_transmission", {{"transmissionFactor", 1}})),
              "UGlassMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 1), "KHR_materials_sheen", {{"sheenColorFactor", {1, 0, 0}}})),
              "UVelvetMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 0), "KHR_materials_iridescence", {{"iridescenceFactor", 1}})),
              "UFlipflopMaterial");
    EXPECT_EQ(kind(extended(pbr(0, 1), "KHR_materials_unlit", Json::object())), "ULightMaterial");
    // Extensions with their neutral values change nothing.
    EXPECT_EQ(kind(extended(pbr(0, 0.9), "KHR_materials_clearcoat", {{"clearcoatFactor", 0}})),
              "UPlasticMaterial");
}

TEST(GltfMaterials, TellWhichRuleFired)
{
    Json material = pbr(1, 0.2);
    material["name"] = "rim";
    const LogCatcher log;
    const Imported imported(withMaterial(material));
    EXPECT_NE(log.infos.find("material \"rim\" becomes UChromeMaterial: metal"), std::string::npos);
    EXPECT_EQ(getName(imported.material), "rim");
}

TEST(GltfMaterials, GiveMetalsTheColourOfTheirReflection)
{
    const Imported metal(withMaterial(pbr(1, 0.3)));
    EXPECT_EQ(metal.color("reflection"), osg::Vec3f(0.5f, 0.25f, 0.125f));
    EXPECT_EQ(std::get<u32>(metal.field("fresnelTable")), 255u);
    EXPECT_FLOAT_EQ(metal.number("roughness"), 0.3f);
}

// Fresnel reflectance at normal incidence, ((n - 1) / (n + 1))^2 = 0.04 for 1.5, 1/9 for 2.
TEST(GltfMaterials, DeriveReflectanceFromTheIndexOfRefraction)
{
    EXPECT_NEAR(Imported(withMaterial(pbr(0, 0.9))).number("reflectance"), 0.04f, 1e-6f);
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
    EXPECT_EQ(imported.type(), "UPlasticMaterial");
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
    EXPECT_EQ(slot->getImage()->getPixel(0, 0)[0], 0.0f);
    EXPECT_EQ(slot->getImage()->getPixel(1, 0)[0], 1.0f);
}

TEST(GltfTextures, AreLeftOutWithAWarningWhenTheyCannotBeRead)
{
    GltfBuilder file = withMaterial(pbr(0, 1, {{"baseColorTexture", {{"index", 0}}}}));
    file.root["images"] = {{{"uri", "data:image/png;base64,AAAA"}}};
    file.root["textures"] = {{{"source", 0}}};
    const LogCatcher log;
    const Imported imported(file);
    EXPECT_TRUE(imported.material);
    EXPECT_GE(imported.scene.warnings, 1u);
    file.root["images"] = {{{"uri", "other.png"}}};
    EXPECT_TRUE(Imported(file).material);
    file.root["textures"] = {{{"source", 9}}};
    EXPECT_TRUE(Imported(file).material);
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
    EXPECT_EQ(imported.type(), "UPlasticMaterial");
    EXPECT_EQ(imported.color("diffuse")[1], 0.25f);
    EXPECT_EQ(imported.number("roughness"), 0.75f);
    EXPECT_NE(log.warnings.find("\"old\""), std::string::npos) << log.warnings;
}

// The map of a coat is a factor, roughness lies in the second channel, occlusion in the first;
// texels of glossiness are 1 minus the roughness.
TEST(GltfTextures, LieOnCoatsAndUnderThem)
{
    nlohmann::json material = pbr(1.0, 0.5, {{"metallicRoughnessTexture", {{"index", 0}}}});
    material["extensions"]["KHR_materials_clearcoat"] = {{"clearcoatFactor", 0.5},
                                                         {"clearcoatTexture", {{"index", 0}}}};
    material["occlusionTexture"] = {{"index", 0}, {"strength", 0.5}};
    const Imported imported(withMaterial(material, {{51, 204, 255, 255}}));
    EXPECT_EQ(imported.type(), "UMetallicPaintMaterial");
    EXPECT_EQ(imported.color("clearcoat")[0], 0.5f);
    const auto texel = [&](const char* name) {
        const auto texture = imported.texture(name);
        return texture ? texture->getImage()->getPixel(0, 0)[0] : -1.0f;
    };
    EXPECT_NEAR(texel("clearcoatTexture"), 0.2f, 1e-6f);
    EXPECT_NEAR(texel("glossinessTexture"), 0.6f, 2e-3f);
    EXPECT_NEAR(texel("occlusionTexture"), 0.6f, 2e-3f);
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
    for (const auto& [width, height] : {std::pair<u16, u16>(1, 1), {1, 7}, {16384, 1}}) {
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
    file.root["materials"].push_back(pbr(1, 0.1));
    file.root["extensions"]["KHR_materials_variants"]["variants"] = {{{"name", "matt"}},
                                                                     {{"name", "shiny"}}};
    file.root["meshes"][0]["primitives"][0]["extensions"]["KHR_materials_variants"]["mappings"] = {
        {{"material", 1}, {"variants", {1}}}};
    const Imported imported(file);
    EXPECT_EQ(imported.scene.variants, (std::vector<std::string>{"matt", "shiny"}));
    ASSERT_EQ(imported.type(), "SwitchMaterial");
    const auto list = std::get<std::vector<osg::FieldContainerPtr>>(imported.field("materials"));
    ASSERT_EQ(list.size(), 3u);
    EXPECT_STREQ(list[0]->getType().getName(), "UPlasticMaterial");
    EXPECT_STREQ(list[1]->getType().getName(), "UChromeMaterial");
    // Nobody has chosen a variant: the material that the primitive names itself is shown.
    EXPECT_EQ(list[2], list[0]);
    EXPECT_EQ(std::get<int>(imported.field("choice")), 2);
}

TEST(GltfMaterials, TakeDefaultsForBlocksThatMakeNoSense)
{
    const LogCatcher log;
    const Imported imported(withMaterial({{"pbrMetallicRoughness", {{"metallicFactor", "no"}}}}));
    EXPECT_EQ(imported.type(), "UPlasticMaterial");
    EXPECT_EQ(imported.scene.warnings, 1u);
    GltfBuilder file = withMaterial(pbr(0, 1));
    file.root["meshes"][0]["primitives"][0]["material"] = 5;
    EXPECT_EQ(Imported(file).type(), "UPlasticMaterial");
}

} // namespace
