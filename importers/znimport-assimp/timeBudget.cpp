#include "timeBudget.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr u64 startSeconds = 10, bytesPerSecond = 100'000;
constexpr int exitBadFile = 1;

bool s_isLimited = false;
u64 s_bytes = 0;
char s_message[200]; ///< made beforehand: the handler may not

void giveUp(int)
{
    [[maybe_unused]] const ssize_t count =
        ::write(STDERR_FILENO, s_message, std::strlen(s_message));
    ::_exit(exitBadFile);
}

void apply()
{
    rlimit limit{};
    ::getrlimit(RLIMIT_CPU, &limit);
    const u64 seconds = startSeconds + s_bytes / bytesPerSecond;
    limit.rlim_cur = std::min<u64>(limit.rlim_max, seconds);
    std::snprintf(s_message, sizeof(s_message),
                  "error: takes longer than %llu s to import, which is long for its size; it is "
                  "probably damaged (--limit import-seconds=N)\n",
                  static_cast<unsigned long long>(limit.rlim_cur));
    ::setrlimit(RLIMIT_CPU, &limit);
}

} // namespace

void limitTime(const io::Limits& limits)
{
    if (limits.importSeconds != io::Limits().importSeconds)
        return;
    s_isLimited = true;
    std::signal(SIGXCPU, &giveUp);
    apply();
}

void addTimeFor(u64 size)
{
    s_bytes += size;
    if (s_isLimited)
        apply();
}
