#include "host/znRTCryptomatte.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <fstream>
#include <random>
#include <thread>

namespace {

/// Sum of the coverages of all layers of a kind.
float coverageSum(const znRTCryptomatte& matte, int x, int y, int kind)
{
    float sum = 0.0f;
    for (int layer = 0; layer < 3; ++layer) {
        const ZN_RGBA32F c = matte.getLayer(x, y, 3 * kind + layer);
        sum += c.g + c.a;
    }
    return sum;
}

} // namespace

// Published vectors of MurmurHash3 x86 32 bit, and the id of the convention's own example.
TEST(Cryptomatte, HashesNamesAsPublished)
{
    EXPECT_EQ(znRTCryptomatte::murmur3("", 0), 0u);
    EXPECT_EQ(znRTCryptomatte::murmur3("", 1), 0x514e28b7u);
    EXPECT_EQ(znRTCryptomatte::murmur3("test", 0), 0xba6bd213u);
    EXPECT_EQ(znRTCryptomatte::murmur3("Hello, world!", 0), 0xc0363e43u);
    EXPECT_EQ(znRTCryptomatte::murmur3("The quick brown fox jumps over the lazy dog", 0),
              0x2e4ff723u);
    EXPECT_EQ(znRTCryptomatte::hash("torus"), 4053562365u);
    EXPECT_FLOAT_EQ(znRTCryptomatte::toFloat(znRTCryptomatte::hash("torus")), -1.54943624832e+30f);
}

TEST(Cryptomatte, AgreesWithTheReferenceIds)
{
    std::ifstream file(ZN_SOURCE_DIR "/../shared/data/reference/misc.json");
    if (!file)
        GTEST_SKIP() << "reference data is not here";
    const auto reference = nlohmann::json::parse(file);
    for (const auto& row : reference["cryptomatte_ids"]["values"]) {
        const std::string name = row["name"];
        const u32 bits = u32(std::stoul(row["id_bits_hex"].get<std::string>(), nullptr, 16));
        EXPECT_EQ(znRTCryptomatte::murmur3(name, 0),
                  u32(std::stoul(row["hash_hex"].get<std::string>(), nullptr, 16)))
            << name;
        EXPECT_EQ(znRTCryptomatte::hash(name), bits) << name;
        EXPECT_EQ(znRTCryptomatte::toFloat(bits), row["float"].get<float>()) << name;
    }
}

TEST(Cryptomatte, NeverGivesAnIdThatIsNoNormalFloat)
{
    for (int i = 0; i < 100000; ++i)
        ASSERT_TRUE(std::isnormal(
            znRTCryptomatte::toFloat(znRTCryptomatte::hash("node" + std::to_string(i)))))
            << i;
    EXPECT_EQ(znRTCryptomatte::hash(""), 0x00800000u);
}

TEST(Cryptomatte, RanksIdsByCoverage)
{
    znRTCryptomatte matte(2, 2);
    const u32 ids[] = {0x40000001, 0x40000002, 0x40000003};
    matte.add(1, 0, ids[0], 0x50000000, 1.0f);
    matte.add(1, 0, ids[1], 0x50000000, 3.0f);
    matte.add(1, 0, ids[2], 0x50000000, 2.0f);
    matte.add(1, 0, ids[0], 0x50000000, 4.0f);
    matte.sort();
    const ZN_RGBA32F first = matte.getLayer(1, 0, 0), second = matte.getLayer(1, 0, 1);
    EXPECT_EQ(std::bit_cast<u32>(first.r), ids[0]);
    EXPECT_FLOAT_EQ(first.g, 0.5f);
    EXPECT_EQ(std::bit_cast<u32>(first.b), ids[1]);
    EXPECT_FLOAT_EQ(first.a, 0.3f);
    EXPECT_EQ(std::bit_cast<u32>(second.r), ids[2]);
    EXPECT_FLOAT_EQ(second.g, 0.2f);
    EXPECT_EQ(second.a, 0.0f);
    const ZN_RGBA32F material = matte.getLayer(1, 0, 3);
    EXPECT_EQ(std::bit_cast<u32>(material.r), 0x50000000u);
    EXPECT_FLOAT_EQ(material.g, 1.0f);
    EXPECT_EQ(matte.getRankCount(1, 0, znRTCryptomatte::objects), 3);
    EXPECT_EQ(matte.getRankCount(1, 0, znRTCryptomatte::materials), 1);
    EXPECT_EQ(matte.getLayer(0, 0, 0).g, 0.0f);
    EXPECT_EQ(matte.getLayer(1, 0, 6).g, 0.0f);
    EXPECT_EQ(matte.getLayer(-1, 0, 0).g, 0.0f);
    EXPECT_EQ(matte.getLayer(0, 2, 0).g, 0.0f);
}

TEST(Cryptomatte, SumsCoverageToOne)
{
    znRTCryptomatte matte(8, 8);
    std::mt19937 random(41);
    for (int i = 0; i < 64 * 40; ++i)
        matte.add(int(random() % 8), int(random() % 8), random() % 6, random() % 3,
                  0.1f + float(random() % 100));
    matte.sort();
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            EXPECT_NEAR(coverageSum(matte, x, y, 0), 1.0f, 1e-6f);
            EXPECT_NEAR(coverageSum(matte, x, y, 1), 1.0f, 1e-6f);
        }
}

TEST(Cryptomatte, SortsTheSameWayTwiceAndGoesOnAfterwards)
{
    znRTCryptomatte matte(1, 1);
    matte.add(0, 0, 7, 7, 1.0f);
    matte.add(0, 0, 5, 7, 1.0f);
    matte.sort();
    const ZN_RGBA32F once = matte.getLayer(0, 0, 0);
    matte.sort();
    const ZN_RGBA32F twice = matte.getLayer(0, 0, 0);
    EXPECT_EQ(std::bit_cast<u32>(once.r), 5u) << "equal weights stand in the order of ids";
    EXPECT_EQ(std::bit_cast<u32>(once.r), std::bit_cast<u32>(twice.r));
    matte.add(0, 0, 7, 7, 2.0f);
    matte.sort();
    EXPECT_EQ(std::bit_cast<u32>(matte.getLayer(0, 0, 0).r), 7u);
    EXPECT_FLOAT_EQ(matte.getLayer(0, 0, 0).g, 0.75f);
}

TEST(Cryptomatte, LeavesOutWhatNegativeLobesCancel)
{
    znRTCryptomatte matte(1, 1);
    matte.add(0, 0, 1, 1, 1.0f);
    matte.add(0, 0, 2, 1, 0.2f);
    matte.add(0, 0, 2, 1, -0.3f);
    matte.add(0, 0, 3, 1, NAN);
    matte.sort();
    EXPECT_FLOAT_EQ(matte.getLayer(0, 0, 0).g, 1.0f);
    EXPECT_EQ(matte.getLayer(0, 0, 0).a, 0.0f);
    EXPECT_EQ(matte.getRankCount(0, 0, znRTCryptomatte::objects), 1);
}

TEST(Cryptomatte, IgnoresPixelsOutside)
{
    znRTCryptomatte matte(2, 2);
    matte.add(-1, 0, 1, 1, 1.0f);
    matte.add(2, 0, 1, 1, 1.0f);
    matte.addLocked(0, 2, 1, 1, 1.0f);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(matte.getRankCount(i % 2, i / 2, znRTCryptomatte::objects), 0);
}

// All threads add to the same four pixels; no weight of a power-of-two sum may get lost.
TEST(Cryptomatte, LosesNothingUnderThreads)
{
    znRTCryptomatte matte(2, 2);
    constexpr int threads = 4, rounds = 20000;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back([&matte, t] {
            for (int i = 0; i < rounds; ++i)
                matte.addLocked(i % 2, i / 2 % 2, 1 + u32(t), 9 + u32(i / 4 % 2), 1.0f);
        });
    for (std::thread& worker : workers)
        worker.join();
    matte.sort();
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(matte.getRankCount(i % 2, i / 2, znRTCryptomatte::objects), threads);
        // Each of the four ids has the same exact share.
        for (int layer = 0; layer < 2; ++layer) {
            EXPECT_EQ(matte.getLayer(i % 2, i / 2, layer).g, 0.25f);
            EXPECT_EQ(matte.getLayer(i % 2, i / 2, layer).a, 0.25f);
        }
        EXPECT_EQ(matte.getLayer(i % 2, i / 2, 3).g, 0.5f);
        EXPECT_EQ(matte.getLayer(i % 2, i / 2, 3).a, 0.5f);
    }
}

TEST(Cryptomatte, WritesNamesIntoItsManifest)
{
    znRTCryptomatte matte(1, 1);
    EXPECT_EQ(matte.addName(znRTCryptomatte::objects, "torus"), 4053562365u);
    matte.addName(znRTCryptomatte::objects, "a \"quoted\" n\xc3\xa4me");
    matte.addName(znRTCryptomatte::objects, "broken \xff utf-8");
    matte.addName(znRTCryptomatte::materials, "steel");
    const auto objects = nlohmann::json::parse(matte.getManifest(znRTCryptomatte::objects));
    EXPECT_EQ(objects.size(), 3u);
    EXPECT_EQ(objects["torus"], "f19c73fd");
    EXPECT_EQ(nlohmann::json::parse(matte.getManifest(znRTCryptomatte::materials)).size(), 1u);
    matte.clear();
    EXPECT_NE(matte.getManifest(znRTCryptomatte::materials), "{}") << "names outlive samples";
}

TEST(Cryptomatte, ForgetsSamplesOnClearAndResize)
{
    znRTCryptomatte matte(1, 1);
    matte.add(0, 0, 1, 1, 1.0f);
    matte.clear();
    EXPECT_EQ(matte.getRankCount(0, 0, znRTCryptomatte::objects), 0);
    matte.add(0, 0, 1, 1, 1.0f);
    matte.resize(3, 2);
    EXPECT_EQ(matte.getWidth(), 3);
    EXPECT_EQ(matte.getHeight(), 2);
    EXPECT_EQ(matte.getRankCount(0, 0, znRTCryptomatte::objects), 0);
    matte.resize(0, 0);
    matte.add(0, 0, 1, 1, 1.0f);
    matte.sort();
}
