#pragma once

// The working memory of a tile task: the rays and hits of one block of at most 16 x 16 pixels, and
// what becomes of them. It stands on the worker's stack.

#include "core/znRTHitInfoPacket.h"
#include "core/znRTRayPacketBundle.h"
#include "host/pixelFormats.h"

class znRTCamera;

/// Pixels along the edge of a block: 64 packets of four.
constexpr u32 znBlockSize = 16;
constexpr int znBlockPackets = 64;

struct alignas(64) znRTPacketBlock
{
    znRTRayPacketBundle rays;
    znRTHitInfoPacketBundle hits;
    znFloatType<2> tMin[znBlockPackets];
    znFloatType<2> tMax[znBlockPackets];
    int laneMasks[znBlockPackets];
    /// One colour per lane, four per packet: filtered and clamped, coverage multiplied in.
    ZN_RGBA32F colours[4 * znBlockPackets];

    /// Lanes start without a ray filter.
    znRTPacketBlock();
    znRTPacketBlock(const znRTPacketBlock&) = delete;
    znRTPacketBlock& operator=(const znRTPacketBlock&) = delete;
};

/// Integrates the first `count` packets of a block into its colours.
/// @param sampleClamp   upper limit of all four components; NaN components become 0 first
/// @param sampleOffset  number of this sample among those of the pixel in this iteration
using znRTIntegrateBlock = void (*)(znRTPacketBlock& block, int count, const znRTCamera& camera,
                                    float sampleClamp, u32 sampleOffset);
