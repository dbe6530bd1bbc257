#pragma once

// Listings of materials and variants, and of the rules by which looks gave them to objects.

#include "io/SceneFile.h"

/// The kinds of materials that there are, with the number of their fields.
void printMaterialKinds();
/// The materials of a scene: how many objects show each, its kind, its name.
void printMaterials(const io::SceneFile& scene);
void printVariants(const io::SceneFile& scene);
/// The material of each object, and the rule that chose it.
void printAssignments(const io::SceneFile& scene);
