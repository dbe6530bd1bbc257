#include "LogFile.h"

#include "io/InputError.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace {

const char* const levelNames[] = {"error", "warning", "info"};

std::string withoutEnd(std::string text)
{
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

/// A message must not end the render when the terminal has gone.
void toTerminal(const std::string& line)
{
    std::fprintf(stderr, "%s\n", line.c_str());
}

} // namespace

LogFile::LogFile(const std::string& path, znLog::Level shown) : name(io::printable(path))
{
    // A pipe without a reader would hold everything up.
    descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0666);
    if (descriptor < 0)
        throw std::runtime_error(fmt::format("{}: {}", name, std::strerror(errno)));
    znLog::setSink([this, shown](znLog::Level level, const char* text) {
        const std::string line = withoutEnd(text);
        if (level <= shown)
            toTerminal(
                (level == znLog::Level::info ? "" : std::string(levelNames[int(level)]) + ": ") +
                line);
        write(level, line);
    });
}

LogFile::~LogFile()
{
    znLog::setSink({});
    ::close(descriptor);
}

void LogFile::write(znLog::Level level, const std::string& text)
{
    if (hasFailed)
        return;
    const std::time_t now = std::time(nullptr);
    std::tm calendar = {};
    localtime_r(&now, &calendar);
    const std::string line =
        fmt::format("{:%Y-%m-%d %H:%M:%S} {:7} {}\n", calendar, levelNames[int(level)], text);
    std::size_t done = 0;
    while (done < line.size()) {
        const ssize_t count = ::write(descriptor, line.data() + done, line.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            hasFailed = true;
            toTerminal(
                fmt::format("warning: {}: {}; the log ends here", name, std::strerror(errno)));
            return;
        }
        done += std::size_t(count);
    }
}
