#pragma once

// From a file's axes and unit to the host's: right-handed, z up, metres.

#include "host/osg/TransformationMatrix.h"
#include "io/FileConventions.h"

#include <assimp/scene.h>
#include <string>

/// FBX states axes and unit; of Collada's the import library has taken care, with y up. The others
/// have customs: OBJ and PLY have y up, STL z up, and nobody knows their unit, which counts as the
/// metre. What was taken is told in the log.
/// @param file         its suffix tells the format
/// @param conventions  replace the customs of formats that do not say
osg::Matrix axesAndUnit(const aiScene& scene, const std::string& file,
                        const io::FileConventions& conventions);
