#include "host/osg/Image.h"

#include <Imath/half.h>
#include <algorithm>
#include <cstring>

namespace osg {

ZN_CONTAINER_BODY(Image)

namespace {

/// a * b * ... or nothing when the product leaves 64 bits.
bool multiply(u64& product, u64 factor)
{
    return !__builtin_mul_overflow(product, factor, &product);
}

float readChannel(const u8* data, u64 index, u32 dataType)
{
    switch (dataType) {
    case Image::UInt8:
        return float(data[index]) / 255.0f;
    case Image::UInt16: {
        u16 value;
        std::memcpy(&value, data + 2 * index, 2);
        return float(value) / 65535.0f;
    }
    case Image::Float16: {
        u16 value;
        std::memcpy(&value, data + 2 * index, 2);
        return imath_half_to_float(value);
    }
    default: {
        float value;
        std::memcpy(&value, data + 4 * index, 4);
        return value;
    }
    }
}

/// Bytes of one frame and side from one level to before another.
u64 levelBytes(u64 width, u64 height, u64 depth, u32 from, u32 to, u64 pixelBytes)
{
    u64 bytes = 0;
    for (u32 level = from; level < to; ++level)
        bytes += std::max<u64>(width >> level, 1) * std::max<u64>(height >> level, 1) *
                 std::max<u64>(depth >> level, 1) * pixelBytes;
    return bytes;
}

/// Bytes of a whole image; 0 for sizes of 0 and for images beyond memory.
u64 byteCount(u64 pixelBytes, u32 width, u32 height, u32 depth, u32 mipmaps, u32 frames, u32 sides)
{
    constexpr u64 greatest = u64(1) << 40;
    u64 upperBound = pixelBytes;
    for (const u64 factor : {u64(width), u64(height), u64(depth), u64(frames), u64(sides)})
        if (factor == 0 || !multiply(upperBound, factor))
            return 0;
    if (upperBound > greatest || mipmaps == 0 || mipmaps > 32)
        return 0;
    return levelBytes(width, height, depth, 0, mipmaps, pixelBytes) * frames * sides;
}

} // namespace

u32 Image::getChannelCount(u32 format)
{
    switch (format) {
    case L:
        return 1;
    case LA:
        return 2;
    case RGB:
    case BGR:
        return 3;
    case RGBA:
    case BGRA:
        return 4;
    default:
        return 0;
    }
}

u32 Image::getChannelSize(u32 type)
{
    switch (type) {
    case UInt8:
        return 1;
    case UInt16:
    case Float16:
        return 2;
    case Float32:
        return 4;
    default:
        return 0;
    }
}

u32 Image::getBytesPerPixel() const
{
    return getChannelCount() * getChannelSize(getDataType());
}

bool Image::isValid() const
{
    // Images without depth are flat.
    return !pixels.empty() &&
           byteCount(getBytesPerPixel(), getWidth(), getHeight(), std::max(getDepth(), 1u),
                     getMipmapCount(), getFrameCount(), getSideCount()) == pixels.size();
}

bool Image::set(u32 format, u32 width_, u32 height_, u32 depth_, u32 mipmaps, u32 frames,
                const void* data, u32 type, u32 sides)
{
    const u64 size = byteCount(u64(getChannelCount(format)) * getChannelSize(type), width_, height_,
                               depth_, mipmaps, frames, sides);
    if (size == 0)
        return false;
    std::vector<u8> next;
    if (data)
        next.assign(static_cast<const u8*>(data), static_cast<const u8*>(data) + size);
    else
        next.resize(size);

    const EditScope edit{Ptr(this), PixelsFieldMask};
    setPixelFormat(format);
    setDataType(type);
    setWidth(width_);
    setHeight(height_);
    setDepth(depth_);
    setMipmapCount(mipmaps);
    setFrameCount(frames);
    setSideCount(sides);
    pixels = std::move(next);
    return true;
}

bool Image::take(u32 format, u32 width_, u32 height_, std::vector<u8> data, u32 type)
{
    const u64 pixelBytes = u64(getChannelCount(format)) * getChannelSize(type);
    if (data.empty() || u64(width_) * height_ * pixelBytes != data.size())
        return false;
    const EditScope edit{Ptr(this), PixelsFieldMask};
    setPixelFormat(format);
    setDataType(type);
    setWidth(width_);
    setHeight(height_);
    setDepth(1);
    setMipmapCount(1);
    setFrameCount(1);
    setSideCount(1);
    pixels = std::move(data);
    return true;
}

void Image::setPixels(const std::vector<u8>& data)
{
    if (data == pixels)
        return;
    pixels = data;
    noteChange(PixelsFieldMask);
}

u64 Image::getMipmapOffset(u32 mipmap) const
{
    return levelBytes(getWidth(), getHeight(), getDepth(), 0, std::min(mipmap, getMipmapCount()),
                      getBytesPerPixel());
}

const u8* Image::getData(u32 mipmap, u32 frame, u32 side) const
{
    if (pixels.empty() || mipmap >= getMipmapCount() || frame >= getFrameCount() ||
        side >= getSideCount())
        return nullptr;
    const u64 sideBytes = getMipmapOffset(getMipmapCount());
    const u64 offset = (u64(frame) * getSideCount() + side) * sideBytes + getMipmapOffset(mipmap);
    return offset < pixels.size() ? pixels.data() + offset : nullptr;
}

Vec4f Image::getPixel(u32 x, u32 y, u32 z) const
{
    const u32 channels = getChannelCount();
    if (pixels.empty() || getWidth() == 0 || getHeight() == 0)
        return {0.0f, 0.0f, 0.0f, 1.0f};
    x = std::min(x, getWidth() - 1);
    y = std::min(y, getHeight() - 1);
    z = std::min(z, std::max(getDepth(), 1u) - 1);
    const u64 first = ((u64(z) * getHeight() + y) * getWidth() + x) * channels;
    if ((first + channels) * getChannelSize(getDataType()) > pixels.size())
        return {0.0f, 0.0f, 0.0f, 1.0f};
    float c[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    for (u32 i = 0; i < channels; ++i)
        c[i] = readChannel(pixels.data(), first + i, getDataType());
    switch (getPixelFormat()) {
    case L:
        return {c[0], c[0], c[0], 1.0f};
    case LA:
        return {c[0], c[0], c[0], c[1]};
    case BGR:
        return {c[2], c[1], c[0], 1.0f};
    case BGRA:
        return {c[2], c[1], c[0], c[3]};
    default:
        return {c[0], c[1], c[2], c[3]};
    }
}

bool Image::convertToFloat()
{
    if (pixels.empty() || getBytesPerPixel() == 0)
        return false;
    if (getDataType() == Float32)
        return true;
    const u64 count = pixels.size() / getChannelSize(getDataType());
    std::vector<u8> converted(count * sizeof(float));
    for (u64 i = 0; i < count; ++i) {
        const float value = readChannel(pixels.data(), i, getDataType());
        std::memcpy(converted.data() + i * sizeof(float), &value, sizeof(float));
    }
    const EditScope edit{Ptr(this), PixelsFieldMask};
    pixels = std::move(converted);
    setDataType(Float32);
    return true;
}

} // namespace osg
