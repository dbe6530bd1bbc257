// The light that znrender puts round a scene, and how it exposes what it sees.

#include "appScenes.h"

#include <gtest/gtest.h>

using namespace appTest;
using support::ProgramResult;

namespace {

float at(const io::ImageData& image, u32 x, u32 y, u32 channel = 1)
{
    return image.getNormalized(x, y, channel);
}

double meanOf(const io::ImageData& image, u32 from = 0, u32 to = 24)
{
    double sum = 0.0;
    for (u32 y = from; y < to; ++y)
        for (u32 x = from; x < to; ++x)
            sum += double(at(image, x, y));
    return sum / ((to - from) * (to - from));
}

} // namespace

// A white square in a grey room is grey; by its normal it would be coloured.
TEST(ZnRenderLight, PutsASceneWithoutLightIntoAStudio)
{
    const TemporaryFolder folder;
    const std::string picture = folder.path("a.png");
    const io::ImageData image =
        render({matteSquare(folder), "-o", picture, "-r", "32x18", "-s", "4", "-q"}, {}, picture);
    for (u32 y = 0; y < 18; ++y)
        for (u32 x = 0; x < 32; ++x) {
            EXPECT_GT(at(image, x, y), 0.15f) << x << " " << y;
            EXPECT_NEAR(at(image, x, y, 0), at(image, x, y, 2), 0.02f) << x << " " << y;
        }
}

// Beside the square the floor takes its shadow; without a floor there is the room.
TEST(ZnRenderLight, PutsAFloorBelowASceneWithoutLight)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.pfm");
    const auto bottom = [&](const std::vector<std::string>& further) {
        const io::ImageData image = render({scene, "-o", picture, "-r", "24x24", "-s", "16", "-q",
                                            "--overwrite", "--filter", "box:1"},
                                           further, picture);
        double sum = 0.0;
        for (u32 x = 0; x < 24; ++x)
            sum += double(at(image, x, 23));
        return sum / 24.0;
    };
    const double floor = bottom({}), room = bottom({"--no-ground"});
    EXPECT_GT(std::abs(floor - room), 0.02) << floor << " " << room;
    EXPECT_GT(floor, 0.1);
    EXPECT_GT(room, 0.1);
}

TEST(ZnRenderLight, LeavesViewsOfShapesToTheSceneAlone)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.exr");
    for (const char* view : {"normal", "occlusion", "debug"}) {
        const io::ImageData image = render({scene, "-o", picture, "-r", "24x24", "-s", "1", "-q",
                                            "--overwrite", "--integrator", view},
                                           {}, picture);
        EXPECT_EQ(at(image, 0, 23, 3), 0.0f) << view;
        EXPECT_GT(at(image, 12, 12, 3), 0.0f) << view;
    }
}

TEST(ZnRenderLight, LeavesASceneDarkWhenItIsToldTo)
{
    const TemporaryFolder folder;
    const std::string scene = lampScene(folder, "lamp", 0.0), picture = folder.path("a.pfm");
    EXPECT_EQ(meanOf(render(frontView(scene, picture), {"--env", "none"}, picture)), 0.0);
    // A light of its own, even a dead one: no studio comes in.
    EXPECT_EQ(meanOf(render(frontView(scene, picture), {}, picture)), 0.0);
}

// A constant environment is seen as it is, times its strength, and a white matt surface under it
// shows nearly the same (a closed room of one radiance).
TEST(ZnRenderLight, TakesAPictureForTheSurroundings)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.pfm");
    const std::string around =
        surroundingsFile(folder, "around.hdr", [](u32, u32) { return 0.5f; });
    const std::vector<std::string> view = frontView(scene, picture);
    const io::ImageData plain = render(view, {"--env", around, "-s", "32"}, picture);
    EXPECT_NEAR(at(plain, 1, 1), 0.5f, 0.005f);
    const double onSquare = meanOf(plain, 11, 13);
    EXPECT_GT(onSquare, 0.3);
    EXPECT_LT(onSquare, 0.65);
    const io::ImageData strong =
        render(view, {"--env", around, "--env-strength", "3", "-s", "32"}, picture);
    EXPECT_NEAR(at(strong, 1, 1), 1.5f, 0.015f);
    EXPECT_NEAR(meanOf(strong, 11, 13) / onSquare, 3.0, 0.2);
}

TEST(ZnRenderLight, LeavesTheSurroundingsOutOfThePicture)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder);
    const std::string around =
        surroundingsFile(folder, "around.hdr", [](u32, u32) { return 0.5f; });
    for (const char* name : {"a.png", "a.exr", "a.tif"}) {
        const std::string picture = folder.path(name);
        const io::ImageData image =
            render(frontView(scene, picture), {"--env", around, "--background", "none"}, picture);
        ASSERT_EQ(image.channels, 4u) << name;
        EXPECT_EQ(at(image, 1, 1, 3), 0.0f) << name;
        EXPECT_EQ(at(image, 1, 1), 0.0f) << name;
        EXPECT_EQ(at(image, 12, 12, 3), 1.0f) << name;
        EXPECT_GT(at(image, 12, 12), 0.2f) << name;
    }
    const std::string opaque = folder.path("b.png");
    EXPECT_EQ(render(frontView(scene, opaque), {"--env", around}, opaque).channels, 3u);
}

// What lies straight ahead (the edges of the picture, at +y) moves to the right, to +x.
TEST(ZnRenderLight, TurnsTheSurroundings)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.pfm");
    const std::string around = surroundingsFile(
        folder, "around.pfm", [](u32 x, u32) { return x < 4 || x >= 28 ? 1.0f : 0.0f; });
    const auto seen = [&](const std::string& at, const std::string& degrees) {
        return meanOf(render({scene, "-o", picture, "-r", "24x24", "-s", "1", "--eye", "0,-5,40",
                              "--at", at, "--fov", "20", "-q", "--overwrite"},
                             {"--env", around, "--env-rotation", degrees}, picture));
    };
    const std::string ahead = "0,5,40", right = "10,-5,40";
    EXPECT_NEAR(seen(ahead, "0"), 1.0, 0.05);
    EXPECT_NEAR(seen(right, "0"), 0.0, 0.05);
    EXPECT_NEAR(seen(ahead, "90"), 0.0, 0.05);
    EXPECT_NEAR(seen(right, "90"), 1.0, 0.05);
    EXPECT_NEAR(seen(right, "-90"), 0.0, 0.05);
}

TEST(ZnRenderLight, PutsTheSunIntoTheSky)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.pfm");
    const auto onSquare = [&](const std::vector<std::string>& sky) {
        return meanOf(render(frontView(scene, picture), sky, picture), 11, 13);
    };
    // Low in the south the sun shines on the square's front, in the north on its back.
    const double south = onSquare({"--sun", "180,20", "-s", "16"});
    const double north = onSquare({"--sun", "0,20", "-s", "16"});
    EXPECT_GT(south, 2.0 * north) << south << " " << north;
    EXPECT_GT(north, 0.0);
    EXPECT_GT(onSquare({"--env", "sky"}), 0.0);
}

// A lamp of any strength gives a picture that is neither black nor white; what compositing gets
// stays the light that it is.
TEST(ZnRenderLight, ExposesByItsMeter)
{
    const TemporaryFolder folder;
    const std::string picture = folder.path("a.png"), log = folder.path("log.txt");
    for (const double candela : {0.02, 100.0, 100000.0}) {
        const std::string scene = lampScene(folder, "lamp", candela);
        const double mean =
            meanOf(render(frontView(scene, picture), {"--log-file", log}, picture), 9, 15);
        EXPECT_GT(mean, 0.3) << candela;
        EXPECT_LT(mean, 0.85) << candela;
        EXPECT_NE(folder.read("log.txt").find("Exposure"), std::string::npos);
        std::filesystem::remove(log);
    }
    const std::string scene = lampScene(folder, "lamp", 100000.0);
    EXPECT_GT(meanOf(render(frontView(scene, picture),
                            {"--exposure", "0", "--log-file", log, "--view", "standard"}, picture),
                     9, 15),
              0.99);
    EXPECT_EQ(folder.read("log.txt").find("Exposure"), std::string::npos);
    // A metre square lit from two metres: 1e5 cd / 4 over pi, white.
    const std::string light = folder.path("a.pfm");
    EXPECT_GT(meanOf(render(frontView(scene, light), {}, light), 11, 13), 1000.0);
}

// 100 cd from two metres on a white square, 100 / 4 and a little less: every sample is held at the
// clamp, which counts after the exposure; files of light have it before.
TEST(ZnRenderLight, HoldsSamplesBelowTheClamp)
{
    const TemporaryFolder folder;
    const std::string scene = lampScene(folder, "lamp", 100.0), picture = folder.path("a.pfm");
    const auto onSquare = [&](const char* exposure, std::vector<std::string> options) {
        options.insert(options.end(), {"--exposure", exposure});
        return meanOf(render(frontView(scene, picture), options, picture), 11, 13);
    };
    const double light = onSquare("0", {});
    EXPECT_GT(light, 12.0);
    EXPECT_LT(light, 26.0);
    EXPECT_EQ(onSquare("0", {"--clamp", "40"}), light);
    EXPECT_NEAR(onSquare("0", {"--clamp", "2"}), 2.0, 1e-5);
    EXPECT_NEAR(onSquare("-2", {"--clamp", "2"}), 8.0, 1e-4);
    EXPECT_NEAR(onSquare("0", {"--set", "settings.clamping=true", "--set",
                               "settings.reflectionClampValue=3"}),
                3.0, 1e-5);
}

// A lamp behind the square: seen from the usual side all is black.
TEST(ZnRenderLight, TurnsAViewThatNobodyChoseToTheLitSide)
{
    const TemporaryFolder folder;
    const std::string picture = folder.path("a.png");
    const std::string scene =
        matteSquare(folder, "behind",
                    R"(,{"extensions":{"KHR_lights_punctual":{"light":0}},"translation":[0,0,-3]})",
                    R"("extensionsUsed":["KHR_lights_punctual"],
"extensions":{"KHR_lights_punctual":{"lights":[{"type":"point","intensity":100}]}},)");
    const std::vector<std::string> arguments = {scene, "-o", picture, "-r",         "24x24",
                                                "-s",  "4",  "-q",    "--overwrite"};
    EXPECT_GT(meanOf(render(arguments, {}, picture), 9, 15), 0.3);
    EXPECT_LT(meanOf(render(arguments, {"--eye", "0.5,-6,1"}, picture), 9, 15), 0.01);
}

// Under even surroundings a white square that stands alone shows nearly the same on every level
// that takes their light. On the floor of the studio, light between surfaces comes on top.
TEST(ZnRenderLight, FollowsLightAsFarAsItIsTold)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.pfm");
    const std::string around =
        surroundingsFile(folder, "around.hdr", [](u32, u32) { return 1.0f; });
    const auto onSquare = [&](const std::string& level) {
        return meanOf(render(frontView(scene, picture), {"--env", around, "--gi", level}, picture),
                      11, 13);
    };
    const double sampled = onSquare("environment");
    EXPECT_GT(sampled, 0.5);
    EXPECT_EQ(onSquare("2"), sampled);
    EXPECT_GT(onSquare("ambient"), 0.5);
    EXPECT_EQ(onSquare("off"), 0.0);
    EXPECT_EQ(onSquare("0"), 0.0);
    // They are seen nevertheless, and light sources shine as they do alone.
    EXPECT_NEAR(
        meanOf(render(frontView(scene, picture), {"--env", around, "--gi", "direct"}, picture), 0,
               2),
        1.0, 1e-3);
    const std::string lamp = lampScene(folder, "lamp", 10.0);
    const auto underLamp = [&](const std::string& environment) {
        return meanOf(
            render(frontView(lamp, picture), {"--env", environment, "--gi", "direct"}, picture), 11,
            13);
    };
    EXPECT_GT(underLamp("none"), 0.1);
    EXPECT_EQ(underLamp(around), underLamp("none"));
    EXPECT_NEAR(onSquare("full"), sampled, 0.1 * sampled);

    // Walls, table and cups light each other.
    const std::string room = std::string(ZN_SOURCE_DIR) + "/examples/studio.glb";
    const auto inRoom = [&](const std::string& level, const std::string& bounces) {
        return meanOf(render({room, "-o", picture, "-r", "24x24", "-s", "4", "-q", "--overwrite"},
                             {"--env", around, "--gi", level, "--bounces", bounces}, picture));
    };
    EXPECT_GT(inRoom("full", "10"), 1.01 * inRoom("full", "1"));
    EXPECT_GT(inRoom("full", "1"), 1.01 * inRoom("environment", "10"));
    EXPECT_EQ(inRoom("full", "0"), inRoom("environment", "0"));
}

TEST(ZnRenderLight, NamesWhatIsWrongInOneLine)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("out.png");
    const std::string text = folder.write("text.hdr", "no picture");
    const std::string cut =
        folder.write("cut.hdr", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 4 +X 8\n");
    const std::string around =
        surroundingsFile(folder, "around.hdr", [](u32, u32) { return 1.0f; });
    struct Case
    {
        int exitCode;
        std::string named;
        std::vector<std::string> words;
    };
    const std::vector<Case> cases = {
        {1, "missing.hdr", {"--env", folder.path("missing.hdr")}},
        {1, "text.hdr", {"--env", text}},
        {1, "cut.hdr", {"--env", cut}},
        {1, "", {"--env", folder.path()}},
        {2, "--env", {"--env", ""}},
        {2, "--sun", {"--sun", "noon"}},
        {2, "--sun", {"--sun", "90"}},
        {2, "--sun", {"--sun", "90,91"}},
        {2, "--sun", {"--sun", "90,nan"}},
        {2, "--sun", {"--sun", "90,40", "--env", around}},
        {2, "--background", {"--background", "blue"}},
        {2, "--env-strength", {"--env-strength", "-1"}},
        {2, "--env-rotation", {"--env-rotation", "left"}},
        {2, "--exposure", {"--exposure", "1000"}},
        {2, "--gi", {"--gi", "everything"}},
        {2, "--gi", {"--gi", "4"}},
        {2, "--clamp", {"--clamp", "0"}},
        {2, "--noise", {"--noise", "-0.1"}},
        {2, "--bounces", {"--bounces", "65"}},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments{scene, "-o", picture, "-r", "8x8", "-s", "1"};
        arguments.insert(arguments.end(), c.words.begin(), c.words.end());
        const ProgramResult result = znrender(arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.words[0] << " " << c.words[1] << result.error;
        EXPECT_EQ(result.errorLines(), 1) << result.error;
        EXPECT_NE(result.error.find(c.named), std::string::npos) << result.error;
        EXPECT_FALSE(std::filesystem::exists(picture)) << c.words[1];
    }
}

// The clamp is a multiple of what the exposure makes white, so that both count the same stops.
TEST(ZnRenderLight, ClampsWhatIsExposed)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder), picture = folder.path("a.png");
    const std::string around =
        surroundingsFile(folder, "around.hdr", [](u32, u32) { return 64.0f; });
    const auto brightness = [&](const std::vector<std::string>& further) {
        return meanOf(render({scene, "-o", picture, "-r", "24x24", "-s", "4", "-q", "--overwrite",
                              "--env", around, "--no-tonemap"},
                             further, picture),
                      8, 16);
    };
    const double free = brightness({"--exposure", "-7"});
    EXPECT_GT(free, 0.4);
    EXPECT_LT(free, 0.9);
    EXPECT_NEAR(brightness({"--exposure", "-7", "--clamp", "1"}), free, 0.01);
    EXPECT_LT(brightness({"--exposure", "-7", "--clamp", "0.1"}), 0.6 * free);
}

// Every light of a few is looked at from a point that is seen; of many, four are drawn.
TEST(ZnRenderLight, LooksAtAllLightsWhereTheyAreFew)
{
    const TemporaryFolder folder;
    const std::string scene = matteSquare(folder);
    const auto shadowRays = [&](int lights) {
        std::string look = "{\"lights\": [";
        for (int i = 0; i < lights; ++i)
            look += std::string(i ? "," : "") + "{\"type\": \"UPointLight\", \"name\": \"lamp " +
                    std::to_string(i) + "\", \"position\": [0.1, -" + std::to_string(1 + i) +
                    ", 0.2]}";
        const std::string file = folder.write("a.zn.json", look + "]}");
        const ProgramResult result =
            znrender({"debug-pixel", "12,12", scene, "--look", file, "-r", "24x24", "--bounces",
                      "0", "--gi", "direct", "--at", "0,0,0", "--eye", "0.1,-0.5,0"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        int count = 0;
        for (std::size_t at = 0; (at = result.out.find("shadow ray", at)) != std::string::npos;
             ++at)
            ++count;
        return count;
    };
    EXPECT_EQ(shadowRays(7), 7);
    EXPECT_LE(shadowRays(12), 4);
}
