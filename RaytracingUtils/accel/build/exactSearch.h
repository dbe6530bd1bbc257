#pragma once

// Split search for few primitives: every primitive's middle is a candidate. The primitives are held
// sorted along each axis, so that what lies left and right of a candidate is a running maximum and
// a running minimum, for three axes at once; the lists stay sorted as nodes are cut.

#include "accel/build/buildReference.h"

class znRTExactNodes
{
public:
    static constexpr u32 s_maxCount = 64;

    /// Takes a copy of the references and sorts.
    /// @param count  1 to 64
    znRTExactNodes(const znRTBuildReference* references, u32 count);

    /// Cheapest candidate of the primitives in places begin to end - 1.
    /// A split whose one side is a multiple of four costs a quarter: it fills leaves of four.
    znRTSplit findSplit(u32 begin, u32 end, const znRTBuildBox& box) const;
    /// Puts what is at or below the split's position to the front, in the order that swapping
    /// leaves behind; without a split the front half stays in front.
    /// @return the first place of the right side
    u32 partition(u32 begin, u32 end, const znRTSplit& split, znRTBuildBox& left,
                  znRTBuildBox& right);
    /// Writes the references in their present order.
    void store(znRTBuildReference* references) const;

private:
    struct alignas(16) Key
    {
        float center, low, high;
        u32 id;
    };

    void sort(int axis, u32 count);
    float findFirstInOrder(int axis, u32 begin, u32 end, const znFloatType<2>* costs,
                           float cost) const;
    void keepSorted(int axis, u32 begin, u32 end, u32 split);

    znRTBuildReference items[s_maxCount];
    Key sorted[3][s_maxCount];
    u8 order[s_maxCount]; ///< numbers of the items in their present order
    u8 isLeft[s_maxCount];
    u32 size;
};
