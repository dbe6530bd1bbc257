#pragma once

// What happens to a finished pixel by its place in the image. The plain shader leaves it as it is.

#include "host/znAligned.h"
#include "host/znRTNode.h"

#include <xmmintrin.h>

class znRTCamera;
class znRTFragment;
class znRTMultilayerFragment;
class znRTRayPacket;

class znRTFragmentShader : public znRTNode, public znAlignedBase32
{
public:
    static const znRTTypeId s_typeId;

    znRTFragmentShader() : znRTNode(s_typeId) {}

    /// Reads the image settings of the camera. Runs between frames.
    virtual void updateAttributes(const znRTCamera&) {}
    /// @param colour  red, green, blue, alpha from the lowest lane up
    /// @param x, y    pixel, from the lower left
    virtual __m128 apply(const __m128& colour, int x, int y) const;
    /// The same rule per lane, on every layer.
    virtual void apply(znRTMultilayerFragment&, const znRTRayPacket&) const {}
    virtual void apply(znRTFragment&, const znRTRayPacket&) const {}

protected:
    explicit znRTFragmentShader(const znRTTypeId& typeId) : znRTNode(typeId) {}
};
