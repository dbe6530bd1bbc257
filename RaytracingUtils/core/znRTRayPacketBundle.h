#pragma once

// Up to 64 packets that are traced in one call: a block of 16 x 16 pixels with one sample each.

#include "core/znRTHitInfoPacket.h"
#include "core/znRTRayPacket.h"

class znRTRayPacketBundle
{
public:
    static constexpr unsigned s_maxPackets = 64;
    static constexpr unsigned s_representative = 64; ///< element that stands for all packets

    /// The packets; the last element carries the common origin, the inverse directions of the four
    /// corner rays (one per lane) and the union of all types. The lens writes it.
    znRTRayDifferentialPacket rays[s_maxPackets + 1];
    unsigned sign[3] = {0, 0, 0}; ///< per axis: 1 where the common directions are negative
    unsigned count = 0;           ///< packets in use
    /// 1: all packets share origin, signs of the direction per axis and type, so that one walk can
    /// serve them all.
    unsigned coherent = 0;

    const znRTRayDifferentialPacket& getRepresentative() const { return rays[s_representative]; }
    znRTRayDifferentialPacket& getRepresentative() { return rays[s_representative]; }
};

class znRTHitInfoPacketBundle
{
public:
    znRTHitInfoPacket hits[znRTRayPacketBundle::s_maxPackets];
    unsigned count = 0;
};
