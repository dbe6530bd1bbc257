#include "driver/WriteSignals.h"

#include "driver/signalHandler.h"

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
    installSignalHandler({SIGHUP, SIGUSR1}, handle);
}

bool WriteSignals::take()
{
    return s_isWanted.exchange(false);
}

void WriteSignals::request()
{
    s_isWanted = true;
}
