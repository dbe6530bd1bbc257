#pragma once

// Writes small glTF files for tests: arrays go into one buffer, as a data URI or as the second
// chunk of a binary file.

#include "host/osg/Vector.h"
#include "host/znAligned.h"

#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

class GltfBuilder
{
public:
    using Json = nlohmann::json;
    enum Type : int { i8 = 5120, byte = 5121, i16 = 5122, word = 5123, dword = 5125, real = 5126 };

    Json root = {{"asset", {{"version", "2.0"}}}};

    /// @return number of the new accessor
    template <class T>
    int accessor(const std::vector<T>& values, const char* type, int components, Type component,
                 bool normalized = false)
    {
        const int view = bufferView(values);
        root["accessors"].push_back({{"bufferView", view},
                                     {"componentType", int(component)},
                                     {"count", values.size() / std::size_t(components)},
                                     {"type", type},
                                     {"normalized", normalized}});
        return int(root["accessors"].size()) - 1;
    }
    int vectors(const std::vector<float>& values) { return accessor(values, "VEC3", 3, real); }
    int indices(const std::vector<u16>& values) { return accessor(values, "SCALAR", 1, word); }

    template <class T>
    int bufferView(const std::vector<T>& values)
    {
        while (bytes.size() % 4)
            bytes.push_back(0);
        const std::size_t offset = bytes.size(), size = values.size() * sizeof(T);
        bytes.resize(offset + size);
        if (size)
            std::memcpy(bytes.data() + offset, values.data(), size);
        root["bufferViews"].push_back(
            {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", size}});
        return int(root["bufferViews"].size()) - 1;
    }

    /// A mesh of one primitive; the argument is the primitive's block.
    int mesh(const Json& primitive)
    {
        root["meshes"].push_back({{"primitives", Json::array({primitive})}});
        return int(root["meshes"].size()) - 1;
    }
    /// A mesh of one triangle with the corners 0, (1, 0, 0), (0, 1, 0).
    int triangle()
    {
        return mesh({{"attributes", {{"POSITION", vectors({0, 0, 0, 1, 0, 0, 0, 1, 0})}}}});
    }
    int node(const Json& block)
    {
        root["nodes"].push_back(block);
        return int(root["nodes"].size()) - 1;
    }

    std::string text() const
    {
        Json whole = root;
        if (!bytes.empty())
            whole["buffers"] =
                Json::array({{{"byteLength", bytes.size()},
                              {"uri", "data:application/octet-stream;base64," + base64(bytes)}}});
        return whole.dump();
    }

    std::vector<u8> binary() const
    {
        Json whole = root;
        whole["buffers"] = Json::array({{{"byteLength", bytes.size()}}});
        std::string json = whole.dump();
        json.resize((json.size() + 3) / 4 * 4, ' ');
        std::vector<u8> data = bytes;
        data.resize((data.size() + 3) / 4 * 4);
        std::vector<u8> file;
        const auto word32 = [&file](u32 value) {
            for (int shift = 0; shift < 32; shift += 8)
                file.push_back(u8(value >> shift));
        };
        word32(0x46546C67);
        word32(2);
        word32(u32(12 + 8 + json.size() + 8 + data.size()));
        word32(u32(json.size()));
        word32(0x4E4F534A);
        for (const char c : json)
            file.push_back(u8(c));
        word32(u32(data.size()));
        word32(0x004E4942);
        for (const u8 value : data)
            file.push_back(value);
        return file;
    }

    static std::string base64(const std::vector<u8>& data)
    {
        static const char digits[] =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string result;
        for (std::size_t i = 0; i < data.size(); i += 3) {
            u32 bits = 0;
            for (std::size_t k = 0; k < 3; ++k)
                bits = bits << 8 | (i + k < data.size() ? data[i + k] : 0u);
            for (std::size_t k = 0; k < 4; ++k)
                result += i + k > data.size() ? '=' : digits[bits >> (18 - 6 * k) & 63];
        }
        return result;
    }

private:
    std::vector<u8> bytes;
};
