#include "io/gltfMeshes.h"

#include "io/gltfAccessors.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace io {

namespace {

/// What an array becomes; arrays in the same role can be shared.
enum Role { positionRole, normalRole, tangentRole, texCoordRole, colorRole };

std::optional<u64> attributeAccessor(const Json& primitive, const char* name)
{
    const Json* attributes = member(primitive, "attributes");
    return attributes ? wholeNumber(*attributes, name) : std::nullopt;
}

/// Adds the targets' offsets, each times its weight.
void morph(GltfDocument& document, const Json& primitive, const char* attribute,
           const std::vector<double>& weights, GltfArray& base)
{
    const Json& targets = listOf(primitive, "targets");
    for (std::size_t t = 0; t < std::min(targets.size(), weights.size()); ++t) {
        const std::optional<u64> accessor = wholeNumber(targets[t], attribute);
        if (weights[t] == 0.0 || !accessor)
            continue;
        const GltfArray offsets = readFloats(document, *accessor);
        if (offsets.values.size() != base.values.size())
            throw GltfFault(fmt::format("morph target {} has another size than its mesh", t));
        for (std::size_t i = 0; i < base.values.size(); ++i)
            base.values[i] += float(weights[t]) * offsets.values[i];
    }
}

bool isMorphed(const Json& primitive, const char* attribute, const std::vector<double>& weights)
{
    const Json& targets = listOf(primitive, "targets");
    for (std::size_t t = 0; t < std::min(targets.size(), weights.size()); ++t)
        if (weights[t] != 0.0 && member(targets[t], attribute))
            return true;
    return false;
}

/// @return how many normals had to be replaced
u32 repairNormals(GltfArray& normals)
{
    u32 repaired = 0;
    for (u32 i = 0; i < normals.size(); ++i) {
        float* n = normals.values.data() + 3 * std::size_t(i);
        const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        if (length > 0.0f && std::isfinite(length)) {
            for (int k = 0; k < 3; ++k)
                n[k] /= length;
        } else {
            n[0] = n[1] = 0.0f;
            n[2] = 1.0f;
            ++repaired;
        }
    }
    return repaired;
}

} // namespace

std::vector<double> morphWeights(const Json& object)
{
    const Json& list = listOf(object, "weights");
    return finiteNumbers(list, list.size(), "weights");
}

const std::vector<GltfMeshes::Part>& GltfMeshes::get(u64 mesh, const std::vector<double>& weights)
{
    const auto [found, isNew] = meshes.try_emplace({mesh, weights});
    std::vector<Part>& parts = found->second;
    if (!isNew)
        return parts;
    const Json& description = document.element("meshes", mesh);
    const std::string name = text(description, "name");
    const std::vector<double> inForce = weights.empty() ? morphWeights(description) : weights;
    const Json& primitives = listOf(description, "primitives");
    for (std::size_t p = 0; p < primitives.size(); ++p) {
        try {
            Part part = readPrimitive(primitives[p], inForce);
            setName(part.geometry.get(), name.empty() ? fmt::format("mesh{}", mesh) : name);
            parts.push_back(std::move(part));
        } catch (const GltfFault& fault) {
            document.warn(fmt::format("mesh {} \"{}\", primitive {} is left out: {}", mesh, name, p,
                                      fault.what()));
        }
    }
    return parts;
}

GltfMeshes::Part GltfMeshes::readPrimitive(const Json& primitive,
                                           const std::vector<double>& weights)
{
    const osg::Ref<osg::Geometry> geometry = osg::Geometry::create();
    const u64 mode = wholeNumber(primitive, "mode", osg::Geometry::triangles);
    if (mode > osg::Geometry::triangleFan)
        throw GltfFault(fmt::format("mode {} is not known", mode));
    readAttributes(*geometry, primitive, weights);
    readIndices(*geometry, primitive);
    geometry->setTypes({u32(mode)});
    geometry->setLengths({geometry->getVertexCount()});
    dropBadVertices(*geometry);

    const u32 count = countTriangles(*geometry);
    if (mode >= osg::Geometry::triangles && count == 0)
        throw GltfFault("it has no triangles");
    triangles += count;
    document.getLimits().check(&Limits::triangles, triangles, document.getName(),
                               "the number of triangles");
    return {geometry, &primitive};
}

void GltfMeshes::readAttributes(osg::Geometry& geometry, const Json& primitive,
                                const std::vector<double>& weights)
{
    if (!attributeAccessor(primitive, "POSITION"))
        throw GltfFault("it has no positions");
    geometry.setPositions(property(primitive, "POSITION", 3, positionRole, weights));
    const u32 vertexCount = geometry.getPositions()->size();

    // Arrays of another length than the positions would be read behind their end.
    const auto optional = [&](const char* name, auto&& read) -> osg::Ref<osg::GeoProperty> {
        try {
            osg::Ref<osg::GeoProperty> found = read();
            if (!found || found->size() == vertexCount)
                return found;
            document.warn(fmt::format("{} has {} entries for {} vertices and is left out", name,
                                      found->size(), vertexCount));
        } catch (const GltfFault& fault) {
            document.warn(fmt::format("{} is left out: {}", name, fault.what()));
        }
        return {};
    };
    geometry.setNormals(
        optional("NORMAL", [&] { return property(primitive, "NORMAL", 3, normalRole, weights); }));
    // A morphed surface has other tangents than the file's, which the renderer derives.
    if (!isMorphed(primitive, "POSITION", weights) && !isMorphed(primitive, "TANGENT", weights))
        geometry.setTangents(optional(
            "TANGENT", [&] { return property(primitive, "TANGENT", 4, tangentRole, weights); }));
    geometry.setColors(optional("COLOR_0", [&] { return colors(primitive); }));
    for (int set = 0; set < osg::Geometry::texCoordSetCount; ++set) {
        const std::string name = fmt::format("TEXCOORD_{}", set);
        geometry.setTexCoordSet(set, optional(name.c_str(), [&] {
                                    return property(primitive, name.c_str(), 2, texCoordRole,
                                                    weights);
                                }));
    }
}

osg::Ref<osg::GeoProperty> GltfMeshes::property(const Json& primitive, const char* attribute,
                                                u32 dimension, int role,
                                                const std::vector<double>& weights)
{
    const std::optional<u64> accessor = attributeAccessor(primitive, attribute);
    if (!accessor)
        return {};
    const bool morphed = isMorphed(primitive, attribute, weights);
    if (!morphed)
        if (const auto known = properties.find({*accessor, role}); known != properties.end())
            return known->second;

    GltfArray array = readFloats(document, *accessor, dimension);
    if (morphed)
        morph(document, primitive, attribute, weights, array);
    if (role == normalRole)
        if (const u32 repaired = repairNormals(array))
            document.warn(
                fmt::format("{} normals have no direction; z takes their place", repaired));
    if (role == texCoordRole)
        for (u32 i = 0; i < array.size(); ++i) {
            float* uv = array.values.data() + 2 * std::size_t(i);
            if (!std::isfinite(uv[0]) || !std::isfinite(uv[1]))
                uv[0] = uv[1] = 0.0f;
            uv[1] = 1.0f - uv[1];
        }
    const osg::Ref<osg::GeoProperty> result = osg::GeoProperty::create();
    result->set(osg::GeoProperty::Float32, dimension, array.values.data(), array.size());
    if (!morphed)
        properties[{*accessor, role}] = result;
    return result;
}

osg::Ref<osg::GeoProperty> GltfMeshes::colors(const Json& primitive)
{
    const std::optional<u64> accessor = attributeAccessor(primitive, "COLOR_0");
    if (!accessor)
        return {};
    if (const auto known = properties.find({*accessor, colorRole}); known != properties.end())
        return known->second;
    GltfArray array = readFloats(document, *accessor);
    if (array.components != 3 && array.components != 4)
        throw GltfFault("colours have neither 3 nor 4 numbers");
    for (float& value : array.values)
        value = std::isfinite(value) ? std::max(value, 0.0f) : 0.0f;
    const osg::Ref<osg::GeoProperty> result = osg::GeoProperty::create();
    result->set(osg::GeoProperty::Float32, array.components, array.values.data(), array.size());
    properties[{*accessor, colorRole}] = result;
    return result;
}

void GltfMeshes::readIndices(osg::Geometry& geometry, const Json& primitive)
{
    const std::optional<u64> accessor = wholeNumber(primitive, "indices");
    if (!accessor)
        return;
    const std::vector<u32> indices = readUnsigned(document, *accessor, 1);
    const u32 vertexCount = geometry.getPositions()->size();
    const u32 greatest = *std::max_element(indices.begin(), indices.end());
    if (greatest >= vertexCount)
        throw GltfFault(
            fmt::format("index {} is out of range, there are {} vertices", greatest, vertexCount));
    if (vertexCount <= 65536) {
        const std::vector<u16> narrow(indices.begin(), indices.end());
        geometry.setIndices(osg::GeoProperty::create(std::span<const u16>(narrow)));
    } else
        geometry.setIndices(osg::GeoProperty::create(std::span<const u32>(indices)));
}

/// Primitives at vertices that are nowhere go; strips and fans become lists for that.
void GltfMeshes::dropBadVertices(osg::Geometry& geometry)
{
    const osg::GeoPropertyPtr positions = geometry.getPositions();
    std::vector<bool> isBad(positions->size());
    u32 badCount = 0;
    for (u32 v = 0; v < positions->size(); ++v) {
        const osg::Vec3f p = positions->getVec3(v);
        isBad[v] = !std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2]);
        badCount += isBad[v];
    }
    if (badCount == 0)
        return;
    document.warn(
        fmt::format("{} vertices are not finite; what they belong to is left out", badCount));

    std::vector<u32> kept;
    const auto keep = [&](auto begin, auto end, int corners) {
        for (; !(begin == end); ++begin) {
            bool isGood = true;
            for (int c = 0; c < corners; ++c)
                isGood = isGood && !isBad[begin.getPositionIndex(c)];
            for (int c = 0; c < corners && isGood; ++c)
                kept.push_back(begin.getPositionIndex(c));
        }
    };
    const u32 type = geometry.getTypes()[0];
    if (type >= osg::Geometry::triangles) {
        keep(geometry.beginTriangles(), geometry.endTriangles(), 3);
        geometry.setTypes({osg::Geometry::triangles});
    } else if (type >= osg::Geometry::lines) {
        keep(geometry.beginLines(), geometry.endLines(), 2);
        geometry.setTypes({osg::Geometry::lines});
    } else
        for (u32 i = 0; i < geometry.getVertexCount(); ++i) {
            const u32 v = geometry.getIndices() ? geometry.getIndices()->getValue(i) : i;
            if (!isBad[v])
                kept.push_back(v);
        }
    if (kept.empty())
        throw GltfFault("none of its vertices is finite");
    geometry.setIndices(osg::GeoProperty::create(std::span<const u32>(kept)));
    geometry.setLengths({u32(kept.size())});
}

u32 GltfMeshes::countTriangles(const osg::Geometry& geometry)
{
    const u32 n = geometry.getVertexCount();
    switch (geometry.getTypes()[0]) {
    case osg::Geometry::triangles:
        return n / 3;
    case osg::Geometry::triangleStrip:
    case osg::Geometry::triangleFan:
        return n < 3 ? 0 : n - 2;
    default:
        return 0;
    }
}

} // namespace io
