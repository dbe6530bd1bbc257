#pragma once

// Chromatic adaptation of a picture taken under one white to another.

#include <array>

/// Adapts the chosen white to D65 in linear Rec. 709 (Bradford's cone responses); the luminance of
/// the white is kept. Whites up to 4000 K are black bodies, from 5000 K on daylight: their distance
/// from the Planckian locus is that of D65, so that 6500 K without tint is exactly the identity.
/// M. Krystek, "An algorithm to calculate correlated colour temperature", Color Res. Appl. 10
/// (1985); the locus as rational functions of T in the CIE 1960 diagram.
/// @param temperature  K, clamped to [1000, 40000]
/// @param tint         [-1, 1] (clamped): white is taken for one off the locus by 0.02 of the
///                     diagram, towards green for 1, so that the picture turns magenta
/// @return rows of the matrix on (r, g, b, 1)
std::array<std::array<float, 4>, 3> whiteBalanceMatrix(float temperature, float tint);
