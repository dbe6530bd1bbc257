#pragma once

// Reads glTF 2.0 scenes, as text (.gltf) or binary (.glb).
//
// Meshes become geometry cores that their instances share; cameras and punctual lights become cores
// of child nodes; skins and morph targets are posed as the node transforms and weights of the file
// say. The file's y-up axes are turned to z up at the root. Texture coordinates are flipped with
// their images, so that row 0 is the bottom row here as everywhere.
//
// The reader checks every index, offset and size itself. What can be left out is left out with a
// warning (one bad mesh among good ones); the rest is one InputError.

#include "io/InputFile.h"
#include "io/SceneFile.h"
#include "io/SceneFolder.h"

namespace io {

/// @throws InputError
SceneFile readGltf(const std::string& path, const std::vector<std::string>& includeFolders = {},
                   const Limits& limits = {});

/// The same for an open file.
/// @param folder  where references lead; null refuses all but data URIs
SceneFile readGltf(InputFile& file, const SceneFolder* folder);

} // namespace io
