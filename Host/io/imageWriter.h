#pragma once

// Writes one image; the suffix decides: .png .jpg .jpeg .tif .tiff .hdr .exr .pfm
// Values are written as they are, without a colour transform: hand in display values for PNG, JPEG
// and integer TIFF, linear ones for the float formats.

#include "io/ImageData.h"
#include "io/OutputFile.h"

namespace io {

struct ImageWriteOptions
{
    /// Bits per value: 0 = what suits format and image; PNG 8, 16; TIFF 8, 16, 32 (float);
    /// EXR 16 (half), 32.
    int bits = 0;
    int jpegQuality = 92; ///< 1..100; from 90 on the colours are not subsampled
    /// TIFF: none, lzw, deflate; EXR: none, rle, zips, zip, piz, pxr24; empty: deflate, zip.
    std::string compression;
    int pngLevel = 6;      ///< deflate level, 0..9
    bool writeSrgb = true; ///< PNG: sRGB chunk, when there is no profile and gamma is 2.2
    OutputFile::Existing existing = OutputFile::Existing::replace;
};

/// Whether there is a writer for the file's suffix (upper or lower case).
bool canWriteImage(const std::string& path);

/// Writes the whole file or nothing. Profile and metadata of the image go in where the format has a
/// place for them.
/// @throws OutputError
void writeImage(const std::string& path, const ImageData& image,
                const ImageWriteOptions& options = {});

} // namespace io
