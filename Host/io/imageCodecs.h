#pragma once

// What the readers and writers of single formats share. Each format has one file: pngImage.cpp,
// jpegImage.cpp, tiffImage.cpp, exrImage.cpp, hdrImage.cpp, pfmImage.cpp, smallImages.cpp.

#include "io/imageReader.h"
#include "io/imageWriter.h"

namespace io {

/// Checks an image's announced shape against all limits; nothing is allocated.
/// @param bytesPerValue  of the decoded image
/// @throws InputError
void checkShape(const InputFile& file, u64 width, u64 height, u64 channels, u64 bytesPerValue);
/// The same, then makes room.
void prepareImage(const InputFile& file, ImageData& image, u64 width, u64 height, u64 channels,
                  ImageData::Type type);

ImageData readPng(InputFile& file);
ImageData readJpeg(InputFile& file);
ImageData readTiff(InputFile& file);
ImageData readExr(InputFile& file);
ImageData readHdr(InputFile& file);
ImageData readPfm(InputFile& file);
/// PNM, TGA and BMP.
ImageData readSmall(InputFile& file);

void writePng(OutputFile& file, const ImageData& image, const ImageWriteOptions& options);
void writeJpeg(OutputFile& file, const ImageData& image, const ImageWriteOptions& options);
void writeTiff(OutputFile& file, const ImageData& image, const ImageWriteOptions& options);
void writeExr(OutputFile& file, const ImageData& image, const ImageWriteOptions& options);
void writeHdr(OutputFile& file, const ImageData& image, const ImageWriteOptions& options);
void writePfm(OutputFile& file, const ImageData& image, const ImageWriteOptions& options);

/// The image with another number of channels: L is repeated or the first channel taken, alpha is
/// dropped, or added as 1.
ImageData withChannels(const ImageData& image, u32 channels);

/// Swaps rows top to bottom.
void flipRows(ImageData& image);

/// A message of a library without line ends and without a full stop.
std::string oneLine(const char* text);

} // namespace io
