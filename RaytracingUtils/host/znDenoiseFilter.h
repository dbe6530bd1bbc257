#pragma once

// A denoiser that is fed with the accumulating frame after each still iteration.

#include "host/pixelFormats.h"

class znDenoiseFilter
{
public:
    virtual ~znDenoiseFilter() = default;

    /// @param pixels  width * height linear pixels, row 0 at the bottom; read, not kept
    /// @param flag    true when the frame is complete
    virtual void update(u32 iteration, u32 width, u32 height, const ZN_RGBA32F* pixels,
                        bool flag) = 0;
};
