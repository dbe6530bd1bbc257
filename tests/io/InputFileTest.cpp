#include "io/InputFile.h"

#include "io/InputError.h"
#include "io/faultHook.h"
#include "support/TemporaryFolder.h"
#include "support/messageOf.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

using io::InputFile;

namespace {

std::string pattern(std::size_t size)
{
    std::string text(size, 0);
    for (std::size_t i = 0; i < size; ++i)
        text[i] = char(i * 7 + i / 251);
    return text;
}

std::string readPart(InputFile& file, std::size_t size)
{
    std::string part(size, 0);
    part.resize(file.read(part.data(), size));
    return part;
}

struct InputFileFaults : testing::Test
{
    ~InputFileFaults() override { io::setFault(nullptr); }
};

} // namespace

TEST(InputFile, ReadsAnyPartOfAFileAndOfMemory)
{
    const TemporaryFolder folder;
    const std::string text = pattern(300'000);
    const std::span<const u8> bytes(reinterpret_cast<const u8*>(text.data()), text.size());
    InputFile files[] = {InputFile::open(folder.write("a.bin", text)),
                         InputFile::fromMemory(bytes, "memory")};
    for (InputFile& file : files) {
        EXPECT_EQ(file.getSize(), text.size());
        for (const std::size_t from : {0ul, 65'530ul, 10ul, 131'072ul, 299'990ul, 400'000ul}) {
            for (const std::size_t size : {1ul, 20ul, 65'536ul, 150'000ul}) {
                file.seek(from);
                const std::string expected = from < text.size() ? text.substr(from, size) : "";
                ASSERT_EQ(readPart(file, size), expected) << from << " " << size;
                EXPECT_EQ(file.getPosition(), from + expected.size());
            }
        }
        const std::vector<u8> all = file.readAll();
        EXPECT_TRUE(std::equal(all.begin(), all.end(), bytes.begin(), bytes.end()));
    }
}

TEST(InputFile, TellsWhenTheFileEndsTooEarly)
{
    const TemporaryFolder folder;
    InputFile file = InputFile::open(folder.write("a.bin", "abc"));
    char target[4];
    EXPECT_EQ(messageOf([&] { file.readExactly(target, 4); }),
              folder.path("a.bin") + ": ends too early");
}

TEST(InputFile, RefusesWhatIsNoRegularFile)
{
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    const std::pair<std::string, std::string> cases[] = {
        {folder.path(), "is a folder"},
        {folder.path("pipe"), "is a pipe, not a regular file"},
        {"/dev/zero", "is a device, not a regular file"},
        {folder.path("none"), "cannot be opened: No such file or directory"}};
    for (const auto& [path, cause] : cases)
        EXPECT_EQ(messageOf([&name = path] { InputFile::open(name); }), path + ": " + cause);
    EXPECT_THROW(InputFile::open(""), io::InputError);
    EXPECT_THROW(InputFile::open(std::string("a\0b", 3)), io::InputError);
}

TEST(InputFile, IsMeasuredBeforeItIsRead)
{
    const TemporaryFolder folder;
    const std::string path = folder.write("big.bin", "");
    std::filesystem::resize_file(path, u64(9) << 30); // sparse
    EXPECT_EQ(messageOf([&] { InputFile::open(path); }),
              path + ": file size: 9663676416 is above the limit of 8589934592 "
                     "(--limit file-size=N)");
}

TEST(InputFile, KeepsItsDescriptorWhenMoved)
{
    const TemporaryFolder folder;
    InputFile first = InputFile::open(folder.write("a.bin", "abcdef"));
    EXPECT_EQ(readPart(first, 2), "ab");
    InputFile second = std::move(first);
    EXPECT_EQ(readPart(second, 9), "cdef");
}

TEST_F(InputFileFaults, AreReportedWithTheSystemsReason)
{
    const TemporaryFolder folder;
    const std::string path = folder.write("a.bin", pattern(1000));
    io::setFault("read:1:EIO");
    InputFile file = InputFile::open(path);
    EXPECT_EQ(messageOf([&] { readPart(file, 10); }),
              path + ": cannot be read: Input/output error");
    io::setFault("open:1:EACCES");
    EXPECT_EQ(messageOf([&] { InputFile::open(path); }),
              path + ": cannot be opened: Permission denied");
}

TEST_F(InputFileFaults, OfOneInterruptedOrShortReadAreInvisible)
{
    const TemporaryFolder folder;
    const std::string text = pattern(200'000);
    const std::string path = folder.write("a.bin", text);
    for (const char* fault : {"read:1:EINTR", "read:1:SHORT", "read:2:SHORT"}) {
        io::setFault(fault);
        InputFile file = InputFile::open(path);
        EXPECT_EQ(readPart(file, 10) + readPart(file, 200'000), text) << fault;
    }
}

TEST(InputFile, ThatShrinksIsAnError)
{
    const TemporaryFolder folder;
    const std::string path = folder.write("a.bin", pattern(1000));
    InputFile file = InputFile::open(path);
    std::filesystem::resize_file(path, 10);
    EXPECT_EQ(messageOf([&] { file.readAll(); }), path + ": became shorter while it was read");
    EXPECT_EQ(readPart(file, 100).size(), 10u);
}
