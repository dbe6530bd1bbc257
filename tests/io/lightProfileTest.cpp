#include "io/lightProfile.h"

#include "io/InputError.h"
#include "support/messageOf.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <random>

namespace {

const std::filesystem::path dataFolder =
    std::filesystem::path(ZN_SOURCE_DIR) / ".." / "shared" / "data";

io::LightProfile readText(const std::string& text)
{
    const std::span<const u8> bytes(reinterpret_cast<const u8*>(text.data()), text.size());
    io::InputFile file = io::InputFile::fromMemory(bytes, "lamp.ies");
    return io::readLightProfile(file);
}

std::string refusalOf(const std::string& text)
{
    return messageOf([&] { readText(text); });
}

/// Numbers behind the TILT line for one plane.
const std::string plain = "1 1000 2.0 3 1 1 2 0 0 0\n1.0 1.0 50\n0 45 90\n0\n100 50 10\n";

// Candela at sample directions and lumens from an independent reader of the same files.
TEST(LightProfileFiles, GiveTheCandelaOfTheReference)
{
    std::ifstream stream(dataFolder / "reference" / "ies.json");
    if (!stream)
        GTEST_SKIP() << "no reference figures";
    const nlohmann::json reference = nlohmann::json::parse(stream);
    for (const auto& entry : reference["files"]) {
        const std::string name = entry["file"];
        const io::LightProfile profile = io::readLightProfile((dataFolder / "ies" / name).string());
        EXPECT_EQ(profile.type, entry["photometric_type"].get<int>());
        EXPECT_EQ(profile.vertical.size(), entry["n_vertical"].get<std::size_t>());
        EXPECT_EQ(profile.horizontal.size(), entry["n_horizontal"].get<std::size_t>());
        const float largest = *std::max_element(profile.candela.begin(), profile.candela.end());
        EXPECT_NEAR(largest, entry["max_candela"].get<double>(), 1e-4 * largest) << name;
        for (const auto& sample : entry["samples"]) {
            const double expected = sample["candela"];
            EXPECT_NEAR(profile.at(sample["vertical"], sample["horizontal"]), expected,
                        1e-5 * expected + 1e-4)
                << name << " " << sample;
        }
        const double lumens = entry["lumens"];
        EXPECT_NEAR(profile.lumens(), lumens, 2e-4 * lumens) << name;
    }
}

TEST(LightProfileFiles, MultiplyByTheirFactors)
{
    const io::LightProfile profile = readText("IESNA:LM-63-2002\nTILT=NONE\n" + plain);
    EXPECT_FLOAT_EQ(profile.at(0, 0), 200.0f);
    EXPECT_FLOAT_EQ(profile.at(22.5, 123), 150.0f);
    EXPECT_FLOAT_EQ(profile.at(90, 0), 20.0f);
    EXPECT_FLOAT_EQ(profile.at(91, 0), 0.0f);
}

TEST(LightProfileFiles, MayBeginInManyWays)
{
    for (const std::string header :
         {"TILT=NONE\n", "IESNA91\n[TEST] 1\ntilt=none\n", "anything\r\n\r\nTILT=NONE\r\n",
          "\xEF\xBB\xBFIESNA:LM-63-1995\n[MORE] TILT of the lamp\n  TILT= NONE  \n"})
        EXPECT_FLOAT_EQ(readText(header + plain).at(45, 0), 100.0f) << header;
    const std::string commas = "1,1000,2.0,3,1,1,2,0,0,0,1.0,1.0,50,0,45,90,0,100,50,+1e1";
    EXPECT_FLOAT_EQ(readText("TILT=NONE\n" + commas).at(90, 0), 20.0f);
}

TEST(LightProfileFiles, MayCarryTiltFactors)
{
    const std::string tilt = "TILT=INCLUDE\n1\n3\n0 45 90\n1.0 0.9 0.8\n";
    EXPECT_FLOAT_EQ(readText(tilt + plain).at(45, 0), 100.0f);
    EXPECT_FLOAT_EQ(readText("TILT=lamp.tlt\n" + plain).at(45, 0), 100.0f);
}

TEST(LightProfileFiles, MirrorWhatTheyLeaveOut)
{
    const std::string half = "TILT=NONE\n1 1 1 2 3 1 2 0 0 0 1 1 1\n0 90\n";
    const io::LightProfile bilateral = readText(half + "0 90 180\n1 1 2 2 3 3");
    EXPECT_FLOAT_EQ(bilateral.at(10, 270), 2.0f);
    EXPECT_FLOAT_EQ(bilateral.at(10, 200), bilateral.at(10, 160));
    EXPECT_FLOAT_EQ(bilateral.at(10, -45), 1.5f);
    const io::LightProfile quadrant = readText(half + "0 45 90\n1 1 2 2 3 3");
    for (const double angle : {30.0, 150.0, 210.0, 330.0})
        EXPECT_NEAR(quadrant.at(10, angle), 1.0 + 30.0 / 45.0, 1e-5) << angle;
    const io::LightProfile otherHalf = readText(half + "90 180 270\n1 1 2 2 3 3");
    EXPECT_FLOAT_EQ(otherHalf.at(10, 0), 2.0f);
    EXPECT_FLOAT_EQ(otherHalf.at(10, 45), otherHalf.at(10, 135));
    EXPECT_FLOAT_EQ(otherHalf.at(10, 300), otherHalf.at(10, 240));
}

// Type A counts degrees to the side about y and up; type B about x and to the side.
TEST(LightProfileFiles, KnowOtherPolarAxes)
{
    const std::string grid = " 2 0 0 0 1 1 1\n-90 0 90\n-90 0 90\n0 5 0 1 9 3 0 7 0";
    const io::LightProfile a = readText("TILT=NONE\n1 1 1 3 3 3" + grid);
    EXPECT_FLOAT_EQ(a.towards(0, 0, 1), 9.0f);
    EXPECT_FLOAT_EQ(a.towards(1, 0, 0), 7.0f);
    EXPECT_FLOAT_EQ(a.towards(-1, 0, 0), 5.0f);
    EXPECT_FLOAT_EQ(a.towards(0, 1, 0), 3.0f);
    EXPECT_FLOAT_EQ(a.towards(0, 0, -1), 0.0f) << "never measured";
    const double s = std::sin(std::numbers::pi / 4);
    EXPECT_NEAR(a.towards(0, s, s), 6.0f, 1e-4f);
    const io::LightProfile b = readText("TILT=NONE\n1 1 1 3 3 2" + grid);
    EXPECT_FLOAT_EQ(b.towards(0, 0, 1), 9.0f);
    EXPECT_FLOAT_EQ(b.towards(0, 1, 0), 3.0f);
    EXPECT_FLOAT_EQ(b.towards(0, -1, 0), 1.0f);
    EXPECT_NEAR(b.towards(s, 0, s), 8.0f, 1e-4f);
    const io::LightProfile halves =
        readText("TILT=NONE\n1 1 1 2 2 2 2 0 0 0 1 1 1\n0 90\n0 90\n9 3 7 0");
    EXPECT_FLOAT_EQ(halves.towards(0, -1, 0), 3.0f);
    EXPECT_FLOAT_EQ(halves.towards(-1, 0, 0), 7.0f);
}

TEST(LightProfileFiles, AreRefusedInOneLine)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", "TILT="},
        {"no photometry at all\n", "TILT="},
        {"TILT=NONE\n", "ends before the number of lamps"},
        {"TILT=NONE\n" + plain.substr(0, plain.size() - 4), "ends before a candela value"},
        {"TILT=NONE\n1 1000 two 3 1 1 2 0 0 0", "line 2: \"two\" is no number"},
        {"TILT=NONE\n1 1000 1 0 1 1 2 0 0 0", "vertical angles is out of range"},
        {"TILT=NONE\n1 1000 1 1e30 1 1 2 0 0 0", "vertical angles is out of range"},
        {"TILT=NONE\n1 1000 1 3000000 3000000 1 2 0 0 0", "too large"},
        {"TILT=NONE\n1 1000 1 3 1 4 2 0 0 0", "photometric type"},
        {"TILT=NONE\n1 1 1 3 1 1 2 0 0 0 1 1 1\n0 45 45\n0\n1 1 1", "do not ascend"},
        {"TILT=NONE\n1 1 1 3 1 1 2 0 0 0 1 1 1\n-1 45 90\n0\n1 1 1", "leave the range"},
        {"TILT=NONE\n1 1 1 3 1 1 2 0 0 0 1 1 1\n0 45 90\n0\n1 nan 1",
         "line 5: \"nan\" is no number, in the place of a candela value"}};
    for (const auto& [text, cause] : cases) {
        const std::string message = refusalOf(text);
        EXPECT_NE(message.find(cause), std::string::npos) << message;
        EXPECT_EQ(message.rfind("lamp.ies: ", 0), 0u) << message;
        EXPECT_EQ(message.find('\n'), std::string::npos);
    }
}

TEST(LightProfileFiles, SurviveDamage)
{
    const std::string whole = "IESNA91\nTILT=NONE\n" + plain;
    std::mt19937 engine(3);
    for (int i = 0; i < 2000; ++i) {
        std::string text = whole;
        for (int k = 0; k < 3; ++k)
            text[engine() % text.size()] = char(engine());
        text.resize(engine() % (text.size() + 1));
        try {
            readText(text);
        } catch (const io::InputError&) {
        }
    }
}

TEST(LightProfileFiles, BecomeMapsOfLights)
{
    const io::LightProfile profile = readText("TILT=NONE\n" + plain);
    const osg::Ref<osg::LightProfileAttachment> axial(io::makeLightProfileAttachment(profile));
    EXPECT_TRUE(axial->getUseLightProfile());
    EXPECT_EQ(axial->getPhotometricType(), 1);
    const osg::ImagePtr map = axial->getDistributionMap();
    EXPECT_EQ(map->getWidth(), 1u);
    EXPECT_NEAR(map->getPixel(0, 0)[0], profile.at(0.25, 0), 1e-3f);
    EXPECT_NEAR(map->getPixel(0, 89)[0], profile.at(44.75, 0), 1e-3f);
    EXPECT_EQ(map->getPixel(0, 359)[0], 0.0f);

    const io::LightProfile turned =
        readText("TILT=NONE\n1 1 1 2 3 1 2 0 0 0 1 1 1\n0 90\n0 90 180\n1 1 2 2 3 3");
    const osg::Ref<osg::LightProfileAttachment> full(io::makeLightProfileAttachment(turned));
    EXPECT_NEAR(full->getDistributionMap()->getPixel(90, 60)[0], turned.at(30.25, 90.5), 1e-4f);
}

} // namespace
