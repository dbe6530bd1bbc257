#include "io/gltfAccessors.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace io {

namespace {

enum ComponentType : u64 {
    typeByte = 5120,
    typeUnsignedByte = 5121,
    typeShort = 5122,
    typeUnsignedShort = 5123,
    typeUnsignedInt = 5125,
    typeFloat = 5126
};

u64 componentSize(u64 type)
{
    switch (type) {
    case typeByte:
    case typeUnsignedByte:
        return 1;
    case typeShort:
    case typeUnsignedShort:
        return 2;
    case typeUnsignedInt:
    case typeFloat:
        return 4;
    default:
        throw GltfFault(fmt::format("componentType {} is not known", type));
    }
}

u32 componentCount(const std::string& type)
{
    static const std::pair<const char*, u32> counts[] = {
        {"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}, {"MAT4", 16}};
    for (const auto& [name, count] : counts)
        if (type == name)
            return count;
    throw GltfFault("type is not known");
}

/// Layout of an accessor, read from its description.
struct Layout
{
    u64 type = typeFloat;
    u32 components = 1;
    u64 count = 0;
    bool normalized = false;

    u64 elementSize() const { return components * componentSize(type); }
};

Layout layoutOf(const Json& description)
{
    Layout layout;
    layout.type = wholeNumber(description, "componentType", 0);
    layout.components = componentCount(text(description, "type"));
    layout.count = wholeNumber(description, "count", 0);
    layout.normalized = flag(description, "normalized", false);
    componentSize(layout.type);
    if (layout.count == 0 || layout.count > 0xffffffffu)
        throw GltfFault("count is 0 or above 32 bits");
    return layout;
}

/// Where elements lie: checked so that every element is inside the view.
struct Source
{
    const u8* data = nullptr;
    u64 stride = 0;
};

Source sourceOf(GltfDocument& document, u64 viewIndex, u64 offset, u64 elementSize, u64 count)
{
    const GltfDocument::View view = document.bufferView(viewIndex);
    const u64 stride = view.stride ? view.stride : elementSize;
    if (stride < elementSize)
        throw GltfFault("byteStride is below the size of an element");
    u64 end;
    if (__builtin_mul_overflow(count - 1, stride, &end) ||
        __builtin_add_overflow(end, elementSize, &end) ||
        __builtin_add_overflow(end, offset, &end) || end > view.bytes.size())
        throw GltfFault("ends behind its buffer view");
    return {view.bytes.data() + offset, stride};
}

template <class T>
T load(const u8* data)
{
    T value;
    std::memcpy(&value, data, sizeof(T));
    return value;
}

float toFloat(const u8* data, u64 type, bool normalized)
{
    switch (type) {
    case typeByte: {
        const float value = float(load<std::int8_t>(data));
        return normalized ? std::max(value / 127.0f, -1.0f) : value;
    }
    case typeUnsignedByte:
        return normalized ? float(*data) / 255.0f : float(*data);
    case typeShort: {
        const float value = float(load<std::int16_t>(data));
        return normalized ? std::max(value / 32767.0f, -1.0f) : value;
    }
    case typeUnsignedShort:
        return normalized ? float(load<u16>(data)) / 65535.0f : float(load<u16>(data));
    case typeUnsignedInt:
        return float(load<u32>(data));
    default:
        return load<float>(data);
    }
}

u32 toUnsigned(const u8* data, u64 type)
{
    switch (type) {
    case typeUnsignedByte:
        return *data;
    case typeUnsignedShort:
        return load<u16>(data);
    case typeUnsignedInt:
        return load<u32>(data);
    default:
        throw GltfFault("componentType is not unsigned");
    }
}

/// Decodes an accessor with its sparse entries into one list of numbers.
/// @param convert  (bytes, component type) -> number
template <class Number, class Convert>
std::vector<Number> decode(GltfDocument& document, const Json& description, const Layout& layout,
                           Convert&& convert)
{
    const u64 size = componentSize(layout.type), components = layout.components;
    const auto element = [&](const u8* data, Number* out) {
        for (u64 c = 0; c < components; ++c)
            out[c] = convert(data + c * size, layout.type);
    };

    std::vector<Number> values;
    if (const auto view = wholeNumber(description, "bufferView")) {
        const u64 offset = wholeNumber(description, "byteOffset", 0);
        const Source source = sourceOf(document, *view, offset, layout.elementSize(), layout.count);
        document.charge(layout.count * components * sizeof(Number));
        values.resize(layout.count * components);
        for (u64 i = 0; i < layout.count; ++i)
            element(source.data + i * source.stride, values.data() + i * components);
    } else {
        document.charge(layout.count * components * sizeof(Number));
        values.resize(layout.count * components);
    }

    const Json* sparse = member(description, "sparse");
    if (!sparse)
        return values;
    const u64 count = wholeNumber(*sparse, "count", 0);
    const Json* places = member(*sparse, "indices");
    const Json* entries = member(*sparse, "values");
    if (count == 0 || count > layout.count || !places || !entries)
        throw GltfFault("sparse block is incomplete");
    const u64 placeType = wholeNumber(*places, "componentType", 0);
    const Source placeSource =
        sourceOf(document, wholeNumber(*places, "bufferView", ~u64(0)),
                 wholeNumber(*places, "byteOffset", 0), componentSize(placeType), count);
    const Source valueSource =
        sourceOf(document, wholeNumber(*entries, "bufferView", ~u64(0)),
                 wholeNumber(*entries, "byteOffset", 0), layout.elementSize(), count);
    for (u64 i = 0; i < count; ++i) {
        const u32 place = toUnsigned(placeSource.data + i * placeSource.stride, placeType);
        if (place >= layout.count)
            throw GltfFault("sparse index is out of range");
        element(valueSource.data + i * valueSource.stride, values.data() + place * components);
    }
    return values;
}

/// Adds the accessor's number to faults of its parts.
template <class Read>
auto readAccessor(u64 accessor, Read&& read)
{
    try {
        return read();
    } catch (const GltfFault& fault) {
        throw GltfFault(fmt::format("accessor {}: {}", accessor, fault.what()));
    }
}

} // namespace

GltfArray readFloats(GltfDocument& document, u64 accessor)
{
    return readAccessor(accessor, [&] {
        const Json& description = document.element("accessors", accessor);
        const Layout layout = layoutOf(description);
        GltfArray array;
        array.components = layout.components;
        array.values =
            decode<float>(document, description, layout, [&layout](const u8* data, u64 type) {
                return toFloat(data, type, layout.normalized);
            });
        return array;
    });
}

GltfArray readFloats(GltfDocument& document, u64 accessor, u32 components)
{
    GltfArray array = readFloats(document, accessor);
    if (array.components != components)
        throw GltfFault(fmt::format("accessor {}: has {} numbers per element instead of {}",
                                    accessor, array.components, components));
    return array;
}

std::vector<u32> readUnsigned(GltfDocument& document, u64 accessor, u32 components)
{
    return readAccessor(accessor, [&] {
        const Json& description = document.element("accessors", accessor);
        const Layout layout = layoutOf(description);
        if (layout.components != components)
            throw GltfFault(fmt::format("has {} numbers per element instead of {}",
                                        layout.components, components));
        return decode<u32>(document, description, layout, toUnsigned);
    });
}

} // namespace io
