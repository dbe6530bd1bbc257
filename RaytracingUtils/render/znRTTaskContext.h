#pragma once

// The group under which all root tasks of a view run. A TBB group forgets that it was cancelled as
// soon as somebody waits for it (task_group::wait resets the context), so the cancellation that
// counts is kept beside it.

#include <tbb/task_group.h>

#include <atomic>

class znRTTaskContext
{
public:
    znRTTaskContext() = default;
    znRTTaskContext(const znRTTaskContext&) = delete;
    znRTTaskContext& operator=(const znRTTaskContext&) = delete;

    /// Queued children are skipped, running ones see isCancelled. Stays so until reset.
    void cancel()
    {
        cancelled.store(true, std::memory_order_release);
        context.cancel_group_execution();
    }
    bool isCancelled() const { return cancelled.load(std::memory_order_acquire); }
    /// Runs while no child does.
    void reset()
    {
        context.reset();
        cancelled.store(false, std::memory_order_release);
    }
    tbb::task_group_context& getContext() { return context; }

private:
    tbb::task_group_context context{tbb::task_group_context::isolated};
    std::atomic<bool> cancelled{false};
};
