#include "gltfReading.h"
#include "host/osg/Image.h"
#include "host/osg/Material.h"
#include "host/osg/SkinAttachment.h"
#include "host/osg/UTextureSettings.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

namespace {

/// A model of the shared sample data; a missing file skips the test.
class GltfSampleModels : public testing::Test
{
protected:
    io::SceneFile read(const std::string& name)
    {
        const std::filesystem::path folder =
            std::filesystem::path(ZN_SOURCE_DIR) / "../shared/data/gltf" / name;
        for (const char* suffix : {".glb", ".gltf"})
            if (const auto path = folder / (name + suffix); std::filesystem::exists(path))
                return io::readGltf(path.string());
        skipped = true;
        return {};
    }
    bool skipped = false;
    LogCatcher log;
};

#define READ_OR_SKIP(scene, name)                                                                  \
    const io::SceneFile scene = read(name);                                                        \
    if (skipped)                                                                                   \
    GTEST_SKIP() << "sample data is not here"

std::multiset<std::string> kindsOf(const io::SceneFile& scene)
{
    std::multiset<std::string> kinds;
    for (const FoundGeometry& found : geometriesOf(scene))
        kinds.insert(found.geometry->getMaterial()->getType().getName());
    return kinds;
}

TEST_F(GltfSampleModels, BoxHasColoursEqualToItsCorners)
{
    READ_OR_SKIP(scene, "BoxVertexColors");
    EXPECT_EQ(scene.triangles, 12u);
    const auto geometry = geometriesOf(scene).at(0).geometry;
    ASSERT_TRUE(geometry->getColors());
    const osg::Box box = geometry->getBox();
    for (u32 v = 0; v < geometry->getPositions()->size(); ++v)
        for (int i = 0; i < 3; ++i) {
            const float place = (geometry->getPositions()->getVec3(v)[i] - box.minimum[i]) /
                                (box.maximum[i] - box.minimum[i]);
            EXPECT_NEAR(geometry->getColors()->getVector(v)[i], place, 1e-3f);
        }
}

TEST_F(GltfSampleModels, SpheresAreMirrorsAndMixtures)
{
    READ_OR_SKIP(scene, "MetalRoughSpheresNoTextures");
    const auto kinds = kindsOf(scene);
    EXPECT_GT(kinds.count("UChromeMaterial"), 0u);
    EXPECT_GT(kinds.count("UReflectivePlasticMaterial"), 0u);
    EXPECT_GT(kinds.count("USubstanceMaterial"), 50u);
    EXPECT_EQ(scene.warnings, 0u) << log.warnings;
}

TEST_F(GltfSampleModels, TangentTestReadsItsMaps)
{
    READ_OR_SKIP(scene, "NormalTangentTest");
    EXPECT_EQ(scene.warnings, 0u) << log.warnings;
    for (const FoundGeometry& found : geometriesOf(scene)) {
        const osg::MaterialPtr material = found.geometry->getMaterial();
        ASSERT_STREQ(material->getType().getName(), "USubstanceMaterial");
        for (const char* name : {"baseColorTexture", "normalTexture", "roughnessTexture"}) {
            const auto slot = osg::UTextureSettings::Ptr::dcast(std::get<osg::FieldContainerPtr>(
                material->getType().findField(name)->get(*material)));
            ASSERT_TRUE(slot && slot->getImage()) << name;
            EXPECT_GT(slot->getImage()->getWidth(), 1u);
        }
    }
}

TEST_F(GltfSampleModels, CubesDoubleTheirEmission)
{
    READ_OR_SKIP(scene, "EmissiveStrengthTest");
    std::multiset<float> strengths;
    for (const FoundGeometry& found : geometriesOf(scene)) {
        const osg::MaterialPtr material = found.geometry->getMaterial();
        for (const char* name : {"incandescence", "emissiveComponent"})
            if (const auto* field = material->getType().findField(name)) {
                const auto value = std::get<osg::ColorComponent>(field->get(*material));
                if (value.color == osg::Vec3f(0.1f, 0.5f, 0.9f))
                    strengths.insert(value.intensity);
            }
    }
    for (const float strength : {1.0f, 2.0f, 4.0f, 8.0f, 16.0f})
        EXPECT_GT(strengths.count(strength), 0u) << strength;
}

TEST_F(GltfSampleModels, CoatsAreTold)
{
    READ_OR_SKIP(scene, "ClearCoatTest");
    std::size_t coats = 0;
    for (std::size_t at = 0;
         (at = log.infos.find("UReflectivePlasticMaterial: clearcoat", at)) != std::string::npos;
         ++at)
        ++coats;
    EXPECT_GE(coats, 5u) << log.infos;
    EXPECT_NE(log.infos.find("rough clearcoat"), std::string::npos) << log.infos;
}

TEST_F(GltfSampleModels, BlocksBecomeGlassThatAbsorbs)
{
    READ_OR_SKIP(scene, "AttenuationTest");
    int absorbing = 0;
    for (const FoundGeometry& found : geometriesOf(scene)) {
        const osg::MaterialPtr material = found.geometry->getMaterial();
        if (std::string(material->getType().getName()) != "UGlassMaterial")
            continue;
        const auto* field = material->getType().findField("attenuationDistance");
        absorbing += std::get<float>(field->get(*material)) > 0.0f;
    }
    EXPECT_GT(absorbing, 0);
}

TEST_F(GltfSampleModels, ChairHasVariantsAndSheen)
{
    READ_OR_SKIP(scene, "SheenChair");
    ASSERT_EQ(scene.variants.size(), 2u);
    const auto kinds = kindsOf(scene);
    EXPECT_GT(kinds.count("SwitchMaterial"), 0u);
    EXPECT_EQ(scene.warnings, 0u) << log.warnings;
    EXPECT_NE(log.infos.find("UPlasticMaterial: sheen"), std::string::npos);
}

TEST_F(GltfSampleModels, TransformedTexturesReadTheirImages)
{
    READ_OR_SKIP(scene, "TextureTransformTest");
    EXPECT_EQ(scene.warnings, 0u) << log.warnings;
    EXPECT_GE(geometriesOf(scene).size(), 6u);
}

/// Place of a node of the file in its own axes (x right, y up).
osg::Vec3f placeInFile(const io::SceneFile& scene, const std::string& name)
{
    osg::Vec3f place;
    osg::traverse(scene.root.get(), [&](const osg::NodePtr& node) {
        if (getName(node) == name) {
            const osg::Vec3f p = node->getToWorld().getTranslation();
            place = {p[0], p[2], -p[1]};
        }
        return true;
    });
    return place;
}

// Texture coordinates turn about the upper left corner of the quad. Seen from there the picture's
// arrow points along its diagonal; the model has marks where the turned arrow must point to, where
// an arrow that is not turned does, and where one turned the wrong way does.
TEST_F(GltfSampleModels, TurnedTexturesTurnTheRightWay)
{
    READ_OR_SKIP(scene, "TextureTransformTest");
    osg::MaterialPtr material;
    for (const FoundGeometry& found : geometriesOf(scene))
        if (getName(found.node->getParent()) == "Rotation")
            material = found.geometry->getMaterial();
        else if (getName(found.node) == "Rotation")
            material = found.geometry->getMaterial();
    ASSERT_TRUE(material);
    ASSERT_EQ(getName(material), "Rotation");
    const auto slot = osg::UTextureSettings::Ptr::dcast(std::get<osg::FieldContainerPtr>(
        material->getType().findField("baseColorTexture")->get(*material)));
    ASSERT_TRUE(slot);

    const osg::Vec3f quad = placeInFile(scene, "Rotation");
    const auto sampledAngle = [&](const char* mark) {
        osg::Vec3f d = placeInFile(scene, mark) - quad - osg::Vec3f(-0.5f, 0.5f, 0);
        d[2] = 0.0f;
        d.normalize();
        // From v down to the sampler's v up, through the slot, and back.
        const float angle = slot->getRotation() * 3.14159265f / 180.0f;
        const float c = std::cos(angle), s = std::sin(angle);
        const float x = d[0] - 0.5f - slot->getOffset()[0];
        const float y = 1.0f + d[1] - 0.5f - slot->getOffset()[1];
        const float u = slot->getRepeat()[0] * (c * x - s * y) + 0.5f;
        const float v = 1.0f - (slot->getRepeat()[1] * (c * y + s * x) + 0.5f);
        return std::atan2(v, u) * 180.0f / 3.14159265f;
    };
    EXPECT_NEAR(sampledAngle("Rotation - Correct"), 45.0f, 1.0f);
    EXPECT_GT(std::abs(sampledAngle("Rotation - Not Supported") - 45.0f), 10.0f);
    EXPECT_GT(std::abs(sampledAngle("Rotation - Error") - 45.0f), 10.0f);
}

TEST_F(GltfSampleModels, CylinderHangsOnItsJoints)
{
    READ_OR_SKIP(scene, "RiggedSimple");
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), 1u);
    const auto skin = osg::SkinAttachment::getAttachment(found[0].geometry);
    ASSERT_TRUE(skin);
    EXPECT_EQ(skin->getJoints().size(), 2u);
    const float* positions = found[0].geometry->getPositions()->getDataAs<float>();
    const float* normals = nullptr;
    const float* const before = positions;
    skin->getDeformedVertices(positions, normals);
    EXPECT_NE(positions, before);
    for (u32 i = 0; i < 3 * found[0].geometry->getPositions()->size(); ++i)
        ASSERT_TRUE(std::isfinite(positions[i]));
}

TEST_F(GltfSampleModels, LampHasPointLightsAndAShadeOfGlass)
{
    READ_OR_SKIP(scene, "LightsPunctualLamp");
    EXPECT_GE(scene.lights.size(), 1u);
    for (const auto& entry : scene.lights)
        EXPECT_GT(entry.light->getStoredDiffuse().intensity, 0.0f);
    EXPECT_GT(kindsOf(scene).count("UGlassMaterial"), 0u);
    EXPECT_EQ(scene.warnings, 0u) << log.warnings;
}

} // namespace
