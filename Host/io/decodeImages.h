#pragma once

// Many images at once, on all cores.

#include "io/ImageData.h"
#include "io/Limits.h"

#include <span>
#include <string>
#include <vector>

namespace io {

struct EncodedImage
{
    std::string name; ///< for messages
    std::vector<u8> ownBytes;
    std::span<const u8> bytes; ///< of the file; may be those of ownBytes
};

struct DecodedImage
{
    ImageData pixels;  ///< rows from the bottom to the top
    std::string fault; ///< empty when there are pixels
};

/// @return one for each, in their order; a bad image is told of in its place
std::vector<DecodedImage> decodeImages(std::span<const EncodedImage> images, const Limits& limits);

} // namespace io
