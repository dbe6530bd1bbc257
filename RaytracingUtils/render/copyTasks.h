#pragma once

// The copy stage: what happens to a linear frame on its way to the host's pixels. The tasks are
// bodies of tbb::parallel_for over rows and columns of the output.

#include "host/pixelFormats.h"

#include <emmintrin.h>
#include <tbb/blocked_range2d.h>

class znImagePostprocessor;
class znRTCamera;
class znRTCryptomatte;

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

/// Layers below are light and take all steps; this one and those above carry data.
constexpr u32 znFirstDataPass = 30;
constexpr u32 znNormalPass = 31, znDepthPass = 32;
constexpr u32 znFirstCryptomattePass = 33, znLastCryptomattePass = 38;

/// Clears the flags that the current switches (tonemapping, correction, plates) do not allow.
u32 maskCopyFlags(u32 copyFlags);

/// Copy flags of a floating point image: those of the post-processor's flag byte tell whether it is
/// tonemapped. Plates and colour correction always belong to it.
u32 floatImageCopyFlags(const znImagePostprocessor& postProcessor);

/// What every copy needs to know of a pixel's way.
struct znRTPixelPipeline
{
    const znImagePostprocessor* postProcessor = nullptr;
    const znRTCamera* camera = nullptr; ///< null: no fragment shader
    u32 copyFlags = 0;                  ///< already masked, see maskCopyFlags
    float pixelScale = 1.0f;            ///< render pixels per pixel of the output

    /// Un-premultiplication, white balance, tonemapper, correction, backplate, fragment shader,
    /// frontplate, in this order. The colour profile is a step of its own.
    /// @param clampBeforePlates  true in tiles of interactive frames: negative values are cut
    /// before
    ///                           plates are composed, else after
    __m128 finish(__m128 colour, int x, int y, bool clampBeforePlates) const;
    /// The profile, where the flags ask for it.
    __m128 applyProfile(__m128 colour) const;
};

/// Where the wanted pixels lie in the source. The output is dense.
struct znRTCopyRectangle
{
    int x0 = 0, y0 = 0; ///< lower left; may lie outside the source
    u32 width = 0, height = 0;
};

using znRTCopyRange = tbb::blocked_range2d<unsigned, unsigned>;

/// Copy of one buffer of an interactive frame. S is the format of the source, P that of the output.
template <class S, class P>
struct znRTCopyTask
{
    const S* source = nullptr;
    P* destination = nullptr;
    znRTPixelPipeline pipeline;
    znRTCopyRectangle rectangle;
    u32 width = 0, height = 0; ///< of the source, pixels; what lies outside becomes 0
    u32 pass = 0;

    /// @param range  rows and columns of the output
    void operator()(const znRTCopyRange& range) const;
};

/// Still-frame copy: sums become means by the filter weights. An output of ZN_RGBA32F stays linear
/// whatever the flags say of the colour profile.
template <class S, class P>
struct znRTHQAdaptiveCopyTask : znRTCopyTask<S, P>
{
    const float* filterWeights = nullptr;
    void operator()(const znRTCopyRange& range) const;
};

/// Copy of a layer; layers of id mattes are read from their own store.
template <class S, class P>
struct znRTRenderpassesCopyTask : znRTCopyTask<S, P>
{
    const znRTCryptomatte* cryptomatte = nullptr;
    float nearClip = 0.0f, farClip = 1.0f;
    void operator()(const znRTCopyRange& range) const;
};

/// Still-frame copy of a layer. Data layers hold plain samples, which no weight divides.
template <class S, class P>
struct znRTHQRenderpassesCopyTask : znRTRenderpassesCopyTask<S, P>
{
    const float* filterWeights = nullptr;
    void operator()(const znRTCopyRange& range) const;
};

/// The adaptive test: a pixel is finished when the contrast of its neighbourhood is low, or has
/// stopped changing. Other layers than the beauty only ever keep pixels going.
template <class S>
struct znRTEdgeDetectionTask
{
    const S* frame = nullptr;
    const float* filterWeights = nullptr; ///< null: the frame holds plain samples
    u8* activePixels = nullptr;
    float* statistics = nullptr; ///< contrast of each pixel at the test before
    const znImagePostprocessor* postProcessor = nullptr;
    u32 width = 0, height = 0;
    int radius = 1;
    float thresholdLow = 0.0f, thresholdHigh = 0.0f;
    u32 pass = 0;

    void operator()(const znRTCopyRange& range) const;
};
