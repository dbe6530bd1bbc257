#include "io/exrParts.h"

#include "io/exrWriting.h"

#include <ImfChannelList.h>
#include <ImfMatrixAttribute.h>
#include <ImfMultiPartOutputFile.h>
#include <ImfOutputFile.h>
#include <ImfOutputPart.h>
#include <ImfPartType.h>
#include <ImfStandardAttributes.h>

#include <stdexcept>

namespace io {
namespace {

Imath::M44f toMatrix(const std::array<float, 16>& rows)
{
    Imath::M44f matrix;
    std::copy(rows.begin(), rows.end(), matrix.getValue());
    return matrix;
}

void describe(Imf::Header& header, const ExrDescription& description)
{
    for (const auto& [key, value] : description.texts)
        addText(header, key, value);
    if (description.texts.contains("capDate"))
        Imf::addUtcOffset(header, 0.0f);
    if (description.worldToCamera)
        Imf::addWorldToCamera(header, toMatrix(*description.worldToCamera));
    if (description.worldToNdc)
        Imf::addWorldToNDC(header, toMatrix(*description.worldToNdc));
}

void addChannels(Imf::Header& header, const ExrPart& part)
{
    for (const std::string& channel : part.channels)
        header.channels().insert(channel, Imf::Channel(part.isHalf ? Imf::HALF : Imf::FLOAT));
    for (const auto& [key, value] : part.texts)
        addText(header, key, value);
}

/// The image in the type of its part.
ImageData valuesOf(const ExrPart& part, const ImageData& image)
{
    if (part.channels.empty() || part.channels.size() > image.channels)
        throw std::logic_error("part '" + part.name + "' has other channels than its picture");
    return converted(image, part.isHalf ? ImageData::Type::half : ImageData::Type::float32);
}

void insert(Imf::FrameBuffer& buffer, const Imf::Header& header, const ExrPart& part,
            const ImageData& values)
{
    for (u32 c = 0; c < part.channels.size(); ++c)
        buffer.insert(part.channels[c], exrSlice(values, c, header));
}

void writeMultiPart(OutputFile& file, const std::vector<ExrPart>& parts, const ExrPixels& pixels,
                    const ExrDescription& description, Imf::Compression compression)
{
    ImageData image = pixels(0);
    const Imf::Header base = exrHeader(image);
    std::vector<Imf::Header> headers;
    for (const ExrPart& part : parts) {
        Imf::Header header = base;
        header.setName(part.name);
        header.setType(Imf::SCANLINEIMAGE);
        header.compression() = compression;
        addChannels(header, part);
        if (headers.empty())
            describe(header, description);
        headers.push_back(std::move(header));
    }
    ExrOutputStream stream(file);
    Imf::MultiPartOutputFile output(stream, headers.data(), int(headers.size()), false, 0);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0)
            image = pixels(i);
        const ImageData values = valuesOf(parts[i], image);
        Imf::FrameBuffer buffer;
        insert(buffer, headers[i], parts[i], values);
        Imf::OutputPart part(output, int(i));
        part.setFrameBuffer(buffer);
        part.writePixels(int(values.height));
    }
}

void writeFlat(OutputFile& file, const std::vector<ExrPart>& parts, const ExrPixels& pixels,
               const ExrDescription& description, Imf::Compression compression)
{
    std::vector<ImageData> values;
    for (std::size_t i = 0; i < parts.size(); ++i)
        values.push_back(valuesOf(parts[i], pixels(i)));
    Imf::Header header = exrHeader(values.front());
    header.compression() = compression;
    Imf::FrameBuffer buffer;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        addChannels(header, parts[i]);
        insert(buffer, header, parts[i], values[i]);
    }
    describe(header, description);
    ExrOutputStream stream(file);
    Imf::OutputFile output(stream, header, 0);
    output.setFrameBuffer(buffer);
    output.writePixels(int(values.front().height));
}

} // namespace

void writeExrParts(const std::string& path, const std::vector<ExrPart>& parts,
                   const ExrPixels& pixels, const ExrDescription& description,
                   const ExrPartsOptions& options)
{
    if (parts.empty())
        throw OutputError(path, "no pictures to write");
    OutputFile file(path, options.existing);
    const Imf::Compression compression = exrCompression(file, options.compression);
    guardedWriting(file, [&] {
        if (options.layout == ExrLayout::flat)
            writeFlat(file, parts, pixels, description, compression);
        else
            writeMultiPart(file, parts, pixels, description, compression);
    });
    file.commit();
}

} // namespace io
