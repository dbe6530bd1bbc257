#pragma once

// The containers that others keep alive: walks over a graph by reflection.

#include "host/osg/FieldContainer.h"

#include <functional>
#include <unordered_map>

namespace scene {

/// Whether a container keeps the targets of a field alive.
bool ownsTargets(const osg::FieldDescription& field);

/// Calls visit with each container that the fields of one own directly; nulls are left out.
void eachOwned(const osg::FieldContainer& container,
               const std::function<void(const osg::FieldContainerPtr&)>& visit);

/// The root and all that it owns, directly or not, each once; owners stand before what they own.
std::vector<osg::FieldContainerPtr> collectOwned(const osg::FieldContainerPtr& root);

/// Puts other containers in the place of some in all fields that own them, at and below a root.
using Replacements = std::unordered_map<osg::FieldContainerPtr, osg::FieldContainerPtr>;
void replaceOwned(const osg::FieldContainerPtr& root, const Replacements& replacements);

} // namespace scene
