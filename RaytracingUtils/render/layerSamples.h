#pragma once

// Samples of a block between shading and the sums of a still frame. Frames with layers have dozens
// of buffers, far apart in memory; sample by sample each would be visited for a pixel or two. So
// samples are collected by layer, and each buffer is visited once per block.

#include "host/pixelFormats.h"
#include "host/znRenderPasses.h"
#include "render/splatSample.h"

#include <emmintrin.h>

/// Layers that a pixel filter blends: light and occlusion.
constexpr u32 znFilteredLayers = ZN_PASS_OCCLUSION + 1;

/// What the samples of one call of the lens bring to the layers. It stands on the worker's stack.
struct alignas(64) znRTLayerSamples
{
    /// Of a still frame's block: a packet per cell of 4 x 4 pixels.
    static constexpr u32 limit = 64;

    /// A sample's pixel, and the numbers of what it hit.
    struct Sample
    {
        u32 x, y;
        u32 objectId, materialId;
    };

    bool hasRoomForPacket() const { return count + 4 <= limit; }
    /// Adds a sample's value of a layer; black changes nothing.
    void add(u32 layer, u32 sample, __m128 value)
    {
        if (isNothing(value))
            return;
        u8& size = sizes[layer];
        values[layer][size] = value;
        owners[layer][size++] = u8(sample);
    }
    void clear()
    {
        count = 0;
        for (u8& size : sizes)
            size = 0;
    }

    u32 count = 0;
    Sample samples[limit];
    u8 sizes[znFilteredLayers] = {};        ///< by layer: samples that bring something
    u8 owners[znFilteredLayers][limit];     ///< which ones
    __m128 values[znFilteredLayers][limit]; ///< what they bring
};
