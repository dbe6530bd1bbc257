#include "render/znRTRenderpassesTask.h"

#include "camera/znRTCamera.h"
#include "host/znRaytracerP.h"
#include "render/lensFlares.h"
#include "render/multiSampleBlock.h"
#include "render/znRTRenderUtils.h"

void znRTLayerTileLoop::bind(znRaytracerP& view)
{
    znRTRenderTask::bind(view);
    layerStore.bind(view, *camera, workingClamp);
}

void znRTHQRenderpassesTileLoop::bind(znRaytracerP& view)
{
    znRTLayerTileLoop::bind(view);
    activePixels = view.m_activePixels;
}

namespace {

/// A fragment as an integrator wants it: the background in the beauty, nothing in the layers.
/// @param usedLayers  those that may hold something from the packet before
void beginFragment(znRTMultilayerFragment& fragment, u64 usedLayers)
{
    fragment.clear(usedLayers);
    fragment.colour = fragment.layers[ZN_PASS_BEAUTY] = znRTRenderUtils::s_backgroundColor;
    fragment.coverage = znFloatType<2>(0.0f);
}

/// Flares over a packet that hit nothing: what the integrator does over surfaces.
void showFlares(const znRTRayPacket& ray, znRTMultilayerFragment& fragment)
{
    const znRTColorPacket& background = znRTRenderUtils::s_backgroundColor;
    fragment.colour = background;
    addLensFlares(ray, fragment.colour);
    fragment.layers[ZN_PASS_BEAUTY] = fragment.colour;
}

} // namespace

template <class Take, class EndBlock>
void znRTLayerTileLoop::traceLayers(const znRTRenderTile& tile, u32 step, const u8* pixelMask,
                                    Take&& take, EndBlock&& endBlock)
{
    znRTPacketBlock block;
    constexpr u64 allLayers = (u64(1) << znRenderPassCount) - 1;
    znRTMultilayerFragment empty, fragment;
    beginFragment(empty, allLayers);
    const bool hasFlares = showsLensFlares();
    const u64 usedInEmpty = hasFlares ? u64(1) << ZN_PASS_BEAUTY : empty.findUsedLayers();
    u64 used = allLayers;
    const auto integratePacket = [&](int i, u32 sampleOffset) {
        znRTRayDifferentialPacket& ray = block.rays.rays[i];
        const znRTHitInfoPacket& hit = block.hits.hits[i];
        if (hit.hitMask == 0) {
            if (hasFlares)
                showFlares(ray, empty);
            take(znRTLayerPacket{empty, ray, hit, block.laneMasks[i], usedInEmpty});
            return;
        }
        beginFragment(fragment, used);
        znRTDataBlockPacket data(hit);
        integrateLayers(fragment, *camera, ray, data, sampleOffset);
        used = fragment.findUsedLayers();
        take(znRTLayerPacket{fragment, ray, hit, block.laneMasks[i], used});
    };
    forEachBlock(tile, znBlockSize * step, [&](const znRTPixelRectangle& r) {
        layerStore.fetch(r);
        u32 sampleOffset = 0;
        for (u32 dy = 0; dy < step; ++dy)
            for (u32 dx = 0; dx < step; ++dx) {
                const int count = int(camera->trace_eye_rays(
                    r.x0 + dx, r.x1, r.y0 + dy, r.y1, block.rays, block.hits, block.tMin,
                    block.tMax, block.laneMasks, 0, 1, 1.0f, pixelMask));
                for (int i = 0; i < count; ++i)
                    if (block.hits.hits[i].hitMask)
                        layerStore.fetch(block.rays.rays[i], block.laneMasks[i]);
                for (int i = 0; i < count; ++i)
                    integratePacket(i, sampleOffset);
                if (count > 0)
                    endBlock();
                sampleOffset += count > 0;
            }
    });
}

void znRTRenderpassesTileLoop::traceTile(const znRTRenderTile& tile)
{
    traceLayers(
        tile, 1, nullptr, [this](const znRTLayerPacket& packet) { layerStore.store(packet); },
        [] {});
}

void znRTHQRenderpassesTileLoop::prepareTiles(znRTRenderTile* tiles, u32 count)
{
    arrangeTiles(seams, camera->pixelFilterSet, tiles, count);
}

void znRTHQRenderpassesTileLoop::traceTile(const znRTRenderTile& tile)
{
    // The lens steps over the pixels between its samples whatever is rendered, so that a single
    // call per block would leave most of them out.
    const u32 step = u32(std::max(znRTRaytracingSettings::s_stillFrameSupersampling, 1));
    znRTTileSeams::Turn turn(seams, tile);
    znRTLayerSamples samples;
    const auto accumulate = [&] {
        turn.await();
        layerStore.accumulate(samples);
    };
    traceLayers(
        tile, step, activePixels,
        [&](const znRTLayerPacket& packet) {
            if (!samples.hasRoomForPacket())
                accumulate();
            layerStore.collect(packet, samples);
        },
        accumulate);
}
