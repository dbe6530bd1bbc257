#pragma once

// What the glTF tests share: reading from memory, warnings, geometry of the result.

#include "host/osg/Geometry.h"
#include "host/znLog.h"
#include "io/InputError.h"
#include "io/gltfReader.h"

#include <string>
#include <vector>

/// Keeps the log's lines for the length of a test.
class LogCatcher
{
public:
    LogCatcher()
        : before(znLog::setSink([this](znLog::Level level, const char* text) {
              (level == znLog::Level::info ? infos : warnings) += std::string(text) + "\n";
          }))
    {
    }
    ~LogCatcher() { znLog::setSink(before); }

    std::string warnings, infos;

private:
    znLog::Sink before;
};

inline io::SceneFile readGltfText(const std::string& text)
{
    io::InputFile file = io::InputFile::fromMemory(
        {reinterpret_cast<const u8*>(text.data()), text.size()}, "test.gltf");
    return io::readGltf(file, nullptr);
}

inline io::SceneFile readGltfBytes(const std::vector<u8>& bytes)
{
    io::InputFile file = io::InputFile::fromMemory(bytes, "test.glb");
    return io::readGltf(file, nullptr);
}

/// The line of the error that reading gives; "" when it reads.
inline std::string gltfError(const std::string& text)
{
    try {
        readGltfText(text);
    } catch (const io::InputError& error) {
        return error.what();
    }
    return {};
}

struct FoundGeometry
{
    osg::NodePtr node;
    osg::GeometryPtr geometry;
};

inline std::vector<FoundGeometry> geometriesOf(const io::SceneFile& scene)
{
    std::vector<FoundGeometry> found;
    osg::traverse(scene.root.get(), [&found](const osg::NodePtr& node) {
        if (const auto geometry = osg::GeometryPtr::dcast(node->getCore()))
            found.push_back({node, geometry});
        return true;
    });
    return found;
}
