#pragma once

// The tile tasks that render all layers of a frame at once. As with the plain tasks, the loops
// exist once and the templates only name the integrator.

#include "render/layerStore.h"
#include "render/tileSeams.h"
#include "render/znRTPacketBlock.h"
#include "render/znRTRenderTask.h"

/// Integrates one packet that hit something into a fragment that holds the background.
using znRTIntegrateLayers = void (*)(znRTMultilayerFragment& fragment, const znRTCamera& camera,
                                     znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                     u32 sampleOffset);

/// What both loops share: one sample per pixel and frame, whatever the settings say.
class znRTLayerTileLoop : public znRTRenderTask
{
public:
    znRTLayerTileLoop(const znRTRenderTaskKey& key, znRTIntegrateLayers integrateLayers_)
        : znRTRenderTask(key), integrateLayers(integrateLayers_)
    {
    }
    void bind(znRaytracerP& view) override;

protected:
    /// Traces and integrates a tile block by block.
    /// @param step       pixels between those that one call of the lens visits, over four
    /// @param pixelMask  pixels to trace, or null for all
    /// @param take       called with each packet
    /// @param endBlock   called after the packets of each call of the lens
    template <class Take, class EndBlock>
    void traceLayers(const znRTRenderTile& tile, u32 step, const u8* pixelMask, Take&& take,
                     EndBlock&& endBlock);

    znRTLayerStore layerStore;

private:
    znRTIntegrateLayers integrateLayers;
};

/// Interactive frames: the frame before is overwritten.
class znRTRenderpassesTileLoop : public znRTLayerTileLoop
{
public:
    using znRTLayerTileLoop::znRTLayerTileLoop;
    void traceTile(const znRTRenderTile& tile) override;
};

/// Still frames: each iteration adds filtered samples.
class znRTHQRenderpassesTileLoop : public znRTLayerTileLoop
{
public:
    using znRTLayerTileLoop::znRTLayerTileLoop;
    void traceTile(const znRTRenderTile& tile) override;
    void bind(znRaytracerP& view) override;
    void prepareTiles(znRTRenderTile* tiles, u32 count) override;

private:
    const u8* activePixels = nullptr;
    znRTTileSeams seams;
};

/// Integrates with I; one definition per integrator, see render/createTask.h.
template <class I>
void integrateLayers(znRTMultilayerFragment& fragment, const znRTCamera& camera,
                     znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data, u32 sampleOffset);

template <class F, class I>
class znRTRenderpassesTileTraceTask final : public znRTRenderpassesTileLoop
{
public:
    explicit znRTRenderpassesTileTraceTask(const znRTRenderTaskKey& key)
        : znRTRenderpassesTileLoop(key, &::integrateLayers<I>)
    {
    }
};

template <class F, class I>
class znRTHQRenderpassesTileTraceTask final : public znRTHQRenderpassesTileLoop
{
public:
    explicit znRTHQRenderpassesTileTraceTask(const znRTRenderTaskKey& key)
        : znRTHQRenderpassesTileLoop(key, &::integrateLayers<I>)
    {
    }
};
