#pragma once

// Where a node stands in the tree. Trees may be of any depth: these walk up in loops.

#include "host/osg/Node.h"

#include <set>

/// The first node at or above the given one for which the test holds; null without.
template <class Test>
osg::NodePtr findUpwards(osg::NodePtr node, Test&& test)
{
    while (node && !test(node))
        node = node->getParent();
    return node;
}

inline bool isAtOrBelow(const osg::NodePtr& node, const osg::NodePtr& ancestor)
{
    return bool(findUpwards(node, [&](const osg::NodePtr& each) { return each == ancestor; }));
}

inline bool isAtOrBelow(const osg::NodePtr& node, u32 ancestorId)
{
    return bool(
        findUpwards(node, [&](const osg::NodePtr& each) { return each->getId() == ancestorId; }));
}

/// The node or one of its ancestors stands in a set of ids.
inline bool isAtOrBelowOne(const osg::NodePtr& node, const std::set<u32>& ids)
{
    return bool(
        findUpwards(node, [&](const osg::NodePtr& each) { return ids.count(each->getId()) != 0; }));
}
