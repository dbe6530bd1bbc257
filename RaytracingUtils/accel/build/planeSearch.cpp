#include "accel/build/planeSearch.h"

#include <algorithm>

znRTSplitPlanes::znRTSplitPlanes(const znRTBuildBox& box) : low(box.low)
{
    const znFloatType<2> extent = box.high - box.low;
    const znFloatType<2> step = extent * znFloatType<2>(0.05882353f); // 1/17
    scale = (extent > znFloatType<2>(0.0f)) & (znFloatType<2>(17.0f) / extent);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (int axis = 0; axis < 3; ++axis) {
        planes[axis][0] = planes[axis][s_count + 1] = nan;
        // In groups of four, each four steps behind the one before: rounding follows these sums.
        const float d = step[axis];
        znFloatType<2> group =
            znFloatType<2>(1.0f, 2.0f, 3.0f, 4.0f) * znFloatType<2>(d) + box.low[axis];
        for (int g = 0; g < s_count / 4; ++g) {
            group.storeUnaligned(planes[axis] + 1 + 4 * g);
            group += znFloatType<2>(4.0f * d);
        }
    }
}

void znRTSplitBins::clear()
{
    std::fill_n(&bounds[0][0][0], sizeof(bounds) / sizeof(float),
                std::numeric_limits<float>::infinity());
    std::fill_n(&counts[0][0], sizeof(counts) / sizeof(u32), 0u);
}

void znRTSplitBins::add(const znRTSplitPlanes& planes, const znRTBuildReference* begin,
                        const znRTBuildReference* end)
{
    const znFloatType<2> sign(-0.0f);
    for (const znRTBuildReference* r = begin; r != end; ++r) {
        const znFloatType<2> low = r->getLow(), negatedHigh = r->getHigh() ^ sign;
        const znFloatType<2> center = r->getCenter();
        alignas(16) int guesses[4];
        alignas(16) float centers[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(guesses), toInt(planes.guess(center)).v);
        center.store(centers);
        // x and y as pairs (low, -high), then z.
        const __m128 xy = _mm_unpacklo_ps(low.v, negatedHigh.v);
        const __m128 z = _mm_unpackhi_ps(low.v, negatedHigh.v);
        const __m128 pairs[3] = {xy, _mm_movehl_ps(xy, xy), z};
        for (int axis = 0; axis < 3; ++axis) {
            const int i = planes.refine(axis, centers[axis], guesses[axis]);
            __m64* const bin = reinterpret_cast<__m64*>(bounds[axis][i]);
            const __m128 held = _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<__m128i*>(bin)));
            _mm_storel_pi(bin, _mm_min_ps(pairs[axis], held));
            ++counts[axis][i];
        }
    }
}

void znRTSplitBins::add(const znRTSplitBins& other)
{
    for (int axis = 0; axis < 3; ++axis)
        for (int i = 0; i < s_count; ++i) {
            for (int side = 0; side < 2; ++side)
                bounds[axis][i][side] =
                    std::min(bounds[axis][i][side], other.bounds[axis][i][side]);
            counts[axis][i] += other.counts[axis][i];
        }
}

void znRTSplitBins::findSplit(const znRTSplitPlanes& planes, const znRTBuildBox& box, u32 count,
                              znRTSplit& split) const
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const znFloatType<2> extents = box.high - box.low;
    const znRTHalfSurface surface(extents);
    for (int axis = 0; axis < 3; ++axis) {
        if (s_degenerateExtent > extents[axis])
            continue;
        const float low = box.low[axis], high = box.high[axis];
        const float sum = surface.sum[axis], product = surface.product[axis];
        float rightLows[s_count];
        float rightLow = infinity;
        for (int i = s_count - 1; i > 0; --i)
            rightLows[i - 1] = rightLow = std::min(rightLow, bounds[axis][i][0]);
        float leftHigh = -infinity;
        u32 left = 0;
        for (int k = 0; k < znRTSplitPlanes::s_count; ++k) {
            left += counts[axis][k];
            leftHigh = std::max(leftHigh, -bounds[axis][k][1]);
            const u32 right = count - left;
            if (left == 0 || right == 0)
                continue;
            const float cost = ((leftHigh - low) * sum + product) * float(left) +
                               ((high - rightLows[k]) * sum + product) * float(right);
            split.improve(cost, planes.getPlane(axis, k), axis);
        }
    }
}
