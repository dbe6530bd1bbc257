// znrender as a user meets it: pictures, messages and exit codes.

#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

#include "host/znPixelfilter.h"
#include "io/imageReader.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>

using support::ProgramResult;

namespace {

const std::string studio = std::string(ZN_SOURCE_DIR) + "/examples/studio.glb";

ProgramResult znrender(std::vector<std::string> arguments)
{
    return support::runProgram("znrender", std::move(arguments));
}

/// A square in the plane y = 0 seen from the front, as the smallest useful glTF.
std::string squareScene(const std::string& folder)
{
    const std::string path = folder + "/square.gltf";
    std::ofstream(path) << R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],
"nodes":[{"mesh":0}],"meshes":[{"primitives":[{"attributes":{"POSITION":0},"indices":1}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3","min":[-1,-1,0],"max":[1,1,0]},
{"bufferView":1,"componentType":5123,"count":6,"type":"SCALAR"}],
"bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":48},{"buffer":0,"byteOffset":48,"byteLength":12}],
"buffers":[{"byteLength":60,"uri":"data:application/octet-stream;base64,)"
                           "AACAvwAAgL8AAAAAAACAPwAAgL8AAAAAAACAPwAAgD8AAAAAAACAvwAAgD8AAAAA"
                           "AAABAAIAAAACAAMA"
                        << R"("}]})";
    return path;
}

/// Share of pixels that are not black.
double coverage(const io::ImageData& image)
{
    u64 lit = 0;
    for (u32 y = 0; y < image.height; ++y)
        for (u32 x = 0; x < image.width; ++x)
            lit += image.getNormalized(x, y, 0) + image.getNormalized(x, y, 1) +
                       image.getNormalized(x, y, 2) >
                   0.02f;
    return double(lit) / (double(image.width) * image.height);
}

} // namespace

TEST(ZnRender, RendersTheBundledScene)
{
    const TemporaryFolder folder;
    const std::string picture = folder.path("studio.png");
    const ProgramResult result = znrender({studio, "-o", picture, "-r", "160x90", "-s", "2", "-q"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.error, "");
    const io::ImageData image = io::readImage(picture);
    EXPECT_EQ(image.width, 160u);
    EXPECT_EQ(image.height, 90u);
    EXPECT_EQ(image.channels, 3u);
    // The backdrop fills the view.
    EXPECT_GT(coverage(image), 0.95);
}

// The square of edge 2 at distance 5, seen under 45 degrees, covers (1 / (5 tan 22.5))^2 of a
// square picture.
TEST(ZnRender, ShowsASquareInItsPerspectiveSize)
{
    const TemporaryFolder folder;
    const std::string scene = squareScene(folder.path()), picture = folder.path("a.exr");
    for (const char* mode : {"still", "interactive"}) {
        const ProgramResult result =
            znrender({scene,   "-o",     picture, "-r",    "200x200",     "-s",    "4",
                      "--eye", "0,-5,0", "--at",  "0,0,0", "--fov",       "45",    "--filter",
                      "box:1", "--mode", mode,    "-q",    "--overwrite", "--env", "none"});
        ASSERT_EQ(result.exitCode, 0) << result.error;
        const double edge = 1.0 / (5.0 * std::tan(22.5 * 3.14159265358979 / 180.0));
        EXPECT_NEAR(coverage(io::readImage(picture)), edge * edge, 0.012) << mode;
    }
}

TEST(ZnRender, WritesEveryFormatItNames)
{
    const TemporaryFolder folder;
    const std::string scene = squareScene(folder.path());
    std::vector<std::string> arguments{scene, "-r", "33x17", "-s", "1", "-q"};
    const std::vector<std::string> suffixes{".png", ".jpg", ".tif", ".hdr", ".exr", ".pfm"};
    for (const std::string& suffix : suffixes) {
        arguments.push_back("-o");
        arguments.push_back(folder.path("a") + suffix);
    }
    const ProgramResult result = znrender(arguments);
    ASSERT_EQ(result.exitCode, 0) << result.error;
    for (const std::string& suffix : suffixes) {
        const io::ImageData image = io::readImage(folder.path("a") + suffix);
        EXPECT_EQ(image.width, 33u) << suffix;
        EXPECT_EQ(image.height, 17u) << suffix;
    }
}

TEST(ZnRender, TurnsTheViewByADirectionAndTheSceneByAnAxis)
{
    const TemporaryFolder folder;
    const std::string upright = folder.path("a.pfm"), turned = folder.path("b.pfm");
    const std::vector<std::string> common{studio,  "-r",     "40x40", "--mode",      "interactive",
                                          "--eye", "1,-2,1", "-q",    "--overwrite", "-o"};
    const auto render = [&](std::vector<std::string> arguments, const std::string& picture) {
        arguments.insert(arguments.begin(), common.begin(), common.end());
        arguments.insert(arguments.begin() + long(common.size()), picture);
        const ProgramResult result = znrender(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        return result.exitCode == 0 ? io::readImage(picture) : io::ImageData();
    };
    const io::ImageData picture = render({}, upright);
    // Up and down exchanged turns the picture by half a turn.
    const io::ImageData half = render({"--up", "0,0,-1"}, turned);
    ASSERT_EQ(half.width, picture.width);
    u32 different = 0;
    for (u32 y = 0; y < 40; ++y)
        for (u32 x = 0; x < 40; ++x)
            different +=
                std::abs(picture.getValue(x, y, 0) - half.getValue(39 - x, 39 - y, 0)) > 1e-2;
    EXPECT_LE(different, 40u * 40u / 50u);
    // The file says its axis itself: naming one changes nothing.
    const io::ImageData same = render({"--up", "z"}, turned);
    for (u32 y = 0; y < 40; ++y)
        for (u32 x = 0; x < 40; ++x)
            ASSERT_EQ(picture.getValue(x, y, 0), same.getValue(x, y, 0));
}

TEST(ZnRender, CropsToThePartAskedFor)
{
    const TemporaryFolder folder;
    const std::string whole = folder.path("whole.pfm"), part = folder.path("part.pfm");
    const std::vector<std::string> common{studio, "-r", "160x90", "--mode", "interactive",
                                          "-s",   "1",  "-q",     "-o"};
    std::vector<std::string> a = common, b = common;
    a.push_back(whole);
    b.insert(b.end(), {part, "--crop", "0.25,0.2,0.75,0.6"});
    ASSERT_EQ(znrender(a).exitCode, 0);
    const ProgramResult result = znrender(b);
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const io::ImageData wholeImage = io::readImage(whole), partImage = io::readImage(part);
    ASSERT_EQ(partImage.width, 80u);
    ASSERT_EQ(partImage.height, 36u);
    // Rows count from the top: the part begins at 90 - 54.
    // The last bits of directions depend on where blocks of pixels begin; edges may show it.
    u32 different = 0;
    for (u32 y = 0; y < partImage.height; ++y)
        for (u32 x = 0; x < partImage.width; ++x)
            different += std::abs(partImage.getValue(x, y, 0) -
                                  wholeImage.getValue(x + 40, y + 36, 0)) > 1e-3;
    EXPECT_LE(different, 80u * 36u / 200u);
}

TEST(ZnRender, GivesTheSamePictureWithAnyNumberOfThreads)
{
    const TemporaryFolder folder;
    std::vector<io::ImageData> images;
    for (const char* threads : {"1", "2", "7"}) {
        const std::string picture = folder.path() + "/" + threads + ".pfm";
        ASSERT_EQ(znrender({studio, "-o", picture, "-r", "97x61", "-s", "2", "--filter", "box:1",
                            "-t", threads, "--tile", "16", "-q"})
                      .exitCode,
                  0);
        images.push_back(io::readImage(picture));
    }
    EXPECT_EQ(images[0].values, images[1].values);
    EXPECT_EQ(images[0].values, images[2].values);
}

TEST(ZnRender, KeepsExistingFilesUnlessToldOtherwise)
{
    const TemporaryFolder folder;
    const std::string scene = squareScene(folder.path()), picture = folder.path("a.png");
    std::ofstream(picture) << "old";
    ProgramResult result = znrender({scene, "-o", picture, "-r", "8x8", "-s", "1", "-q"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errorLines(), 1);
    EXPECT_NE(result.error.find("a.png"), std::string::npos) << result.error;
    EXPECT_EQ(std::filesystem::file_size(picture), 3u);
    result = znrender({scene, "-o", picture, "-r", "8x8", "-s", "1", "-q", "--overwrite"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(io::readImage(picture).width, 8u);
}

// Names of scenes may hold anything; what is said of them stays printable.
TEST(ZnRender, TakesHostileNames)
{
    const TemporaryFolder folder;
    const std::string square = squareScene(folder.path());
    for (const std::string name :
         {"a b.gltf", "a%20b.gltf", "a#b?.gltf", "-a.gltf", "\xe2\x9d\xa4.gltf", "bad\xff.gltf",
          "new\nline.gltf", "esc\x1b[31m.gltf"}) {
        std::filesystem::copy_file(square, folder.path(name));
        const ProgramResult good = support::runProgram(
            "znrender", {"-o", "out.png", "--overwrite", "-r", "8x8", "-s", "1", "--", name}, {},
            folder.path());
        EXPECT_EQ(good.exitCode, 0) << good.error;
        folder.write(name, "{");
        const ProgramResult bad =
            support::runProgram("znrender", {"-o", "out2.png", "--", name}, {}, folder.path());
        EXPECT_EQ(bad.exitCode, 1) << bad.error;
        EXPECT_EQ(bad.errorLines(), 1) << bad.error;
        for (const char c : good.out + good.error + bad.out + bad.error)
            EXPECT_TRUE(c == '\n' || (static_cast<unsigned char>(c) >= 32 && c != 127)) << int(c);
    }
}

TEST(ZnRender, RefusesAWrongCommandLineInOneLine)
{
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {studio},
        {"-o", "a.png"},
        {studio, "-o", "a.png", "--no-such-option"},
        {studio, "-o", "a.xyz"},
        {studio, "-o", "a.png", "-r", "0x10"},
        {studio, "-o", "a.png", "-r", "10"},
        {studio, "-o", "a.png", "-r", "99999999999x99999999999"},
        {studio, "-o", "a.png", "-r", "10x10x10"},
        {studio, "-o", "a.png", "-s", "0"},
        {studio, "-o", "a.png", "-s", "many"},
        {studio, "-o", "a.png", "--crop", "0.5,0,0.5,1"},
        {studio, "-o", "a.png", "--crop", "0,0,1"},
        {studio, "-o", "a.png", "--fov", "180"},
        {studio, "-o", "a.png", "--eye", "1,2"},
        {studio, "-o", "a.png", "--eye", "1,2,nan"},
        {studio, "-o", "a.png", "--time-limit", "5x"},
        {studio, "-o", "a.png", "--filter", "sharp"},
        {studio, "-o", "a.png", "--limit", "nodes"},
        {studio, "-o", "a.png", "--mode", "moving"},
        {studio, "-o", "a.png", "--bit-depth", "32"},
        {studio, "-o", "a.png", "--crop", ""},
        {studio, "-o", "a.png", "--time-limit", ""},
        {studio, "-o", "a.png", "--eye", "1e300,0,0"},
        {studio, "-o", "a.png", "--eye", "0x10,0,0"},
        {studio, "-o", "a.png", "--eye", "1,2,3", "--at", "1,2,3"},
        {studio, "-o", "a.png", "--view-up", "0,0,0"},
        {studio, "-o", "a.png", "--up", "0,0,0"},
        {studio, "-o", "a.png", "-c", ""},
        {studio, "-o", "a.png", "-c", "hero", "--fov", "20"},
        {studio, "-o", "a.png", "-o", "./a.png"},
        {studio, "-o", "a.png", "--stats", "a.png"},
        {studio, "-o", "a.png", "--up", "x"},
        {studio, "-o", "a.png", "--unit", "furlong"},
        {studio, "-o", "a.png", "--integrator", "norml"},
        {"info", studio, "--pick", "1280,0"},
        {"info", studio, "--pick", "1"},
        {"debug-pixel", "-1,2", studio},
        {"debug-pixel", studio},
        {"list", "types", "extra"},
        {studio, "-o", "a.png", "-c", "no such camera", "-r", "8x8"},
        {"list", "fields", "NoSuchType"},
        {"list", "everything"},
    };
    for (const std::vector<std::string>& arguments : wrong) {
        const ProgramResult result = znrender(arguments);
        std::string line;
        for (const std::string& word : arguments)
            line += word + " ";
        EXPECT_EQ(result.exitCode, 2) << line << result.error;
        EXPECT_EQ(result.errorLines(), 1) << line << result.error;
        EXPECT_EQ(result.out, "") << line;
    }
    EXPECT_FALSE(std::filesystem::exists("a.png"));
}

// Not a number is no place in any range, and digits behind a zero are no octal ones.
TEST(ZnRender, TakesNumbersInTheirRangeOnly)
{
    const std::vector<std::array<std::string, 3>> cases = {
        {"--exposure", "nan", "--exposure: 'nan' is no number"},
        {"--scale", "nan", "--scale: 'nan' is no number"},
        {"--fov", "nan", "--fov: 'nan' is no number"},
        {"--clamp", "nan", "--clamp: 'nan' is no number"},
        {"--noise", "nan", "--noise: 'nan' is no number"},
        {"--env-rotation", "nan", "--env-rotation: 'nan' is no number"},
        {"--env-strength", "nan", "--env-strength: 'nan' is no number"},
        {"--env-strength", "inf", "--env-strength: 'inf' lies outside of 0 to 1e+09"},
        {"--exposure", "0x10", "--exposure: '0x10' is no number"},
        {"--exposure", "-51", "--exposure: '-51' lies outside of -50 to 50"},
        {"--clamp", "0", "--clamp: '0' lies outside of 0.0001 to 1e+30"},
        {"--bounces", "65", "--bounces: '65' lies outside of 0 to 64"},
        {"--samples", "1.5", "--samples: '1.5' is no whole number"},
        {"--samples", "0x10", "--samples: '0x10' is no whole number"},
        {"--seed", "65536", "--seed: '65536' lies outside of 0 to 65535"},
        {"--mode", "moving",
         "--mode: 'moving' is unknown, perhaps 'still'; there are still, "
         "interactive"},
        {"--bit-depth", "7", "--bit-depth: '7' is unknown, perhaps '8'; there are 8, 16, 32"},
    };
    for (const auto& [option, value, fault] : cases) {
        const ProgramResult result = znrender({studio, "-o", "a.png", option, value});
        EXPECT_EQ(result.exitCode, 2) << option;
        EXPECT_EQ(result.error, "znrender: " + fault + " (see 'znrender --help')\n");
    }
    const TemporaryFolder folder;
    const std::string picture = folder.path("out.png");
    const ProgramResult good =
        znrender({squareScene(folder.path()), "-o", picture, "-r", "8x8", "-s", "010", "--exposure",
                  "+1", "--env", "none", "--json-progress"});
    EXPECT_EQ(good.exitCode, 0) << good.error;
    EXPECT_NE(good.out.find("\"samples\": 10,"), std::string::npos) << good.out;
}

TEST(ZnRender, NamesTheOptionThatWasMeant)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{studio, "-o", "a.png", "--exposre", "2"},
         "--exposre: there is no such option, perhaps '--exposure'"},
        {{studio, "-o", "a.png", "--exposre=2"},
         "--exposre: there is no such option, perhaps '--exposure'"},
        {{studio, "-o", "a.png", "-z"}, "-z: there is no such option"},
        {{"list", "materials", "--exposure", "2"}, "--exposure: is no option of 'list'"},
        {{studio, "-o", "a.png", "--exposure"}, "--exposure: needs a value"},
        {{studio, "-o", "a.png", "-s", "2", "--samples", "3"},
         "--samples: is given more than once"},
    };
    for (const auto& [arguments, fault] : cases) {
        const ProgramResult result = znrender(arguments);
        EXPECT_EQ(result.exitCode, 2) << fault;
        EXPECT_EQ(result.error, "znrender: " + fault + " (see 'znrender --help')\n");
    }
}

// As behind "2>&1 | head -1", or started by something that has gone: nobody reads the messages.
TEST(ZnRender, EndsByItsExitCodeWhenNobodyReadsItsMessages)
{
    const TemporaryFolder folder;
    const std::string program = std::string(ZN_BINARY_DIR) + "/znrender", log = folder.path("log");
    const auto run = [&](const std::string& words) {
        const int status = std::system(("'" + program + "' " + words + " >&- 2>&-").c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    };
    EXPECT_EQ(run("missing.glb -o a.png"), 1);
    EXPECT_EQ(run("--no-such-option"), 2);
    EXPECT_EQ(run("missing.glb -o a.png --log-file '" + log + "'"), 1);
    const std::string scene = squareScene(folder.path()), picture = folder.path("out.png");
    EXPECT_EQ(run("'" + scene + "' -o '" + picture + "' -r 8x8 -s 1 --log-level info --log-file '" +
                  log + "'"),
              0);
    EXPECT_EQ(io::readImage(picture).width, 8u);
}

TEST(ZnRender, NamesFileAndCauseOfABadScene)
{
    const TemporaryFolder folder;
    const auto file = [&](const std::string& name, const std::string& content) {
        std::ofstream(folder.path() + "/" + name, std::ios::binary) << content;
        return folder.path() + "/" + name;
    };
    const std::vector<std::string> scenes = {
        folder.path("missing.glb"),
        folder.path(),
        file("empty.gltf", ""),
        file("text.gltf", "no json"),
        file("open.gltf", "{\"asset\": {\"version\": \"2.0\""),
        file("nothing.gltf", R"({"asset":{"version":"2.0"}})"),
        file("cut.glb", std::string("glTF\2\0\0\0\xff\xff\0\0", 12)),
        file("unknown.xyz", "some text"),
        file("cycle.gltf", R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0]}],)"
                           R"("nodes":[{"children":[1]},{"children":[0]}]})"),
    };
    for (const std::string& scene : scenes) {
        const std::string picture = folder.path("out.png");
        const ProgramResult result = znrender({scene, "-o", picture, "-r", "8x8", "-s", "1"});
        EXPECT_EQ(result.exitCode, 1) << scene << "\n" << result.error;
        EXPECT_EQ(result.errorLines(), 1) << scene << "\n" << result.error;
        EXPECT_NE(result.error.find(std::filesystem::path(scene).filename().string()),
                  std::string::npos)
            << result.error;
        EXPECT_FALSE(std::filesystem::exists(picture)) << scene;
    }
}

TEST(ZnRender, SaysBeforeTheFirstRayThatAnOutputCannotBeWritten)
{
    const TemporaryFolder folder;
    for (const std::string& output :
         {folder.path("no/such/folder/a.png"), folder.path("folder.png")}) {
        std::filesystem::create_directories(folder.path("folder.png"));
        const ProgramResult result =
            znrender({studio, "-o", output, "-r", "4096x4096", "-s", "4096"});
        EXPECT_EQ(result.exitCode, 1) << result.error;
        EXPECT_EQ(result.errorLines(), 1) << result.error;
    }
}

TEST(ZnRender, TellsWhatASceneHolds)
{
    const ProgramResult info = znrender({"info", studio});
    EXPECT_EQ(info.exitCode, 0) << info.error;
    EXPECT_NE(info.out.find("materials  6"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("hero"), std::string::npos) << info.out;
    const ProgramResult cameras = znrender({"list", "cameras", studio});
    EXPECT_EQ(cameras.exitCode, 0);
    EXPECT_NE(cameras.out.find("28 degrees"), std::string::npos) << cameras.out;
    const ProgramResult fields = znrender({"list", "fields", "UberCamera"});
    EXPECT_EQ(fields.exitCode, 0);
    EXPECT_NE(fields.out.find("fovAxis"), std::string::npos);
    EXPECT_NE(znrender({"list", "types"}).out.find("UGlassMaterial"), std::string::npos);
    EXPECT_EQ(znrender({"--version"}).exitCode, 0);
    EXPECT_NE(znrender({"--help"}).out.find("--crop"), std::string::npos);
}

TEST(ZnRender, ConvertsToAnArchiveThatGivesTheSamePicture)
{
    const TemporaryFolder folder;
    const std::string archive = folder.path("studio.zna");
    const ProgramResult convert = znrender({"convert", studio, "-o", archive});
    ASSERT_EQ(convert.exitCode, 0) << convert.error;
    std::vector<io::ImageData> images;
    for (const std::string& scene : {studio, archive}) {
        const std::string picture = folder.path("a.pfm");
        const ProgramResult result = znrender({scene, "-o", picture, "-r", "96x54", "-s", "1",
                                               "--mode", "interactive", "-q", "--overwrite"});
        ASSERT_EQ(result.exitCode, 0) << result.error;
        images.push_back(io::readImage(picture));
    }
    EXPECT_EQ(images[0].values, images[1].values);
}

TEST(ZnRender, FinishesTheSampleAndWritesWhenInterrupted)
{
    const TemporaryFolder folder;
    const std::string picture = folder.path("a.png");
    // Interrupted once the first lines of progress show that it renders.
    const ProgramResult result = support::runProgram(
        "znrender", {studio, "-o", picture, "-r", "320x180", "-s", "4096", "--json-progress"},
        [](int process, const support::OutputCount& written) {
            for (int i = 0; i < 6000 && written == 0; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            kill(process, SIGINT);
        });
    EXPECT_EQ(result.exitCode, 3) << result.error;
    EXPECT_EQ(io::readImage(picture).width, 320u);
}

// Nothing is worth finishing before the first sample: a signal ends the process there and then.
TEST(ZnRender, EndsAtOnceWhenItIsStoppedWhileItLoads)
{
    const TemporaryFolder folder;
    const std::string scene = folder.path("large.obj"), picture = folder.path("a.png");
    std::string text;
    for (int i = 0; i < 200000; ++i)
        text += "v " + std::to_string(i % 631) + " " + std::to_string(i % 317) + " 0\n";
    for (int i = 1; i + 2 <= 200000; ++i)
        text += "f " + std::to_string(i) + " " + std::to_string(i + 1) + " " +
                std::to_string(i + 2) + "\n";
    folder.write("large.obj", text);
    for (const int signal : {SIGINT, SIGTERM}) {
        const ProgramResult result =
            support::runProgram("znrender", {scene, "-o", picture, "-r", "64x64"},
                                [&](int process, const support::OutputCount&) {
                                    std::this_thread::sleep_for(std::chrono::milliseconds(200));
                                    kill(process, signal);
                                });
        EXPECT_TRUE(result.exitCode == 1 || result.exitCode == 128 + signal) << result.exitCode;
        EXPECT_LE(result.errorLines(), 1) << result.error;
        EXPECT_EQ(folder.names(), std::set<std::string>{"large.obj"});
    }
}

// Whatever the moment, there is a whole picture and exit code 3, or none and another code.
TEST(ZnRender, HarmsNoFileWhenItIsStoppedAtAnyTime)
{
    constexpr int rounds = 24, atOnce = 6;
    struct Pauses
    {
        int beforeFirst, beforeSecond; ///< milliseconds
    };
    std::mt19937 random(7);
    std::vector<Pauses> pauses(rounds);
    for (Pauses& p : pauses)
        p = {int(random() % 120), int(random() % 120)};
    std::atomic<int> next = 0, whole = 0;
    const auto playRound = [&](int round) {
        const TemporaryFolder folder;
        const std::string old = "an old file";
        folder.write("a.exr", old);
        const int signal = round % 2 ? SIGTERM : SIGINT;
        const auto pause = [](int milliseconds) {
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        };
        const ProgramResult result = support::runProgram(
            "znrender",
            {studio, "-o", folder.path("a.exr"), "-r", "64x36", "-s", "4096", "--passes", "all",
             "-t", "1", "--overwrite", "--json-progress"},
            [&](int process, const support::OutputCount& written) {
                // In one half of the rounds it loads, in the other it renders and writes.
                for (int i = 0; round >= rounds / 2 && i < 15000 && written == 0; ++i)
                    pause(2);
                pause(pauses[std::size_t(round)].beforeFirst);
                kill(process, signal);
                pause(pauses[std::size_t(round)].beforeSecond);
                // Twice: out.
                kill(process, round % 3 == 0 ? SIGINT : SIGTERM);
            });
        EXPECT_EQ(folder.names(), std::set<std::string>{"a.exr"}) << round;
        if (folder.read("a.exr") == old) {
            EXPECT_NE(result.exitCode, 0);
            EXPECT_NE(result.exitCode, 3);
        } else {
            ++whole;
            EXPECT_EQ(result.exitCode, 3) << result.error;
            EXPECT_EQ(io::readImage(folder.path("a.exr")).width, 64u);
        }
    };
    std::vector<std::thread> players;
    for (int player = 0; player < atOnce; ++player)
        players.emplace_back([&] {
            for (int round; (round = next++) < rounds;)
                playRound(round);
        });
    for (std::thread& player : players)
        player.join();
    std::printf("%d of %d pictures were written\n", whole.load(), rounds);
}

// The middle of the picture is where the camera looks; the hit lies on the square.
TEST(ZnRender, TellsWhatAPixelShows)
{
    const TemporaryFolder folder;
    const std::string scene = squareScene(folder.path());
    std::vector<std::string> view = {"-r",         "201x101", "--eye", "0.5,-5,0.25", "-q",  "--at",
                                     "0.5,0,0.25", "--fov",   "45",    "--env",       "none"};
    const auto run = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), view.begin(), view.end());
        const ProgramResult result = znrender(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        return result.out;
    };
    const std::string hit = run({"info", scene, "--pick", "100,50"});
    EXPECT_NE(hit.find("distance   5\n"), std::string::npos) << hit;
    EXPECT_NE(hit.find("node       /"), std::string::npos) << hit;
    float x = 0, y = 0, z = 0;
    const std::size_t at = hit.find("position   ");
    ASSERT_NE(at, std::string::npos);
    ASSERT_EQ(std::sscanf(hit.c_str() + at, "position %f, %f, %f", &x, &y, &z), 3);
    // Rows are 0.041 high. Frames look at a place next to the pixel's centre.
    const float halfPixel = 5.0f * std::tan(22.5f * 3.14159265f / 180.0f) / 101.0f;
    const znRTVector2f shift = znPixelfilterSampleSet::getSampleShift(0);
    EXPECT_NEAR(x, 0.5f + shift.x * halfPixel, 1e-5f);
    EXPECT_NEAR(y, 0.0f, 1e-5f);
    EXPECT_NEAR(z, 0.25f + shift.y * halfPixel, 1e-5f);
    // They count from the top. The square ends 0.75 above and 1.25 below the
    // middle.
    EXPECT_NE(run({"info", scene, "--pick", "100,35"}).find("distance"), std::string::npos);
    EXPECT_NE(run({"info", scene, "--pick", "100,25"}).find("background"), std::string::npos);
    EXPECT_NE(run({"info", scene, "--pick", "100,75"}).find("distance"), std::string::npos);

    const std::string rays = run({"debug-pixel", "100,50", scene});
    EXPECT_NE(rays.find("1 rays"), std::string::npos) << rays;
    EXPECT_NE(rays.find("[camera]"), std::string::npos) << rays;
    EXPECT_NE(rays.find("distance 5,"), std::string::npos) << rays;
    EXPECT_NE(run({"debug-pixel", "100,2", scene}).find("hits nothing"), std::string::npos);

    // Without "none" the picture has the studio round the scene, and so have these.
    view.resize(view.size() - 2);
    EXPECT_NE(run({"info", scene, "--pick", "100,25"}).find("surroundings"), std::string::npos);
    EXPECT_NE(run({"info", scene, "--pick", "100,25", "--background", "none"}).find("background"),
              std::string::npos);
    const std::string lit = run({"debug-pixel", "100,50", scene});
    EXPECT_NE(lit.find("[environment or occlusion]"), std::string::npos) << lit;
    EXPECT_EQ(
        run({"debug-pixel", "100,50", scene, "--gi", "direct"}).find("[environment or occlusion]"),
        std::string::npos);
}

// A view that nobody placed has the floor of the picture, below what is to be seen.
TEST(ZnRender, TellsThatAPixelShowsTheFloor)
{
    const TemporaryFolder folder;
    const std::string scene = squareScene(folder.path());
    const auto pick = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"info", scene, "--pick", "50,95", "-r", "100x100"});
        return znrender(arguments).out;
    };
    EXPECT_NE(pick({}).find("/floor\n"), std::string::npos) << pick({});
    EXPECT_EQ(pick({"--no-ground"}).find("floor"), std::string::npos);
}

// Every further ray of the occlusion view starts where the camera ray ended.
TEST(ZnRender, PutsRaysUnderTheRayThatSentThem)
{
    const ProgramResult result =
        znrender({"debug-pixel", "100,60", studio, "-r", "200x120", "--integrator", "occlusion"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    std::istringstream lines(result.out);
    int cameraRays = 0, shadowRays = 0;
    for (std::string line; std::getline(lines, line);) {
        cameraRays += line.rfind("0 ray [camera]", 0) == 0;
        shadowRays += line.rfind("  ", 0) == 0 && line.find(" shadow ray [") != line.npos;
    }
    EXPECT_EQ(cameraRays, 1) << result.out;
    EXPECT_GE(shadowRays, 4) << result.out;
}

// The same scene, lit or shown in ways that need no light.
TEST(ZnRender, ShowsWhatTheIntegratorIsNamedAfter)
{
    const TemporaryFolder folder;
    std::set<std::string> pictures;
    for (const char* name : {"beauty", "normal", "discontinuity", "occlusion", "debug"}) {
        const std::string picture = folder.path(std::string(name) + ".png");
        const ProgramResult result =
            znrender({studio, "-o", picture, "-r", "64x36", "-s", "1", "--integrator", name, "-q"});
        ASSERT_EQ(result.exitCode, 0) << result.error;
        std::ifstream file(picture, std::ios::binary);
        pictures.emplace(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    EXPECT_EQ(pictures.size(), 5u);
}

// A stop is a factor of two of the light, which the sRGB curve (IEC 61966-2-1) of the picture
// hides; pictures of light keep it.
TEST(ZnRender, ExposesThePictureByStops)
{
    const auto light = [](float encoded) {
        return encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
    };
    const TemporaryFolder folder;
    std::vector<io::ImageData> pictures, lights;
    for (const std::string stops : {"0", "-1"}) {
        const std::string picture = folder.path(stops + ".png"), hdr = folder.path(stops + ".hdr");
        const ProgramResult result =
            znrender({studio, "-o", picture, "-o", hdr, "-r", "64x36", "-s", "1", "--bit-depth",
                      "16", "--exposure", stops, "--view", "standard", "-q"});
        ASSERT_EQ(result.exitCode, 0) << result.error;
        pictures.push_back(io::readImage(picture));
        lights.push_back(io::readImage(hdr));
    }
    EXPECT_EQ(lights[0].values, lights[1].values);
    u32 compared = 0;
    for (u32 y = 0; y < 36; ++y)
        for (u32 x = 0; x < 64; ++x) {
            const float bright = light(pictures[0].getNormalized(x, y, 1));
            const float dim = light(pictures[1].getNormalized(x, y, 1));
            if (bright < 0.05f || bright > 0.95f)
                continue;
            EXPECT_NEAR(bright / dim, 2.0f, 0.01f) << x << " " << y;
            ++compared;
        }
    EXPECT_GT(compared, 1000u);
}

TEST(ZnRender, StopsWhenTheTimeIsUp)
{
    const TemporaryFolder folder;
    const std::string picture = folder.path("a.png"), stats = folder.path("stats.json");
    const ProgramResult result = znrender({studio, "-o", picture, "-r", "320x180", "-s", "65536",
                                           "--time-limit", "1s", "--stats", stats, "-q"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    std::ifstream file(stats);
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    EXPECT_NE(text.find("\"complete\": false"), std::string::npos) << text;
}
