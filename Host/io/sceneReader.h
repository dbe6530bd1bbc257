#pragma once

// Reads a scene file of any supported format into the scene graph.
//   glTF 2 (.gltf, .glb)        by our own reader
//   the host's scene archive    by the archive reader
//   OBJ, PLY, STL, FBX, Collada by the import program, which hands over an archive
// Whatever the file's axes are, the result is right-handed with z up and in metres.

#include "io/FileConventions.h"
#include "io/Limits.h"
#include "io/SceneFile.h"

#include <string>
#include <vector>

namespace io {

struct SceneReadOptions
{
    std::vector<std::string> includeFolders; ///< further folders that references may reach
    Limits limits;
    FileConventions conventions; ///< for files that do not say what is up and how long a unit is
};

/// @throws InputError
SceneFile readScene(const std::string& path, const SceneReadOptions& options = {});

/// Puts several scenes under one root; a single one stays as it is.
/// @throws InputError of the first file that cannot be read
SceneFile readScenes(const std::vector<std::string>& paths, const SceneReadOptions& options = {});

/// Puts what was read under the root of a scene that has read others before. Settings and
/// surroundings of the first file that brings some are the scene's.
void appendScene(SceneFile& all, SceneFile& part);

/// The lights below a root, in tree order, by the name of the light or else of its node.
std::vector<SceneFile::LightEntry> findLights(const osg::NodePtr& root);

} // namespace io
