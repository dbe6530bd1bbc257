// TIFF by libtiff, whose errors come by return values; messages go to handlers of the one file.
// Grey and RGB of 8, 16 and 32 bit integers and of 16, 32 and 64 bit floats keep their values; all
// else (palettes, YCbCr, CMYK, fewer bits) is brought to 8-bit RGBA by the library.

#include "io/iccProfile.h"
#include "io/imageCodecs.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <memory>
#include <tiffio.h>

namespace io {
namespace {

/// One open TIFF on either door. What the doors throw is kept: libtiff sees a failed call.
template <class File>
struct Stream
{
    explicit Stream(File& f) : file(f) {}
    Stream(const Stream&) = delete;
    ~Stream()
    {
        if (tiff)
            TIFFClose(tiff);
    }

    template <class Work>
    tmsize_t guarded(Work&& work)
    {
        try {
            return tmsize_t(work());
        } catch (...) {
            if (!exception)
                exception = std::current_exception();
            return -1;
        }
    }
    [[noreturn]] void fail()
    {
        if (exception)
            std::rethrow_exception(exception);
        file.fail("TIFF: " + (message.empty() ? std::string("unknown fault") : message));
    }

    File& file;
    TIFF* tiff = nullptr;
    std::string message;
    std::exception_ptr exception;
};

template <class File>
Stream<File>& streamOf(thandle_t handle)
{
    return *static_cast<Stream<File>*>(handle);
}

template <class File>
tmsize_t readBytes(thandle_t handle, void* target, tmsize_t size)
{
    auto& stream = streamOf<File>(handle);
    return stream.guarded([&] { return stream.file.read(target, std::size_t(size)); });
}

tmsize_t writeNothing(thandle_t, void*, tmsize_t)
{
    return -1;
}

tmsize_t writeBytes(thandle_t handle, void* data, tmsize_t size)
{
    auto& stream = streamOf<OutputFile>(handle);
    return stream.guarded([&] {
        stream.file.write(data, std::size_t(size));
        return size;
    });
}

template <class File>
toff_t seekTo(thandle_t handle, toff_t offset, int from)
{
    File& file = streamOf<File>(handle).file;
    file.seek(from == SEEK_SET   ? offset
              : from == SEEK_CUR ? file.getPosition() + offset
                                 : file.getSize() + offset);
    return file.getPosition();
}

template <class File>
toff_t sizeOf(thandle_t handle)
{
    return streamOf<File>(handle).file.getSize();
}

int closeNothing(thandle_t)
{
    return 0;
}
int mapNothing(thandle_t, void**, toff_t*)
{
    return 0;
}
void unmapNothing(thandle_t, void*, toff_t) {}

template <class File>
int onError(TIFF*, void* user, const char*, const char* format, va_list arguments)
{
    char text[300];
    std::vsnprintf(text, sizeof(text), format, arguments);
    static_cast<Stream<File>*>(user)->message = oneLine(text);
    return 1;
}

int onWarning(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

template <class File>
void openStream(Stream<File>& stream, const char* mode, TIFFReadWriteProc write, u64 memoryLimit)
{
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(
        TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError<File>, &stream);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, &stream);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), tmsize_t(memoryLimit));
    stream.tiff =
        TIFFClientOpenExt("", mode, &stream, readBytes<File>, write, seekTo<File>, closeNothing,
                          sizeOf<File>, mapNothing, unmapNothing, options.get());
    if (!stream.tiff)
        stream.fail();
}

/// What the tags say about the first image.
struct Layout
{
    explicit Layout(TIFF* tiff)
    {
        TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planes);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
        if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric))
            photometric = samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        u16* extra = nullptr;
        u16 count = 0;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &extra);
        extraKind = count > 0 && extra ? extra[0] : u16(EXTRASAMPLE_UNSPECIFIED);
        isTiled = TIFFIsTiled(tiff);
        blockWidth = width;
        if (isTiled) {
            TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &blockWidth);
            TIFFGetField(tiff, TIFFTAG_TILELENGTH, &blockHeight);
        } else {
            TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &blockHeight);
            blockHeight = std::min(blockHeight, height);
        }
    }

    bool isFloat() const { return format == SAMPLEFORMAT_IEEEFP; }
    bool isPlain() const
    {
        const bool isGrey =
            photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
        const bool isColor = photometric == PHOTOMETRIC_RGB && samples >= 3;
        const bool fits =
            isFloat() ? bits == 16 || bits == 32 || bits == 64
                      : format == SAMPLEFORMAT_UINT && (bits == 8 || bits == 16 || bits == 32);
        return fits && samples >= 1 && (isGrey || isColor);
    }
    /// Channels that are kept: colour, and the first extra one.
    u32 channels() const
    {
        const u32 colors = photometric == PHOTOMETRIC_RGB ? 3 : 1;
        return colors + (samples > colors ? 1 : 0);
    }
    ImageData::Type type() const
    {
        if (isFloat())
            return bits == 16 ? ImageData::Type::half : ImageData::Type::float32;
        return bits == 8    ? ImageData::Type::byte
               : bits == 16 ? ImageData::Type::word
                            : ImageData::Type::float32;
    }

    u32 width = 0, height = 0, blockWidth = 0, blockHeight = 0;
    u16 bits = 0, samples = 0, format = 0, planes = 0, orientation = 0, photometric = 0;
    u16 extraKind = 0;
    bool isTiled = false;
};

/// One value from the file's form to the image's; libtiff has put the bytes in order.
void storeValue(const u8* from, u8* to, const Layout& layout)
{
    if (layout.bits == 64) {
        double value;
        std::memcpy(&value, from, sizeof(value));
        const float narrow = float(value);
        std::memcpy(to, &narrow, sizeof(narrow));
    } else if (layout.bits == 32 && !layout.isFloat()) {
        u32 value;
        std::memcpy(&value, from, sizeof(value));
        const float scaled = float(double(value) / 4294967295.0);
        std::memcpy(to, &scaled, sizeof(scaled));
    } else {
        std::memcpy(to, from, layout.bits / 8);
    }
}

/// Copies a decoded strip or tile to its place; what sticks out of the image is dropped.
/// @param plane  channel of the block's values, or -1 when all channels are interleaved in it
void placeBlock(ImageData& image, const Layout& layout, const std::vector<u8>& block, u32 x0,
                u32 y0, int plane)
{
    const u32 inBlock = plane < 0 ? layout.samples : 1, size = layout.bits / 8;
    const u32 first = plane < 0 ? 0 : u32(plane);
    const u32 last = plane < 0 ? image.channels : first + 1;
    const u32 outSize = ImageData::bytes(image.type);
    const u32 xEnd = std::min(layout.blockWidth, layout.width - x0);
    const u32 yEnd = std::min(layout.blockHeight, layout.height - y0);
    for (u32 y = 0; y < yEnd; ++y) {
        for (u32 x = 0; x < xEnd; ++x) {
            const u8* from = block.data() + (u64(y) * layout.blockWidth + x) * inBlock * size;
            u8* to = image.values.data() +
                     ((u64(y0 + y) * image.width + x0 + x) * image.channels + first) * outSize;
            for (u32 c = first; c < last; ++c, from += size, to += outSize)
                storeValue(from, to, layout);
        }
    }
}

void readPlane(Stream<InputFile>& stream, const Layout& layout, ImageData& image, int plane)
{
    const u32 inBlock = plane < 0 ? layout.samples : 1;
    std::vector<u8> block(u64(layout.blockWidth) * layout.blockHeight * inBlock * layout.bits / 8);
    for (u32 y = 0; y < layout.height; y += layout.blockHeight) {
        for (u32 x = 0; x < layout.width; x += layout.blockWidth) {
            const u16 sample = u16(std::max(plane, 0));
            const u32 rows = std::min(layout.blockHeight, layout.height - y);
            tmsize_t size = tmsize_t(block.size());
            tmsize_t got = 0;
            if (layout.isTiled) {
                got = TIFFReadEncodedTile(
                    stream.tiff, TIFFComputeTile(stream.tiff, x, y, 0, sample), block.data(), size);
            } else {
                size = size / layout.blockHeight * rows;
                got = TIFFReadEncodedStrip(stream.tiff, TIFFComputeStrip(stream.tiff, y, sample),
                                           block.data(), size);
            }
            if (got < size)
                stream.fail();
            placeBlock(image, layout, block, x, y, plane);
        }
    }
}

void invert(ImageData& image)
{
    if (image.type == ImageData::Type::half)
        return;
    for (u64 i = 0; i < image.values.size() / ImageData::bytes(image.type); i += image.channels) {
        u8* const value = image.values.data() + i * ImageData::bytes(image.type);
        if (image.type == ImageData::Type::float32) {
            float number;
            std::memcpy(&number, value, sizeof(number));
            number = 1.0f - number;
            std::memcpy(value, &number, sizeof(number));
        } else {
            for (u32 b = 0; b < ImageData::bytes(image.type); ++b)
                value[b] = u8(~value[b]);
        }
    }
}

void readPlain(Stream<InputFile>& stream, const Layout& layout, ImageData& image)
{
    prepareImage(stream.file, image, layout.width, layout.height, layout.channels(), layout.type());
    if (layout.blockWidth == 0 || layout.blockHeight == 0)
        stream.file.fail("TIFF: strips or tiles without rows");
    // A block may be larger than the image, and carry channels that are not kept.
    checkShape(stream.file, layout.blockWidth, layout.blockHeight, layout.samples, layout.bits / 8);
    if (layout.planes == PLANARCONFIG_CONTIG)
        readPlane(stream, layout, image, -1);
    else
        for (u32 plane = 0; plane < image.channels; ++plane)
            readPlane(stream, layout, image, int(plane));
    if (layout.photometric == PHOTOMETRIC_MINISWHITE)
        invert(image);
    image.gamma = layout.isFloat() ? 1.0f : 2.2f;
    image.isPremultiplied = layout.extraKind == EXTRASAMPLE_ASSOCALPHA;
}

/// Palettes, YCbCr and the like: 8-bit RGBA by the library, bottom row first.
void readConverted(Stream<InputFile>& stream, const Layout& layout, ImageData& image)
{
    prepareImage(stream.file, image, layout.width, layout.height, 4, ImageData::Type::byte);
    char reason[1024] = "";
    if (!TIFFRGBAImageOK(stream.tiff, reason))
        stream.file.fail("TIFF: " + oneLine(reason));
    std::vector<u32> raster(u64(layout.width) * layout.height);
    if (!TIFFReadRGBAImageOriented(stream.tiff, layout.width, layout.height, raster.data(),
                                   ORIENTATION_TOPLEFT, 1))
        stream.fail();
    for (std::size_t i = 0; i < raster.size(); ++i) {
        const u8 pixel[4] = {u8(TIFFGetR(raster[i])), u8(TIFFGetG(raster[i])),
                             u8(TIFFGetB(raster[i])), u8(TIFFGetA(raster[i]))};
        std::memcpy(image.values.data() + i * 4, pixel, 4);
    }
    image.isPremultiplied = layout.extraKind == EXTRASAMPLE_ASSOCALPHA;
}

const std::pair<u32, const char*> textTags[] = {{TIFFTAG_SOFTWARE, "Software"},
                                                {TIFFTAG_ARTIST, "owner"},
                                                {TIFFTAG_IMAGEDESCRIPTION, "comments"},
                                                {TIFFTAG_COPYRIGHT, "copyright"},
                                                {TIFFTAG_DATETIME, "capDate"}};

void takeDescription(TIFF* tiff, ImageData& image)
{
    for (const auto& [tag, key] : textTags) {
        const char* text = nullptr;
        if (TIFFGetField(tiff, tag, &text) && text)
            image.metadata[key] = text;
    }
    u32 size = 0;
    const u8* profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &size, &profile) && profile)
        image.iccProfile.assign(profile, profile + size);
}

u16 compressionOf(OutputFile& file, const std::string& name)
{
    if (name == "none")
        return COMPRESSION_NONE;
    if (name == "lzw")
        return COMPRESSION_LZW;
    if (name.empty() || name == "deflate" || name == "zip")
        return COMPRESSION_ADOBE_DEFLATE;
    file.fail("TIFF has no compression '" + name + "' here (none, lzw, deflate)");
}

void describe(TIFF* tiff, const ImageData& image, u16 compression)
{
    const bool isFloat = image.type == ImageData::Type::float32;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, int(8 * ImageData::bytes(image.type)));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, int(image.channels));
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, isFloat ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                 image.channels >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, int(compression));
    if (compression != COMPRESSION_NONE)
        TIFFSetField(tiff, TIFFTAG_PREDICTOR,
                     isFloat ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    if (image.channels % 2 == 0) {
        const u16 kind = image.isPremultiplied ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    for (const auto& [tag, key] : textTags) {
        const auto entry = image.metadata.find(key);
        if (entry != image.metadata.end())
            TIFFSetField(tiff, tag, entry->second.c_str());
    }
    if (!image.iccProfile.empty())
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, u32(image.iccProfile.size()),
                     image.iccProfile.data());
}

ImageData::Type typeOf(OutputFile& file, const ImageData& image, int bits)
{
    switch (bits) {
    case 0:
        return image.type == ImageData::Type::half ? ImageData::Type::float32 : image.type;
    case 8:
        return ImageData::Type::byte;
    case 16:
        return ImageData::Type::word;
    case 32:
        return ImageData::Type::float32;
    }
    file.fail("TIFF has 8, 16 or 32 bits per value here, not " + std::to_string(bits));
}

} // namespace

ImageData readTiff(InputFile& file)
{
    Stream<InputFile> stream(file);
    openStream(stream, "rm", writeNothing, file.getLimits().imageSize);
    const Layout layout(stream.tiff);
    // libtiff counts tiles and strips in 32 bits: shape first, then everything else.
    checkShape(file, layout.width, layout.height, std::max<u16>(layout.samples, 1),
               std::max(layout.bits / 8, 1));
    ImageData image;
    if (layout.isPlain())
        readPlain(stream, layout, image);
    else
        readConverted(stream, layout, image);
    if (layout.isPlain() && layout.orientation == ORIENTATION_BOTLEFT)
        flipRows(image);
    takeDescription(stream.tiff, image);
    if (layout.photometric == PHOTOMETRIC_SEPARATED)
        image.iccProfile.clear(); // it describes the inks, not the RGB values made of them
    if (stream.exception)
        stream.fail();
    return image;
}

void writeTiff(OutputFile& file, const ImageData& image, const ImageWriteOptions& options)
{
    const ImageData values = converted(image, typeOf(file, image, options.bits));
    const u16 compression = compressionOf(file, options.compression);
    if (!image.iccProfile.empty())
        if (const std::string fault = iccFault(image.iccProfile, image.channels >= 3);
            !fault.empty())
            file.fail(fault);
    Stream<OutputFile> stream(file);
    // Beyond 4 GB only the 64-bit form works.
    openStream(stream, values.values.size() > 0xf0000000u ? "w8" : "w", writeBytes, 0);
    describe(stream.tiff, values, compression);
    std::vector<u8> row(values.getRowSize()); // the predictor works in place
    for (u32 y = 0; y < values.height; ++y) {
        std::memcpy(row.data(), values.values.data() + y * row.size(), row.size());
        if (TIFFWriteScanline(stream.tiff, row.data(), y, 0) < 0)
            stream.fail();
    }
    if (!TIFFFlush(stream.tiff) || stream.exception)
        stream.fail();
    TIFFClose(stream.tiff);
    stream.tiff = nullptr;
    if (stream.exception)
        stream.fail();
}

} // namespace io
