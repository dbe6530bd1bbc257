// The layers of a frame in OpenEXR files, read back by the OpenEXR library alone.

#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

#include <ImfChannelList.h>
#include <ImfChromaticitiesAttribute.h>
#include <ImfFrameBuffer.h>
#include <ImfInputPart.h>
#include <ImfMatrixAttribute.h>
#include <ImfMultiPartInputFile.h>
#include <ImfPartType.h>
#include <ImfStandardAttributes.h>
#include <ImfStringAttribute.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <unistd.h>

using support::ProgramResult;

namespace {

const std::string studio = std::string(ZN_SOURCE_DIR) + "/examples/studio.glb";

ProgramResult znrender(std::vector<std::string> arguments)
{
    return support::runProgram("znrender", std::move(arguments));
}

std::string textOf(const Imf::Header& header, const std::string& key)
{
    const auto* text = header.findTypedAttribute<Imf::StringAttribute>(key);
    return text ? text->value() : "";
}

std::set<std::string> channelsOf(const Imf::Header& header)
{
    std::set<std::string> names;
    for (auto c = header.channels().begin(); c != header.channels().end(); ++c)
        names.insert(c.name());
    return names;
}

/// One channel of a part as 32-bit floats, row by row from the top.
struct Channel
{
    int width = 0, height = 0;
    std::vector<float> values;

    float at(int x, int y) const { return values[std::size_t(y) * std::size_t(width) + x]; }
};

class ExrFile
{
public:
    explicit ExrFile(const std::string& path) : file(path.c_str(), 0) {}

    int parts() const { return file.parts(); }
    const Imf::Header& header(int part) const { return file.header(part); }
    /// Number of the part of a name, -1 without.
    int find(const std::string& name) const
    {
        for (int i = 0; i < parts(); ++i)
            if (header(i).hasName() && header(i).name() == name)
                return i;
        return -1;
    }
    Channel read(int part, const std::string& name)
    {
        Imf::InputPart input(file, part);
        const Imath::Box2i window = input.header().dataWindow();
        Channel channel;
        channel.width = window.max.x - window.min.x + 1;
        channel.height = window.max.y - window.min.y + 1;
        channel.values.resize(std::size_t(channel.width) * std::size_t(channel.height), -1.0f);
        Imf::FrameBuffer buffer;
        buffer.insert(name, Imf::Slice::Make(Imf::FLOAT, channel.values.data(), window));
        input.setFrameBuffer(buffer);
        input.readPixels(window.min.y, window.max.y);
        return channel;
    }
    Channel read(const std::string& part, const std::string& channel)
    {
        return read(find(part), channel);
    }

private:
    Imf::MultiPartInputFile file;
};

const std::vector<std::string> passNames = {"beauty",
                                            "diffuse_ibl",
                                            "diffuse_light",
                                            "glossy_ibl",
                                            "glossy_light",
                                            "specular_reflection",
                                            "translucency",
                                            "incandescence",
                                            "diffuse_indirect",
                                            "glossy_indirect",
                                            "diffuse_color",
                                            "glossy_color",
                                            "specular_color",
                                            "translucency_color",
                                            "transparency_color",
                                            "background_color",
                                            "diffuse_ibl_illumination",
                                            "glossy_ibl_illumination",
                                            "translucency_ibl_illumination",
                                            "diffuse_light_illumination",
                                            "glossy_light_illumination",
                                            "translucency_light_illumination",
                                            "diffuse_indirect_illumination",
                                            "glossy_indirect_illumination",
                                            "specular_indirect_illumination",
                                            "translucency_indirect_illumination",
                                            "fog",
                                            "lens_flare",
                                            "backplates",
                                            "frontplates",
                                            "occlusion",
                                            "normal",
                                            "depth",
                                            "cryptoObject00",
                                            "cryptoObject01",
                                            "cryptoObject02",
                                            "cryptoMaterial00",
                                            "cryptoMaterial01",
                                            "cryptoMaterial02",
                                            "materialID",
                                            "mask",
                                            "position",
                                            "view"};

std::set<std::string> channelsOfPass(const std::string& name)
{
    const std::map<std::string, std::string> components = {
        {"normal", "XYZ"}, {"position", "XYZ"},   {"view", "XYZ"},
        {"depth", "Z"},    {"materialID", "RGB"}, {"mask", "A"}};
    if (name == "beauty")
        return {"R", "G", "B", "A"};
    const bool isMatte = name.rfind("crypto", 0) == 0;
    const auto known = components.find(name);
    std::set<std::string> channels;
    for (const char c : known != components.end() ? known->second : isMatte ? "rgba" : "RGBA")
        channels.insert(name + "." + c);
    return channels;
}

// MurmurHash3 x86 32 with seed 0, written out once more for the comparison.
std::uint32_t murmur3(const std::string& text)
{
    std::uint32_t h = 0;
    const auto scramble = [](std::uint32_t k) {
        k *= 0xcc9e2d51u;
        k = (k << 15) | (k >> 17);
        return k * 0x1b873593u;
    };
    std::size_t i = 0;
    for (; i + 4 <= text.size(); i += 4) {
        std::uint32_t k;
        std::memcpy(&k, text.data() + i, 4);
        h ^= scramble(k);
        h = (h << 13) | (h >> 19);
        h = h * 5 + 0xe6546b64u;
    }
    std::uint32_t tail = 0;
    std::memcpy(&tail, text.data() + i, text.size() - i);
    if (i < text.size())
        h ^= scramble(tail);
    h ^= std::uint32_t(text.size());
    h ^= h >> 16;
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    return h ^ (h >> 16);
}

/// The id of a name: exponents of zero, infinity and NaN are moved by one bit.
std::uint32_t idOf(const std::string& name)
{
    const std::uint32_t hash = murmur3(name), exponent = hash >> 23 & 255;
    return exponent == 0 || exponent == 255 ? hash ^ 1u << 23 : hash;
}

std::string hex(std::uint32_t value)
{
    char text[9];
    std::snprintf(text, sizeof(text), "%08x", value);
    return text;
}

std::string matteKey(const std::string& type, const char* entry)
{
    return "cryptomatte/" + hex(idOf(type)).substr(0, 7) + "/" + entry;
}

struct RenderedPasses
{
    explicit RenderedPasses(std::vector<std::string> more = {})
    {
        std::vector<std::string> arguments = {studio, "-o", path, "-r", "96x54", "-q"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramResult result = znrender(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_EQ(result.error, "");
    }
    TemporaryFolder folder;
    std::string path = folder.path("a.exr");
};

} // namespace

TEST(Passes, ArePartsNamedLikeThemWithTheirChannelsInFull)
{
    const RenderedPasses rendered({"--passes", "all", "-s", "1"});
    ExrFile file(rendered.path);
    ASSERT_EQ(file.parts(), int(passNames.size()));
    for (int i = 0; i < file.parts(); ++i) {
        const Imf::Header& header = file.header(i);
        const std::string& name = passNames[std::size_t(i)];
        EXPECT_EQ(header.name(), name);
        EXPECT_EQ(header.type(), Imf::SCANLINEIMAGE);
        EXPECT_EQ(header.compression(), Imf::ZIP_COMPRESSION);
        EXPECT_EQ(channelsOf(header), channelsOfPass(name));
        for (auto c = header.channels().begin(); c != header.channels().end(); ++c)
            EXPECT_EQ(c.channel().type, i <= 30 ? Imf::HALF : Imf::FLOAT) << c.name();
    }
    EXPECT_TRUE(Imf::hasChromaticities(file.header(0)));
    EXPECT_TRUE(Imf::hasWorldToCamera(file.header(0)));
    EXPECT_TRUE(Imf::hasWorldToNDC(file.header(0)));
    EXPECT_EQ(textOf(file.header(0), "zn/samples"), "1");
    EXPECT_EQ(nlohmann::json::parse(textOf(file.header(0), "zn/settings"))["mode"], "still");
}

// Times of day are those of the world: the offset to UTC stands beside them.
TEST(Passes, TellWhenAndByWhatTheyWereMade)
{
    const std::time_t before = std::time(nullptr);
    const RenderedPasses rendered({"--passes", "normal", "-s", "2"});
    ExrFile file(rendered.path);
    const Imf::Header& header = file.header(0);
    ASSERT_TRUE(Imf::hasCapDate(header));
    ASSERT_TRUE(Imf::hasUtcOffset(header));
    EXPECT_EQ(Imf::utcOffset(header), 0.0f);
    std::tm date{};
    ASSERT_NE(strptime(Imf::capDate(header).c_str(), "%Y:%m:%d %H:%M:%S", &date), nullptr);
    EXPECT_GE(timegm(&date), before);
    EXPECT_LE(timegm(&date), std::time(nullptr));
    EXPECT_EQ(textOf(header, "Software"), "znrender " + textOf(header, "zn/version"));
    EXPECT_NE(textOf(header, "zn/version"), "");
    EXPECT_EQ(textOf(header, "zn/samples"), "2");
    EXPECT_EQ(nlohmann::json::parse(textOf(header, "zn/settings"))["samples"], 2);
    const double seconds = std::stod(textOf(header, "zn/renderTime"));
    EXPECT_GE(seconds, 0.0);
    EXPECT_LE(seconds, double(std::time(nullptr) - before) + 1.0);
    EXPECT_EQ(header.find("zn/host"), header.end());
    // Primaries of Rec. 709 and D65.
    const Imf::Chromaticities c = Imf::chromaticities(header);
    EXPECT_EQ(c.red, Imath::V2f(0.64f, 0.33f));
    EXPECT_EQ(c.green, Imath::V2f(0.3f, 0.6f));
    EXPECT_EQ(c.blue, Imath::V2f(0.15f, 0.06f));
    EXPECT_EQ(c.white, Imath::V2f(0.3127f, 0.329f));
}

// Pictures travel further than their makers may want to be known.
TEST(Passes, NameTheMachineOnlyWhenAsked)
{
    char name[256] = "";
    ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
    const RenderedPasses rendered({"--passes", "normal", "-s", "1", "--exr-host"});
    ExrFile file(rendered.path);
    EXPECT_EQ(textOf(file.header(0), "zn/host"), name);
}

TEST(Passes, HaveTheSameBytesWhenTheDateIsGiven)
{
    setenv("SOURCE_DATE_EPOCH", "86400", 1);
    const RenderedPasses first({"--passes", "all", "-s", "1"}),
        second({"--passes", "all", "-s", "1"});
    unsetenv("SOURCE_DATE_EPOCH");
    ExrFile file(first.path);
    EXPECT_EQ(Imf::capDate(file.header(0)), "1970:01:02 00:00:00");
    EXPECT_EQ(file.header(0).find("zn/renderTime"), file.header(0).end());
    const auto bytes = [](const std::string& path) {
        std::ifstream stream(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    EXPECT_TRUE(bytes(first.path) == bytes(second.path));
}

TEST(Passes, SayThatInteractiveFramesHaveNoMattes)
{
    const TemporaryFolder folder;
    const auto run = [&](const char* mode, const char* passes) {
        return znrender({studio, "-o", folder.path("a.exr"), "--overwrite", "-r", "32x18", "-s",
                         "1", "--mode", mode, "--passes", passes})
            .error;
    };
    const std::string said = "Interactive frames collect no ids";
    EXPECT_NE(run("interactive", "all").find(said), std::string::npos);
    EXPECT_EQ(run("interactive", "normal").find(said), std::string::npos);
    EXPECT_EQ(run("still", "all").find(said), std::string::npos);
}

TEST(Passes, AreTheSameFlatAndInFiles)
{
    const std::vector<std::string> common = {
        "--passes",    "normal,depth,cryptoObject00", "-s", "1", "--filter", "box:1", "-t", "1",
        "--exr-layout"};
    const auto with = [&](const char* layout) {
        std::vector<std::string> arguments = common;
        arguments.push_back(layout);
        return arguments;
    };
    const RenderedPasses parts(with("multipart")), flat(with("flat")), files(with("files"));
    ExrFile inParts(parts.path), inOne(flat.path);
    EXPECT_EQ(inOne.parts(), 1);
    std::set<std::string> all;
    for (int i = 0; i < inParts.parts(); ++i) {
        const std::string name = inParts.header(i).name();
        const std::string path = i == 0 ? files.path : files.folder.path("a." + name + ".exr");
        ExrFile alone(path);
        EXPECT_EQ(channelsOf(alone.header(0)), channelsOf(inParts.header(i))) << path;
        for (const std::string& channel : channelsOf(inParts.header(i))) {
            all.insert(channel);
            const std::vector<float> values = inParts.read(i, channel).values;
            EXPECT_EQ(inOne.read(0, channel).values, values) << channel;
            EXPECT_EQ(alone.read(0, channel).values, values) << channel;
        }
    }
    EXPECT_EQ(channelsOf(inOne.header(0)), all);
    EXPECT_EQ(all.size(), 4u + 3u + 1u + 4u);
    EXPECT_EQ(textOf(inOne.header(0), matteKey("cryptoObject", "name")), "cryptoObject");
}

TEST(Passes, TakeFloatsAndFourChannelsWhenAsked)
{
    const RenderedPasses rendered({"--passes", "diffuse_ibl,depth,mask", "-s", "1", "--exr-float",
                                   "all", "--exr-channels", "rgba"});
    ExrFile file(rendered.path);
    EXPECT_EQ(channelsOf(file.header(file.find("depth"))),
              (std::set<std::string>{"depth.R", "depth.G", "depth.B", "depth.A"}));
    EXPECT_EQ(channelsOf(file.header(file.find("mask"))),
              (std::set<std::string>{"mask.R", "mask.G", "mask.B", "mask.A"}));
    for (int i = 0; i < file.parts(); ++i)
        for (auto c = file.header(i).channels().begin(); c != file.header(i).channels().end(); ++c)
            EXPECT_EQ(c.channel().type, Imf::FLOAT) << c.name();
}

TEST(Passes, TellHowManySamplesTheyHave)
{
    // No sample takes less than this time.
    const RenderedPasses stopped({"--passes", "normal", "-s", "64", "--time-limit", "0.000001"});
    EXPECT_EQ(textOf(ExrFile(stopped.path).header(0), "zn/samples"), "1");
}

// Paint, china, glass and steel under lamps and a sky, some of it against the sky: the layers of
// light that are no light by itself hold the picture between them.
TEST(Passes, AddUpToTheBeauty)
{
    const std::vector<std::string> terms = {"diffuse_ibl",
                                            "diffuse_light",
                                            "glossy_ibl",
                                            "glossy_light",
                                            "specular_reflection",
                                            "translucency",
                                            "incandescence",
                                            "diffuse_indirect",
                                            "glossy_indirect",
                                            "background_color",
                                            "fog"};
    std::string list;
    for (const std::string& term : terms)
        list += (list.empty() ? "" : ",") + term;
    const TemporaryFolder folder;
    const std::string mirrors =
        folder.write("mirrors.zn.json",
                     R"({"materials": {"white china": {"type": "UReflectivePlasticMaterial"}}})");
    const RenderedPasses rendered({"--passes", list, "-s", "2", "--exr-float", "all", "--env",
                                   "sky", "--eye", "0.33,-0.52,0.225", "--at", "0,0,0.25", "--fov",
                                   "100", "--look", mirrors});
    ExrFile file(rendered.path);
    std::map<std::string, double> totals;
    for (const char* channel : {".R", ".G", ".B"}) {
        const Channel beauty = file.read("beauty", channel + 1);
        std::vector<double> sums(beauty.values.size(), 0.0);
        for (const std::string& term : terms) {
            const Channel layer = file.read(term, term + channel);
            for (std::size_t i = 0; i < sums.size(); ++i) {
                sums[i] += double(layer.values[i]);
                totals[term] += double(layer.values[i]);
            }
        }
        for (std::size_t i = 0; i < sums.size(); ++i)
            ASSERT_NEAR(sums[i], beauty.values[i], 1e-4 * std::max(1.0f, beauty.values[i]))
                << "pixel " << i << channel;
    }
    for (const char* term : {"diffuse_ibl", "diffuse_light", "glossy_ibl", "glossy_light",
                             "specular_reflection", "diffuse_indirect", "background_color"})
        EXPECT_GT(totals[term], 1.0) << term;
}

// A cropped file says where in the image its pixels stand.
TEST(Passes, KeepTheirPlaceWhenCropped)
{
    const RenderedPasses rendered({"--passes", "normal", "-s", "1", "--crop", "0.25,0,0.5,0.5"});
    ExrFile file(rendered.path);
    for (int i = 0; i < file.parts(); ++i) {
        EXPECT_EQ(file.header(i).displayWindow(),
                  Imath::Box2i(Imath::V2i(0, 0), Imath::V2i(95, 53)));
        EXPECT_EQ(file.header(i).dataWindow(),
                  Imath::Box2i(Imath::V2i(24, 27), Imath::V2i(47, 53)));
    }
}

// Normals are unit vectors; position, view and camera agree: a point lies on the ray that leaves
// the eye along its view direction, which goes from the point to the eye or the other way round.
TEST(Passes, ShowTheGeometryOfTheScene)
{
    const RenderedPasses rendered(
        {"--passes", "normal,position,view,mask", "--mode", "interactive", "-s", "1"});
    ExrFile file(rendered.path);
    Channel normal[3], position[3], view[3];
    for (int c = 0; c < 3; ++c) {
        const std::string axis = std::string(".") + "XYZ"[c];
        normal[c] = file.read("normal", "normal" + axis);
        position[c] = file.read("position", "position" + axis);
        view[c] = file.read("view", "view" + axis);
    }
    const Channel mask = file.read("mask", "mask.A");
    Imath::M44f toWorld = Imf::worldToCamera(file.header(0)).inverse();
    const Imath::V3f eye(toWorld[3][0], toWorld[3][1], toWorld[3][2]);
    const Imath::M44f toNdc = Imf::worldToNDC(file.header(0));
    int hits = 0;
    for (int y = 0; y < mask.height; ++y)
        for (int x = 0; x < mask.width; ++x) {
            if (mask.at(x, y) < 1.0f)
                continue;
            ++hits;
            const Imath::V3f n(normal[0].at(x, y), normal[1].at(x, y), normal[2].at(x, y));
            const Imath::V3f p(position[0].at(x, y), position[1].at(x, y), position[2].at(x, y));
            const Imath::V3f v(view[0].at(x, y), view[1].at(x, y), view[2].at(x, y));
            ASSERT_NEAR(n.length(), 1.0f, 1e-3f) << x << " " << y;
            ASSERT_NEAR(v.length(), 1.0f, 1e-3f) << x << " " << y;
            ASSERT_NEAR(std::abs(v.dot((p - eye).normalized())), 1.0f, 1e-4f) << x << " " << y;
            // The matrix of the header leads back to the pixel: samples lie within it.
            Imath::V3f ndc;
            toNdc.multVecMatrix(p, ndc);
            ASSERT_NEAR((ndc.x + 1) / 2 * float(mask.width), float(x) + 0.5f, 0.51f);
            ASSERT_NEAR((1 - ndc.y) / 2 * float(mask.height), float(y) + 0.5f, 0.51f);
        }
    EXPECT_GT(hits, 96 * 54 * 9 / 10); // the backdrop fills the view
}

TEST(IdMattes, NameTheirTypesAndHashes)
{
    EXPECT_EQ(idOf("torus"), 4053562365u); // a published value
    const RenderedPasses rendered({"--passes", "data", "-s", "1"});
    ExrFile file(rendered.path);
    for (const std::string type : {"cryptoObject", "cryptoMaterial"})
        for (const int part : {0, file.find(type + "00"), file.find(type + "02")}) {
            const Imf::Header& header = file.header(part);
            EXPECT_EQ(textOf(header, matteKey(type, "name")), type);
            EXPECT_EQ(textOf(header, matteKey(type, "hash")), "MurmurHash3_32");
            EXPECT_EQ(textOf(header, matteKey(type, "conversion")), "uint32_to_float32");
            const auto manifest = nlohmann::json::parse(textOf(header, matteKey(type, "manifest")));
            EXPECT_GT(manifest.size(), 4u);
            for (const auto& [name, id] : manifest.items())
                EXPECT_EQ(id, hex(idOf(name))) << name;
        }
    const auto objects =
        nlohmann::json::parse(textOf(file.header(0), matteKey("cryptoObject", "manifest")));
    EXPECT_TRUE(objects.contains("/coffee pot/coffee pot")) << objects.dump();
    const auto materials =
        nlohmann::json::parse(textOf(file.header(0), matteKey("cryptoMaterial", "manifest")));
    EXPECT_TRUE(materials.contains("aluminium")) << materials.dump();
}

// Ranks come in pairs of id and coverage, the largest first; an id stands once in a pixel, is in
// the manifest or 0 for the background, and all coverages of a pixel sum to 1 (six ranks are enough
// at this size).
TEST(IdMattes, RankIdsWhoseCoveragesSumToOne)
{
    const RenderedPasses rendered({"--passes", "data", "-s", "16"});
    ExrFile file(rendered.path);
    for (const std::string type : {"cryptoObject", "cryptoMaterial"}) {
        std::set<std::uint32_t> known = {0};
        const auto manifest =
            nlohmann::json::parse(textOf(file.header(0), matteKey(type, "manifest")));
        for (const auto& [name, id] : manifest.items())
            known.insert(std::uint32_t(std::stoul(id.get<std::string>(), nullptr, 16)));
        std::vector<Channel> channels;
        for (const char* layer : {"00", "01", "02"})
            for (const char* component : {".r", ".g", ".b", ".a"})
                channels.push_back(file.read(type + layer, type + layer + component));
        int mixed = 0;
        for (int y = 0; y < 54; ++y)
            for (int x = 0; x < 96; ++x) {
                std::set<std::uint32_t> ids;
                float sum = 0.0f, last = 1.0f;
                for (std::size_t rank = 0; rank < 6; ++rank) {
                    const float id = channels[2 * rank].at(x, y);
                    const float coverage = channels[2 * rank + 1].at(x, y);
                    ASSERT_GE(coverage, 0.0f);
                    ASSERT_LE(coverage, last + 1e-6f) << type << " " << x << " " << y;
                    last = coverage;
                    sum += coverage;
                    if (coverage == 0.0f)
                        continue;
                    ASSERT_TRUE(ids.insert(std::bit_cast<std::uint32_t>(id)).second);
                    ASSERT_TRUE(known.count(std::bit_cast<std::uint32_t>(id)))
                        << hex(std::bit_cast<std::uint32_t>(id));
                }
                ASSERT_NEAR(sum, 1.0f, 1e-4f) << type << " " << x << " " << y;
                mixed += ids.size() > 1;
            }
        EXPECT_GT(mixed, 100) << type; // edges
    }
}

// 1,500 objects with names of 60 bytes: the list is longer than the 64 kB that a header should
// have.
TEST(IdMattes, PutLongListsOfNamesBesideThePicture)
{
    const TemporaryFolder folder;
    nlohmann::json root = {
        {"asset", {{"version", "2.0"}}},
        {"meshes", {{{"primitives", {{{"attributes", {{"POSITION", 0}}}}}}}}},
        {"accessors",
         {{{"bufferView", 0}, {"componentType", 5126}, {"count", 3}, {"type", "VEC3"}}}},
        {"bufferViews", {{{"buffer", 0}, {"byteLength", 36}}}},
        {"buffers", {{{"byteLength", 36}, {"uri", "a.bin"}}}}};
    const float points[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    folder.write("a.bin", std::string(reinterpret_cast<const char*>(points), sizeof(points)));
    for (int i = 0; i < 1500; ++i) {
        std::string name = "object" + std::to_string(i);
        name.resize(60, 'x');
        root["nodes"].push_back(
            {{"name", name}, {"mesh", 0}, {"translation", {i % 50, i / 50, 0}}});
        root["scenes"][0]["nodes"].push_back(i);
    }
    const std::string scene = folder.write("a.gltf", root.dump());
    const std::string path = folder.path("many objects.exr");
    const ProgramResult result = znrender({scene, "-o", path, "--passes", "cryptoObject00", "-r",
                                           "64x64", "-s", "1", "-q", "--env", "none"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    ExrFile file(path);
    EXPECT_EQ(textOf(file.header(0), matteKey("cryptoObject", "manifest")), "");
    const std::string sidecar = textOf(file.header(0), matteKey("cryptoObject", "manif_file"));
    EXPECT_EQ(sidecar, "many objects.cryptoObject.json");
    const auto manifest = nlohmann::json::parse(folder.read(sidecar));
    EXPECT_EQ(manifest.size(), 1500u);
    for (const auto& [name, id] : manifest.items())
        ASSERT_EQ(id, hex(idOf(name))) << name;
}

TEST(Passes, AreRefusedWhereTheyMakeNoSense)
{
    const TemporaryFolder folder;
    const std::string exr = folder.path("a.exr"), png = folder.path("a.png");
    const std::vector<std::vector<std::string>> wrong = {
        {studio, "-o", exr, "--passes", "norml"},
        {studio, "-o", exr, "--passes", ""},
        {studio, "-o", exr, "--passes", "normal,,depth"},
        {studio, "-o", png, "--passes", "all"},
        {studio, "-o", png, "--pass", "nrmal"},
        {studio, "-o", png, "--pass", "cryptoObject00"},
        {studio, "-o", exr, "--passes", "all", "--pass", "normal"},
        {studio, "-o", exr, "--passes", "all", "--integrator", "normal"},
        {studio, "-o", exr, "--passes", "all", "--exr-layout", "deep"},
    };
    for (const std::vector<std::string>& arguments : wrong) {
        const ProgramResult result = znrender(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments[4] << result.error;
        EXPECT_EQ(result.errorLines(), 1) << result.error;
    }
    EXPECT_NE(znrender(wrong[0]).error.find("perhaps 'normal'"), std::string::npos);
    // The buffers are counted in 64 bits before anything is allocated.
    const ProgramResult huge =
        znrender({studio, "-o", exr, "--passes", "all", "-r", "60000x60000"});
    EXPECT_EQ(huge.exitCode, 1) << huge.error;
    EXPECT_EQ(huge.errorLines(), 1) << huge.error;
    EXPECT_NE(huge.error.find("MB"), std::string::npos) << huge.error;
    EXPECT_TRUE(folder.names().empty());
}

// A picture of a layer is that layer of a file with all of them.
TEST(Passes, ShowOneLayerInThePicture)
{
    const RenderedPasses all(
        {"--passes", "normal,mask", "--mode", "interactive", "-s", "1", "--exr-float", "all"});
    const RenderedPasses one(
        {"--pass", "normal", "--mode", "interactive", "-s", "1", "--exr-float", "all"});
    ExrFile allFile(all.path), oneFile(one.path);
    for (int c = 0; c < 3; ++c) {
        const Channel expected = allFile.read("normal", std::string("normal.") + "XYZ"[c]);
        const Channel shown = oneFile.read(0, std::string(1, "RGB"[c]));
        int different = 0;
        for (std::size_t i = 0; i < expected.values.size(); ++i)
            different += std::abs(expected.values[i] - shown.values[i]) > 1e-5f;
        EXPECT_EQ(different, 0) << c;
    }
}
