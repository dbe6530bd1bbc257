// PNM, TGA and BMP by stb_image. It takes missing bytes for zeros, so the stream notes when more
// was asked for than there is.

#include "io/imageCodecs.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wsign-compare"
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wunused-but-set-variable"
#endif
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_NO_STDIO
#define STBI_ONLY_BMP
#define STBI_ONLY_TGA
#define STBI_ONLY_PNM
#define STBI_MAX_DIMENSIONS (1 << 20)
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

namespace io {
namespace {

/// The library refills a buffer of 128 bytes, which may well reach over the end; asking again after
/// that, or for a whole row that is not there, means that the file is too short.
constexpr int refillSize = 128;

struct Stream
{
    InputFile& file;
    bool isShort = false;
};

int readBytes(void* user, char* target, int size)
{
    Stream& stream = *static_cast<Stream*>(user);
    try {
        const int got = size > 0 ? int(stream.file.read(target, std::size_t(size))) : 0;
        stream.isShort |= got == 0 || (got < size && size != refillSize);
        return got;
    } catch (const InputError&) {
        stream.isShort = true;
        return 0;
    }
}

void skipBytes(void* user, int count)
{
    Stream& stream = *static_cast<Stream*>(user);
    if (count > 0)
        stream.file.seek(stream.file.getPosition() + u64(count));
    stream.isShort |= stream.file.getPosition() > stream.file.getSize();
}

int isAtEnd(void* user)
{
    const InputFile& file = static_cast<Stream*>(user)->file;
    return file.getPosition() >= file.getSize();
}

constexpr stbi_io_callbacks callbacks = {readBytes, skipBytes, isAtEnd};

[[noreturn]] void failed(const Stream& stream)
{
    if (stream.isShort)
        stream.file.fail("ends too early");
    const char* const reason = stbi_failure_reason();
    stream.file.fail(std::string("damaged image: ") + (reason ? reason : "unknown fault"));
}

/// The library adds up the digits of PNM sizes without a look at the range of int. Walks over the
/// header as the library does: blanks and comments, a number, three times.
void checkPnmNumbers(InputFile& file)
{
    constexpr int mostDigits = 9;
    file.seek(0);
    char c = 0;
    const auto next = [&] { return file.read(&c, 1) == 1; };
    bool isThere = next() && c == 'P' && next() && next();
    for (int number = 0; number < 3 && isThere; ++number) {
        bool isComment = false;
        while (isThere && (isComment || c == '#' || c == ' ' || (c >= 9 && c <= 13))) {
            isComment = (isComment || c == '#') && c != '\n' && c != '\r';
            isThere = next();
        }
        int digits = 0;
        for (; isThere && c >= '0' && c <= '9'; isThere = next())
            if (++digits > mostDigits)
                file.fail("damaged image: a number in the header is too large");
    }
    file.seek(0);
}

} // namespace

ImageData readSmall(InputFile& file)
{
    checkPnmNumbers(file);
    Stream stream{file};
    int width = 0, height = 0, channels = 0;
    if (!stbi_info_from_callbacks(&callbacks, &stream, &width, &height, &channels))
        failed(stream);
    file.seek(0);
    const bool isWord = stbi_is_16_bit_from_callbacks(&callbacks, &stream);
    ImageData image;
    prepareImage(file, image, u64(width), u64(height), u64(channels),
                 isWord ? ImageData::Type::word : ImageData::Type::byte);
    // The library holds indices, one decoded copy and its own conversion at a time.
    file.seek(0);
    stream.isShort = false;
    int gotWidth = 0, gotHeight = 0, gotChannels = 0;
    void* const pixels =
        isWord ? static_cast<void*>(stbi_load_16_from_callbacks(&callbacks, &stream, &gotWidth,
                                                                &gotHeight, &gotChannels, channels))
               : static_cast<void*>(stbi_load_from_callbacks(&callbacks, &stream, &gotWidth,
                                                             &gotHeight, &gotChannels, channels));
    const std::unique_ptr<void, void (*)(void*)> holder(pixels, stbi_image_free);
    if (!pixels || stream.isShort)
        failed(stream);
    if (gotWidth != width || gotHeight != height)
        file.fail("damaged image: two sizes");
    std::memcpy(image.values.data(), pixels, image.values.size());
    return image;
}

} // namespace io
