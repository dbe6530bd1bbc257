#include "render/splatSample.h"

#include <emmintrin.h>

namespace {

void addWeighted(ZN_RGBA32F& pixel, float weight, __m128 colour)
{
    _mm_store_ps(&pixel.r,
                 _mm_add_ps(_mm_load_ps(&pixel.r), _mm_mul_ps(_mm_set1_ps(weight), colour)));
}

} // namespace

// Out of line under their own names, so that a race detector can be told about them and nothing
// else.

__attribute__((noinline)) void splatSample(const znRTSplatTarget& target,
                                           const znPixelfilterSampleSet& filter, u32 x, u32 y,
                                           __m128 colour)
{
    const bool isColoured = !isNothing(colour);
    forEachSplatPixel(target, filter, x, y, [&](u32 xj, u32 yj, float weight) {
        const u64 j = u64(yj) * target.stride + xj;
        target.filterWeights[j] += weight;
        if (isColoured)
            addWeighted(target.frame[j], weight, colour);
    });
}

__attribute__((noinline)) void splatSampleLayers(const znRTSplatPixel* pixels, u32 count,
                                                 float* filterWeights,
                                                 const znRTSplatLayers& layers)
{
    for (u32 j = 0; j < count; ++j)
        filterWeights[pixels[j].index] += pixels[j].weight;
    for (u32 i = 0; i < layers.count; ++i) {
        if (isNothing(layers.colours[4 * i]))
            continue;
        for (u32 j = 0; j < count; ++j)
            addWeighted(layers.frames[i][pixels[j].index], pixels[j].weight, layers.colours[4 * i]);
    }
}
