#pragma once

// Node of a geometry's tree over primitives. A node stores the boxes of its two children and two
// references; it does not store a box of its own. The one-lane walk loads x, y and z as they stand,
// so the order of the four values is part of the layout.

#include "host/znAligned.h"

#include <cfloat>
#include <initializer_list>

/// Layout shared by both kinds of trees: one cache line.
struct alignas(64) znRTBVHNodeLayout
{
    float x[4]; ///< left low, right low, left high, right high
    float y[4]; ///< the same along y
    float z[4]; ///< the same along z
    u64 left;   ///< child reference; bit 0 is set for a leaf
    u64 right;

    /// A leaf without primitives and without an intersector.
    static constexpr u64 s_emptyReference = 1;

    static bool isLeaf(u64 reference) { return (reference & 1) != 0; }

    /// @param low, high  three values each, x first
    void setLeftBox(const float* low, const float* high) { setBox(0, low, high); }
    void setRightBox(const float* low, const float* high) { setBox(1, low, high); }

private:
    void setBox(int side, const float* low, const float* high)
    {
        x[side] = low[0], x[side + 2] = high[0];
        y[side] = low[1], y[side + 2] = high[1];
        z[side] = low[2], z[side + 2] = high[2];
    }
};

struct znRTBVHNode : znRTBVHNodeLayout
{
    /// @param count  below 2^31
    static u64 encodeLeaf(u32 first, u32 count) { return u64(first) << 32 | u64(count) << 1 | 1; }
    static u32 getFirst(u64 leaf) { return u32(leaf >> 32); }
    static u32 getCount(u64 leaf) { return u32(leaf) >> 1; }

    /// Address of an interior child as a reference; nodes are aligned, so bit 0 is free.
    static u64 encodeNode(const znRTBVHNode* node) { return reinterpret_cast<u64>(node); }
    static znRTBVHNode* getNode(u64 reference) { return reinterpret_cast<znRTBVHNode*>(reference); }

    /// The whole content of a tree without primitives.
    void setEmpty()
    {
        for (float* axis : {x, y, z}) {
            axis[0] = axis[1] = FLT_MAX;
            axis[2] = axis[3] = -FLT_MAX;
        }
        left = right = s_emptyReference;
    }
    /// An absent right child: a box that no ray meets and a leaf without primitives.
    void setEmptyRight()
    {
        x[1] = y[1] = z[1] = FLT_MAX;
        x[3] = y[3] = z[3] = -FLT_MAX;
        right = s_emptyReference;
    }
};

static_assert(sizeof(znRTBVHNode) == 64);
