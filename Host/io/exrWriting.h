#pragma once

// What the writers of single pictures and of many parts share.

#include "io/ImageData.h"
#include "io/OutputFile.h"
#include "io/exrStreams.h"
#include "io/imageCodecs.h"

#include <ImfCompression.h>
#include <ImfFrameBuffer.h>

#include <exception>
#include <new>

namespace io {

/// @param name  none, rle, zips, zip, piz, pxr24; empty: zip
/// @throws OutputError
Imf::Compression exrCompression(OutputFile& file, const std::string& name);

/// Windows and texts of a written image: display window at (0, 0), data window where the image
/// stands. Linear light of Rec. 709 primaries.
Imf::Header exrHeader(const ImageData& image);

/// Enters a text that has a usable name and is not there yet.
void addText(Imf::Header& header, const std::string& key, const std::string& value);

/// One component of an image of half or 32-bit floats.
Imf::Slice exrSlice(const ImageData& image, u32 component, const Imf::Header& header);

/// Runs work of the library; what it throws becomes an OutputError of the file.
template <class Work>
void guardedWriting(OutputFile& file, Work&& work)
{
    try {
        work();
    } catch (const OutputError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        file.fail("OpenEXR: " + oneLine(error.what()));
    }
}

} // namespace io
