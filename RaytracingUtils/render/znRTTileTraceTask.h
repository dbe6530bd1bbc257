#pragma once

// The tile tasks. The loops over a tile exist once, in the three loop classes; the templates over
// format, integrator and fragment only say which integrator the loops call per block and in which
// format a finished pixel is stored.

#include "host/znImagePostprocessor.h"
#include "render/tileSeams.h"
#include "render/znRTPacketBlock.h"
#include "render/znRTRenderTask.h"

/// Interactive frames: one sample, or the mean of a few, per pixel; the frame before is
/// overwritten.
class znRTInteractiveTileLoop : public znRTRenderTask
{
public:
    znRTInteractiveTileLoop(const znRTRenderTaskKey& key, znRTIntegrateBlock integrateBlock_)
        : znRTRenderTask(key), integrateBlock(integrateBlock_)
    {
    }
    void traceTile(const znRTRenderTile& tile) override;

protected:
    void traceSingleSample(const znRTRenderTile& tile, znRTPacketBlock& block);
    void traceMultiSample(const znRTRenderTile& tile, znRTPacketBlock& block, int samples);

    znRTIntegrateBlock integrateBlock;
};

/// Interactive frames whose pixels are finished (tonemapped, composed, converted) in the tile.
class znRTTraceAndCopyTileLoop : public znRTRenderTask
{
public:
    /// Stores one finished pixel into the output, which is dense over the grid rectangle.
    using StorePixel = void (*)(void* output, u64 index, __m128 colour);

    znRTTraceAndCopyTileLoop(const znRTRenderTaskKey& key, znRTIntegrateBlock integrateBlock_,
                             StorePixel storePixel_)
        : znRTRenderTask(key), integrateBlock(integrateBlock_), storePixel(storePixel_)
    {
    }
    void traceTile(const znRTRenderTile& tile) override;
    void bind(znRaytracerP& view) override;

private:
    znRTIntegrateBlock integrateBlock;
    StorePixel storePixel;
    // What was in force when the frame began.
    znImagePostprocessor postProcessor;
    u32 finishFlags = 0; ///< copyFlags without the steps that the switches leave out
};

/// Still frames: each iteration adds filtered samples to the frame and to the filter weights.
class znRTStillFrameTileLoop : public znRTRenderTask
{
public:
    znRTStillFrameTileLoop(const znRTRenderTaskKey& key, znRTIntegrateBlock integrateBlock_)
        : znRTRenderTask(key), integrateBlock(integrateBlock_)
    {
    }
    void traceTile(const znRTRenderTile& tile) override;
    void bind(znRaytracerP& view) override;
    void prepareTiles(znRTRenderTile* tiles, u32 count) override;

private:
    /// Adds the samples of a block to the frame.
    void accumulate(const znRTPacketBlock& block, int count);
    void addToPixels(const znRTPacketBlock& block, int count);
    void splat(const znRTPacketBlock& block, int count);

    znRTIntegrateBlock integrateBlock;
    const u8* activePixels = nullptr;
    float* filterWeights = nullptr;
    bool hasLobes = false; ///< some weights of the filter are negative
    znRTTileSeams seams;
};

/// Integrates a block with integrator I and fragment G; one definition per pair, see
/// render/integrateBlock.h.
template <class I, class G>
void integrateBlock(znRTPacketBlock& block, int count, const znRTCamera& camera, float sampleClamp,
                    u32 sampleOffset);

/// Stores in format F; one definition per format, see render/pixelStore.h.
template <class F>
void storePixel(void* output, u64 index, __m128 colour);

template <class F, class I, class G>
class znRTTileTraceTask final : public znRTInteractiveTileLoop
{
public:
    explicit znRTTileTraceTask(const znRTRenderTaskKey& key)
        : znRTInteractiveTileLoop(key, &::integrateBlock<I, G>)
    {
    }
};

template <class F, class I, class G>
class znRTTileTraceAndCopyTask final : public znRTTraceAndCopyTileLoop
{
public:
    explicit znRTTileTraceAndCopyTask(const znRTRenderTaskKey& key)
        : znRTTraceAndCopyTileLoop(key, &::integrateBlock<I, G>, &::storePixel<F>)
    {
    }
};

template <class F, class I, class G>
class znRTHQTileTraceTask final : public znRTStillFrameTileLoop
{
public:
    explicit znRTHQTileTraceTask(const znRTRenderTaskKey& key)
        : znRTStillFrameTileLoop(key, &::integrateBlock<I, G>)
    {
    }
};
