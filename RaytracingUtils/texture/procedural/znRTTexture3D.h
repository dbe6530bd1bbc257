#pragma once

// Solid textures: colours of space, computed from coordinates.

#include "core/znRTColorPacket.h"
#include "core/znRTVector3fPacket.h"
#include "host/znAligned.h"
#include "host/znRTNode.h"

class znRTTexture3D : public znRTNode, public znAlignedBase16
{
public:
    // The order of the virtual operations is part of the interface.
    ~znRTTexture3D() override = default;
    /// Numbers stand in r, g and b; alpha is 1 unless a texture says otherwise. 0 outside the mask.
    /// @param p  in cells of the texture
    virtual znRTColorPacket evaluate(const znRTVector3fPacket& p,
                                     const znFloatType<2>& mask) const = 0;

protected:
    using znRTNode::znRTNode;
};
