#pragma once

// Node of a tree over intersectors: the top level of a scene and the inside of a shell.
// The layout is that of znRTBVHNode; a leaf is the address of one intersector with bit 0 set.

#include "accel/znRTBVHNode.h"
#include "accel/znRTDynamicAcceleratorNode.h"

class znRTIntersector;

struct znRTDynamicBVHNode : znRTBVHNodeLayout
{
    static u64 encodeLeaf(const znRTIntersector* intersector)
    {
        return reinterpret_cast<u64>(intersector) | 1;
    }
    /// @return null for the empty leaf
    static const znRTIntersector* getLeafNode(u64 leaf)
    {
        return reinterpret_cast<const znRTIntersector*>(leaf & ~u64(1));
    }
    static u64 encodeNode(const znRTDynamicBVHNode* node) { return reinterpret_cast<u64>(node); }

    using Box = const float*; ///< six values: x low, x high, y low, y high, z low, z high

    void setInteriorNode(Box leftBox, const znRTDynamicBVHNode* leftNode, Box rightBox,
                         const znRTDynamicBVHNode* rightNode);
    /// Left is the single object, right the interior child.
    void setPartialInteriorNode(const znRTDynamicAcceleratorNode& object, Box rightBox,
                                const znRTDynamicBVHNode* rightNode);
    void setFullLeafNode(const znRTDynamicAcceleratorNode& leftObject,
                         const znRTDynamicAcceleratorNode& rightObject);
    void setPartialLeafNode(const znRTDynamicAcceleratorNode& object);
    /// The whole content of a tree without objects.
    void setEmpty();

private:
    void setBoxes(Box leftBox, Box rightBox);
};

static_assert(sizeof(znRTDynamicBVHNode) == 64);

inline void znRTDynamicBVHNode::setBoxes(Box leftBox, Box rightBox)
{
    float* const axes[3] = {x, y, z};
    for (int a = 0; a < 3; ++a) {
        axes[a][0] = leftBox[2 * a], axes[a][2] = leftBox[2 * a + 1];
        axes[a][1] = rightBox[2 * a], axes[a][3] = rightBox[2 * a + 1];
    }
}

inline void znRTDynamicBVHNode::setInteriorNode(Box leftBox, const znRTDynamicBVHNode* leftNode,
                                                Box rightBox, const znRTDynamicBVHNode* rightNode)
{
    setBoxes(leftBox, rightBox);
    left = encodeNode(leftNode);
    right = encodeNode(rightNode);
}

inline void znRTDynamicBVHNode::setPartialInteriorNode(const znRTDynamicAcceleratorNode& object,
                                                       Box rightBox,
                                                       const znRTDynamicBVHNode* rightNode)
{
    setBoxes(object.box, rightBox);
    left = encodeLeaf(object.intersector);
    right = encodeNode(rightNode);
}

inline void znRTDynamicBVHNode::setFullLeafNode(const znRTDynamicAcceleratorNode& leftObject,
                                                const znRTDynamicAcceleratorNode& rightObject)
{
    setBoxes(leftObject.box, rightObject.box);
    left = encodeLeaf(leftObject.intersector);
    right = encodeLeaf(rightObject.intersector);
}

inline void znRTDynamicBVHNode::setPartialLeafNode(const znRTDynamicAcceleratorNode& object)
{
    const float sentinel[6] = {FLT_MAX, -FLT_MAX, FLT_MAX, -FLT_MAX, FLT_MAX, -FLT_MAX};
    setBoxes(object.box, sentinel);
    left = encodeLeaf(object.intersector);
    right = s_emptyReference;
}

inline void znRTDynamicBVHNode::setEmpty()
{
    for (float* axis : {x, y, z}) {
        axis[0] = axis[2] = 0.0f;
        axis[1] = FLT_MAX, axis[3] = -FLT_MAX;
    }
    left = right = s_emptyReference;
}
