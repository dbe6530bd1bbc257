#pragma once

// The host's scene graph from an imported scene.

#include "host/osg/Node.h"
#include "io/SceneFolder.h"

#include <assimp/scene.h>

/// @param scene   cleaned, triangulated, one kind of primitive per mesh
/// @param toHost  from the file's axes and unit to z up and metres
/// @return a root named after the file, with toHost as its transform
/// @throws io::InputError above a limit
osg::Ref<osg::Node> buildScene(const aiScene& scene, const osg::Matrix& toHost,
                               const io::SceneFolder& folder);
