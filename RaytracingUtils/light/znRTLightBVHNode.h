#pragma once

// Node of the tree over lights: one cache line. An interior node holds the boxes of both children
// and the power below each; a leaf holds its lights in the place of the boxes. The right child
// stands behind the left one.

#include "core/znRTBoundingBox.h"
#include "host/znAligned.h"

class znRTLight;

class alignas(64) znRTLightBVHNode
{
public:
    static constexpr unsigned s_maxLights = 6;

    /// @param children  two nodes in a row
    void setInteriorNode(const znRTBoundingBox& left, const znRTBoundingBox& right,
                         const znRTLightBVHNode* children, float newLeftPower, float newRightPower)
    {
        setBox(0, left);
        setBox(1, right);
        setInteriorNode(children, newLeftPower, newRightPower);
    }
    /// The same with boxes as they are.
    void setInteriorNode(const znRTLightBVHNode* children, float newLeftPower, float newRightPower)
    {
        link = reinterpret_cast<u64>(children) | 1;
        powers[0] = newLeftPower;
        powers[1] = newRightPower;
    }
    /// A leaf of one light; null gives a leaf without any.
    void setLeafNode(znRTLight* first)
    {
        link = 0;
        lights[0] = first;
        lightCount = first ? 1 : 0;
    }
    /// @param index  0 to 5; the leaf then holds index + 1 lights
    void addLightNode(znRTLight* light, unsigned index)
    {
        lights[index] = light;
        lightCount = index + 1;
    }

    bool isInteriorNode() const { return (link & 1) != 0; }
    // Of interior nodes.
    const znRTLightBVHNode* getLeftNode() const
    {
        return reinterpret_cast<const znRTLightBVHNode*>(link & ~u64(1));
    }
    const znRTLightBVHNode* getRightNode() const { return getLeftNode() + 1; }
    float getLeftPower() const { return powers[0]; }
    float getRightPower() const { return powers[1]; }
    /// @param side  0 left, 1 right
    znRTBoundingBox getBox(int side) const
    {
        return {{boxes[side], boxes[4 + side], boxes[8 + side]},
                {boxes[2 + side], boxes[6 + side], boxes[10 + side]}};
    }
    // Of leaves.
    znRTLight* getLight(unsigned i) const { return lights[i]; }
    unsigned getLightCount() const { return lightCount; }

private:
    void setBox(int side, const znRTBoundingBox& box)
    {
        for (int axis = 0; axis < 3; ++axis) {
            boxes[4 * axis + side] = box.low(axis);
            boxes[4 * axis + 2 + side] = box.high(axis);
        }
    }

    union {
        float boxes[12]; ///< left low, right low, left high, right high along x, then y, then z
        znRTLight* lights[s_maxLights];
    };
    u64 link; ///< address of the left child with bit 0 set; 0 for a leaf
    union {
        float powers[2]; ///< left, right
        unsigned lightCount;
    };
};

static_assert(sizeof(znRTLightBVHNode) == 64);
