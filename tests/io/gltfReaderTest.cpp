#include "io/gltfReader.h"

#include "gltfBuilder.h"
#include "gltfReading.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

using Json = nlohmann::json;

GltfBuilder oneTriangle()
{
    GltfBuilder file;
    file.node({{"mesh", file.triangle()}});
    return file;
}

TEST(GltfReader, TurnsYUpToZUp)
{
    GltfBuilder file;
    file.node({{"mesh", file.triangle()}, {"translation", {0, 5, 7}}});
    const io::SceneFile scene = readGltfText(file.text());
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), 1u);
    // (0, 5, 7) with y up is (0, -7, 5) with z up.
    EXPECT_EQ(found[0].node->getToWorld().getTranslation(), osg::Vec3f(0, -7, 5));
    EXPECT_EQ(scene.triangles, 1u);
    EXPECT_EQ(scene.warnings, 0u);
}

TEST(GltfReader, SharesACoreBetweenInstances)
{
    GltfBuilder file;
    const int mesh = file.triangle();
    file.node({{"mesh", mesh}, {"name", "left"}});
    file.node({{"mesh", mesh}, {"name", "right"}, {"scale", {2, 2, 2}}});
    const io::SceneFile scene = readGltfText(file.text());
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].geometry, found[1].geometry);
    EXPECT_EQ(getName(found[1].node->getParent()), "right");
}

TEST(GltfReader, ReadsTextAndBinaryFormAlike)
{
    const GltfBuilder file = oneTriangle();
    const auto text = geometriesOf(readGltfText(file.text()));
    const io::SceneFile kept = readGltfBytes(file.binary());
    const auto binary = geometriesOf(kept);
    ASSERT_EQ(binary.size(), 1u);
    EXPECT_EQ(binary[0].geometry->getPositions()->getVec3(1), osg::Vec3f(1, 0, 0));
}

TEST(GltfReader, ComposesNodesFromTheRootDown)
{
    GltfBuilder file;
    const int child = file.node({{"mesh", file.triangle()}, {"translation", {1, 0, 0}}});
    const int parent = file.node({{"children", {child}}, {"scale", {3, 1, 1}}});
    file.root["scenes"] = {{{"nodes", {parent}}}};
    file.root["scene"] = 0;
    const io::SceneFile scene = readGltfText(file.text());
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].node->getToWorld().getTranslation(), osg::Vec3f(3, 0, 0));
}

TEST(GltfReader, LeavesOutNodesThatAreNotInTheScene)
{
    GltfBuilder file = oneTriangle();
    file.node({{"mesh", 0}});
    file.root["scenes"] = {{{"nodes", {1}}}};
    EXPECT_EQ(geometriesOf(readGltfText(file.text())).size(), 1u);
}

TEST(GltfReader, PlacesInstancesOfOneMesh)
{
    GltfBuilder file;
    const int places = file.vectors({0, 0, 0, 4, 0, 0});
    const int sizes = file.vectors({1, 1, 1, 2, 2, 2});
    file.node({{"mesh", file.triangle()},
               {"extensions",
                {{"EXT_mesh_gpu_instancing",
                  {{"attributes", {{"TRANSLATION", places}, {"SCALE", sizes}}}}}}}});
    const io::SceneFile scene = readGltfText(file.text());
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].geometry, found[1].geometry);
    EXPECT_EQ(found[1].node->getToWorld().getTranslation(), osg::Vec3f(4, 0, 0));
    EXPECT_FLOAT_EQ(found[1].node->getToWorld().multMatrixVec({1, 0, 0})[0], 2.0f);
}

TEST(GltfReader, HandsOnTheLookBlock)
{
    GltfBuilder file = oneTriangle();
    file.root["extras"]["zn"] = {{"settings", {{"stillFrameQuality", 2}}}};
    EXPECT_EQ(readGltfText(file.text()).look, R"({"settings":{"stillFrameQuality":2}})");
}

TEST(GltfReader, NamesFileAndCauseInItsErrors)
{
    const auto contains = [](const std::string& error, const char* part) {
        return error.starts_with("test.gltf: ") && error.find(part) != std::string::npos;
    };
    EXPECT_TRUE(contains(gltfError(""), "JSON"));
    EXPECT_TRUE(contains(gltfError("{\"asset\": "), "JSON"));
    EXPECT_TRUE(contains(gltfError("[1e999]"), "JSON"));
    EXPECT_TRUE(contains(gltfError("[]"), "no glTF"));
    EXPECT_TRUE(contains(gltfError("{}"), "no asset"));
    EXPECT_TRUE(contains(gltfError(R"({"asset":{"version":"1.0"}})"), "1.0"));
    EXPECT_TRUE(contains(gltfError(R"({"asset":{"version":"2.0"}})"), "nothing"));
    EXPECT_TRUE(contains(gltfError(std::string(1000000, '[')), "json-nesting"));
}

TEST(GltfReader, NamesRequiredExtensionsThatItLacks)
{
    GltfBuilder file = oneTriangle();
    file.root["extensionsRequired"] = {"KHR_texture_transform", "KHR_draco_mesh_compression",
                                       "EXT_meshopt_compression", "KHR_texture_basisu"};
    const std::string error = gltfError(file.text());
    EXPECT_NE(error.find("Draco"), std::string::npos);
    EXPECT_NE(error.find("meshopt"), std::string::npos);
    EXPECT_NE(error.find("KTX2"), std::string::npos);
    EXPECT_NE(error.find("export it again"), std::string::npos);
    EXPECT_EQ(error.find("KHR_texture_transform"), std::string::npos);
}

TEST(GltfReader, RefusesNodesInsideThemselvesAndNodesOfTwoParents)
{
    GltfBuilder cycle = oneTriangle();
    cycle.root["nodes"][0]["children"] = {1};
    cycle.node({{"children", {0}}});
    cycle.root["scenes"] = {{{"nodes", {0}}}};
    EXPECT_NE(gltfError(cycle.text()).find("inside itself"), std::string::npos);
    GltfBuilder itself = oneTriangle();
    itself.root["nodes"][0]["children"] = {0};
    itself.root["scenes"] = {{{"nodes", {0}}}};
    EXPECT_NE(gltfError(itself.text()), "");
    // Without scenes nothing is a root in a ring.
    itself.root.erase("scenes");
    EXPECT_NE(gltfError(itself.text()), "");
    GltfBuilder diamond = oneTriangle();
    diamond.node({{"children", {0}}});
    diamond.node({{"children", {0}}});
    EXPECT_NE(gltfError(diamond.text()), "");
}

TEST(GltfReader, ReadsAChainOfAHundredThousandNodes)
{
    constexpr int depth = 100000;
    GltfBuilder file = oneTriangle();
    for (int i = 1; i < depth; ++i)
        file.node({{"children", {i - 1}}, {"translation", {1, 0, 0}}});
    file.root["scenes"] = {{{"nodes", {depth - 1}}}};
    const io::SceneFile scene = readGltfText(file.text());
    const auto found = geometriesOf(scene);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].node->getToWorld().getTranslation()[0], float(depth - 1));
}

TEST(GltfReader, KeepsGoodMeshesBesideBadOnes)
{
    GltfBuilder file = oneTriangle();
    const int positions = file.vectors({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const int tooFar = file.indices({0, 1, 3});
    file.node(
        {{"mesh", file.mesh({{"attributes", {{"POSITION", positions}}}, {"indices", tooFar}})}});
    file.node({{"mesh", 77}});
    file.node({{"mesh", file.mesh({{"attributes", Json::object()}})}});
    const LogCatcher log;
    const io::SceneFile scene = readGltfText(file.text());
    EXPECT_EQ(geometriesOf(scene).size(), 1u);
    EXPECT_EQ(scene.warnings, 3u);
    EXPECT_NE(log.warnings.find("index 3 is out of range"), std::string::npos);
}

// Every number of the path from the primitive to the bytes, at the values that break arithmetic.
TEST(GltfReader, SurvivesExtremeNumbersInEveryPlace)
{
    GltfBuilder file = oneTriangle();
    file.root["meshes"][0]["primitives"][0]["indices"] = file.indices({0, 1, 2});
    file.root["accessors"][0]["byteOffset"] = 0;
    file.root["bufferViews"][0]["byteStride"] = 12;
    file.root["accessors"][0]["sparse"] = {
        {"count", 1},
        {"indices", {{"bufferView", 1}, {"componentType", 5123}, {"byteOffset", 0}}},
        {"values", {{"bufferView", 0}, {"byteOffset", 0}}}};
    ASSERT_EQ(gltfError(file.text()), "");
    const Json whole = Json::parse(file.text());
    const Json flat = whole.flatten();
    const LogCatcher log;
    int tried = 0;
    for (const auto& [pointer, value] : flat.items()) {
        if (!value.is_number())
            continue;
        for (const double extreme : {0.0, -1.0, 1.0, 3.0, 255.0, 2147483648.0, 4294967295.0,
                                     4611686018427387904.0, 9007199254740992.0, 0.5, 1e300}) {
            Json changed = whole;
            changed[Json::json_pointer(pointer)] = extreme;
            gltfError(changed.dump()); // must return, one way or the other
            changed[Json::json_pointer(pointer)] = "text";
            gltfError(changed.dump());
            ++tried;
        }
    }
    EXPECT_GT(tried, 200);
}

// Every value replaced by a value of another kind.
TEST(GltfReader, SurvivesValuesOfTheWrongKind)
{
    GltfBuilder file = oneTriangle();
    file.root["materials"] = {{{"pbrMetallicRoughness", {{"baseColorFactor", {1, 1, 1, 1}}}}}};
    file.root["meshes"][0]["primitives"][0]["material"] = 0;
    file.root["cameras"] = {{{"type", "perspective"}, {"perspective", {{"yfov", 1}}}}};
    file.root["nodes"][0]["camera"] = 0;
    const Json whole = Json::parse(file.text());
    const Json flat = whole.flatten();
    const LogCatcher log;
    for (const auto& [pointer, value] : flat.items())
        for (const Json& other : {Json(), Json(true), Json("x"), Json::array({1, Json::object()}),
                                  Json::object({{"a", 1}})}) {
            // The value itself and each container around it.
            for (Json::json_pointer at(pointer); !at.empty(); at = at.parent_pointer()) {
                Json changed = whole;
                changed[at] = other;
                gltfError(changed.dump());
            }
        }
}

TEST(GltfReader, RefusesEveryTruncationOfABinaryFile)
{
    const std::vector<u8> whole = oneTriangle().binary();
    const LogCatcher log;
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_THROW(readGltfBytes({whole.begin(), whole.begin() + std::ptrdiff_t(size)}),
                     io::InputError)
            << size;
}

TEST(GltfReader, SurvivesDamagedBinaryFiles)
{
    const std::vector<u8> whole = oneTriangle().binary();
    const LogCatcher log;
    for (std::size_t at = 0; at < whole.size(); ++at)
        for (const u8 value : {0, 1, 0x7f, 0x80, 0xff}) {
            std::vector<u8> damaged = whole;
            damaged[at] = value;
            try {
                readGltfBytes(damaged);
            } catch (const io::InputError&) {
            }
        }
}

TEST(GltfReader, RefusesArraysThatMultiplyTheFile)
{
    GltfBuilder file = oneTriangle();
    // No bytes behind it: zeros, as many as the count says.
    file.root["accessors"].push_back(
        {{"componentType", 5126}, {"count", 4000000000u}, {"type", "VEC3"}});
    file.node({{"mesh", file.mesh({{"attributes", {{"POSITION", 1}}}})}});
    EXPECT_NE(gltfError(file.text()).find("far more"), std::string::npos);
}

TEST(GltfReader, RefusesFilesOverItsLimits)
{
    const std::string text = oneTriangle().text();
    for (const char* limit : {"nodes=0", "accessors=0", "json-size=10", "json-nesting=2",
                              "instances=0", "triangles=0"}) {
        io::Limits limits;
        limits.set(limit);
        io::InputFile file = io::InputFile::fromMemory(
            {reinterpret_cast<const u8*>(text.data()), text.size()}, "test.gltf", limits);
        EXPECT_THROW(io::readGltf(file, nullptr), io::InputError) << limit;
    }
}

} // namespace
