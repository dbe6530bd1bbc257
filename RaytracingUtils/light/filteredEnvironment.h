#pragma once

// Surroundings blurred by power lobes, for shading that looks the environment up instead of
// sampling it. A level in [0, 1] (lobeMath::environmentLevel) says how much: 0 is the image under
// the cosine, 1 the sharp image at the size of the stack.

#include "core/znRTColorPacket.h"
#include "core/znRTVector3fPacket.h"
#include "host/znRTTextureSampler.h"

class znRTFilteredEnvironment
{
public:
    /// Blurs an image on several threads; takes part of a second.
    /// @param image  latitude-longitude, float RGBA
    /// @return false, and nothing to look up, without an image
    bool build(const znRTSampler2D& image);
    void clear() { stack.clear(); }
    bool isValid() const { return stack.isValid(); }

    /// Colours as the image stores them, between places and levels; 0 in lanes off the mask.
    /// @param direction  in the frame of the environment, of any length
    znRTColorPacket lookup(const znRTVector3fPacket& direction, const znFloatType<2>& level,
                           const znFloatType<2>& mask) const;

    /// Exponent of the lobe of a level, the inverse of lobeMath::environmentLevel.
    static znFloatType<2> getExponent(const znFloatType<2>& level);

private:
    znRTSampler3D stack;
};
