#include "io/imageWriter.h"

#include "io/imageCodecs.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace io {
namespace {

using Writer = void (*)(OutputFile&, const ImageData&, const ImageWriteOptions&);

const std::pair<const char*, Writer> writers[] = {
    {".png", writePng},   {".jpg", writeJpeg}, {".jpeg", writeJpeg}, {".tif", writeTiff},
    {".tiff", writeTiff}, {".hdr", writeHdr},  {".exr", writeExr},   {".pfm", writePfm}};

std::string suffixOf(const std::string& path)
{
    const std::size_t dot = path.rfind('.');
    if (dot == path.npos || path.find('/', dot) != path.npos)
        return "";
    std::string suffix = path.substr(dot);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : char(c); });
    return suffix;
}

Writer writerFor(const std::string& path)
{
    const std::string suffix = suffixOf(path);
    for (const auto& [known, writer] : writers)
        if (suffix == known)
            return writer;
    return nullptr;
}

} // namespace

bool canWriteImage(const std::string& path)
{
    return writerFor(path) != nullptr;
}

void writeImage(const std::string& path, const ImageData& image, const ImageWriteOptions& options)
{
    const Writer writer = writerFor(path);
    if (!writer)
        throw OutputError(path, "no image format is known by this suffix (known: .png .jpg .jpeg "
                                ".tif .tiff .hdr .exr .pfm)");
    if (image.width == 0 || image.height == 0 || image.channels < 1 || image.channels > 4 ||
        image.values.size() != image.getRowSize() * image.height)
        throw OutputError(path, "the image to write has no pixels or not 1 to 4 channels");
    OutputFile file(path, options.existing);
    writer(file, image, options);
    file.commit();
}

} // namespace io
