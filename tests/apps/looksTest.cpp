// Looks as a user of znrender meets them, and the commands and examples of docs/looks.md.

#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

#include "io/imageReader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

using support::ProgramResult;

namespace {

const std::string source = ZN_SOURCE_DIR;
const std::string studio = source + "/examples/studio.glb";
const std::string studioLook = source + "/examples/studio.zn.json";

ProgramResult znrender(std::vector<std::string> arguments, const std::string& folder = {})
{
    return support::runProgram("znrender", std::move(arguments), {}, folder);
}

std::string contentOf(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

/// Mean of a channel.
double meanOf(const io::ImageData& image, u32 channel)
{
    double sum = 0.0;
    for (u32 y = 0; y < image.height; ++y)
        for (u32 x = 0; x < image.width; ++x)
            sum += image.getNormalized(x, y, channel);
    return sum / (double(image.width) * image.height);
}

/// Renders the studio in small, in light alone.
io::ImageData picture(const std::vector<std::string>& more)
{
    const TemporaryFolder folder;
    std::vector<std::string> arguments{studio, "-o", folder.path("a.pfm"), "-r", "64x36", "-s",
                                       "2",    "-q"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProgramResult result = znrender(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    return result.exitCode == 0 ? io::readImage(folder.path("a.pfm")) : io::ImageData();
}

/// Words of a shell line with double quotes.
std::vector<std::string> wordsOf(const std::string& line)
{
    std::vector<std::string> words(1);
    bool isQuoted = false;
    for (const char c : line)
        if (c == '"')
            isQuoted = !isQuoted;
        else if (c == ' ' && !isQuoted)
            words.emplace_back();
        else
            words.back().push_back(c);
    return words;
}

} // namespace

TEST(Looks, ChangeThePicture)
{
    const io::ImageData plain = picture({"-c", "hero"});
    const io::ImageData changed = picture({"-c", "hero", "--look", studioLook});
    ASSERT_GT(plain.width, 0u);
    ASSERT_GT(changed.width, 0u);
    // The light grey backdrop becomes a dark blue one.
    EXPECT_LT(meanOf(changed, 0), 0.5 * meanOf(plain, 0));
}

TEST(Looks, BringTheCameraThatIsUsed)
{
    const ProgramResult result = znrender({"list", "cameras", studio, "--look", studioLook});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.out.find("  0  table "), 0u) << result.out;
}

TEST(Looks, ComeThroughConversion)
{
    const TemporaryFolder folder;
    const std::string archive = folder.path("a.zna");
    ASSERT_EQ(znrender({"convert", studio, "--look", studioLook, "-o", archive}).exitCode, 0);
    const auto render = [&](const std::vector<std::string>& scene, const char* name) {
        std::vector<std::string> arguments{"-o", folder.path(name), "-r",    "64x36", "-s",
                                           "2",  "--filter",        "box:1", "-q"};
        arguments.insert(arguments.begin(), scene.begin(), scene.end());
        const ProgramResult result = znrender(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        return result.exitCode == 0 ? io::readImage(folder.path(name)) : io::ImageData();
    };
    const io::ImageData direct = render({studio, "--look", studioLook}, "a.pfm");
    const io::ImageData converted = render({archive}, "b.pfm");
    EXPECT_NEAR(meanOf(direct, 0), meanOf(converted, 0), 0.03 * meanOf(direct, 0));
    EXPECT_NEAR(meanOf(direct, 2), meanOf(converted, 2), 0.03 * meanOf(direct, 2));
}

TEST(Looks, TellWhichRuleChoseWhichMaterial)
{
    const ProgramResult result = znrender({"info", studio, "--look", studioLook, "--assign"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_NE(result.out.find("/first setting/first cup/cup  red glaze  " + studioLook + ", line "),
              result.out.npos)
        << result.out;
    EXPECT_NE(result.out.find("/coffee pot/coffee pot#2  black grip  of the file"), result.out.npos)
        << result.out;
}

TEST(Looks, ListMaterialsWithTheirKindsAndUsers)
{
    ProgramResult result = znrender({"list", "materials", studio});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_NE(result.out.find("     4  USubstanceMaterial           sugar\n"), result.out.npos)
        << result.out;
    result = znrender({"list", "materials"});
    EXPECT_NE(result.out.find("UGlassMaterial"), result.out.npos);
}

TEST(Looks, MayStandForAScene)
{
    const TemporaryFolder folder;
    const std::string look = folder.write("show.zn.json", R"({"assets": [{"file": "studio.glb"}],
        "set": {"/studio/sugar 1.visible": false}})");
    const ProgramResult refused = znrender({"info", folder.path("show.zn.json")});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.errorLines(), 1) << refused.error;
    const ProgramResult result = znrender({"info", look, "-I", source + "/examples"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_NE(result.out.find("triangles  59488"), result.out.npos) << result.out;
}

TEST(Looks, LeaveNothingBehindWhenTheyAreWrong)
{
    const TemporaryFolder folder;
    const std::string look =
        folder.write("a.zn.json", "{\n\"materials\": {\"sugar\": {\n\"roughnes\": 1}}}");
    ProgramResult result =
        znrender({studio, "--look", look, "-o", folder.path("a.png"), "-r", "8x8", "-s", "1"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, "znrender: " + look +
                                ": line 3: materials.sugar.roughnes: USubstanceMaterial has no "
                                "field 'roughnes', perhaps 'roughness'\n");
    result = znrender({studio, "-o", folder.path("a.png"), "--set", "materials.sugar.roughness=2"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errorLines(), 1) << result.error;
    EXPECT_NE(result.error.find("--set materials.sugar.roughness=2: lies outside of [0, 1]"),
              result.error.npos)
        << result.error;
    result = znrender({studio, "-o", folder.path("a.png"), "--variant", "red"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.error.find("--variant red: the scene has no variants"), result.error.npos)
        << result.error;
    EXPECT_EQ(folder.names(), std::set<std::string>{"a.zn.json"});
}

// What finds nothing to do is told in one line with its place, and the picture is made.
TEST(Looks, GoOnAfterWhatHasNoEffect)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"("assign": [{"nodes": "/no such set/**", "material": "sugar"}])",
         "assign[0]: matches nothing"},
        {R"("assign": [{"named": "no such*", "material": "sugar"}])", "assign[0]: matches nothing"},
        {R"("set": {"/no such*.visible": false})", "set./no such*.visible: matches nothing"},
        {R"("lights": [{"type": "USphericalLight", "radius": 0}])",
         "lights[0].radius: a light with a radius of 0 gives no light"},
    };
    const TemporaryFolder folder;
    for (const auto& [member, warning] : cases) {
        const std::string look =
            folder.write("a.zn.json", std::string("{\n").append(member).append("}"));
        const ProgramResult result =
            znrender({studio, "--look", look, "-o", folder.path("a.png"), "-r", "8x8", "-s", "1",
                      "--overwrite", "--log-level", "warning"});
        EXPECT_EQ(result.exitCode, 0) << warning;
        // The core may name a light again, which it sees whatever brought it.
        EXPECT_EQ(result.error.find("warning: " + look + ": line 2: " + warning + "\n"), 0u)
            << result.error;
        EXPECT_EQ(io::readImage(folder.path("a.png")).width, 8u);
        std::filesystem::remove(folder.path("a.png"));
    }
}

// Also where the new one was to replace it.
TEST(Looks, KeepThePictureThatIsThereWhenTheyAreWrong)
{
    const TemporaryFolder folder;
    const std::string picture = folder.write("a.png", "the only copy");
    const std::pair<const char*, const char*> cases[] = {
        {"a.zn.json", "{"},
        {"b.zn.json", R"({"environment": {"image": "cut.hdr"}})"},
        {"c.zn.json", R"({"lights": [{"type": "UPointLight", "profile": "cut.ies"}]})"},
        {"d.zn.json", R"({"assets": [{"file": "cut.glb"}]})"},
        {"e.zn.json", R"({"lights": [{"type": "UPointLight", "intensity": -1}]})"},
    };
    folder.write("cut.hdr", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 4 +X 8\n");
    folder.write("cut.ies", "IESNA:LM-63-2002\nTILT=NONE\n1 1000 1 3 1 1 2 0 0 0\n1 1 0\n0 45");
    folder.write("cut.glb", "glTF");
    for (const auto& [name, text] : cases) {
        const std::string look = folder.write(name, text);
        const ProgramResult result = znrender(
            {studio, "--look", look, "-o", picture, "-r", "8x8", "-s", "1", "--overwrite"});
        EXPECT_EQ(result.exitCode, 1) << name;
        EXPECT_EQ(result.errorLines(), 1) << result.error;
        EXPECT_EQ(result.error.find("znrender: " + look), 0u) << result.error;
        EXPECT_EQ(contentOf(picture), "the only copy") << name;
    }
    EXPECT_EQ(folder.names().size(), 9u) << "nothing is left over";
}

// Every command line of the guide runs as it stands there.
TEST(LookGuide, HasCommandsThatRun)
{
    const TemporaryFolder folder;
    std::filesystem::copy(source + "/examples", folder.path("examples"));
    std::istringstream guide(contentOf(source + "/docs/looks.md"));
    int count = 0;
    for (std::string line; std::getline(guide, line);) {
        if (line.rfind("znrender ", 0) != 0)
            continue;
        std::vector<std::string> words = wordsOf(line);
        words.erase(words.begin());
        if (words[0].rfind("examples/", 0) == 0) // pictures in small
            words.insert(words.end(), {"-r", "32x18", "-s", "1", "-q"});
        const ProgramResult result = znrender(words, folder.path());
        EXPECT_EQ(result.exitCode, 0) << line << "\n" << result.error;
        ++count;
    }
    EXPECT_GE(count, 9);
    EXPECT_EQ(folder.read("look.schema.json").find("{\n \"$schema\""), 0u);
}

TEST(LookGuide, HasAnExampleThatApplies)
{
    const std::string guide = contentOf(source + "/docs/looks.md");
    const std::size_t start = guide.find("```json\n") + 8;
    const TemporaryFolder folder;
    const std::string look =
        folder.write("a.zn.json", guide.substr(start, guide.find("```", start) - start));
    const ProgramResult result = znrender({"info", studio, "--look", look});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.error, "");
}
