#include "image/texelFormat.h"

#include "image/halfFloat.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace {

using Component = TexelFormat::Component;

template <class T>
T load(const u8* texel, int channel)
{
    T value;
    std::memcpy(&value, texel + channel * sizeof(T), sizeof(T));
    return value;
}

template <class T>
void store(u8* texel, int channel, T value)
{
    std::memcpy(texel + channel * sizeof(T), &value, sizeof(T));
}

/// Index of the entry nearest to a value in an increasing table.
int nearestEntry(const float* table, int count, float value)
{
    if (!(value > table[0]))
        return 0;
    // The first entry that is not less, without branches: the processor cannot guess them.
    const float* upper = table;
    for (int length = count; length > 1;) {
        const int half = length / 2;
        upper = upper[half - 1] < value ? upper + half : upper;
        length -= half;
    }
    upper += *upper < value ? 1 : 0;
    if (upper == table + count)
        return count - 1;
    return int(upper - table) - (value - upper[-1] < upper[0] - value ? 1 : 0);
}

float toUnit(float value)
{
    return std::fmin(std::fmax(value, 0.0f), 1.0f);
}

} // namespace

TexelFormat TexelFormat::of(int pixelType)
{
    // Five kinds of component behind each channel layout; red and blue first for bytes.
    static const std::array<TexelFormat, 22> formats = {{
        {Component::byte, 1, false},
        {Component::word, 1, false},
        {Component::half, 1, false},
        {},
        {Component::single, 1, false},
        {Component::byte, 2, false},
        {Component::word, 2, false},
        {Component::half, 2, false},
        {},
        {Component::single, 2, false},
        {Component::byte, 3, false},
        {Component::byte, 3, true},
        {Component::word, 3, false},
        {Component::half, 3, false},
        {},
        {Component::single, 3, false},
        {Component::byte, 4, false},
        {Component::byte, 4, true},
        {Component::word, 4, false},
        {Component::half, 4, false},
        {},
        {Component::single, 4, false},
    }};
    return pixelType >= 0 && pixelType < int(formats.size()) ? formats[pixelType] : TexelFormat();
}

int TexelFormat::getComponentSize() const
{
    switch (component) {
    case Component::byte:
        return 1;
    case Component::word:
    case Component::half:
        return 2;
    case Component::single:
        return 4;
    case Component::none:
        break;
    }
    return 0;
}

znRTVector4f TexelFormat::read(const u8* texel, const float* lut8, const float* lut16) const
{
    if (component == Component::none)
        return {};
    float value[4] = {};
    for (int c = 0; c < channels; ++c) {
        const bool isAlpha = hasAlpha() && c == channels - 1;
        switch (component) {
        case Component::byte:
            value[c] = isAlpha ? float(texel[c]) * (1.0f / 255.0f) : lut8[texel[c]];
            break;
        case Component::word: {
            const u16 stored = load<u16>(texel, c);
            value[c] = isAlpha ? float(stored) * (1.0f / 65535.0f) : lut16[stored];
            break;
        }
        case Component::half:
            value[c] = halfToFloat(load<u16>(texel, c));
            break;
        default:
            value[c] = load<float>(texel, c);
        }
    }
    if (channels <= 2)
        return {value[0], value[0], value[0], channels == 2 ? value[1] : 1.0f};
    if (blueFirst)
        std::swap(value[0], value[2]);
    return {value[0], value[1], value[2], channels == 4 ? value[3] : 1.0f};
}

void TexelFormat::write(u8* texel, const znRTVector4f& value, const float* lut8,
                        const float* lut16) const
{
    float components[4] = {value.x, value.y, value.z, value.w};
    if (channels == 2)
        components[1] = value.w;
    if (blueFirst)
        std::swap(components[0], components[2]);
    for (int c = 0; c < channels; ++c) {
        const bool isAlpha = hasAlpha() && c == channels - 1;
        const float v = components[c];
        switch (component) {
        case Component::byte:
            texel[c] = u8(isAlpha ? int(toUnit(v) * 255.0f + 0.5f) : nearestEntry(lut8, 256, v));
            break;
        case Component::word:
            store(texel, c,
                  u16(isAlpha ? int(toUnit(v) * 65535.0f + 0.5f) : nearestEntry(lut16, 65536, v)));
            break;
        case Component::half:
            store(texel, c, floatToHalf(v));
            break;
        case Component::single:
            store(texel, c, v);
            break;
        case Component::none:
            break;
        }
    }
}
