#pragma once

// OpenEXR with several pictures in one file: render passes, id mattes. One part per picture, all
// with the same windows; or all channels in a single part for readers that know no parts.

#include "io/ImageData.h"
#include "io/OutputFile.h"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace io {

/// One picture of a file.
struct ExrPart
{
    std::string name;
    /// Names in full ("depth.Z"), one for each of the first components of a pixel.
    std::vector<std::string> channels;
    bool isHalf = false; ///< else 32-bit floats
    /// Further texts of its header.
    std::map<std::string, std::string> texts;
};

/// What the whole file says of itself, in its first header.
struct ExrDescription
{
    /// A "capDate" is understood as UTC.
    std::map<std::string, std::string> texts;
    /// Matrices of row vectors, row by row, as OpenEXR has them.
    std::optional<std::array<float, 16>> worldToCamera, worldToNdc;
};

enum class ExrLayout {
    parts, ///< one part per picture
    flat   ///< one part with the channels of all pictures
};

struct ExrPartsOptions
{
    ExrLayout layout = ExrLayout::parts;
    std::string compression; ///< none, rle, zips, zip, piz; empty: zip
    OutputFile::Existing existing = OutputFile::Existing::replace;
};

/// The pixels of a part by its number. All pictures have the same size and place.
using ExrPixels = std::function<ImageData(std::size_t)>;

/// Writes the whole file or nothing. Parts are asked for one after the other and let go again,
/// except in the flat layout, which needs all of them at once.
/// @throws OutputError
void writeExrParts(const std::string& path, const std::vector<ExrPart>& parts,
                   const ExrPixels& pixels, const ExrDescription& description,
                   const ExrPartsOptions& options = {});

} // namespace io
