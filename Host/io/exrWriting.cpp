#include "io/exrWriting.h"

#include <ImfChromaticitiesAttribute.h>
#include <ImfStandardAttributes.h>
#include <ImfStringAttribute.h>

namespace io {

Imf::Compression exrCompression(OutputFile& file, const std::string& name)
{
    const std::pair<const char*, Imf::Compression> known[] = {
        {"", Imf::ZIP_COMPRESSION},       {"none", Imf::NO_COMPRESSION},
        {"rle", Imf::RLE_COMPRESSION},    {"zips", Imf::ZIPS_COMPRESSION},
        {"zip", Imf::ZIP_COMPRESSION},    {"piz", Imf::PIZ_COMPRESSION},
        {"pxr24", Imf::PXR24_COMPRESSION}};
    for (const auto& [text, compression] : known)
        if (name == text)
            return compression;
    file.fail("OpenEXR has no compression '" + name + "' here (none, rle, zips, zip, piz, pxr24)");
}

void addText(Imf::Header& header, const std::string& key, const std::string& value)
{
    if (!key.empty() && key.size() < 256 && header.find(key.c_str()) == header.end())
        header.insert(key, Imf::StringAttribute(value));
}

Imf::Header exrHeader(const ImageData& image)
{
    const u32 width = image.displayWidth ? image.displayWidth : image.width;
    const u32 height = image.displayHeight ? image.displayHeight : image.height;
    const Imath::V2i corner(image.offsetX, image.offsetY);
    const Imath::Box2i display(Imath::V2i(0, 0), Imath::V2i(int(width) - 1, int(height) - 1));
    const Imath::Box2i data(corner,
                            corner + Imath::V2i(int(image.width) - 1, int(image.height) - 1));
    Imf::Header header(display, data);
    for (const auto& [key, value] : image.metadata)
        addText(header, key, value);
    // The library's standard primaries are those of Rec. 709 with D65.
    Imf::addChromaticities(header, Imf::Chromaticities());
    return header;
}

Imf::Slice exrSlice(const ImageData& image, u32 component, const Imf::Header& header)
{
    const u32 size = ImageData::bytes(image.type);
    return Imf::Slice::Make(image.type == ImageData::Type::half ? Imf::HALF : Imf::FLOAT,
                            image.values.data() + component * size, header.dataWindow(),
                            image.channels * size, image.getRowSize());
}

} // namespace io
