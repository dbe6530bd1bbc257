#pragma once

// Binary FBX, version 7400: records with absolute end offsets, typed properties, arrays raw or
// deflated.

#include "host/znAligned.h"

#include <cstring>
#include <string>
#include <vector>
#include <zlib.h>

namespace fbx {

template <class T>
std::string bytesOf(T value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

inline std::string tagged(char tag, const std::string& value)
{
    std::string result(1, tag);
    result += value;
    return result;
}

inline std::string text(const std::string& value)
{
    return tagged('S', bytesOf(u32(value.size())).append(value));
}
/// A name and its class, as objects are called.
inline std::string object(const std::string& name, const std::string& kind)
{
    return text(std::string(name).append("\0\1", 2).append(kind));
}
inline std::string whole(int value)
{
    return tagged('I', bytesOf(value));
}
inline std::string id(long long value)
{
    return tagged('L', bytesOf(value));
}
inline std::string real(double value)
{
    return tagged('D', bytesOf(value));
}

/// An array of doubles ('d') or ints ('i').
template <class T>
std::string array(char type, const std::vector<T>& values, bool isDeflated)
{
    std::string data(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
    if (isDeflated) {
        uLongf size = compressBound(data.size());
        std::string packed(size, '\0');
        compress(reinterpret_cast<Bytef*>(packed.data()), &size,
                 reinterpret_cast<const Bytef*>(data.data()), data.size());
        data = packed.substr(0, size);
    }
    std::string result = tagged(type, bytesOf(u32(values.size())));
    result += bytesOf(u32(isDeflated));
    result += bytesOf(u32(data.size()));
    return result += data;
}

struct Node
{
    std::string name;
    std::vector<std::string> properties;
    std::vector<Node> children;
};

inline void append(std::string& file, const Node& node)
{
    const std::size_t start = file.size();
    std::string list;
    for (const std::string& property : node.properties)
        list += property;
    file += bytesOf(u32(0));
    file += bytesOf(u32(node.properties.size()));
    file += bytesOf(u32(list.size()));
    file += char(node.name.size());
    file += node.name;
    file += list;
    for (const Node& child : node.children)
        append(file, child);
    if (!node.children.empty())
        file.append(13, '\0');
    const u32 end = u32(file.size());
    std::memcpy(file.data() + start, &end, 4);
}

inline std::string file(const std::vector<Node>& nodes)
{
    std::string result("Kaydara FBX Binary  \0\x1a\0", 23);
    result += bytesOf(u32(7400));
    for (const Node& node : nodes)
        append(result, node);
    result.append(13, '\0');
    return result;
}

/// A property row of the block Properties70.
inline Node setting(const char* name, const char* type, const std::string& value)
{
    return {"P", {text(name), text(type), text(""), text("A"), value}, {}};
}

/// A triangle of 2 x 3 inches in the plane of x and y, moved by 10 along z, z up.
inline std::string triangle(bool isDeflated)
{
    const std::vector<double> points = {0, 0, 0, 2, 0, 0, 0, 3, 0};
    const std::vector<int> corners = {0, 1, -3};
    const Node settings = {
        "Properties70",
        {},
        {setting("UpAxis", "int", whole(2)), setting("UpAxisSign", "int", whole(1)),
         setting("FrontAxis", "int", whole(1)), setting("FrontAxisSign", "int", whole(-1)),
         setting("CoordAxis", "int", whole(0)), setting("CoordAxisSign", "int", whole(1)),
         setting("UnitScaleFactor", "double", real(2.54))}};
    Node translation = {"P",
                        {text("Lcl Translation"), text("Lcl Translation"), text(""), text("A"),
                         real(0), real(0), real(10)},
                        {}};
    return file(
        {{"FBXHeaderExtension",
          {},
          {{"FBXHeaderVersion", {whole(1003)}, {}}, {"FBXVersion", {whole(7400)}, {}}}},
         {"GlobalSettings", {}, {{"Version", {whole(1000)}, {}}, settings}},
         {"Objects",
          {},
          {{"Geometry",
            {id(100), object("tri", "Geometry"), text("Mesh")},
            {{"Vertices", {array('d', points, isDeflated)}, {}},
             {"PolygonVertexIndex", {array('i', corners, isDeflated)}, {}},
             {"GeometryVersion", {whole(124)}, {}}}},
           {"Model",
            {id(200), object("tri", "Model"), text("Mesh")},
            {{"Version", {whole(232)}, {}}, {"Properties70", {}, {translation}}}}}},
         {"Connections",
          {},
          {{"C", {text("OO"), id(200), id(0)}, {}}, {"C", {text("OO"), id(100), id(200)}, {}}}}});
}

} // namespace fbx
