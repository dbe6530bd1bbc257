#pragma once

// Making the task of an integrator. Included by the source file of each integrator only.

#include "render/integrateBlock.h"
#include "render/pixelFormatDispatch.h"
#include "render/znRTTileTraceTask.h"

#include "host/znRTRaytracingSettings.h"

/// @tparam I  integrator template over the fragment
/// @tparam G  fragment
template <template <class> class I, class G>
znRTRenderTask* createPlainTask(const znRTRenderTaskKey& key)
{
    if (key.qualityMode == u32(znRTRaytracingSettings::stillFrame))
        return new znRTHQTileTraceTask<ZN_RGBA32F, I<G>, G>(key);
    if (!key.traceAndCopy)
        return new znRTTileTraceTask<ZN_RGBA32F, I<G>, G>(key);
    return dispatchPixelFormat(key.pixelFormat, [&](auto format) -> znRTRenderTask* {
        using F = typename decltype(format)::type;
        return new znRTTileTraceAndCopyTask<F, I<G>, G>(key);
    });
}

template <template <class> class I, class G>
znRTRenderTask* createTask(const znRTRenderTaskKey& key)
{
    return createPlainTask<I, G>(key);
}
