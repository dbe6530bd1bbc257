#include "io/temporaryFiles.h"

#include <atomic>
#include <cstring>
#include <sched.h>
#include <unistd.h>

namespace io {
namespace {

struct Slot
{
    enum State : int { unused, taken, filled };
    std::atomic<int> state{unused};
    char path[4096];
};
static_assert(std::atomic<int>::is_always_lock_free);

Slot s_slots[32];
std::atomic<int> s_creations{0};
std::atomic<bool> s_isEnding{false};
static_assert(std::atomic<bool>::is_always_lock_free);

} // namespace

void TemporaryEntry::set(const std::string& path)
{
    reset();
    if (path.size() >= sizeof(Slot::path))
        return;
    for (int i = 0; i < int(std::size(s_slots)); ++i) {
        int state = Slot::unused;
        if (!s_slots[i].state.compare_exchange_strong(state, Slot::taken))
            continue;
        std::memcpy(s_slots[i].path, path.c_str(), path.size() + 1);
        s_slots[i].state = Slot::filled;
        slot = i;
        return;
    }
}

void TemporaryEntry::reset() noexcept
{
    if (slot >= 0)
        s_slots[slot].state = Slot::unused;
    slot = -1;
}

void removeTemporaries() noexcept
{
    s_isEnding = true;
    // Never this thread's own: its signals are blocked meanwhile.
    while (s_creations > 0)
        ::sched_yield();
    for (const Slot& slot : s_slots)
        if (slot.state == Slot::filled)
            ::unlink(slot.path);
}

TemporaryCreation::TemporaryCreation() noexcept
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &oldSignals);
    ++s_creations;
    if (s_isEnding) {
        --s_creations;
        while (true)
            ::sleep(1);
    }
}

TemporaryCreation::~TemporaryCreation()
{
    --s_creations;
    pthread_sigmask(SIG_SETMASK, &oldSignals, nullptr);
}

} // namespace io
