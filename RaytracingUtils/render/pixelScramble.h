#pragma once

// The random state that every integrator starts a packet with.

#include "core/pixelHash.h"
#include "core/znRTRayPacket.h"
#include "core/znRTShadingState.h"

class znRTCamera;

/// Rotation of the sample sequences of four pixels. All supersamples of a pixel share one.
/// @param supersampling  samples per pixel and axis; below 2 counts as 1
znIntType<2> pixelScramble(const znIntType<2>& pixelX, const znIntType<2>& pixelY,
                           int supersampling);

/// Index of the sample that a frame takes in each pixel: a still frame visits all pixels once in
/// four iterations, with s * s samples under supersampling.
int sampleIndexOf(const znRTCamera& camera, u32 sampleOffset);

/// State of primary rays: depth 0, no decision taken yet.
znRTShadingState primaryState(const znRTCamera& camera, const znRTRayPacket& ray, u32 sampleOffset);
