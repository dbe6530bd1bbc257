#include "host/osg/Node.h"

#include "host/osg/nodeCores.h"

#include <algorithm>
#include <mutex>

namespace osg {

ZN_ABSTRACT_CONTAINER_BODY(NodeCore)
ZN_CONTAINER_BODY(Node)

namespace {

/// Counts edits of transforms and parents. A cached matrix is good for the count it was made at.
std::atomic<u64> s_epoch{1};

/// A few locks for all caches: a cache is held for the copy of one matrix.
std::mutex& cacheLock(const Node* node)
{
    static std::mutex locks[64];
    return locks[node->getId() % 64];
}

} // namespace

void Box::extend(const Pnt3f& p)
{
    if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2]))
        return;
    for (int i = 0; i < 3; ++i) {
        minimum[i] = std::min(minimum[i], p[i]);
        maximum[i] = std::max(maximum[i], p[i]);
    }
}

void Box::extend(const Box& box)
{
    if (box.isEmpty())
        return;
    extend(box.minimum);
    extend(box.maximum);
}

Box Box::transformed(const Matrix& m) const
{
    Box box;
    if (isEmpty())
        return box;
    for (int corner = 0; corner < 8; ++corner)
        box.extend(m.multMatrixPnt(Pnt3f(corner & 1 ? maximum[0] : minimum[0],
                                         corner & 2 ? maximum[1] : minimum[1],
                                         corner & 4 ? maximum[2] : minimum[2])));
    return box;
}

NodePtr Node::create(const NodeCorePtr& core, const std::string& name)
{
    const NodePtr node = create();
    node->setCore(core ? core : NodeCorePtr(Group::create()));
    if (!name.empty())
        setName(node, name);
    return node;
}

Node::~Node()
{
    for (const NodePtr& child : children) {
        child->parent = nullptr;
        if (child->getRefCount() > 1)
            child->noteChange(leftParentMask);
        osg::subRef(child);
    }
    osg::subRef(core);
    if (!children.empty())
        invalidateToWorld();
}

void Node::setCore(const NodeCorePtr& next)
{
    if (next == core)
        return;
    osg::addRef(next);
    osg::subRef(std::exchange(core, next));
    invalidateToWorld();
    noteChange(CoreFieldMask);
}

NodePtr Node::getChild(u32 index) const
{
    return index < children.size() ? children[index] : NodePtr();
}

bool Node::isAncestorOrSelf(const Node* candidate) const
{
    if (candidate == this)
        return true;
    // A leaf is nobody's ancestor: building a chain downwards stays linear.
    if (candidate->children.empty())
        return false;
    for (const Node* node = parent; node; node = node->parent)
        if (node == candidate)
            return true;
    return false;
}

bool Node::addChild(const NodePtr& child)
{
    return insertChild(getNChildren(), child);
}

bool Node::insertChild(u32 index, const NodePtr& newChild)
{
    const NodePtr child = newChild; // the argument may be an entry of a list of children
    if (!child || isAncestorOrSelf(child.get()))
        return false;
    osg::addRef(child);
    if (child->parent)
        child->parent->subChild(child);
    children.insert(children.begin() + std::min<std::size_t>(index, children.size()), child);
    child->parent = this;
    invalidateToWorld();
    noteChange(ChildrenFieldMask);
    return true;
}

bool Node::subChild(const NodePtr& oldChild)
{
    const NodePtr child = oldChild;
    const auto found = std::find(children.begin(), children.end(), child);
    if (found == children.end())
        return false;
    children.erase(found);
    child->parent = nullptr;
    invalidateToWorld();
    noteChange(ChildrenFieldMask);
    if (child->getRefCount() > 1)
        child->noteChange(leftParentMask);
    osg::subRef(child);
    return true;
}

void Node::setChildren(const std::vector<NodePtr>& list)
{
    if (list == children)
        return;
    const EditScope edit{NodePtr(this)};
    // Hold the old ones, for some may be in the new list.
    const std::vector<Ref<Node>> old(children.begin(), children.end());
    for (const Ref<Node>& child : old)
        subChild(child);
    for (const NodePtr& child : list)
        addChild(child);
}

void Node::setHidden(bool hidden)
{
    setFlags(hidden ? getFlags() | hiddenFlag : getFlags() & ~hiddenFlag);
}

bool Node::isVisibleInTree() const
{
    const Node* below = nullptr;
    for (const Node* node = this; node; below = node, node = node->parent) {
        if (!node->getActive() || node->isHidden())
            return false;
        const auto choice = FCPtr<Switch>::dcast(node->core);
        if (!choice || !below || choice->getChoice() == Switch::all)
            continue;
        if (node->getChild(u32(choice->getChoice())).getContainer() != below)
            return false;
    }
    return true;
}

bool Node::hasLockedParent() const
{
    for (const Node* node = parent; node; node = node->parent)
        if (node->getLock())
            return true;
    return false;
}

void Node::invalidateToWorld()
{
    s_epoch.fetch_add(1, std::memory_order_acq_rel);
}

TransformationMatrix<double> Node::getToWorldDouble() const
{
    const u64 epoch = s_epoch.load(std::memory_order_acquire);
    const auto readCache = [epoch](const Node* node, TransformationMatrix<double>& matrix) {
        const std::lock_guard lock(cacheLock(node));
        if (node->cache.epoch != epoch)
            return false;
        matrix = node->cache.toWorld;
        return true;
    };

    // Up to the nearest ancestor whose matrix is known, then down again.
    TransformationMatrix<double> matrix;
    std::vector<const Node*> path;
    for (const Node* node = this; node && !readCache(node, matrix); node = node->parent)
        path.push_back(node);
    for (auto node = path.rbegin(); node != path.rend(); ++node) {
        const NodeCorePtr& nodeCore = (*node)->core;
        if (const Matrix* local = nodeCore ? nodeCore->getLocalMatrix() : nullptr)
            matrix.mult(TransformationMatrix<double>(*local));
        const std::lock_guard lock(cacheLock(*node));
        (*node)->cache = {epoch, matrix};
    }
    return matrix;
}

TransformationMatrix<float> Node::getToWorld() const
{
    return TransformationMatrix<float>(getToWorldDouble());
}

Box Node::getWorldBox() const
{
    Box box;
    traverse(NodePtr(const_cast<Node*>(this)), [&box](const NodePtr& node) {
        if (const auto drawable = FCPtr<MaterialDrawable>::dcast(node->getCore()))
            box.extend(drawable->getBox().transformed(node->getToWorld()));
        return true;
    });
    return box;
}

} // namespace osg
