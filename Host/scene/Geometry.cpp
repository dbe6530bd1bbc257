#include "host/osg/Geometry.h"

#include "host/osg/Material.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace osg {

ZN_CONTAINER_BODY(Geometry)
ZN_CONTAINER_BODY(Shell)

GeoPropertyPtr Geometry::getTexCoordSet(int set) const
{
    switch (set) {
    case 0:
        return getTexCoords();
    case 1:
        return getTexCoords1();
    case 2:
        return getTexCoords2();
    case 3:
        return getTexCoords3();
    case 4:
        return getTexCoords4();
    case 5:
        return getTexCoords5();
    case 6:
        return getTexCoords6();
    case 7:
        return getTexCoords7();
    default:
        return {};
    }
}

void Geometry::setTexCoordSet(int set, const GeoPropertyPtr& property)
{
    using Setter = void (Geometry::*)(const GeoPropertyPtr&);
    static constexpr Setter setters[texCoordSetCount] = {
        &Geometry::setTexCoords,  &Geometry::setTexCoords1, &Geometry::setTexCoords2,
        &Geometry::setTexCoords3, &Geometry::setTexCoords4, &Geometry::setTexCoords5,
        &Geometry::setTexCoords6, &Geometry::setTexCoords7};
    if (set >= 0 && set < texCoordSetCount)
        (this->*setters[set])(property);
}

u32 Geometry::getIndicesPerVertex() const
{
    return getIndices() ? std::max<u32>(1, u32(getIndexMapping().size())) : 1;
}

u32 Geometry::getVertexCount() const
{
    if (getIndices())
        return getIndices()->size() / getIndicesPerVertex();
    return getPositions() ? getPositions()->size() : 0;
}

namespace {

/// Picks the tuples of a property that a list of old indices names.
GeoPropertyPtr gathered(const GeoPropertyPtr& property, const std::vector<u32>& indices)
{
    const u32 stride = property->getStride(), size = property->size();
    std::vector<u8> bytes(std::size_t(stride) * indices.size());
    const u8* const source = property->getDataAs<u8>();
    for (std::size_t i = 0; i < indices.size(); ++i)
        if (indices[i] < size)
            std::memcpy(bytes.data() + i * stride, source + std::size_t(indices[i]) * stride,
                        stride);
    const auto result = GeoProperty::create();
    result->set(property->getDataType(), property->getDimension(), bytes.data(), indices.size(),
                property->getNormalized());
    return result;
}

} // namespace

void Geometry::makeSingleIndexed()
{
    const std::lock_guard lock(mutex);
    const u32 perVertex = getIndicesPerVertex();
    if (perVertex == 1)
        return;

    // Each distinct tuple of old indices becomes one new vertex, in order of first use.
    const GeoPropertyPtr old = getIndices();
    const u32 vertexCount = getVertexCount();
    std::map<std::vector<u32>, u32> vertexOf;
    std::vector<std::vector<u32>> columns(perVertex);
    std::vector<u32> newIndices;
    newIndices.reserve(vertexCount);
    for (u32 v = 0; v < vertexCount; ++v) {
        std::vector<u32> tuple(perVertex);
        for (u32 k = 0; k < perVertex; ++k)
            tuple[k] = old->getValue(v * perVertex + k);
        const auto [entry, isNew] = vertexOf.emplace(tuple, u32(vertexOf.size()));
        if (isNew)
            for (u32 k = 0; k < perVertex; ++k)
                columns[k].push_back(tuple[k]);
        newIndices.push_back(entry->second);
    }

    const EditScope edit{GeometryPtr(this)};
    // A property that no index addresses follows the first one.
    const std::vector<u32> mapping = getIndexMapping();
    const auto columnOf = [&](u32 bit) -> const std::vector<u32>& {
        for (u32 k = 0; k < perVertex; ++k)
            if (mapping[k] & bit)
                return columns[k];
        return columns[0];
    };
    if (getPositions())
        setPositions(gathered(getPositions(), columnOf(positionBit)));
    if (getNormals())
        setNormals(gathered(getNormals(), columnOf(normalBit)));
    if (getTangents())
        setTangents(gathered(getTangents(), columnOf(normalBit)));
    if (getColors())
        setColors(gathered(getColors(), columnOf(colorBit)));
    if (getSecondaryColors())
        setSecondaryColors(gathered(getSecondaryColors(), columnOf(secondaryColorBit)));
    for (int set = 0; set < texCoordSetCount; ++set)
        if (const GeoPropertyPtr property = getTexCoordSet(set))
            setTexCoordSet(set, gathered(property, columnOf(u32(texCoordsBit) << set)));
    setIndices(GeoProperty::create(std::span<const u32>(newIndices)));
    setIndexMapping({allAttributes});
}

Box Geometry::getBox() const
{
    Box box;
    if (const GeoPropertyPtr property = getPositions())
        for (u32 i = 0; i < property->size(); ++i)
            box.extend(property->getVec3(i));
    return box;
}

TriangleIterator Geometry::beginTriangles() const
{
    return TriangleIterator(this, false);
}
TriangleIterator Geometry::endTriangles() const
{
    return TriangleIterator(this, true);
}
LineIterator Geometry::beginLines() const
{
    return LineIterator(this, false);
}
LineIterator Geometry::endLines() const
{
    return LineIterator(this, true);
}

} // namespace osg
