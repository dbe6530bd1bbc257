#pragma once

// Small scenes and pictures for runs of znrender.

#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

#include "io/imageReader.h"
#include "io/imageWriter.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace appTest {

inline support::ProgramResult znrender(std::vector<std::string> arguments)
{
    return support::runProgram("znrender", std::move(arguments));
}

/// The square of edge 2 in the plane y = 0, white and matt, that faces a viewer at negative y.
/// @param nodes       further nodes behind the first, as JSON
/// @param extensions  of the file, as JSON members
inline std::string matteSquare(const TemporaryFolder& folder, const std::string& name = "square",
                               const std::string& nodes = "", const std::string& extensions = "")
{
    return folder.write(name + ".gltf",
                        R"({"asset":{"version":"2.0"},)" + extensions +
                            R"("scene":0,"scenes":[{"nodes":[0)" + (nodes.empty() ? "" : ",1") +
                            R"(]}],
"nodes":[{"mesh":0})" + nodes +
                            R"(],"meshes":[{"primitives":[{"attributes":{"POSITION":0},"indices":1,
"material":0}]}],
"materials":[{"name":"white","pbrMetallicRoughness":{"metallicFactor":0,"roughnessFactor":1}}],
"accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3","min":[-1,-1,0],"max":[1,1,0]},
{"bufferView":1,"componentType":5123,"count":6,"type":"SCALAR"}],
"bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":48},{"buffer":0,"byteOffset":48,"byteLength":12}],
"buffers":[{"byteLength":60,"uri":"data:application/octet-stream;base64,)"
                            "AACAvwAAgL8AAAAAAACAPwAAgL8AAAAAAACAPwAAgD8AAAAAAACAvwAAgD8AAAAA"
                            "AAABAAIAAAACAAMA"
                            R"("}]})");
}

/// The square with a point light two metres in front of it.
inline std::string lampScene(const TemporaryFolder& folder, const std::string& name, double candela)
{
    return matteSquare(
        folder, name,
        R"(,{"translation":[0,0,2],"extensions":{"KHR_lights_punctual":{"light":0}}})",
        R"("extensionsUsed":["KHR_lights_punctual"],"extensions":{"KHR_lights_punctual":{"lights":
[{"type":"point","intensity":)" +
            std::to_string(candela) + R"(}]}},)");
}

/// A grey picture for the surroundings, twice as wide as high.
inline std::string surroundingsFile(const TemporaryFolder& folder, const std::string& name,
                                    const std::function<float(u32, u32)>& value, u32 height = 16)
{
    io::ImageData image;
    image.allocate(2 * height, height, 3, io::ImageData::Type::float32);
    image.gamma = 1.0f;
    float* texel = reinterpret_cast<float*>(image.values.data());
    for (u32 y = 0; y < height; ++y)
        for (u32 x = 0; x < 2 * height; ++x)
            for (int c = 0; c < 3; ++c)
                *texel++ = value(x, y);
    io::ImageWriteOptions options;
    options.bits = 32;
    io::writeImage(folder.path(name), image, options);
    return folder.path(name);
}

/// A view from the front in which the square fills the middle ninth.
inline std::vector<std::string> frontView(const std::string& scene, const std::string& picture)
{
    return {scene,   "-o",       picture, "-r",          "24x24",       "-s",
            "2",     "--filter", "box:1", "--eye",       "0.1,-6,0.03", "--at",
            "0,0,0", "--fov",    "53",    "--overwrite", "-q"};
}

inline io::ImageData render(std::vector<std::string> arguments,
                            const std::vector<std::string>& further, const std::string& picture)
{
    // What is said again is meant in its last form.
    for (std::size_t i = 0; i + 1 < arguments.size(); ++i)
        if (arguments[i].starts_with("-") &&
            std::find(further.begin(), further.end(), arguments[i]) != further.end())
            arguments.erase(arguments.begin() + long(i), arguments.begin() + long(i) + 2);
    arguments.insert(arguments.end(), further.begin(), further.end());
    const support::ProgramResult result = znrender(arguments);
    if (result.exitCode != 0)
        throw std::runtime_error("exit code " + std::to_string(result.exitCode) + ": " +
                                 result.error);
    return io::readImage(picture);
}

} // namespace appTest
