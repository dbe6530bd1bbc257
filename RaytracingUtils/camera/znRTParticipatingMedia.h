#pragma once

// What fills the space between surfaces: weakens the light that comes through and adds light that
// it scatters towards the viewer. Media change between frames only; the const operations run on all
// workers.

#include "core/znRTColorPacket.h"
#include "core/znRTRayPacket.h"
#include "host/znRTNode.h"

class znRTParticipatingMedia : public znRTNode
{
public:
    using znRTNode::znRTNode;

    // The order of the virtual operations is part of the interface.
    ~znRTParticipatingMedia() override = default;
    /// Reads the scene graph's settings.
    virtual void update() = 0;
    /// Keeps its place in the table; does nothing.
    virtual void reserved() {}
    /// Share of the light that passes from the end of a segment to its origin, per colour; 1 over
    /// the distance 0. Alpha is not looked at.
    /// @param distance  length of the segment along the ray
    /// @param mask      lanes that count; the others may hold anything
    virtual znRTColorPacket evaluateTransmittance(const znRTRayPacket& ray,
                                                  const znFloatType<2>& distance,
                                                  const znFloatType<2>& mask) const = 0;
    /// Light that the segment scatters towards its origin.
    virtual znRTColorPacket evaluateScattering(const znRTRayPacket& ray,
                                               const znFloatType<2>& distance,
                                               const znFloatType<2>& mask) const = 0;
};
