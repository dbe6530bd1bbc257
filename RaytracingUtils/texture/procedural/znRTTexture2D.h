#pragma once

// Images that are computed from coordinates, not stored.

#include "core/znRTColorPacket.h"
#include "core/znRTVector2fPacket.h"
#include "host/znAligned.h"
#include "host/znRTNode.h"

class znRTTexture2D : public znRTNode, public znAlignedBase16
{
public:
    // The order of the virtual operations is part of the interface.
    ~znRTTexture2D() override = default;
    /// Numbers stand in r, g and b; alpha is 1 unless a texture says otherwise. 0 outside the mask.
    /// @param dUVdx, dUVdy  of the pixel; zero for a point
    virtual znRTColorPacket evaluate(const znRTVector2fPacket& uv, const znRTVector2fPacket& dUVdx,
                                     const znRTVector2fPacket& dUVdy,
                                     const znFloatType<2>& mask) const = 0;

protected:
    using znRTNode::znRTNode;
};
