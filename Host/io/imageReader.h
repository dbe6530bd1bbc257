#pragma once

// Reads one image of any supported format; the content decides, not the suffix:
//   PNG (1 to 16 bit, palette, interlaced), JPEG (progressive; CMYK is converted to RGB), TIFF
//   (strips, tiles, integer, half and float, either byte order), Radiance HDR, OpenEXR (half and
//   float, luminance, data windows, tiles; the first part), PFM, PNM, TGA, BMP.
// Safe on any number of threads, one file each.

#include "io/ImageData.h"
#include "io/InputFile.h"

namespace io {

enum class ImageFormat { unknown, png, jpeg, tiff, hdr, exr, pfm, pnm, tga, bmp };

/// The format by the first bytes of a file; the position stays. TGA has no signature: what fits its
/// header's rules and nothing else counts as TGA.
ImageFormat recognizeImage(InputFile& file);

/// @throws InputError: damaged, not supported, above a limit
ImageData readImage(InputFile& file);
/// The same for a file that the user named.
ImageData readImage(const std::string& path, const Limits& limits = {});
/// The same for bytes in memory; name is for messages.
ImageData readImage(std::span<const u8> bytes, const std::string& name, const Limits& limits = {});

} // namespace io
