#pragma once

// Copies of a view's frame: which pixels are read, what is done to the whole image first (denoiser,
// post-processes, scaling), which task finishes the pixels.

#include "host/pixelFormats.h"
#include "host/znImagePostprocessor.h"
#include "render/copyTasks.h"

class znRaytracerP;

/// Iterations between two copies of a still frame, and between two adaptive tests.
constexpr u32 znCopyInterval = 32;

/// Iterations 32, 64, ...
inline bool isCopyRound(u32 iteration)
{
    return iteration >= znCopyInterval && iteration % znCopyInterval == 0;
}

/// Parameters of the current camera's image settings, else those of the active viewport.
znImagePostprocessor currentPostprocessor();

struct znRTCopyRequest
{
    const ZN_RGBA32F* source = nullptr; ///< a pass buffer of the view
    void* destination = nullptr;        ///< dense pixels of the format
    u32 pixelFormat = ZN_FORMAT_RGBE;
    /// Pixels of the output image that are wanted.
    znRTCopyRectangle rectangle;
    /// Size of the whole output image; the frame is averaged down (or repeated) to it.
    u32 imageWidth = 0, imageHeight = 0;
    u32 pass = 0;
    u32 copyFlags = 0; ///< not masked yet; layers take fewer steps, see reduceCopyFlags
    bool denoised = false;
    u32 rowGrain = 1; ///< rows per task
};

/// Does nothing without a source, unless the pass is one of the id mattes.
void copyFrame(znRaytracerP& view, const znRTCopyRequest& request);

/// Runs the adaptive test in copy rounds of still frames, on the beauty and, with layers, on each
/// of them. A second call in the same iteration does nothing: contrast that is compared with itself
/// would look settled.
void runAdaptiveTest(znRaytracerP& view);
/// Whether a sub frame of this view and iteration is the first one; it is not any more afterwards.
bool beginSubFrame(const znRaytracerP& view);
/// A new image begins, whose iterations have the numbers of the one before.
void forgetIterations();

/// The settings allow pixels to end before the frame does.
bool isAdaptive();

/// Makes the view's output block hold at least `bytes`.
/// @return the block, or null without memory
void* reserveFrameOutput(znRaytracerP& view, u64 bytes);
