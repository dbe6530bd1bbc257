#include "mesh.h"

#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <unordered_map>

namespace {
[[noreturn]] void fail(const std::string& path, const char* cause)
{
    throw std::runtime_error(path + ": " + cause);
}

struct Property
{
    std::string name, type, countType; ///< countType is empty for a single value
};

struct Element
{
    std::string name;
    u64 count = 0;
    std::vector<Property> properties;
};

double readBinary(std::istream& in, const std::string& type)
{
    const auto value = [&]<class T>(T v) {
        in.read(reinterpret_cast<char*>(&v), sizeof v);
        return double(v);
    };
    if (type == "float" || type == "float32")
        return value(float());
    if (type == "double" || type == "float64")
        return value(double());
    if (type == "uchar" || type == "uint8")
        return value(std::uint8_t());
    if (type == "char" || type == "int8")
        return value(std::int8_t());
    if (type == "ushort" || type == "uint16")
        return value(std::uint16_t());
    if (type == "short" || type == "int16")
        return value(std::int16_t());
    if (type == "uint" || type == "uint32")
        return value(std::uint32_t());
    return value(std::int32_t());
}

void addPolygon(Mesh& mesh, const std::vector<u32>& corners)
{
    for (std::size_t i = 2; i < corners.size(); ++i)
        mesh.triangles.push_back({corners[0], corners[i - 1], corners[i]});
}

Mesh loadPly(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::string line, word;
    bool binary = false;
    std::vector<Element> elements;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        words >> word;
        if (word == "format") {
            words >> word;
            if (word == "binary_big_endian")
                fail(path, "big endian is not read");
            binary = word != "ascii";
        } else if (word == "element") {
            elements.emplace_back();
            words >> elements.back().name >> elements.back().count;
        } else if (word == "property") {
            Property p;
            words >> p.type;
            if (p.type == "list")
                words >> p.countType >> p.type;
            words >> p.name;
            elements.back().properties.push_back(p);
        } else if (word == "end_header")
            break;
    }
    const auto read = [&](const std::string& type) {
        if (binary)
            return readBinary(in, type);
        double v = 0;
        in >> v;
        return v;
    };
    Mesh mesh;
    std::vector<u32> corners;
    for (const Element& element : elements)
        for (u64 i = 0; i < element.count && in; ++i)
            for (const Property& p : element.properties) {
                const u64 count = p.countType.empty() ? 1 : u64(read(p.countType));
                corners.clear();
                for (u64 k = 0; k < count; ++k) {
                    const double v = read(p.type);
                    if (p.countType.empty() && element.name == "vertex" &&
                        (p.name == "x" || p.name == "y" || p.name == "z"))
                        mesh.positions.push_back(float(v));
                    else if (!p.countType.empty() && element.name == "face")
                        corners.push_back(u32(v));
                }
                addPolygon(mesh, corners);
            }
    return mesh;
}

Mesh loadObj(const std::string& path)
{
    std::ifstream in(path);
    Mesh mesh;
    std::string line, word;
    std::vector<u32> corners;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        if (!(words >> word))
            continue;
        if (word == "v") {
            float v[3] = {};
            words >> v[0] >> v[1] >> v[2];
            mesh.positions.insert(mesh.positions.end(), v, v + 3);
        } else if (word == "f") {
            corners.clear();
            while (words >> word) {
                const long i = std::stol(word);
                corners.push_back(u32(i > 0 ? i - 1 : long(mesh.positions.size() / 3) + i));
            }
            addPolygon(mesh, corners);
        }
    }
    return mesh;
}

/// PCG output hash (M. Jarzynski, M. Olano, "Hash Functions for GPU Rendering", 2020).
u32 hash(u32 x)
{
    const u32 state = x * 747796405u + 2891336453u;
    const u32 word = ((state >> ((state >> 28) + 4)) ^ state) * 277803737u;
    return (word >> 22) ^ word;
}
} // namespace

Mesh loadMesh(const std::string& path)
{
    if (!std::ifstream(path))
        fail(path, "cannot be opened");
    const bool isObj = path.size() > 4 && path.substr(path.size() - 4) == ".obj";
    Mesh mesh = isObj ? loadObj(path) : loadPly(path);
    if (mesh.triangles.empty())
        fail(path, "no triangles");
    for (const znRTTriangle& t : mesh.triangles)
        for (const u32 i : {t.a, t.b, t.c})
            if (3 * u64(i) + 3 > mesh.positions.size())
                fail(path, "vertex index out of range");
    return mesh;
}

Mesh refine(const Mesh& mesh, float amount)
{
    Mesh fine;
    fine.positions = mesh.positions;
    std::unordered_map<u64, u32> middles;
    const auto middle = [&](u32 a, u32 b) {
        const u64 edge = u64(a < b ? a : b) << 32 | (a < b ? b : a);
        const auto [entry, isNew] = middles.try_emplace(edge, u32(fine.positions.size() / 3));
        if (isNew) {
            float p[3], length = 0.0f;
            for (int k = 0; k < 3; ++k) {
                p[k] = (fine.positions[3 * u64(a) + k] + fine.positions[3 * u64(b) + k]) * 0.5f;
                length += std::abs(fine.positions[3 * u64(a) + k] - fine.positions[3 * u64(b) + k]);
            }
            for (u32 k = 0; k < 3; ++k) {
                const float r = float(hash(3 * entry->second + k) >> 8) / 8388608.0f - 1.0f;
                fine.positions.push_back(p[k] + r * amount * length);
            }
        }
        return entry->second;
    };
    for (const znRTTriangle& t : mesh.triangles) {
        const u32 ab = middle(t.a, t.b), bc = middle(t.b, t.c), ca = middle(t.c, t.a);
        fine.triangles.insert(fine.triangles.end(),
                              {{t.a, ab, ca}, {ab, t.b, bc}, {ca, bc, t.c}, {ab, bc, ca}});
    }
    return fine;
}
