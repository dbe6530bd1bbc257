#pragma once

// What a scene may reach: regular files at or below its own real folder, or below a folder the
// user allowed with -I. Never the current directory, a pipe, a device, or the network.
// Uses openat2(2) with RESOLVE_BENEATH, so a link that leads out is refused by the kernel; where
// the kernel has no openat2, the real path is compared before and after opening.

#include "io/InputFile.h"

#include <string>
#include <vector>

namespace io {

class SceneFolder
{
public:
    /// How a reference is written.
    enum class Naming {
        uri,  ///< glTF: percent-decoded, '/' between folders; falls back to the text as it stands
        path, ///< OBJ, MTL, FBX, Collada, looks: as it stands, '\' also separates; of an absolute
              ///< path that is not below an allowed folder the last name is tried in each folder
    };

    /// @param sceneFile       as the user named it; its real folder is the first allowed one
    /// @param includeFolders  those of -I; must be there
    /// @throws InputError when a folder is not there
    explicit SceneFolder(const std::string& sceneFile,
                         const std::vector<std::string>& includeFolders = {},
                         const Limits& limits = {});

    /// Opens what a scene refers to.
    /// @throws InputError that names the reference, the reason, and -I when that would allow it
    InputFile open(const std::string& reference, Naming naming) const;

    /// Whether open() would find something; says nothing about why not.
    bool exists(const std::string& reference, Naming naming) const;

    /// Real path of the scene's folder.
    const std::string& getFolder() const { return m_folders.front().path; }
    /// Real paths of all allowed folders, the scene's own first.
    std::vector<std::string> getFolders() const;
    const Limits& getLimits() const { return m_limits; }

private:
    struct Folder
    {
        std::string path; ///< real path, without a slash at the end (but "/" itself)
    };
    void addFolder(const std::string& path);
    int openBelow(const Folder& folder, const std::string& relative, int& reason) const;
    int find(const std::string& reference, const std::string& name, Naming naming,
             std::string& cause) const;

    std::vector<Folder> m_folders;
    Limits m_limits;
};

/// Turns %NN into bytes; a '%' without two hex digits stays.
std::string percentDecoded(std::string_view text);

} // namespace io
