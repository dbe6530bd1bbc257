#include "io/imageReader.h"

#include "io/imageCodecs.h"

#include <algorithm>
#include <cstring>

namespace io {
namespace {

// Below this size the ratio of decoded bytes to those of the file says nothing: a plain texture of
// one colour compresses as well as an attack.
constexpr u64 alwaysAllowed = u64(16) << 20;

bool startsWith(std::span<const u8> head, std::string_view signature)
{
    return head.size() >= signature.size() &&
           std::memcmp(head.data(), signature.data(), signature.size()) == 0;
}

/// Fields of the header that have few legal values: colour map 0 or 1, kind, depth.
bool looksLikeTga(std::span<const u8> head)
{
    if (head.size() < 18)
        return false;
    const u8 map = head[1], kind = head[2], mapBits = head[7], bits = head[16];
    const bool isMapped = kind == 1 || kind == 9, isGrey = kind == 3 || kind == 11;
    const bool isColor = kind == 2 || kind == 10;
    const auto isColorDepth = [](u8 n) { return n == 15 || n == 16 || n == 24 || n == 32; };
    const bool hasSize = (head[12] | head[13]) && (head[14] | head[15]);
    return hasSize && (head[17] & 0xc0) == 0 &&
           ((isMapped && map == 1 && (bits == 8 || bits == 16) && isColorDepth(mapBits)) ||
            (isGrey && map == 0 && (bits == 8 || bits == 16)) ||
            (isColor && map <= 1 && isColorDepth(bits)));
}

ImageFormat formatOf(std::span<const u8> head)
{
    using enum ImageFormat;
    if (startsWith(head, "\x89PNG\r\n\x1a\n"))
        return png;
    if (startsWith(head, "\xff\xd8\xff"))
        return jpeg;
    if (startsWith(head, std::string_view("II*\0", 4)) ||
        startsWith(head, std::string_view("MM\0*", 4)) ||
        startsWith(head, std::string_view("II+\0", 4)) ||
        startsWith(head, std::string_view("MM\0+", 4)))
        return tiff;
    if (startsWith(head, "\x76\x2f\x31\x01"))
        return exr;
    if (startsWith(head, "#?"))
        return hdr;
    const bool hasSpace = head.size() > 2 && (head[2] == ' ' || (head[2] >= 9 && head[2] <= 13));
    if (hasSpace && head[0] == 'P' && (head[1] == 'F' || head[1] == 'f'))
        return pfm;
    if (hasSpace && head[0] == 'P' && head[1] >= '1' && head[1] <= '6')
        return pnm;
    if (startsWith(head, "BM"))
        return bmp;
    return looksLikeTga(head) ? tga : unknown;
}

} // namespace

ImageFormat recognizeImage(InputFile& file)
{
    u8 head[32];
    const u64 position = file.getPosition();
    file.seek(0);
    const std::size_t size = file.read(head, sizeof(head));
    file.seek(position);
    return formatOf({head, size});
}

ImageData readImage(InputFile& file)
{
    const ImageFormat format = recognizeImage(file);
    file.seek(0);
    switch (format) {
    case ImageFormat::png:
        return readPng(file);
    case ImageFormat::jpeg:
        return readJpeg(file);
    case ImageFormat::tiff:
        return readTiff(file);
    case ImageFormat::exr:
        return readExr(file);
    case ImageFormat::hdr:
        return readHdr(file);
    case ImageFormat::pfm:
        return readPfm(file);
    case ImageFormat::pnm:
    case ImageFormat::tga:
    case ImageFormat::bmp:
        return readSmall(file);
    case ImageFormat::unknown:
        break;
    }
    file.fail(file.getSize() == 0 ? "is empty"
                                  : "is no image of a known format (PNG, JPEG, TIFF, OpenEXR, "
                                    "Radiance HDR, PFM, PNM, TGA, BMP)");
}

ImageData readImage(const std::string& path, const Limits& limits)
{
    InputFile file = InputFile::open(path, limits);
    return readImage(file);
}

ImageData readImage(std::span<const u8> bytes, const std::string& name, const Limits& limits)
{
    InputFile file = InputFile::fromMemory(bytes, name, limits);
    return readImage(file);
}

void checkShape(const InputFile& file, u64 width, u64 height, u64 channels, u64 bytesPerValue)
{
    const Limits& limits = file.getLimits();
    const std::string& name = file.getName();
    if (width == 0 || height == 0 || channels == 0)
        file.fail("has no pixels");
    limits.check(&Limits::imageSide, std::max(width, height), name, "image side:");
    limits.check(&Limits::imageChannels, channels, name, "number of channels:");
    u64 size = 0;
    if (__builtin_mul_overflow(width, height, &size) ||
        __builtin_mul_overflow(size, channels * bytesPerValue, &size))
        size = ~u64(0);
    limits.check(&Limits::imageSize, size, name, "decoded size:");
    if (size > alwaysAllowed)
        limits.check(&Limits::imageRatio, size / std::max<u64>(file.getSize(), 1), name,
                     "decoded bytes per byte of the file:");
}

void prepareImage(const InputFile& file, ImageData& image, u64 width, u64 height, u64 channels,
                  ImageData::Type type)
{
    checkShape(file, width, height, channels, ImageData::bytes(type));
    image.allocate(u32(width), u32(height), u32(channels), type);
}

} // namespace io
