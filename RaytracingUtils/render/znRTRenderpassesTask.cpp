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
void beginFragment(znRTMultilayerFragment& fragment)
{
    fragment.clear();
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

template <class Take>
void znRTLayerTileLoop::traceLayers(const znRTRenderTile& tile, const u8* pixelMask, Take&& take)
{
    znRTPacketBlock block;
    znRTMultilayerFragment empty, fragment;
    beginFragment(empty);
    const bool hasFlares = showsLensFlares();
    forEachBlock(tile, znBlockSize, [&](const znRTPixelRectangle& r) {
        const int count =
            int(camera->trace_eye_rays(r.x0, r.x1, r.y0, r.y1, block.rays, block.hits, block.tMin,
                                       block.tMax, block.laneMasks, 0, 1, 1.0f, pixelMask));
        for (int i = 0; i < count; ++i) {
            znRTRayDifferentialPacket& ray = block.rays.rays[i];
            const znRTHitInfoPacket& hit = block.hits.hits[i];
            if (hit.hitMask == 0) {
                if (hasFlares)
                    showFlares(ray, empty);
                take(znRTLayerPacket{empty, ray, hit, block.laneMasks[i]});
                continue;
            }
            beginFragment(fragment);
            znRTDataBlockPacket data(hit);
            integrateLayers(fragment, *camera, ray, data);
            take(znRTLayerPacket{fragment, ray, hit, block.laneMasks[i]});
        }
    });
}

void znRTRenderpassesTileLoop::traceTile(const znRTRenderTile& tile)
{
    traceLayers(tile, nullptr, [this](const znRTLayerPacket& packet) { layerStore.store(packet); });
}

void znRTHQRenderpassesTileLoop::traceTile(const znRTRenderTile& tile)
{
    traceLayers(tile, activePixels,
                [this](const znRTLayerPacket& packet) { layerStore.accumulate(packet); });
}
