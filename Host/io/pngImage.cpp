// PNG by libpng. Errors leave libpng by longjmp: every object with a destructor stands outside of
// the functions that call setjmp, and what our callbacks throw is kept until libpng has returned.

#include "io/iccProfile.h"
#include "io/imageCodecs.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <csetjmp>
#include <cstdlib>
#include <exception>
#include <png.h>

namespace io {
namespace {

constexpr png_alloc_size_t largestChunk = png_alloc_size_t(32) << 20;
constexpr png_uint_32 mostChunks = 1000;

struct Reader
{
    explicit Reader(InputFile& f) : file(f) {}
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }

    InputFile& file;
    png_structp png = nullptr;
    png_infop info = nullptr;
    ImageData image;
    std::vector<png_bytep> rows;
    std::string message;
    std::exception_ptr exception;
};

/// Keeps the message and leaves.
template <class State>
void onError(png_structp png, png_const_charp text)
{
    static_cast<State*>(png_get_error_ptr(png))->message = oneLine(text);
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

/// Runs a callback's work; what it throws is kept, and the library is left in its own way.
template <class State, class Work>
void guarded(png_structp png, State& state, Work&& work)
{
    try {
        work();
        return;
    } catch (...) {
        state.exception = std::current_exception();
    }
    png_longjmp(png, 1);
}

void readBytes(png_structp png, png_bytep target, std::size_t size)
{
    Reader& reader = *static_cast<Reader*>(png_get_io_ptr(png));
    guarded(png, reader, [&] { reader.file.readExactly(target, size); });
}

/// The library only warns of a chunk above the limit, takes memory for all of it, and clears that.
/// Rows need far less: 16 bytes per pixel cover the widest with its filter.
png_voidp allocateWithinLimits(png_structp png, png_alloc_size_t size)
{
    const Reader& reader = *static_cast<const Reader*>(png_get_mem_ptr(png));
    const u64 largestRow = 16 * reader.file.getLimits().imageSide;
    return size <= std::max<u64>(largestChunk, largestRow) + 64 ? std::malloc(size) : nullptr;
}

void release(png_structp, png_voidp memory)
{
    std::free(memory);
}

/// @return false after an error
bool readHeader(Reader& reader)
{
    if (setjmp(png_jmpbuf(reader.png)))
        return false;
    png_set_read_fn(reader.png, &reader, readBytes);
    // Sizes are checked against our own limits.
    png_set_user_limits(reader.png, 0x7fffffff, 0x7fffffff);
    png_set_chunk_malloc_max(reader.png, largestChunk);
    png_set_chunk_cache_max(reader.png, mostChunks);
    png_read_info(reader.png, reader.info);

    const int color = png_get_color_type(reader.png, reader.info);
    if (color == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(reader.png);
    if (color == PNG_COLOR_TYPE_GRAY)
        png_set_expand_gray_1_2_4_to_8(reader.png);
    if (png_get_valid(reader.png, reader.info, PNG_INFO_tRNS))
        png_set_tRNS_to_alpha(reader.png);
    if (std::endian::native == std::endian::little)
        png_set_swap(reader.png);
    png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    return true;
}

bool readRows(Reader& reader)
{
    if (setjmp(png_jmpbuf(reader.png)))
        return false;
    png_read_image(reader.png, reader.rows.data());
    png_read_end(reader.png, reader.info);
    return true;
}

[[noreturn]] void rethrow(const Reader& reader)
{
    if (reader.exception)
        std::rethrow_exception(reader.exception);
    reader.file.fail("damaged PNG: " + reader.message);
}

void takeDescription(Reader& reader)
{
    double gamma = 0;
    int intent = 0;
    if (png_get_sRGB(reader.png, reader.info, &intent))
        reader.image.gamma = 2.2f;
    else if (png_get_gAMA(reader.png, reader.info, &gamma) && gamma > 0.01 && gamma < 100)
        reader.image.gamma = std::round(100.0f / float(gamma)) / 100.0f;

    png_charp name = nullptr;
    png_bytep profile = nullptr;
    png_uint_32 size = 0;
    int method = 0;
    if (png_get_iCCP(reader.png, reader.info, &name, &method, &profile, &size))
        reader.image.iccProfile.assign(profile, profile + size);

    png_textp texts = nullptr;
    const int count = png_get_text(reader.png, reader.info, &texts, nullptr);
    for (int i = 0; i < count; ++i)
        reader.image.metadata[texts[i].key] = texts[i].text ? texts[i].text : "";
}

struct Writer
{
    Writer(OutputFile& f, const ImageData& i, const ImageWriteOptions& o)
        : file(f), image(i), options(o)
    {
    }
    ~Writer() { png_destroy_write_struct(&png, &info); }

    OutputFile& file;
    const ImageData& image;
    const ImageWriteOptions& options;
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::vector<png_bytep> rows;
    std::vector<png_text> texts;
    std::string message;
    std::exception_ptr exception;
};

void writeBytes(png_structp png, png_bytep data, std::size_t size)
{
    Writer& writer = *static_cast<Writer*>(png_get_io_ptr(png));
    guarded(png, writer, [&] { writer.file.write(data, size); });
}

void flushNothing(png_structp) {}

void writeDescription(Writer& writer)
{
    const ImageData& image = writer.image;
    if (!image.iccProfile.empty())
        png_set_iCCP(writer.png, writer.info, "profile", PNG_COMPRESSION_TYPE_BASE,
                     image.iccProfile.data(), png_uint_32(image.iccProfile.size()));
    else if (image.gamma != 2.2f && image.gamma > 0)
        png_set_gAMA(writer.png, writer.info, 1.0 / image.gamma);
    else if (writer.options.writeSrgb)
        png_set_sRGB_gAMA_and_cHRM(writer.png, writer.info, PNG_sRGB_INTENT_PERCEPTUAL);
    if (!writer.texts.empty())
        png_set_text(writer.png, writer.info, writer.texts.data(), int(writer.texts.size()));
}

bool writeAll(Writer& writer)
{
    if (setjmp(png_jmpbuf(writer.png)))
        return false;
    const int colors[] = {0, PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                          PNG_COLOR_TYPE_RGB_ALPHA};
    const ImageData& image = writer.image;
    png_set_write_fn(writer.png, &writer, writeBytes, flushNothing);
    png_set_user_limits(writer.png, 0x7fffffff, 0x7fffffff);
    png_set_compression_level(writer.png, writer.options.pngLevel);
    png_set_IHDR(writer.png, writer.info, image.width, image.height,
                 int(8 * ImageData::bytes(image.type)), colors[image.channels], PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    writeDescription(writer);
    png_write_info(writer.png, writer.info);
    if (std::endian::native == std::endian::little)
        png_set_swap(writer.png);
    png_write_image(writer.png, writer.rows.data());
    png_write_end(writer.png, nullptr);
    return true;
}

/// Keys of PNG texts have 1 to 79 bytes of Latin-1; others are left out. Values are UTF-8.
std::vector<png_text> textsOf(const ImageData& image)
{
    std::vector<png_text> texts;
    for (const auto& [key, value] : image.metadata) {
        png_text text{};
        text.compression = PNG_ITXT_COMPRESSION_NONE;
        text.key = const_cast<char*>(key.c_str());
        text.text = const_cast<char*>(value.c_str());
        text.itxt_length = value.size();
        if (!key.empty() && key.size() < 80)
            texts.push_back(text);
    }
    return texts;
}

std::vector<png_bytep> rowsOf(const ImageData& image)
{
    std::vector<png_bytep> rows(image.height);
    for (u32 y = 0; y < image.height; ++y)
        rows[y] = const_cast<png_bytep>(image.values.data()) + y * image.getRowSize();
    return rows;
}

} // namespace

ImageData readPng(InputFile& file)
{
    Reader reader(file);
    reader.png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &reader, onError<Reader>,
                                          onWarning, &reader, allocateWithinLimits, release);
    reader.info = reader.png ? png_create_info_struct(reader.png) : nullptr;
    if (!reader.info)
        file.fail("no memory for the PNG reader");
    if (!readHeader(reader))
        rethrow(reader);
    const bool isWord = png_get_bit_depth(reader.png, reader.info) == 16;
    prepareImage(file, reader.image, png_get_image_width(reader.png, reader.info),
                 png_get_image_height(reader.png, reader.info),
                 png_get_channels(reader.png, reader.info),
                 isWord ? ImageData::Type::word : ImageData::Type::byte);
    if (png_get_rowbytes(reader.png, reader.info) != reader.image.getRowSize())
        file.fail("damaged PNG: unexpected row size");
    reader.rows = rowsOf(reader.image);
    if (!readRows(reader))
        rethrow(reader);
    takeDescription(reader);
    return std::move(reader.image);
}

void writePng(OutputFile& file, const ImageData& image, const ImageWriteOptions& options)
{
    const int bits = options.bits ? options.bits : image.type == ImageData::Type::word ? 16 : 8;
    if (bits != 8 && bits != 16)
        file.fail("PNG has 8 or 16 bits per value, not " + std::to_string(bits));
    if (!image.iccProfile.empty())
        if (const std::string fault = iccFault(image.iccProfile, image.channels >= 3);
            !fault.empty())
            file.fail(fault);
    const ImageData values =
        converted(image, bits == 8 ? ImageData::Type::byte : ImageData::Type::word);
    Writer writer(file, values, options);
    writer.png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, &writer, onError<Writer>, onWarning);
    writer.info = writer.png ? png_create_info_struct(writer.png) : nullptr;
    if (!writer.info)
        file.fail("no memory for the PNG writer");
    writer.rows = rowsOf(values);
    writer.texts = textsOf(values);
    if (writeAll(writer))
        return;
    if (writer.exception)
        std::rethrow_exception(writer.exception);
    file.fail("PNG: " + writer.message);
}

} // namespace io
