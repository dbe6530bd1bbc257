#include "camera/znRTCamera.h"
#include "host/znRTRaytracingSettings.h"
#include "render/multiSampleBlock.h"
#include "render/znRTTileTraceTask.h"

#include <algorithm>

void znRTInteractiveTileLoop::traceTile(const znRTRenderTile& tile)
{
    znRTPacketBlock block;
    const int samples = interactiveSamples();
    if (samples < 2)
        traceSingleSample(tile, block);
    else
        traceMultiSample(tile, block, samples);
}

void znRTInteractiveTileLoop::traceSingleSample(const znRTRenderTile& tile, znRTPacketBlock& block)
{
    ZN_RGBA32F* const frame = static_cast<ZN_RGBA32F*>(pixelTarget);
    const u64 stride = camera->rowStride;
    forEachBlock(tile, znBlockSize, [&](const znRTPixelRectangle& r) {
        fetchPixels(frame, stride, r);
        const int count =
            camera->trace_eye_rays(r.x0, r.x1, r.y0, r.y1, block.rays, block.hits, block.tMin,
                                   block.tMax, block.laneMasks, 0, 1, 1.0f, nullptr);
        if (count == 0)
            return;
        integrateBlock(block, count, *camera, workingClamp, 0);
        forEachLane(block, count, [&](u32 x, u32 y, const ZN_RGBA32F& colour) {
            frame[y * stride + x] = colour;
        });
    });
}

void znRTInteractiveTileLoop::traceMultiSample(const znRTRenderTile& tile, znRTPacketBlock& block,
                                               int samples)
{
    ZN_RGBA32F* const frame = static_cast<ZN_RGBA32F*>(pixelTarget);
    const u64 stride = camera->rowStride;
    znRTMultiSampleBlock slots;
    forEachBlock(tile, znBlockSize, [&](const znRTPixelRectangle& r) {
        slots.trace(block, r, *camera, workingClamp, samples, integrateBlock);
        slots.forEachPixel(r, [&](u32 x, u32 y, __m128 colour) {
            _mm_storeu_ps(&frame[y * stride + x].r, colour);
        });
    });
}
