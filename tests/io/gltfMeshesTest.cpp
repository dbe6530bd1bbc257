#include "io/gltfMeshes.h"

#include "gltfBuilder.h"
#include "gltfReading.h"
#include "host/osg/SkinAttachment.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

using Json = nlohmann::json;
using osg::Vec3f;

/// The scene and the geometry of its only instance.
struct OneMesh
{
    explicit OneMesh(const std::string& text) : scene(readGltfText(text))
    {
        const auto found = geometriesOf(scene);
        if (found.size() == 1) {
            geometry = found[0].geometry;
            node = found[0].node;
        }
    }
    io::SceneFile scene;
    osg::GeometryPtr geometry;
    osg::NodePtr node;
};

const std::vector<float> square{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};

TEST(GltfMeshes, ReadsAllIndexTypes)
{
    for (const auto type : {GltfBuilder::byte, GltfBuilder::word, GltfBuilder::dword}) {
        GltfBuilder file;
        const int positions = file.vectors(square);
        const int indices =
            type == GltfBuilder::byte
                ? file.accessor(std::vector<u8>{0, 1, 2, 0, 2, 3}, "SCALAR", 1, type)
            : type == GltfBuilder::word
                ? file.accessor(std::vector<u16>{0, 1, 2, 0, 2, 3}, "SCALAR", 1, type)
                : file.accessor(std::vector<u32>{0, 1, 2, 0, 2, 3}, "SCALAR", 1, type);
        file.node({{"mesh",
                    file.mesh({{"attributes", {{"POSITION", positions}}}, {"indices", indices}})}});
        const OneMesh mesh(file.text());
        ASSERT_TRUE(mesh.geometry) << type;
        EXPECT_EQ(mesh.scene.triangles, 2u);
        EXPECT_EQ(mesh.geometry->getIndices()->getValue(5), 3u);
        EXPECT_EQ(mesh.geometry->getIndexMapping().size(), 1u);
    }
}

TEST(GltfMeshes, ReadsAllPrimitiveModes)
{
    // Triangles, segments and points of four vertices.
    const int triangleCounts[7] = {0, 0, 0, 0, 1, 2, 2}, lineCounts[7] = {0, 2, 4, 3, 0, 0, 0};
    for (int mode = 0; mode < 7; ++mode) {
        GltfBuilder file;
        const int positions = file.vectors(square);
        file.node(
            {{"mesh", file.mesh({{"attributes", {{"POSITION", positions}}}, {"mode", mode}})}});
        const OneMesh mesh(file.text());
        ASSERT_TRUE(mesh.geometry) << mode;
        int triangles = 0, lines = 0;
        for (auto t = mesh.geometry->beginTriangles(); !(t == mesh.geometry->endTriangles()); ++t)
            ++triangles;
        for (auto l = mesh.geometry->beginLines(); !(l == mesh.geometry->endLines()); ++l)
            ++lines;
        EXPECT_EQ(triangles, triangleCounts[mode]) << mode;
        EXPECT_EQ(lines, lineCounts[mode]) << mode;
    }
}

// Values of normalised integers: c / (2^n - 1), signed max(c / (2^(n-1) - 1), -1),
// glTF 2.0, 3.6.2.2.
TEST(GltfMeshes, ScalesNormalisedIntegers)
{
    GltfBuilder file;
    const int positions = file.accessor(
        std::vector<std::int16_t>{0, 0, 0, 0, 32767, 0, 0, 0, -32768, -32767, 16384, 0}, "VEC3", 4,
        GltfBuilder::i16, true);
    file.root["bufferViews"][0]["byteStride"] = 8;
    file.root["accessors"][0]["count"] = 3;
    const int uv = file.accessor(std::vector<u16>{0, 65535, 32768, 0, 65535, 65535}, "VEC2", 2,
                                 GltfBuilder::word, true);
    const int colors = file.accessor(std::vector<u8>{255, 0, 51, 255, 0, 255, 0, 0, 102, 0, 0, 51},
                                     "VEC4", 4, GltfBuilder::byte, true);
    file.node(
        {{"mesh",
          file.mesh({{"attributes",
                      {{"POSITION", positions}, {"TEXCOORD_0", uv}, {"COLOR_0", colors}}}})}});
    const OneMesh mesh(file.text());
    ASSERT_TRUE(mesh.geometry);
    EXPECT_EQ(mesh.geometry->getPositions()->getVec3(1), Vec3f(1, 0, 0));
    EXPECT_FLOAT_EQ(mesh.geometry->getPositions()->getVec3(2)[0], -1.0f);
    EXPECT_FLOAT_EQ(mesh.geometry->getPositions()->getVec3(2)[2], 16384.0f / 32767.0f);
    // v is counted from the bottom.
    EXPECT_FLOAT_EQ(mesh.geometry->getTexCoords()->getVector(0)[1], 0.0f);
    EXPECT_FLOAT_EQ(mesh.geometry->getTexCoords()->getVector(1)[0], 32768.0f / 65535.0f);
    EXPECT_FLOAT_EQ(mesh.geometry->getTexCoords()->getVector(1)[1], 1.0f);
    EXPECT_FLOAT_EQ(mesh.geometry->getColors()->getVector(2)[0], 0.4f);
    EXPECT_FLOAT_EQ(mesh.geometry->getColors()->getVector(2)[3], 0.2f);
}

TEST(GltfMeshes, AppliesSparseEntries)
{
    GltfBuilder file;
    const int positions = file.vectors({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const int places = file.bufferView(std::vector<u16>{2});
    const int values = file.bufferView(std::vector<float>{5, 6, 7});
    file.root["accessors"][positions]["sparse"] = {
        {"count", 1},
        {"indices", {{"bufferView", places}, {"componentType", 5123}}},
        {"values", {{"bufferView", values}}}};
    file.node({{"mesh", file.mesh({{"attributes", {{"POSITION", positions}}}})}});
    const OneMesh mesh(file.text());
    ASSERT_TRUE(mesh.geometry);
    EXPECT_EQ(mesh.geometry->getPositions()->getVec3(1), Vec3f(1, 0, 0));
    EXPECT_EQ(mesh.geometry->getPositions()->getVec3(2), Vec3f(5, 6, 7));
}

TEST(GltfMeshes, DropsOnlyWhatTouchesVerticesThatAreNotFinite)
{
    GltfBuilder file;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<float> positions = square;
    positions[3 * 3 + 1] = nan;
    const int accessor = file.vectors(positions);
    const int indices = file.indices({0, 1, 2, 0, 2, 3});
    file.node(
        {{"mesh", file.mesh({{"attributes", {{"POSITION", accessor}}}, {"indices", indices}})}});
    const LogCatcher log;
    const OneMesh mesh(file.text());
    ASSERT_TRUE(mesh.geometry);
    EXPECT_EQ(mesh.scene.triangles, 1u);
    EXPECT_EQ(mesh.geometry->getIndices()->size(), 3u);
    EXPECT_NE(log.warnings.find("1 vertices are not finite"), std::string::npos);
    EXPECT_FALSE(mesh.scene.root->getWorldBox().isEmpty());
}

TEST(GltfMeshes, LeavesOutAttributesOfAnotherLength)
{
    GltfBuilder file;
    const int positions = file.vectors(square);
    const int normals = file.vectors({0, 0, 1, 0, 0, 1});
    file.node({{"mesh", file.mesh({{"attributes", {{"POSITION", positions}, {"NORMAL", normals}}},
                                   {"mode", 6}})}});
    const LogCatcher log;
    const OneMesh mesh(file.text());
    ASSERT_TRUE(mesh.geometry);
    EXPECT_FALSE(mesh.geometry->getNormals());
    EXPECT_NE(log.warnings.find("NORMAL has 2 entries for 4 vertices"), std::string::npos);
}

// Four numbers per vertex; a morphed surface has others than the file's.
TEST(GltfMeshes, ReadsTangentsOfSurfacesAsTheyStand)
{
    GltfBuilder file;
    const int positions = file.vectors({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const int tangents =
        file.accessor(std::vector<float>{1, 0, 0, 1, 0, 1, 0, -1, 0.6f, 0, 0.8f, 1}, "VEC4", 4,
                      GltfBuilder::real);
    const int up = file.vectors({0, 0, 2, 0, 0, 2, 0, 0, 2});
    const int mesh = file.mesh({{"attributes", {{"POSITION", positions}, {"TANGENT", tangents}}},
                                {"targets", {{{"POSITION", up}}}}});
    file.node({{"mesh", mesh}});
    file.node({{"mesh", mesh}, {"weights", {0.5}}});
    const io::SceneFile scene = readGltfText(file.text());
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), 2u);
    ASSERT_TRUE(found[0].geometry->getTangents());
    EXPECT_EQ(found[0].geometry->getTangents()->getVec3(2), Vec3f(0.6f, 0.0f, 0.8f));
    EXPECT_FALSE(found[1].geometry->getTangents());
}

TEST(GltfMeshes, SharesArraysBetweenPrimitives)
{
    GltfBuilder file;
    const int positions = file.vectors(square);
    const int first = file.indices({0, 1, 2}), second = file.indices({0, 2, 3});
    file.root["meshes"] = {{{"primitives",
                             {{{"attributes", {{"POSITION", positions}}}, {"indices", first}},
                              {{"attributes", {{"POSITION", positions}}}, {"indices", second}}}}}};
    file.node({{"mesh", 0}});
    const io::SceneFile scene = readGltfText(file.text());
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].geometry->getPositions(), found[1].geometry->getPositions());
}

// Base + 0.5 * (0, 0, 2) + 0.25 * (4, 0, 0).
TEST(GltfMeshes, AddsMorphTargetsByTheirWeights)
{
    GltfBuilder file;
    const int positions = file.vectors({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const int up = file.vectors({0, 0, 2, 0, 0, 2, 0, 0, 2});
    const int side = file.vectors({4, 0, 0, 4, 0, 0, 4, 0, 0});
    const int mesh = file.mesh({{"attributes", {{"POSITION", positions}}},
                                {"targets", {{{"POSITION", up}}, {{"POSITION", side}}}}});
    file.root["meshes"][mesh]["weights"] = {0.5, 0.25};
    file.node({{"mesh", mesh}});
    file.node({{"mesh", mesh}, {"weights", {0, 0}}});
    const io::SceneFile scene = readGltfText(file.text());
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].geometry->getPositions()->getVec3(2), Vec3f(1, 1, 1));
    EXPECT_EQ(found[1].geometry->getPositions()->getVec3(2), Vec3f(0, 1, 0));
}

/// A triangle that hangs on the second of two joints, which is turned and moved.
GltfBuilder skinnedTriangle()
{
    GltfBuilder file;
    const int positions = file.vectors({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const int joints = file.accessor(std::vector<u8>{1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0}, "VEC4", 4,
                                     GltfBuilder::byte);
    const int weights = file.accessor(std::vector<float>{1, 0, 0, 0, 1, 0, 0, 0, 0.5f, 0.5f, 0, 0},
                                      "VEC4", 4, GltfBuilder::real);
    const int mesh = file.mesh(
        {{"attributes", {{"POSITION", positions}, {"JOINTS_0", joints}, {"WEIGHTS_0", weights}}}});
    file.node({{"mesh", mesh}, {"skin", 0}, {"translation", {100, 0, 0}}});
    file.node({{"children", {2}}});
    file.node({{"translation", {0, 0, 3}}});
    file.root["skins"] = {{{"joints", {1, 2}}}};
    return file;
}

// Joint 2 stands at z = 3 in the file: vertex 1 comes to (1, 0, 3), vertex 2, half on joint 1, to
// (0, 1, 1.5). The node's own place does not count (glTF 2.0, 3.7.3.3).
TEST(GltfSkins, PoseVerticesByTheJointsAsTheyStand)
{
    const OneMesh mesh(skinnedTriangle().text());
    ASSERT_TRUE(mesh.geometry);
    const auto skin = osg::SkinAttachment::getAttachment(mesh.geometry);
    ASSERT_TRUE(skin && skin->getEnabled());
    const float* positions = mesh.geometry->getPositions()->getDataAs<float>();
    const float* normals = nullptr;
    skin->getDeformedVertices(positions, normals);
    const osg::Matrix toWorld = mesh.node->getToWorld();
    const osg::Pnt3f one = toWorld.multMatrixPnt({positions[3], positions[4], positions[5]});
    EXPECT_NEAR(one[0], 1.0f, 1e-4f);
    EXPECT_NEAR(one[1], -3.0f, 1e-4f);
    EXPECT_NEAR(one[2], 0.0f, 1e-4f);
    const osg::Pnt3f two = toWorld.multMatrixPnt({positions[6], positions[7], positions[8]});
    EXPECT_NEAR(two[1], -1.5f, 1e-4f);
    EXPECT_NEAR(two[2], 1.0f, 1e-4f);
}

TEST(GltfSkins, AreRefusedWithJointsOutOfRange)
{
    GltfBuilder file = skinnedTriangle();
    file.root["skins"] = {{{"joints", {1}}}};
    file.node({{"mesh", file.triangle()}});
    const LogCatcher log;
    const OneMesh mesh(file.text());
    EXPECT_TRUE(mesh.geometry); // the other one
    EXPECT_NE(log.warnings.find("joint 1 is out of range"), std::string::npos);
}

} // namespace
