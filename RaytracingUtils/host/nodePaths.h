#pragma once

// Paths of nodes: what an object is called wherever several of them may have the same name, as in
// id mattes.

#include "host/osg/FCPtr.h"
#include "host/znAligned.h"

#include <string>
#include <unordered_map>

/// Paths of all nodes at and below a root, by container id: the names from the child of the root
/// down, each behind a slash. A node without a name is called "node"; of siblings with one name all
/// but the first carry their number, as in "/car/wheel#2". The root itself is "/". UTF-8 as the
/// names are.
std::unordered_map<u32, std::string> getNodePaths(const osg::NodePtr& root);
