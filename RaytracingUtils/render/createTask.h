#pragma once

// Making the task of an integrator. Included by the source file of each integrator only.

#include "render/integrateBlock.h"
#include "render/pixelFormatDispatch.h"
#include "render/znRTRenderpassesTask.h"
#include "render/znRTTileTraceTask.h"

#include "host/znRTRaytracingSettings.h"

template <class I>
void integrateLayers(znRTMultilayerFragment& fragment, const znRTCamera& camera,
                     znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data, u32 sampleOffset)
{
    I().integrate(fragment, &camera, ray, data, sampleOffset);
}

/// @tparam I  integrator over the fragment with layers
template <class I>
znRTRenderTask* createLayerTask(const znRTRenderTaskKey& key)
{
    if (key.qualityMode == u32(znRTRaytracingSettings::stillFrame))
        return new znRTHQRenderpassesTileTraceTask<ZN_RGBA32F, I>(key);
    return new znRTRenderpassesTileTraceTask<ZN_RGBA32F, I>(key);
}

/// @tparam I  integrator template over the fragment
/// @tparam G  fragment of frames without layers
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

/// The task of a frame with or without layers, as the key says.
template <template <class> class I, class G>
znRTRenderTask* createTask(const znRTRenderTaskKey& key)
{
    return key.passesEnabled ? createLayerTask<I<znRTMultilayerFragment>>(key)
                             : createPlainTask<I, G>(key);
}
