#include "geometry/vertexAttributes.h"

#include <cstring>

znRTVertexAttribute::znRTVertexAttribute(const osg::GeoProperty* property)
{
    if (!property || property->empty())
        return;
    data = static_cast<const u8*>(property->getData());
    type = property->getDataType();
    dimension = property->getDimension();
    stride = property->getStride();
    count = property->size();
    if (property->getNormalized())
        scale = type == osg::GeoProperty::UInt8    ? 1.0f / 255.0f
                : type == osg::GeoProperty::UInt16 ? 1.0f / 65535.0f
                : type == osg::GeoProperty::UInt32 ? 1.0f / 4294967295.0f
                                                   : 1.0f;
}

float znRTVertexAttribute::number(const u8* tuple, u32 i) const
{
    switch (type) {
    case osg::GeoProperty::Float32: {
        float value;
        std::memcpy(&value, tuple + 4 * i, 4);
        return value;
    }
    case osg::GeoProperty::UInt32: {
        u32 value;
        std::memcpy(&value, tuple + 4 * i, 4);
        return float(value) * scale;
    }
    case osg::GeoProperty::UInt16: {
        u16 value;
        std::memcpy(&value, tuple + 2 * i, 2);
        return float(value) * scale;
    }
    default:
        return float(tuple[i]) * scale;
    }
}

znRTVector4f znRTVertexAttribute::getVector4f(u32 vertex) const
{
    if (vertex >= count)
        return {};
    const u8* const tuple = data + u64(vertex) * stride;
    float values[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    for (u32 i = 0; i < dimension && i < 4; ++i)
        values[i] = number(tuple, i);
    return {values[0], values[1], values[2], values[3]};
}

znRTVector2f znRTVertexAttribute::getVector2f(u32 vertex) const
{
    if (vertex >= count)
        return {};
    const u8* const tuple = data + u64(vertex) * stride;
    if (type == osg::GeoProperty::Float32 && dimension > 1) {
        float values[2];
        std::memcpy(values, tuple, sizeof(values));
        return {values[0], values[1]};
    }
    return {number(tuple, 0), dimension > 1 ? number(tuple, 1) : 0.0f};
}

znRTPropertyStamp::znRTPropertyStamp(const osg::GeoProperty* property)
{
    if (!property)
        return;
    id = property->getId();
    data = property->getData();
    size = property->size();
}

u64 znRTPropertyStamp::hash(u64 seed) const
{
    // One round of the 64-bit FNV-1a per word.
    constexpr u64 prime = 0x100000001b3;
    for (const u64 word : {u64(id), u64(reinterpret_cast<std::uintptr_t>(data)), size})
        seed = (seed ^ word) * prime;
    return seed;
}
