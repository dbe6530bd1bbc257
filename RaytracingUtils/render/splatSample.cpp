#include "render/splatSample.h"

#include <algorithm>
#include <emmintrin.h>

// Out of line under its own name, so that a race detector can be told about it and nothing else.
__attribute__((noinline)) void splatSample(const znRTSplatTarget& target,
                                           const znPixelfilterSampleSet& filter, u32 x, u32 y,
                                           __m128 colour)
{
    const int x0 = std::max(int(x) + filter.minX, int(target.left));
    const int x1 = std::min(int(x) + filter.maxX, int(target.right) - 1);
    const int y0 = std::max(int(y) + filter.minY, int(target.bottom));
    const int y1 = std::min(int(y) + filter.maxY, int(target.top) - 1);
    for (int yj = y0; yj <= y1; ++yj)
        for (int xj = x0; xj <= x1; ++xj) {
            const u64 j = u64(yj) * target.stride + u64(xj);
            const float weight = filter.getWeight(xj - int(x), yj - int(y));
            if (weight <= 0.0f && target.activePixels[j] == 0)
                continue;
            float* const pixel = &target.frame[j].r;
            target.filterWeights[j] += weight;
            _mm_store_ps(pixel,
                         _mm_add_ps(_mm_load_ps(pixel), _mm_mul_ps(_mm_set1_ps(weight), colour)));
        }
}
