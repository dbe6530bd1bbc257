// Long and unattended runs: defaults from variables and files, logs, pictures in between.

#include "appScenes.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

using namespace appTest;
using support::ProgramResult;

namespace {

const std::string studio = std::string(ZN_SOURCE_DIR) + "/examples/studio.glb";

/// Variables for the programs that a test runs.
class Variables
{
public:
    ~Variables()
    {
        for (const std::string& name : names)
            unsetenv(name.c_str());
    }
    void set(const std::string& name, const std::string& value)
    {
        setenv(name.c_str(), value.c_str(), 1);
        names.push_back(name);
    }

private:
    std::vector<std::string> names;
};

/// Waits up to a minute.
template <class Condition>
bool waitFor(Condition condition)
{
    for (int i = 0; i < 6000; ++i) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

} // namespace

TEST(ZnRenderJob, TakesOptionsFromTheLineThenVariablesThenAFile)
{
    const TemporaryFolder folder;
    Variables variables;
    const std::string scene = matteSquare(folder), picture = folder.path("a.png");
    const std::string config = folder.write("defaults.conf", "# sizes\n\n"
                                                             "resolution = 10x10\n"
                                                             "samples = 1\n"
                                                             "quiet = true\n"
                                                             "overwrite = true\n");
    const auto width = [&](std::vector<std::string> words) {
        const std::vector<std::string> common{scene, "-o", picture, "--config", config};
        words.insert(words.begin(), common.begin(), common.end());
        const ProgramResult result = znrender(words);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_EQ(result.out, "");
        return io::readImage(picture).width;
    };
    EXPECT_EQ(width({}), 10u);
    variables.set("ZNRENDER_RESOLUTION", "12x12");
    EXPECT_EQ(width({}), 12u);
    EXPECT_EQ(width({"-r", "14x14"}), 14u);
    EXPECT_EQ(width({"--resolution=16x16"}), 16u);
    EXPECT_EQ(znrender({"list", "passes"}).exitCode, 0) << "options of render only";
    variables.set("ZNRENDER_CONFIG", config);
    variables.set("ZNRENDER_OUTPUT", picture);
    const ProgramResult bare = znrender({scene});
    EXPECT_EQ(bare.exitCode, 0) << bare.error;
}

TEST(ZnRenderJob, NamesThePlaceOfAWrongDefault)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.png");
    struct Case
    {
        int exitCode;
        std::string variable, value, config, named;
    };
    const std::vector<Case> cases = {
        {2, "ZNRENDER_SAMPELS", "4", "", "perhaps 'samples'"},
        {2, "ZNRENDER_SAMPLES", "many", "", "ZNRENDER_SAMPLES"},
        {2, "ZNRENDER_RESOLUTION", "ten", "", "ZNRENDER_RESOLUTION"},
        {2, "ZNRENDER_QUIET", "maybe", "", "ZNRENDER_QUIET"},
        {2, "", "", "samples = 4\nsampels = 4\n", "line 2"},
        {2, "", "", "samples 4\n", "line 1"},
        {2, "", "", "\n\nfilter = sharp\n", "line 3"},
        {1, "ZNRENDER_CONFIG", folder.path("missing.conf"), "", "missing.conf"},
    };
    for (const Case& c : cases) {
        Variables variables;
        if (!c.variable.empty())
            variables.set(c.variable, c.value);
        std::vector<std::string> words{scene, "-o", picture};
        if (!c.config.empty())
            words.insert(words.end(), {"--config", folder.write("a.conf", c.config)});
        const ProgramResult result = znrender(words);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.named << ": " << result.error;
        EXPECT_EQ(result.errorLines(), 1) << result.error;
        EXPECT_NE(result.error.find(c.named), std::string::npos) << result.error;
        EXPECT_FALSE(std::filesystem::exists(picture));
    }
}

TEST(ZnRenderJob, KeepsALogBesideTheTerminal)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.png");
    const std::string log = folder.path("log.txt");
    const std::vector<std::string> words{scene, "-o", picture, "-r",         "8x8",
                                         "-s",  "1",  "-q",    "--log-file", log};
    ProgramResult result = znrender(words);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.error, "");
    const std::string first = folder.read("log.txt");
    EXPECT_NE(first.find("info    The scene has no light"), std::string::npos) << first;
    // The picture is there now: the refusal is added to the log.
    result = znrender(words);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(folder.read("log.txt").rfind(first, 0), 0u);
    EXPECT_NE(folder.read("log.txt").find("a.png", first.size()), std::string::npos);
}

TEST(ZnRenderJob, SaysAtOnceThatALogCannotBeWritten)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.png");
    for (const std::string& log : {folder.path("no/folder/log.txt"), folder.path()}) {
        const ProgramResult result = znrender({scene, "-o", picture, "--log-file", log});
        EXPECT_EQ(result.exitCode, 1) << result.error;
        EXPECT_EQ(result.errorLines(), 1) << result.error;
        EXPECT_FALSE(std::filesystem::exists(picture));
    }
    EXPECT_EQ(znrender({scene, "-o", picture, "--log-file", picture}).exitCode, 2);
    // A log that fills up costs a line, not the picture.
    const ProgramResult full =
        znrender({scene, "-o", picture, "-r", "8x8", "-s", "1", "-q", "--log-file", "/dev/full"});
    EXPECT_EQ(full.exitCode, 0) << full.error;
    EXPECT_EQ(full.errorLines(), 1) << full.error;
    EXPECT_TRUE(std::filesystem::exists(picture));
}

TEST(ZnRenderJob, WritesPicturesWhileItRenders)
{
    const TemporaryFolder folder;
    const std::string first = folder.path("a.png"), second = folder.path("a.exr");
    bool isWritten = false;
    const ProgramResult result = support::runProgram(
        "znrender",
        {studio, "-o", first, "-o", second, "-r", "96x54", "-s", "65536", "--noise", "0",
         "--snapshot", "0.05", "--json-progress"},
        [&](int process, const support::OutputCount&) {
            isWritten = waitFor(
                [&] { return std::filesystem::exists(first) && std::filesystem::exists(second); });
            // Replaced by the next one.
            const auto before = std::filesystem::last_write_time(first);
            isWritten = isWritten &&
                        waitFor([&] { return std::filesystem::last_write_time(first) != before; });
            kill(process, SIGINT);
        });
    EXPECT_TRUE(isWritten);
    EXPECT_EQ(result.exitCode, 3) << result.error;
    EXPECT_EQ(io::readImage(first).width, 96u);
    EXPECT_EQ(io::readImage(second).width, 96u);
    EXPECT_EQ(folder.names(), (std::set<std::string>{"a.png", "a.exr"}));
}

TEST(ZnRenderJob, WritesAtOnceWhenASignalAsks)
{
    for (const int signal : {SIGUSR1, SIGHUP}) {
        const TemporaryFolder folder;
        const std::string picture = folder.path("a.png");
        bool isWritten = false;
        const ProgramResult result =
            support::runProgram("znrender",
                                {studio, "-o", picture, "-r", "96x54", "-s", "65536", "--noise",
                                 "0", "--json-progress"},
                                [&](int process, const support::OutputCount& written) {
                                    waitFor([&] { return written > 0; });
                                    EXPECT_FALSE(std::filesystem::exists(picture));
                                    kill(process, signal);
                                    isWritten =
                                        waitFor([&] { return std::filesystem::exists(picture); });
                                    kill(process, SIGINT);
                                });
        EXPECT_TRUE(isWritten) << signal;
        EXPECT_EQ(result.exitCode, 3) << result.error;
        EXPECT_EQ(io::readImage(picture).width, 96u);
    }
}

TEST(ZnRenderJob, GivesAnotherNoiseForAnotherSeed)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.pfm");
    const std::string around = surroundingsFile(
        folder, "around.hdr", [](u32 x, u32 y) { return (x + y) % 3 ? 0.2f : 2.0f; });
    const auto pixels = [&](const std::string& seed) {
        return render(frontView(scene, picture), {"--env", around, "--seed", seed}, picture).values;
    };
    const auto first = pixels("0");
    EXPECT_EQ(first, pixels("0"));
    EXPECT_NE(first, pixels("1"));
    EXPECT_NE(pixels("1"), pixels("2"));
    for (const char* seed : {"-1", "65536", "x"})
        EXPECT_EQ(znrender({scene, "-o", picture, "--seed", seed}).exitCode, 2) << seed;
}

TEST(ZnRenderJob, LeavesTheProcessorToOthers)
{
    const TemporaryFolder folder;
    int own = 0, others = 0;
    const ProgramResult result =
        support::runProgram("znrender",
                            {studio, "-o", folder.path("a.png"), "-r", "64x36", "-s", "65536",
                             "--noise", "0", "--nice", "--json-progress"},
                            [&](int process, const support::OutputCount& written) {
                                waitFor([&] { return written > 0; });
                                own = getpriority(PRIO_PROCESS, 0);
                                others = getpriority(PRIO_PROCESS, id_t(process));
                                kill(process, SIGINT);
                            });
    EXPECT_EQ(result.exitCode, 3) << result.error;
    EXPECT_EQ(others, std::min(19, own + 10));
}
