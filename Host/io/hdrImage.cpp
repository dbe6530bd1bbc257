// Radiance HDR. G. Ward, "Real Pixels", Graphics Gems II, 1991; run lengths as in the Radiance
// reference manual: plain pixels, old runs (1 1 1 n), and runs of each component.
// A mantissa m with exponent e stands for m * 2^(e - 136), without half a step added.

#include "io/imageCodecs.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace io {
namespace {

constexpr std::size_t longestLine = 2048;
constexpr u64 longestHeader = 1 << 20;

std::string readLine(InputFile& file)
{
    std::string line;
    for (char c = 0;; line += c) {
        file.readExactly(&c, 1);
        if (c == '\n')
            break;
        if (line.size() >= longestLine)
            file.fail("damaged HDR file: header line too long");
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

struct Header
{
    bool isXyz = false;
    u32 width = 0, height = 0;
    bool isBottomUp = false, isRightToLeft = false;
    std::map<std::string, std::string> values;
};

/// "-Y 512 +X 1024"
void parseResolution(InputFile& file, const std::string& line, Header& header)
{
    const char* at = line.data();
    const char* const end = at + line.size();
    const auto number = [&](u32& value) {
        while (at < end && *at == ' ')
            ++at;
        const auto [next, error] = std::from_chars(at, end, value);
        at = next;
        if (error != std::errc())
            file.fail("damaged HDR file: no image size");
        while (at < end && *at == ' ')
            ++at;
    };
    const auto axis = [&](char name, bool& isMinus) {
        if (end - at < 2 || (at[0] != '+' && at[0] != '-') || at[1] != name)
            file.fail(line.find('X') < line.find('Y')
                          ? "HDR images stored column by column are not supported"
                          : "damaged HDR file: no image size");
        isMinus = at[0] == '-';
        at += 2;
    };
    bool isTopDown = false;
    axis('Y', isTopDown);
    number(header.height);
    axis('X', header.isRightToLeft);
    number(header.width);
    header.isBottomUp = !isTopDown;
    if (at != end)
        file.fail("damaged HDR file: no image size");
}

Header readHeader(InputFile& file)
{
    Header header;
    std::string line = readLine(file);
    if (line.rfind("#?", 0) != 0)
        file.fail("is no Radiance HDR file");
    while (!(line = readLine(file)).empty()) {
        if (file.getPosition() > longestHeader)
            file.fail("damaged HDR file: header too long");
        const std::size_t sign = line.find('=');
        if (line[0] == '#' || sign == line.npos)
            continue;
        header.values[line.substr(0, sign)] = line.substr(sign + 1);
    }
    std::string format = header.values["FORMAT"];
    format.erase(0, std::min(format.find_first_not_of(' '), format.size()));
    header.isXyz = format == "32-bit_rle_xyze";
    if (!format.empty() && format != "32-bit_rle_rgbe" && !header.isXyz)
        file.fail("unknown HDR coding '" + format + "'");
    parseResolution(file, readLine(file), header);
    return header;
}

/// Runs of each component; the marker with the width has been read.
void readNewRuns(InputFile& file, std::vector<u8>& row, u32 width)
{
    for (u32 c = 0; c < 4; ++c) {
        for (u32 x = 0; x < width;) {
            u8 count = 0, value = 0;
            file.readExactly(&count, 1);
            const bool isRun = count > 128;
            count = isRun ? u8(count - 128) : count;
            if (count == 0 || count > width - x)
                file.fail("damaged HDR file: run beyond the end of a row");
            for (u8 i = 0; i < count; ++i) {
                if (i == 0 || !isRun)
                    file.readExactly(&value, 1);
                row[(x + i) * 4 + c] = value;
            }
            x += count;
        }
    }
}

/// Plain pixels and runs of whole pixels. Several run markers in a row count in base 256.
/// @param first  the pixel that has been read already
void readOldRuns(InputFile& file, std::vector<u8>& row, u32 width, const u8* first)
{
    u8 pixel[4];
    std::memcpy(pixel, first, 4);
    u32 shift = 0;
    for (u32 x = 0; x < width;) {
        const bool isRun = pixel[0] == 1 && pixel[1] == 1 && pixel[2] == 1;
        if (isRun) {
            const u64 count = shift < 32 ? u64(pixel[3]) << shift : ~u64(0);
            if (count > width - x || (x == 0 && count > 0))
                file.fail("damaged HDR file: run beyond the end of a row");
            for (u64 i = 0; i < count; ++i, ++x)
                std::memcpy(row.data() + x * 4, row.data() + (x - 1) * 4, 4);
            shift += 8;
        } else {
            std::memcpy(row.data() + x++ * 4, pixel, 4);
            shift = 0;
        }
        if (x < width)
            file.readExactly(pixel, 4);
    }
}

void readRow(InputFile& file, std::vector<u8>& row, u32 width)
{
    u8 head[4];
    file.readExactly(head, 4);
    const bool isNew = head[0] == 2 && head[1] == 2 && head[2] < 128 && width >= 8 && width < 32768;
    if (!isNew)
        return readOldRuns(file, row, width, head);
    if ((u32(head[2]) << 8 | head[3]) != width)
        file.fail("damaged HDR file: a row of another width");
    readNewRuns(file, row, width);
}

void decode(const u8* pixel, float* color, bool isXyz)
{
    const float scale = pixel[3] ? std::ldexp(1.0f, int(pixel[3]) - 136) : 0.0f;
    for (int c = 0; c < 3; ++c)
        color[c] = float(pixel[c]) * scale;
    if (!isXyz)
        return;
    // From CIE XYZ to Rec. 709 primaries with white D65.
    const float x = color[0], y = color[1], z = color[2];
    color[0] = 3.2404542f * x - 1.5371385f * y - 0.4985314f * z;
    color[1] = -0.9692660f * x + 1.8760108f * y + 0.0415560f * z;
    color[2] = 0.0556434f * x - 0.2040259f * y + 1.0572252f * z;
}

/// The largest component gets the exponent; negative values and NaN become 0, infinity the largest
/// number there is.
void encode(const float* color, u8* pixel)
{
    float rgb[3];
    for (int c = 0; c < 3; ++c)
        rgb[c] = color[c] > 0 ? std::min(color[c], 1.0e38f) : 0.0f;
    const float largest = std::max({rgb[0], rgb[1], rgb[2]});
    std::memset(pixel, 0, 4);
    if (largest < 1e-32f)
        return;
    int exponent = 0;
    std::frexp(largest, &exponent);
    // Rounding may carry the largest mantissa over 255.
    if (std::floor(std::ldexp(largest, 8 - exponent) + 0.5f) > 255.0f)
        ++exponent;
    for (int c = 0; c < 3; ++c)
        pixel[c] = u8(std::floor(std::ldexp(rgb[c], 8 - exponent) + 0.5f));
    pixel[3] = u8(exponent + 128);
}

/// One component of a row: runs of 4 to 127 equal bytes, the rest as it is.
void appendRuns(std::vector<u8>& out, const std::vector<u8>& row, u32 width, u32 component)
{
    const auto at = [&](u32 x) { return row[x * 4 + component]; };
    for (u32 x = 0; x < width;) {
        const auto runAt = [&](u32 from) {
            u32 length = 1;
            while (length < 127 && from + length < width && at(from + length) == at(from))
                ++length;
            return length;
        };
        u32 literal = 0, run = 0;
        while (literal < 128 && x + literal < width && (run = runAt(x + literal)) < 4)
            ++literal;
        if (literal > 0) {
            out.push_back(u8(literal));
            for (u32 i = 0; i < literal; ++i)
                out.push_back(at(x + i));
            x += literal;
        } else {
            out.push_back(u8(128 + run));
            out.push_back(at(x));
            x += run;
        }
    }
}

} // namespace

ImageData readHdr(InputFile& file)
{
    Header header = readHeader(file);
    ImageData image;
    prepareImage(file, image, header.width, header.height, 3, ImageData::Type::float32);
    image.gamma = 1.0f;
    std::vector<u8> row(std::size_t(header.width) * 4);
    for (u32 y = 0; y < header.height; ++y) {
        readRow(file, row, header.width);
        const u32 target = header.isBottomUp ? header.height - 1 - y : y;
        float* const out =
            reinterpret_cast<float*>(image.values.data() + target * image.getRowSize());
        for (u32 x = 0; x < header.width; ++x)
            decode(row.data() + x * 4, out + 3 * (header.isRightToLeft ? header.width - 1 - x : x),
                   header.isXyz);
    }
    header.values.erase("FORMAT");
    image.metadata = std::move(header.values);
    return image;
}

void writeHdr(OutputFile& file, const ImageData& image, const ImageWriteOptions&)
{
    const ImageData values = withChannels(converted(image, ImageData::Type::float32), 3);
    std::string header = "#?RADIANCE\n";
    for (const auto& [key, value] : image.metadata)
        if (key.find_first_of("=\n\r") == key.npos && !key.empty())
            header += printable(key) + "=" + printable(value, 1500) + "\n";
    header += "FORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(values.height) + " +X " +
              std::to_string(values.width) + "\n";
    file.write(header.data(), header.size());

    const bool hasRuns = values.width >= 8 && values.width < 32768;
    std::vector<u8> row(std::size_t(values.width) * 4), coded;
    for (u32 y = 0; y < values.height; ++y) {
        const float* const from =
            reinterpret_cast<const float*>(values.values.data() + y * values.getRowSize());
        for (u32 x = 0; x < values.width; ++x)
            encode(from + 3 * x, row.data() + 4 * x);
        if (hasRuns) {
            coded = {2, 2, u8(values.width >> 8), u8(values.width)};
            for (u32 c = 0; c < 4; ++c)
                appendRuns(coded, row, values.width, c);
        }
        const std::vector<u8>& out = hasRuns ? coded : row;
        file.write(out.data(), out.size());
    }
}

} // namespace io
