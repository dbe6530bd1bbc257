#include "io/ImageData.h"

#include "io/imageCodecs.h"

#include <Imath/half.h>
#include <algorithm>
#include <cmath>
#include <cstring>

namespace io {
namespace {

template <typename T>
T loadAt(const ImageData& image, u64 index)
{
    T value;
    std::memcpy(&value, image.values.data() + index * sizeof(T), sizeof(T));
    return value;
}

template <typename T>
void storeAt(ImageData& image, u64 index, T value)
{
    std::memcpy(image.values.data() + index * sizeof(T), &value, sizeof(T));
}

float halfToFloat(u16 bits)
{
    return float(Imath::half(Imath::half::FromBits, bits));
}

double storedAt(const ImageData& image, u64 index)
{
    switch (image.type) {
    case ImageData::Type::byte:
        return image.values[index];
    case ImageData::Type::word:
        return loadAt<u16>(image, index);
    case ImageData::Type::half:
        return halfToFloat(loadAt<u16>(image, index));
    case ImageData::Type::float32:
        break;
    }
    return loadAt<float>(image, index);
}

double whiteOf(ImageData::Type type)
{
    return type == ImageData::Type::byte ? 255 : type == ImageData::Type::word ? 65535 : 1;
}

/// @param value  1 = white
void storeNormalized(ImageData& image, u64 index, double value)
{
    if (image.type == ImageData::Type::float32)
        return storeAt(image, index, float(value));
    if (image.type == ImageData::Type::half)
        return storeAt(image, index, Imath::half(float(value)).bits());
    // The comparison is false for NaN, too.
    const double clamped = value > 0 ? std::min(value, 1.0) : 0.0;
    const double rounded = std::floor(clamped * whiteOf(image.type) + 0.5);
    if (image.type == ImageData::Type::byte)
        image.values[index] = u8(rounded);
    else
        storeAt(image, index, u16(rounded));
}

/// All but the values.
ImageData describedLike(const ImageData& image)
{
    ImageData result;
    result.gamma = image.gamma;
    result.isPremultiplied = image.isPremultiplied;
    result.offsetX = image.offsetX;
    result.offsetY = image.offsetY;
    result.displayWidth = image.displayWidth;
    result.displayHeight = image.displayHeight;
    result.iccProfile = image.iccProfile;
    result.metadata = image.metadata;
    return result;
}

} // namespace

double ImageData::getValue(u32 x, u32 y, u32 channel) const
{
    return storedAt(*this, (u64(y) * width + x) * channels + channel);
}

float ImageData::getNormalized(u32 x, u32 y, u32 channel) const
{
    return float(getValue(x, y, channel) / whiteOf(type));
}

void ImageData::allocate(u32 newWidth, u32 newHeight, u32 newChannels, Type newType)
{
    width = newWidth;
    height = newHeight;
    channels = newChannels;
    type = newType;
    values.assign(getRowSize() * height, 0);
}

ImageData converted(const ImageData& image, ImageData::Type type)
{
    if (type == image.type)
        return image;
    ImageData result = describedLike(image);
    result.allocate(image.width, image.height, image.channels, type);
    const u64 count = u64(image.width) * image.height * image.channels;
    for (u64 i = 0; i < count; ++i)
        storeNormalized(result, i, storedAt(image, i) / whiteOf(image.type));
    return result;
}

ImageData withChannels(const ImageData& image, u32 channels)
{
    if (channels == image.channels)
        return image;
    ImageData result = describedLike(image);
    result.allocate(image.width, image.height, channels, image.type);
    const bool fromColor = image.channels >= 3, toColor = channels >= 3;
    const bool fromAlpha = image.channels % 2 == 0, toAlpha = channels % 2 == 0;
    const u32 colors = toColor ? 3 : 1, size = ImageData::bytes(image.type);
    for (u64 pixel = 0; pixel < u64(image.width) * image.height; ++pixel) {
        const u8* const from = image.values.data() + pixel * image.channels * size;
        for (u32 c = 0; c < colors; ++c)
            std::memcpy(result.values.data() + (pixel * channels + c) * size,
                        from + (fromColor ? c : 0) * size, size);
        if (toAlpha && fromAlpha)
            std::memcpy(result.values.data() + (pixel * channels + colors) * size,
                        from + (image.channels - 1) * size, size);
        else if (toAlpha)
            storeNormalized(result, pixel * channels + colors, 1.0);
    }
    return result;
}

void flipRows(ImageData& image)
{
    const u64 size = image.getRowSize();
    for (u32 y = 0; y < image.height / 2; ++y) {
        u8* const upper = image.values.data() + y * size;
        std::swap_ranges(upper, upper + size, image.values.data() + (image.height - 1 - y) * size);
    }
}

std::string oneLine(const char* text)
{
    std::string line = text ? text : "";
    std::replace(line.begin(), line.end(), '\n', ' ');
    while (!line.empty() && (line.back() == ' ' || line.back() == '.'))
        line.pop_back();
    return line;
}

} // namespace io
