#include "io/importerProcess.h"

#include "host/znLog.h"
#include "io/InputError.h"
#include "io/sceneArchive.h"
#include "io/systemError.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define ZN_HAS_SHADOW_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZN_HAS_SHADOW_MEMORY 1
#endif
#endif

namespace io {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t largestReport = 64 * 1024; ///< bytes of messages that are kept
constexpr int exitOutOfMemory = 3;               ///< agreed with the program
constexpr int exitNotStarted = 127;
constexpr unsigned mostDescriptors = 64;

/// Closes a descriptor at the end of a scope.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    Descriptor(const Descriptor&) = delete;
    ~Descriptor() { close(); }
    void close()
    {
        if (m_number >= 0)
            ::close(m_number);
        m_number = -1;
    }
    void reset(int number)
    {
        close();
        m_number = number;
    }
    int get() const { return m_number; }

private:
    int m_number;
};

struct Pipe
{
    Pipe()
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) == 0) {
            from.reset(ends[0]);
            to.reset(ends[1]);
        }
    }
    Descriptor from, to;
};

void limitTo(int resource, rlim_t value)
{
    // A lower limit that is in force already stays.
    rlimit limit{};
    ::getrlimit(__rlimit_resource_t(resource), &limit);
    limit.rlim_cur = std::min(limit.rlim_max, value);
    limit.rlim_max = limit.rlim_cur;
    ::setrlimit(__rlimit_resource_t(resource), &limit);
}

/// Between fork and exec of a process that may have threads: system calls only.
[[noreturn]] void becomeProgram(const char* program, char* const* arguments, int out, int err,
                                const Limits& limits, pid_t parent)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(exitNotStarted); // it died before the line above
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    const int nothing = ::open("/dev/null", O_RDONLY);
    if (::dup2(nothing, 0) < 0 || ::dup2(out, 1) < 0 || ::dup2(err, 2) < 0)
        ::_exit(exitNotStarted);
    limitTo(RLIMIT_CORE, 0);
    limitTo(RLIMIT_FSIZE, 0);
    limitTo(RLIMIT_NOFILE, mostDescriptors);
    limitTo(RLIMIT_CPU, limits.importSeconds);
#ifndef ZN_HAS_SHADOW_MEMORY
    limitTo(RLIMIT_AS, limits.importMemory);
#endif
    char* const environment[] = {nullptr};
    ::execve(program, arguments, environment);
    ::_exit(exitNotStarted);
}

/// What came back from the program.
struct Result
{
    std::vector<u8> archive;
    std::string report;
    int status = 0;
    bool isTooLong = false; ///< wall clock
    bool isTooLarge = false;
    int readError = 0;
};

/// @return false at the end of the stream
template <class Buffer>
bool readSome(int descriptor, Buffer& buffer, u64 largest, Result& result)
{
    u8 block[64 * 1024];
    const ssize_t count = ::read(descriptor, block, sizeof(block));
    if (count < 0 && errno == EINTR)
        return true;
    if (count < 0)
        result.readError = errno;
    if (count <= 0)
        return false;
    const u64 room = largest - std::min<u64>(largest, buffer.size());
    buffer.insert(buffer.end(), block, block + std::min<u64>(room, u64(count)));
    return true;
}

/// Reads both streams to their ends, or until the program has gone on for too long.
void collect(int archive, int report, const Limits& limits, Result& result)
{
    const auto end =
        Clock::now() + std::chrono::seconds(std::min<u64>(limits.importSeconds, 1u << 30));
    pollfd streams[2] = {{archive, POLLIN, 0}, {report, POLLIN, 0}};
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0) {
            result.isTooLong = true;
            return;
        }
        if (::poll(streams, 2, int(std::min<long>(left.count(), 1000))) < 0 && errno != EINTR)
            return;
        if (streams[0].revents && !readSome(archive, result.archive, limits.fileSize + 1, result))
            streams[0].fd = -1;
        if (streams[1].revents && !readSome(report, result.report, largestReport, result))
            streams[1].fd = -1;
        if (result.archive.size() > limits.fileSize) {
            result.isTooLarge = true;
            return;
        }
    }
}

Result run(const std::string& file, const std::vector<std::string>& arguments, const Limits& limits)
{
    Pipe archive, report;
    std::vector<char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    const pid_t parent = ::getpid();
    const pid_t child = archive.to.get() < 0 || report.to.get() < 0 ? -1 : ::fork();
    if (child < 0)
        throw InputError(file, "the import program cannot be started: " + systemReason(errno));
    if (child == 0)
        becomeProgram(pointers[0], pointers.data(), archive.to.get(), report.to.get(), limits,
                      parent);
    archive.to.close();
    report.to.close();
    Result result;
    try {
        collect(archive.from.get(), report.from.get(), limits, result);
    } catch (...) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        throw;
    }
    // At the end of both streams it is ending anyway; otherwise it must not go on.
    if (result.isTooLong || result.isTooLarge || result.readError)
        ::kill(child, SIGKILL);
    while (::waitpid(child, &result.status, 0) < 0 && errno == EINTR)
        ;
    return result;
}

/// Lines of the report: "info: " and "warning: " go to the log, the last "error: " is returned.
std::string passOn(const std::string& report)
{
    std::string error;
    for (std::size_t at = 0; at < report.size();) {
        const std::size_t end = std::min(report.find('\n', at), report.size());
        const std::string line = report.substr(at, end - at);
        if (line.rfind("warning: ", 0) == 0)
            znLog::warning(printable(line.substr(9), 1000).c_str());
        if (line.rfind("info: ", 0) == 0)
            znLog::info(printable(line.substr(6), 1000).c_str());
        if (line.rfind("error: ", 0) == 0)
            error = line.substr(7);
        at = end + 1;
    }
    return error;
}

std::string secondsLimit(const Limits& limits)
{
    return "takes longer than " + std::to_string(limits.importSeconds) +
           " s to import (--limit import-seconds=N)";
}

std::string memoryLimit(const Limits& limits)
{
    return "needs more than " + std::to_string(limits.importMemory) +
           " bytes to import (--limit import-memory=N)";
}

/// @return what went wrong; empty if nothing
std::string faultOf(const Result& result, const std::string& error, const std::string& file,
                    const Limits& limits)
{
    if (result.isTooLong)
        return secondsLimit(limits);
    if (result.isTooLarge)
        return "becomes a scene archive above the limit of " + std::to_string(limits.fileSize) +
               " bytes (--limit file-size=N)";
    if (result.readError)
        return "the import program cannot be heard: " + systemReason(result.readError);
    if (WIFSIGNALED(result.status)) {
        const int signal = WTERMSIG(result.status);
        if (signal == SIGXCPU || signal == SIGKILL)
            return secondsLimit(limits);
        const char* const name = sigabbrev_np(signal);
        return std::string("the import program crashed (SIG") + (name ? name : "?") +
               "); the file is probably damaged";
    }
    const int code = WEXITSTATUS(result.status);
    if (code == 0)
        return "";
    if (code == exitOutOfMemory)
        return memoryLimit(limits);
    if (code == exitNotStarted)
        return "the import program cannot be started";
    const std::string lead = printable(file) + ": ";
    if (error.rfind(lead, 0) == 0)
        return error.substr(lead.size());
    return error.empty() ? "the import program failed without a reason" : error;
}

bool isExecutable(const std::string& path)
{
    return ::access(path.c_str(), X_OK) == 0;
}

} // namespace

std::string findImportProgram()
{
    Dl_info info{};
    char buffer[PATH_MAX];
    if (!::dladdr(reinterpret_cast<const void*>(&findImportProgram), &info) ||
        !::realpath(info.dli_fname, buffer))
        return "";
    const std::string library = buffer;
    const std::string folder = library.substr(0, library.rfind('/'));
    for (const char* place : {"/znimport-assimp", "/../bin/znimport-assimp"})
        if (isExecutable(folder + place))
            return folder + place;
    return "";
}

osg::Ref<osg::FieldContainer> importScene(const std::string& path,
                                          const std::vector<std::string>& includeFolders,
                                          const Limits& limits, const FileConventions& conventions,
                                          const ImportProgram& program)
{
    // What is wrong with the file itself is said without starting anything.
    InputFile::open(path, limits);
    const std::string executable = program.path.empty() ? findImportProgram() : program.path;
    if (executable.empty() || !isExecutable(executable))
        throw InputError(path, "this format needs the program znimport-assimp, which is not "
                               "installed beside the render library");
    std::vector<std::string> arguments = {executable};
    arguments.insert(arguments.end(), program.arguments.begin(), program.arguments.end());
    for (const std::string& folder : includeFolders)
        arguments.insert(arguments.end(), {"-I", folder});
    for (const Limits::Entry& entry : Limits::entries())
        if (limits.*entry.value != Limits().*entry.value)
            arguments.insert(arguments.end(), {"--limit", std::string(entry.name) + "=" +
                                                              std::to_string(limits.*entry.value)});
    if (conventions.upAxis)
        arguments.insert(arguments.end(), {"--up", std::string(1, conventions.upAxis)});
    if (conventions.metresPerUnit > 0.0)
        arguments.insert(arguments.end(),
                         {"--metres-per-unit", fmt::format("{}", conventions.metresPerUnit)});
    arguments.insert(arguments.end(), {"--", path});

    const Result result = run(path, arguments, limits);
    const std::string error = passOn(result.report);
    if (const std::string fault = faultOf(result, error, path, limits); !fault.empty())
        throw InputError(path, fault);
    InputFile archive = InputFile::fromMemory(result.archive, path, limits);
    return readSceneArchive(archive);
}

} // namespace io
