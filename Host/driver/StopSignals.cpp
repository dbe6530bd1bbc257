#include "driver/StopSignals.h"

#include "driver/signalHandler.h"
#include "io/temporaryFiles.h"

#include <atomic>
#include <csignal>
#include <string_view>
#include <unistd.h>

namespace {

std::atomic<int> s_requests{0};
std::atomic<StopSignals::Stage> s_stage{StopSignals::Stage::preparation};
static_assert(std::atomic<int>::is_always_lock_free &&
              std::atomic<StopSignals::Stage>::is_always_lock_free);

bool endsAtOnce(int signal, int requests)
{
    const StopSignals::Stage stage = s_stage;
    return (requests > 1 && signal == SIGINT) || stage == StopSignals::Stage::preparation ||
           (stage == StopSignals::Stage::firstSample && signal == SIGTERM);
}

/// Only what a signal handler may call.
void handle(int signal)
{
    const int requests = ++s_requests;
    if (!endsAtOnce(signal, requests))
        return;
    io::removeTemporaries();
    const std::string_view text = requests > 1 ? "stopped at once\n"
                                               : "stopped before the first sample; nothing was "
                                                 "written\n";
    [[maybe_unused]] const ssize_t count = ::write(STDERR_FILENO, text.data(), text.size());
    ::_exit(1);
}

} // namespace

void StopSignals::install()
{
    installSignalHandler({SIGINT, SIGTERM}, handle);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void StopSignals::setStage(Stage stage)
{
    s_stage = stage;
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
