#pragma once

// Reads a scene file of any supported format into the scene graph.
//   glTF 2 (.gltf, .glb)        by our own reader
//   the host's scene archive    by the archive reader
//   OBJ, PLY, STL, FBX, Collada by the import program, which hands over an archive
// Whatever the file's axes are, the result is right-handed with z up and in metres.

#include "host/osg/Node.h"
#include "io/Limits.h"

#include <string>
#include <vector>

namespace io {

struct SceneReadOptions
{
    std::vector<std::string> includeFolders; ///< further folders that references may reach
    Limits limits;
};

/// @return the root of the file's scene, named after the file
/// @throws InputError
osg::Ref<osg::Node> readScene(const std::string& path, const SceneReadOptions& options = {});

/// Puts several scenes under one root, which is named after the first.
/// @throws InputError of the first file that cannot be read
osg::Ref<osg::Node> readScenes(const std::vector<std::string>& paths,
                               const SceneReadOptions& options = {});

} // namespace io
