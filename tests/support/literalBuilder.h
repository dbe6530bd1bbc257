#pragma once

// The split search and the build over primitives written out as comparisons of every primitive with
// every candidate: slow, and the yardstick for the fast forms, which must find the same cuts.

#include "accel/znRTBVHNode.h"
#include "core/znRTBoundingBox.h"

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

struct LiteralSplit
{
    float cost = std::numeric_limits<float>::infinity(), position = 0;
    int axis = 0;
    bool found = false;
};

class LiteralBuilder
{
public:
    struct Node
    {
        znRTBoundingBox leftBox, rightBox;
        std::unique_ptr<Node> left, right; ///< null for leaves
        u32 leftFirst = 0, leftCount = 0, rightFirst = 0, rightCount = 0;
    };

    LiteralBuilder(const std::vector<znRTBoundingBox>& primitiveBoxes, u32 maxLeafSize)
        : boxes(primitiveBoxes), maxLeaf(maxLeafSize)
    {
        for (u32 i = 0; i < boxes.size(); ++i)
            order.push_back(i);
    }

    std::unique_ptr<Node> build(u32 first, u32 last, const znRTBoundingBox& box)
    {
        auto node = std::make_unique<Node>();
        const LiteralSplit split = search(first, last, box);
        u32 middle = first;
        if (split.found)
            for (u32 i = first; i < last; ++i) {
                const znRTBoundingBox b = boxes[i];
                if (split.position >= center(b, split.axis)) {
                    node->leftBox.surround(b);
                    std::swap(boxes[i], boxes[middle]);
                    std::swap(order[i], order[middle]);
                    ++middle;
                } else
                    node->rightBox.surround(b);
            }
        if (middle == first || middle == last) {
            node->leftBox = node->rightBox = znRTBoundingBox();
            middle = first + (last - first) / 2;
            for (u32 i = first; i < last; ++i)
                (i < middle ? node->leftBox : node->rightBox).surround(boxes[i]);
        }
        node->leftFirst = first, node->leftCount = middle - first;
        node->rightFirst = middle, node->rightCount = last - middle;
        if (node->leftCount > maxLeaf)
            node->left = build(first, middle, node->leftBox);
        if (node->rightCount > maxLeaf)
            node->right = build(middle, last, node->rightBox);
        return node;
    }

    LiteralSplit search(u32 first, u32 last, const znRTBoundingBox& box) const
    {
        LiteralSplit best;
        const u32 n = last - first;
        for (int axis = 0; axis < 3; ++axis) {
            if (1e-6f > box.high(axis) - box.low(axis))
                continue;
            if (n > 64)
                searchPlanes(first, last, box, axis, best);
            else
                searchMiddles(first, last, box, axis, best);
        }
        return best;
    }

    std::vector<znRTBoundingBox> boxes;
    std::vector<u32> order;

private:
    static float center(const znRTBoundingBox& b, int axis)
    {
        return (b.low(axis) + b.high(axis)) * 0.5f;
    }
    static float halfSurface(float w, const znRTBoundingBox& box, int axis)
    {
        const int a = axis == 0 ? 1 : 0, b = axis == 2 ? 1 : 2;
        const float p = box.high(a) - box.low(a), q = box.high(b) - box.low(b);
        return w * (p + q) + p * q;
    }
    float cost(u32 first, u32 last, const znRTBoundingBox& box, int axis, float position,
               u32& left) const
    {
        left = 0;
        float leftHigh = -std::numeric_limits<float>::infinity();
        float rightLow = std::numeric_limits<float>::infinity();
        for (u32 i = first; i < last; ++i)
            if (center(boxes[i], axis) <= position) {
                ++left;
                leftHigh = std::max(leftHigh, boxes[i].high(axis));
            } else
                rightLow = std::min(rightLow, boxes[i].low(axis));
        const u32 right = last - first - left;
        if (left == 0 || right == 0)
            return std::numeric_limits<float>::infinity();
        return halfSurface(leftHigh - box.low(axis), box, axis) * float(left) +
               halfSurface(box.high(axis) - rightLow, box, axis) * float(right);
    }
    void searchPlanes(u32 first, u32 last, const znRTBoundingBox& box, int axis,
                      LiteralSplit& best) const
    {
        const float d = (box.high(axis) - box.low(axis)) * 0.05882353f;
        float group[4] = {4 * d + box.low(axis), 3 * d + box.low(axis), 2 * d + box.low(axis),
                          1 * d + box.low(axis)};
        for (int g = 0; g < 4; ++g) {
            float lowest = std::numeric_limits<float>::infinity(), position = 0;
            for (int lane = 0; lane < 4; ++lane) {
                u32 left;
                const float c = cost(first, last, box, axis, group[lane], left);
                if (c <= lowest) { // the highest lane of equal ones
                    lowest = c;
                    position = group[lane];
                }
            }
            if (lowest < best.cost)
                best = {lowest, position, axis, true};
            for (float& plane : group)
                plane += 4 * d;
        }
    }
    void searchMiddles(u32 first, u32 last, const znRTBoundingBox& box, int axis,
                       LiteralSplit& best) const
    {
        for (u32 j = first; j < last; ++j) {
            u32 left;
            float c = cost(first, last, box, axis, center(boxes[j], axis), left);
            const u32 right = last - first - left;
            if ((left & 3) == 0 || (right & 3) == 0)
                c *= 0.25f;
            if (c < best.cost)
                best = {c, center(boxes[j], axis), axis, true};
        }
    }

    const u32 maxLeaf;
};
