#pragma once

// Adding filtered samples to the frame of a still image.

#include "host/pixelFormats.h"
#include "host/znPixelfilter.h"

#include <algorithm>
#include <emmintrin.h>

/// Whether all four components are 0. Most pictures stand before nothing, and most layers are dark:
/// such samples change no sum, whose memory need not be touched then.
inline bool isNothing(__m128 sample)
{
    return _mm_movemask_ps(_mm_cmpneq_ps(sample, _mm_setzero_ps())) == 0;
}

/// Where samples go.
struct znRTSplatTarget
{
    ZN_RGBA32F* frame;
    float* filterWeights;
    const u8* activePixels;
    u32 stride;                   ///< pixels per row
    u32 left, right, bottom, top; ///< pixels that may be written; right and top one past the end
    /// Some weights of the filter are negative, so that every pixel has to be looked at.
    bool hasLobes = true;
};

inline bool hasNegativeWeight(const znPixelfilterSampleSet& filter)
{
    for (int j = filter.minY; j <= filter.maxY; ++j)
        for (int i = filter.minX; i <= filter.maxX; ++i)
            if (filter.getWeight(i, j) < 0.0f)
                return true;
    return false;
}

/// The pixels that a sample counts for: a rectangle, empty where all of it lies outside the image.
struct znRTFootprint
{
    u32 x = 0, y = 0, width = 0, height = 0;
    const float* weights = nullptr; ///< of pixel (x, y)
};

/// Of a sample of pixel (x, y), cut to what may be written.
inline znRTFootprint footprintOf(const znRTSplatTarget& target,
                                 const znPixelfilterSampleSet& filter, u32 x, u32 y)
{
    const int x0 = std::max(int(x) + filter.minX, int(target.left));
    const int x1 = std::min(int(x) + filter.maxX, int(target.right) - 1);
    const int y0 = std::max(int(y) + filter.minY, int(target.bottom));
    const int y1 = std::min(int(y) + filter.maxY, int(target.top) - 1);
    if (x1 < x0 || y1 < y0)
        return {};
    const int first = (x0 - int(x) + filter.offset) + (y0 - int(y) + filter.offset) * filter.stride;
    return {u32(x0), u32(y0), u32(x1 - x0 + 1), u32(y1 - y0 + 1), filter.weights + first};
}

/// A pixel that a sample counts for.
struct znRTSplatPixel
{
    u64 index;
    u32 x, y;
    float weight;
};

/// Calls f with each pixel of a footprint, whether or not it still takes samples.
/// @param stride  pixels per row
template <class Function>
void forEachFootprintPixel(const znRTFootprint& footprint, u64 stride,
                           const znPixelfilterSampleSet& filter, Function&& f)
{
    const float* weights = footprint.weights;
    u64 row = footprint.y * stride + footprint.x;
    for (u32 j = 0; j < footprint.height; ++j, row += stride, weights += filter.stride)
        for (u32 i = 0; i < footprint.width; ++i)
            f(znRTSplatPixel{row + i, footprint.x + i, footprint.y + j, weights[i]});
}

/// Calls f with the pixels of a footprint that a sample counts for. Positive weights also reach
/// finished pixels; those of negative lobes only pixels that still take samples, for a finished
/// pixel would not be lifted again.
template <class Function>
void forEachSplatPixel(const znRTSplatTarget& target, const znPixelfilterSampleSet& filter,
                       const znRTFootprint& footprint, Function&& f)
{
    forEachFootprintPixel(footprint, target.stride, filter, [&](const znRTSplatPixel& pixel) {
        if (pixel.weight > 0.0f || target.activePixels[pixel.index] != 0)
            f(pixel);
    });
}

/// Adds the weights of a footprint to those of its pixels.
inline void addWeights(const znRTSplatTarget& target, const znPixelfilterSampleSet& filter,
                       const znRTFootprint& footprint)
{
    if (target.hasLobes) {
        forEachSplatPixel(target, filter, footprint, [&](const znRTSplatPixel& pixel) {
            target.filterWeights[pixel.index] += pixel.weight;
        });
        return;
    }
    const u32 stride = target.stride, width = footprint.width, height = footprint.height;
    const int tableStride = filter.stride;
    const float* weights = footprint.weights;
    float* row = target.filterWeights + u64(footprint.y) * stride + footprint.x;
    for (u32 j = 0; j < height; ++j, row += stride, weights += tableStride) {
        u32 i = 0;
        for (; i + 4 <= width; i += 4)
            _mm_storeu_ps(row + i, _mm_add_ps(_mm_loadu_ps(row + i), _mm_loadu_ps(weights + i)));
        for (; i < width; ++i)
            row[i] += weights[i];
    }
}

/// A weighted sample into a sum.
inline void addWeighted(ZN_RGBA32F& pixel, float weight, __m128 colour)
{
    _mm_store_ps(&pixel.r,
                 _mm_add_ps(_mm_load_ps(&pixel.r), _mm_mul_ps(_mm_set1_ps(weight), colour)));
}

/// Adds a sample to its pixels, to each by its weight.
inline void addToFootprint(const znRTSplatTarget& target, const znPixelfilterSampleSet& filter,
                           const znRTFootprint& footprint, ZN_RGBA32F* frame, __m128 sample)
{
    const auto add = [=](const znRTSplatPixel& pixel) {
        addWeighted(frame[pixel.index], pixel.weight, sample);
    };
    if (target.hasLobes)
        forEachSplatPixel(target, filter, footprint, add);
    else
        forEachFootprintPixel(footprint, target.stride, filter, add);
}

/// Adds a sample of pixel (x, y) to all pixels that it counts for. Workers on neighbouring tiles
/// meet in the margin of a filter: each takes its turn before (render/tileSeams.h).
inline void splatSample(const znRTSplatTarget& target, const znPixelfilterSampleSet& filter, u32 x,
                        u32 y, __m128 colour)
{
    const znRTFootprint footprint = footprintOf(target, filter, x, y);
    addWeights(target, filter, footprint);
    if (!isNothing(colour))
        addToFootprint(target, filter, footprint, target.frame, colour);
}
