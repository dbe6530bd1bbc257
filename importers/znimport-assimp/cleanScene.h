#pragma once

// Takes out of an imported scene what cannot be used, before the library works on it further.

#include <assimp/scene.h>

/// Removes meshes with vertices that are no finite numbers, with faces that use vertices which are
/// not there, or without faces, and what refers to them. Each is told in the log.
/// @return meshes left
unsigned removeBadMeshes(aiScene& scene);
