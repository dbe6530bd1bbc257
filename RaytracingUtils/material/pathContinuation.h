#pragma once

// Which paths of light go on. J. Arvo, D. Kirk, "Particle Transport and Image Synthesis", SIGGRAPH
// 1990: a path ends by chance, and those that survive stand for it.

#include "core/znRTColorPacket.h"

/// Probability to go on: the share of the light that the last surface left of a path, and never so
/// small that a survivor outshines the picture. Still frames, whose samples add up, end more paths.
/// @param before, after  weight of the path, per colour
/// @return [0.5, 1], in still frames [0.125, 1]; 0 in lanes that carry nothing any more
znFloatType<2> survivalOf(const znRTColorPacket& before, const znRTColorPacket& after);
