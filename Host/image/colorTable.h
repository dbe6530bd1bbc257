#pragma once

// Three-dimensional colour tables.

#include <cstddef>
#include <memory>
#include <vector>

#include <emmintrin.h>

/// Trilinear look-up.
/// @param entries  size^3 RGBA values, red fastest
/// @param color    clamped to [0, 1]; NaN counts as 0
__m128 lookUpColorTable(const float* entries, int size, __m128 color);

/// Bakes the transform from sRGB-encoded Rec. 709 colours to an RGB display profile (relative
/// colorimetric intent with black point compensation).
/// @param profile  an ICC profile
/// @return size^3 RGBA values, red fastest; null when the data is no RGB profile with an output
///         side, or more than 16 MB
std::shared_ptr<const std::vector<float>> bakeICCProfile(const void* profile, std::size_t bytes,
                                                         int size);
