#include "host/osg/GeoProperty.h"

#include <cstring>

namespace osg {

ZN_CONTAINER_BODY(GeoProperty)

namespace {

constexpr std::size_t readAhead = 16; ///< bytes that may be loaded behind the last tuple

template <class T>
FCPtr<GeoProperty> createFrom(u32 dataType, u32 dimension, std::span<const T> values)
{
    const auto property = GeoProperty::create();
    property->set(dataType, dimension, values.data(), values.size());
    return property;
}

template <class T>
float readAs(const u8* data, float scale)
{
    T value;
    std::memcpy(&value, data, sizeof(T));
    return float(value) * scale;
}

} // namespace

FCPtr<GeoProperty> GeoProperty::create(std::span<const Vec2f> values)
{
    return createFrom(Float32, 2, values);
}
FCPtr<GeoProperty> GeoProperty::create(std::span<const Vec3f> values)
{
    return createFrom(Float32, 3, values);
}
FCPtr<GeoProperty> GeoProperty::create(std::span<const Pnt3f> values)
{
    return createFrom(Float32, 3, values);
}
FCPtr<GeoProperty> GeoProperty::create(std::span<const Vec4f> values)
{
    return createFrom(Float32, 4, values);
}
FCPtr<GeoProperty> GeoProperty::create(std::span<const u32> values)
{
    return createFrom(UInt32, 1, values);
}
FCPtr<GeoProperty> GeoProperty::create(std::span<const u16> values)
{
    return createFrom(UInt16, 1, values);
}
FCPtr<GeoProperty> GeoProperty::create(std::initializer_list<Vec3f> values)
{
    return create(std::span<const Vec3f>(values.begin(), values.size()));
}
FCPtr<GeoProperty> GeoProperty::create(std::initializer_list<u32> values)
{
    return create(std::span<const u32>(values.begin(), values.size()));
}

u32 GeoProperty::getNumberSize(u32 type)
{
    switch (type) {
    case UInt8:
        return 1;
    case UInt16:
        return 2;
    case UInt32:
    case Float32:
        return 4;
    default:
        return 0;
    }
}

u32 GeoProperty::getStride() const
{
    return getDimension() * getNumberSize(getDataType());
}

u32 GeoProperty::size() const
{
    const u32 stride = getStride();
    return stride ? u32(bytes.size() / stride) : 0;
}

void GeoProperty::set(u32 type, u32 tupleSize, const void* data, u64 count, bool isNormalized)
{
    const EditScope edit{Ptr(this), BytesFieldMask};
    setDataType(type);
    setDimension(tupleSize);
    setNormalized(isNormalized);
    const u64 size = count * getStride();
    std::vector<u8> next;
    next.reserve(size + readAhead);
    if (size)
        next.assign(static_cast<const u8*>(data), static_cast<const u8*>(data) + size);
    bytes = std::move(next);
}

void GeoProperty::setBytes(const std::vector<u8>& data)
{
    if (data == bytes)
        return;
    std::vector<u8> next;
    next.reserve(data.size() + readAhead);
    next.assign(data.begin(), data.end());
    bytes = std::move(next);
    noteChange(BytesFieldMask);
}

u32 GeoProperty::getValue(u32 index) const
{
    if (index >= size())
        return 0;
    const u8* data = bytes.data() + std::size_t(index) * getStride();
    switch (getDataType()) {
    case UInt8:
        return *data;
    case UInt16: {
        u16 value;
        std::memcpy(&value, data, sizeof(value));
        return value;
    }
    case UInt32: {
        u32 value;
        std::memcpy(&value, data, sizeof(value));
        return value;
    }
    default: {
        const float value = readAs<float>(data, 1.0f);
        return value >= 0.0f && value < 4294967296.0f ? u32(value) : 0;
    }
    }
}

Vec4f GeoProperty::getVector(u32 index) const
{
    Vec4f v(0.0f, 0.0f, 0.0f, 1.0f);
    if (index >= size())
        return {};
    const u8* data = bytes.data() + std::size_t(index) * getStride();
    const bool scaled = getNormalized();
    for (u32 i = 0; i < std::min(getDimension(), 4u); ++i) {
        switch (getDataType()) {
        case UInt8:
            v[i] = readAs<u8>(data + i, scaled ? 1.0f / 255.0f : 1.0f);
            break;
        case UInt16:
            v[i] = readAs<u16>(data + 2 * i, scaled ? 1.0f / 65535.0f : 1.0f);
            break;
        case UInt32:
            v[i] = readAs<u32>(data + 4 * i, 1.0f);
            break;
        default:
            v[i] = readAs<float>(data + 4 * i, 1.0f);
        }
    }
    return v;
}

Vec3f GeoProperty::getVec3(u32 index) const
{
    const Vec4f v = getVector(index);
    return {v[0], v[1], v[2]};
}

} // namespace osg
