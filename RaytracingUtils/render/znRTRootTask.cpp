#include "render/znRTRootTask.h"

#include <chrono>
#include <thread>

znRTRootTask::znRTRootTask(znRTTaskContext& taskContext)
    : context(taskContext), refCount(std::make_shared<Count>(0)), children(taskContext.getContext())
{
}

znRTRootTask::~znRTRootTask()
{
    const bool wasCancelled = context.isCancelled();
    if (!wasCancelled)
        context.cancel();
    try {
        children.wait();
    } catch (...) {
        // A destructor has nobody to hand a child's exception to; the frame is given up anyway.
    }
    // Waiting has taken the group's own mark back; ours and TBB's must say the same again.
    if (wasCancelled)
        context.getContext().cancel_group_execution();
    else
        context.reset();
}

bool znRTRootTask::waitForAll()
{
    try {
        children.wait();
    } catch (...) {
        setRefCount(0);
        throw;
    }
    setRefCount(0);
    if (context.isCancelled())
        context.getContext().cancel_group_execution();
    return context.isCancelled();
}

bool znRTRootTask::waitUntilIdle(double seconds) const
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (getRefCount() > 1) { // 1 is the share of the waiting thread
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}
