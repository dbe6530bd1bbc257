#include "accel/znDynBlockArray.h"
#include "accel/znRTBVHNode.h"

#include <gtest/gtest.h>
#include <set>
#include <tbb/parallel_for.h>

TEST(BlockArray, GivesEachElementAnAddressOfItsOwn)
{
    znDynBlockArray<znRTBVHNode> blocks;
    std::set<znRTBVHNode*> seen;
    for (u64 i = 0; i < 1000; ++i) {
        EXPECT_EQ(blocks.take(), i);
        seen.insert(blocks.get(i));
    }
    EXPECT_EQ(seen.size(), 1000u);
    EXPECT_EQ(blocks.getCount(), 1000u);
    EXPECT_EQ(reinterpret_cast<u64>(blocks.get(0)) % 128, 0u);
    EXPECT_EQ(reinterpret_cast<u64>(blocks.get(256)) % 128, 0u);
    EXPECT_EQ(blocks.get(127), blocks.get(0) + 127);
}

TEST(BlockArray, KeepsAddressesWhileItGrows)
{
    znDynBlockArray<u64> blocks;
    blocks.take();
    u64* const first = blocks.get(0);
    for (int i = 0; i < 100000; ++i)
        blocks.take(3);
    EXPECT_EQ(blocks.get(0), first);
}

TEST(BlockArray, HandsOutElementsToManyThreads)
{
    constexpr u64 count = 200000;
    znDynBlockArray<u64> blocks;
    blocks.reserve(1000);
    tbb::parallel_for(u64(0), count, [&](u64) {
        const u64 i = blocks.take();
        *blocks.get(i) = i;
    });
    EXPECT_EQ(blocks.getCount(), count);
    for (u64 i = 0; i < count; ++i)
        ASSERT_EQ(*blocks.get(i), i);
}

TEST(BlockArray, SaysSoAndGoesOnWhenMemoryRunsOut)
{
    struct Huge
    {
        char bytes[1 << 20];
    };
    znDynBlockArray<Huge> blocks;
    testing::internal::CaptureStderr();
    blocks.reserve(u64(1) << 27); // 2^47 bytes
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find("allocation failed"), std::string::npos);
    EXPECT_EQ(blocks.get(blocks.take()), nullptr);
}
