#include "render/znRTRootTask.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <thread>
#include <xmmintrin.h>

namespace {

/// The low six bits are sticky exception flags, not control.
constexpr unsigned controlBits = 0xffc0;

unsigned controlWord()
{
    return _mm_getcsr() & controlBits;
}

void sleepFor(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace

TEST(RootTask, RunsEveryChildOverManyFrames)
{
    znRTTaskContext context;
    znRTRootTask root(context);
    for (int frame = 0; frame < 200; ++frame)
        for (int taskCount : {1, 2, 4, 16}) {
            std::atomic<int> runs{0};
            root.setRefCount(taskCount);
            for (int i = 1; i < taskCount; ++i)
                root.spawn([&] { ++runs; });
            EXPECT_FALSE(root.waitForAll());
            ASSERT_EQ(runs, taskCount - 1);
            ASSERT_EQ(root.getRefCount(), 0);
        }
}

TEST(RootTask, FlushesDenormalsInChildrenAndNowhereElse)
{
    const unsigned before = controlWord();
    znRTTaskContext context;
    znRTRootTask root(context);
    std::atomic<int> flushing{0};
    root.setRefCount(9);
    for (int i = 0; i < 8; ++i)
        root.spawn([&] { flushing += (_mm_getcsr() & 0x8040) == 0x8040; });
    root.waitForAll();
    EXPECT_EQ(flushing, 8);
    EXPECT_EQ(controlWord(), before);
    root.setRefCount(2);
    root.spawn([] { throw std::runtime_error("child"); });
    EXPECT_THROW(root.waitForAll(), std::runtime_error);
    EXPECT_EQ(controlWord(), before);
}

TEST(RootTask, HandsAnExceptionToTheWaiterAndGoesOn)
{
    znRTTaskContext context;
    znRTRootTask root(context);
    for (int frame = 0; frame < 20; ++frame) {
        root.setRefCount(4);
        for (int i = 0; i < 3; ++i)
            root.spawn([i] {
                if (i == 1)
                    throw std::runtime_error("child");
            });
        EXPECT_THROW(root.waitForAll(), std::runtime_error);
        EXPECT_EQ(root.getRefCount(), 0);
        std::atomic<int> runs{0};
        root.setRefCount(3);
        root.spawn([&] { ++runs; });
        root.spawn([&] { ++runs; });
        EXPECT_FALSE(root.waitForAll());
        EXPECT_EQ(runs, 2);
    }
}

// Waiting on one group resets TBB's own mark for all groups of a context.
TEST(RootTask, StaysCancelledAfterAnotherRootWasWaitedFor)
{
    znRTTaskContext context;
    znRTRootTask first(context), second(context);
    context.cancel();
    std::atomic<int> runs{0};
    first.setRefCount(2);
    first.spawn([&] { ++runs; });
    EXPECT_TRUE(first.waitForAll());
    second.setRefCount(2);
    second.spawn([&] { ++runs; });
    EXPECT_TRUE(second.waitForAll());
    EXPECT_EQ(runs, 0);
    context.reset();
    second.setRefCount(2);
    second.spawn([&] { ++runs; });
    EXPECT_FALSE(second.waitForAll());
    EXPECT_EQ(runs, 1);
}

TEST(RootTask, GivesTheCountBackForSkippedChildren)
{
    znRTTaskContext context;
    znRTRootTask root(context);
    context.cancel();
    root.setRefCount(3);
    root.spawn([] {});
    root.spawn([] {});
    root.waitForAll();
    EXPECT_TRUE(root.waitUntilIdle(0.0));
}

// A running child uses the frame's memory: ending the root early has to wait for it all the same.
TEST(RootTask, IsNotDestroyedUnderARunningChild)
{
    std::atomic<bool> started{false}, ended{false};
    std::thread worker; // a child that is certain to run on another thread
    {
        znRTTaskContext context;
        znRTRootTask root(context);
        root.setRefCount(2);
        root.spawn([&] {
            started = true;
            sleepFor(60);
            ended = true;
        });
        worker = std::thread([&] {
            try {
                root.waitForAll();
            } catch (...) {
            }
        });
        while (!started)
            sleepFor(1);
        EXPECT_FALSE(root.waitUntilIdle(0.01));
        worker.join();
    }
    EXPECT_TRUE(ended);
}
