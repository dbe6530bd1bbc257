#pragma once

// The copy stage: what happens to a linear frame on its way to the host's pixels. The tasks are
// bodies of tbb::parallel_for over rows and columns of the output.

#include "host/pixelFormats.h"

#include <tbb/blocked_range2d.h>

class znImagePostprocessor;
class znRTCamera;
class znRTCryptomatte;
class znRaytracerP;

/// Steps of the copy.
enum znRTCopyFlag : u32 {
    ZN_COPY_COLOR_PROFILE = 2,
    ZN_COPY_TONEMAP = 4,
    ZN_COPY_KEEP_ALPHA = 8, ///< un-premultiply the colour, show no backplate
    ZN_COPY_COLOR_CORRECTION = 16,
    ZN_COPY_BACKPLATES = 32,
    ZN_COPY_FRONTPLATES = 128
};

/// A frame for a screen: everything but keeping alpha.
constexpr u32 znDisplayCopyFlags = 182;
/// A frame with straight alpha.
constexpr u32 znAlphaCopyFlags = 190;

/// Clears the flags that the current switches (tonemapping, correction, plates) do not allow.
u32 maskCopyFlags(u32 copyFlags);

/// The rectangle of the source that is wanted, and how the output lies.
struct znRTCopyRectangle
{
    u32 x0 = 0, y0 = 0; ///< lower left pixel of the source
    u32 width = 0, height = 0;
};

/// What every copy needs to know of a pixel's way.
struct znRTPixelPipeline
{
    const znImagePostprocessor* postProcessor = nullptr;
    const znRTCamera* camera = nullptr; ///< null: no fragment shader
    u32 copyFlags = 0;                  ///< already masked, see maskCopyFlags

    /// White balance to frontplate, in this order; the colour profile is a step of its own.
    /// @param clampBeforePlates  true in tiles of interactive frames: negative values are cut
    /// before
    ///                           plates are composed, else after
    __m128 finish(__m128 colour, int x, int y, bool clampBeforePlates) const;
    __m128 applyProfile(__m128 colour) const;
};

/// Interactive copy of one buffer. S is the format of the source, P that of the output.
template <class S, class P>
struct znRTCopyTask
{
    const S* source = nullptr;
    P* destination = nullptr;
    znRTPixelPipeline pipeline;
    znRTCopyRectangle rectangle;
    u32 width = 0;                         ///< row stride of the source, pixels
    u32 sourceWidth = 0, sourceHeight = 0; ///< pixels outside are written as 0
    u32 outputStride = 0;                  ///< row stride of the output, pixels
    u32 pass = 0;
    void operator()(const tbb::blocked_range2d<unsigned, unsigned>& range) const;
};

/// Still-frame copy: sums become means by the filter weights.
template <class S, class P>
struct znRTHQAdaptiveCopyTask : znRTCopyTask<S, P>
{
    const float* filterWeights = nullptr;
    void operator()(const tbb::blocked_range2d<unsigned, unsigned>& range) const;
};

/// Interactive copy of a layer; cryptomatte layers are read from their own store.
template <class S, class P>
struct znRTRenderpassesCopyTask : znRTCopyTask<S, P>
{
    const znRTCryptomatte* cryptomatte = nullptr;
    float nearClip = 0.0f, farClip = 1.0f;
    void operator()(const tbb::blocked_range2d<unsigned, unsigned>& range) const;
};

/// Still-frame copy of a layer; data layers (normals, depth, ids) are not divided by weights.
template <class S, class P>
struct znRTHQRenderpassesCopyTask : znRTRenderpassesCopyTask<S, P>
{
    const float* filterWeights = nullptr;
    void operator()(const tbb::blocked_range2d<unsigned, unsigned>& range) const;
};

/// The adaptive test: a pixel is finished when the contrast of its neighbourhood is low and has
/// stopped changing.
template <class S>
struct znRTEdgeDetectionTask
{
    const S* frame = nullptr;
    const float* filterWeights = nullptr;
    u8* activePixels = nullptr;
    float* statistics = nullptr; ///< contrast of each pixel at the test before
    const znImagePostprocessor* postProcessor = nullptr;
    u32 width = 0, height = 0;
    int radius = 1;
    float thresholdLow = 0.0f, thresholdHigh = 0.0f;
    u32 pass = 0;
    void operator()(const tbb::blocked_range2d<unsigned, unsigned>& range) const;
};
