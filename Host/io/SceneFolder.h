#pragma once

// What a scene may reach: regular files at or below its own real folder, or below a folder the
// user allowed with -I. Never the current directory, a pipe, a device, or the network.
// Uses openat2(2) with RESOLVE_BENEATH, so that the kernel refuses a link that leads out; where
// there is no openat2, the real path is compared before and after opening.

#include "io/InputFile.h"

#include <string>
#include <vector>

namespace io {

class SceneFolder
{
public:
    /// How a reference is written.
    enum class Naming {
        uri, ///< glTF: percent-decoded; what is not found so is tried as it stands
        path ///< OBJ, MTL, FBX, Collada, looks: as it stands; of an absolute path outside of the
             ///< allowed folders the last name is tried in each of them
    };

    /// @param sceneFile       as the user named it; its real folder is the first allowed one
    /// @param includeFolders  those of -I; must be there
    /// @throws InputError when a folder is not there
    explicit SceneFolder(const std::string& sceneFile,
                         const std::vector<std::string>& includeFolders = {},
                         const Limits& limits = {});

    /// Opens what a scene refers to.
    /// @throws InputError with scene, reference and reason, and -I when that would allow it
    InputFile open(const std::string& reference, Naming naming) const;

    /// Whether open() would find something; says nothing about why not.
    bool exists(const std::string& reference, Naming naming) const;

    /// As the user named it.
    const std::string& getSceneFile() const { return m_sceneFile; }
    /// Real paths of all allowed folders, the scene's own first; no slash at the end but of "/".
    const std::vector<std::string>& getFolders() const { return m_folders; }
    const Limits& getLimits() const { return m_limits; }

private:
    struct Search;
    void addFolder(const std::string& path);
    void refuseByName(const std::string& reference, Naming naming) const;
    bool openInside(const std::string& path, Search& search) const;
    bool find(const std::string& name, Search& search) const;
    [[noreturn]] void refuse(const std::string& reference, std::string_view cause) const;

    std::string m_sceneFile;
    std::vector<std::string> m_folders;
    Limits m_limits;
};

/// Turns %NN into bytes; a '%' without two hex digits stays.
std::string percentDecoded(std::string_view text);

} // namespace io
