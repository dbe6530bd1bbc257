#include "host/znLog.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <mutex>

namespace {

std::mutex s_mutex;
znLog::Sink s_sink;
std::atomic<int> s_level{int(znLog::Level::info)};
std::array<std::atomic<unsigned>, 3> s_counts{};

void write(znLog::Level level, const char* text)
{
    ++s_counts[int(level)];
    const std::lock_guard lock(s_mutex);
    if (s_sink) {
        s_sink(level, text);
    } else if (int(level) <= s_level) {
        const char* const prefix[] = {"error: ", "warning: ", ""};
        const std::size_t length = std::char_traits<char>::length(text);
        const bool ended = length > 0 && text[length - 1] == '\n';
        std::fprintf(stderr, "%s%s%s", prefix[int(level)], text, ended ? "" : "\n");
    }
}

} // namespace

void znLog::error(const char* text) { write(Level::error, text); }
void znLog::warning(const char* text) { write(Level::warning, text); }
void znLog::info(const char* text) { write(Level::info, text); }
void znLog::setLevel(Level level) { s_level = int(level); }
unsigned znLog::getCount(Level level) { return s_counts[int(level)]; }

znLog::Sink znLog::setSink(Sink sink)
{
    const std::lock_guard lock(s_mutex);
    std::swap(s_sink, sink);
    return sink;
}
