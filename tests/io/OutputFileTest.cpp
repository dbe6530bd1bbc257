#include "io/OutputFile.h"

#include "io/faultHook.h"
#include "support/TemporaryFolder.h"
#include "support/messageOf.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using io::OutputFile;

namespace {

const std::string oldContent = "the old picture";

/// Larger than the buffer of OutputFile, so that several writes happen.
std::string newContent()
{
    std::string text(2'500'000, 0);
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = char(i * 31 + i / 255);
    return text;
}

/// In pieces of a writer's size, with one value patched at the end as TIFF does.
void writeFile(const std::string& path, const std::string& text)
{
    OutputFile file(path);
    for (std::size_t at = 0; at < text.size(); at += 70'000) {
        const std::string piece = text.substr(at, 70'000);
        file.write(at == 0 ? std::string(piece.size(), '?').data() : piece.data(), piece.size());
    }
    file.seek(0);
    file.write(text.data(), std::min<std::size_t>(text.size(), 70'000));
    file.commit();
}

/// Runs a call in a process of its own.
/// @return exit code, or 1000 + number of the signal that ended it
int inChild(const std::function<int()>& call)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(call());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status);
}

struct OutputFaults : testing::Test
{
    ~OutputFaults() override { io::setFault(nullptr); }
    TemporaryFolder folder;
    std::string path = folder.path("a.png");
};

} // namespace

TEST(OutputFile, AppearsOnlyWhenItIsWhole)
{
    const TemporaryFolder folder;
    folder.write("a.png", oldContent);
    {
        OutputFile file(folder.path("a.png"));
        file.write("new", 3);
        EXPECT_EQ(folder.read("a.png"), oldContent);
        EXPECT_EQ(folder.names().size(), 2u);
        file.commit();
        EXPECT_EQ(folder.read("a.png"), "new");
    }
    EXPECT_EQ(folder.names(), std::set<std::string>{"a.png"});
}

TEST(OutputFile, LeavesNothingWithoutCommit)
{
    const TemporaryFolder folder;
    folder.write("a.png", oldContent);
    {
        OutputFile file(folder.path("a.png"));
        file.write("new", 3);
        OutputFile other(folder.path("b.png"));
    }
    EXPECT_EQ(folder.names(), std::set<std::string>{"a.png"});
    EXPECT_EQ(folder.read("a.png"), oldContent);
}

TEST(OutputFile, HoldsWhatWasWrittenAtAnyPosition)
{
    const TemporaryFolder folder;
    writeFile(folder.path("a.bin"), newContent());
    EXPECT_EQ(folder.read("a.bin"), newContent());

    OutputFile file(folder.path("b.bin"));
    file.seek(1'500'000);
    file.write("end", 3);
    file.seek(2);
    file.write("ab", 2);
    file.seek(1);
    char back[4] = {};
    EXPECT_EQ(file.read(back, 4), 4u);
    EXPECT_EQ(std::string(back, 4), std::string("\0ab\0", 4));
    file.write("c", 1);
    EXPECT_EQ(file.getSize(), 1'500'003u);
    file.commit();
    const std::string text = folder.read("b.bin");
    ASSERT_EQ(text.size(), 1'500'003u);
    EXPECT_EQ(text.substr(0, 7), std::string("\0\0abXc\0", 7).replace(4, 1, 1, '\0'));
    EXPECT_EQ(text.substr(1'500'000), "end");
}

TEST(OutputFile, KeepsLinksAndModes)
{
    const TemporaryFolder folder;
    folder.write("real/a.png", oldContent);
    ::chmod(folder.path("real/a.png").c_str(), 0640);
    std::filesystem::create_symlink("real/a.png", folder.path("link.png"));
    std::filesystem::create_symlink("real/later.png", folder.path("dangling.png"));
    const mode_t before = ::umask(027);
    writeFile(folder.path("link.png"), "new");
    writeFile(folder.path("dangling.png"), "later");
    writeFile(folder.path("fresh.png"), "fresh");
    ::umask(before);

    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link.png")));
    EXPECT_EQ(folder.read("real/a.png"), "new");
    EXPECT_EQ(folder.read("real/later.png"), "later");
    struct stat status
    {
    };
    ::stat(folder.path("real/a.png").c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    ::stat(folder.path("fresh.png").c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0640u); // 0666 without the bits of the mask
}

TEST(OutputFile, SaysAtOnceWhatCannotWork)
{
    const TemporaryFolder folder;
    const std::string existing = folder.write("a.png", oldContent);
    const auto check = [](const std::string& path, OutputFile::Existing rule) {
        const std::string early = messageOf([&] { OutputFile::checkTarget(path, rule); });
        EXPECT_EQ(messageOf([&] { OutputFile file(path, rule); }), early);
        return early;
    };
    const auto replace = OutputFile::Existing::replace, refuse = OutputFile::Existing::refuse;
    EXPECT_EQ(check(folder.path("none/a.png"), replace),
              folder.path("none/a.png") + ": cannot be written: No such file or directory");
    EXPECT_EQ(check(folder.path(), replace), folder.path() + ": is a folder");
    EXPECT_EQ(check(folder.path() + "/", replace), folder.path() + "/: is a folder");
    EXPECT_EQ(check(existing, refuse), existing + ": exists already (--overwrite replaces it)");
    const std::string longName = folder.path(std::string(256, 'x'));
    EXPECT_EQ(check(longName, replace), longName + ": cannot be written: File name too long");
    EXPECT_EQ(check(existing + "/b.png", replace),
              existing + "/b.png: cannot be written: Not a directory");
    EXPECT_EQ(messageOf([&] { OutputFile::checkTarget(existing, replace); }), "(nothing thrown)");
    EXPECT_EQ(messageOf([&] { OutputFile::checkTarget("/dev/full"); }), "(nothing thrown)");
    EXPECT_EQ(folder.names(), std::set<std::string>{"a.png"});
    EXPECT_EQ(folder.read("a.png"), oldContent);
}

TEST(OutputFile, TakesNamesOfTheGreatestLength)
{
    const TemporaryFolder folder;
    const std::string name = std::string(251, 'x') + ".png";
    writeFile(folder.path(name), "x");
    EXPECT_EQ(folder.read(name), "x");
}

TEST(OutputFile, RefusesAReadOnlyFolder)
{
    const TemporaryFolder folder;
    ::chmod(folder.path().c_str(), 0555);
    const int result = inChild([&] {
        // The super-user may write everywhere.
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            return 2;
        return messageOf([&] { OutputFile::checkTarget(folder.path("a.png")); }) ==
                       folder.path("a.png") + ": cannot be written: Permission denied"
                   ? 0
                   : 1;
    });
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(result, 0);
}

TEST(OutputFile, RefusesATargetThatAppearedMeanwhile)
{
    const TemporaryFolder folder;
    OutputFile file(folder.path("a.png"), OutputFile::Existing::refuse);
    file.write("new", 3);
    folder.write("a.png", oldContent);
    EXPECT_EQ(messageOf([&] { file.commit(); }),
              folder.path("a.png") + ": exists already (--overwrite replaces it)");
    EXPECT_EQ(folder.read("a.png"), oldContent);
    EXPECT_EQ(folder.names(), std::set<std::string>{"a.png"});
}

TEST(OutputFile, WritesDevicesAndPipesStraightThrough)
{
    EXPECT_EQ(messageOf([] { writeFile("/dev/full", "x"); }),
              "/dev/full: cannot be written: No space left on device");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
    EXPECT_NO_THROW(writeFile("/dev/null", newContent()));

    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    writeFile("/dev/fd/" + std::to_string(ends[1]), "through the pipe");
    char text[100];
    EXPECT_EQ(std::string(text, std::size_t(::read(ends[0], text, sizeof(text)))),
              "through the pipe");
    ::close(ends[0]); // nobody reads: EPIPE, but no signal
    EXPECT_EQ(messageOf([&] { writeFile("/dev/fd/" + std::to_string(ends[1]), "x"); }),
              "/dev/fd/" + std::to_string(ends[1]) + ": cannot be written: Broken pipe");
    ::close(ends[1]);
}

TEST(OutputFile, ReportsTheLimitOfFileSizes)
{
    const TemporaryFolder folder;
    const std::string path = folder.write("a.bin", oldContent);
    EXPECT_EQ(inChild([&] {
                  const rlimit limit{1'000'000, 1'000'000};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  return messageOf([&] { writeFile(path, newContent()); }) ==
                                 path + ": cannot be written: File too large"
                             ? 0
                             : 1;
              }),
              0);
    EXPECT_EQ(folder.read("a.bin"), oldContent);
    EXPECT_EQ(folder.names(), std::set<std::string>{"a.bin"});
}

// Every call that can fail, each time it is made, by each reason.
TEST_F(OutputFaults, AreReportedAndLeaveTheOldFile)
{
    const std::string text = newContent();
    const std::pair<const char*, const char*> reasons[] = {{"ENOSPC", "No space left on device"},
                                                           {"EIO", "Input/output error"},
                                                           {"EDQUOT", "Disk quota exceeded"},
                                                           {"EFBIG", "File too large"}};
    for (const char* call : {"open", "write", "fsync", "close", "rename"}) {
        int failures = 0;
        for (const auto& [name, reason] : reasons) {
            for (int number = 1; number <= 20; ++number) {
                folder.write("a.png", oldContent);
                io::setFault(
                    (std::string(call) + ":" + std::to_string(number) + ":" + name).c_str());
                const std::string message = messageOf([&] { writeFile(path, text); });
                io::setFault(nullptr);
                EXPECT_EQ(folder.names(), std::set<std::string>{"a.png"});
                if (message == "(nothing thrown)") {
                    EXPECT_EQ(folder.read("a.png"), text);
                    break;
                }
                ++failures;
                EXPECT_EQ(folder.read("a.png"), oldContent);
                EXPECT_EQ(message.rfind(path + ": cannot be ", 0), 0u) << message;
                EXPECT_NE(message.find(reason), message.npos) << message;
            }
        }
        EXPECT_GE(failures, std::string(call) == "write" ? 12 : 4) << call;
    }
}

TEST_F(OutputFaults, OfInterruptedAndShortWritesAreInvisible)
{
    const std::string text = newContent();
    for (const char* fault : {"write:1:EINTR", "write:2:EINTR", "write:1:SHORT", "write:1+:SHORT",
                              "fsync:1:EINTR", "close:1:EINTR", "open:1:EINTR"}) {
        io::setFault(fault);
        EXPECT_NO_THROW(writeFile(path, text)) << fault;
        EXPECT_EQ(folder.read("a.png"), text) << fault;
    }
}

// A kill before each call: the target is the old file or the whole new one, and the next run
// clears what was left.
TEST_F(OutputFaults, ThatKillLeaveTheOldOrTheWholeFile)
{
    const std::string text = newContent();
    int kills = 0;
    for (const char* call : {"open", "write", "fsync", "close", "rename"}) {
        for (int number = 1;; ++number) {
            folder.write("a.png", oldContent);
            const int result = inChild([&] {
                io::setFault((std::string(call) + ":" + std::to_string(number) + ":KILL").c_str());
                writeFile(path, text);
                return 0;
            });
            if (result == 0)
                break;
            ++kills;
            ASSERT_EQ(result, 1000 + SIGKILL);
            EXPECT_EQ(folder.read("a.png"), oldContent);
            OutputFile::checkTarget(path);
            EXPECT_EQ(folder.names(), std::set<std::string>{"a.png"}) << call << number;
        }
        EXPECT_EQ(folder.read("a.png"), text);
    }
    EXPECT_GE(kills, 7);
}

TEST(OutputFile, KeepsTheTemporaryFilesOfOtherRunsAlive)
{
    const TemporaryFolder folder;
    OutputFile first(folder.path("a.png"));
    first.write("first", 5);
    writeFile(folder.path("a.png"), "second");
    EXPECT_EQ(folder.read("a.png"), "second");
    first.commit();
    EXPECT_EQ(folder.read("a.png"), "first");
    EXPECT_EQ(folder.names(), std::set<std::string>{"a.png"});
}

TEST(OutputFile, IsWholeWhenTwoProcessesWriteIt)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("a.png");
    const std::string texts[] = {newContent(), newContent().substr(1000)};
    for (int round = 0; round < 100; ++round) {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(messageOf([&] { writeFile(path, texts[0]); }) == "(nothing thrown)" ? 0 : 1);
        EXPECT_NO_THROW(writeFile(path, texts[1]));
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        const std::string result = folder.read("a.png");
        EXPECT_TRUE(result == texts[0] || result == texts[1]);
        EXPECT_EQ(folder.names(), std::set<std::string>{"a.png"});
    }
}
