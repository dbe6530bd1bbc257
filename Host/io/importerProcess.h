#pragma once

// Runs an import program of its own for formats whose libraries are large and not made for hostile
// files. The program gets no environment, little of the system (address space, processor time, few
// descriptors, no file to write), and hands back a scene archive through a pipe. Whatever becomes
// of it, the caller sees a scene or one line.

#include "host/osg/FieldContainer.h"
#include "io/FileConventions.h"
#include "io/Limits.h"

#include <string>
#include <vector>

namespace io {

/// How an import program is told apart from others; it stands beside this library, or in ../bin.
struct ImportProgram
{
    std::string path;                   ///< empty: znimport-assimp, where it belongs
    std::vector<std::string> arguments; ///< before those that importScene gives
};

/// Reads a scene of a foreign format: OBJ, PLY, STL, FBX, Collada.
/// @param path            as the user named it
/// @param includeFolders  further folders that references may reach
/// @param conventions     of formats that do not say which axis is up and what their unit is
/// @return root of the archive that the program wrote
/// @throws InputError: the program is not installed, refused the file, crashed, hung, or needed
///                     more than importMemory or importSeconds
osg::Ref<osg::FieldContainer> importScene(const std::string& path,
                                          const std::vector<std::string>& includeFolders = {},
                                          const Limits& limits = {},
                                          const FileConventions& conventions = {},
                                          const ImportProgram& program = {});

/// Where the program stands; empty when it is not there.
std::string findImportProgram();

} // namespace io
