// Edits of materials between frames, as an application makes them: through fields alone.

#include "driver/FrameDriver.h"

#include "driver/viewFraming.h"
#include "host/osg/Geometry.h"
#include "host/osg/Image.h"
#include "host/osg/MaterialDrawable.h"
#include "host/osg/Materials.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/Transform.h"
#include "host/osg/UTextureSettings.h"
#include "host/osg/UberLight.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using Settings = osg::RaytracingSettingsAttachment;

osg::GeometryPtr makeSquare(float x0, float y0, float edge, float z)
{
    const osg::GeometryPtr square = osg::Geometry::create();
    const float x1 = x0 + edge, y1 = y0 + edge;
    const std::vector<osg::Vec3f> points = {{x0, y0, z}, {x1, y0, z}, {x1, y1, z}, {x0, y1, z}};
    const std::vector<osg::Vec3f> normals(4, osg::Vec3f(0, 0, 1));
    const std::vector<osg::Vec2f> uvs = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    square->setPositions(osg::GeoProperty::create(std::span<const osg::Vec3f>(points)));
    square->setNormals(osg::GeoProperty::create(std::span<const osg::Vec3f>(normals)));
    square->setTexCoords(osg::GeoProperty::create(std::span<const osg::Vec2f>(uvs)));
    const std::vector<u32> indices = {0, 1, 2, 0, 2, 3};
    square->setIndices(osg::GeoProperty::create(std::span<const u32>(indices)));
    square->setTypes({osg::Geometry::triangles});
    square->setLengths({6});
    return square;
}

/// From -2 to 2 at a height.
osg::GeometryPtr makeSquare(float z)
{
    return makeSquare(-2.0f, -2.0f, 4.0f, z);
}

/// A square that fills the view of a camera above it, under a white sun straight above.
class MaterialEdits : public testing::Test
{
protected:
    MaterialEdits()
    {
        root->addChild(osg::Node::create(square.get(), "square"));

        const osg::FCPtr<osg::UDirectionalLight> sun = osg::UDirectionalLight::create();
        const osg::Transform::Ptr upright = osg::Transform::create();
        const osg::NodePtr sunNode = osg::Node::create(upright, "place of the sun");
        sunNode->addChild(osg::Node::create(sun, "sun"));
        root->addChild(sunNode);

        ViewRequest request;
        request.eye = osg::Vec3f(0.1f, 0.05f, 3.0f);
        request.at = osg::Vec3f(0.1f, 0.05f, 0.0f);
        request.up = osg::Vec3f(0, 1, 0);
        osg::Box box;
        box.extend(osg::Pnt3f(-2, -2, -2));
        box.extend(osg::Pnt3f(2, 2, 2));
        const FramedView view = frameScene(box, request);
        const osg::Transform::Ptr place = osg::Transform::create();
        place->setMatrix(lookAtMatrix(view));
        beacon = osg::Node::create(place, "camera");
        camera->setBeacon(beacon.get());
        camera->setFov(30.0f);
        camera->setNear(view.nearClip);
        camera->setFar(view.farClip);

        settings = Settings::create();
        settings->setInteractiveQualityMode(1);
        settings->setEnvironmentInteractiveQuality(0);
        root->addAttachment(settings.get());
        driver.setScene(root.get());
    }

    /// Red of the middle of the next frame.
    float seen()
    {
        render(16);
        return float(driver.getImage(FrameDriver::Colors::linear).getNormalized(8, 8, 0));
    }
    void render(u32 size)
    {
        FrameSettings frame;
        frame.width = frame.height = size;
        frame.isStill = false;
        frame.renderMode = 0;
        frame.samples = 1;
        frame.threads = 1;
        driver.render(frame, camera.get());
    }

    FrameDriver driver;
    osg::Ref<osg::Node> root = osg::Node::create(nullptr, "root");
    osg::Ref<osg::Node> beacon;
    osg::Ref<osg::UberCamera> camera = osg::UberCamera::create();
    osg::Ref<osg::Geometry> square{makeSquare(0.0f)};
    osg::Ref<Settings> settings;
};

osg::ColorComponent gray(float value)
{
    return osg::ColorComponent(osg::Vec3f(value, value, value));
}

osg::Ref<osg::UPhongMaterial> matte(float value)
{
    const osg::FCPtr<osg::UPhongMaterial> material = osg::UPhongMaterial::create();
    material->setDiffuse(gray(value));
    material->setGlossy(gray(0.0f));
    return osg::Ref<osg::UPhongMaterial>(material);
}

osg::Ref<osg::Image> uniformImage(u8 value)
{
    const osg::Ref<osg::Image> image = osg::Image::create();
    EXPECT_TRUE(image->take(osg::Image::L, 2, 2, std::vector<u8>(4, value), osg::Image::UInt8));
    return image;
}

} // namespace

TEST_F(MaterialEdits, ReachTheNextFrame)
{
    const auto material = matte(0.5f);
    square->setMaterial(material.get());
    EXPECT_NEAR(seen(), 0.5f, 1e-4f);
    material->setDiffuse(gray(0.25f));
    EXPECT_NEAR(seen(), 0.25f, 1e-4f);
    material->setLightingMode(1); // no direct light
    EXPECT_EQ(seen(), 0.0f);
    material->setLightingMode(0);
    material->setIncandescenceActive(true);
    material->setIncandescence(gray(2.0f));
    EXPECT_NEAR(seen(), 2.25f, 1e-4f);
    material->setIncandescenceActive(false);
    material->setTransparencyColor(gray(1.0f));
    EXPECT_EQ(seen(), 0.0f);
    material->setTransparencyColor(gray(0.0f));
    EXPECT_NEAR(seen(), 0.25f, 1e-4f);
    square->setMaterial(matte(0.75f).get());
    EXPECT_NEAR(seen(), 0.75f, 1e-4f);
    square->setMaterial(osg::MaterialPtr());
    EXPECT_GT(seen(), 0.1f); // a material of the renderer
}

// An image belongs to a slot, the slot to a material: an edit below tells of the one above.
TEST_F(MaterialEdits, ReachTheNextFrameThroughTheirParts)
{
    const auto material = matte(1.0f);
    const osg::Ref<osg::UTextureSettings> slot(osg::UTextureSettings::create());
    const auto image = uniformImage(51);
    slot->setGamma(1.0f);
    slot->setImage(image.get());
    slot->setIsActive(true);
    material->setDiffuseTexture(slot.get());
    square->setMaterial(material.get());
    EXPECT_NEAR(seen(), 0.2f, 1e-4f);
    slot->setInvert(true);
    EXPECT_NEAR(seen(), 0.8f, 1e-4f);
    slot->setInvert(false);
    slot->setImage(uniformImage(153).get());
    EXPECT_NEAR(seen(), 0.6f, 1e-4f);
    slot->setIsActive(false);
    EXPECT_NEAR(seen(), 1.0f, 1e-4f);

    const osg::Ref<osg::ChunkMaterial> chunks(osg::ChunkMaterial::create());
    const osg::Ref<osg::MaterialChunk> colors(osg::MaterialChunk::create());
    colors->setDiffuse(osg::Vec3f(0.5f, 0.5f, 0.5f));
    chunks->setChunks({osg::FCPtr<osg::StateChunk>(colors.get())});
    square->setMaterial(chunks.get());
    EXPECT_NEAR(seen(), 0.5f, 1e-4f);
    colors->setDiffuse(osg::Vec3f(0.125f, 0.5f, 0.5f));
    EXPECT_NEAR(seen(), 0.125f, 1e-4f);

    const osg::Ref<osg::SwitchMaterial> choice(osg::SwitchMaterial::create());
    const auto first = matte(0.3f), second = matte(0.4f);
    choice->setMaterials({osg::MaterialPtr(first.get()), osg::MaterialPtr(second.get())});
    square->setMaterial(choice.get());
    EXPECT_NEAR(seen(), 0.3f, 1e-4f);
    choice->setChoice(1);
    EXPECT_NEAR(seen(), 0.4f, 1e-4f);
    second->setDiffuse(gray(0.6f));
    EXPECT_NEAR(seen(), 0.6f, 1e-4f);
}

// A mirror below a shining ceiling shows it with one reflection, and with none what is around.
TEST_F(MaterialEdits, OverrideTheSettingsOfTheSceneUnlessTheseIgnoreThem)
{
    const osg::Ref<osg::UChromeMaterial> mirror(osg::UChromeMaterial::create());
    mirror->setReflection(gray(1.0f));
    mirror->setFresnelTable(255);
    mirror->setReflectance(1.0f);
    mirror->setRoughness(0.0f);
    square->setMaterial(mirror.get());
    const auto lamp = matte(0.0f);
    lamp->setIncandescenceActive(true);
    lamp->setIncandescence(gray(3.0f));
    const osg::Ref<osg::Geometry> ceiling(makeSquare(4.0f));
    ceiling->setMaterial(lamp.get());
    root->addChild(osg::Node::create(ceiling.get(), "ceiling"));
    settings->setInteractiveReflectionDepth(1);
    EXPECT_NEAR(seen(), 3.0f, 1e-3f);
    settings->setInteractiveReflectionDepth(0);
    EXPECT_EQ(seen(), 0.0f);
    mirror->setTraceDepthInteractive(1);
    EXPECT_EQ(seen(), 0.0f);
    mirror->setOverrideTraceDepth(true);
    EXPECT_NEAR(seen(), 3.0f, 1e-3f);
    settings->setIgnoreOverrideTraceDepth(true);
    EXPECT_EQ(seen(), 0.0f);
    settings->setIgnoreOverrideTraceDepth(false);
    EXPECT_NEAR(seen(), 3.0f, 1e-3f);
    settings->setInteractiveReflectionDepth(1);
    mirror->setTraceDepthInteractive(0);
    EXPECT_EQ(seen(), 0.0f);
}

// A clear line, and the frame goes on.
TEST_F(MaterialEdits, GoOnWithValuesThatAreNoNumbers)
{
    const float notANumber = std::nanf("");
    const auto material = matte(0.5f);
    square->setMaterial(material.get());
    material->setDiffuse(gray(notANumber));
    EXPECT_EQ(seen(), 0.0f);
    material->setDiffuse(gray(-1.0f));
    EXPECT_EQ(seen(), 0.0f);
    material->setDiffuse(gray(0.5f));
    material->setRoughness(notANumber);
    EXPECT_NEAR(seen(), 0.5f, 1e-4f);
}

// Kinds replace each other on an object and below a switch.
TEST_F(MaterialEdits, ReplaceKindsByOthers)
{
    const auto first = matte(0.5f);
    square->setMaterial(first.get());
    EXPECT_NEAR(seen(), 0.5f, 1e-4f);
    const osg::Ref<osg::SimpleMaterial> plain(osg::SimpleMaterial::create());
    plain->setDiffuse(osg::Vec3f(0.25f, 0.25f, 0.25f));
    plain->setSpecular(osg::Vec3f(0, 0, 0));
    square->setMaterial(plain.get());
    EXPECT_NEAR(seen(), 0.25f, 1e-4f);
    const osg::Ref<osg::ULightMaterial> lamp(osg::ULightMaterial::create());
    square->setMaterial(lamp.get());
    EXPECT_GT(seen(), 0.9f);
    const osg::Ref<osg::UChromeMaterial> metal(osg::UChromeMaterial::create());
    metal->setRoughness(0.0f);
    square->setMaterial(metal.get());
    EXPECT_EQ(seen(), 0.0f); // nothing around
    const osg::Ref<osg::SwitchMaterial> choice(osg::SwitchMaterial::create());
    choice->setMaterials({osg::MaterialPtr(metal.get()), osg::MaterialPtr(plain.get())});
    square->setMaterial(choice.get());
    EXPECT_EQ(seen(), 0.0f);
    choice->setChoice(1);
    EXPECT_NEAR(seen(), 0.25f, 1e-4f);
    choice->setMaterials({osg::MaterialPtr(first.get()), osg::MaterialPtr(first.get())});
    EXPECT_NEAR(seen(), 0.5f, 1e-4f);
    square->setMaterial(first.get());
    EXPECT_NEAR(seen(), 0.5f, 1e-4f);
}

TEST_F(MaterialEdits, ReachTheNextFrameWhenTexturesComeAndGo)
{
    const auto material = matte(1.0f);
    square->setMaterial(material.get());
    EXPECT_NEAR(seen(), 1.0f, 1e-4f);
    for (int round = 0; round < 3; ++round) {
        {
            const osg::Ref<osg::UTextureSettings> slot(osg::UTextureSettings::create());
            slot->setGamma(1.0f);
            slot->setImage(uniformImage(102).get());
            slot->setIsActive(true);
            material->setDiffuseTexture(slot.get());
        }
        EXPECT_NEAR(seen(), 0.4f, 1e-4f);
        material->setDiffuseTexture(osg::UTextureSettingsPtr());
        EXPECT_NEAR(seen(), 1.0f, 1e-4f);
    }
}

// A mosaic, one tile and one material per pixel of the view.
TEST_F(MaterialEdits, ReachTheNextFrameForAThousandMaterials)
{
    constexpr u32 size = 32, count = size * size;
    root->subChild(root->getChild(0));
    const float half = 3.0f * float(std::tan(15.0 * std::numbers::pi / 180.0));
    const float edge = 2.0f * half / float(size);
    std::vector<osg::Ref<osg::UPhongMaterial>> materials;
    std::vector<osg::Ref<osg::Geometry>> tiles;
    std::vector<osg::NodePtr> nodes;
    const osg::NodePtr mosaic = osg::Node::create(nullptr, "mosaic");
    root->addChild(mosaic);
    for (u32 i = 0; i < count; ++i) {
        materials.push_back(matte(0.0f));
        const float x = 0.1f - half + edge * float(i % size);
        const float y = 0.05f - half + edge * float(i / size);
        tiles.emplace_back(makeSquare(x, y, edge, 0.0f));
        tiles.back()->setMaterial(materials.back().get());
        nodes.push_back(osg::Node::create(tiles.back().get(), "tile"));
        mosaic->addChild(nodes.back());
    }
    const auto expectSeen = [&](std::vector<float> expected) {
        render(size);
        const auto image = driver.getImage(FrameDriver::Colors::linear);
        std::vector<float> values;
        for (u32 i = 0; i < count; ++i)
            values.push_back(float(image.getNormalized(i % size, i / size, 0)));
        std::sort(values.begin(), values.end());
        std::sort(expected.begin(), expected.end());
        double worst = 0.0;
        for (u32 i = 0; i < count; ++i)
            worst = std::max(worst, std::abs(double(values[i] - expected[i])));
        EXPECT_LT(worst, 1e-4);
    };
    std::vector<float> values(count);
    for (const float scale : {1.0f, 0.5f}) {
        for (u32 i = 0; i < count; ++i) {
            values[i] = scale * float(i + 1) / float(count + 1);
            materials[i]->setDiffuse(gray(values[i]));
        }
        expectSeen(values);
    }
    for (u32 i = 0; i < count; i += 2) {
        const osg::Ref<osg::SimpleMaterial> plain(osg::SimpleMaterial::create());
        values[i] = 0.9f;
        plain->setDiffuse(osg::Vec3f(0.9f, 0.9f, 0.9f));
        plain->setSpecular(osg::Vec3f(0, 0, 0));
        tiles[i]->setMaterial(plain.get());
        materials[i] = {};
    }
    expectSeen(values);
    for (u32 i = 1; i < count; i += 2) {
        mosaic->subChild(nodes[i]);
        values[i] = 0.0f;
        materials[i] = {};
    }
    expectSeen(values);
}
