#include "core/znDynArray.h"

#include <gtest/gtest.h>

namespace {

znDynArray<int> arrayOf(u64 capacity, u64 size)
{
    znDynArray<int> array;
    array.reserve(capacity, false);
    array.reserve(size, true);
    for (u64 i = 0; i < size; ++i)
        array[i] = int(i * i);
    return array;
}

} // namespace

TEST(DynArray, CountsAReserveOfNothingAsOne)
{
    znDynArray<int> array;
    array.reserve(0, true);
    EXPECT_EQ(array.size, 1u);
    EXPECT_EQ(array.capacity, 1u);
    ASSERT_NE(array.data, nullptr);
}

TEST(DynArray, ChangesOnlyTheSizeWithinItsCapacity)
{
    znDynArray<int> array = arrayOf(10, 4);
    const int* const before = array.data;
    array.reserve(7, false);
    EXPECT_EQ(array.size, 4u);
    array.reserve(7, true);
    EXPECT_EQ(array.size, 7u);
    EXPECT_EQ(array.capacity, 10u);
    EXPECT_EQ(array.data, before);
}

TEST(DynArray, KeepsItsContentsWhenItGrows)
{
    znDynArray<int> array = arrayOf(5, 5);
    array.reserve(100000, false);
    EXPECT_EQ(array.size, 5u);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(array[i], i * i);
}

TEST(DynArray, TakesOverTheCapacityOfTheSource)
{
    znDynArray<int> target = arrayOf(50, 50);
    const znDynArray<int> source = arrayOf(8, 3);
    target = source;
    EXPECT_EQ(target.capacity, 8u);
    EXPECT_EQ(target.size, 3u);
    EXPECT_EQ(target[2], 4);

    target = znDynArray<int>();
    EXPECT_EQ(target.size, 0u);
}

TEST(DynArray, TakesOverTheAlignmentOfTheSource)
{
    znDynArray<int> source(128);
    source.reserve(5, true);
    source[4] = 17;
    znDynArray<int> empty, sameCapacity = arrayOf(5, 2);
    for (znDynArray<int>* target : {&empty, &sameCapacity}) {
        *target = source;
        EXPECT_EQ(target->alignment, 128u);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(target->data) % 128, 0u);
        ASSERT_EQ(target->size, 5u);
        EXPECT_EQ((*target)[4], 17);
    }
}

TEST(DynArray, SurvivesAssignmentToItself)
{
    znDynArray<int> array = arrayOf(6, 3);
    const znDynArray<int>& same = array;
    array = same;
    EXPECT_EQ(array.size, 3u);
    EXPECT_EQ(array[2], 4);
}

TEST(DynArray, EndsEmptyWhenMemoryRunsOut)
{
    znDynArray<int> array = arrayOf(4, 4);
    testing::internal::CaptureStdout();
    array.reserve(~u64(0) / 2, true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Allocation failed\n");
    EXPECT_EQ(array.size, 0u);
    EXPECT_EQ(array.capacity, 0u);
    EXPECT_EQ(array.data, nullptr);
}

TEST(DynArray, AlignsItsStorage)
{
    znDynArray<char> array(64);
    array.reserve(3, true);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(array.data) % 64, 0u);
}
