#pragma once

// Exposure by a light meter. The log average luminance of a picture is brought to middle grey:
// E. Reinhard, M. Stark, P. Shirley, J. Ferwerda, "Photographic Tone Reproduction for Digital
// Images", SIGGRAPH 2002, eq. 1 and 2 with key 0.18. The darkest and the brightest twentieth of
// what is lit are left out, so that neither lamps nor specks decide.

#include "io/ImageData.h"

#include <optional>

/// Middle grey of the picture that the meter aims at.
constexpr double meterKey = 0.18;

/// A picture within this many stops of middle grey is as its maker lit it.
constexpr double meterTolerance = 1.5;

/// From starlight to the sun's disk; a scene beyond is as good as dark, or nothing but lamps.
constexpr double mostStops = 24.0;

/// Share of the picture's covered pixels that any light comes from, 0 for an empty picture.
double litShare(const io::ImageData& image);

/// @param image  linear RGBA floats with the coverage in alpha; pixels that are covered by less
/// than
///               a half, that are black or that hold no number are not looked at
/// @return stops, whole tenths; 0 for a picture that is well exposed; nothing when no
///         pixel is lit
std::optional<double> meterExposure(const io::ImageData& image);
