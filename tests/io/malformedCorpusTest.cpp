// Damaged files that once crashed a reader, hung it or asked for more memory than the machine has,
// and small files made to try that. They stand in malformed/TARGET, where TARGET is the fuzz target
// that reads them; what it does with a result counts too.

#include "fuzz/targets.h"
#include "host/znLog.h"
#include "io/InputError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>
#include <vector>

namespace {

using Bytes = std::vector<u8>;

std::filesystem::path corpusFolder()
{
    return std::filesystem::path(ZN_SOURCE_DIR) / "tests/io/malformed";
}

Bytes contentOf(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(stream), {});
}

/// Largest memory in use since the process began, bytes.
u64 peakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return u64(usage.ru_maxrss) * 1024;
}

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(folder))
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

/// Warnings about damaged files are expected and would hide everything else.
class MalformedFile : public testing::TestWithParam<FuzzTarget>
{
protected:
    void SetUp() override
    {
        before = znLog::setSink([](znLog::Level, const char*) {});
    }
    void TearDown() override { znLog::setSink(before); }

    /// A result, or one line that says what is wrong. Other exceptions fail the test.
    static void expectAnswer(const Bytes& bytes)
    {
        try {
            GetParam().run(bytes);
        } catch (const io::InputError& error) {
            const std::string line = error.what();
            EXPECT_FALSE(line.empty());
            EXPECT_TRUE(std::none_of(line.begin(), line.end(), [](unsigned char c) {
                return c < 0x20 || c == 0x7f;
            })) << line;
        }
    }

private:
    znLog::Sink before;
};

TEST_P(MalformedFile, GivesAResultOrOneLine)
{
    for (const auto& file : filesOf(corpusFolder() / GetParam().name)) {
        SCOPED_TRACE(file.string());
        expectAnswer(contentOf(file));
    }
}

// All files are small. Sanitizers keep some hundred megabytes of what was released.
TEST_P(MalformedFile, TakesLittleMemory)
{
    const u64 before = peakMemory();
    for (const auto& file : filesOf(corpusFolder() / GetParam().name)) {
        expectAnswer(contentOf(file));
        ASSERT_LT(peakMemory() - before, u64(1) << 30) << file;
    }
}

// Files end anywhere when a copy is interrupted.
TEST_P(MalformedFile, GivesAResultOrOneLineWhenCutOff)
{
    for (const auto& file : filesOf(corpusFolder() / GetParam().name)) {
        SCOPED_TRACE(file.string());
        Bytes bytes = contentOf(file);
        for (const std::size_t size : {bytes.size() / 2, bytes.size() / 4, std::size_t(1)}) {
            bytes.resize(std::min(bytes.size(), size));
            expectAnswer(bytes);
        }
        expectAnswer({});
    }
}

INSTANTIATE_TEST_SUITE_P(Readers, MalformedFile, testing::ValuesIn(fuzzTargets()),
                         [](const auto& info) { return std::string(info.param.name); });

// A folder under another name would never be read.
TEST(MalformedCorpus, HasFoldersOfKnownTargetsOnly)
{
    for (const auto& folder : filesOf(corpusFolder())) {
        const std::string name = folder.filename();
        EXPECT_TRUE(std::any_of(fuzzTargets().begin(), fuzzTargets().end(),
                                [&](const FuzzTarget& target) { return name == target.name; }))
            << name;
    }
}

} // namespace
