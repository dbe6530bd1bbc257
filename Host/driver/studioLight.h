#pragma once

// Light for scenes that bring none: the surroundings of a photo studio, made in memory.

#include "io/ImageData.h"

/// A grey room with soft boxes: a large one on the left, a dimmer one on the right, a long one
/// above and a strip behind, as seen by a camera that looks along y. Latitude-longitude, z up: the
/// middle of the image lies at -y, the top row at +z. Scaled so that a white matt surface that
/// faces upward shows 0.9.
/// @param height  rows; the image is twice as wide
/// @return RGB floats, linear
io::ImageData makeStudioImage(u32 height = 256);
