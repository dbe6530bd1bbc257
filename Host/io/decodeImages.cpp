#include "io/decodeImages.h"

#include "io/imageCodecs.h"
#include "io/imageReader.h"

#include <tbb/parallel_for.h>

namespace io {

namespace {

DecodedImage decode(const EncodedImage& image, const Limits& limits)
{
    DecodedImage result;
    try {
        result.pixels = readImage(image.bytes, image.name, limits);
        flipRows(result.pixels);
    } catch (const std::exception& error) {
        result.pixels = {};
        result.fault = error.what();
    }
    return result;
}

} // namespace

std::vector<DecodedImage> decodeImages(std::span<const EncodedImage> images, const Limits& limits)
{
    std::vector<DecodedImage> results(images.size());
    // One by one: sizes differ much, and a grain of several would leave cores idle.
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, images.size(), 1),
        [&](const tbb::blocked_range<std::size_t>& range) {
            for (std::size_t i = range.begin(); i < range.end(); ++i)
                results[i] = decode(images[i], limits);
        },
        tbb::simple_partitioner());
    return results;
}

} // namespace io
