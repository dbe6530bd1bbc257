// Lights, cameras, surroundings, files and single values of looks.

#include "lookFixture.h"
#include "support/TemporaryFolder.h"

#include "host/osg/EnvironmentAttachment.h"
#include "host/osg/LightProfileAttachment.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "io/LookFields.h"
#include "io/imageWriter.h"
#include "io/sceneArchive.h"

#include <array>
#include <cmath>

using namespace lookTest;

namespace {

class LookObjects : public LookTest
{
protected:
    template <class T>
    osg::FCPtr<T> lightNamed(const char* name)
    {
        for (const io::SceneFile::LightEntry& entry : scene.lights)
            if (entry.name == name)
                return osg::FCPtr<T>::dcast(entry.light);
        return {};
    }
    osg::NodePtr nodeOf(const osg::FCHandle& light)
    {
        for (const io::SceneFile::LightEntry& entry : scene.lights)
            if (entry.light == light)
                return entry.light->getBeacon() ? entry.light->getBeacon() : entry.node;
        return {};
    }
    osg::RaytracingSettingsAttachmentPtr settings()
    {
        return osg::RaytracingSettingsAttachment::getAttachment(root.get());
    }
};

void expectPoint(const osg::Vec3f& a, double x, double y, double z)
{
    EXPECT_NEAR(a[0], x, 1e-6);
    EXPECT_NEAR(a[1], y, 1e-6);
    EXPECT_NEAR(a[2], z, 1e-6);
}

} // namespace

TEST_F(LookObjects, AddLightsOfEveryKind)
{
    for (const osg::FieldContainerType* type : io::concreteTypes(osg::UberLight::getClassType())) {
        const std::string name = type->getName();
        apply(R"({"lights": [{"type": ")" + name + R"(", "name": ")" + name +
              R"(", "position": [1, 2, 3], "intensity": 7}]})");
        const auto made = lightNamed<osg::UberLight>(type->getName());
        ASSERT_TRUE(made) << name;
        EXPECT_EQ(&made->getType(), type);
        EXPECT_EQ(made->getIntensity(), 7.0f);
        expectPoint(nodeOf(made)->getToWorld().getTranslation(), 1, 2, 3);
    }
}

// The light stays, and whatever else the look says: it may get an extent by a later look.
TEST_F(LookObjects, WarnOfLightsWithoutExtent)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"("type": "URectangularLight", "sizeX": 0)",
         "lights[0].sizeX: a light with a sizeX of 0 gives no light"},
        {R"("type": "UDiskLight", "sizeY": 0)",
         "lights[0].sizeY: a light with a sizeY of 0 gives no light"},
        {R"("type": "USphericalLight", "radius": 0)",
         "lights[0].radius: a light with a radius of 0 gives no light"},
    };
    for (const auto& [members, warning] : cases) {
        const LogCatcher log;
        const std::string name = warning;
        apply(R"({"lights": [{"name": ")" + name + "\", " + members + "}]}");
        EXPECT_EQ(log.warnings, "a.zn.json: line 1: " + name + "\n");
        EXPECT_TRUE(lightNamed<osg::UberLight>(name.c_str())) << name;
    }
    const LogCatcher log;
    apply(R"({"lights": [{"type": "UDiskLight", "sizeX": 1e-6}, {"type": "UPointLight"}]})");
    EXPECT_EQ(log.warnings, "");
}

// A light shines along its -z: the third column of its matrix points back from what it looks at.
TEST_F(LookObjects, TurnTowardsAPoint)
{
    apply(
        R"({"lights": [{"type": "USpotLight", "name": "s", "position": [2, 0, 1], "at": [0, 0, 1]}]})");
    const osg::Matrix m = nodeOf(lightNamed<osg::USpotLight>("s"))->getToWorld();
    expectPoint({m[2][0], m[2][1], m[2][2]}, 1, 0, 0);
    expectPoint({m[1][0], m[1][1], m[1][2]}, 0, 0, 1);
}

// Degrees about x, then y, then z: the y axis goes to z and stays there about z.
TEST_F(LookObjects, TurnByAngles)
{
    apply(
        R"({"lights": [{"type": "USpotLight", "name": "s", "rotation": [90, 0, 45], "scale": 2}]})");
    const osg::Matrix m = nodeOf(lightNamed<osg::USpotLight>("s"))->getToWorld();
    expectPoint({m[1][0], m[1][1], m[1][2]}, 0, 0, 2);
    expectPoint({m[0][0], m[0][1], m[0][2]}, std::sqrt(2.0), std::sqrt(2.0), 0);
}

// Files with y up have a turned root; places of a look are the world's all the same.
TEST_F(LookObjects, StandInTheWorldWhateverTheRootDoes)
{
    osg::Matrix turn;
    turn[1] = {0, 0, 1, 0};
    turn[2] = {0, -1, 0, 0};
    const auto transform = osg::Transform::create();
    transform->setMatrix(turn);
    root->setCore(transform);
    apply(R"({"cameras": [{"position": [1, 2, 3], "at": [1, 5, 3]}]})");
    osg::Pnt3f from, at;
    osg::Vec3f up;
    scene.cameras.front().camera->getFromAtUp(from, at, up);
    expectPoint(from, 1, 2, 3);
    expectPoint(at, 1, 3, 3);
    expectPoint(up, 0, 0, 1);
}

TEST_F(LookObjects, ChangeALightByItsName)
{
    apply(R"({"lights": [{"name": "lamp", "intensity": 3, "position": [0, 0, 9]}]})");
    EXPECT_EQ(light->getIntensity(), 3.0f);
    EXPECT_EQ(scene.lights.size(), 1u);
    ASSERT_TRUE(light->getBeacon());
    expectPoint(light->getBeacon()->getToWorld().getTranslation(), 0, 0, 9);
}

TEST_F(LookObjects, ReplaceALightByOneOfAnotherKind)
{
    apply(R"({"lights": [{"name": "lamp", "type": "USphericalLight", "radius": 0.2}]})");
    ASSERT_EQ(scene.lights.size(), 1u);
    const auto ball = lightNamed<osg::USphericalLight>("lamp");
    ASSERT_TRUE(ball);
    EXPECT_EQ(ball->getRadius(), 0.2f);
}

TEST_F(LookObjects, PutTheirCamerasFirst)
{
    apply(R"({"cameras": [{"name": "a", "fov": 20, "tonemappingSettings": {"exposure": 1.5}},
                          {"name": "b"}, {"name": "", "fov": 30}]})");
    ASSERT_EQ(scene.cameras.size(), 4u);
    EXPECT_EQ(scene.cameras[0].name, "a");
    EXPECT_EQ(scene.cameras[1].name, "b");
    const auto a = osg::UberCamera::Ptr::dcast(scene.cameras[0].camera);
    EXPECT_EQ(a->getFov(), 20.0f);
    ASSERT_TRUE(a->getTonemappingSettings());
    EXPECT_EQ(a->getTonemappingSettings()->getExposure(), 1.5f);
    apply(R"({"cameras": [{"name": "a", "fov": 25}]})");
    EXPECT_EQ(scene.cameras.size(), 4u);
    EXPECT_EQ(a->getFov(), 25.0f);
    EXPECT_EQ(a->getTonemappingSettings()->getExposure(), 1.5f);
}

TEST_F(LookObjects, SurroundTheScene)
{
    const TemporaryFolder folder;
    io::ImageData image;
    image.allocate(4, 2, 3, io::ImageData::Type::float32);
    io::writeImage(folder.path("sky.pfm"), image);
    const std::string look = folder.write(
        "a.zn.json", R"({"environment": {"image": "sky.pfm", "intensity": 2, "turn": 90}})");
    io::applyLook(scene, look, {});
    auto attachment = osg::EnvironmentAttachment::getAttachment(root.get());
    ASSERT_TRUE(attachment);
    const auto around =
        osg::FCPtr<osg::USphereEnvironmentMaterial>::dcast(attachment->getMaterial());
    ASSERT_TRUE(around);
    EXPECT_EQ(around->getIntensity(), 2.0f);
    EXPECT_TRUE(around->getUseRotation());
    EXPECT_EQ(around->getImage()->getWidth(), 4u);
    apply(R"({"environment": {"exposure": 1}})");
    EXPECT_EQ(around->getExposure(), 1.0f);
    apply(R"({"environment": {"type": "USkylightMaterial", "turbidity": 4}})");
    EXPECT_TRUE(osg::isKindOf<osg::USkylightMaterial>(attachment->getMaterial()));
    apply(R"({"environment": null})");
    EXPECT_FALSE(osg::EnvironmentAttachment::getAttachment(root.get()));
}

TEST_F(LookObjects, SetRenderSettingsByNameOrNumber)
{
    apply(R"({"settings": {"photonMode": "caustics", "stillFrameQuality": 9, "brdfMode": 0}})");
    EXPECT_EQ(settings()->getPhotonMode(), 3);
    EXPECT_EQ(settings()->getStillFrameQuality(), 9);
    EXPECT_EQ(settings()->getBrdfMode(), 0);
}

TEST_F(LookObjects, SetSingleValuesByAddress)
{
    apply(R"({"set": {"/car/wheel*.visible": false, "/lamp.intensity": 4, "/eye.fov": 33,
        "/ground.castShadows": false, "/lamp.RaytracingLightAttachment.shadowIntensity": 0.25,
        "/car/body.material.roughness": 0.75, "materials.grey.roughness": 0.5,
        "lights.lamp.on": false, "cameras.eye.tonemappingSettings.exposure": 2,
        "settings.photonMode": 1}})");
    EXPECT_TRUE(wheels[0]->isHidden());
    EXPECT_TRUE(wheels[1]->isHidden());
    EXPECT_FALSE(body->isHidden());
    EXPECT_EQ(light->getIntensity(), 4.0f);
    EXPECT_FALSE(light->getOn());
    EXPECT_EQ(camera->getFov(), 33.0f);
    EXPECT_EQ(camera->getTonemappingSettings()->getExposure(), 2.0f);
    EXPECT_FALSE(osg::RaytracingGeoAttachment::getAttachment(ground)->getCastShadows());
    EXPECT_EQ(osg::RaytracingLightAttachment::getAttachment(light.get())->getShadowIntensity(),
              0.25f);
    EXPECT_EQ(osg::UPlasticMaterial::Ptr::dcast(materialOf(body))->getRoughness(), 0.75f);
    EXPECT_EQ(osg::UPlasticMaterial::Ptr::dcast(materialOf(ground))->getRoughness(), 0.5f);
    EXPECT_EQ(settings()->getPhotonMode(), 1);
}

TEST_F(LookObjects, GiveOneObjectAMaterialByItsAddress)
{
    apply(R"({"set": {"/car/wheel#2.material": "lacquer"}})");
    EXPECT_EQ(materialName(wheels[0]), "rubber");
    EXPECT_EQ(materialName(wheels[1]), "lacquer");
}

TEST_F(LookObjects, TakeSettingsFromACommandLine)
{
    set("/car.visible=false");
    set("materials.grey.diffuse=[0.1, 0.2, 0.3]");
    set("materials.rubber.diffuse=#ff0000");
    set("settings.photonMode=indirect");
    EXPECT_TRUE(root->getChild(0)->isHidden());
    const auto diffuse = [](const osg::MaterialPtr& material) {
        return osg::UPlasticMaterial::Ptr::dcast(material)->getDiffuse().color;
    };
    EXPECT_EQ(diffuse(materialOf(ground)), osg::Vec3f(0.1f, 0.2f, 0.3f));
    EXPECT_EQ(diffuse(materialOf(wheels[0])), osg::Vec3f(1, 0, 0));
    EXPECT_EQ(settings()->getPhotonMode(), 1);
    EXPECT_EQ(messageOf([&] { set("materials.gray.roughness=0.5"); }),
              "--set materials.gray.roughness=0.5: there is no material 'gray', perhaps 'grey'");
    EXPECT_EQ(messageOf([&] { set("settings.photonMode"); }),
              "--set settings.photonMode: should have the form PATH.FIELD=VALUE");
    EXPECT_EQ(messageOf([&] { set("/car/bodi.visible=true"); }),
              "--set /car/bodi.visible=true: there is no node '/car/bodi', perhaps '/car/body'");
}

// Names of objects may have dots in them, as modellers give them to copies.
TEST_F(LookObjects, FindNamesWithDots)
{
    osg::setName(body, "body.001");
    osg::setName(materialOf(body), "lacquer.002");
    apply(R"({"set": {"/car/body.001.visible": false, "materials.lacquer.002.roughness": 0.5}})");
    EXPECT_TRUE(body->isHidden());
    EXPECT_EQ(osg::UPlasticMaterial::Ptr::dcast(materialOf(body))->getRoughness(), 0.5f);
}

TEST_F(LookObjects, AreRefusedWithTheReason)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"("lights": [{"type": "USpotLigt"}])",
         "lights[0].type: there is no UberLight 'USpotLigt', perhaps 'USpotLight'"},
        {R"("lights": [{"name": "lmp"}])", "lights[0]: there is no light 'lmp' to change, perhaps "
                                           "'lamp'; a new one needs a \"type\""},
        {R"("lights": [{}])", "lights[0]: needs a \"type\", or the \"name\" of a light to change"},
        {R"("lights": {})", "lights: should be a list of objects, not an object"},
        {R"("lights": [{"type": "UDiskLight", "radius": 1}])",
         "lights[0].radius: UDiskLight has no field 'radius', perhaps 'diffuse'"},
        {R"("lights": [{"name": "lamp", "position": [1, 2]}])",
         "lights[0].position: should be 3 numbers, not 2 numbers"},
        {R"("lights": [{"name": "lamp", "position": [1, 2, 1e300]}])",
         "lights[0].position: is too far away"},
        {R"("lights": [{"name": "lamp", "position": [1, 2, 3], "at": [1, 2, 3]}])",
         "lights[0].at: is where it stands: there is no direction to look into"},
        {R"("lights": [{"name": "lamp", "matrix": [0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0]}])",
         "lights[0].matrix: has no inverse"},
        {R"("lights": [{"name": "lamp", "matrix": [], "at": [0, 0, 0]}])",
         "lights[0].at: cannot stand beside a matrix"},
        {R"("lights": [{"name": "lamp", "scale": 0}])",
         "lights[0].scale: should lie in [1e-9, 1e9]"},
        {R"("cameras": [{"fov": 180}])", "cameras[0].fov: lies outside of [0.001, 179]"},
        {R"("environment": {"intensity": 1})", "environment: needs an \"image\" or a \"type\""},
        {R"("environment": {"type": "UPhongMaterial"})",
         "environment.type: there is no UEnvironmentMaterial 'UPhongMaterial', perhaps "
         "'USkylightMaterial'"},
        {R"("settings": {"photonMood": 1})",
         "settings.photonMood: there is no setting 'photonMood', perhaps 'photonMode'"},
        {R"("settings": {"photonMode": "on"})",
         "settings.photonMode: there is no 'on', perhaps 'off'; there are off, indirect, "
         "indirectAndCaustics, caustics"},
        {R"("set": {"/cart.visible": true})",
         "set./cart.visible: there is no node '/cart', perhaps '/car'"},
        {R"("set": {"/car.visibel": true})",
         "set./car.visibel: Node has no field 'visibel', perhaps 'visible'"},
        {R"("set": {"/car/body.materiel": "grey"})",
         "set./car/body.materiel: Node has no field 'materiel', perhaps 'material'"},
        {R"("set": {"materials.grey": 1})",
         "set.materials.grey: should be set as materials.NAME.FIELD"},
        {R"("set": {"lights.lamp.": 1})", "set.lights.lamp.: should be set as lights.NAME.FIELD"},
        {R"("set": {"/car/body.core": null})",
         "set./car/body.core: Node has no field 'core', perhaps 'lock'"},
        {R"("set": {"/car.visible": 1})",
         "set./car.visible: should be true or false, not a number"},
        {R"("set": {"light.lamp.on": true})",
         "set.light.lamp.on: 'light.lamp.on' is no address: it begins with a slash and the path of "
         "a node, or with materials.NAME, lights.NAME, cameras.NAME, environment.NAME, settings, "
         "perhaps 'lights'"},
        {R"("variant": "red")", "variant: there is no variant 'red'"},
        {R"("asign": [])", "asign: a look has no 'asign', perhaps 'assign'"},
        {R"("assets": [{"file": "a.glb"}])",
         "assets[0].file: names a file, which is not possible here"},
        {R"("assets": [{"unit": "ft"}])", "assets[0].unit: there is no unit 'ft', perhaps 'm'"},
    };
    for (const auto& [member, fault] : cases) {
        std::string look = "{";
        look.append(member).append("}");
        EXPECT_EQ(faultOf(look), std::string("a.zn.json: line 1: ") + fault);
    }
}

TEST_F(LookObjects, ComeThroughAnArchive)
{
    apply(R"({"materials": {"red": {"type": "UPhongMaterial", "diffuse": [1, 0, 0]}},
        "assign": [{"nodes": "/car/wheel", "material": "red"}],
        "lights": [{"type": "UDiskLight", "name": "disk", "sizeX": 0.25}],
        "cameras": [{"name": "front", "position": [0, -4, 1], "at": [0, 0, 0], "fov": 22}],
        "environment": {"type": "USkylightMaterial", "turbidity": 5},
        "settings": {"photonMode": 2}, "set": {"/ground.visible": false}})");
    const TemporaryFolder folder;
    io::writeSceneArchive(root.get(), folder.path("a.zna"));
    const io::SceneFile again = io::readScene(folder.path("a.zna"));
    ASSERT_EQ(again.cameras.size(), 2u);
    EXPECT_EQ(again.cameras[0].name, "front");
    EXPECT_EQ(again.lights.size(), 2u);
    EXPECT_EQ(osg::RaytracingSettingsAttachment::getAttachment(again.root.get())->getPhotonMode(),
              2);
    const auto around = osg::EnvironmentAttachment::getAttachment(again.root.get());
    ASSERT_TRUE(around);
    EXPECT_EQ(osg::FCPtr<osg::USkylightMaterial>::dcast(around->getMaterial())->getTurbidity(),
              5.0f);
    io::SceneFile copy = again;
    io::LookWorld world{copy, nullptr, {}, {}, {}, {}};
    EXPECT_EQ(materialName(world.node("/car/wheel")), "red");
    EXPECT_EQ(materialName(world.node("/car/wheel#2")), "rubber");
    EXPECT_TRUE(world.node("/ground")->isHidden());
}
