#pragma once

// Bodies of the copy tasks. Included by the source file of each output format only; everybody else
// uses the instantiations.

#include "core/packetMath.h"
#include "host/znImagePostprocessor.h"
#include "host/znRTColorTransforms.h"
#include "host/znRTCryptomatte.h"
#include "render/copyTasks.h"
#include "render/pixelStore.h"
#include "render/znRTTileTraceTask.h"

#include <type_traits>

/// Calls f for each output pixel of the range with its place in the output and in the source, or
/// writes 0 where it lies outside the source.
template <class Task, class Function>
void forEachCopiedPixel(const Task& task, const znRTCopyRange& range, Function&& f)
{
    for (unsigned row = range.rows().begin(); row != range.rows().end(); ++row)
        for (unsigned column = range.cols().begin(); column != range.cols().end(); ++column) {
            const int x = task.rectangle.x0 + int(column), y = task.rectangle.y0 + int(row);
            auto& out = task.destination[u64(row) * task.rectangle.width + column];
            if (x < 0 || y < 0 || x >= int(task.width) || y >= int(task.height))
                store(out, _mm_setzero_ps());
            else
                f(out, u64(y) * task.width + u64(x), x, y);
        }
}

/// Sum over weight, 0 without weight.
inline __m128 normalizeSample(__m128 sum, float weight)
{
    return (znFloatType<2>(sum) * reciprocalOrZero(znFloatType<2>(weight))).v;
}

template <class S, class P>
void znRTCopyTask<S, P>::operator()(const znRTCopyRange& range) const
{
    forEachCopiedPixel(*this, range, [this](P& out, u64 index, int x, int y) {
        const __m128 c = _mm_load_ps(&source[index].r);
        store(out, pipeline.applyProfile(pipeline.finish(c, x, y, false)));
    });
}

template <class S, class P>
void znRTHQAdaptiveCopyTask<S, P>::operator()(const znRTCopyRange& range) const
{
    forEachCopiedPixel(*this, range, [this](P& out, u64 index, int x, int y) {
        const __m128 c = normalizeSample(_mm_load_ps(&this->source[index].r), filterWeights[index]);
        const __m128 finished = this->pipeline.finish(c, x, y, false);
        if constexpr (std::is_same_v<P, ZN_RGBA32F>)
            store(out, finished);
        else
            store(out, this->pipeline.applyProfile(finished));
    });
}

/// A data layer as its format can hold it: floats as they are, bytes compressed to 0..1.
template <class P>
__m128 finishDataPass(__m128 c, u32 pass, float nearClip, float farClip)
{
    constexpr bool isFloat = std::is_same_v<P, ZN_RGBA32F> || std::is_same_v<P, ZN_RGB32F> ||
                             std::is_same_v<P, ZN_RGBA16F>;
    if constexpr (!isFloat) {
        if (pass == znNormalPass)
            return znRTColorTransforms::applyNormalCompression(c);
        if (pass == znDepthPass)
            return znRTColorTransforms::applyZDepthHandling(c, nearClip, farClip);
    }
    return c;
}

template <class S, class P>
void znRTRenderpassesCopyTask<S, P>::operator()(const znRTCopyRange& range) const
{
    const u32 pass = this->pass;
    forEachCopiedPixel(*this, range, [this, pass](P& out, u64 index, int x, int y) {
        if (pass >= znFirstCryptomattePass && pass <= znLastCryptomattePass) {
            const float scale = this->pipeline.pixelScale;
            const int xm = int((float(x) + 0.5f) * scale), ym = int((float(y) + 0.5f) * scale);
            const ZN_RGBA32F layer =
                cryptomatte ? cryptomatte->getLayer(xm, ym, int(pass - znFirstCryptomattePass))
                            : ZN_RGBA32F{0, 0, 0, 0};
            store(out, _mm_load_ps(&layer.r));
            return;
        }
        const __m128 c = _mm_load_ps(&this->source[index].r);
        store(out, pass < znFirstDataPass
                       ? this->pipeline.applyProfile(this->pipeline.finish(c, x, y, false))
                       : finishDataPass<P>(c, pass, nearClip, farClip));
    });
}

template <class S, class P>
void znRTHQRenderpassesCopyTask<S, P>::operator()(const znRTCopyRange& range) const
{
    const u32 pass = this->pass;
    if (pass > znFirstDataPass) {
        znRTRenderpassesCopyTask<S, P>::operator()(range);
        return;
    }
    forEachCopiedPixel(*this, range, [this, pass](P& out, u64 index, int x, int y) {
        const __m128 c = normalizeSample(_mm_load_ps(&this->source[index].r), filterWeights[index]);
        if (pass == znFirstDataPass)
            store(out, c);
        else if constexpr (std::is_same_v<P, ZN_RGBA32F>)
            store(out, this->pipeline.finish(c, x, y, false));
        else
            store(out, this->pipeline.applyProfile(this->pipeline.finish(c, x, y, false)));
    });
}

template <class F>
void storePixel(void* output, u64 index, __m128 colour)
{
    store(static_cast<F*>(output)[index], colour);
}

/// Everything that one output format needs.
#define ZN_INSTANTIATE_FORMAT(P)                                                                   \
    template struct znRTCopyTask<ZN_RGBA32F, P>;                                                   \
    template struct znRTHQAdaptiveCopyTask<ZN_RGBA32F, P>;                                         \
    template struct znRTRenderpassesCopyTask<ZN_RGBA32F, P>;                                       \
    template struct znRTHQRenderpassesCopyTask<ZN_RGBA32F, P>;                                     \
    template void storePixel<P>(void*, u64, __m128);
