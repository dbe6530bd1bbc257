// Where shading queues the samples of lights of a packet: arrays of the calling thread, so that
// frames allocate only until the largest packet has been met.

#include "material/lightSample.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

tbb::enumerable_thread_specific<znDynArray<LightEvalSample>>
    znRTRenderUtils::s_lightEvaluationCache;
tbb::enumerable_thread_specific<znDynArray<znFloatType<2>>> znRTRenderUtils::s_lightWeightCache;

void znRTRenderUtils::getLightEvaluationCache(int n, LightEvalSample*& samples,
                                              znFloatType<2>*& weights, int& capacity)
{
    znDynArray<LightEvalSample>& queue = s_lightEvaluationCache.local();
    znDynArray<znFloatType<2>>& factors = s_lightWeightCache.local();
    const u64 needed = u64(std::max(n, 1));
    if (queue.capacity < needed || factors.capacity < needed) {
        queue.reserve(2 * needed, true);
        factors.reserve(2 * needed, true);
    }
    samples = queue.data;
    weights = factors.data;
    capacity = int(std::min(queue.capacity, factors.capacity));
}

void znRTRenderUtils::clearLightEvaluationCache()
{
    s_lightEvaluationCache.clear();
    s_lightWeightCache.clear();
}
