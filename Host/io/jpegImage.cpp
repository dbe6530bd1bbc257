// JPEG by libjpeg. Errors leave the library by longjmp: every object with a destructor stands
// outside of the functions that call setjmp, and what our callbacks throw is kept until the library
// has returned.

#include "io/iccProfile.h"
#include "io/imageCodecs.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include <jerror.h>
#include <jpeglib.h>

namespace io {
namespace {

constexpr std::size_t blockSize = 64 * 1024;

// Each scan of a progressive file walks over all coefficients; honest files have about ten.
constexpr int mostScans = 200;

/// What both directions share; the library's client_data points to it.
struct Failure
{
    jpeg_error_mgr manager{};
    std::jmp_buf jump{};
    std::string message;
    std::exception_ptr exception;
    void* owner = nullptr; ///< the Reader or Writer
};

Failure& failureOf(j_common_ptr jpeg)
{
    return *static_cast<Failure*>(jpeg->client_data);
}

[[noreturn]] void onError(j_common_ptr jpeg)
{
    char text[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, text);
    failureOf(jpeg).message = oneLine(text);
    std::longjmp(failureOf(jpeg).jump, 1);
}

/// Warnings about damaged data are counted by the library's rule, but not printed.
void onMessage(j_common_ptr jpeg, int level)
{
    if (level < 0)
        ++jpeg->err->num_warnings;
}

void printNothing(j_common_ptr) {}

template <class Work>
void guarded(j_common_ptr jpeg, Work&& work)
{
    try {
        work();
        return;
    } catch (...) {
        failureOf(jpeg).exception = std::current_exception();
    }
    std::longjmp(failureOf(jpeg).jump, 1);
}

jpeg_error_mgr* prepared(Failure& failure)
{
    jpeg_std_error(&failure.manager);
    failure.manager.error_exit = onError;
    failure.manager.emit_message = onMessage;
    failure.manager.output_message = printNothing;
    return &failure.manager;
}

struct Reader
{
    explicit Reader(InputFile& f) : file(f) { failure.owner = this; }
    ~Reader()
    {
        jpeg_destroy_decompress(&jpeg);
        std::free(profile);
    }

    InputFile& file;
    jpeg_decompress_struct jpeg{};
    Failure failure;
    jpeg_source_mgr source{};
    jpeg_progress_mgr progress{};
    std::vector<JOCTET> block = std::vector<JOCTET>(blockSize);
    ImageData image;
    std::vector<u8> row; ///< of CMYK images
    JOCTET* profile = nullptr;
    unsigned profileSize = 0;
};

Reader& readerOf(j_decompress_ptr jpeg)
{
    return *static_cast<Reader*>(failureOf(j_common_ptr(jpeg)).owner);
}

void startSource(j_decompress_ptr) {}

boolean fillSource(j_decompress_ptr jpeg)
{
    Reader& reader = readerOf(jpeg);
    guarded(j_common_ptr(jpeg), [&] {
        const std::size_t size = reader.file.read(reader.block.data(), reader.block.size());
        if (size == 0)
            reader.file.fail("ends too early");
        reader.source.next_input_byte = reader.block.data();
        reader.source.bytes_in_buffer = size;
    });
    return TRUE;
}

void skipSource(j_decompress_ptr jpeg, long count)
{
    jpeg_source_mgr& source = *jpeg->src;
    while (count > long(source.bytes_in_buffer)) {
        count -= long(source.bytes_in_buffer);
        fillSource(jpeg);
    }
    if (count > 0) {
        source.next_input_byte += count;
        source.bytes_in_buffer -= std::size_t(count);
    }
}

void limitScans(j_common_ptr jpeg)
{
    const auto decompress = j_decompress_ptr(jpeg);
    guarded(jpeg, [&] {
        if (decompress->input_scan_number > mostScans)
            readerOf(decompress)
                .file.fail("damaged JPEG: more than " + std::to_string(mostScans) + " scans");
    });
}

bool readHeader(Reader& reader)
{
    jpeg_decompress_struct& jpeg = reader.jpeg;
    if (setjmp(reader.failure.jump))
        return false;
    jpeg_create_decompress(&jpeg);
    jpeg.client_data = &reader.failure;
    reader.source.init_source = startSource;
    reader.source.fill_input_buffer = fillSource;
    reader.source.skip_input_data = skipSource;
    reader.source.resync_to_restart = jpeg_resync_to_restart;
    reader.source.term_source = startSource;
    jpeg.src = &reader.source;
    reader.progress.progress_monitor = limitScans;
    jpeg.progress = &reader.progress;
    jpeg_save_markers(&jpeg, JPEG_APP0 + 2, 0xffff);
    jpeg_save_markers(&jpeg, JPEG_COM, 0xffff);
    jpeg_read_header(&jpeg, TRUE);
    if (jpeg.jpeg_color_space == JCS_YCCK || jpeg.jpeg_color_space == JCS_CMYK)
        jpeg.out_color_space = JCS_CMYK;
    else
        jpeg.out_color_space = jpeg.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    return true;
}

/// Without a profile: red = (1 - cyan) (1 - black). Files with Adobe's marker store 1 - ink.
void fromCmyk(const u8* from, u8* to, u32 width, bool isInverted)
{
    const auto light = [&](u8 value) { return u32(isInverted ? value : 255 - value); };
    for (u32 x = 0; x < width; ++x, from += 4, to += 3)
        for (int c = 0; c < 3; ++c)
            to[c] = u8((light(from[c]) * light(from[3]) + 127) / 255);
}

bool readRows(Reader& reader)
{
    jpeg_decompress_struct& jpeg = reader.jpeg;
    if (setjmp(reader.failure.jump))
        return false;
    jpeg_start_decompress(&jpeg);
    while (jpeg.output_scanline < jpeg.output_height) {
        u8* const target =
            reader.image.values.data() + jpeg.output_scanline * reader.image.getRowSize();
        JSAMPROW row = reader.row.empty() ? target : reader.row.data();
        if (jpeg_read_scanlines(&jpeg, &row, 1) == 1 && !reader.row.empty())
            fromCmyk(row, target, reader.image.width, jpeg.saw_Adobe_marker);
    }
    jpeg_read_icc_profile(&jpeg, &reader.profile, &reader.profileSize);
    return true;
}

/// Reads to the end mark; the markers are gone afterwards.
bool finish(Reader& reader)
{
    if (setjmp(reader.failure.jump))
        return false;
    jpeg_finish_decompress(&reader.jpeg);
    return true;
}

[[noreturn]] void rethrow(const Reader& reader)
{
    if (reader.failure.exception)
        std::rethrow_exception(reader.failure.exception);
    reader.file.fail("damaged JPEG: " + reader.failure.message);
}

/// Comments become one text. The profile of a CMYK file does not fit its RGB values.
void takeDescription(Reader& reader)
{
    if (reader.profile && reader.row.empty())
        reader.image.iccProfile.assign(reader.profile, reader.profile + reader.profileSize);
    std::string comments;
    for (auto marker = reader.jpeg.marker_list; marker; marker = marker->next)
        if (marker->marker == JPEG_COM)
            comments.append(reinterpret_cast<const char*>(marker->data), marker->data_length);
    if (!comments.empty())
        reader.image.metadata["comments"] = comments;
}

struct Writer
{
    Writer(OutputFile& f, const ImageData& i, const ImageWriteOptions& o)
        : file(f), image(i), options(o)
    {
        failure.owner = this;
    }
    ~Writer() { jpeg_destroy_compress(&jpeg); }

    OutputFile& file;
    const ImageData& image;
    const ImageWriteOptions& options;
    jpeg_compress_struct jpeg{};
    Failure failure;
    jpeg_destination_mgr destination{};
    std::vector<JOCTET> block = std::vector<JOCTET>(blockSize);
    std::string comments;
};

Writer& writerOf(j_compress_ptr jpeg)
{
    return *static_cast<Writer*>(failureOf(j_common_ptr(jpeg)).owner);
}

void startTarget(j_compress_ptr jpeg)
{
    Writer& writer = writerOf(jpeg);
    writer.destination.next_output_byte = writer.block.data();
    writer.destination.free_in_buffer = writer.block.size();
}

boolean emptyTarget(j_compress_ptr jpeg)
{
    Writer& writer = writerOf(jpeg);
    guarded(j_common_ptr(jpeg),
            [&] { writer.file.write(writer.block.data(), writer.block.size()); });
    startTarget(jpeg);
    return TRUE;
}

void endTarget(j_compress_ptr jpeg)
{
    Writer& writer = writerOf(jpeg);
    guarded(j_common_ptr(jpeg), [&] {
        writer.file.write(writer.block.data(),
                          writer.block.size() - writer.destination.free_in_buffer);
    });
}

void configure(Writer& writer)
{
    jpeg_compress_struct& jpeg = writer.jpeg;
    jpeg.image_width = writer.image.width;
    jpeg.image_height = writer.image.height;
    jpeg.input_components = int(writer.image.channels);
    jpeg.in_color_space = writer.image.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, writer.options.jpegQuality, TRUE);
    jpeg.optimize_coding = TRUE;
    if (writer.options.jpegQuality >= 90)
        jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
}

bool writeAll(Writer& writer)
{
    jpeg_compress_struct& jpeg = writer.jpeg;
    if (setjmp(writer.failure.jump))
        return false;
    jpeg_create_compress(&jpeg);
    jpeg.client_data = &writer.failure;
    writer.destination.init_destination = startTarget;
    writer.destination.empty_output_buffer = emptyTarget;
    writer.destination.term_destination = endTarget;
    jpeg.dest = &writer.destination;
    configure(writer);
    jpeg_start_compress(&jpeg, TRUE);
    const std::vector<u8>& profile = writer.image.iccProfile;
    if (!profile.empty())
        jpeg_write_icc_profile(&jpeg, profile.data(), unsigned(profile.size()));
    if (!writer.comments.empty())
        jpeg_write_marker(&jpeg, JPEG_COM, reinterpret_cast<const JOCTET*>(writer.comments.data()),
                          unsigned(writer.comments.size()));
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(writer.image.values.data()) +
                       jpeg.next_scanline * writer.image.getRowSize();
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    return true;
}

} // namespace

ImageData readJpeg(InputFile& file)
{
    Reader reader(file);
    reader.jpeg.err = prepared(reader.failure);
    reader.jpeg.client_data = &reader.failure;
    if (!readHeader(reader))
        rethrow(reader);
    const bool isCmyk = reader.jpeg.out_color_space == JCS_CMYK;
    const u32 channels = reader.jpeg.out_color_space == JCS_GRAYSCALE ? 1 : 3;
    prepareImage(file, reader.image, reader.jpeg.image_width, reader.jpeg.image_height, channels,
                 ImageData::Type::byte);
    if (isCmyk)
        reader.row.resize(std::size_t(reader.jpeg.image_width) * 4);
    if (!readRows(reader))
        rethrow(reader);
    takeDescription(reader);
    if (!finish(reader))
        rethrow(reader);
    return std::move(reader.image);
}

void writeJpeg(OutputFile& file, const ImageData& image, const ImageWriteOptions& options)
{
    if (options.bits != 0 && options.bits != 8)
        file.fail("JPEG has 8 bits per value, not " + std::to_string(options.bits));
    if (std::max(image.width, image.height) > JPEG_MAX_DIMENSION)
        file.fail("JPEG images have no more than " + std::to_string(JPEG_MAX_DIMENSION) +
                  " pixels a side");
    if (!image.iccProfile.empty())
        if (const std::string fault = iccFault(image.iccProfile, image.channels >= 3);
            !fault.empty())
            file.fail(fault);
    const ImageData values =
        withChannels(converted(image, ImageData::Type::byte), image.channels >= 3 ? 3 : 1);
    Writer writer(file, values, options);
    const auto comments = values.metadata.find("comments");
    if (comments != values.metadata.end())
        writer.comments = comments->second.substr(0, 65533);
    writer.jpeg.err = prepared(writer.failure);
    writer.jpeg.client_data = &writer.failure;
    if (writeAll(writer))
        return;
    if (writer.failure.exception)
        std::rethrow_exception(writer.failure.exception);
    file.fail("JPEG: " + writer.failure.message);
}

} // namespace io
