// PFM: "PF" (colour) or "Pf" (grey), size, a scale whose sign gives the byte order, then floats,
// bottom row first. P. Debevec's HDR Shop format.

#include "io/imageCodecs.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace io {
namespace {

/// Next word of the header and the one white space behind it.
std::string readWord(InputFile& file)
{
    std::string word;
    for (char c = 0;;) {
        file.readExactly(&c, 1);
        const bool isSpace = c == ' ' || (c >= 9 && c <= 13);
        if (isSpace && !word.empty())
            return word;
        if (!isSpace)
            word += c;
        if (word.size() > 64)
            file.fail("damaged PFM file: header");
    }
}

template <typename T>
T readNumber(InputFile& file)
{
    const std::string word = readWord(file);
    T value{};
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size())
        file.fail("damaged PFM file: '" + word + "' is no number");
    return value;
}

void swapBytes(std::vector<u8>& values)
{
    for (std::size_t i = 0; i + 3 < values.size(); i += 4)
        std::reverse(values.begin() + long(i), values.begin() + long(i) + 4);
}

} // namespace

ImageData readPfm(InputFile& file)
{
    const u32 channels = readWord(file) == "PF" ? 3 : 1;
    const u32 width = readNumber<u32>(file), height = readNumber<u32>(file);
    const float scale = readNumber<float>(file);
    if (!(std::fabs(scale) > 0) || !std::isfinite(scale))
        file.fail("damaged PFM file: scale");
    checkShape(file, width, height, channels, 4);
    if (file.getSize() - file.getPosition() < u64(width) * height * channels * 4)
        file.fail("ends too early");
    ImageData image;
    prepareImage(file, image, width, height, channels, ImageData::Type::float32);
    image.gamma = 1.0f;
    file.readExactly(image.values.data(), image.values.size());
    if ((scale < 0) != (std::endian::native == std::endian::little))
        swapBytes(image.values);
    flipRows(image);
    return image;
}

void writePfm(OutputFile& file, const ImageData& image, const ImageWriteOptions&)
{
    ImageData values =
        withChannels(converted(image, ImageData::Type::float32), image.channels >= 3 ? 3 : 1);
    flipRows(values);
    if (std::endian::native == std::endian::big)
        swapBytes(values.values);
    const std::string header = std::string(values.channels == 3 ? "PF\n" : "Pf\n") +
                               std::to_string(values.width) + " " + std::to_string(values.height) +
                               "\n-1.0\n";
    file.write(header.data(), header.size());
    file.write(values.values.data(), values.values.size());
}

} // namespace io
