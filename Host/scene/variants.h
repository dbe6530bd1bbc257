#pragma once

// Variants of a scene: names under which several switch materials take their choices together.

#include "host/osg/Material.h"

#include <string>
#include <vector>

namespace scene {

/// Names the choices of a switch material from 0 on; line ends in names become spaces.
void setVariants(const osg::MaterialPtr& switchMaterial, const std::vector<std::string>& names);
/// Whether a material is a switch whose choices have names.
bool isVariantSwitch(const osg::MaterialPtr& material);

/// The variants of all switches at and below a root, each once, in the order of first use.
std::vector<std::string> findVariants(const osg::FieldContainerPtr& root);
/// Sets the choice of all switches that have the variant; the others keep theirs.
/// @return how many have it
u64 chooseVariant(const osg::FieldContainerPtr& root, const std::string& name);

} // namespace scene
