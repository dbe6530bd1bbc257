// What images on surfaces do to colours, numbers, opacity and light of materials.

#include "material/colorAttribute.h"

#include "core/shadingRequirements.h"
#include "host/osg/Image.h"
#include "host/osg/UTextureSettings.h"
#include "materialFixture.h"

using namespace materialTest;

namespace {

using TexturePtr = osg::Ref<osg::UTextureSettings>;
using SubstancePtr = osg::FCPtr<osg::USubstanceMaterial>;

/// A slot with an image of 2 x 2 texels, rows from below.
TexturePtr makeTexture(const std::vector<u8>& texels)
{
    const osg::Ref<osg::Image> image = osg::Image::create();
    const u32 format = texels.size() == 4 ? osg::Image::L : osg::Image::RGB;
    EXPECT_TRUE(image->take(format, 2, 2, std::vector<u8>(texels), osg::Image::UInt8));
    const TexturePtr texture = osg::UTextureSettings::create();
    texture->setImage(image.get());
    texture->setIsActive(true);
    texture->setMipmaps(false);
    texture->setWrapS(znRTTextureSampler::clamp);
    texture->setWrapT(znRTTextureSampler::clamp);
    return texture;
}

/// IEC 61966-2-1
double linear(int encoded)
{
    const double v = encoded / 255.0;
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

/// Places over the four texels in their order, beyond the centres, where nothing is mixed.
const znFloatType<2> texelX(-0.75f, 0.75f, -0.75f, 0.75f), texelY(-0.6f, -0.6f, 0.6f, 0.6f);

class TexturedAttributes : public MaterialTest
{
protected:
    ~TexturedAttributes() override { setBackground(0.0f); }
    static void setBackground(float value)
    {
        znRTRenderUtils::s_backgroundColor = {value, value, value, 0.0f};
    }
    /// What straight rays see of the four texels.
    znRTColorPacket seenTexels() { return shade(texelX, texelY).color; }
    void evaluate(znRTSurfaceProperties& surface, znRTDataBlockPacket& data)
    {
        znRTRayDifferentialPacket ray = downward(texelX, texelY);
        data = blockOf(ray);
        surface.reset();
        znRTShadingState state = stateOf(0);
        data.materials[0]->evaluateMaterial(ray, data, surface, znFloatType<2>::allLanes(), state,
                                            -1, znRTMaterial::indirect);
    }
};

} // namespace

TEST_F(TexturedAttributes, MultiplyColoursWithDecodedTexels)
{
    const PhongPtr material = makeDiffuse(0.5f);
    const TexturePtr texture = makeTexture({255, 128, 0, 20, 40, 60, 128, 128, 128, 0, 255, 200});
    material->setDiffuseTexture(texture.get());
    addSquare(material);
    addSun();
    const znRTColorPacket seen = seenTexels();
    EXPECT_LANES_NEAR(seen.r, 0.5f, float(0.5 * linear(20)), float(0.5 * linear(128)), 0.0f, 1e-5f);
    EXPECT_LANES_NEAR(seen.g, float(0.5 * linear(128)), float(0.5 * linear(40)),
                      float(0.5 * linear(128)), 0.5f, 1e-5f);
    EXPECT_LANES_NEAR(seen.b, 0.0f, float(0.5 * linear(60)), float(0.5 * linear(128)),
                      float(0.5 * linear(200)), 1e-5f);
}

TEST_F(TexturedAttributes, AskForCoordinatesOnlyWhenThereIsAnImage)
{
    const PhongPtr material = makeDiffuse(0.5f);
    znRTMaterial& shading = addSquare(material);
    EXPECT_FALSE(shading.getMaterialAttributes() & vertexAttribute::textureCoordinates);
    EXPECT_FALSE(shading.getShadingRequirements() & shadingRequirement::footprint);
    const TexturePtr texture = makeTexture({255, 128, 0, 20});
    material->setDiffuseTexture(texture.get());
    scene.scene->applyMaterialChanges();
    EXPECT_TRUE(shading.getMaterialAttributes() & vertexAttribute::textureCoordinates);
    EXPECT_TRUE(shading.getShadingRequirements() & shadingRequirement::footprint);
    EXPECT_FALSE(shading.getTransparencyAttributes() & vertexAttribute::textureCoordinates);
    material->setTransparencyTexture(texture.get());
    scene.scene->applyMaterialChanges();
    EXPECT_TRUE(shading.getTransparencyAttributes() & vertexAttribute::textureCoordinates);
    EXPECT_TRUE(shading.getShadowShadingRequirements() & shadingRequirement::footprint);
}

// The slope of the facets is the square of the roughness, which is stored linearly.
TEST_F(TexturedAttributes, TakeNumbersFromImagesWithoutDecoding)
{
    const SubstancePtr material = osg::USubstanceMaterial::create();
    const TexturePtr roughness = makeTexture({51, 102, 153, 204});
    const TexturePtr metallic = makeTexture({0, 255, 51, 255});
    material->setBaseColor(gray(0.5f));
    material->setRoughnessTexture(roughness.get());
    material->setMetallicTexture(metallic.get());
    addSquare(material);
    znRTSurfaceProperties surface;
    znRTDataBlockPacket data;
    evaluate(surface, data);
    const znRTLobeParameters& lanes = surface.getParameters()[0];
    EXPECT_LANES_NEAR(lanes.alphaX, 0.04f, 0.16f, 0.36f, 0.64f, 1e-5f);
    EXPECT_LANES_NEAR(lanes.alphaY, 0.04f, 0.16f, 0.36f, 0.64f, 1e-5f);
    EXPECT_LANES_NEAR(lanes.f0.g, 0.04f, 0.5f, 0.132f, 0.5f, 1e-5f); // 0.04 + 0.2 (0.5 - 0.04)
    EXPECT_LANES_NEAR(surface.groups[0].slots[0].color.r, 0.5f, 0.0f, 0.4f, 0.0f, 1e-5f);
}

TEST_F(TexturedAttributes, MixWhatIsBehindByTheTransparencyOfEachTexel)
{
    const PhongPtr material = makeDiffuse(0.0f);
    const TexturePtr texture = makeTexture({0, 51, 255, 204});
    texture->setGamma(1.0f);
    material->setTransparencyColor(gray(1.0f));
    material->setTransparencyTexture(texture.get());
    addSquare(material);
    setBackground(2.0f);
    const znRTColorPacket seen = seenTexels();
    EXPECT_LANES_NEAR(seen.r, 0.0f, 0.4f, 2.0f, 1.6f, 1e-5f);
    EXPECT_LANES_NEAR(seen.a, 1.0f, 0.8f, 0.0f, 0.2f, 1e-5f);
}

// A sun shines through what is not there; the other half of the texels casts a full shadow.
TEST_F(TexturedAttributes, LeaveOutWhatACutoutCutsAndItsShadow)
{
    const PhongPtr above = makeDiffuse(0.25f), below = makeDiffuse(0.5f);
    const TexturePtr texture = makeTexture({255, 0, 100, 200});
    above->setCutoutTexture(texture.get());
    addSquare(below, 0.0f);
    znRTMaterial& shading = addSquare(above, 1.0f);
    addSun();
    EXPECT_TRUE(shading.isTransparent());
    setBackground(7.0f);
    const znRTColorPacket seen = seenTexels();
    EXPECT_LANES_NEAR(seen.r, 0.25f, 0.5f, 0.5f, 0.25f, 1e-5f);
    const znRTRayDifferentialPacket between(znRTRayPacket(znRTVector3fPacket(texelX, texelY, 0.5f),
                                                          znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    const znRTColorPacket shadow = shade(between).color;
    EXPECT_LANES_NEAR(shadow.r, 0.0f, 0.5f, 0.5f, 0.0f, 1e-5f);

    znRTDifferentialGeometry dg{};
    dg.uv = {znFloatType<2>(0.25f, 0.75f, 0.25f, 0.75f),
             znFloatType<2>(0.25f, 0.25f, 0.75f, 0.75f)};
    EXPECT_EQ(moveMask(shading.evaluateCutout(between, dg, expandLanes(13))), 9);
}

TEST_F(TexturedAttributes, EmitByTheTexel)
{
    const PhongPtr material = makeDiffuse(0.0f);
    material->setIncandescenceActive(true);
    material->setIncandescence(gray(3.0f));
    const TexturePtr texture = makeTexture({0, 255, 128, 64});
    material->setIncandescenceTexture(texture.get());
    addSquare(material);
    const znRTColorPacket seen = seenTexels();
    EXPECT_LANES_NEAR(seen.g, 0.0f, 3.0f, float(3.0 * linear(128)), float(3.0 * linear(64)), 1e-5f);
}

TEST_F(TexturedAttributes, LetThroughWhatTheOpacityOfATexelLeaves)
{
    const SubstancePtr material = osg::USubstanceMaterial::create();
    material->setBaseColor(gray(0.0f));
    material->setSpecularLevel(0.0f);
    const TexturePtr opacity = makeTexture({0, 51, 255, 204});
    material->setOpacityTexture(opacity.get());
    znRTMaterial& shading = addSquare(material);
    EXPECT_TRUE(shading.isTransparent());
    setBackground(1.0f);
    EXPECT_LANES_NEAR(seenTexels().r, 1.0f, 0.8f, 0.0f, 0.2f, 1e-5f);
}

TEST_F(TexturedAttributes, FollowTheTransformOfTheirSlot)
{
    const PhongPtr material = makeDiffuse(1.0f);
    const TexturePtr texture = makeTexture({0, 255, 0, 255});
    texture->setGamma(1.0f);
    material->setDiffuseTexture(texture.get());
    addSquare(material);
    addSun();
    EXPECT_LANES_NEAR(seenTexels().r, 0, 1, 0, 1, 1e-5f);
    texture->setRotation(90.0f);
    scene.scene->applyMaterialChanges();
    // s' = 1 - t: what lay to the right lies below.
    EXPECT_LANES_NEAR(seenTexels().r, 1, 1, 0, 0, 1e-5f);
    texture->setRotation(0.0f);
    texture->setRepeat(osg::Vec2f(2.0f, 1.0f));
    texture->setWrapS(znRTTextureSampler::repeat);
    scene.scene->applyMaterialChanges();
    // 2 (s - 0.5) + 0.5 is -0.25 to the left and 1.25 to the right.
    EXPECT_LANES_NEAR(seenTexels().r, 1, 0, 1, 0, 1e-5f);
}

TEST_F(TexturedAttributes, ShowTheUniformValueWithoutAnImage)
{
    const PhongPtr material = makeDiffuse(0.5f);
    const TexturePtr texture = osg::UTextureSettings::create();
    texture->setIsActive(true);
    material->setDiffuseTexture(texture.get());
    addSquare(material);
    addSun();
    EXPECT_LANES_NEAR(seenTexels().r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
}

TEST_F(TexturedAttributes, ReadTheSetOfCoordinatesOfTheirSlot)
{
    const PhongPtr material = makeDiffuse(1.0f);
    const TexturePtr texture = makeTexture({0, 51, 102, 204});
    texture->setGamma(1.0f);
    texture->setUvSet(1);
    material->setDiffuseTexture(texture.get());
    squares.push_back(makeSquare());
    // The image lies turned round by half.
    const std::vector<osg::Vec2f> turned = {{1, 1}, {0, 1}, {0, 0}, {1, 0}};
    squares.back()->setTexCoordSet(1,
                                   osg::GeoProperty::create(std::span<const osg::Vec2f>(turned)));
    squares.back()->setMaterial(material);
    scene.add(squares.back().get(), makeTranslation(0, 0, 0));
    scene.scene->initMaterials();
    scene.build();
    addSun();
    EXPECT_LANES_NEAR(seenTexels().r, 0.8f, 0.4f, 0.2f, 0.0f, 1e-5f);
}

// Slopes of 204, 128 and 230 of 255: 0.6 along x, none along y, over 0.804.
TEST_F(TexturedAttributes, TurnTheNormalByAMap)
{
    const std::vector<u8> slope = {204, 128, 230};
    std::vector<u8> texels;
    for (int i = 0; i < 4; ++i)
        texels.insert(texels.end(), slope.begin(), slope.end());
    const TexturePtr texture = makeTexture(texels);
    texture->setGamma(1.0f);
    const double z = 2.0 * 230.0 / 255.0 - 1.0, cosine = z / std::sqrt(0.36 + z * z);

    const PhongPtr phong = makeDiffuse(0.5f);
    phong->setBumpTexture(texture.get());
    phong->setBumpKind(1);
    addSquare(phong);
    addSun();
    const float expected = float(0.5 * cosine);
    EXPECT_LANES_NEAR(seenTexels().r, expected, expected, expected, expected, 1e-4f);
    phong->setBumpAmplitude(0.0f);
    scene.scene->applyMaterialChanges();
    EXPECT_LANES_NEAR(seenTexels().r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);

    const SubstancePtr substance = osg::USubstanceMaterial::create();
    substance->setSpecularLevel(0.0f);
    substance->setRoughness(1.0f);
    addSquare(substance, 1.0f);
    const float flat = seenTexels().r[0];
    substance->setNormalTexture(texture.get());
    scene.scene->applyMaterialChanges();
    const float turned = seenTexels().r[0];
    EXPECT_LT(turned, 0.95f * flat);
    EXPECT_GT(turned, 0.5f * flat);
}

// Texels of 0.2, 0.4, 0.6 and 0.8 are roughnesses of 0.8 to 0.2. Under a sun at 20 degrees, seen
// from above, the half vector is tilted by 10: (e + 2) / (2 pi) cos^e 10 / (4 cos 10), times the
// cosine and the sun's pi, with e = 1 / roughness^2.
TEST_F(TexturedAttributes, SetTheWidthOfAHighlightByEachTexel)
{
    const PhongPtr material = makeDiffuse(0.0f);
    const TexturePtr texture = makeTexture({51, 102, 153, 204});
    material->setGlossy(gray(0.5f));
    material->setGlossinessTexture(texture.get());
    addSquare(material);
    addSun(20.0);
    const auto expected = [](double roughness) {
        const double e = 1.0 / (roughness * roughness), c = std::cos(10.0 * testPi / 180.0);
        const double value = (e + 2.0) / (2.0 * testPi) * std::pow(c, e) / (4.0 * c);
        return float(0.5 * testPi * value * std::cos(20.0 * testPi / 180.0));
    };
    const znRTColorPacket seen = seenTexels();
    EXPECT_LANES_NEAR(seen.r, expected(0.8), expected(0.6), expected(0.4), expected(0.2), 1e-3f);

    // A range of 0.5 to 0.75 narrows the roughnesses to 0.45, 0.4, 0.35 and 0.3.
    material->setGlossinessMin(0.5f);
    material->setGlossinessMax(0.75f);
    scene.scene->applyMaterialChanges();
    EXPECT_LANES_NEAR(seenTexels().r, expected(0.45), expected(0.4), expected(0.35), expected(0.3),
                      2e-3f);
}

TEST_F(TexturedAttributes, LookLikeTheRoughnessThatTheirTexelsStandFor)
{
    const TexturePtr texture = makeTexture({204, 204, 204, 204});
    addSun(20.0);
    float height = 0.0f;
    const auto compare = [&](const auto& material, const char* name) {
        SCOPED_TRACE(name);
        material->setRoughness(0.2f);
        addSquare(material, height += 0.1f); // above the last one
        const znRTColorPacket uniform = seenTexels();
        EXPECT_GT(uniform.r[0], 0.01f);
        material->setRoughness(0.7f);
        material->setGlossinessTexture(texture.get());
        scene.scene->applyMaterialChanges();
        const znRTColorPacket textured = seenTexels();
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_NEAR(textured.r[lane], uniform.r[lane], 1e-4f * uniform.r[lane]);
        material->setGlossinessTexture(nullptr);
        scene.scene->applyMaterialChanges();
        EXPECT_GT(std::abs(seenTexels().r[0] - uniform.r[0]), 0.01f * uniform.r[0]);
    };
    compare(osg::UPhongMaterial::create(), "UPhongMaterial");
    compare(osg::UPlasticMaterial::create(), "UPlasticMaterial");
    compare(osg::UReflectivePlasticMaterial::create(), "UReflectivePlasticMaterial");
    compare(osg::UTriplanarMaterial::create(), "UTriplanarMaterial");
    compare(osg::UReflectiveTriplanarMaterial::create(), "UReflectiveTriplanarMaterial");
    compare(osg::UChromeMaterial::create(), "UChromeMaterial");
}

// Both forms start from one fetch: the record of lobes holds the widths that are shaded.
TEST_F(TexturedAttributes, EnterWidthsOfLanesIntoTheRecord)
{
    const PhongPtr material = makeDiffuse(0.5f);
    const TexturePtr texture = makeTexture({0, 128, 230, 255});
    material->setGlossy(gray(0.5f));
    material->setGlossinessTexture(texture.get());
    addSquare(material);
    znRTSurfaceProperties surface;
    znRTDataBlockPacket data;
    evaluate(surface, data);
    ASSERT_NE(surface.getParameters(), nullptr);
    const znRTLobeParameters& lanes = surface.getParameters()[0];
    const auto exponent = [](double texel) {
        return float(1.0 / ((1.0 - texel / 255.0) * (1.0 - texel / 255.0)));
    };
    EXPECT_EQ(moveMask(lanes.mask), 15);
    EXPECT_NEAR(lanes.exponent[0], 1.0f, 1e-4f);
    EXPECT_NEAR(lanes.exponent[1], exponent(128), 1e-3f);
    EXPECT_NEAR(lanes.exponent[2], exponent(230), 0.05f);
    EXPECT_EQ(lanes.exponent[3], lobeMath::maxExponent); // white is as smooth as lobes go
}

// Light from all around alone is dimmed; rays find what hides a sun. An intensity of 0.5 leaves
// half of the occlusion.
TEST_F(TexturedAttributes, DimLightFromAllAroundByAnImageOfOcclusion)
{
    setIllumination(0, 0);
    const PhongPtr material = makeDiffuse(0.5f);
    material->setAmbient(gray(1.0f));
    const TexturePtr texture = makeTexture({0, 51, 204, 255});
    material->setOcclusionTexture(texture.get());
    addSquare(material);
    const auto bakedLight = [&] {
        const znRTRayDifferentialPacket ray = downward(texelX, texelY);
        znRTDataBlockPacket data = blockOf(ray);
        data.bakedIrradiance = {8.0f, 8.0f, 8.0f, 0.0f};
        znRTFragment fragment;
        fragment.clear();
        znRTShadingState state = stateOf(0);
        data.materials[0]->shade(ray, data, fragment, znFloatType<2>::allLanes(), state);
        return fragment.colour.r;
    };
    EXPECT_LANES_NEAR(bakedLight(), 0.0f, 0.8f, 3.2f, 4.0f, 1e-4f);
    material->setOcclusionIntensity(0.5f);
    scene.scene->applyMaterialChanges();
    EXPECT_LANES_NEAR(bakedLight(), 2.0f, 2.4f, 3.6f, 4.0f, 1e-4f);
    material->setOcclusionTexture(nullptr);
    scene.scene->applyMaterialChanges();
    EXPECT_LANES_NEAR(bakedLight(), 4.0f, 4.0f, 4.0f, 4.0f, 1e-4f);
    setIllumination(1, 0);
    material->setOcclusionTexture(texture.get());
    scene.scene->applyMaterialChanges();
    addSun();
    EXPECT_LANES_NEAR(seenTexels().r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
}

TEST_F(TexturedAttributes, PutTheImageOfAChunkOntoItsSurface)
{
    const osg::Ref<osg::ChunkMaterial> chunks(osg::ChunkMaterial::create());
    const osg::FCPtr<osg::MaterialChunk> colors = osg::MaterialChunk::create();
    const osg::FCPtr<osg::TextureChunk> texture = osg::TextureChunk::create();
    colors->setDiffuse(osg::Vec3f(0.5f, 0.5f, 0.5f));
    const TexturePtr first = makeTexture({0, 51, 102, 204}), second = makeTexture({204, 0, 0, 51});
    texture->setImage(first->getImage());
    texture->setWrapS(znRTTextureSampler::clamp);
    texture->setWrapT(znRTTextureSampler::clamp);
    chunks->setChunks({colors, texture});
    addSquare(chunks.get());
    addSun();
    const auto seen = [](int texel) { return float(0.5 * linear(texel)); };
    EXPECT_LANES_NEAR(seenTexels().r, 0.0f, seen(51), seen(102), seen(204), 1e-5f);
    texture->setImage(second->getImage());
    scene.scene->applyMaterialChanges();
    EXPECT_LANES_NEAR(seenTexels().r, seen(204), 0.0f, 0.0f, seen(51), 1e-5f);
    chunks->setChunks({colors});
    scene.scene->applyMaterialChanges();
    EXPECT_LANES_NEAR(seenTexels().r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
}
