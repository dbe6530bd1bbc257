#include "AssimpFiles.h"

#include "host/znLog.h"
#include "io/InputError.h"
#include "timeBudget.h"

#include <algorithm>
#include <assimp/IOStream.hpp>
#include <utility>

namespace {

const std::string root = "/zn/";

class Stream : public Assimp::IOStream
{
public:
    explicit Stream(io::InputFile&& file) : m_file(std::move(file)) {}

    size_t Read(void* buffer, size_t size, size_t count) override
    {
        return size == 0 ? 0 : m_file.read(buffer, size * count) / size;
    }
    size_t Write(const void*, size_t, size_t) override { return 0; }
    aiReturn Seek(size_t offset, aiOrigin origin) override
    {
        const u64 from = origin == aiOrigin_SET   ? 0
                         : origin == aiOrigin_CUR ? m_file.getPosition()
                                                  : m_file.getSize();
        if (from + offset > m_file.getSize())
            return aiReturn_FAILURE;
        m_file.seek(from + offset);
        return aiReturn_SUCCESS;
    }
    size_t Tell() const override { return m_file.getPosition(); }
    size_t FileSize() const override { return m_file.getSize(); }
    void Flush() override {}

private:
    io::InputFile m_file;
};

std::string baseName(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

/// A material file that OBJ scenes may have without naming it.
bool isGuess(const std::string& name, const std::string& scene)
{
    return name == scene.substr(0, scene.rfind('.')) + ".mtl";
}

} // namespace

AssimpFiles::AssimpFiles(const io::SceneFolder& folder)
    : m_folder(folder), m_sceneName(root + baseName(folder.getSceneFile()))
{
}

io::InputFile AssimpFiles::open(const std::string& name) const
{
    if (name == m_sceneName)
        return io::InputFile::open(m_folder.getSceneFile(), m_folder.getLimits());
    const std::string reference = name.rfind(root, 0) == 0 ? name.substr(root.size()) : name;
    return m_folder.open(reference, io::SceneFolder::Naming::path);
}

bool AssimpFiles::Exists(const char* name) const
{
    try {
        open(name);
        return true;
    } catch (const io::InputError&) {
        return false;
    }
}

Assimp::IOStream* AssimpFiles::Open(const char* name, const char* mode)
{
    if (std::string_view(mode).find_first_of("wa+") != std::string_view::npos)
        return nullptr;
    try {
        io::InputFile file = open(name);
        if (std::string_view(name).ends_with(".mtl"))
            m_materialFiles.insert(name);
        addTimeFor(file.getSize());
        return new Stream(std::move(file));
    } catch (const io::InputError& error) {
        if (!isGuess(name, m_sceneName) && m_refused.insert(error.what()).second)
            znLog::warning(error.what());
        return nullptr;
    }
}

void AssimpFiles::Close(Assimp::IOStream* stream)
{
    delete stream;
}
