#pragma once

// Adding a filtered sample to the frame of a still image.

#include "host/pixelFormats.h"
#include "host/znPixelfilter.h"

/// Where samples go.
struct znRTSplatTarget
{
    ZN_RGBA32F* frame;
    float* filterWeights;
    const u8* activePixels;
    u32 stride;                   ///< pixels per row
    u32 left, right, bottom, top; ///< pixels that may be written; right and top one past the end
};

/// Adds a sample of pixel (x, y) to all pixels under the filter. Positive weights also reach
/// finished pixels; those of negative lobes only pixels that still take samples, for a finished
/// pixel would not be lifted again.
///
/// Workers on neighbouring tiles meet in the margin of a filter, and no lock guards their adds: of
/// two that coincide one may be lost, for one pixel and one sample. This function is the only place
/// where that happens.
void splatSample(const znRTSplatTarget& target, const znPixelfilterSampleSet& filter, u32 x, u32 y,
                 __m128 colour);
