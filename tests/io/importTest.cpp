#include "io/importerProcess.h"

#include "fbxBuilder.h"
#include "host/osg/Geometry.h"
#include "host/osg/UTextureSettings.h"
#include "host/osg/materials/lobeMaterials.h"
#include "host/osg/nodeCores.h"
#include "host/znLog.h"
#include "io/ImageData.h"
#include "io/InputError.h"
#include "io/imageWriter.h"
#include "support/TemporaryFolder.h"
#include "support/messageOf.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <linux/landlock.h>
#include <random>
#include <sys/syscall.h>
#include <unistd.h>

using io::importScene;

namespace {

const std::filesystem::path dataFolder =
    std::filesystem::path(ZN_SOURCE_DIR) / ".." / "shared" / "data";

/// Keeps what the log gets instead of printing it.
class LogLines
{
public:
    LogLines()
        : m_before(znLog::setSink([this](znLog::Level level, const char* text) {
              if (level != znLog::Level::info)
                  all += std::string(text) + "\n";
          }))
    {
    }
    ~LogLines() { znLog::setSink(m_before); }
    bool has(const std::string& part) const { return all.find(part) != all.npos; }
    std::string all;

private:
    znLog::Sink m_before;
};

struct Import : testing::Test
{
    void SetUp() override
    {
        if (io::findImportProgram().empty())
            GTEST_SKIP() << "znimport-assimp was not built";
    }

    osg::NodePtr load(const std::string& path, const std::vector<std::string>& folders = {},
                      const io::Limits& limits = {})
    {
        scene = importScene(path, folders, limits);
        return osg::NodePtr::dcast(scene.get());
    }
    std::string refusal(const std::string& path, const io::Limits& limits = {})
    {
        const std::string text = messageOf([&] { importScene(path, {}, limits); });
        EXPECT_EQ(text.rfind(io::printable(path) + ": ", 0), 0u) << text;
        for (const char c : text)
            EXPECT_GE(static_cast<unsigned char>(c), 0x20);
        return text;
    }

    TemporaryFolder folder;
    LogLines log;
    osg::Ref<osg::FieldContainer> scene;
};

/// All geometries of a tree with their nodes.
std::vector<std::pair<osg::NodePtr, osg::GeometryPtr>> geometriesOf(const osg::NodePtr& root)
{
    std::vector<std::pair<osg::NodePtr, osg::GeometryPtr>> result;
    osg::traverse(root, [&](const osg::NodePtr& node) {
        if (const auto geometry = osg::GeometryPtr::dcast(node->getCore()))
            result.push_back({node, geometry});
        return true;
    });
    return result;
}

struct Content
{
    u64 triangles = 0;
    double area = 0;
    osg::Box box;
};

/// Triangles, their area in world space, and the box of all.
Content contentOf(const osg::NodePtr& root)
{
    Content content;
    for (const auto& [node, geometry] : geometriesOf(root)) {
        if (geometry->getTypes() != std::vector<u32>{osg::Geometry::triangles})
            continue;
        const auto toWorld = node->getToWorld();
        const u32 count = geometry->getIndices()->size();
        for (u32 i = 0; i + 2 < count; i += 3) {
            double p[3][3];
            for (u32 k = 0; k < 3; ++k) {
                const osg::Vec3f v =
                    geometry->getPositions()->getVec3(geometry->getIndices()->getValue(i + k));
                for (int row = 0; row < 3; ++row)
                    p[k][row] = double(toWorld[0][row]) * v[0] + double(toWorld[1][row]) * v[1] +
                                double(toWorld[2][row]) * v[2] + toWorld[3][row];
                content.box.extend(osg::Pnt3f(float(p[k][0]), float(p[k][1]), float(p[k][2])));
            }
            double cross[3];
            for (int a = 0; a < 3; ++a) {
                const int b = (a + 1) % 3, c = (a + 2) % 3;
                cross[a] = (p[1][b] - p[0][b]) * (p[2][c] - p[0][c]) -
                           (p[1][c] - p[0][c]) * (p[2][b] - p[0][b]);
            }
            content.area +=
                std::sqrt(cross[0] * cross[0] + cross[1] * cross[1] + cross[2] * cross[2]) / 2;
            ++content.triangles;
        }
    }
    return content;
}

osg::FCPtr<osg::UPhongMaterial> materialOf(const osg::GeometryPtr& geometry)
{
    return osg::FCPtr<osg::UPhongMaterial>::dcast(geometry->getMaterial());
}

std::string replaced(std::string text, const std::string& what, const std::string& by)
{
    const std::size_t at = text.find(what);
    return at == text.npos ? text : text.replace(at, what.size(), by);
}

/// A triangle of 2 x 3 inches, moved by 10 along z.
const char* const fbxText = R"(; FBX 7.4.0 project file
FBXHeaderExtension:  {
  FBXHeaderVersion: 1003
  FBXVersion: 7400
}
GlobalSettings:  {
  Version: 1000
  Properties70:  {
    P: "UpAxis", "int", "Integer", "",@UP
    P: "UpAxisSign", "int", "Integer", "",1
    P: "FrontAxis", "int", "Integer", "",@FRONT
    P: "FrontAxisSign", "int", "Integer", "",@SIGN
    P: "CoordAxis", "int", "Integer", "",0
    P: "CoordAxisSign", "int", "Integer", "",1
    P: "UnitScaleFactor", "double", "Number", "",2.54
  }
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
  }
  Model: 200, "Model::tri", "Mesh" {
    Version: 232
    Properties70:  {
      P: "Lcl Translation", "Lcl Translation", "", "A",0,0,10
    }
  }
}
Connections:  {
  C: "OO",200,0
  C: "OO",100,200
}
)";

const char* const daeText = R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit name="cm" meter="0.01"/><up_axis>Z_UP</up_axis></asset>
<library_geometries><geometry id="g"><mesh>
<source id="p"><float_array id="pa" count="9">0 0 0 2 0 0 0 3 0</float_array>
<technique_common><accessor source="#pa" count="3" stride="3"><param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
<triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles>
</mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s"><node id="n"><instance_geometry url="#g"/></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene>
</COLLADA>
)";

const std::string triangleObj = "v 0 0 0\nv 2 0 0\nv 0 3 0\nf 1 2 3\n";

} // namespace

TEST_F(Import, TurnsObjUpright)
{
    const osg::NodePtr root = load(folder.write("flag.obj", triangleObj));
    ASSERT_TRUE(root);
    EXPECT_EQ(osg::getName(root), "flag.obj");
    const Content content = contentOf(root);
    EXPECT_EQ(content.triangles, 1u);
    EXPECT_NEAR(content.area, 3.0, 1e-6);
    EXPECT_EQ(content.box.maximum, osg::Pnt3f(2, 0, 3)); // what was up along y is up along z
    EXPECT_EQ(log.all, "");
}

TEST_F(Import, KeepsStlAsItStands)
{
    std::string stl(80, ' ');
    const u32 count = 1;
    const float values[12] = {0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0};
    stl.append(reinterpret_cast<const char*>(&count), 4);
    stl.append(reinterpret_cast<const char*>(values), sizeof(values));
    stl.append(2, '\0');
    const Content content = contentOf(load(folder.write("part.stl", stl)));
    EXPECT_EQ(content.triangles, 1u);
    EXPECT_EQ(content.box.maximum, osg::Pnt3f(2, 3, 0));
}

// OBJ, PLY and STL do not say what is up and how long a unit is; the user does.
TEST_F(Import, TakesAxisAndUnitFromTheUserWhereTheFormatHasNone)
{
    const std::string path = folder.write("flag.obj", triangleObj);
    const auto boxWith = [&](char up, double metres) {
        scene = importScene(path, {}, {}, {up, metres});
        return contentOf(osg::NodePtr::dcast(scene.get())).box;
    };
    EXPECT_EQ(boxWith('z', 0.0).maximum, osg::Pnt3f(2, 3, 0));
    EXPECT_EQ(boxWith('y', 0.0).maximum, osg::Pnt3f(2, 0, 3));
    const osg::Box inches = boxWith('z', 0.0254);
    EXPECT_NEAR(inches.maximum[0], 2 * 0.0254f, 1e-7f);
    EXPECT_NEAR(inches.maximum[1], 3 * 0.0254f, 1e-7f);
    // FBX states both.
    const std::string fbx = folder.write(
        "a.fbx", replaced(replaced(replaced(fbxText, "@UP", "2"), "@FRONT", "1"), "@SIGN", "-1"));
    const osg::Box own = contentOf(load(fbx)).box;
    scene = importScene(fbx, {}, {}, {'y', 1.0});
    EXPECT_EQ(contentOf(osg::NodePtr::dcast(scene.get())).box.maximum, own.maximum);
}

// The triangle lies in the plane of x and y, ten above zero in z.
TEST_F(Import, TakesAxesAndUnitOfFbxFromTheFile)
{
    const auto boxWith = [&](const char* up, const char* front, const char* sign) {
        std::string text = replaced(fbxText, "@UP", up);
        text = replaced(replaced(text, "@FRONT", front), "@SIGN", sign);
        return contentOf(load(folder.write("a.fbx", text))).box;
    };
    const float inch = 0.0254f;
    const auto expectCorner = [&](const osg::Box& box, float x, float y, float z) {
        EXPECT_NEAR(box.maximum[0], x * inch, 1e-6f);
        EXPECT_NEAR(box.maximum[1], y * inch, 1e-6f);
        EXPECT_NEAR(box.maximum[2], z * inch, 1e-6f);
    };
    expectCorner(boxWith("2", "1", "-1"), 2, 3, 10); // z up
    expectCorner(boxWith("1", "2", "1"), 2, -10, 3); // y up
    EXPECT_EQ(log.all, "");
    expectCorner(boxWith("1", "2", "-1"), 2, -10, 3); // left-handed
    EXPECT_TRUE(log.has("not a right-handed set"));
    expectCorner(boxWith("7", "7", "0"), 2, -10, 3);
}

TEST_F(Import, ReadsBinaryFbx)
{
    for (const bool isDeflated : {false, true}) {
        const Content content = contentOf(load(folder.write("a.fbx", fbx::triangle(isDeflated))));
        EXPECT_EQ(content.triangles, 1u);
        const float inch = 0.0254f;
        EXPECT_NEAR(content.box.maximum[0], 2 * inch, 1e-6f);
        EXPECT_NEAR(content.box.maximum[1], 3 * inch, 1e-6f);
        EXPECT_NEAR(content.box.maximum[2], 10 * inch, 1e-6f);
    }
    EXPECT_EQ(log.all, "");
}

// Offsets, counts and packed arrays are followed by the import library; whatever it makes of them,
// here there is a scene or one line.
TEST_F(Import, SurvivesDamagedBinaryFbx)
{
    const std::string whole = fbx::triangle(true);
    std::mt19937 random(3);
    int refused = 0;
    for (int round = 0; round < 60; ++round) {
        std::string bytes = whole;
        if (round % 3 == 0)
            bytes.resize(random() % bytes.size());
        else
            for (int k = 0; k < 3; ++k)
                bytes[27 + random() % (bytes.size() - 27)] = char(round % 3 == 1 ? random() : 255);
        const std::string path = folder.write("damaged.fbx", bytes);
        io::Limits limits;
        limits.importSeconds = 4;
        const std::string text = messageOf([&] { importScene(path, {}, limits); });
        refused += text.rfind(path + ": ", 0) == 0;
        EXPECT_TRUE(text == "(nothing thrown)" || text.rfind(path + ": ", 0) == 0) << text;
        EXPECT_EQ(text.find('\n'), text.npos);
    }
    EXPECT_GT(refused, 20);
}

// The import library never comes back from this file of a kilobyte.
TEST_F(Import, GivesUpOnSmallFilesThatTakeLong)
{
    const std::string text = refusal(ZN_SOURCE_DIR "/tests/io/endless.fbx");
    EXPECT_NE(text.find("takes longer than 10 s to import, which is long for its size"), text.npos)
        << text;
}

TEST_F(Import, TakesAxesAndUnitOfColladaFromTheFile)
{
    const osg::Box centimetres = contentOf(load(folder.write("a.dae", daeText))).box;
    EXPECT_NEAR(centimetres.maximum[0], 0.02f, 1e-6f);
    EXPECT_NEAR(centimetres.maximum[1], 0.03f, 1e-6f);
    EXPECT_NEAR(centimetres.maximum[2], 0.0f, 1e-6f);
    const std::string yUp = replaced(replaced(daeText, "Z_UP", "Y_UP"), "0.01", "1");
    const osg::Box metres = contentOf(load(folder.write("b.dae", yUp))).box;
    EXPECT_NEAR(metres.maximum[0], 2.0f, 1e-5f);
    EXPECT_NEAR(metres.maximum[2], 3.0f, 1e-5f);
}

TEST_F(Import, ReadsPlyWithColorsAndQuads)
{
    const std::string ply = "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\n"
                            "property float y\nproperty float z\nproperty uchar red\n"
                            "property uchar green\nproperty uchar blue\nelement face 1\n"
                            "property list uchar int vertex_indices\nend_header\n"
                            "0 0 0 255 0 0\n1 0 0 0 255 0\n1 1 0 0 0 255\n0 1 0 255 255 255\n"
                            "4 0 1 2 3\n";
    const osg::NodePtr root = load(folder.write("quad.PLY", ply));
    EXPECT_EQ(contentOf(root).triangles, 2u);
    EXPECT_NEAR(contentOf(root).area, 1.0, 1e-6);
    const auto geometries = geometriesOf(root);
    ASSERT_EQ(geometries.size(), 1u);
    ASSERT_TRUE(geometries[0].second->getColors());
    EXPECT_EQ(geometries[0].second->getColors()->getVector(1), osg::Vec4f(0, 1, 0, 1));
    EXPECT_FALSE(geometries[0].second->getBakedColors());
}

TEST_F(Import, ReadsMaterialsAndTextures)
{
    io::ImageData image;
    image.allocate(2, 2, 3, io::ImageData::Type::byte);
    image.values = {255, 0, 0, 0, 255, 0, 0, 0, 255, 9, 8, 7}; // the last row is the lower one
    io::writeImage(folder.path("wood.png"), image);
    folder.write(
        "all.mtl",
        "newmtl paint\nKd 0.5 0.25 0.125\nKs 0.04 0.04 0.04\nNs 400\nd 0.75\n"
        "map_Kd -s 2 4 1 -o 0.25 0 0 wood.png\nbump -bm 0.5 wood.png\nnewmtl lamp\nKe 17 12 4\n");
    const osg::NodePtr root =
        load(folder.write("a.obj", "mtllib all.mtl\nvt 0 0\nvt 1 0\nvt 0 1\nusemtl paint\n"
                                   "v 0 0 0\nv 2 0 0\nv 0 3 0\nf 1/1 2/2 3/3\nusemtl lamp\n"
                                   "v 0 0 1\nv 2 0 1\nv 0 3 1\nf 4/1 5/2 6/3\n"));
    const auto geometries = geometriesOf(root);
    ASSERT_EQ(geometries.size(), 2u);
    const auto paint = materialOf(geometries[0].second);
    const auto lamp = materialOf(geometries[1].second);
    ASSERT_TRUE(paint && lamp);
    EXPECT_EQ(osg::getName(paint), "paint");
    EXPECT_EQ(paint->getDiffuse().color, osg::Vec3f(0.5f, 0.25f, 0.125f));
    EXPECT_NEAR(paint->getRoughness(), 0.05f, 1e-6f); // 1 / sqrt(400)
    EXPECT_NEAR(paint->getTransparencyColor().color[0], 0.25f, 1e-6f);
    EXPECT_TRUE(lamp->getIncandescenceActive());
    EXPECT_EQ(lamp->getIncandescence().color, osg::Vec3f(17, 12, 4));
    EXPECT_FALSE(paint->getIncandescenceActive());

    const auto slot = paint->getDiffuseTexture();
    ASSERT_TRUE(slot && slot->getImage());
    EXPECT_TRUE(slot->getIsActive());
    EXPECT_EQ(slot->getImage()->getPixel(1, 0), osg::Vec4f(9 / 255.0f, 8 / 255.0f, 7 / 255.0f, 1));
    // A corner u = 0.5 lands at 2 * 0.5 + 0.25 in the file's terms.
    const float repeat = slot->getRepeat()[0], offset = slot->getOffset()[0];
    EXPECT_NEAR(repeat * (0.5f - 0.5f - offset) + 0.5f, 1.25f, 1e-6f);
    EXPECT_EQ(slot->getRepeat()[1], 4.0f);
    ASSERT_TRUE(paint->getBumpTexture());
    EXPECT_EQ(paint->getBumpTexture()->getGamma(), 1.0f);
    EXPECT_EQ(paint->getBumpAmplitude(), 0.5f);
    EXPECT_EQ(log.all, "");
}

TEST_F(Import, FollowsNoReferenceOutOfItsFolder)
{
    folder.write("secret.mtl", "newmtl paint\nKd 1 0 0\n");
    folder.write("secret.png", "root:x:0:0");
    folder.write("scene/in.mtl",
                 "newmtl paint\nKd 0 1 0\nmap_Kd ../secret.png\nnewmtl other\nmap_Kd /etc/passwd\n"
                 "newmtl third\nmap_Kd http://example.org/a.png\n");
    const auto objWith = [&](const std::string& library) {
        return folder.write("scene/a.obj", "mtllib " + library + "\n" + "usemtl paint\n" +
                                               triangleObj + "usemtl other\nf 1 2 3\n" +
                                               "usemtl third\nf 1 2 3\n");
    };
    for (const char* library : {"../secret.mtl", "/etc/passwd", "sub/../../secret.mtl"}) {
        log.all.clear();
        EXPECT_TRUE(load(objWith(library)));
        EXPECT_TRUE(log.has("-I DIR")) << library << log.all;
        EXPECT_FALSE(log.has("root:"));
        for (const auto& [node, geometry] : geometriesOf(osg::NodePtr::dcast(scene.get())))
            EXPECT_NE(materialOf(geometry)->getDiffuse().color, osg::Vec3f(1, 0, 0));
    }
    log.all.clear();
    EXPECT_TRUE(load(objWith("in.mtl")));
    EXPECT_TRUE(log.has("'../secret.png', which lies outside"));
    EXPECT_TRUE(log.has("'/etc/passwd'"));
    EXPECT_TRUE(log.has("'http:' addresses are not followed")) << log.all;
    // With the folder allowed, the picture is found, and is none.
    log.all.clear();
    EXPECT_TRUE(load(objWith("in.mtl"), {folder.path()}));
    EXPECT_TRUE(log.has("secret.png: is no image")) << log.all;
}

TEST_F(Import, LeavesOutMeshesThatCannotBe)
{
    const osg::NodePtr root = load(folder.write(
        "a.obj", "o good\n" + triangleObj + "o bad\nv nan 0 0\nv 1 1 1\nv 2 0 inf\nf 4 5 6\n"));
    ASSERT_TRUE(root);
    EXPECT_EQ(contentOf(root).triangles, 1u);
    EXPECT_TRUE(log.has("no finite numbers")) << log.all;
    const std::string text =
        refusal(folder.write("b.obj", "v 0 0 0\nv 1 0 0\nf 1 2 99999999\nf 4294967295 1 2\n"));
    EXPECT_NE(text, "(nothing thrown)");
}

TEST_F(Import, TellsWhatItCannotRead)
{
    EXPECT_NE(refusal(folder.path("none.obj")).find("No such file"), std::string::npos);
    EXPECT_NE(refusal(folder.path()).find("is a folder"), std::string::npos);
    for (const char* name : {"empty.obj", "empty.ply", "empty.stl", "empty.fbx", "empty.dae"})
        EXPECT_NE(refusal(folder.write(name, "")), "(nothing thrown)");
    for (const char* name : {"text.obj", "text.ply", "text.stl", "text.fbx", "text.dae"})
        EXPECT_NE(refusal(folder.write(name, "hello\nworld\n")), "(nothing thrown)");
    // A file of another format under a known name is not handed to other readers.
    EXPECT_NE(refusal(folder.write("lwo.obj", "FORM\0\0\0\4LWO2")), "(nothing thrown)");
}

// The import library would read this header for ever.
TEST_F(Import, NamesTheLineOfADamagedPlyHeader)
{
    const std::string header = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n";
    EXPECT_NE(refusal(folder.write("a.ply", header + "propurty float y\nend_header\n0 0\n"))
                  .find("damaged PLY: line 5 of the header"),
              std::string::npos);
    EXPECT_NE(refusal(folder.write("b.ply", header)).find("no end"), std::string::npos);
}

// The import library takes what is missing for zeros or leaves it out without a word.
TEST_F(Import, RefusesPlyFilesThatEndBeforeTheirLastElement)
{
    const auto header = [](const char* format) {
        return std::string("ply\nformat ") + format +
               " 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
               "element face 1\nproperty list uchar int vertex_indices\nend_header\n";
    };
    const std::string text = header("ascii") + "0 0 0\n2 0 0\n0 3 0\n3 0 1 2\n";
    EXPECT_EQ(contentOf(load(folder.write("whole.ply", text))).triangles, 1u);
    EXPECT_EQ(contentOf(load(folder.write("open.ply", text.substr(0, text.size() - 1)))).triangles,
              1u);
    const std::size_t lastLine = text.rfind("3 0 1 2");
    EXPECT_TRUE(refusal(folder.write("cut.ply", text.substr(0, lastLine)))
                    .ends_with("damaged PLY: ends after 3 of 4 elements"));

    for (const bool isBig : {false, true}) {
        std::string bytes = header(isBig ? "binary_big_endian" : "binary_little_endian");
        const auto add = [&](u32 word) {
            for (int i = 0; i < 4; ++i)
                bytes += char(word >> 8 * (isBig ? 3 - i : i));
        };
        for (const float value : {0.0f, 0.0f, 0.0f, 2.0f, 0.0f, 0.0f, 0.0f, 3.0f, 0.0f})
            add(std::bit_cast<u32>(value));
        const std::size_t listAt = bytes.size();
        bytes += '\3';
        for (const u32 index : {0u, 1u, 2u})
            add(index);
        EXPECT_EQ(contentOf(load(folder.write("whole.ply", bytes))).triangles, 1u);
        for (const std::size_t cut : {bytes.size() - 1, listAt, listAt - 1, listAt - 36})
            EXPECT_NE(refusal(folder.write("cut.ply", bytes.substr(0, cut))).find("ends too early"),
                      std::string::npos)
                << cut;
        bytes[listAt] = '\377';
        EXPECT_NE(refusal(folder.write("long.ply", bytes)).find("ends too early"),
                  std::string::npos);
    }
}

TEST_F(Import, TakesHostileNames)
{
    for (const std::string name : {"-I.obj", "a b\xe2\x9d\xa4.obj", "a%20b.obj", "new\nline.obj",
                                   "esc\x1b[31m.obj", "bad\xff.obj", "--.obj"}) {
        const std::string path = folder.write(name, triangleObj);
        EXPECT_TRUE(load(path)) << io::printable(name);
        EXPECT_EQ(osg::getName(osg::NodePtr::dcast(scene.get())), name);
        refusal(folder.write(name, "nothing"));
    }
    const std::string before = std::filesystem::current_path();
    folder.write("-I.obj", triangleObj);
    std::filesystem::current_path(folder.path());
    EXPECT_TRUE(load("-I.obj"));
    std::filesystem::current_path(before);
}

TEST_F(Import, KeepsToItsLimits)
{
    const std::string path = folder.write("a.obj", triangleObj + "f 1 2 3\nf 1 2 3\n");
    io::Limits limits;
    limits.triangles = 2;
    EXPECT_NE(refusal(path, limits).find("--limit triangles=N"), std::string::npos);
    limits = {};
    limits.fileSize = 10;
    EXPECT_NE(refusal(path, limits).find("--limit file-size=N"), std::string::npos);
}

// Stand-ins for the program: what becomes of it is one line, soon.
TEST_F(Import, TurnsEveryEndOfTheProgramIntoOneLine)
{
    const std::string path = folder.write("a.obj", triangleObj);
    const auto endOf = [&](const std::string& script, const io::Limits& limits = {}) {
        io::ImportProgram program;
        program.path = "/bin/sh";
        program.arguments = {"-c", script};
        const std::string text = messageOf([&] { importScene(path, {}, limits, {}, program); });
        EXPECT_EQ(text.rfind(path + ": ", 0), 0u) << text;
        return text.substr(std::min(text.size(), path.size() + 2));
    };
    EXPECT_EQ(endOf("kill -SEGV $$"),
              "the import program crashed (SIGSEGV); the file is probably damaged");
    EXPECT_EQ(endOf("exit 1"), "the import program failed without a reason");
    EXPECT_EQ(endOf("echo 'error: bad thing' >&2; exit 1"), "bad thing");
    EXPECT_EQ(endOf("echo chatter >&2; exit 7"), "the import program failed without a reason");
    EXPECT_EQ(endOf("exit 3").substr(0, 15), "needs more than");
    EXPECT_EQ(endOf("exit 0"), "is no scene archive");
    EXPECT_EQ(endOf("printf 'ZNSCENE\\n'; exit 0"), "is no scene archive");
    EXPECT_EQ(endOf("head -c 1000000 /dev/zero >&2; exit 1"),
              "the import program failed without a reason");
    io::Limits limits;
    limits.importSeconds = 1;
    EXPECT_EQ(endOf("sleep 100", limits),
              "takes longer than 1 s to import (--limit import-seconds=N)");
    EXPECT_EQ(endOf("while :; do :; done", limits),
              "takes longer than 1 s to import (--limit import-seconds=N)");
    limits.fileSize = 100'000;
    EXPECT_NE(endOf("exec yes", limits).find("--limit file-size=N"), std::string::npos);
    // No environment, few descriptors, nothing written.
    EXPECT_EQ(endOf("test -z \"$HOME$PATH_INFO$USER\" && echo 'error: empty' >&2; exit 1"),
              "empty");
    EXPECT_EQ(endOf("echo \"error: $(ulimit -n) $(ulimit -c)\" >&2; exit 1"), "64 0");
    EXPECT_NE(endOf("echo x > '" + folder.path("written") + "' && exit 1; exit 1"), "");
    EXPECT_NE(folder.read("written"), "x\n");
}

// The program itself tries to read and write elsewhere, connect, fork and execute.
TEST_F(Import, IsConfined)
{
    const std::string path = folder.write("a.obj", triangleObj);
    const std::string command = "'" + io::findImportProgram() + "' --check-confinement -- '" +
                                path + "' > '" + folder.path("doors") + "' 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::string doors = folder.read("doors");
    // Only old kernels lack the means to confine files.
    if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 0) {
        doors = replaced(replaced(doors, "read\n", ""), "write\n", "");
        std::filesystem::remove("/tmp/znimport-probe");
    }
    EXPECT_EQ(doors, "");
}

// Formats without materials: clay of a middle grey, as matt as any material that says nothing else.
TEST_F(Import, MakesMeshesWithoutMaterialsMatt)
{
    const osg::Ref<osg::UPhongMaterial> plain = osg::UPhongMaterial::create();
    const std::string files[][2] = {
        {"a.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                  "property float z\nelement face 1\nproperty list uchar int vertex_indices\n"
                  "end_header\n0 0 0\n1 0 0\n1 1 0\n3 0 1 2\n"},
        {"a.stl", "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                  "vertex 0 1 0\nendloop\nendfacet\nendsolid a\n"}};
    for (const auto& [name, text] : files) {
        const auto geometries = geometriesOf(load(folder.write(name, text)));
        ASSERT_EQ(geometries.size(), 1u) << name;
        const auto material = materialOf(geometries[0].second);
        ASSERT_TRUE(material) << name;
        EXPECT_EQ(material->getDiffuse().color, osg::Vec3f(0.5f, 0.5f, 0.5f)) << name;
        EXPECT_EQ(material->getGlossy().color, plain->getGlossy().color) << name;
    }
}

// Bits flipped in every kind of file: a scene or one line, whatever becomes of the program.
TEST_F(Import, SurvivesFlippedBits)
{
    const std::string files[][2] = {
        {"a.obj", "mtllib a.mtl\nvt 0 0\nvt 1 0\nusemtl m\n" + triangleObj + "f 1/1 2/2 -1/-1\n"},
        {"a.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                  "property float z\nelement face 1\nproperty list uchar int vertex_indices\n"
                  "end_header\n0 0 0\n1 0 0\n1 1 0\n3 0 1 2\n"},
        {"a.stl", "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                  "vertex 0 1 0\nendloop\nendfacet\nendsolid a\n"},
        {"a.dae", daeText}};
    folder.write("a.mtl", "newmtl m\nKd 1 1 1\n");
    std::mt19937 random(11);
    io::Limits limits;
    limits.importSeconds = 10; // damage may send the import library round in circles
    int refused = 0;
    for (const auto& [name, text] : files) {
        for (int round = 0; round < 25; ++round) {
            std::string damaged = text;
            for (int flips = 1 + int(random() % 4); flips > 0; --flips)
                damaged[random() % damaged.size()] ^= char(1u << random() % 7);
            const std::string path = folder.write(name, damaged);
            try {
                importScene(path, {}, limits);
            } catch (const io::InputError& error) {
                EXPECT_EQ(std::string(error.what()).rfind(path + ": ", 0), 0u) << error.what();
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 0);
}

TEST_F(Import, ReadsTheSampleModels)
{
    if (!std::filesystem::exists(dataFolder / "obj"))
        GTEST_SKIP() << "no sample models in " << dataFolder;
    const auto sample = [&](const char* name) {
        return load((dataFolder / "obj" / name).string(), {dataFolder.string()});
    };
    EXPECT_EQ(contentOf(sample("blob_animal.obj")).triangles, 42'160u);
    EXPECT_EQ(contentOf(sample("spot_triangulated.obj")).triangles, 5'856u);
    const osg::NodePtr box = sample("cornell_box.obj");
    EXPECT_NEAR(contentOf(box).box.maximum[2], 548.8f, 0.1f); // the ceiling is up
    const Content odd = contentOf(sample("odd_syntax.obj"));
    EXPECT_EQ(odd.triangles, 11u);
    // 1 + 1 + 1.43 + 2.5 as the file says, and the triangle (1, 2.5, -0.5) (1, 3, 0) (2, 3, 0).
    EXPECT_NEAR(odd.area, 1 + 1 + 1.43 + 2.5 + std::sqrt(0.5) / 2, 0.01);
}
