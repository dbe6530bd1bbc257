#include "camera/znRTCamera.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "render/lensFlares.h"
#include "render/multiSampleBlock.h"
#include "render/splatSample.h"
#include "render/znRTRenderUtils.h"
#include "render/znRTTileTraceTask.h"

#include <algorithm>
#include <bit>

void znRTStillFrameTileLoop::bind(znRaytracerP& view)
{
    znRTRenderTask::bind(view);
    activePixels = view.m_activePixels;
    filterWeights = view.m_filterWeights;
    hasLobes = hasNegativeWeight(camera->pixelFilterSet);
}

void znRTStillFrameTileLoop::prepareTiles(znRTRenderTile* tiles, u32 count)
{
    arrangeTiles(seams, camera->pixelFilterSet, tiles, count);
}

namespace {

/// Whether samples change the frame: most pictures stand before nothing, and the memory of what
/// shows nothing need not come near.
bool showsAnything(const znRTPacketBlock& block, int count)
{
    const znRTColorPacket& background = znRTRenderUtils::s_backgroundColor;
    if (anyLane(background.r != 0.0f) || anyLane(background.g != 0.0f) ||
        anyLane(background.b != 0.0f) || anyLane(background.a != 0.0f) || showsLensFlares())
        return true;
    unsigned hits = 0;
    for (int i = 0; i < count; ++i)
        hits |= block.hits.hits[i].hitMask;
    return hits != 0;
}

} // namespace

void znRTStillFrameTileLoop::traceTile(const znRTRenderTile& tile)
{
    znRTPacketBlock block;
    znRTTileSeams::Turn turn(seams, tile);
    const u32 s = u32(std::max(znRTRaytracingSettings::s_stillFrameSupersampling, 1));
    forEachBlock(tile, znBlockSize * s, [&](const znRTPixelRectangle& r) {
        fetchPixels(filterWeights, camera->rowStride, r);
        // The lens steps by four times s, so s x s calls cover the block between them.
        u32 sampleOffset = 0;
        for (u32 dy = 0; dy < s; ++dy)
            for (u32 dx = 0; dx < s; ++dx) {
                const int count = camera->trace_eye_rays(
                    r.x0 + dx, r.x1, r.y0 + dy, r.y1, block.rays, block.hits, block.tMin,
                    block.tMax, block.laneMasks, 0, 1, 1.0f, activePixels);
                if (count == 0)
                    continue;
                if (showsAnything(block, count))
                    fetchPixels(target, camera->rowStride, r);
                integrateBlock(block, count, *camera, workingClamp, sampleOffset++);
                turn.await();
                accumulate(block, count);
            }
    });
}

void znRTStillFrameTileLoop::accumulate(const znRTPacketBlock& block, int count)
{
    if (camera->pixelFilterSet.isBox())
        addToPixels(block, count);
    else
        splat(block, count);
}

void znRTStillFrameTileLoop::addToPixels(const znRTPacketBlock& block, int count)
{
    // In locals: stores of floats could change members as far as the compiler knows.
    ZN_RGBA32F* const frame = target;
    float* const weights = filterWeights;
    const u64 stride = camera->rowStride;
    for (int i = 0; i < count; ++i) {
        const znRTRayPacket& ray = block.rays.rays[i];
        __m128 samples[4];
        for (int lane = 0; lane < 4; ++lane)
            samples[lane] = _mm_load_ps(&block.colours[4 * i + lane].r);
        const bool areNothing = isNothing(
            _mm_or_ps(_mm_or_ps(samples[0], samples[1]), _mm_or_ps(samples[2], samples[3])));
        // Finished pixels have no lane: the lens leaves them out.
        for (unsigned lanes = unsigned(block.laneMasks[i]); lanes; lanes &= lanes - 1) {
            const int lane = std::countr_zero(lanes);
            const u64 place = u32(ray.pixelY[lane]) * stride + u32(ray.pixelX[lane]);
            weights[place] += 1.0f;
            if (areNothing)
                continue;
            float* const pixel = &frame[place].r;
            _mm_store_ps(pixel, _mm_add_ps(_mm_load_ps(pixel), samples[lane]));
        }
    }
}

void znRTStillFrameTileLoop::splat(const znRTPacketBlock& block, int count)
{
    using Settings = znRTRaytracingSettings;
    const znRTSplatTarget splatTarget{target,
                                      filterWeights,
                                      activePixels,
                                      camera->rowStride,
                                      Settings::s_imageLeftBound,
                                      Settings::s_imageRightBound,
                                      Settings::s_imageBottomBound,
                                      Settings::s_imageTopBound,
                                      hasLobes};
    const znPixelfilterSampleSet& filter = camera->pixelFilterSet;
    forEachLane(block, count, [&](u32 x, u32 y, const ZN_RGBA32F& colour) {
        if (activePixels[y * u64(splatTarget.stride) + x] != 0)
            splatSample(splatTarget, filter, x, y, _mm_load_ps(&colour.r));
    });
}
