#pragma once

// Scale and offset of textures and strength of bumps in MTL files ("map_Kd -s 2 2 1 -o 0.25 0 0
// wood.png", "bump -bm 0.5 height.png"), which the import library leaves out.

#include <assimp/scene.h>
#include <string_view>

/// Adds the placements of one MTL file to the scene's materials of the same names.
void addPlacements(aiScene& scene, std::string_view mtl);
