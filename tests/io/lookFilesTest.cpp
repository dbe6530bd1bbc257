// Looks as files: what they load, include and refuse, variants, and blocks inside of scene files.

#include "gltfBuilder.h"
#include "lookFixture.h"
#include "support/TemporaryFolder.h"

#include "host/osg/RaytracingSettingsAttachment.h"
#include "io/InputError.h"
#include "io/LookFields.h"
#include "io/imageWriter.h"
#include "scene/variants.h"

#include <fmt/format.h>
#include <fstream>
#include <random>

using namespace lookTest;

namespace {

class LookFiles : public LookTest
{
protected:
    void applyFile(const std::string& name) { io::applyLook(scene, folder.path(name), {}); }
    std::string fileFault(const std::string& name)
    {
        std::string text = messageOf([&] { applyFile(name); });
        for (std::size_t at; (at = text.find(folder.path() + "/")) != text.npos;)
            text.erase(at, folder.path().size() + 1);
        return text;
    }
    void writePicture(const std::string& name)
    {
        io::ImageData image;
        image.allocate(2, 2, 3, io::ImageData::Type::byte);
        io::writeImage(folder.path(name), image);
    }

    TemporaryFolder folder;
};

GltfBuilder oneTriangle()
{
    GltfBuilder builder;
    const int mesh = builder.triangle();
    builder.node({{"mesh", mesh}, {"name", "part"}});
    return builder;
}

} // namespace

TEST_F(LookFiles, LoadTexturesBesideTheLook)
{
    writePicture("a.png");
    folder.write("a.zn.json", R"({"materials": {
        "m": {"type": "UPhongMaterial", "diffuseTexture": "a.png",
              "glossyTexture": {"image": "a.png", "repeat": [4, 2], "wrapS": "clamp"}},
        "n": {"type": "UPhongMaterial", "diffuseTexture": {"repeat": [1, 1]}}}})");
    applyFile("a.zn.json");
    const auto m = made<osg::UPhongMaterial>("m");
    ASSERT_TRUE(m->getDiffuseTexture());
    EXPECT_TRUE(m->getDiffuseTexture()->getIsActive());
    EXPECT_EQ(m->getDiffuseTexture()->getImage()->getWidth(), 2u);
    EXPECT_TRUE(m->getGlossyTexture()->getIsActive());
    EXPECT_EQ(m->getGlossyTexture()->getRepeat(), osg::Vec2f(4, 2));
    EXPECT_EQ(m->getGlossyTexture()->getWrapS(), 3);
    // One file is one image.
    EXPECT_EQ(m->getGlossyTexture()->getImage(), m->getDiffuseTexture()->getImage());
    EXPECT_FALSE(made<osg::UPhongMaterial>("n")->getDiffuseTexture()->getIsActive());
}

// Rows as those of an image that is read alone: the first of the scene is the last of the file.
TEST_F(LookFiles, GiveEachMaterialItsPictureHoweverManyThereAre)
{
    nlohmann::json look;
    for (int i = 0; i < 12; ++i) {
        const std::string name = fmt::format("a{}", i), file = name + ".png";
        io::ImageData image;
        image.allocate(1, 2, 1, io::ImageData::Type::byte);
        image.values = {u8(10 * i), u8(10 * i + 5)};
        io::writeImage(folder.path(file), image);
        nlohmann::json& material = look["materials"][name];
        material["type"] = "UPhongMaterial";
        material["diffuseTexture"] = file;
        if (i % 2)
            material["diffuseTexture"] = {{"image", file}};
    }
    folder.write("a.zn.json", look.dump());
    applyFile("a.zn.json");
    for (int i = 0; i < 12; ++i) {
        const auto material = made<osg::UPhongMaterial>(fmt::format("a{}", i).c_str());
        ASSERT_TRUE(material && material->getDiffuseTexture()) << i;
        const osg::ImagePtr image = material->getDiffuseTexture()->getImage();
        EXPECT_EQ(image->getPixel(0, 1)[0], float(10 * i) / 255.0f);
        EXPECT_EQ(image->getPixel(0, 0)[0], float(10 * i + 5) / 255.0f);
        EXPECT_EQ(image->getColorSpaceGamma(), 2.2f);
        EXPECT_EQ(image->getFileName(), fmt::format("a{}.png", i));
    }
}

TEST_F(LookFiles, SearchAllowedFoldersForFiles)
{
    const TemporaryFolder elsewhere;
    io::ImageData image;
    image.allocate(2, 2, 3, io::ImageData::Type::byte);
    io::writeImage(elsewhere.path("far.png"), image);
    folder.write(
        "a.zn.json",
        R"({"materials": {"m": {"type": "UPhongMaterial", "diffuseTexture": "far.png"}}})");
    EXPECT_EQ(fileFault("a.zn.json"),
              "a.zn.json: line 1: materials.m.diffuseTexture: refers to 'far.png', which is not "
              "there (other folders are searched with -I DIR)");
    io::SceneReadOptions options;
    options.includeFolders = {elsewhere.path()};
    io::applyLook(scene, folder.path("a.zn.json"), options);
    EXPECT_TRUE(made<osg::UPhongMaterial>("m")->getDiffuseTexture()->getImage());
}

TEST_F(LookFiles, RefuseFilesOutsideOfTheirFolder)
{
    for (const char* file :
         {"/etc/passwd", "../../etc/passwd", "http://host/a.png", "file:///etc/passwd"}) {
        folder.write("a.zn.json", R"({"materials": {"m": {"type": "UPhongMaterial",
                                     "diffuseTexture": ")" +
                                      std::string(file) + R"("}}})");
        const std::string fault = fileFault("a.zn.json");
        EXPECT_NE(fault.find("line 2: materials.m.diffuseTexture: refers to '"), fault.npos)
            << fault;
    }
}

TEST_F(LookFiles, TellOfDamagedPictures)
{
    folder.write("a.png", "no picture");
    folder.write("a.zn.json", R"({"environment": {"image": "a.png"}})");
    const std::string fault = fileFault("a.zn.json");
    EXPECT_EQ(fault.find("a.zn.json: line 1: environment.image: a.png: "), 0u) << fault;
    folder.write("b.zn.json", R"({"materials": {"m": {"type": "UPhongMaterial",
                                 "diffuseTexture": "a.png"}}})");
    const std::string second = fileFault("b.zn.json");
    EXPECT_EQ(second.find("b.zn.json: line 2: materials.m.diffuseTexture: a.png: "), 0u) << second;
}

TEST_F(LookFiles, IncludeOthersFirst)
{
    folder.write("base.zn.json", R"({"settings": {"stillFrameQuality": 3, "photonMode": 1}})");
    folder.write("a.zn.json", R"({"settings": {"photonMode": 2}, "include": "base.zn.json"})");
    applyFile("a.zn.json");
    const auto settings = osg::RaytracingSettingsAttachment::getAttachment(root.get());
    EXPECT_EQ(settings->getStillFrameQuality(), 3);
    EXPECT_EQ(settings->getPhotonMode(), 2);
}

TEST_F(LookFiles, RefuseToIncludeThemselves)
{
    folder.write("a.zn.json", R"({"include": ["b.zn.json"]})");
    folder.write("b.zn.json", R"({"include": "a.zn.json"})");
    EXPECT_EQ(fileFault("a.zn.json"), "a.zn.json: is a look that includes itself");
}

TEST_F(LookFiles, RefuseToIncludeTooDeeply)
{
    for (int i = 0; i < 18; ++i)
        folder.write(std::to_string(i) + ".zn.json",
                     R"({"include": ")" + std::to_string(i + 1) + R"(.zn.json"})");
    folder.write("18.zn.json", "{}");
    EXPECT_EQ(fileFault("0.zn.json"),
              "16.zn.json: line 1: include: looks include each other deeper than the limit of 16 "
              "(--limit look-includes=N)");
}

// 40 includes of 40 includes would be 1,600 looks, a further level 64,000.
TEST_F(LookFiles, RefuseToMultiply)
{
    folder.write("leaf.zn.json", "{}");
    std::string many = "\"leaf.zn.json\"";
    for (int i = 1; i < 40; ++i)
        many += ", \"leaf.zn.json\"";
    folder.write("middle.zn.json", "{\"include\": [" + many + "]}");
    std::string middles = "\"middle.zn.json\"";
    for (int i = 1; i < 40; ++i)
        middles += ", \"middle.zn.json\"";
    folder.write("a.zn.json", "{\"include\": [" + middles + "]}");
    const std::string fault = fileFault("a.zn.json");
    EXPECT_NE(fault.find("more than 1000 looks are included"), fault.npos) << fault;
}

TEST_F(LookFiles, BringScenesOfTheirOwn)
{
    folder.write("car.gltf", oneTriangle().text());
    folder.write("a.zn.json", R"({"assets": [
        {"file": "car.gltf"}, {"file": "car.gltf", "name": "second", "position": [0, 0, 5]}],
        "materials": {"m": {"type": "UPhongMaterial"}},
        "assign": [{"nodes": "/second/**", "material": "m"}]})");
    io::SceneFile fresh;
    io::applyLook(fresh, folder.path("a.zn.json"), {});
    ASSERT_EQ(fresh.root->getNChildren(), 2u);
    EXPECT_EQ(osg::getName(fresh.root->getChild(0)), "car");
    EXPECT_EQ(osg::getName(fresh.root->getChild(1)), "second");
    const osg::Box first = fresh.root->getChild(0)->getWorldBox();
    const osg::Box second = fresh.root->getChild(1)->getWorldBox();
    EXPECT_NEAR(second.minimum[2], first.minimum[2] + 5.0f, 1e-6f);
    EXPECT_NEAR(second.maximum[0], first.maximum[0], 1e-6f);
    EXPECT_EQ(fresh.looks.assignments.size(), 1u);
}

TEST_F(LookFiles, ApplyTheBlockOfASceneFile)
{
    GltfBuilder builder = oneTriangle();
    builder.root["extras"]["zn"] = {{"settings", {{"photonMode", 1}}},
                                    {"cameras", {{{"name", "block"}}}}};
    folder.write("a.gltf", builder.text());
    const io::SceneFile read = io::readScene(folder.path("a.gltf"));
    ASSERT_FALSE(read.cameras.empty());
    EXPECT_EQ(read.cameras.front().name, "block");
    EXPECT_EQ(osg::RaytracingSettingsAttachment::getAttachment(read.root.get())->getPhotonMode(),
              1);
    builder.root["extras"]["zn"] = {{"settings", {{"photonMod", 1}}}};
    folder.write("b.gltf", builder.text());
    EXPECT_EQ(messageOf([&] { io::readScene(folder.path("b.gltf")); }),
              folder.path("b.gltf") + ", extras.zn: settings.photonMod: there is no setting "
                                      "'photonMod', perhaps 'photonMode'");
    builder.root["extras"]["zn"] = {{"assets", {{{"file", "b.gltf"}}}}};
    folder.write("c.gltf", builder.text());
    EXPECT_EQ(messageOf([&] { io::readScene(folder.path("c.gltf")); }),
              folder.path("c.gltf") + ", extras.zn: assets: a look inside of a scene file names no "
                                      "further scenes and looks");
}

TEST_F(LookFiles, ChooseVariants)
{
    const osg::Ref<osg::SwitchMaterial> paint = osg::SwitchMaterial::create();
    paint->setMaterials({makePlastic("matt").get(), makePlastic("shiny").get()});
    scene::setVariants(paint.get(), {"matt", "shiny"});
    osg::Geometry::Ptr::dcast(body->getCore())->setMaterial(paint.get());
    EXPECT_EQ(scene::findVariants(root.get()), (std::vector<std::string>{"matt", "shiny"}));
    apply(R"({"variant": "shiny"})");
    EXPECT_EQ(paint->getChoice(), 1);
    io::applyVariant(scene, "matt");
    EXPECT_EQ(paint->getChoice(), 0);
    EXPECT_EQ(messageOf([&] { io::applyVariant(scene, "shinny"); }),
              "--variant shinny: there is no such variant, perhaps 'shiny'; there are matt, shiny");
}

TEST_F(LookFiles, TellOfBrokenText)
{
    const std::pair<std::string, const char*> cases[] = {
        {"{\n\"set\": {},\n}", "JSON, line 3, column 1: "},
        {"", "JSON, line 1, column 0: "},
        {"[]", "line 1: a look is an object, not a list"},
        {"{\"set\": {}} x", "JSON, line 1, column 13: "},
        {"{\n\n\"set\": {},\n\"set\": {}}", "JSON, line 4, column 7: the key 'set' stands twice"},
        {"{\"settings\": {\"photonMode\": NaN}}", "JSON, line 1, column 29: "},
        {"{\"settings\": {\"photonMode\": 1e999}}", "JSON, line 1, column 33: number overflow"},
        {"{\"set\": {\"\xff\": 1}}", "JSON, line 1, column 11: "},
        {"{\"a\": " + std::string(100000, '['), "JSON, line 1, column 262: nested deeper than"},
        {"{/*\"*/\"a\": " + std::string(100000, '['),
         "JSON, line 1, column 267: nested deeper than"},
    };
    for (const auto& [text, fault] : cases) {
        const std::string message = faultOf(text);
        EXPECT_EQ(message.find("a.zn.json: " + std::string(fault)), 0u) << message;
        EXPECT_EQ(message.find('\n'), message.npos);
    }
}

TEST_F(LookFiles, MayHaveComments)
{
    apply("// first line\n{ /* no set yet */ \"settings\": {\"photonMode\": 2 // caustics too\n}}");
    EXPECT_EQ(osg::RaytracingSettingsAttachment::getAttachment(root.get())->getPhotonMode(), 2);
}

TEST_F(LookFiles, AreRefusedAboveTheirSize)
{
    io::SceneReadOptions options;
    options.limits.lookSize = 100;
    folder.write("a.zn.json", "{}" + std::string(200, ' '));
    EXPECT_EQ(messageOf([&] { io::applyLook(scene, folder.path("a.zn.json"), options); }),
              folder.path("a.zn.json") +
                  ": bytes of a look: 202 is above the limit of 100 (--limit look-size=N)");
}

// Bytes changed, left out and doubled: a result, or one line. Seeds are fixed.
TEST_F(LookFiles, AnswerDamagedText)
{
    const LogCatcher log;
    std::ifstream stream(std::string(ZN_SOURCE_DIR) + "/examples/studio.zn.json");
    const std::string whole(std::istreambuf_iterator<char>(stream), {});
    std::minstd_rand random(7);
    for (int i = 0; i < 1500; ++i) {
        std::string text = whole;
        for (int edits = 1 + int(random() % 3); edits > 0; --edits) {
            const std::size_t at = random() % text.size(), size = random() % 40;
            switch (random() % 3) {
            case 0:
                text[at] = char(random());
                break;
            case 1:
                text.erase(at, size);
                break;
            default:
                text.insert(random() % text.size(), text.substr(at, size));
            }
        }
        io::SceneFile fresh;
        try {
            io::applyLookText(fresh, text, "a.zn.json", nullptr, {});
        } catch (const io::InputError& error) {
            ASSERT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        }
    }
}
