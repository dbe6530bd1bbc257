#pragma once

// Adding a filtered sample to the frame of a still image.

#include "host/pixelFormats.h"
#include "host/znPixelfilter.h"

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
};

/// Calls f(x, y, weight) for each pixel that a sample of pixel (x, y) counts for. Positive weights
/// also reach finished pixels; those of negative lobes only pixels that still take samples, for a
/// finished pixel would not be lifted again.
template <class Function>
void forEachSplatPixel(const znRTSplatTarget& target, const znPixelfilterSampleSet& filter, u32 x,
                       u32 y, Function&& f)
{
    const int x0 = std::max(int(x) + filter.minX, int(target.left));
    const int x1 = std::min(int(x) + filter.maxX, int(target.right) - 1);
    const int y0 = std::max(int(y) + filter.minY, int(target.bottom));
    const int y1 = std::min(int(y) + filter.maxY, int(target.top) - 1);
    for (int yj = y0; yj <= y1; ++yj)
        for (int xj = x0; xj <= x1; ++xj) {
            const float weight = filter.getWeight(xj - int(x), yj - int(y));
            if (weight <= 0.0f && target.activePixels[u64(yj) * target.stride + u64(xj)] == 0)
                continue;
            f(u32(xj), u32(yj), weight);
        }
}

/// Adds a sample of pixel (x, y) to all pixels that it counts for.
///
/// Workers on neighbouring tiles meet in the margin of a filter, and no lock guards their adds: of
/// two that coincide one may be lost, for one pixel and one sample. This function and the next one
/// are the only places where that happens.
void splatSample(const znRTSplatTarget& target, const znPixelfilterSampleSet& filter, u32 x, u32 y,
                 __m128 colour);

/// A pixel that a sample counts for.
struct znRTSplatPixel
{
    u64 index;
    float weight;
};

/// Pixels under the largest filter.
constexpr u32 znMostSplatPixels = 33 * 33;

/// Layers of a frame that a sample is added to: the colours of one lane, as they lie in an array of
/// four lanes per layer.
struct znRTSplatLayers
{
    ZN_RGBA32F* const* frames;
    const __m128* colours; ///< every fourth
    u32 count;
};

/// Adds a sample to several layers and, once, to the weights.
void splatSampleLayers(const znRTSplatPixel* pixels, u32 count, float* filterWeights,
                       const znRTSplatLayers& layers);
