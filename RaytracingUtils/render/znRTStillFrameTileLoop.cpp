#include "camera/znRTCamera.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "render/multiSampleBlock.h"
#include "render/splatSample.h"
#include "render/znRTTileTraceTask.h"

#include <algorithm>

void znRTStillFrameTileLoop::bind(znRaytracerP& view)
{
    znRTRenderTask::bind(view);
    activePixels = view.m_activePixels;
    filterWeights = view.m_filterWeights;
}

void znRTStillFrameTileLoop::traceTile(const znRTRenderTile& tile)
{
    znRTPacketBlock block;
    const u32 s = u32(std::max(znRTRaytracingSettings::s_stillFrameSupersampling, 1));
    forEachBlock(tile, znBlockSize * s, [&](const znRTPixelRectangle& r) {
        // The lens steps by four times s, so s x s calls cover the block between them.
        u32 sampleOffset = 0;
        for (u32 dy = 0; dy < s; ++dy)
            for (u32 dx = 0; dx < s; ++dx) {
                const int count = camera->trace_eye_rays(
                    r.x0 + dx, r.x1, r.y0 + dy, r.y1, block.rays, block.hits, block.tMin,
                    block.tMax, block.laneMasks, 0, 1, 1.0f, activePixels);
                if (count == 0)
                    continue;
                integrateBlock(block, count, *camera, workingClamp, sampleOffset++);
                accumulate(block, count);
            }
    });
}

void znRTStillFrameTileLoop::accumulate(const znRTPacketBlock& block, int count)
{
    using Settings = znRTRaytracingSettings;
    const znRTSplatTarget splatTarget{target,
                                      filterWeights,
                                      activePixels,
                                      camera->rowStride,
                                      Settings::s_imageLeftBound,
                                      Settings::s_imageRightBound,
                                      Settings::s_imageBottomBound,
                                      Settings::s_imageTopBound};
    const znPixelfilterSampleSet& filter = camera->pixelFilterSet;
    const u64 stride = splatTarget.stride;
    forEachLane(block, count, [&](u32 x, u32 y, const ZN_RGBA32F& colour) {
        const u64 i = y * stride + x;
        if (activePixels[i] == 0)
            return;
        const __m128 sample = _mm_load_ps(&colour.r);
        if (filter.isBox()) {
            float* const pixel = &target[i].r;
            filterWeights[i] += 1.0f;
            _mm_store_ps(pixel, _mm_add_ps(_mm_load_ps(pixel), sample));
        } else {
            splatSample(splatTarget, filter, x, y, sample);
        }
    });
}
