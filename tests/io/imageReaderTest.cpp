#include "io/imageReader.h"

#include "io/InputError.h"
#include "io/imageWriter.h"
#include "support/TemporaryFolder.h"
#include "support/messageOf.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <random>
#include <thread>

using io::ImageData;

namespace {

const std::filesystem::path dataFolder =
    std::filesystem::path(ZN_SOURCE_DIR) / ".." / "shared" / "data" / "images";

std::vector<u8> bytesOf(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return std::vector<u8>(std::istreambuf_iterator<char>(stream), {});
}

std::vector<u8> bytes(std::string_view text)
{
    return {text.begin(), text.end()};
}

ImageData readBytes(const std::vector<u8>& content, const io::Limits& limits = {})
{
    return io::readImage(content, "test", limits);
}

std::string refusal(const std::vector<u8>& content, const io::Limits& limits = {})
{
    return messageOf([&] { readBytes(content, limits); });
}

/// Small files of every kind, from the sample images; empty where these are not there.
std::vector<std::filesystem::path> sampleFiles()
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::exists(dataFolder))
        for (const auto& entry : std::filesystem::directory_iterator(dataFolder))
            if (entry.path().extension() != ".json")
                files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

/// Reads what may be damaged: a picture or an InputError of one printable line, nothing else.
/// @return whether a picture came out
bool readDamaged(const std::vector<u8>& content)
{
    io::Limits limits;
    limits.imageSize = 2 << 20; // all samples are smaller; filling memory takes the time here
    try {
        const ImageData image = readBytes(content, limits);
        EXPECT_EQ(image.values.size(), image.getRowSize() * image.height);
        EXPECT_LE(image.values.size(), limits.imageSize);
        return true;
    } catch (const io::InputError& error) {
        EXPECT_EQ(std::string(error.what()).rfind("test: ", 0), 0u);
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        EXPECT_GT(std::string(error.what()).size(), 6u);
        return false;
    }
}

/// Stored values from expected.json in the order of our channels.
std::vector<double> expectedValues(const nlohmann::json& value)
{
    std::vector<double> result;
    if (value.is_array())
        return value.get<std::vector<double>>();
    for (const char* name : {"R", "G", "B", "Y", "A"})
        if (value.contains(name))
            result.push_back(value[name]);
    return result;
}

} // namespace

TEST(ImageReader, FindsTheValuesThatTheSampleFilesHold)
{
    if (!std::filesystem::exists(dataFolder))
        GTEST_SKIP() << "no sample images in " << dataFolder;
    std::ifstream stream(dataFolder / "expected.json");
    const nlohmann::json expected = nlohmann::json::parse(stream);
    std::size_t pixels = 0;
    for (const nlohmann::json& entry : expected["images"]) {
        const std::string file = entry["file"];
        if (file == "cmyk_33x17.jpg")
            continue; // has a test of its own
        const ImageData image = io::readImage((dataFolder / file).string());
        EXPECT_EQ(image.width, entry["width"].get<u32>()) << file;
        EXPECT_EQ(image.height, entry["height"].get<u32>()) << file;
        const double tolerance = file.ends_with(".jpg") ? 3.0 : 0.0;
        for (const nlohmann::json& pixel : entry["pixels"]) {
            const std::vector<double> values = expectedValues(pixel["value"]);
            ASSERT_EQ(image.channels, values.size()) << file;
            for (u32 c = 0; c < image.channels; ++c) {
                // Figures in the table are decimal; those of float files are rounded to float.
                // Half floats end at 65504; what is above was stored as infinity.
                const double value = image.getValue(pixel["x"], pixel["y"], c);
                if (image.type == ImageData::Type::half && values[c] > 65519) {
                    EXPECT_EQ(value, HUGE_VAL);
                    continue;
                }
                EXPECT_NEAR(value, values[c], std::max(tolerance, std::fabs(values[c]) * 1e-7))
                    << file << " " << pixel["x"] << "," << pixel["y"] << " channel " << c;
            }
            ++pixels;
        }
    }
    EXPECT_GE(pixels, 100u);
}

// Cyan 0, magenta 0, yellow y, no black: red and green are full, blue is 255 - y.
TEST(ImageReader, TurnsCmykIntoRgb)
{
    if (!std::filesystem::exists(dataFolder))
        GTEST_SKIP() << "no sample images in " << dataFolder;
    std::ifstream stream(dataFolder / "expected.json");
    const nlohmann::json expected = nlohmann::json::parse(stream);
    const ImageData image = io::readImage((dataFolder / "cmyk_33x17.jpg").string());
    ASSERT_EQ(image.channels, 3u);
    for (const nlohmann::json& entry : expected["images"]) {
        if (entry["file"] != "cmyk_33x17.jpg")
            continue;
        for (const nlohmann::json& pixel : entry["pixels"]) {
            const std::vector<double> ink = expectedValues(pixel["value"]);
            for (u32 c = 0; c < 3; ++c)
                EXPECT_NEAR(image.getValue(pixel["x"], pixel["y"], c),
                            (255 - ink[c]) * (255 - ink[3]) / 255, 4.0);
        }
    }
}

TEST(ImageReader, TellsCurvesWindowsAndTexts)
{
    if (!std::filesystem::exists(dataFolder))
        GTEST_SKIP() << "no sample images in " << dataFolder;
    const ImageData linear = io::readImage((dataFolder / "gama_chunk_16.png").string());
    EXPECT_EQ(linear.gamma, 1.0f);
    EXPECT_FALSE(linear.metadata.empty());
    EXPECT_EQ(io::readImage((dataFolder / "rgba8_32.png").string()).gamma, 2.2f);
    const ImageData window = io::readImage((dataFolder / "half_rgb_offset_window.exr").string());
    EXPECT_EQ(window.offsetX, 5);
    EXPECT_EQ(window.offsetY, -3);
    EXPECT_EQ(window.displayWidth, 32u);
    EXPECT_EQ(window.displayHeight, 16u);
    EXPECT_EQ(window.gamma, 1.0f);
}

TEST(ImageReader, LooksAtTheContentNotAtTheName)
{
    const TemporaryFolder folder;
    const std::string name = folder.write("picture.png", "P3\n2 1\n255\n1 2 3 4 5 6\n");
    EXPECT_EQ(messageOf([&] { io::readImage(name); }).find("P3"), std::string::npos);
    const std::string binary =
        folder.write("binary.jpg", std::string("P6\n2 1\n255\n\1\2\3\4\5\6"));
    const ImageData image = io::readImage(binary);
    EXPECT_EQ(image.width, 2u);
    EXPECT_EQ(image.getValue(1, 0, 2), 6);
}

TEST(ImageReader, NamesWhatItDoesNotKnow)
{
    EXPECT_EQ(refusal({}), "test: is empty");
    EXPECT_NE(refusal(bytes("<svg></svg>")).find("known format"), std::string::npos);
}

// A 2 x 2 bitmap and a 2 x 1 Targa image byte by byte, as their formats are published.
TEST(ImageReader, ReadsSmallFormats)
{
    std::vector<u8> bmp = bytes("BM");
    bmp.insert(bmp.end(),
               {70, 0, 0, 0, 0, 0, 0,  0, 54, 0, 0, 0, 40, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 1, 0,
                24, 0, 0, 0, 0, 0, 16, 0, 0,  0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    bmp.insert(bmp.end(), {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0});
    const ImageData bitmap = readBytes(bmp);
    ASSERT_EQ(bitmap.channels, 3u);
    EXPECT_EQ(bitmap.getValue(0, 0, 0), 9); // the lower row comes first, blue before red
    EXPECT_EQ(bitmap.getValue(1, 1, 2), 4);

    std::vector<u8> tga = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 0, 24, 0x20};
    tga.insert(tga.end(), {1, 2, 3, 4, 5, 6});
    const ImageData targa = readBytes(tga);
    EXPECT_EQ(targa.width, 2u);
    EXPECT_EQ(targa.getValue(1, 0, 0), 6);
    for (const std::vector<u8>& whole : {bmp, tga})
        for (std::size_t size = 0; size < whole.size(); ++size)
            EXPECT_FALSE(readDamaged({whole.begin(), whole.begin() + long(size)})) << size;
}

TEST(ImageReader, RefusesSizesAboveItsLimits)
{
    // Two gigapixels announced in 29 bytes: header, size, no data.
    EXPECT_NE(refusal(bytes("#?RADIANCE\n\n-Y 65536 +X 65536\n")).find("--limit image-size=N"),
              std::string::npos);
    EXPECT_NE(refusal(bytes("#?RADIANCE\n\n-Y 1 +X 65537\n")).find("--limit image-side=N"),
              std::string::npos);
    EXPECT_NE(refusal(bytes("P6 9999 9999 255\n")).find("--limit image-ratio=N"),
              std::string::npos);
    EXPECT_NE(refusal(bytes("PF\n4294967295 4294967295\n-1\n")).find("--limit image-side=N"),
              std::string::npos);
    io::Limits limits;
    limits.imageSide = 1;
    EXPECT_NE(refusal(bytes("P6\n2 1\n255\n123456"), limits).find("--limit image-side=N"),
              std::string::npos);
}

// Every place of a header takes the values that make sums and products overflow.
TEST(ImageReader, SurvivesExtremeSizesInHeaders)
{
    const u32 extremes[] = {0, 1, 0x7fffffff, 0x80000000, 0xfffffffe, 0xffffffff};
    for (const std::filesystem::path& path : sampleFiles()) {
        const std::vector<u8> whole = bytesOf(path);
        for (std::size_t at = 0; at + 4 <= std::min<std::size_t>(whole.size(), 400);
             at += at > 40 ? 5 : 1) {
            for (const u32 value : extremes) {
                std::vector<u8> damaged = whole;
                std::memcpy(damaged.data() + at, &value, 4);
                readDamaged(damaged);
            }
        }
    }
}

TEST(ImageReader, RefusesEveryBeginningOfAFile)
{
    if (sampleFiles().empty())
        GTEST_SKIP() << "no sample images in " << dataFolder;
    for (const std::filesystem::path& path : sampleFiles()) {
        const std::vector<u8> whole = bytesOf(path);
        const std::size_t step = whole.size() > 3000 ? 37 : 1;
        std::size_t accepted = 0;
        for (std::size_t size = 0; size < whole.size(); size += step)
            accepted += readDamaged({whole.begin(), whole.begin() + long(size)});
        // What follows the last pixel may be missing: ends of PNG and JPEG, unused tables of TIFF.
        EXPECT_LE(accepted, 12u) << path.filename();
    }
}

TEST(ImageReader, SurvivesFlippedBits)
{
    std::mt19937 random(1);
    for (const std::filesystem::path& path : sampleFiles()) {
        const std::vector<u8> whole = bytesOf(path);
        for (int round = 0; round < 300; ++round) {
            std::vector<u8> damaged = whole;
            const std::size_t range =
                round % 2 ? damaged.size() : std::min<std::size_t>(200, damaged.size());
            for (int flips = 1 + int(random() % 4); flips > 0; --flips)
                damaged[random() % range] ^= u8(1u << random() % 8);
            readDamaged(damaged);
        }
    }
}

TEST(ImageReader, WorksOnManyThreads)
{
    const std::vector<std::filesystem::path> files = sampleFiles();
    if (files.empty())
        GTEST_SKIP() << "no sample images in " << dataFolder;
    std::vector<std::vector<u8>> contents, expected;
    for (const std::filesystem::path& path : files) {
        contents.push_back(bytesOf(path));
        expected.push_back(readBytes(contents.back()).values);
    }
    std::atomic<int> differences = 0;
    const auto work = [&](std::size_t first) {
        for (std::size_t i = 0; i < 3 * files.size(); ++i) {
            const std::size_t at = (first + i) % files.size();
            differences += readBytes(contents[at]).values != expected[at];
            std::vector<u8> damaged = contents[at];
            damaged.resize(damaged.size() / 2);
            readDamaged(damaged);
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 4; ++i)
        threads.emplace_back(work, 7 * i);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(differences, 0);
}
