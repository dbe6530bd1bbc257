#pragma once

// Denoiser on the processor: the edge-avoiding a-trous wavelet filter.
// H. Dammertz, D. Sewtz, J. Hanika, H. Lensch, "Edge-Avoiding A-Trous Wavelet Transform for fast
// Global Illumination Filtering", HPG 2010.

#include "host/pixelFormats.h"

/// @param pixels    width * height linear pixels, filtered in place; alpha is left alone
/// @param normals   guide of the same size that holds normals in r, g, b, or null
/// @param strength  [0, 1]; 0 leaves the image as it is
void filterEdgeAvoiding(ZN_RGBA32F* pixels, const ZN_RGBA32F* normals, u32 width, u32 height,
                        float strength);
