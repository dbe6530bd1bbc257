#pragma once

// The record of one view. The host allocates it, fills in sizes and buffers and frees it; the ray
// tracer keeps tiles, tasks and its output block in it. One thread drives a view, and two views
// never trace at the same time: the render state behind them is process-wide.
//
// Row 0 of every image is its bottom row.

#include "host/osg/FCPtr.h"
#include "host/pixelFormats.h"
#include "host/znBuffer.h"
#include "host/znRTRenderTile.h"
#include "host/znRenderPasses.h"
#include "host/znTexture.h"

#include <array>
#include <vector>

class znDenoiseFilter;
class znRTCryptomatte;
class znRTRenderTask;
class znRTRootTask;
class znRTTaskContext;

/// What the scene holds, written by updateScene.
struct znRTSceneStatistics
{
    float intersectorMemory = 0.0f; ///< MB (2^20 bytes)
    float geometryMemory = 0.0f;    ///< MB
    u64 primitives = 0;
    u64 objects = 0;
    u64 spare = 0;
    u64 lights = 0;
    u64 materials = 0;
    u64 nodes = 0;
};

class znRaytracerP
{
public:
    /// States of m_iteration before the first accumulation pass.
    static constexpr u32 preparatoryPass = 0xffffff;
    static constexpr u32 waitingPass = 0xfffffe;

    u32 m_outputWidth = 0, m_outputHeight = 0;       ///< host: image wanted from getFrame, pixels
    u64 m_fullImageWidth = 0, m_fullImageHeight = 0; ///< core: whole image; this view is a part
    /// core: left, right, bottom, top of this view in the full image, 0..1
    std::array<float, 4> m_viewBounds{0.0f, 1.0f, 0.0f, 1.0f};

    znBuffer m_pixelBuffer;  ///< host: unpack buffer through which a direct frame is displayed
    znBuffer m_pixelBuffer2; ///< host
    znTexture m_frameTexture;
    u32 m_frameTextureTarget = 0x0DE1; ///< GL_TEXTURE_2D
    u32 m_pixelBufferSize = 0;         ///< host: bytes, 16 per render pixel

    /// host: two frames for post-processes, or null
    std::array<ZN_RGBA32F*, 2> m_postProcessBuffers{};
    float* m_sampleStatistics = nullptr; ///< host allocates: one per render pixel, still frames
    /// host: render size each; 0 always, 1 to 42 only where rendered, else null
    std::array<ZN_RGBA32F*, znRenderPassCount> m_passBuffers{};
    u8* m_activePixels = nullptr;     ///< host allocates: 1 = the pixel still takes samples
    float* m_filterWeights = nullptr; ///< host allocates: sums of pixel filter weights

    std::vector<znRTRenderTile> m_copyTiles;   ///< core: what a sub frame copies out
    std::vector<znRTRenderTile> m_allTiles;    ///< core: spiral order at first, then by time
    std::vector<znRTRenderTile> m_activeTiles; ///< core: tiles of the render region
    znRTTileQueue m_tileQueue;                 ///< core

    znRTRenderTask* m_renderTask = nullptr; ///< core, owned: the task of the current configuration
    znRTRootTask* m_traceRootTask = nullptr;
    znRTRootTask* m_photonTraceTask = nullptr;
    znRTRootTask* m_relaxPhotonsTask = nullptr;
    znRTRootTask* m_relaxRadiancePhotonsTask = nullptr;
    znRTRootTask* m_radiancePreprocessTask = nullptr;
    znRTRootTask* m_calcPhotonRadiusTask = nullptr;
    znRTRootTask* m_calcRadiancePhotonRadiusTask = nullptr;

    znDenoiseFilter* m_denoiseFilter = nullptr; ///< host: null = off
    znRTTaskContext* m_taskContext = nullptr;   ///< core, owned: what all root tasks run under

    /// Output of getFrame. The core grows it (zn_aligned_realloc, 16), the host frees it.
    void* m_frameOutput = nullptr;
    u64 m_frameOutputSize = 0; ///< capacity in bytes

    u32 m_currentPass = 0;                     ///< host: 0 = beauty, 1 to 42 = show this layer
    u8 m_renderPassesEnabled = 0;              ///< host: render all layers at once
    u8 m_traceAndCopy = 0;                     ///< host: the tile task writes finished pixels
    u32 m_renderWidth = 0, m_renderHeight = 0; ///< host: size of frame buffers and tile grid
    u32 m_outputMode = 0; ///< host: 6 lifts the sample clamp; 7 also measures illuminance
    /// core: normalised x0, y0, x1, y1
    std::array<float, 4> m_renderRegion{0.0f, 0.0f, 1.0f, 1.0f};
    u8 m_hasRenderRegion = 0;       ///< core: the region is smaller than the image
    u8 m_regionActive = 0;          ///< host: the region restricts this frame
    u8 m_forceSoftwareCopy = 0;     ///< host: no direct path to the display
    u32 m_renderMode = 0;           ///< host: which integrator, see znRTIntegratorTable
    u32 m_continueAccumulation = 0; ///< host: iteration 0 keeps the still-frame buffers
    u32 m_photonMapDirty = 0;       ///< host sets, core clears
    u32 m_iteration = 0;            ///< host: accumulation pass, or preparatoryPass
    u32 m_iterationCount = 0;       ///< host: last planned iteration plus one

    const u8* m_noDisplayUpload = nullptr; ///< host: a non-zero byte keeps the texture as it is
    /// host: true stops the frame. Asked on the tracing thread at most every 0.4 s.
    bool (*m_abortCallback)(void*) = nullptr;
    void* m_abortData = nullptr;

    znRTSceneStatistics m_statistics;
    /// host creates: scratch for frames whose output size is not the render size
    osg::ImagePtr m_scaleImage, m_scaleImage2;
    float m_renderScale = 1.0f;               ///< host: render size over requested size
    znRTCryptomatte* m_cryptomatte = nullptr; ///< host: null = off
};
