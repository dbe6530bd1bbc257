#include "driver/StopSignals.h"

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace {

std::atomic<int> s_requests{0};
static_assert(std::atomic<int>::is_always_lock_free);

void handle(int signal)
{
    if (++s_requests >= 2 && signal == SIGINT)
        std::signal(SIGINT, SIG_DFL); // a third one ends the process the hard way
}

} // namespace

void StopSignals::install()
{
    for (int signal : {SIGINT, SIGTERM}) {
        struct sigaction old = {};
        sigaction(signal, nullptr, &old);
        if (old.sa_handler == SIG_IGN)
            continue;
        struct sigaction action = {};
        action.sa_handler = handle;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool StopSignals::isStopWanted()
{
    return s_requests > 0;
}
bool StopSignals::isAbortWanted()
{
    return s_requests > 1;
}
void StopSignals::request()
{
    ++s_requests;
}
void StopSignals::reset()
{
    s_requests = 0;
}
