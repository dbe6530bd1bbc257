#pragma once

// From integrated packets with layers to the pass buffers of a view: one value per layer and pixel
// in interactive frames, filtered sums in still frames.
//
// A lane's value of a layer is the layer times the lane's coverage, NaN components 0. Layers of
// light are held in [0, clamp]. Depth is stored as 1 at the near clip distance and 0 at the far
// one, linear in the reciprocal of the distance, and only ever grows: cleared buffers hold what
// lies beyond everything. A lane that hit nothing shows the background in the beauty and nothing in
// the other layers.

#include "host/znRenderPasses.h"
#include "render/cryptomatteIds.h"
#include "render/layerSamples.h"
#include "render/renderTiles.h"
#include "render/znRTMultilayerFragment.h"

#include "host/pixelFormats.h"

#include <array>
#include <vector>

class znPixelfilterSampleSet;
class znRTCamera;
class znRTCryptomatte;
class znRaytracerP;

/// Depth as it is stored: scale / distance + bias, for distances up to the far clip distance.
struct znRTDepthRange
{
    float farClip = 0.0f, scale = 0.0f, bias = 0.0f;

    znRTDepthRange() = default;
    znRTDepthRange(float nearClip, float farClip);
    /// NaN gives 0; a distance of 0, which no surface has, comes out negative.
    znFloatType<2> store(const znFloatType<2>& distance) const;
    /// The layer as a cleared buffer holds it afterwards.
    znRTColorPacket storeLayer(const znRTColorPacket& layer) const;
};

/// A packet on its way into the buffers.
struct znRTLayerPacket
{
    const znRTMultilayerFragment& fragment; ///< all layers 0 where nothing was hit
    const znRTRayPacket& ray;
    const znRTHitInfoPacket& hit;
    int lanes; ///< bits of lanes that stand for a pixel
    /// Bits of the layers that hold something: the others are black.
    u64 used = fragment.findUsedLayers();
};

class znRTLayerStore
{
public:
    /// Points at the view's buffers; runs before each frame.
    /// @param sampleClamp  upper limit of layers of light
    void bind(const znRaytracerP& view, const znRTCamera& camera, float sampleClamp);

    /// Asks for the memory of a block's pixels that every packet needs.
    void fetch(const znRTPixelRectangle& r) const;
    /// The same of what packets with hits need besides.
    void fetch(const znRTRayPacket& ray, int lanes) const;
    /// Interactive frames: overwrites all layers of the packet's pixels. Layers that are black and
    /// were black before cost nothing.
    void store(const znRTLayerPacket& packet);
    /// Still frames: takes the samples of a packet for the sums. Layers of data are not filtered
    /// and go to their buffers at once: each pixel keeps the values of its sample next to the
    /// centre, and the nearest depth of all samples.
    /// @param samples  with room for a packet
    void collect(const znRTLayerPacket& packet, znRTLayerSamples& samples);
    /// Adds samples to the layers of light, to the filter weights and to the id mattes, and takes
    /// them from the list. Reaches pixels of neighbouring tiles.
    void accumulate(znRTLayerSamples& samples);

private:
    void addToPixels(const znRTLayerSamples& samples) const;
    void splat(const znRTLayerSamples& samples) const;
    void addToMattes(const znRTLayerSamples& samples) const;
    void keepData(const znRTLayerPacket& packet, int lanes);
    void storeDepth(const znRTLayerPacket& packet, int lanes) const;
    znRTSplatTarget splatTarget() const;
    u64 indexOf(u32 x, u32 y) const { return u64(y) * rowStride + x; }
    u64 indexOf(const znRTLayerPacket& packet, int lane) const
    {
        return indexOf(u32(packet.ray.pixelX[lane]), u32(packet.ray.pixelY[lane]));
    }

    std::array<ZN_RGBA32F*, znRenderPassCount> buffers{};
    u64 stored = 0; ///< bits of layers that are stored as they are: with a buffer, and no depth
    u64 rowStride = 0;
    float clampValue = 0.0f;
    znRTDepthRange depthRange;

    const u8* activePixels = nullptr;
    float* filterWeights = nullptr;
    const znPixelfilterSampleSet* filter = nullptr;
    bool hasLobes = false; ///< some weights of the filter are negative
    znRTCryptomatte* matte = nullptr;
    znRTCryptomatteIds matteIds;

    /// Interactive frames, by pixel: bits of layers in which something but black may stand.
    std::vector<u64> shownLayers;

    float sampleDistance = 0.0f; ///< of this frame's samples from the pixel centre, squared
    /// The same of the sample whose data each pixel holds.
    std::vector<float> keptDistances;
    bool beganCleared = false; ///< pixels without a sample hold black in the layers of data
};
