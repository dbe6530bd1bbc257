#pragma once

// A long-lived parent of tasks: made once per view, used by every frame. Its reference count is the
// number of children that still have work, plus one for the thread that waits.
//
// A child must never wait for another child: with one thread the waiting one would hold the only
// stack that could run the other.

#include "core/znRTFloatControl.h"
#include "render/znRTTaskContext.h"

#include <tbb/task_group.h>

#include <atomic>
#include <memory>
#include <utility>

class znRTRootTask
{
public:
    explicit znRTRootTask(znRTTaskContext& taskContext);
    /// Cancels the context and waits for children that still run: they use the memory of the frame.
    virtual ~znRTRootTask();
    znRTRootTask(const znRTRootTask&) = delete;
    znRTRootTask& operator=(const znRTRootTask&) = delete;

    /// @param count  children about to be spawned, plus one
    void setRefCount(int count) { refCount->store(count, std::memory_order_release); }
    int getRefCount() const { return refCount->load(std::memory_order_acquire); }

    /// Starts a child. It runs with denormals flushed; its share of the count is given back when it
    /// ends, throws or is skipped because of a cancellation.
    template <class Body>
    void spawn(Body body);

    /// Joins the children, running those that nobody took yet on this thread.
    /// @return true when the context was cancelled
    /// @throws what a child threw; all children have ended then, and the task is usable again
    bool waitForAll();

    /// Waits until the count says that no child has work, at most `seconds`.
    /// @return false when the time ran out
    bool waitUntilIdle(double seconds) const;

private:
    using Count = std::atomic<int>;

    /// One child's share of the count; it dies with the task object, whatever became of the task.
    struct Share
    {
        explicit Share(std::shared_ptr<Count> count_) : count(std::move(count_)) {}
        ~Share()
        {
            int value = count->load();
            while (value > 0 && !count->compare_exchange_weak(value, value - 1))
                ;
        }
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;
        std::shared_ptr<Count> count;
    };

    znRTTaskContext& context;
    std::shared_ptr<Count> refCount; ///< shared: a share may outlive the root in TBB's free list
    tbb::task_group children;
};

template <class Body>
void znRTRootTask::spawn(Body body)
{
    auto share = std::make_shared<Share>(refCount);
    children.run([this, body = std::move(body), share = std::move(share)] {
        if (context.isCancelled())
            return;
        const znRTFloatControl flushDenormals;
        body();
    });
}
