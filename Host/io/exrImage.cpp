// OpenEXR, first part: RGB, RGBA, luminance with or without chroma, half or float.

#include "io/exrWriting.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfInputPart.h>
#include <ImfMultiPartInputFile.h>
#include <ImfOutputFile.h>
#include <ImfPartType.h>
#include <ImfRgbaFile.h>
#include <ImfStandardAttributes.h>
#include <ImfStringAttribute.h>
#include <ImfTileDescriptionAttribute.h>
#include <ImfVersion.h>
#include <ImfXdr.h>
#include <algorithm>
#include <cstring>

namespace io {
namespace {

/// Runs work of the library; all that it throws becomes an InputError of this file.
template <class Work>
auto guarded(InputFile& file, Work&& work)
{
    try {
        return work();
    } catch (const InputError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        // The library puts the file's name in front of its messages.
        std::string text = oneLine(error.what());
        for (const std::string& lead :
             {"Cannot read image file \"" + file.getName() + "\". ",
              "Error reading pixel data from image file \"" + file.getName() + "\". "})
            if (text.rfind(lead, 0) == 0)
                text.erase(0, lead.size());
        file.fail("damaged OpenEXR file: " + text);
    }
}

void checkHeader(const InputFile& file, const Imf::Header& header)
{
    const Imath::Box2i& data = header.dataWindow();
    const long width = long(data.max.x) - data.min.x + 1;
    const long height = long(data.max.y) - data.min.y + 1;
    if (width <= 0 || height <= 0)
        file.fail("damaged OpenEXR file: empty data window");
    long channels = 0;
    for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel)
        ++channels;
    if (channels == 0)
        file.fail("damaged OpenEXR file: no channels");
    checkShape(file, u64(width), u64(height), u64(channels), 2);
    if (header.hasTileDescription()) {
        const Imf::TileDescription& tiles = header.tileDescription();
        if (tiles.xSize == 0 || tiles.ySize == 0)
            file.fail("damaged OpenEXR file: empty tiles");
        checkShape(file, tiles.xSize, tiles.ySize, u64(channels), 2);
    }
}

/// Names of the channels of one picture, in order: R G B A, Y, Y A, or a single other one.
struct Selection
{
    std::vector<std::string> names;
    bool isChroma = false; ///< Y, RY, BY
};

Selection select(const Imf::ChannelList& channels)
{
    const auto has = [&](const std::string& name) { return channels.findChannel(name) != nullptr; };
    std::vector<std::string> layers = {""};
    for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
        const std::string name = channel.name();
        const std::size_t dot = name.rfind('.');
        if (dot != name.npos && layers.back() != name.substr(0, dot + 1))
            layers.push_back(name.substr(0, dot + 1));
    }
    Selection result;
    for (const std::string& layer : layers) {
        if (has(layer + "R") && has(layer + "G") && has(layer + "B"))
            result.names = {layer + "R", layer + "G", layer + "B"};
        else if (has(layer + "Y"))
            result.names = {layer + "Y"};
        else
            continue;
        result.isChroma = layer.empty() && has("Y") && has("RY") && has("BY") && !has("R");
        if (has(layer + "A"))
            result.names.push_back(layer + "A");
        return result;
    }
    result.names = {channels.begin().name()};
    return result;
}

/// Half when all selected channels are half.
ImageData::Type typeOf(const Imf::ChannelList& channels, const Selection& selection)
{
    for (const std::string& name : selection.names)
        if (channels.findChannel(name)->type != Imf::HALF)
            return ImageData::Type::float32;
    return ImageData::Type::half;
}

void readChannels(InputFile& file, Imf::MultiPartInputFile& parts, const Selection& selection,
                  ImageData& image)
{
    Imf::InputPart part(parts, 0);
    const Imath::Box2i& window = part.header().dataWindow();
    for (const std::string& name : selection.names) {
        const Imf::Channel& channel = *part.header().channels().findChannel(name);
        if (channel.xSampling != 1 || channel.ySampling != 1)
            file.fail("OpenEXR channel '" + name + "' is subsampled, which is not supported");
    }
    prepareImage(file, image, u64(window.max.x - window.min.x + 1),
                 u64(window.max.y - window.min.y + 1), selection.names.size(),
                 typeOf(part.header().channels(), selection));
    const u32 size = ImageData::bytes(image.type);
    Imf::FrameBuffer buffer;
    for (std::size_t c = 0; c < selection.names.size(); ++c)
        buffer.insert(selection.names[c],
                      Imf::Slice::Make(image.type == ImageData::Type::half ? Imf::HALF : Imf::FLOAT,
                                       image.values.data() + c * size, window,
                                       image.channels * size, image.getRowSize()));
    part.setFrameBuffer(buffer);
    part.readPixels(window.min.y, window.max.y);
}

/// Luminance and chroma, half resolution in both directions, by the library's reconstruction.
void readChroma(InputFile& file, ImageData& image)
{
    file.seek(0);
    ExrInputStream stream(file);
    Imf::RgbaInputFile input(stream, 0);
    const Imath::Box2i& window = input.dataWindow();
    const u64 width = u64(window.max.x - window.min.x + 1);
    const u64 height = u64(window.max.y - window.min.y + 1);
    prepareImage(file, image, width, height, 4, ImageData::Type::half);
    static_assert(sizeof(Imf::Rgba) == 8);
    Imf::Rgba* const pixels = reinterpret_cast<Imf::Rgba*>(image.values.data());
    input.setFrameBuffer(pixels - window.min.x - std::ptrdiff_t(window.min.y) * long(width), 1,
                         width);
    input.readPixels(window.min.y, window.max.y);
}

void takeDescription(const Imf::Header& header, ImageData& image)
{
    const Imath::Box2i &data = header.dataWindow(), &display = header.displayWindow();
    image.gamma = 1.0f;
    image.isPremultiplied = true;
    image.offsetX =
        int(std::clamp<long>(long(data.min.x) - display.min.x, -0x7fffffff, 0x7fffffff));
    image.offsetY =
        int(std::clamp<long>(long(data.min.y) - display.min.y, -0x7fffffff, 0x7fffffff));
    image.displayWidth = u32(std::max(0l, long(display.max.x) - display.min.x + 1));
    image.displayHeight = u32(std::max(0l, long(display.max.y) - display.min.y + 1));
    for (auto attribute = header.begin(); attribute != header.end(); ++attribute)
        if (const auto* text = dynamic_cast<const Imf::StringAttribute*>(&attribute.attribute()))
            image.metadata[attribute.name()] = text->value();
}

} // namespace

std::vector<Imf::Header> readExrHeaders(InputFile& file)
{
    return guarded(file, [&] {
        file.seek(0);
        ExrInputStream stream(file);
        int magic = 0, version = 0;
        Imf::Xdr::read<Imf::StreamIO>(stream, magic);
        Imf::Xdr::read<Imf::StreamIO>(stream, version);
        if (magic != Imf::MAGIC || Imf::getVersion(version) != Imf::EXR_VERSION ||
            !Imf::supportsFlags(Imf::getFlags(version)))
            file.fail("is no OpenEXR file of a known version");
        std::vector<Imf::Header> headers;
        for (bool isLast = false; !isLast;) {
            Imf::Header header;
            header.readFrom(stream, version);
            if (Imf::isMultiPart(version) && header.readsNothing())
                break;
            file.getLimits().check(&Limits::exrParts, headers.size() + 1, file.getName(),
                                   "number of parts:");
            checkHeader(file, header);
            headers.push_back(header);
            isLast = !Imf::isMultiPart(version);
        }
        if (headers.empty())
            file.fail("damaged OpenEXR file: no parts");
        file.seek(0);
        return headers;
    });
}

ImageData readExr(InputFile& file)
{
    const std::vector<Imf::Header> headers = readExrHeaders(file);
    const Imf::Header& first = headers.front();
    if (first.hasType() && Imf::isDeepData(first.type()))
        file.fail("holds deep data, which is no image");
    return guarded(file, [&] {
        ImageData image;
        const Selection selection = select(first.channels());
        if (selection.isChroma) {
            readChroma(file, image);
        } else {
            ExrInputStream stream(file);
            Imf::MultiPartInputFile parts(stream, 0);
            readChannels(file, parts, selection, image);
        }
        takeDescription(first, image);
        return image;
    });
}

void writeExr(OutputFile& file, const ImageData& image, const ImageWriteOptions& options)
{
    const int bits = options.bits ? options.bits : image.type == ImageData::Type::float32 ? 32 : 16;
    if (bits != 16 && bits != 32)
        file.fail("OpenEXR has 16 or 32 bits per value here, not " + std::to_string(bits));
    const ImageData values =
        converted(image, bits == 16 ? ImageData::Type::half : ImageData::Type::float32);
    const Imf::PixelType type = bits == 16 ? Imf::HALF : Imf::FLOAT;
    const char* const names[5][4] = {{}, {"Y"}, {"Y", "A"}, {"R", "G", "B"}, {"R", "G", "B", "A"}};

    Imf::Header header = exrHeader(values);
    header.compression() = exrCompression(file, options.compression);
    Imf::FrameBuffer buffer;
    for (u32 c = 0; c < values.channels; ++c) {
        const char* const name = names[values.channels][c];
        header.channels().insert(name, Imf::Channel(type));
        buffer.insert(name, exrSlice(values, c, header));
    }
    guardedWriting(file, [&] {
        ExrOutputStream stream(file);
        Imf::OutputFile output(stream, header, 0);
        output.setFrameBuffer(buffer);
        output.writePixels(int(values.height));
    });
}

} // namespace io
