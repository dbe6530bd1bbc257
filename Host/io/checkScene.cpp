#include "io/checkScene.h"

#include "host/osg/Geometry.h"
#include "host/osg/Image.h"

#include <algorithm>

namespace io {
namespace {

std::string imageFault(const osg::Image& image)
{
    if (image.getPixels().empty())
        return "";
    if (image.getBytesPerPixel() == 0 || image.getWidth() == 0 || image.getHeight() == 0)
        return "has pixels of no known form";
    // Up to 2^52 bytes a side by the ranges of the fields.
    u64 size = image.getMipmapOffset(image.getMipmapCount());
    if (__builtin_mul_overflow(size, image.getFrameCount(), &size) ||
        __builtin_mul_overflow(size, image.getSideCount(), &size) ||
        size != image.getPixels().size())
        return "holds " + std::to_string(image.getPixels().size()) +
               " bytes of pixels, which is not what its size needs";
    return "";
}

struct Attribute
{
    u32 bit;
    const char* name;
    osg::GeoPropertyPtr property;
};

std::vector<Attribute> attributesOf(const osg::Geometry& geometry)
{
    using osg::Geometry;
    std::vector<Attribute> list = {
        {Geometry::positionBit, "positions", geometry.getPositions()},
        {Geometry::normalBit, "normals", geometry.getNormals()},
        {Geometry::normalBit, "tangents", geometry.getTangents()},
        {Geometry::colorBit, "colours", geometry.getColors()},
        {Geometry::secondaryColorBit, "secondary colours", geometry.getSecondaryColors()}};
    for (int set = 0; set < Geometry::texCoordSetCount; ++set)
        list.push_back({u32(Geometry::texCoordsBit) << set, "texture coordinates",
                        geometry.getTexCoordSet(set)});
    std::erase_if(list, [](const Attribute& attribute) {
        return !attribute.property || attribute.property->empty();
    });
    return list;
}

/// @param mapping  the attributes that each index of a vertex addresses
std::string indexFault(const osg::GeoProperty& indices, const std::vector<u32>& mapping,
                       const std::vector<Attribute>& attributes)
{
    for (std::size_t column = 0; column < mapping.size(); ++column) {
        u32 bound = ~0u;
        const char* name = "";
        for (const Attribute& attribute : attributes) {
            const bool isAddressed = mapping.size() == 1 || (mapping[column] & attribute.bit);
            if (isAddressed && attribute.property->size() < bound) {
                bound = attribute.property->size();
                name = attribute.name;
            }
        }
        for (u64 i = column; i < indices.size(); i += mapping.size())
            if (const u32 index = indices.getValue(u32(i)); index >= bound)
                return "index " + std::to_string(index) + " of vertex " +
                       std::to_string(i / mapping.size()) + " is beyond the " +
                       std::to_string(bound) + " " + name;
    }
    return "";
}

std::string geometryFault(const osg::Geometry& geometry)
{
    const std::vector<Attribute> attributes = attributesOf(geometry);
    const std::vector<u32>& mapping = geometry.getIndexMapping();
    const osg::GeoPropertyPtr indices = geometry.getIndices();
    if (indices) {
        if (indices->getDataType() == osg::GeoProperty::Float32)
            return "has indices that are no whole numbers";
        if (mapping.empty() || mapping.size() > 32)
            return "has no usable index mapping";
        if (std::string fault = indexFault(*indices, mapping, attributes); !fault.empty())
            return fault;
    } else {
        for (const Attribute& attribute : attributes)
            if (attribute.property->size() < geometry.getVertexCount())
                return "has fewer " + std::string(attribute.name) + " than vertices";
    }
    u64 used = 0;
    for (const u32 length : geometry.getLengths())
        used += length;
    if (used > geometry.getVertexCount())
        return "has primitives of " + std::to_string(used) + " vertices, but only " +
               std::to_string(geometry.getVertexCount());
    return "";
}

} // namespace

std::string containerFault(const osg::FieldContainerPtr& container)
{
    if (const auto image = osg::ImagePtr::dcast(container))
        return imageFault(*image);
    if (const auto geometry = osg::GeometryPtr::dcast(container))
        return geometryFault(*geometry);
    return "";
}

} // namespace io
