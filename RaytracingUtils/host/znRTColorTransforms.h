#pragma once

// Per-pixel transforms of the copy stage. A colour is one register R, G, B, A; alpha comes back
// untouched from every function. Parameters stand ready in the post-processor (update()), so that
// a call costs a few dozen instructions; powers and logarithms are good to 1e-6 relative.

#include "host/znImagePostprocessor.h"

class znRTColorTransforms
{
public:
    /// Chromatic adaptation (Bradford) of the chosen white to D65; the colour itself at 6500 K
    /// without tint.
    static __m128 applyWhitebalancing(__m128 color, const znImagePostprocessor& postProcessor);
    /// Exposure, then the curve: monotone per channel, 0 stays 0, negative values count as 0 in
    /// all kinds but linear.
    static __m128 applyTonemapper(__m128 color, const znImagePostprocessor& postProcessor);
    /// (gain (c + lift (1 - c)))^(1 / gamma) per channel, then the matrix. Bases below 0 give 0
    /// where gamma is not 1.
    static __m128 applyColorCorrection(__m128 color, const __m128& lift, const __m128& gamma,
                                       const __m128& gain, const znColorMatrix& matrix);
    /// White balance, tonemapper and correction (as the post-processor's flag has it) of a plate.
    static __m128 applySceneplateColorCorrection(__m128 color,
                                                 const znImagePostprocessor& postProcessor);
    /// Linear to display. The table covers [0, 1]; the curves continue above, and end at 0 below.
    static __m128 applyColorProfile(__m128 color, const znColorProfile& profile);

    /// Components of [-1, 1] to [0, 1].
    static __m128 applyNormalCompression(__m128 normal);
    /// Stored depth, (1/d) n f / (f - n) + 0.5 - 0.5 (n + f) / (f - n), 1 at the near plane and 0
    /// at the far one, to the distance's share (d - n) / (f - n): 0 near, 1 far or nothing hit.
    static __m128 applyZDepthHandling(__m128 depth, float nearPlane, float farPlane);

    /// Shared exponent of 5 bits over three mantissas of 9, red lowest (the packing of OpenGL's
    /// 5_9_9_9_REV): values [0, 65408], relative error up to 2^-9 of the largest channel.
    static u32 toRGB9_E5(__m128 color);
    /// Ordered dither (8 x 8) of display values before they are rounded to 8 bits: adds at most
    /// half a step, with mean 0 over a cell.
    static __m128 applyDithering(__m128 color, int x, int y);
};
