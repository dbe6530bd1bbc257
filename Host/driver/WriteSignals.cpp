#include "driver/WriteSignals.h"

#include <atomic>
#include <csignal>

namespace {

std::atomic<bool> s_isWanted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void handle(int)
{
    s_isWanted = true;
}

} // namespace

void WriteSignals::install()
{
    for (int signal : {SIGHUP, SIGUSR1}) {
        struct sigaction old = {};
        sigaction(signal, nullptr, &old);
        if (old.sa_handler == SIG_IGN)
            continue;
        struct sigaction action = {};
        action.sa_handler = handle;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
}

bool WriteSignals::take()
{
    return s_isWanted.exchange(false);
}

void WriteSignals::request()
{
    s_isWanted = true;
}
