#pragma once

// The file system that the import library sees: one folder, "/zn/", in which the scene and what it
// refers to seem to lie. Names from files are resolved as references of the scene, so nothing
// outside of the allowed folders can be reached, whatever the library makes of a name.

#include "io/SceneFolder.h"

#include <assimp/IOSystem.hpp>
#include <set>

class AssimpFiles : public Assimp::IOSystem
{
public:
    /// @param folder  must outlive this
    explicit AssimpFiles(const io::SceneFolder& folder);

    /// What the library is told to read.
    const std::string& getSceneName() const { return m_sceneName; }

    /// The material files that the library opened.
    const std::set<std::string>& getMaterialFiles() const { return m_materialFiles; }
    /// @throws io::InputError
    io::InputFile open(const std::string& name) const;

    bool Exists(const char* name) const override;
    char getOsSeparator() const override { return '/'; }
    Assimp::IOStream* Open(const char* name, const char* mode) override;
    void Close(Assimp::IOStream* stream) override;

private:
    const io::SceneFolder& m_folder;
    std::string m_sceneName;
    std::set<std::string> m_materialFiles;
    std::set<std::string> m_refused; ///< so that each is told once
};
