#pragma once

// Nodes of the scene tree. A node has one core, which may be shared by many nodes, at most one
// parent and children in order. Nodes own their core and children; a root is owned by its creator.
// No operation recurses, so trees may be of any depth.

#include "host/osg/AttachmentContainer.h"
#include "host/osg/TransformationMatrix.h"

#include <limits>

namespace osg {

/// What a node stands for: a group, a transform, geometry, a light, a camera.
class NodeCore : public AttachmentContainer
{
    ZN_ABSTRACT_CONTAINER(NodeCore, AttachmentContainer)

    /// The part that this core adds to the world matrix of its nodes; null for the identity.
    virtual const Matrix* getLocalMatrix() const { return nullptr; }
};

struct Box
{
    Pnt3f minimum{std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity(),
                  std::numeric_limits<float>::infinity()};
    Pnt3f maximum{-std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                  -std::numeric_limits<float>::infinity()};

    bool isEmpty() const { return !(minimum[0] <= maximum[0]); }
    /// Points with NaN or infinite parts are left out.
    void extend(const Pnt3f& p);
    void extend(const Box& box);
    /// Box around the eight transformed corners.
    Box transformed(const Matrix& m) const;
    bool operator==(const Box&) const = default;
};

class Node : public AttachmentContainer
{
    ZN_CONTAINER(Node, AttachmentContainer)
    ZN_CUSTOM_FIELD(NodeCorePtr, core, Core)
    ZN_CUSTOM_FIELD(std::vector<NodePtr>, children, Children)
    ZN_FIELD(u32, flags, Flags, 0, "", 0, 4294967295.0)
    ZN_FLAG(active, Active, true) ///< takes part in shells and traversal
    ZN_FLAG(lock, Lock, false)    ///< locked nodes are not picked
    ZN_FLAG(uneditedAssetRoot, UneditedAssetRoot, false)

    static constexpr u32 hiddenFlag = 0x80; ///< of the flags word
    /// Bit of change records that is no field: the node left a parent.
    static constexpr u64 leftParentMask = u64(1) << 62;

    Node() = default;
    ~Node() override;

    /// A node with a core (null: a Group) and a name.
    static NodePtr create(const NodeCorePtr& core, const std::string& name = {});

    const NodeCorePtr& getCore() const { return core; }
    void setCore(const NodeCorePtr& next);

    NodePtr getParent() const { return NodePtr(parent); }
    u32 getNChildren() const { return u32(children.size()); }
    /// @return null beyond the last child
    NodePtr getChild(u32 index) const;
    const std::vector<NodePtr>& getChildren() const { return children; }
    void setChildren(const std::vector<NodePtr>& list);
    /// Appends; a child that has a parent leaves it first.
    /// @return false, and nothing changes, for null, for this node and for its ancestors
    bool addChild(const NodePtr& child);
    bool insertChild(u32 index, const NodePtr& child);
    /// @return false when it is no child of this node
    bool subChild(const NodePtr& child);

    bool isHidden() const { return (getFlags() & hiddenFlag) != 0; }
    void setHidden(bool hidden);
    /// The node and all ancestors are active and not hidden, and every switch above chooses them.
    bool isVisibleInTree() const;

    bool hasLockedParent() const; ///< some ancestor is locked
    bool isUneditedAssetRoot() const { return getUneditedAssetRoot(); }

    /// Product of all transforms from the root to and with this node, composed in double.
    /// Cached; safe on any number of threads while the tree is not edited.
    TransformationMatrix<float> getToWorld() const;
    TransformationMatrix<double> getToWorldDouble() const;

    /// Box of all geometry in the subtree, in world space; empty without geometry.
    Box getWorldBox() const;

    /// Tells that some transform or parent changed: every cached world matrix is made anew when it
    /// is asked for.
    static void invalidateToWorld();

private:
    bool isAncestorOrSelf(const Node* candidate) const;

    NodeCorePtr core;
    Node* parent = nullptr;
    std::vector<NodePtr> children;
    struct Cache
    {
        u64 epoch = 0;
        TransformationMatrix<double> toWorld;
    };
    mutable Cache cache;
};

/// Visits a subtree in tree order (parents before children), without recursion.
/// @param visit  called with each node; returns false to leave out what is below it
template <class Visit>
void traverse(const NodePtr& root, Visit&& visit)
{
    std::vector<NodePtr> waiting;
    if (root)
        waiting.push_back(root);
    while (!waiting.empty()) {
        const NodePtr node = waiting.back();
        waiting.pop_back();
        if (!visit(node))
            continue;
        const std::vector<NodePtr>& children = node->getChildren();
        waiting.insert(waiting.end(), children.rbegin(), children.rend());
    }
}

} // namespace osg
