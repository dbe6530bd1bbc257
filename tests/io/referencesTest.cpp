// What a scene may reach by its references: six kinds of them, seventeen names each. Secrets stand
// outside of the scene's folder and in the current directory as files of the right kind, with bytes
// that would be found in the scene if one of them had been read.

#include "host/znLog.h"
#include "io/ImageData.h"
#include "io/InputError.h"
#include "io/imageWriter.h"
#include "io/importerProcess.h"
#include "io/sceneArchive.h"
#include "io/sceneReader.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Bytes that tell a file apart when they turn up in the archive of a scene: twelve of a buffer or
/// of pixels, a number of a material.
std::string markOf(const std::string& suffix, bool isSecret)
{
    if (suffix == ".mtl")
        return isSecret ? "0.734375" : "0.203125";
    return isSecret ? "znSECRETmark" : "znGoodBytes!";
}

struct Kind
{
    const char* name;
    const char* suffix;                         ///< of the file that is referred to
    const char* scene;                          ///< file name of the scene
    std::string (*sceneWith)(std::string name); ///< text of a scene that refers to a file
};

std::string triangleGltf(const std::string& buffer, const std::string& image)
{
    // One triangle, its positions in the buffer, a picture as base colour.
    const nlohmann::json root = {
        {"asset", {{"version", "2.0"}}},
        {"scenes", {{{"nodes", {0}}}}},
        {"nodes", {{{"mesh", 0}}}},
        {"meshes", {{{"primitives", {{{"attributes", {{"POSITION", 0}}}, {"material", 0}}}}}}},
        {"materials", {{{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}}}},
        {"textures", {{{"source", 0}}}},
        {"images", {{{"uri", image}}}},
        {"accessors",
         {{{"bufferView", 0}, {"componentType", 5126}, {"count", 3}, {"type", "VEC3"}}}},
        {"bufferViews", {{{"buffer", 0}, {"byteLength", 36}}}},
        {"buffers", {{{"byteLength", 36}, {"uri", buffer}}}}};
    return root.dump();
}

const std::string triangleObj = "v 0 0 0\nv 2 0 0\nv 0 3 0\nvt 0 0\nf 1/1 2/1 3/1\n";

std::string daeWith(std::string name)
{
    return R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><up_axis>Z_UP</up_axis></asset>
<library_images><image id="i"><init_from>)" +
           name + R"(</init_from></image></library_images>
<library_effects><effect id="e"><profile_COMMON>
<newparam sid="s"><surface type="2D"><init_from>i</init_from></surface></newparam>
<newparam sid="t"><sampler2D><source>s</source></sampler2D></newparam>
<technique sid="c"><phong><diffuse><texture texture="t" texcoord="uv"/></diffuse></phong></technique>
</profile_COMMON></effect></library_effects>
<library_materials><material id="m"><instance_effect url="#e"/></material></library_materials>
<library_geometries><geometry id="g"><mesh>
<source id="p"><float_array id="pa" count="9">0 0 0 2 0 0 0 3 0</float_array>
<technique_common><accessor source="#pa" count="3" stride="3"><param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
<triangles count="1" material="mat"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles>
</mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s"><node id="n"><instance_geometry url="#g"><bind_material><technique_common><instance_material symbol="mat" target="#m"/></technique_common></bind_material></instance_geometry></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene>
</COLLADA>
)";
}

std::string fbxWith(std::string name)
{
    return R"(; FBX 7.4.0 project file
FBXHeaderExtension:  {
  FBXHeaderVersion: 1003
  FBXVersion: 7400
}
GlobalSettings:  {
  Version: 1000
}
Objects:  {
  Geometry: 100, "Geometry::tri", "Mesh" {
    Vertices: *9 {
      a: 0,0,0,2,0,0,0,3,0
    }
    PolygonVertexIndex: *3 {
      a: 0,1,-3
    }
    GeometryVersion: 124
    LayerElementMaterial: 0 {
      MappingInformationType: "AllSame"
      ReferenceInformationType: "IndexToDirect"
      Materials: *1 {
        a: 0
      }
    }
    Layer: 0 {
      LayerElement:  {
        Type: "LayerElementMaterial"
        TypedIndex: 0
      }
    }
  }
  Model: 200, "Model::tri", "Mesh" {
    Version: 232
  }
  Material: 300, "Material::paint", "" {
    Version: 102
    ShadingModel: "phong"
  }
  Texture: 400, "Texture::map", "" {
    Type: "TextureVideoClip"
    FileName: ")" +
           name + R"("
    RelativeFilename: ")" +
           name + R"("
  }
}
Connections:  {
  C: "OO",200,0
  C: "OO",100,200
  C: "OO",300,200
  C: "OP",400,300, "DiffuseColor"
}
)";
}

/// What a failed test prints of its parameter.
void PrintTo(const Kind& kind, std::ostream* out)
{
    *out << kind.name;
}

const Kind kinds[] = {
    {"GltfBuffer", ".bin", "a.gltf", [](std::string n) { return triangleGltf(n, "none.png"); }},
    {"GltfImage", ".png", "a.gltf", [](std::string n) { return triangleGltf("plain.bin", n); }},
    {"ObjMaterials", ".mtl", "a.obj",
     [](std::string n) { return "mtllib " + n + "\nusemtl a\n" + triangleObj; }},
    {"MtlImage", ".png", "a.obj",
     [](std::string) { return "mtllib a.mtl\nusemtl a\n" + triangleObj; }},
    {"ColladaImage", ".png", "a.dae", &daeWith},
    {"FbxImage", ".png", "a.fbx", &fbxWith},
};

/// A file of a kind's type that carries twelve bytes into the scene.
void writeMarked(const std::string& path, const std::string& mark)
{
    if (path.ends_with(".png")) {
        io::ImageData image;
        image.allocate(4, 1, 3, io::ImageData::Type::byte);
        std::memcpy(image.values.data(), mark.data(), 12);
        io::ImageWriteOptions options;
        options.existing = io::OutputFile::Existing::replace;
        io::writeImage(path, image, options);
        return;
    }
    const std::string content =
        path.ends_with(".mtl") ? "newmtl a\nKd " + mark + " 1 0\n" : std::string(24, '\0') + mark;
    std::ofstream(path, std::ios::binary) << content;
}

class References : public testing::TestWithParam<Kind>
{
protected:
    References()
    {
        const std::string suffix = GetParam().suffix;
        std::filesystem::create_directories(folder.path("scene/sub"));
        std::filesystem::create_directories(folder.path("cwd"));
        std::filesystem::create_directories(folder.path("outside"));
        folder.write("scene/plain.bin", std::string(36, '\0'));
        for (const char* secret : {"secret", "outside/secret", "cwd/elsewhere"})
            writeMarked(folder.path(secret + suffix), secretMark());
        for (const char* good : {"scene/A..B", "scene/ok"})
            writeMarked(folder.path(good + suffix), markOf(suffix, false));
        std::filesystem::create_symlink(folder.path("secret" + suffix),
                                        folder.path("scene/link" + suffix));
        std::filesystem::create_symlink(folder.path("outside"), folder.path("scene/linked"));
        ::mkfifo(folder.path("scene/pipe" + suffix).c_str(), 0666);
        before = std::filesystem::current_path();
        std::filesystem::current_path(folder.path("cwd"));
        oldSink = znLog::setSink([this](znLog::Level, const char* text) { said += text; });
    }
    ~References() override
    {
        znLog::setSink(oldSink);
        std::filesystem::current_path(before);
    }

    /// @return the scene as an archive, "" when it is refused; what was said goes into said
    std::string load(const std::string& reference)
    {
        const Kind& kind = GetParam();
        said.clear();
        if (std::string(kind.name) == "MtlImage")
            folder.write("scene/a.mtl", "newmtl a\nmap_Kd " + reference + "\n");
        const std::string path =
            folder.write(std::string("scene/") + kind.scene, kind.sceneWith(reference));
        std::string bytes;
        try {
            const io::SceneFile scene = io::readScene(path);
            io::writeSceneArchive(scene.root.get(), [&](const void* data, std::size_t size) {
                bytes.append(static_cast<const char*>(data), size);
            });
        } catch (const io::InputError& error) {
            said += error.what();
        }
        return bytes;
    }

    static std::string secretMark() { return markOf(GetParam().suffix, true); }
    static bool holds(const std::string& bytes, const std::string& mark)
    {
        return bytes.find(mark) != bytes.npos;
    }

    TemporaryFolder folder;
    std::filesystem::path before;
    znLog::Sink oldSink;
    std::string said;
};

} // namespace

TEST_P(References, EndAtTheFolderOfTheScene)
{
    const Kind& kind = GetParam();
    if (kind.scene != std::string("a.gltf") && io::findImportProgram().empty())
        GTEST_SKIP() << "znimport-assimp was not built";
    const std::string suffix = kind.suffix;
    const std::vector<std::string> refused = {"../../../../../../../../../../etc/passwd",
                                              folder.path("secret" + suffix),
                                              "%2e%2e/secret" + suffix,
                                              "../secret" + suffix,
                                              "file://" + folder.path("secret" + suffix),
                                              "http://127.0.0.1/secret" + suffix,
                                              "link" + suffix,
                                              "linked/secret" + suffix,
                                              "pipe" + suffix,
                                              "/dev/zero",
                                              "/dev/stdin",
                                              "/proc/self/environ",
                                              "sub",
                                              "ok" + suffix + std::string("\0.x", 3),
                                              std::string(4097, 'x') + suffix,
                                              "elsewhere" + suffix};
    for (const std::string& reference : refused) {
        const std::string bytes = load(reference);
        EXPECT_FALSE(holds(bytes, secretMark())) << io::printable(reference);
        EXPECT_FALSE(holds(said, secretMark())) << io::printable(reference) << said;
        EXPECT_EQ(said.find("root:x:"), said.npos) << said;
        // It is told: by an error, or by a warning and a scene without it.
        EXPECT_FALSE(said.empty()) << io::printable(reference);
    }
}

TEST_P(References, ReachFilesAtAndBelowTheFolder)
{
    const Kind& kind = GetParam();
    if (kind.scene != std::string("a.gltf") && io::findImportProgram().empty())
        GTEST_SKIP() << "znimport-assimp was not built";
    const std::string suffix = kind.suffix;
    for (const std::string& reference : {"A..B" + suffix, "sub/../ok" + suffix}) {
        const std::string bytes = load(reference);
        EXPECT_FALSE(bytes.empty()) << reference << said;
        EXPECT_EQ(said.find("refers to '" + reference), said.npos) << said;
        EXPECT_TRUE(holds(bytes, markOf(suffix, false))) << reference << said;
    }
    // Secrets would be found where they should not be: those that are allowed are.
    writeMarked(folder.path("scene/ok" + suffix), secretMark());
    EXPECT_TRUE(holds(load("ok" + suffix), secretMark())) << said;
}

INSTANTIATE_TEST_SUITE_P(OfEveryKind, References, testing::ValuesIn(kinds),
                         [](const auto& info) { return std::string(info.param.name); });
