#include "core/packetMath.h"
#include "host/znImagePostprocessor.h"
#include "host/znRTColorTransforms.h"
#include "render/copyTasks.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/// Contrast that differs by less than this from the test before has stopped changing.
constexpr float steadyContrast = 1e-7f;

float largestComponent(__m128 v)
{
    alignas(16) float lanes[4];
    _mm_store_ps(lanes, v);
    return std::max(std::max(lanes[0], lanes[1]), std::max(lanes[2], lanes[3]));
}

__m128 toDisplay(__m128 c, const znImagePostprocessor& postProcessor)
{
    c = znRTColorTransforms::applyTonemapper(c, postProcessor);
    c = znRTColorTransforms::applyColorProfile(c, postProcessor.profile);
    return _mm_min_ps(_mm_max_ps(c, _mm_setzero_ps()), _mm_set1_ps(1.0f));
}

/// Largest difference of a channel in the square around (x, y), clipped to the image.
template <class S>
float neighbourhoodContrast(const znRTEdgeDetectionTask<S>& task, int x, int y)
{
    __m128 lowest = _mm_set1_ps(std::numeric_limits<float>::max());
    __m128 highest = _mm_setzero_ps();
    const int x0 = std::max(x - task.radius, 0),
              x1 = std::min(x + task.radius, int(task.width) - 1);
    const int y0 = std::max(y - task.radius, 0);
    const int y1 = std::min(y + task.radius, int(task.height) - 1);
    for (int yj = y0; yj <= y1; ++yj)
        for (int xj = x0; xj <= x1; ++xj) {
            const u64 p = u64(yj) * task.width + u64(xj);
            znFloatType<2> mean(_mm_load_ps(&task.frame[p].r));
            if (task.filterWeights)
                mean *= reciprocalOrZero(znFloatType<2>(task.filterWeights[p]));
            const __m128 v = _mm_max_ps(mean.v, _mm_setzero_ps());
            lowest = _mm_min_ps(lowest, v);
            highest = _mm_max_ps(highest, v);
        }
    if (task.pass < znFirstDataPass) {
        lowest = toDisplay(lowest, *task.postProcessor);
        highest = toDisplay(highest, *task.postProcessor);
    }
    return largestComponent(_mm_max_ps(_mm_sub_ps(highest, lowest), _mm_setzero_ps()));
}

} // namespace

template <class S>
void znRTEdgeDetectionTask<S>::operator()(const znRTCopyRange& range) const
{
    for (unsigned y = range.rows().begin(); y != range.rows().end(); ++y)
        for (unsigned x = range.cols().begin(); x != range.cols().end(); ++x) {
            const u64 i = u64(y) * width + x;
            if (pass == 0 && activePixels[i] == 0)
                continue; // a finished pixel stays finished
            const float contrast = neighbourhoodContrast(*this, int(x), int(y));
            if (pass != 0) {
                activePixels[i] |= contrast >= thresholdLow;
                continue;
            }
            activePixels[i] =
                contrast > thresholdHigh ||
                (contrast > thresholdLow && std::abs(statistics[i] - contrast) > steadyContrast);
            statistics[i] = contrast;
        }
}

template struct znRTEdgeDetectionTask<ZN_RGBA32F>;
