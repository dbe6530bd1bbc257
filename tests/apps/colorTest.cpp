// From light to the values of a picture: views, colour configurations, profiles.

#include "appScenes.h"

#include "image/OcioView.h"

#include <gtest/gtest.h>
#include <lcms2.h>

#include <algorithm>
#include <cstdlib>

using namespace appTest;
using support::ProgramResult;

namespace {

double sRGB(double linear)
{
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}

std::string bytesOf(cmsHPROFILE profile)
{
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::string bytes(size, '\0');
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    return bytes;
}

/// The primaries of sRGB with another curve.
std::string gammaProfile(double gamma)
{
    const cmsCIExyY white = {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.30, 0.60, 1.0}, {0.15, 0.06, 1.0}};
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, gamma);
    cmsToneCurve* const curves[3] = {curve, curve, curve};
    const std::string bytes = bytesOf(cmsCreateRGBProfile(&white, &primaries, curves));
    cmsFreeToneCurve(curve);
    return bytes;
}

std::string greyProfile()
{
    const cmsCIExyY white = {0.3127, 0.3290, 1.0};
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, 2.2);
    const std::string bytes = bytesOf(cmsCreateGrayProfile(&white, curve));
    cmsFreeToneCurve(curve);
    return bytes;
}

/// Two displays; views halve the light or show it as it is.
const char* const configuration = R"(ocio_profile_version: 2
roles:
  scene_linear: lin_rec709
  default: lin_rec709
displays:
  Monitor:
    - !<View> {name: Half, colorspace: half}
    - !<View> {name: Plain, colorspace: lin_rec709}
  Cinema:
    - !<View> {name: Quarter, colorspace: quarter}
colorspaces:
  - !<ColorSpace>
    name: lin_rec709
  - !<ColorSpace>
    name: half
    from_scene_reference: !<MatrixTransform> {matrix: [0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 1]}
  - !<ColorSpace>
    name: quarter
    from_scene_reference: !<MatrixTransform> {matrix: [0.25, 0, 0, 0, 0, 0.25, 0, 0, 0, 0, 0.25, 0, 0, 0, 0, 1]}
)";

/// A picture whose corner shows surroundings of a known light.
class ZnRenderColor : public testing::Test
{
protected:
    ZnRenderColor() { unsetenv("OCIO"); }
    ~ZnRenderColor() override { unsetenv("OCIO"); }

    io::ImageData image(const std::vector<std::string>& words, float light = 0.5f,
                        const std::string& name = "a.png")
    {
        const std::string around =
            surroundingsFile(folder, "around.pfm", [light](u32, u32) { return light; });
        const std::string picture = folder.path(name);
        std::vector<std::string> common = frontView(scene, picture);
        common.insert(common.end(), {"--env", around, "--bit-depth", "16", "--exposure", "0"});
        return render(common, words, picture);
    }
    double corner(const std::vector<std::string>& words, float light = 0.5f)
    {
        return double(image(words, light).getNormalized(1, 1, 1));
    }

    TemporaryFolder folder;
    std::string scene = matteSquare(folder);
};

class ZnRenderColorConfiguration : public ZnRenderColor
{
protected:
    void SetUp() override
    {
        if (!OcioView::isAvailable())
            GTEST_SKIP() << "built without OpenColorIO";
        file = folder.write("config.ocio", configuration);
    }
    std::string file;
};

} // namespace

// The neutral curve takes .04 off and leaves what is below .76; the standard view only clips.
TEST_F(ZnRenderColor, ShowsLightThroughItsViews)
{
    EXPECT_NEAR(corner({}), sRGB(0.46), 2e-4);
    EXPECT_NEAR(corner({"--view", "neutral"}), sRGB(0.46), 2e-4);
    EXPECT_NEAR(corner({"--view", "standard"}), sRGB(0.5), 2e-4);
    EXPECT_NEAR(corner({"--no-tonemap"}), sRGB(0.5), 2e-4);
    const double x = 0.5;
    EXPECT_NEAR(corner({"--view", "aces"}),
                sRGB(x * (2.51 * x + 0.03) / (x * (2.43 * x + 0.59) + 0.14)), 2e-4);
    // Light above white: compressed, or cut.
    const double bright = corner({}, 3.0f);
    EXPECT_GT(bright, sRGB(0.9));
    EXPECT_LT(bright, 0.999);
    EXPECT_EQ(corner({"--view", "standard"}, 3.0f), 1.0);
    EXPECT_NEAR(corner({"--view", "standard", "--exposure", "-3"}, 3.0f), sRGB(0.375), 2e-4);
}

TEST_F(ZnRenderColor, LeavesLightAsItIsInFilesOfLight)
{
    for (const char* name : {"a.exr", "a.pfm", "a.hdr"})
        EXPECT_NEAR(image({"--view", "aces", "--exposure", "2"}, 0.5f, name).getNormalized(1, 1, 1),
                    0.5f, 0.003f)
            << name;
}

TEST_F(ZnRenderColor, MakesPicturesForAProfileAndPutsItIn)
{
    const std::string profile = folder.write("display.icc", gammaProfile(1.8));
    for (const char* name : {"a.png", "a.jpg", "a.tif"}) {
        const io::ImageData picture = image({"--no-tonemap", "--icc", profile}, 0.5f, name);
        EXPECT_NEAR(picture.getNormalized(1, 1, 1), std::pow(0.5, 1.0 / 1.8), 0.006) << name;
        const std::string embedded(picture.iccProfile.begin(), picture.iccProfile.end());
        EXPECT_EQ(embedded.size(), folder.read("display.icc").size()) << name;
        EXPECT_TRUE(embedded == folder.read("display.icc")) << name;
    }
}

TEST_F(ZnRenderColorConfiguration, GoesThroughDisplayAndView)
{
    EXPECT_NEAR(corner({"--ocio", file}), 0.25, 2e-4);
    EXPECT_NEAR(corner({"--ocio", file, "--view", "Plain"}), 0.5, 2e-4);
    EXPECT_NEAR(corner({"--ocio", file, "--display", "Cinema"}), 0.125, 2e-4);
    EXPECT_NEAR(corner({"--ocio", file, "--exposure", "1"}), 0.5, 2e-4);
    setenv("OCIO", file.c_str(), 1);
    EXPECT_NEAR(corner({}), 0.25, 2e-4);
    EXPECT_NEAR(corner({"--view", "Plain"}), 0.5, 2e-4);
    EXPECT_NEAR(corner({"--ocio", "none"}), sRGB(0.46), 2e-4);
    EXPECT_NEAR(corner({"--no-tonemap"}), sRGB(0.5), 2e-4);
}

TEST_F(ZnRenderColorConfiguration, KeepsTheCoverage)
{
    const io::ImageData picture = image({"--ocio", file, "--background", "none"});
    ASSERT_EQ(picture.channels, 4u);
    EXPECT_EQ(picture.getNormalized(1, 1, 3), 0.0f);
    EXPECT_EQ(picture.getNormalized(12, 12, 3), 1.0f);
}

TEST_F(ZnRenderColorConfiguration, NamesWhatIsThereWhenANameIsNot)
{
    const std::vector<std::vector<std::string>> wrong = {
        {"--ocio", file, "--view", "Half", "--display", "Cinema"},
        {"--ocio", file, "--display", "Television"}};
    const char* const known[] = {"Quarter", "Cinema, Monitor"};
    for (int i = 0; i < 2; ++i) {
        std::vector<std::string> words{scene, "-o", folder.path("b.png"), "-s", "1"};
        words.insert(words.end(), wrong[i].begin(), wrong[i].end());
        const ProgramResult result = znrender(words);
        EXPECT_EQ(result.exitCode, 2) << result.error;
        EXPECT_EQ(result.errorLines(), 1) << result.error;
        const bool isNamed = result.error.find(known[i]) != std::string::npos ||
                             result.error.find("Monitor, Cinema") != std::string::npos;
        EXPECT_TRUE(isNamed) << result.error;
    }
}

TEST_F(ZnRenderColor, NamesWhatIsWrongInOneLine)
{
    const std::string picture = folder.path("out.png");
    struct Case
    {
        int exitCode;
        std::string named;
        std::vector<std::string> words;
    };
    const std::vector<Case> cases = {
        {2, "--view", {"--view", "technicolor"}},
        {2, "neutral", {"--view", "neutrl"}},
        {2, "--display", {"--display", "Monitor"}},
        {2, "--no-tonemap", {"--no-tonemap", "--view", "aces"}},
        {1, "missing.icc", {"--icc", folder.path("missing.icc")}},
        {1, "text.icc", {"--icc", folder.write("text.icc", "no profile")}},
        {1, "grey.icc", {"--icc", folder.write("grey.icc", greyProfile())}},
        {1, "cut.icc", {"--icc", folder.write("cut.icc", gammaProfile(2.0).substr(0, 200))}},
        {1, "missing.ocio", {"--ocio", folder.path("missing.ocio")}},
        {1, "text.ocio", {"--ocio", folder.write("text.ocio", "no: [configuration")}},
        {1, "", {"--ocio", folder.path()}},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments{scene, "-o", picture, "-r", "8x8", "-s", "1"};
        arguments.insert(arguments.end(), c.words.begin(), c.words.end());
        const ProgramResult result = znrender(arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.words[0] << " " << result.error;
        EXPECT_EQ(result.errorLines(), 1) << result.error;
        EXPECT_NE(result.error.find(c.named), std::string::npos) << result.error;
        EXPECT_EQ(result.out, "");
        EXPECT_FALSE(std::filesystem::exists(picture));
    }
}
